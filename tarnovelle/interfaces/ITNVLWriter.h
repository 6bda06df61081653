// The writer family: hands blocks to the library's working thread without
// waiting for the disk. Every function but ITNVLWCreateInstance passes
// through the frame: a null handle gives TNE_NO_OBJECT (278) with no output
// touched, and no exception ever leaves a function.
#pragma once

#include "tarnovelle/archive/CTarnovelleArchive.h"
#include "tarnovelle/support/TNExport.h"
#include "tarnovelle/values/ETarnovelleErrors.h"

// The same object as ITNVLMCreateInstance makes.
TNVL_EXPORT CTarnovelleArchive* ITNVLWCreateInstance();
TNVL_EXPORT ETarnovelleErrors ITNVLWInitInstance(CTarnovelleArchive* handle, const char* file);
// Deletes the archive; the working thread is not touched, so the archive
// lock must have been released first.
TNVL_EXPORT ETarnovelleErrors ITNVLWDestroyInstance(CTarnovelleArchive* handle);

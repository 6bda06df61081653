// The reader family: asks an archive which channels exist and fetches blocks
// for a time range. Every function but ITNVLRCreateInstance passes through the
// frame: a null handle gives TNE_NO_OBJECT (278) with no output touched, and
// no exception ever leaves a function.
#pragma once

#include <string>

#include "tarnovelle/archive/CTarnovelleArchive.h"
#include "tarnovelle/support/TNExport.h"
#include "tarnovelle/values/ETarnovelleErrors.h"

// The same object as ITNVLMCreateInstance makes.
TNVL_EXPORT CTarnovelleArchive* ITNVLRCreateInstance();
TNVL_EXPORT ETarnovelleErrors ITNVLRInitInstance(CTarnovelleArchive* handle, const char* file);
TNVL_EXPORT ETarnovelleErrors ITNVLRDestroyInstance(CTarnovelleArchive* handle);
TNVL_EXPORT ETarnovelleErrors ITNVLRGetArchiveFilePath(CTarnovelleArchive* handle, std::string& path);

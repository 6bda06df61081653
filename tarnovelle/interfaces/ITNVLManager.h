// The manager family: configures an archive and stores directly, on the
// caller's thread. Every function but ITNVLMCreateInstance passes through the
// frame: a null handle gives TNE_NO_OBJECT (278) with no output touched, and
// no exception ever leaves a function.
#pragma once

#include <cstdint>

#include "tarnovelle/archive/CTarnovelleArchive.h"
#include "tarnovelle/support/TNExport.h"
#include "tarnovelle/values/ETarnovelleErrors.h"

// A new, empty archive on the heap; null if memory ran out.
TNVL_EXPORT CTarnovelleArchive* ITNVLMCreateInstance();
TNVL_EXPORT ETarnovelleErrors ITNVLMInitInstance(CTarnovelleArchive* handle, const char* file);
TNVL_EXPORT ETarnovelleErrors ITNVLMSetArchiveFilePath(CTarnovelleArchive* handle, const char* file);
TNVL_EXPORT ETarnovelleErrors ITNVLMSetArchiveName(CTarnovelleArchive* handle, const char* name);
TNVL_EXPORT ETarnovelleErrors ITNVLMSetRoundTripArchive(CTarnovelleArchive* handle, int32_t roundTrip);
TNVL_EXPORT ETarnovelleErrors ITNVLMDestroyInstance(CTarnovelleArchive* handle);

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
// Follows another process's changes; a read-lock failure inside is not seen.
TNVL_EXPORT ETarnovelleErrors ITNVLRRefresh(CTarnovelleArchive* handle);
// The active folder's path; an archive without folders is the caller's fault.
TNVL_EXPORT ETarnovelleErrors ITNVLRGetActiveFolderPath(CTarnovelleArchive* handle, std::string& path);
// The measuring point's channels in a new[] array the caller deletes with
// delete[]; null and 0 when it has none. TNE_FAILED for an unknown GUID.
TNVL_EXPORT ETarnovelleErrors ITNVLRGetChannelIDs(CTarnovelleArchive* handle, const GUID& guid, SChannelID*& ids,
                                                  uint32_t& count);
// TNE_NO_OBJECT (278) for an unknown GUID, here and in the next two.
TNVL_EXPORT ETarnovelleErrors ITNVLRGetMeasuringPointTimeRange(CTarnovelleArchive* handle, const GUID& guid,
                                                               CTNUTCTimeStamp& from, CTNUTCTimeStamp& to);
TNVL_EXPORT ETarnovelleErrors ITNVLRGetChannelTimeRange(CTarnovelleArchive* handle, const GUID& guid,
                                                        const SChannelID& channel, CTNUTCTimeStamp& from,
                                                        CTNUTCTimeStamp& to);
TNVL_EXPORT ETarnovelleErrors ITNVLRIsMeasuringPointEmpty(CTarnovelleArchive* handle, const GUID& guid,
                                                          const CTNUTCTimeStamp& from, const CTNUTCTimeStamp& to,
                                                          int32_t& empty);
// The samples of from..to under read locks on all folders, as deep copies in
// a new[] array the caller deletes with delete[] (which runs every sample's
// destructor); null and 0 for a range without data. TNE_FAILED for an
// unknown GUID, TNE_ARCHIVE_LOCK_FAILED when the read locks can't be had;
// outputs untouched on any failure.
TNVL_EXPORT ETarnovelleErrors ITNVLRGetSamples(CTarnovelleArchive* handle, const GUID& guid, const SChannelID& channel,
                                               const CTNUTCTimeStamp& from, const CTNUTCTimeStamp& to,
                                               CTarnovelleSample*& samples, uint32_t& count);

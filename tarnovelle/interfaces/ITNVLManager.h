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

// TNE_OK also when no folder could be had: the folder comes back null then.
TNVL_EXPORT ETarnovelleErrors ITNVLMAddArchive(CTarnovelleArchive* handle, const char* path, TNARCHIVE_MODE mode,
                                               uint32_t size, CTarnovelleArchiveFolder** folder);
TNVL_EXPORT ETarnovelleErrors ITNVLMGetActiveFolder(CTarnovelleArchive* handle, CTarnovelleArchiveFolder** folder);
// No frame at all: a null handle is the caller's fault.
TNVL_EXPORT const std::vector<CTarnovelleArchiveFolder*>& ITNVLMGetArrayOfArchiveFolders(CTarnovelleArchive* handle);
TNVL_EXPORT ETarnovelleErrors ITNVLMSwitchArchiveActivation(CTarnovelleArchive* handle, CTarnovelleArchiveFolder* from,
                                                            CTarnovelleArchiveFolder* to);
// TNE_CONFIGURATION_INVALID (600) when the check fails; its texts go to the
// user through CTNMessageBox.
TNVL_EXPORT ETarnovelleErrors ITNVLMCheckConfiguration(CTarnovelleArchive* handle);
TNVL_EXPORT ETarnovelleErrors ITNVLMSerialize_0(CTarnovelleArchive* handle, CArchive& archive);
TNVL_EXPORT ETarnovelleErrors ITNVLMSerialize_1(CTarnovelleArchive* handle, int32_t storing, const char* file);
// The store functions: a CTarnovelleException gives TNE_EXCEPTION (262) and
// no log entry. The caller keeps the array and its samples.
TNVL_EXPORT ETarnovelleErrors ITNVLMAddSample(CTarnovelleArchive* handle, const GUID& guid, const SChannelID& channel,
                                              CTarnovelleSampleArray& samples);
TNVL_EXPORT ETarnovelleErrors ITNVLMAddMessageBinaryByte(CTarnovelleArchive* handle, const GUID& guid,
                                                         const SChannelID& channel, const SBinary_BYTE& message);
TNVL_EXPORT ETarnovelleErrors ITNVLMAddMessageBinaryText(CTarnovelleArchive* handle, const GUID& guid,
                                                         const SChannelID& channel, const SBinary_Text& message);
TNVL_EXPORT ETarnovelleErrors ITNVLMSetParameterSet(CTarnovelleArchive* handle, const GUID& guid,
                                                    const CTNUTCTimeStamp& time, CTarnovelleParameterSet& set);
TNVL_EXPORT ETarnovelleErrors ITNVLMSetParameterProgramInfo(CTarnovelleArchive* handle, const GUID& guid,
                                                            const SProgramInfo& info);
TNVL_EXPORT ETarnovelleErrors ITNVLMSetMeasuringPointName(CTarnovelleArchive* handle, const GUID& guid,
                                                          const char* name);
TNVL_EXPORT ETarnovelleErrors ITNVLMRemoveMeasuringPoint(CTarnovelleArchive* handle, GUID guid);

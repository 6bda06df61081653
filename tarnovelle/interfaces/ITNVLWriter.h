// The writer family: hands blocks to the library's working thread without
// waiting for the disk. Every function but ITNVLWCreateInstance passes
// through the frame: a null handle gives TNE_NO_OBJECT (278) with no output
// touched, and no exception ever leaves a function.
#pragma once

#include "tarnovelle/archive/CTarnovelleArchive.h"
#include "tarnovelle/support/CTNNotifySink.h"
#include "tarnovelle/support/TNExport.h"
#include "tarnovelle/values/ETarnovelleErrors.h"

// The same object as ITNVLMCreateInstance makes.
TNVL_EXPORT CTarnovelleArchive* ITNVLWCreateInstance();
TNVL_EXPORT ETarnovelleErrors ITNVLWInitInstance(CTarnovelleArchive* handle, const char* file);
// Deletes the archive; the working thread is not touched, so the archive
// lock must have been released first.
TNVL_EXPORT ETarnovelleErrors ITNVLWDestroyInstance(CTarnovelleArchive* handle);

// `locked` becomes 1 while this instance holds the archive's write lock, else 0.
TNVL_EXPORT ETarnovelleErrors ITNVLWIsArchiveLocked(CTarnovelleArchive* handle, int32_t& locked);
// Non-zero `lock`: starts the process's working thread (TNE_THREAD_RUNNING
// when one runs already, for any instance) and takes the write lock, whose
// failures (503) leave the thread running until a release. Zero: drains the
// queue, stops the thread and releases the lock (TNE_ARCHIVE_NOT_LOCKED when
// it wasn't held). Posts about the storing go to `window` with `message`.
TNVL_EXPORT ETarnovelleErrors ITNVLWSetArchiveLock(CTarnovelleArchive* handle, int32_t lock, CTNNotifySink* window,
                                                   uint32_t message);
// The add functions post to the working thread and return TNE_OK at once: the
// storing reports later, through the window. Above 100 pending items the
// caller sleeps 50 ms for each one over. The first item that fails to store
// stops the archiving: later items are dropped until the lock is taken again.
TNVL_EXPORT ETarnovelleErrors ITNVLWAddMessageBinaryByte(CTarnovelleArchive* handle, const GUID& guid,
                                                         const SChannelID& channel, const SBinary_BYTE& message);
TNVL_EXPORT ETarnovelleErrors ITNVLWAddMessageBinaryText(CTarnovelleArchive* handle, const GUID& guid,
                                                         const SChannelID& channel, const SBinary_Text& message);
// Takes the samples over: `samples` is empty afterwards, its samples are the
// library's. TNE_NO_OBJECT for an empty array.
TNVL_EXPORT ETarnovelleErrors ITNVLWAddSample(CTarnovelleArchive* handle, const GUID& guid, const SChannelID& channel,
                                              CTarnovelleSampleArray& samples);
// Posts a copy; TNE_NO_OBJECT for an invalid set.
TNVL_EXPORT ETarnovelleErrors ITNVLWSetParameterSet(CTarnovelleArchive* handle, const GUID& guid,
                                                    const CTNUTCTimeStamp& time, CTarnovelleParameterSet& set);
// The worker: stores one item on the working thread and releases it.
TNVL_EXPORT void ITNVLWExecuteMessage(CTarnovelleArchive* archive, uint32_t kind, void* item);

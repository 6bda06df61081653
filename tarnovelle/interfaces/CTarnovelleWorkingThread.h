// The library's one working thread per process, and its queue: items posted
// by the writer family are stored through the archive in posting order, one
// at a time, by ITNVLWExecuteMessage. A stop is posted behind every earlier
// item, so stopping drains the queue. The count of pending items lives under
// a lock with a 60000 ms limit; above 100 pending items a post makes its
// caller sleep 50 ms for each one over 100, through the clock service, after
// it has yielded its time slice (which every post does).
//
// Process-wide state, as the queue of a hidden window was: one thread, one
// queue and one pending count, whatever number of instances the process has.
#pragma once

#include <cstdint>

#include "tarnovelle/support/TNExport.h"
#include "tarnovelle/values/ETarnovelleErrors.h"

class CTarnovelleArchive;

// The kinds of item, the first parameter of a post.
enum EExecuteMessage : uint32_t {
    EEXECUTEMESSAGE_BYTEMESSAGE = 0,
    EEXECUTEMESSAGE_TEXTMESSAGE = 1,
    EEXECUTEMESSAGE_SAMPLE = 2,
    EEXECUTEMESSAGE_PARAMETERSET = 3,
};

class TNVL_EXPORT CTarnovelleWorkingThread {
public:
    // TNE_THREAD_RUNNING when a thread runs already (for any instance).
    static ETarnovelleErrors StartWorkingThread(CTarnovelleArchive* archive);
    // Posts the stop behind every item and waits, without limit, until the
    // thread has worked them off and ended. TNE_THREAD_NOT_RUNNING without one.
    static ETarnovelleErrors StopWorkingThread();
    static bool IsRunning();
    // Counts the item, posts it, yields, and sleeps when more than 100 are
    // pending. Without a thread the item has no target: it is lost, and the
    // count stays raised. When the count's lock can't be had in 60000 ms
    // nothing is posted.
    static void PostToWorkingThread(uint32_t kind, void* item);
    // The items posted and not yet picked up.
    static int32_t GetPendingMessageCount();
    // Takes the count's lock for the worker; false after 60000 ms.
    static bool TakeOnePending();
    // For tests that play a process starting afresh: the count back to 0.
    static void ResetPendingMessageCount();
};

// The ready-made notification sink: a thread-safe first-in-first-out queue of
// the posts the archive makes to its lock owner. Post never blocks; the
// owner polls it or waits on it.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>

#include "tarnovelle/support/CTNNotifySink.h"
#include "tarnovelle/support/TNExport.h"

class TNVL_EXPORT CTNNotifyQueue : public CTNNotifySink {
public:
    struct SNotification {
        uint32_t message;
        uint32_t wParam;  // the status, an ETarnovelleErrors
        int32_t lParam;   // the message, an ETarnovelleMessages
    };

    CTNNotifyQueue();
    ~CTNNotifyQueue() override;

    bool Post(uint32_t message, uint32_t wParam, int32_t lParam) override;
    // Takes the oldest post; false when there is none.
    bool Poll(SNotification& notification);
    // Waits up to `milliseconds` (real time) for a post and takes it; false
    // when none came.
    bool Wait(SNotification& notification, uint32_t milliseconds);
    size_t GetCount() const;

private:
    mutable std::mutex m_lock;
    std::condition_variable m_posted;
    std::deque<SNotification> m_posts;
};

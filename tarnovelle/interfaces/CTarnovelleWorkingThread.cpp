#include "tarnovelle/interfaces/CTarnovelleWorkingThread.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

#include "tarnovelle/interfaces/ITNVLWriter.h"
#include "tarnovelle/interfaces/internal/TNWorkItems.h"
#include "tarnovelle/support/CTNClock.h"
#include "tarnovelle/support/TNProcess.h"

namespace {

// The two kinds of queue entry: an item to store, and the stop.
constexpr uint32_t WM_TN_EXECUTE = 1025;
constexpr uint32_t WM_TN_STOP = 1026;
constexpr auto kPendingLockLimit = std::chrono::milliseconds(60000);
constexpr int32_t kFreeItems = 100;
constexpr uint32_t kPausePerItem = 50;

struct SEntry {
    uint32_t message;
    uint32_t kind;
    void* item;
};

// The queue the hidden window's message loop was: first in, first out.
class CQueue {
public:
    void Post(const SEntry& entry) {
        {
            std::lock_guard<std::mutex> hold(m_lock);
            m_entries.push_back(entry);
        }
        m_posted.notify_one();
    }
    // An entry if there is one, without waiting.
    bool TryTake(SEntry& entry) {
        std::lock_guard<std::mutex> hold(m_lock);
        if (m_entries.empty()) return false;
        entry = m_entries.front();
        m_entries.pop_front();
        return true;
    }
    SEntry Take() {
        std::unique_lock<std::mutex> hold(m_lock);
        m_posted.wait(hold, [&] { return !m_entries.empty(); });
        const SEntry entry = m_entries.front();
        m_entries.pop_front();
        return entry;
    }

private:
    std::mutex m_lock;
    std::condition_variable m_posted;
    std::deque<SEntry> m_entries;
};

struct SWorker {
    CQueue queue;
    std::thread thread;
    CTarnovelleArchive* archive = nullptr;
};

// The running thread, guarded for the starts and stops of several callers.
std::mutex g_workerLock;
SWorker* g_pWorkingThread = nullptr;
std::timed_mutex g_PendingLock;
int32_t g_nPendingMessages = 0;

// Takes the count's lock within the limit. It is held for a few
// instructions only, so a busy lock is waited for by yielding; each attempt is
// a plain try, which every checker of threads understands.
bool TakePendingLock() {
    if (g_PendingLock.try_lock()) return true;
    const auto deadline = std::chrono::steady_clock::now() + kPendingLockLimit;
    while (!g_PendingLock.try_lock()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::yield();
    }
    return true;
}

void Run(SWorker* worker) {
    TNRaiseCurrentThreadPriority();
    for (;;) {
        const SEntry entry = worker->queue.Take();
        if (entry.message == WM_TN_STOP) return;
        if (worker->archive) ITNVLWExecuteMessage(worker->archive, entry.kind, entry.item);
    }
}

}  // namespace

ETarnovelleErrors CTarnovelleWorkingThread::StartWorkingThread(CTarnovelleArchive* archive) {
    std::lock_guard<std::mutex> hold(g_workerLock);
    if (g_pWorkingThread) return TNE_THREAD_RUNNING;
    auto worker = std::make_unique<SWorker>();
    // The archive is known before the first entry can be taken off the queue.
    worker->archive = archive;
    worker->thread = std::thread(Run, worker.get());
    g_pWorkingThread = worker.release();
    return TNE_OK;
}

ETarnovelleErrors CTarnovelleWorkingThread::StopWorkingThread() {
    SWorker* worker = nullptr;
    {
        std::lock_guard<std::mutex> hold(g_workerLock);
        if (!g_pWorkingThread) return TNE_THREAD_NOT_RUNNING;
        worker = g_pWorkingThread;
    }
    // Behind every earlier item: the queue is worked off first.
    worker->queue.Post({WM_TN_STOP, 0, nullptr});
    worker->thread.join();
    {
        std::lock_guard<std::mutex> hold(g_workerLock);
        g_pWorkingThread = nullptr;
    }
    // Items posted behind the stop, by another thread while this one
    // stopped, had no thread left to take them: they are lost like any item
    // posted without a thread, and released.
    SEntry left{};
    while (worker->queue.TryTake(left)) {
        if (left.message == WM_TN_EXECUTE) TNReleaseWorkItem(left.kind, left.item);
    }
    delete worker;
    return TNE_OK;
}

bool CTarnovelleWorkingThread::IsRunning() {
    std::lock_guard<std::mutex> hold(g_workerLock);
    return g_pWorkingThread != nullptr;
}

void CTarnovelleWorkingThread::PostToWorkingThread(uint32_t kind, void* item) {
    if (!TakePendingLock()) return;
    const int32_t count = ++g_nPendingMessages;
    const uint32_t pause = count > kFreeItems ? static_cast<uint32_t>(count - kFreeItems) * kPausePerItem : 0;
    g_PendingLock.unlock();
    {
        std::lock_guard<std::mutex> hold(g_workerLock);
        // Without a thread the post has no target: the item is lost (and
        // released), and the count stays raised.
        if (g_pWorkingThread) g_pWorkingThread->queue.Post({WM_TN_EXECUTE, kind, item});
        else TNReleaseWorkItem(kind, item);
    }
    std::this_thread::yield();
    if (pause > 0) TNGetClock()->Sleep(pause);
}

int32_t CTarnovelleWorkingThread::GetPendingMessageCount() {
    std::lock_guard<std::timed_mutex> hold(g_PendingLock);
    return g_nPendingMessages;
}

bool CTarnovelleWorkingThread::TakeOnePending() {
    if (!TakePendingLock()) return false;
    --g_nPendingMessages;
    g_PendingLock.unlock();
    return true;
}

void CTarnovelleWorkingThread::ResetPendingMessageCount() {
    std::lock_guard<std::timed_mutex> hold(g_PendingLock);
    g_nPendingMessages = 0;
}

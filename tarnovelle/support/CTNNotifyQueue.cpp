#include "tarnovelle/support/CTNNotifyQueue.h"

#include <chrono>

CTNNotifyQueue::CTNNotifyQueue() = default;

CTNNotifyQueue::~CTNNotifyQueue() = default;

bool CTNNotifyQueue::Post(uint32_t message, uint32_t wParam, int32_t lParam) {
    {
        std::lock_guard<std::mutex> hold(m_lock);
        m_posts.push_back({message, wParam, lParam});
    }
    m_posted.notify_all();
    return true;
}

bool CTNNotifyQueue::Poll(SNotification& notification) {
    std::lock_guard<std::mutex> hold(m_lock);
    if (m_posts.empty()) return false;
    notification = m_posts.front();
    m_posts.pop_front();
    return true;
}

bool CTNNotifyQueue::Wait(SNotification& notification, uint32_t milliseconds) {
    std::unique_lock<std::mutex> hold(m_lock);
    if (!m_posted.wait_for(hold, std::chrono::milliseconds(milliseconds), [&] { return !m_posts.empty(); }))
        return false;
    notification = m_posts.front();
    m_posts.pop_front();
    return true;
}

size_t CTNNotifyQueue::GetCount() const {
    std::lock_guard<std::mutex> hold(m_lock);
    return m_posts.size();
}

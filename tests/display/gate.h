// For tests of threads: holds a reader in the middle of a render.
#pragma once

#include <condition_variable>
#include <mutex>

// Holds readers up until it is opened.
class Gate
{
public:
    void pass()
    {
        std::unique_lock lock(m_mutex);
        ++m_waiting;
        m_opened.wait(lock, [this] { return m_open; });
    }
    void open()
    {
        const std::lock_guard lock(m_mutex);
        m_open = true;
        m_opened.notify_all();
    }
    [[nodiscard]] bool hasCaught()
    {
        const std::lock_guard lock(m_mutex);
        return m_waiting > 0;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_opened;
    bool m_open = false;
    int m_waiting = 0;
};

// The bounded road of samples from the decoding thread to the thread that stores them.
#pragma once

#include "plugins/ifileplugin.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <vector>

// What travels: the head once, then blocks, then the end.
struct ImportItem
{
    enum Kind { Nothing, Head, Samples, End };
    Kind kind = Nothing;
    ImportInfo info;            // of Head
    std::vector<float> samples; // of Samples: interleaved
    int64_t frames = 0;
};

// One writer, one reader. At most `capacity` items wait, so that decoding and storing overlap and
// memory does not grow with the file. Sample buffers are handed back and used again: fresh memory
// costs more than the decoding of plain PCM. Standard locks, as a plug-in links nothing of the host.
class BlockQueue
{
public:
    // Blocks of 1 MiB: large enough that hand-over costs nothing, small enough for the caches.
    static constexpr int64_t blockFloats = 1 << 18;

    // Waits for room. False when the reader has stopped: the writer ends then.
    bool push(ImportItem item)
    {
        std::unique_lock lock(m_mutex);
        m_room.wait(lock, [this] { return m_stopped || m_items.size() < capacity; });
        if (m_stopped)
            return false;
        m_items.push_back(std::move(item));
        m_filled.notify_one();
        return true;
    }

    // The next item, or Nothing after `wait`.
    ImportItem pop(std::chrono::milliseconds wait)
    {
        std::unique_lock lock(m_mutex);
        if (!m_filled.wait_for(lock, wait, [this] { return !m_items.empty(); }))
            return {};
        ImportItem item = std::move(m_items.front());
        m_items.pop_front();
        m_room.notify_one();
        return item;
    }

    // The reader wants no more.
    void stop()
    {
        const std::lock_guard lock(m_mutex);
        m_stopped = true;
        m_room.notify_one();
    }
    [[nodiscard]] bool stopped() const
    {
        const std::lock_guard lock(m_mutex);
        return m_stopped;
    }

    [[nodiscard]] std::vector<float> takeBuffer()
    {
        const std::lock_guard lock(m_mutex);
        if (m_spare.empty())
            return {};
        std::vector<float> buffer = std::move(m_spare.back());
        m_spare.pop_back();
        return buffer;
    }
    void giveBack(std::vector<float> buffer)
    {
        const std::lock_guard lock(m_mutex);
        m_spare.push_back(std::move(buffer));
    }

private:
    static constexpr std::size_t capacity = 6;

    mutable std::mutex m_mutex;
    std::condition_variable m_room;
    std::condition_variable m_filled;
    std::deque<ImportItem> m_items;
    std::vector<std::vector<float>> m_spare;
    bool m_stopped = false;
};

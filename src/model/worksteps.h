// From bytes moved to the small numbers of a progress callback.
#pragma once

#include "model/ilayer.h"

#include <algorithm>

// Not copied: one for each piece of work.
class WorkSteps
{
public:
    WorkSteps(const Progress& progress, int64_t totalBytes)
        : m_progress(progress),
          m_total(std::max<int64_t>(1, totalBytes))
    {
    }

    // False once the callback has cancelled, and from then on.
    bool moved(int64_t bytes) { return movedTo(m_done + bytes); }
    bool movedTo(int64_t bytes)
    {
        m_done = std::clamp<int64_t>(bytes, m_done, m_total);
        return m_done - m_told < std::min(interval, m_total / 100 + 1) ? m_goesOn : goesOn();
    }
    // The same where work was done that the total does not count.
    bool goesOn()
    {
        if (m_goesOn && m_progress) {
            m_told = m_done;
            m_goesOn = m_progress(int(m_done / unit()), int(m_total / unit()));
        }
        return m_goesOn;
    }

private:
    // The callback need not be called for less.
    static constexpr int64_t interval = 65536;

    // So that both numbers fit.
    [[nodiscard]] int64_t unit() const { return std::max<int64_t>(1, m_total >> 30); }

    const Progress& m_progress;
    int64_t m_total;
    int64_t m_done = 0;
    int64_t m_told = 0;
    bool m_goesOn = true;
};

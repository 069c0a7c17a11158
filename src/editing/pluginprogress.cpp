#include "editing/pluginprogress.h"

#include "base/locks.h"

#include <algorithm>

namespace {

constexpr int steps = 1000;
constexpr int64_t interval = 33; // ms

class Released
{
public:
    explicit Released(ReadWriteLock* lock) : m_lock(lock)
    {
        if (m_lock)
            m_lock->unlock();
    }
    ~Released()
    {
        if (m_lock)
            m_lock->lockForWrite();
    }
    Released(const Released&) = delete;
    Released& operator=(const Released&) = delete;

private:
    ReadWriteLock* m_lock;
};

} // namespace

PluginProgress::PluginProgress(QWidget* window, const QString& label, int64_t patience, ReadWriteLock* held)
    : m_progress(window, label, patience),
      m_patience(patience),
      m_held(held)
{
    m_since.start();
}

bool PluginProgress::goesOn(double share)
{
    const bool due =
        m_sinceRun.isValid() ? m_sinceRun.elapsed() >= interval : m_since.elapsed() >= m_patience;
    if (!m_goesOn || !due)
        return m_goesOn;
    const Released released(m_held);
    m_goesOn = m_progress(int(steps * std::clamp(share, 0.0, 1.0)), steps);
    m_sinceRun.start();
    return m_goesOn;
}

// The progress of a tool or process.
#pragma once

#include "editing/editprogress.h"
#include "plugins/iprogress.h"

class ReadWriteLock;

// GUI thread.
class PluginProgress : public IProgress
{
public:
    // `held`: a lock that the caller holds for writing, once, or null. It is let go while the event loop
    // runs, since a view that is closed there waits for its thread, which waits for the lock.
    PluginProgress(QWidget* window, const QString& label, int64_t patience, ReadWriteLock* held);

    bool goesOn(double share) override;

private:
    EditProgress m_progress;
    int64_t m_patience;
    ReadWriteLock* m_held;
    QElapsedTimer m_since;    // the beginning
    QElapsedTimer m_sinceRun; // the event loop has run last
    bool m_goesOn = true;
};

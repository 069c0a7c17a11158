// Looks for better plans beside the work. For this folder alone.
#pragma once

#include "base/locks.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <thread>

#include <QByteArray>
#include <QString>

class PlanSlot;

// One thread, started with the first request, which runs the helper program for one plan after the
// other, the newest request first: it is what is being looked at.
class PlanSearch
{
public:
    // Lives as long as the process; its thread is ended by stop(), at the latest when the process
    // runs its exit handlers.
    static PlanSearch& instance();

    void request(PlanSlot& slot); // any thread, in the middle of a transform: takes one short lock
    void stop();                  // waits for the thread, not for a measurement
    void allow();                 // after stop()
    [[nodiscard]] bool idle();
    void setProgram(const QString& path);

private:
    void run();
    [[nodiscard]] PlanSlot* nextRequest();
    void waitForQuiet();
    [[nodiscard]] bool pause(int milliseconds); // false when the search ends
    // FFTW's text of a better plan, empty when there is none; false when it could not be told.
    [[nodiscard]] bool measure(const PlanSlot& slot, QByteArray& text);

    Mutex m_lock;
    std::condition_variable_any m_wake;
    // Under m_lock.
    std::deque<PlanSlot*> m_requests;
    std::thread m_thread;
    QString m_program;
    bool m_working = false;
    std::atomic<bool> m_ending{false};
};

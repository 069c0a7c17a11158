#include "spectral/primitives/plansearch.h"

#include "base/platform.h"
#include "spectral/primitives/plancache.h"

#include <chrono>
#include <mutex>

#include <QDebug>
#include <QElapsedTimer>
#include <QProcess>
#include <QStringList>

namespace {

// The first picture is through, and nothing has been transformed, for this long ...
constexpr int quietTime = 300;
// ... but work that never pauses is what a better plan helps most.
constexpr int longestWaitForQuiet = 3000;
constexpr int longestMeasurement = 60000;
constexpr int pollTime = 20;
constexpr int largestAnswer = 4 << 20;

// Ends the thread before the objects that it uses go with the process.
struct StopAtExit
{
    ~StopAtExit() { PlanSearch::instance().stop(); }
};

} // namespace

PlanSearch& PlanSearch::instance()
{
    static PlanSearch& search = *std::make_unique<PlanSearch>().release();
    return search;
}

void PlanSearch::request(PlanSlot& slot)
{
    const std::lock_guard locker(m_lock);
    if (m_ending)
        return;
    m_requests.push_front(&slot);
    if (!m_thread.joinable()) {
        static const StopAtExit guard;
        m_thread = std::thread(&PlanSearch::run, this);
    }
    m_wake.notify_all();
}

void PlanSearch::stop()
{
    std::thread thread;
    {
        const std::lock_guard locker(m_lock);
        m_ending = true;
        m_requests.clear();
        thread.swap(m_thread);
        m_wake.notify_all();
    }
    if (thread.joinable())
        thread.join();
}

void PlanSearch::allow()
{
    const std::lock_guard locker(m_lock);
    m_ending = false;
}

bool PlanSearch::idle()
{
    const std::lock_guard locker(m_lock);
    return m_requests.empty() && !m_working;
}

void PlanSearch::setProgram(const QString& path)
{
    const std::lock_guard locker(m_lock);
    m_program = path;
}

void PlanSearch::run()
{
    while (PlanSlot* const slot = nextRequest()) {
        waitForQuiet();
        QByteArray text;
        if (!m_ending && measure(*slot, text))
            PlanCache::instance().settle(*slot, text);
    }
}

PlanSlot* PlanSearch::nextRequest()
{
    std::unique_lock locker(m_lock);
    m_working = false;
    m_wake.wait(locker, [this] { return m_ending || !m_requests.empty(); });
    if (m_ending)
        return nullptr;
    PlanSlot* const slot = m_requests.front();
    m_requests.pop_front();
    m_working = true;
    return slot;
}

bool PlanSearch::pause(int milliseconds)
{
    std::unique_lock locker(m_lock);
    return !m_wake.wait_for(locker, std::chrono::milliseconds(milliseconds),
                            [this] { return m_ending.load(); });
}

void PlanSearch::waitForQuiet()
{
    QElapsedTimer timer;
    timer.start();
    do
        PlanSlot::inUse.store(false, std::memory_order_relaxed);
    while (pause(quietTime) && PlanSlot::inUse.load(std::memory_order_relaxed) &&
           timer.elapsed() < longestWaitForQuiet);
}

bool PlanSearch::measure(const PlanSlot& slot, QByteArray& text)
{
    QString program;
    {
        const std::lock_guard locker(m_lock);
        if (m_program.isEmpty())
            m_program = platform::moduleFolder() + QStringLiteral("morvane-planner");
        program = m_program;
    }
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(program, slot.key.name().split(QLatin1Char(' ')), QIODevice::ReadOnly);
    QElapsedTimer timer;
    timer.start();
    while (!process.waitForFinished(pollTime)) {
        if (process.state() == QProcess::NotRunning) { // it did not start
            qDebug().noquote() << "no measured plans:" << program << process.errorString();
            return false;
        }
        if (m_ending || timer.elapsed() > longestMeasurement || process.bytesAvailable() > largestAnswer) {
            process.kill();
            process.waitForFinished();
            return false;
        }
    }
    text = process.readAllStandardOutput();
    return process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0 &&
           text.size() <= largestAnswer && !text.contains('\0');
}

void setPlannerProgram(const QString& path)
{
    PlanSearch::instance().setProgram(path);
}

void shutdownPrimitives()
{
    PlanSearch::instance().stop();
}

bool planSearchIdle()
{
    return PlanSearch::instance().idle();
}

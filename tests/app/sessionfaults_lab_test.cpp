// System calls that fail, full disks and targets that cannot be written, in the midst of edits and saves.
#include "scenarios.h"
#include "support/smalldisk.h"

#include <sys/mount.h>

using namespace promises;

namespace {

constexpr int64_t megabyte = 1 << 20;
constexpr int64_t headroom = 64 * megabyte; // stays free on the disk of a session

class SessionFaults : public VictimTest
{
protected:
    // Runs a scenario; a failure must have told file and cause, and the document must go elsewhere.
    static int runTold(const VictimHome& home, const Scenario& scenario, const QStringList& strace,
                       Aftermath& aftermath)
    {
        const QString elsewhere = home.folder() + QStringLiteral("/DATA_HOME/rescued.mvp");
        const VictimRun run =
            home.run(QStringLiteral("faulty"),
                     scenario.commands + QStringList{QStringLiteral("rescue:") + elsewhere}, strace);
        EXPECT_FALSE(run.killed) << run.text();
        const QStringList told = run.words("box") + run.words("warning") + run.words("refused");
        const bool failed = run.exitCode != 0;
        if (failed) {
            EXPECT_TRUE(std::any_of(told.begin(), told.end(), [](const QString& text) {
                return text.contains(QLatin1Char('/'));
            })) << run.text();
            if (!run.states().isEmpty()) { // there is a document
                EXPECT_TRUE(run.lines.contains(QStringLiteral("rescued"))) << run.text();
                EXPECT_TRUE(QFile::exists(elsewhere));
            }
        }
        aftermath.backupFailed = std::any_of(told.begin(), told.end(), [](const QString& text) {
            return text.contains(QLatin1String("no session backup"));
        });
        aftermath.refused = failed;
        const int done = run.states().size();
        return failed ? done : std::min(done, int(scenario.commands.size()));
    }
    static void failAll(const Scenario& scenario, int count);
    // Full disks of which `left` bytes may still be taken, one after the other. Behind how many different
    // commands they were full.
    static int fillDisks(const QList<int64_t>& left,
                         const std::function<void(VictimHome& home, const QString& disk)>& move)
    {
        const Reference reference = measure(saving);
        std::set<int> stops;
        for (const int64_t bytes : left) {
            SCOPED_TRACE(bytes);
            const testsupport::SmallDisk disk;
            auto fresh = std::make_unique<VictimHome>();
            move(*fresh, disk.path);
            const auto home = prepare(saving, nullptr, std::move(fresh));
            disk.fill(bytes);
            Aftermath aftermath;
            aftermath.mend = [&] { EXPECT_TRUE(QFile::remove(disk.path + QStringLiteral("/filler"))); };
            const int finished = runTold(*home, saving, {}, aftermath);
            EXPECT_FALSE(aftermath.backupFailed) << "the reserve is for it";
            stops.insert(finished);
            expectPromises(*home, saving, reference, finished, aftermath);
            QDir(home->folder()).removeRecursively();
        }
        std::printf("[ figure   ] %d disks, full behind %d different commands\n", int(left.size()),
                    int(stops.size()));
        return int(stops.size());
    }
};

// Which error a call may give.
QString errorOf(const QString& call, int i)
{
    if (call == QLatin1String("mmap") || call == QLatin1String("mremap"))
        return QStringLiteral("ENOMEM");
    if (call.contains(QLatin1String("sync")))
        return QStringLiteral("EIO");
    return i % 2 == 0 ? QStringLiteral("ENOSPC") : QStringLiteral("EIO");
}

// Lets `count` calls fail, or all when MORVANE_KILL_POINTS says "all", and each sync in any case: it fails
// behind what it is to make safe, a rename above all.
void SessionFaults::failAll(const Scenario& scenario, int count)
{
    const Reference reference = measure(scenario);
    ASSERT_FALSE(HasFailure());
    const bool all = qgetenv("MORVANE_KILL_POINTS") == "all";
    QList<Point> points = sample(reference.points, all ? reference.points.size() : count);
    for (const Point& point : reference.points)
        if (point.call == QLatin1String("fsync") && !points.contains(point))
            points << point;
    int i = 0, failed = 0;
    for (const Point& point : points) {
        if (point.call == QLatin1String("flock"))
            continue; // fails for those who come second only
        const QString fault = point.fault(QStringLiteral("error=") + errorOf(point.call, i++));
        SCOPED_TRACE(fault.toStdString());
        const auto home = prepare(scenario);
        Aftermath aftermath;
        const int finished =
            runTold(*home, scenario,
                    {QStringLiteral("-f"), QStringLiteral("-qq"), QStringLiteral("-o"),
                     QStringLiteral("/dev/null"), QStringLiteral("-e"), QStringLiteral("trace=") + point.call,
                     QStringLiteral("-e"), QStringLiteral("inject=") + fault},
                    aftermath);
        failed += finished < scenario.commands.size();
        expectPromises(*home, scenario, reference, finished, aftermath);
        QDir(home->folder()).removeRecursively();
    }
    std::printf("[ figure   ] %d calls failed, and with them %d commands\n", i, failed);
    EXPECT_GE(failed, count / 8) << "the faults do not reach the program";
}

} // namespace

TEST_F(SessionFaults, aSystemCallThatFailsBreaksNoPromise)
{
    failAll(saving, 24);
}

TEST_F(SessionFaults, aSystemCallThatFailsInCutPasteDeleteTimeAndUndoBreaksNoPromise)
{
    failAll(rearranging, 12);
}

TEST_F(SessionFaults, aSystemCallThatFailsInAChangeOfFormatAndADuplicateBreaksNoPromise)
{
    failAll(converting, 12);
}

TEST_F(SessionFaults, aSystemCallThatFailsInTheRecoveryBreaksNoPromise)
{
    failAll(recovering, 12);
}

TEST_F(SessionFaults, aFullDiskOnTheSideOfTheSessionBreaksNoPromise)
{
    QList<int64_t> left; // beyond the reserve
    for (int megabytes = 0; megabytes <= 26; megabytes += 2)
        left << headroom + megabytes * megabyte;
    EXPECT_GE(fillDisks(left, [](VictimHome& home, const QString& disk) { home.moveSessions(disk); }), 4);
}

TEST_F(SessionFaults, aFullDiskOnTheSideOfTheTargetBreaksNoPromise)
{
    const QList<int64_t> left = {0, 1, 2000, 100000, 1000000, 2400000, 2500000, 2700000, 5000000, 9000000};
    EXPECT_GE(fillDisks(left, [](VictimHome& home,
                                 const QString& disk) { home.moveTargets(disk + QStringLiteral("/t")); }),
              3);
}

TEST_F(SessionFaults, aTargetThatCannotBeWrittenBreaksNoPromise)
{
    const Reference reference = measure(saving);
    ASSERT_FALSE(HasFailure());
    const testsupport::SmallDisk disk;
    const QByteArray path = QFile::encodeName(disk.path);
    auto fresh = std::make_unique<VictimHome>();
    fresh->moveTargets(disk.path + QStringLiteral("/t"));
    const auto home = prepare(saving, nullptr, std::move(fresh));
    ASSERT_EQ(mount(nullptr, path, nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
    Aftermath aftermath;
    aftermath.mend = [&] { EXPECT_EQ(mount(nullptr, path, nullptr, MS_REMOUNT, nullptr), 0); };
    const int finished = runTold(*home, saving, {}, aftermath);
    EXPECT_EQ(finished, 2) << "up to the first save";
    expectPromises(*home, saving, reference, finished, aftermath);
}

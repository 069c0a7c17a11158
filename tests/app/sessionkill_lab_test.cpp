// The program killed at the n-th system call of a kind, in the midst of import, edits, saves and of a
// recovery. What it promised must hold then, whatever n is.
#include "scenarios.h"

#include <map>
#include <set>

#include <QDateTime>
#include <QElapsedTimer>
#include <QFileInfo>

using namespace promises;

namespace {

// A file system on an image of its own.
class Mounted
{
public:
    Mounted(const QString& image, const QString& path, const QString& makeImage) : m_path(path)
    {
        EXPECT_TRUE(shell(makeImage.arg(image) +
                          QStringLiteral("; mkdir -p %2; mount -o loop %1 %2").arg(image, path)));
    }
    ~Mounted() { EXPECT_TRUE(shell(QStringLiteral("umount ") + m_path)); }
    Mounted(const Mounted&) = delete;
    Mounted& operator=(const Mounted&) = delete;
    [[nodiscard]] const QString& path() const { return m_path; }

private:
    static bool shell(const QString& command)
    {
        return QProcess::execute(QStringLiteral("bash"), {QStringLiteral("-ec"), command}) == 0;
    }
    QString m_path;
};

class Killed
{
public:
    explicit Killed(QProcess& process) : m_process(process) {}
    ~Killed()
    {
        m_process.kill();
        m_process.waitForFinished();
    }
    Killed(const Killed&) = delete;
    Killed& operator=(const Killed&) = delete;

private:
    QProcess& m_process;
};

class SessionKill : public VictimTest
{
protected:
    // Kills at `count` points, or at all that there are when MORVANE_KILL_POINTS says "all".
    static void killAll(const Scenario& scenario, int count)
    {
        const Reference reference = measure(scenario);
        ASSERT_FALSE(testing::Test::HasFailure());
        const bool all = qgetenv("MORVANE_KILL_POINTS") == "all";
        const QList<Point> points = sample(reference.points, all ? reference.points.size() : count);
        int kills = 0;
        std::map<QString, int> reached;
        for (const Point& point : points) {
            SCOPED_TRACE(point.fault().toStdString());
            const auto home = prepare(scenario);
            const VictimRun run = home->run(
                QStringLiteral("killed"), scenario.commands,
                {QStringLiteral("-f"), QStringLiteral("-qq"), QStringLiteral("-o"),
                 QStringLiteral("/dev/null"), QStringLiteral("-e"), QStringLiteral("trace=") + point.call,
                 QStringLiteral("-e"), QStringLiteral("inject=") + point.fault()});
            EXPECT_TRUE(run.killed || run.exitCode == 0) << run.text();
            kills += run.killed;
            ++reached[point.call];
            expectPromises(*home, scenario, reference, run.states().size());
            QDir(home->folder()).removeRecursively();
        }
        std::printf("[ figure   ] %d of %d points, %d killed:", int(points.size()),
                    int(reference.points.size()), kills);
        for (const auto& [call, times] : reached)
            std::printf(" %s %d", call.toLatin1().constData(), times);
        std::printf("\n");
        EXPECT_GE(kills, points.size() * 8 / 10) << "the faults do not reach the program";
    }

    // Kills after the i-th of `count` equal parts of the time that the commands take.
    static void killAtTimes(const Scenario& scenario, int count)
    {
        const Reference reference = measure(scenario);
        ASSERT_FALSE(testing::Test::HasFailure());
        qint64 whole = 0; // ms
        std::set<int> reached;
        for (int i = 0; i <= count; ++i) {
            const auto home = prepare(scenario);
            QProcess process;
            home->start(process, QStringLiteral("killed"), scenario.commands);
            QString output;
            QElapsedTimer timer;
            while (process.state() != QProcess::NotRunning) {
                static_cast<void>(process.waitForReadyRead(1));
                output += QString::fromUtf8(process.readAllStandardOutput());
                if (!timer.isValid() && output.contains(QLatin1String("begin")))
                    timer.start();
                if (i > 0 && timer.isValid() && timer.elapsed() * count >= whole * (2 * i - 1) / 2)
                    process.kill();
            }
            output += QString::fromUtf8(process.readAllStandardOutput());
            const int finished = int(output.count(QLatin1String("done ")));
            SCOPED_TRACE("behind " + std::to_string(finished) + " commands");
            if (i == 0) { // how long it takes
                whole = timer.elapsed();
                ASSERT_EQ(finished, scenario.commands.size()) << output.toStdString();
                continue;
            }
            reached.insert(finished);
            expectPromises(*home, scenario, reference, finished);
            QDir(home->folder()).removeRecursively();
        }
        std::printf("[ figure   ] %d kills within %d ms, in %d commands\n", count, int(whole),
                    int(reached.size()));
        EXPECT_GE(reached.size(), 3u);
    }
};

} // namespace

TEST_F(SessionKill, inImportEditsAndSaves)
{
    killAll(working, 19);
}

// The action in work has changed a part of the samples in place.
TEST_F(SessionKill, inEditsOfSamplesWhereTheyLie)
{
    killAll(editing, 14);
}

// Between two system calls too.
TEST_F(SessionKill, atAnyTimeInEditsOfSamplesWhereTheyLie)
{
    killAtTimes(editing, qgetenv("MORVANE_KILL_POINTS") == "all" ? 100 : 12);
}

TEST_F(SessionKill, inCutPasteDeleteTimeAndUndo)
{
    killAll(rearranging, 17);
}

TEST_F(SessionKill, inAChangeOfFormatAndADuplicate)
{
    killAll(converting, 11);
}

// The power goes: what the disk of another machine would hold is what the block device holds now, with
// nothing of what the system still had in memory.
TEST_F(SessionKill, aPowerCutCostsAtMostTheLastFiveSeconds)
{
    QStringList work{QStringLiteral("open:@c.ramp")};
    for (int i = 1; i <= 12; ++i)
        work << QStringLiteral("scatter:%1").arg(i) << QStringLiteral("edit:%1").arg(i)
             << QStringLiteral("undo") << QStringLiteral("insert") << QStringLiteral("undo");
    QStringList commands; // the program is at work all the time
    for (const QString& word : work)
        commands << word << QStringLiteral("pause:700");
    const QStringList states = VictimHome().run(QStringLiteral("reference"), work).states();
    ASSERT_EQ(states.size(), work.size());
    const QString folder = testsupport::makeFolder(QStringLiteral("power"));
    const QString disk = folder + QStringLiteral("/disk"), cut = folder + QStringLiteral("/cut");
    const Mounted live(disk, folder + QStringLiteral("/live"),
                       QStringLiteral("truncate -s 400M %1; mkfs.ext4 -q %1"));
    const VictimHome home(live.path() + QStringLiteral("/home"));
    QProcess process;
    home.start(process, QStringLiteral("first"), commands + QStringList{QStringLiteral("wait")});
    const Killed killed(process); // before the disk goes
    QElapsedTimer clock;
    clock.start();
    QString output, found;
    QList<qint64> times; // by which the actions had ended
    int cuts = 0, torn = 0;
    qint64 worst = 0;                                  // ms by which an action was not safe yet
    const auto safeAfter = testsupport::patient(7000); // five seconds, a sync, and this machine's load
    do {
        static_cast<void>(process.waitForReadyRead(50));
        output += QString::fromUtf8(process.readAllStandardOutput());
        while (times.size() * 2 < output.count(QLatin1String("done ")))
            times << clock.elapsed();
        const qint64 now = clock.elapsed();
        const auto written = QFileInfo(disk).lastModified();
        const Mounted later(cut, folder + QStringLiteral("/later"),
                            QStringLiteral("cp --sparse=always ") + disk + QStringLiteral(" %1"));
        // A copy that was overtaken by a write is no state that the disk was ever in.
        if (QFileInfo(disk).lastModified() != written && ++torn)
            continue;
        if (!QFileInfo::exists(later.path() + QStringLiteral("/home/targets/c.ramp")))
            continue;
        const VictimHome after(later.path() + QStringLiteral("/home"), false);
        QFile lock(after.sessionFolder() + QStringLiteral("/session_first.lock"));
        if (lock.exists()) {
            ASSERT_TRUE(lock.open(QFile::WriteOnly | QFile::Truncate));
            lock.write("another life of the machine\n");
            lock.close();
        }
        const VictimRun next = after.run(QStringLiteral("next"), {QStringLiteral("recover")});
        found = next.states().value(0);
        ++cuts;
        EXPECT_TRUE(found == QLatin1String("none") || states.contains(found)) << next.text();
        EXPECT_TRUE(next.words("warning").isEmpty()) << next.text();
        // Equal states of different actions count as the later one.
        const int safe = states.mid(0, times.size() + 1).lastIndexOf(found);
        const int open = 1; // an import into a new tab is no action of the history
        for (int i = std::max(safe + 1, open); i < times.size(); ++i)
            worst = std::max(worst, now - times[i]);
        EXPECT_LT(worst, safeAfter) << found.toStdString();
    } while (!HasFailure() && cuts < 8 && found != states.last() && clock.elapsed() < 120000);
    EXPECT_TRUE(states.contains(found)) << "nothing was ever safe";
    std::printf(
        "[ figure   ] %d cuts (and %d copies overtaken by a write); an action was at most %d ms old and "
        "not safe\n",
        cuts, torn, int(worst));
}

TEST_F(SessionKill, inTheRecoveryItself)
{
    killAll(recovering, 10);
}

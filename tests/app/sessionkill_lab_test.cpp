// The program killed at the n-th system call of a kind, in the midst of import, edits, saves and of a
// recovery. What it promised must hold then, whatever n is.
#include "victim.h"

#include <algorithm>
#include <map>
#include <set>

#include <QDateTime>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QRegularExpression>

namespace {

// What changes something on a disk, or makes it reachable.
const QStringList kinds = {
    QStringLiteral("write"),     QStringLiteral("pwrite64"), QStringLiteral("rename"),
    QStringLiteral("renameat2"), QStringLiteral("fsync"),    QStringLiteral("fdatasync"),
    QStringLiteral("msync"),     QStringLiteral("unlink"),   QStringLiteral("unlinkat"),
    QStringLiteral("mmap"),      QStringLiteral("mremap"),   QStringLiteral("fallocate"),
    QStringLiteral("ftruncate"), QStringLiteral("linkat"),   QStringLiteral("mkdir"),
    QStringLiteral("rmdir"),     QStringLiteral("flock")};

const QString binary = QStringLiteral("song.mvp");
const QString manifest = QStringLiteral("song.mvx");

// What happens before the kill, and what the kill falls into.
struct Scenario
{
    QStringList before; // leaves old project files, and is killed when it has done its work
    QStringList commands;
};

const Scenario working = {{QStringLiteral("open:@b.ramp"), QStringLiteral("save:@song.mvp"),
                           QStringLiteral("save:@song.mvx"), QStringLiteral("close")},
                          {QStringLiteral("open:@a.ramp"), QStringLiteral("edit:5"),
                           QStringLiteral("save:@song.mvp"), QStringLiteral("import:@b.ramp"),
                           QStringLiteral("insert"), QStringLiteral("save:@song.mvx"), QStringLiteral("crop"),
                           QStringLiteral("undo"), QStringLiteral("save:@song.mvp")}};
const Scenario converting = {{QStringLiteral("open:@b.ramp"), QStringLiteral("save:@song.mvp"),
                              QStringLiteral("save:@song.mvx"), QStringLiteral("close")},
                             {QStringLiteral("open:@a.ramp"), QStringLiteral("import:@b.ramp"),
                              QStringLiteral("format:12000"), QStringLiteral("edit:2"),
                              QStringLiteral("duplicate"), QStringLiteral("save:@song.mvp")}};
const Scenario recovering = {{QStringLiteral("open:@b.ramp"), QStringLiteral("save:@song.mvp"),
                              QStringLiteral("save:@song.mvx"), QStringLiteral("import:@a.ramp"),
                              QStringLiteral("insert"), QStringLiteral("open:@a.ramp"),
                              QStringLiteral("edit:3")},
                             {QStringLiteral("recover"), QStringLiteral("edit:9"),
                              QStringLiteral("save:@song.mvp"), QStringLiteral("insert")}};

bool isAction(const QString& command)
{
    for (const char* word :
         {"edit", "import", "insert", "crop", "undo", "redo", "save", "format", "duplicate"})
        if (command.startsWith(QLatin1String(word)))
            return true;
    return false;
}

struct Point
{
    QString call;
    int n;
    [[nodiscard]] QString fault() const { return QStringLiteral("%1:signal=KILL:when=%2").arg(call).arg(n); }
};

// A home in which `before` has happened and the machine has stopped.
std::unique_ptr<VictimHome> prepare(const Scenario& scenario, QString* state = nullptr)
{
    auto home = std::make_unique<VictimHome>();
    QProcess process;
    home->start(process, QStringLiteral("before"), scenario.before + QStringList{QStringLiteral("wait")});
    QString output;
    const auto all = scenario.before.size();
    EXPECT_TRUE(testsupport::waitFor(
        [&] {
            output += QString::fromUtf8(process.readAllStandardOutput());
            return output.count(QLatin1String("done ")) >= all || process.state() == QProcess::NotRunning;
        },
        30000));
    process.kill();
    process.waitForFinished();
    VictimRun run;
    run.lines = output.split(QLatin1Char('\n'));
    EXPECT_EQ(run.states().size(), all) << run.text();
    if (state)
        *state = run.states().value(int(all) - 1);
    // Things of the user's where the program works.
    for (const char* name : {"important.pcm", "mine.mvx", "layer(x).pcm", "notes.lock"}) {
        QFile file(home->sessionFolder() + QLatin1Char('/') + QLatin1String(name));
        EXPECT_TRUE(file.open(QFile::WriteOnly));
        file.write("the user's");
    }
    home->writeFile(QStringLiteral("neighbour.mvp"), "the user's");
    return home;
}

// What a scenario does when nothing goes wrong.
struct Reference
{
    QString before;     // what a recovery finds at its beginning
    QString oldFile;    // what both project files hold then
    QStringList states; // behind each command
    QStringList saved;  // by each save
    QList<Point> points;
};

// A write that only wakes another thread, or memory of the heap, is no matter of the disk.
bool isOfTheDisk(const QString& call, const QString& arguments)
{
    if (call == QLatin1String("mmap"))
        return arguments.contains(QLatin1String("MAP_SHARED"));
    return call != QLatin1String("write") || !arguments.contains(QLatin1String("\"\\1\\0"));
}

// Calls of these kinds from the word "begin" on, numbered as strace counts: for each thread and kind. Those
// of the main thread, and the syncs of the helper.
QList<Point> pointsOf(const QString& logPath)
{
    QFile log(logPath);
    EXPECT_TRUE(log.open(QFile::ReadOnly));
    const QRegularExpression line(QStringLiteral("^(\\d+)\\s+(\\w+)\\((.*)$"));
    std::map<QString, std::map<QString, int>> counts; // by call and thread
    std::map<QString, std::set<int>> found;           // by call
    QString mainThread;
    bool begun = false;
    while (!log.atEnd()) {
        const auto match = line.match(QString::fromUtf8(log.readLine()).trimmed());
        if (!match.hasMatch())
            continue;
        const QString thread = match.captured(1), call = match.captured(2), arguments = match.captured(3);
        if (mainThread.isEmpty())
            mainThread = thread;
        const int n = ++counts[call][thread];
        begun = begun || arguments.contains(QLatin1String("\"begin"));
        if (begun && (thread == mainThread || call == QLatin1String("fsync")) && isOfTheDisk(call, arguments))
            found[call].insert(n);
    }
    EXPECT_TRUE(begun);
    QList<Point> points;
    for (const auto& [call, numbers] : found)
        for (const int n : numbers)
            points << Point{call, n};
    return points;
}

Reference measure(const Scenario& scenario)
{
    Reference reference;
    const auto home = prepare(scenario, &reference.before);
    const QString log = home->folder() + QStringLiteral("/calls");
    const VictimRun old = home->run(QStringLiteral("old"), {QStringLiteral("read:@song.mvp")});
    reference.oldFile = old.words("file").value(0);
    const VictimRun run = home->run(
        QStringLiteral("reference"), scenario.commands,
        {QStringLiteral("-f"), QStringLiteral("-qq"), QStringLiteral("--seccomp-bpf"), QStringLiteral("-e"),
         QStringLiteral("trace=") + kinds.join(QLatin1Char(',')), QStringLiteral("-o"), log});
    EXPECT_EQ(run.exitCode, 0) << run.text();
    reference.states = run.states();
    reference.saved = run.words("saved");
    EXPECT_EQ(reference.states.size(), scenario.commands.size()) << run.text();
    reference.points = pointsOf(log);
    return reference;
}

// `count` of them, evenly spread over kinds and numbers.
QList<Point> sample(const QList<Point>& points, int count)
{
    QList<Point> chosen;
    for (int i = 0; i < count && !points.isEmpty(); ++i)
        chosen << points[int(qint64(i) * points.size() / count)];
    return chosen;
}

// What a recovery may offer when `finished` commands have ended and the next may have.
QStringList allowedStates(const Scenario& scenario, const Reference& reference, int finished)
{
    const auto behind = [&](int count) {
        QString state = reference.before;
        for (int i = 0; i < count; ++i)
            if (isAction(scenario.commands[i]))
                state = reference.states[i];
        return state;
    };
    return {behind(finished), behind(std::min<int>(finished + 1, scenario.commands.size()))};
}

// What a project file may hold then.
QStringList allowedFiles(const Scenario& scenario, const Reference& reference, int finished,
                         const QString& name)
{
    QString before = reference.oldFile;
    QString inWork;
    int saves = 0;
    for (int i = 0; i < std::min<int>(finished + 1, scenario.commands.size()); ++i) {
        if (!scenario.commands[i].startsWith(QLatin1String("save:")))
            continue;
        const QString state = reference.saved[saves++];
        if (!scenario.commands[i].endsWith(name))
            continue;
        if (i < finished)
            before = state;
        else
            inWork = state;
    }
    return inWork.isEmpty() ? QStringList{before} : QStringList{before, inWork};
}

// Nothing but what the program may make lies in the targets, and what is the user's is as it was.
void expectNothingElseTouched(const VictimHome& home)
{
    for (const QString& name :
         QDir(home.targets()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot))
        EXPECT_TRUE(name.startsWith(QLatin1String("song")) || name.startsWith(QLatin1String(".song")) ||
                    name.endsWith(QLatin1String(".ramp")) || name == QLatin1String("neighbour.mvp"))
            << name.toStdString();
    QStringList own = {home.targets() + QStringLiteral("/neighbour.mvp")};
    for (const char* name : {"important.pcm", "mine.mvx", "layer(x).pcm", "notes.lock"})
        own << home.sessionFolder() + QLatin1Char('/') + QLatin1String(name);
    for (const QString& path : own) {
        QFile file(path);
        EXPECT_TRUE(file.open(QFile::ReadOnly)) << path.toStdString();
        EXPECT_EQ(file.readAll(), "the user's") << path.toStdString();
    }
    EXPECT_EQ(
        QDir(home.folder()).entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name),
        (QStringList{"CACHE_HOME", "CONFIG_HOME", "DATA_HOME", "RUNTIME_DIR", "STATE_HOME", "targets"}));
}

// The promises, as far as a death can break them: (1) the saved files are the old or the new ones, whole;
// (2) the last finished action is offered at the next start; (3) nothing else was touched; (5) in bounded
// time; (7) nothing is told as damaged, as nothing is. Then the next session goes on (4).
void expectPromises(const VictimHome& home, const Scenario& scenario, const Reference& reference,
                    int finished)
{
    QElapsedTimer timer;
    timer.start();
    const VictimRun after =
        home.run(QStringLiteral("after"), {QStringLiteral("read:@") + binary,
                                           QStringLiteral("read:@") + manifest, QStringLiteral("recover")});
    EXPECT_LT(timer.elapsed(), 20000);
    ASSERT_EQ(after.states().size(), 3) << after.text();
    const QStringList files = after.words("file");
    EXPECT_TRUE(allowedFiles(scenario, reference, finished, binary).contains(files[0])) << after.text();
    EXPECT_TRUE(allowedFiles(scenario, reference, finished, manifest).contains(files[1])) << after.text();
    const QStringList states = allowedStates(scenario, reference, finished);
    EXPECT_TRUE(states.contains(after.states()[2]))
        << states.join(QLatin1String(" or ")).toStdString() << "\n"
        << after.text();
    for (const QString& box : after.words("box"))
        EXPECT_TRUE(box.startsWith(QLatin1String("Recover Session|"))) << box.toStdString();
    EXPECT_TRUE(after.words("warning").isEmpty()) << after.text();
    expectNothingElseTouched(home);
    const VictimRun later =
        home.run(QStringLiteral("later"),
                 {QStringLiteral("recover"), QStringLiteral("open:@a.ramp"), QStringLiteral("edit:1"),
                  QStringLiteral("save:@") + binary, QStringLiteral("close")});
    EXPECT_EQ(later.exitCode, 0) << later.text();
    ASSERT_EQ(later.states().size(), 5) << later.text();
    EXPECT_EQ(later.states()[0], after.states()[2]) << "it was recovered, and not closed";
}

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

class SessionKill : public testing::Test
{
protected:
    void SetUp() override
    {
        static int argc = 1;
        static char name[] = "test";
        static char* argv[] = {name, nullptr};
        application = std::make_unique<QCoreApplication>(argc, argv);
    }
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

    std::unique_ptr<QCoreApplication> application;
};

} // namespace

TEST_F(SessionKill, inImportEditsAndSaves)
{
    killAll(working, 19);
}

TEST_F(SessionKill, inAChangeOfFormatAndADuplicate)
{
    killAll(converting, 11);
}

// The power goes: what the disk of another machine would hold is what the block device holds now, with
// nothing of what the system still had in memory.
TEST_F(SessionKill, aPowerCutCostsAtMostTheLastFiveSeconds)
{
    const QStringList commands = {QStringLiteral("open:@a.ramp"),   QStringLiteral("edit:5"),
                                  QStringLiteral("import:@b.ramp"), QStringLiteral("insert"),
                                  QStringLiteral("crop"),           QStringLiteral("insert")};
    const QStringList states = VictimHome().run(QStringLiteral("reference"), commands).states();
    ASSERT_EQ(states.size(), commands.size());
    const QString folder = testsupport::makeFolder(QStringLiteral("power"));
    const QString disk = folder + QStringLiteral("/disk"), cut = folder + QStringLiteral("/cut");
    const Mounted live(disk, folder + QStringLiteral("/live"),
                       QStringLiteral("truncate -s 400M %1; mkfs.ext4 -q %1"));
    const VictimHome home(live.path() + QStringLiteral("/home"));
    QProcess process;
    home.start(process, QStringLiteral("first"), commands + QStringList{QStringLiteral("wait")});
    const Killed killed(process); // before the disk goes
    QString output, found;
    QElapsedTimer idle; // since the last action
    int cuts = 0;
    do {
        static_cast<void>(process.waitForReadyRead(50));
        output += QString::fromUtf8(process.readAllStandardOutput());
        if (output.count(QLatin1String("done ")) == commands.size() && !idle.isValid())
            idle.start();
        const Mounted later(cut, folder + QStringLiteral("/later"),
                            QStringLiteral("cp --sparse=always ") + disk + QStringLiteral(" %1"));
        if (!QFileInfo::exists(later.path() + QStringLiteral("/home/targets/b.ramp")))
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
    } while (!HasFailure() && found != states.last() && !(idle.isValid() && idle.elapsed() > 8000));
    EXPECT_EQ(found, states.last()) << "after " << idle.elapsed() << " ms";
    std::printf("[ figure   ] %d cuts; the last action was safe at most %d ms later\n", cuts,
                idle.isValid() ? int(idle.elapsed()) : 0);
}

TEST_F(SessionKill, inTheRecoveryItself)
{
    killAll(recovering, 10);
}

// What the program has promised for whatever befalls it, asserted in one place behind every injected fault.
#pragma once

#include "victim.h"

#include <algorithm>
#include <functional>
#include <map>
#include <set>

#include <QElapsedTimer>
#include <QFileInfo>
#include <QRegularExpression>

namespace promises {

// What changes something on a disk, or makes it reachable.
inline const QStringList kinds = {
    QStringLiteral("write"),     QStringLiteral("pwrite64"), QStringLiteral("rename"),
    QStringLiteral("renameat2"), QStringLiteral("fsync"),    QStringLiteral("fdatasync"),
    QStringLiteral("msync"),     QStringLiteral("unlink"),   QStringLiteral("unlinkat"),
    QStringLiteral("mmap"),      QStringLiteral("mremap"),   QStringLiteral("fallocate"),
    QStringLiteral("ftruncate"), QStringLiteral("linkat"),   QStringLiteral("mkdir"),
    QStringLiteral("rmdir"),     QStringLiteral("flock")};

inline const QString binary = QStringLiteral("song.mvp");
inline const QString manifest = QStringLiteral("song.mvx");

// What happens before the kill, and what the kill falls into.
struct Scenario
{
    QStringList before; // leaves old project files, and is killed when it has done its work
    QStringList commands;
};

inline bool isAction(const QString& command)
{
    for (const char* word : {"edit", "scatter", "cut", "grow", "shrink", "import", "insert", "crop", "paste",
                             "deletetime", "undo", "redo", "save", "format", "duplicate"})
        if (command.startsWith(QLatin1String(word)))
            return true;
    return false;
}

struct Point
{
    QString call;
    int n;
    bool operator==(const Point&) const = default;
    [[nodiscard]] QString fault(const QString& what = QStringLiteral("signal=KILL")) const
    {
        return QStringLiteral("%1:%2:when=%3").arg(call, what).arg(n);
    }
};

// A home in which `before` has happened and the machine has stopped.
inline std::unique_ptr<VictimHome> prepare(const Scenario& scenario, QString* state = nullptr,
                                           std::unique_ptr<VictimHome> home = nullptr)
{
    if (!home)
        home = std::make_unique<VictimHome>();
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

// A write that only wakes another thread or talks to the test, or memory of the heap, is no matter of the
// disk.
inline bool isOfTheDisk(const QString& call, const QString& arguments)
{
    if (call == QLatin1String("mmap"))
        return arguments.contains(QLatin1String("MAP_SHARED"));
    return call != QLatin1String("write") ||
           !(arguments.contains(QLatin1String("\"\\1\\0")) || arguments.startsWith(QLatin1String("1, ")));
}

// Calls of these kinds from the first with `begin` on, numbered as strace counts: for each thread and kind.
// Those of the main thread, and the syncs of the helper.
inline QList<Point> pointsOf(const QString& logPath, const QString& begin = QStringLiteral("\"begin"))
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
        begun = begun || match.captured(0).contains(begin);
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

inline Reference measure(const Scenario& scenario)
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
inline QList<Point> sample(const QList<Point>& points, int count)
{
    QList<Point> chosen;
    for (int i = 0; i < count && !points.isEmpty(); ++i)
        chosen << points[int(qint64(i) * points.size() / count)];
    return chosen;
}

// What a recovery may offer when `finished` commands have ended and the next may have.
inline QStringList allowedStates(const Scenario& scenario, const Reference& reference, int finished)
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
inline QStringList allowedFiles(const Scenario& scenario, const Reference& reference, int finished,
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
inline void expectNothingElseTouched(const VictimHome& home)
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

// What differs behind faults other than a death.
struct Aftermath
{
    // The log has told that the session's manifest could not be written: an older one is offered.
    bool backupFailed = false;
    // A command was refused: the document as it stood is offered, though opening it alone is no action.
    bool refused = false;
    // Takes the fault away before the next session goes on.
    std::function<void()> mend = [] {};
};

// The promises: (1) the saved files are the old or the new ones, whole; (2) the last finished action is
// offered at the next start; (3) nothing else was touched; (5) in bounded time; (7) nothing is told as
// damaged, as nothing is. Then the next session goes on (4). That no audio thread waits for a disk (6) has
// its tests with the layers.
inline void expectPromises(const VictimHome& home, const Scenario& scenario, const Reference& reference,
                           int finished, const Aftermath& aftermath = {})
{
    QElapsedTimer timer;
    timer.start();
    const VictimRun after = home.run(QStringLiteral("after"), {QStringLiteral("recover")});
    EXPECT_LT(timer.elapsed(), testsupport::patient(20000));
    ASSERT_EQ(after.states().size(), 1) << after.text();
    const QString recovered = after.states()[0];
    QStringList states = allowedStates(scenario, reference, finished);
    for (int earlier = 0; aftermath.backupFailed && earlier < finished; ++earlier)
        states << allowedStates(scenario, reference, earlier);
    if (aftermath.refused && finished > 0)
        states << reference.states[finished - 1];
    // It may have failed for one project, and gone well for the other.
    const QStringList each = states.join(QLatin1Char('+')).split(QLatin1Char('+'));
    const QStringList projects = recovered.split(QLatin1Char('+'));
    const bool isMixed =
        aftermath.backupFailed && std::all_of(projects.begin(), projects.end(),
                                              [&](const QString& project) { return each.contains(project); });
    EXPECT_TRUE(states.contains(recovered) || isMixed)
        << states.join(QLatin1String(" or ")).toStdString() << "\n"
        << after.text();
    for (const QString& box : after.words("box"))
        EXPECT_TRUE(box.startsWith(QLatin1String("Recover Session|"))) << box.toStdString();
    EXPECT_TRUE(after.words("warning").isEmpty()) << after.text();
    expectNothingElseTouched(home);
    aftermath.mend();
    const VictimRun later =
        home.run(QStringLiteral("later"),
                 {QStringLiteral("read:@") + binary, QStringLiteral("read:@") + manifest,
                  QStringLiteral("recover"), QStringLiteral("open:@a.ramp"), QStringLiteral("edit:1"),
                  QStringLiteral("save:@") + binary, QStringLiteral("close")});
    EXPECT_EQ(later.exitCode, 0) << later.text();
    ASSERT_EQ(later.states().size(), 7) << later.text();
    const QStringList files = later.words("file");
    EXPECT_TRUE(allowedFiles(scenario, reference, finished, binary).contains(files[0])) << later.text();
    EXPECT_TRUE(allowedFiles(scenario, reference, finished, manifest).contains(files[1])) << later.text();
    EXPECT_EQ(later.states()[2], recovered) << "it was recovered, and not closed";
}

} // namespace promises

// The program itself, as a user starts it, killed at system calls while it opens a file and merges another
// into it.
#include "promises.h"

#include <QFileInfo>
#include <QtEndian>

using namespace promises;

namespace {

// A mono recording of `frames` floats.
QByteArray wave(int frames, float first)
{
    QByteArray samples;
    for (int i = 0; i < frames; ++i) {
        first += 1e-6f;
        samples.append(reinterpret_cast<const char*>(&first), sizeof first);
    }
    const auto number = [](auto value) {
        const auto little = qToLittleEndian(value);
        return QByteArray(reinterpret_cast<const char*>(&little), sizeof little);
    };
    const QByteArray format = number(quint16(3)) + number(quint16(1)) + number(quint32(8000)) +
                              number(quint32(32000)) + number(quint16(4)) + number(quint16(32));
    const QByteArray body = "WAVEfmt " + number(quint32(format.size())) + format + "data" +
                            number(quint32(samples.size())) + samples;
    return "RIFF" + number(quint32(body.size())) + body;
}

class ProgramKill : public VictimTest
{
protected:
    static std::unique_ptr<VictimHome> makeHome()
    {
        auto home = std::make_unique<VictimHome>();
        home->writeFile(QStringLiteral("one.wav"), wave(300000, 0.1f));
        home->writeFile(QStringLiteral("two.wav"), wave(200000, 0.2f));
        return home;
    }
    // Until it has been killed, or both files are in and it has been left alone. False when it did neither.
    static bool run(const VictimHome& home, const QStringList& strace)
    {
        QProcess process;
        process.setProcessEnvironment(home.environment());
        process.setStandardErrorFile(QProcess::nullDevice());
        process.setStandardOutputFile(QProcess::nullDevice());
        QStringList words =
            home.command(QStringLiteral("@one.wav"), {QStringLiteral("-merge"), QStringLiteral("@two.wav")});
        words[0].replace(QLatin1Char('@'), home.targets() + QLatin1Char('/'));
        process.start(QStringLiteral("strace"),
                      strace + (QStringList{QStringLiteral(MORVANE_PROGRAM)} + words));
        const bool done = testsupport::waitFor(
            [&] { return process.state() == QProcess::NotRunning || !manifests(home).isEmpty(); }, 60000);
        // The program dies with the whole group of strace's children, since strace lets go of them otherwise.
        const QString children = QStringLiteral("/proc/%1/task/%1/children").arg(process.processId());
        QFile file(children);
        if (process.state() != QProcess::NotRunning && file.open(QFile::ReadOnly))
            for (const QByteArray& id : file.readAll().split(' '))
                if (id.toInt() > 0)
                    ::kill(id.toInt(), SIGKILL);
        process.waitForFinished();
        return done;
    }
    static QStringList manifests(const VictimHome& home)
    {
        return QDir(home.sessionFolder())
            .entryList({QStringLiteral("session_*_project_*.mvx")}, QDir::Files, QDir::Name);
    }
};

} // namespace

TEST_F(ProgramKill, whileItOpensAFileAndMergesAnother)
{
    const auto first = makeHome();
    const QString log = first->folder() + QStringLiteral("/calls");
    const QStringList trace = {QStringLiteral("-f"),
                               QStringLiteral("-qq"),
                               QStringLiteral("--seccomp-bpf"),
                               QStringLiteral("-e"),
                               QStringLiteral("trace=") + kinds.join(QLatin1Char(',')),
                               QStringLiteral("-o"),
                               log};
    ASSERT_TRUE(run(*first, trace));
    ASSERT_EQ(manifests(*first).size(), 1);
    const VictimRun merged = first->run(QStringLiteral("next"), {QStringLiteral("recover")});
    const QString state = merged.states().value(0);
    ASSERT_FALSE(state.isEmpty() || state == QLatin1String("none")) << merged.text();
    const QList<Point> points = pointsOf(log, QStringLiteral("fallocate("));
    const bool all = qgetenv("MORVANE_KILL_POINTS") == "all";
    int kills = 0, offered = 0;
    const QList<Point> chosen = sample(points, all ? points.size() : 6);
    for (const Point& point : chosen) {
        SCOPED_TRACE(point.fault().toStdString());
        const auto home = makeHome();
        ASSERT_TRUE(run(*home, {QStringLiteral("-f"), QStringLiteral("-qq"), QStringLiteral("-o"),
                                QStringLiteral("/dev/null"), QStringLiteral("-e"),
                                QStringLiteral("trace=") + point.call, QStringLiteral("-e"),
                                QStringLiteral("inject=") + point.fault()}));
        ++kills;
        const bool isOffered = !manifests(*home).isEmpty();
        offered += isOffered;
        const VictimRun next = home->run(QStringLiteral("next"), {QStringLiteral("recover")});
        EXPECT_EQ(next.states().value(0), isOffered ? state : QStringLiteral("none")) << next.text();
        EXPECT_TRUE(next.words("warning").isEmpty()) << next.text();
        EXPECT_TRUE(QFile::exists(home->targets() + QStringLiteral("/one.wav")));
        QDir(home->folder()).removeRecursively();
    }
    std::printf("[ figure   ] %d of %d points; %d times there was something to recover\n", kills,
                int(points.size()), offered);
}

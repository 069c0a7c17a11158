// Crashes of the program itself: killed from outside, started again.
#include "victim.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QFileInfo>

#include <utime.h>

namespace {

class SessionCrash : public VictimTest
{
protected:
    // Runs the commands, then waits; every state has been printed.
    std::unique_ptr<QProcess> startAndWait(const QString& session, const QStringList& commands,
                                           QStringList& states)
    {
        auto process = std::make_unique<QProcess>();
        home.start(*process, session, commands + QStringList{QStringLiteral("wait")});
        QString output;
        EXPECT_TRUE(testsupport::waitFor(
            [&] {
                output += QString::fromUtf8(process->readAllStandardOutput());
                return output.count(QLatin1String("done ")) >= commands.size() ||
                       process->state() == QProcess::NotRunning;
            },
            30000));
        VictimRun run;
        run.lines = output.split(QLatin1Char('\n'));
        states = run.states();
        EXPECT_EQ(states.size(), commands.size()) << run.text();
        return process;
    }
    static void killNow(QProcess& process)
    {
        process.kill();
        process.waitForFinished();
    }
    [[nodiscard]] QStringList files() const
    {
        return QDir(home.sessionFolder())
            .entryList({QStringLiteral("layer*"), QStringLiteral("session_*")}, QDir::Files, QDir::Name);
    }

    const VictimHome home;
};

const QStringList work = {QStringLiteral("open:@a.ramp"),   QStringLiteral("edit:5"),
                          QStringLiteral("import:@b.ramp"), QStringLiteral("insert"),
                          QStringLiteral("crop"),           QStringLiteral("undo")};

} // namespace

TEST_F(SessionCrash, killNineBringsBackTheLastActionWhicheverItWas)
{
    for (int actions = 2; actions <= work.size(); ++actions) {
        QStringList states;
        const auto process =
            startAndWait(QStringLiteral("first%1").arg(actions), work.mid(0, actions), states);
        killNow(*process);
        const VictimRun next = home.run(QStringLiteral("second%1").arg(actions),
                                        {QStringLiteral("recover"), QStringLiteral("close")});
        ASSERT_EQ(next.states().size(), 2) << next.text();
        EXPECT_EQ(next.states()[0], states.last()) << work[actions - 1].toStdString() << "\n" << next.text();
        EXPECT_EQ(next.words("box").size(), 1) << next.text();
        EXPECT_EQ(next.states()[1], QStringLiteral("none"));
    }
    const VictimRun last = home.run(QStringLiteral("last"), {QStringLiteral("recover")});
    EXPECT_TRUE(last.words("box").isEmpty()) << "everything was closed: " << last.text();
}

TEST_F(SessionCrash, anActionThatWasTakenBackForLackOfRoomIsNotRecovered)
{
    QStringList states;
    const auto process = startAndWait(
        QStringLiteral("first"),
        {QStringLiteral("open:@a.ramp"), QStringLiteral("edit:5"), QStringLiteral("reject")}, states);
    EXPECT_EQ(states[2], states[1]) << "it was not taken back";
    killNow(*process);
    const VictimRun next = home.run(QStringLiteral("next"), {QStringLiteral("recover")});
    EXPECT_EQ(next.states(), QStringList{states[1]}) << next.text();
}

TEST_F(SessionCrash, aSecondInstanceNeverOffersRemovesOrAgesALiveSessionsFiles)
{
    QStringList states;
    const auto process = startAndWait(QStringLiteral("live"), work, states);
    // Until its own helper has brought everything to the disk, and cleared away what is then not needed.
    const QString journal = home.sessionFolder() + QStringLiteral("/session_live_project_1.mvx.undo");
    ASSERT_TRUE(testsupport::waitFor(
        [&] { return QFileInfo::exists(journal) && QFileInfo(journal).size() == 0; }, 30000));
    QStringList before;
    QElapsedTimer still;
    ASSERT_TRUE(testsupport::waitFor([&] {
        if (const QStringList now = files(); now != before) {
            before = now;
            still.start();
        }
        return still.elapsed() > 300;
    }));
    EXPECT_GE(before.size(), 4) << "lock, manifest, samples, undo images";
    for (const QString& name : before) {
        const time_t then = time(nullptr) - 40 * 86400;
        const utimbuf times{then, then};
        ASSERT_EQ(utime(QFile::encodeName(home.sessionFolder() + QLatin1Char('/') + name), &times), 0);
    }
    for (const char* answer : {"ask:Reset", "ask:No", "ask:Yes"}) {
        const VictimRun other = home.run(QStringLiteral("other"), {QString::fromLatin1(answer)});
        EXPECT_TRUE(other.words("box").isEmpty()) << other.text();
        EXPECT_EQ(other.states(), QStringList{QStringLiteral("none")}) << other.text();
        EXPECT_EQ(files(), before) << answer;
    }
    killNow(*process);
    // Not by a start that ages first: the question comes before.
    const VictimRun next = home.run(QStringLiteral("next"), {QStringLiteral("recover")});
    EXPECT_EQ(next.states(), QStringList{states.last()}) << next.text();
}

TEST_F(SessionCrash, ofTwoStartsAtTheSameInstantOneRecoversEverything)
{
    QStringList states;
    killNow(*startAndWait(QStringLiteral("first"), work, states));
    for (int round = 0; round < 10; ++round) {
        QProcess starts[2];
        for (int i = 0; i < 2; ++i)
            home.start(starts[i], QStringLiteral("round%1.%2").arg(round).arg(i),
                       {QStringLiteral("recover")});
        QStringList all;
        for (QProcess& start : starts) {
            ASSERT_TRUE(start.waitForFinished(testsupport::patient(30000)));
            const VictimRun run = VictimHome::resultOf(start);
            ASSERT_EQ(run.states().size(), 1) << run.text();
            all << run.states();
        }
        // The later one may find what the earlier, which did not close it, has left behind.
        EXPECT_TRUE(all.contains(states.last())) << all.join(QLatin1Char(' ')).toStdString();
        for (const QString& state : all)
            EXPECT_TRUE(state == states.last() || state == QStringLiteral("none")) << state.toStdString();
    }
}

TEST_F(SessionCrash, aDeathInTheMidstOfTheQuestionOrRightBehindTheRecoveryCostsNothing)
{
    QStringList states;
    killNow(*startAndWait(QStringLiteral("first"), work, states));
    for (int i = 0; i < 5; ++i) {
        QStringList recovered;
        killNow(*startAndWait(QStringLiteral("again%1").arg(i), {QStringLiteral("recover")}, recovered));
        ASSERT_EQ(recovered, QStringList{states.last()});
    }
}

TEST_F(SessionCrash, twoProjectsComeBack)
{
    QStringList states;
    killNow(*startAndWait(QStringLiteral("first"),
                          {QStringLiteral("open:@a.ramp"), QStringLiteral("edit:5"),
                           QStringLiteral("open:@b.ramp"), QStringLiteral("edit:7")},
                          states));
    const VictimRun next = home.run(QStringLiteral("next"), {QStringLiteral("recover")});
    EXPECT_EQ(next.states(), QStringList{states.last()}) << next.text();
    EXPECT_EQ(next.states()[0].count(QLatin1Char('+')), 1);
}

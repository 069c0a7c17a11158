// Runs sessionvictim as a process of its own, in homes of its own, also under strace.
#pragma once

#include "base/platform.h"
#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <csignal>
#include <memory>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>

// What one run printed, and how it ended.
struct VictimRun
{
    QStringList lines;
    bool killed = false;
    int exitCode = 0;

    // The words behind `key` of each line that begins with it, in order.
    [[nodiscard]] QStringList words(const char* key) const
    {
        QStringList found;
        const QString start = QString::fromLatin1(key) + QLatin1Char(' ');
        for (const QString& line : lines)
            if (line.startsWith(start))
                found << line.mid(start.size());
        return found;
    }
    [[nodiscard]] QStringList states() const { return words("done"); }
    [[nodiscard]] std::string text() const { return lines.join(QLatin1Char('\n')).toStdString(); }
};

// One user's homes: all runs in it share the session folder.
class VictimHome
{
public:
    // `isNew` false: one that a crash has left.
    explicit VictimHome(const QString& folder = testsupport::makeFolder(QStringLiteral("victim")),
                        bool isNew = true)
        : m_folder(folder),
          m_targets(folder + QStringLiteral("/targets")),
          m_environment(QProcessEnvironment::systemEnvironment())
    {
        for (const char* home : {"RUNTIME_DIR", "CACHE_HOME", "CONFIG_HOME", "STATE_HOME", "DATA_HOME"}) {
            const QString path = m_folder + QLatin1Char('/') + QLatin1String(home);
            EXPECT_TRUE(platform::makePrivateFolder(path));
            m_environment.insert(QStringLiteral("XDG_") + QLatin1String(home), path);
        }
        if (!isNew)
            return;
        EXPECT_TRUE(platform::makePrivateFolder(targets()));
        writeRecordings();
    }
    // Where recordings lie and projects are saved.
    [[nodiscard]] QString targets() const { return m_targets; }
    // Another place for sessions, or for recordings and projects.
    void moveSessions(const QString& folder)
    {
        m_environment.insert(QStringLiteral("XDG_CACHE_HOME"), folder);
    }
    void moveTargets(const QString& folder)
    {
        m_targets = folder;
        EXPECT_TRUE(platform::makePrivateFolder(folder));
        writeRecordings();
    }
    [[nodiscard]] const QString& folder() const { return m_folder; }
    // "open:@a.ramp" means that file in targets().
    [[nodiscard]] QStringList command(const QString& session, const QStringList& commands) const
    {
        QStringList words{session};
        for (QString word : commands)
            words << word.replace(QLatin1Char('@'), targets() + QLatin1Char('/'));
        return words;
    }
    // To its end; under strace with `fault` ("write:signal=KILL:when=3") when there is one.
    [[nodiscard]] VictimRun run(const QString& session, const QStringList& commands,
                                const QStringList& strace = {}) const
    {
        QProcess process;
        start(process, session, commands, strace);
        EXPECT_TRUE(process.waitForFinished(testsupport::patient(60000)))
            << commands.join(QLatin1Char(' ')).toStdString();
        return resultOf(process);
    }
    void start(QProcess& process, const QString& session, const QStringList& commands,
               const QStringList& strace = {}) const
    {
        process.setProcessEnvironment(m_environment);
        QStringList words = command(session, commands);
        QString program = QStringLiteral(MORVANE_VICTIM);
        if (!strace.isEmpty()) {
            words = strace + (QStringList{program} + words);
            program = QStringLiteral("strace");
        }
        process.start(program, words);
    }
    [[nodiscard]] static VictimRun resultOf(QProcess& process)
    {
        VictimRun run;
        run.lines = QString::fromUtf8(process.readAllStandardOutput()).split(QLatin1Char('\n'));
        const QByteArray errors = process.readAllStandardError();
        if (!errors.isEmpty())
            run.lines << QStringLiteral("stderr ") + QString::fromUtf8(errors);
        // strace ends as its child did.
        run.killed = process.exitStatus() == QProcess::CrashExit || process.exitCode() == 128 + SIGKILL;
        run.exitCode = process.exitCode();
        return run;
    }
    [[nodiscard]] const QProcessEnvironment& environment() const { return m_environment; }
    [[nodiscard]] QString sessionFolder() const
    {
        return m_environment.value(QStringLiteral("XDG_CACHE_HOME")) + QStringLiteral("/Morvane/Morvane");
    }
    void writeFile(const QString& name, const QByteArray& bytes) const
    {
        QFile file(targets() + QLatin1Char('/') + name);
        ASSERT_TRUE(file.open(QFile::WriteOnly));
        ASSERT_EQ(file.write(bytes), bytes.size());
    }

private:
    void writeRecordings() const
    {
        writeFile(QStringLiteral("a.ramp"), "1");
        writeFile(QStringLiteral("b.ramp"), "100000");
        writeFile(QStringLiteral("c.ramp"), "1 62");
    }

    QString m_folder;
    QString m_targets;
    QProcessEnvironment m_environment;
};

// With what processes and folders need.
class VictimTest : public testing::Test
{
protected:
    void SetUp() override
    {
        static int argc = 1;
        static char name[] = "test";
        static char* argv[] = {name, nullptr};
        application = std::make_unique<QCoreApplication>(argc, argv);
    }

    std::unique_ptr<QCoreApplication> application;
};

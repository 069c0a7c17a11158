// Tests that need a process of their own: another scale of the screen, or a program that drew nothing yet.
#pragma once

#include "support/testsupport.h"

#include <QCoreApplication>
#include <QProcess>

// Runs the tests of this program that match `filter`, disabled ones included, with further variables
// ("NAME=value"). The exit status: 0 when all passed; -1 for a crash.
inline int runInFreshProcess(const char* filter, const QStringList& environment = {})
{
    QProcess process;
    QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
    for (const QString& entry : environment)
        variables.insert(entry.section(QLatin1Char('='), 0, 0), entry.section(QLatin1Char('='), 1));
    process.setProcessEnvironment(variables);
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start(QCoreApplication::applicationFilePath(),
                  {QStringLiteral("--gtest_also_run_disabled_tests"),
                   QStringLiteral("--gtest_filter=") + QLatin1String(filter)});
    process.waitForFinished(testsupport::patient(60000));
    return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}

// The main function of every test program. Programs that need a QApplication make it in their own
// test environment; everything else runs without one.
#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QMutex>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>

namespace {

QMutex logMutex;
QStringList faults;
QStringList announced;

void logHandler(QtMsgType type, const QMessageLogContext&, const QString& text)
{
    if (type == QtDebugMsg || type == QtInfoMsg)
        return;
    std::fprintf(stderr, "log: %s\n", text.toLocal8Bit().constData());
    // The platform's own remarks about the virtual display are none of ours.
    static const char* const harmless[] = {"QStandardPaths",  "propagateSizeHints",
                                           "XDG_RUNTIME_DIR", "This plugin does not support",
                                           "libGL",           "MESA"};
    for (const char* word : harmless)
        if (text.contains(QLatin1String(word)))
            return;
    const QMutexLocker locker(&logMutex);
    for (int i = 0; i < announced.size(); ++i)
        if (text.contains(announced[i])) {
            announced.removeAt(i);
            return;
        }
    faults << text;
}

class LogGuard : public testing::EmptyTestEventListener
{
    void OnTestStart(const testing::TestInfo&) override
    {
        const QMutexLocker locker(&logMutex);
        faults.clear();
        announced.clear();
    }
    void OnTestEnd(const testing::TestInfo&) override
    {
        const QMutexLocker locker(&logMutex);
        for (const QString& text : faults)
            ADD_FAILURE() << "unannounced log line: " << text.toStdString();
        for (const QString& text : announced)
            ADD_FAILURE() << "announced log line did not come: " << text.toStdString();
    }
};

} // namespace

void testsupport::expectWarning(const QString& part)
{
    const QMutexLocker locker(&logMutex);
    announced << part;
}

int main(int argc, char** argv)
{
    // Everything a program writes by itself goes below one folder that ends with the test.
    QTemporaryDir home;
    for (const char* variable : {"HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_STATE_HOME",
                                 "XDG_DATA_HOME", "XDG_RUNTIME_DIR", "TMPDIR"}) {
        const QString path = home.path() + QLatin1Char('/') + QString::fromLatin1(variable).toLower();
        QDir().mkpath(path);
        QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        qputenv(variable, path.toLocal8Bit());
    }
    qputenv("LC_ALL", "C.UTF-8");
    qInstallMessageHandler(logHandler);
    testing::InitGoogleTest(&argc, argv);
    testing::UnitTest::GetInstance()->listeners().Append(new LogGuard);
    return RUN_ALL_TESTS();
}

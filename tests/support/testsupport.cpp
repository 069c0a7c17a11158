#include "support/testsupport.h"

#include <algorithm>

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QThread>

namespace testsupport {

QString makeFolder(const QString& hint)
{
    static int count = 0;
    const QString path = QDir::tempPath() + QStringLiteral("/%1%2").arg(hint).arg(++count);
    QDir().mkpath(path);
    return path;
}

QString dataFile(const QString& name)
{
    return QStringLiteral(MORVANE_TEST_DATA "/") + name;
}

QString recordingsFolder()
{
    return qEnvironmentVariable("MORVANE_RECORDINGS");
}

QStringList recordings()
{
    QStringList files;
    const QString folder = recordingsFolder();
    if (folder.isEmpty())
        return files;
    const QDir dir(folder);
    for (const QString& name : dir.entryList(QDir::Files, QDir::Name))
        files << dir.filePath(name);
    return files;
}

bool isSanitized()
{
#if defined(__has_feature)
    return __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
    return false;
#endif
}

int patient(int milliseconds)
{
    return milliseconds * std::max(1, qEnvironmentVariableIntValue("MORVANE_TEST_PATIENCE"));
}

int scriptTime()
{
    return patient(1000) > 1000 ? 60'000 : 3000;
}

bool waitFor(const std::function<bool()>& condition, int milliseconds)
{
    const int limit = patient(milliseconds);
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > limit)
            return false;
        if (QCoreApplication::instance()) {
            QCoreApplication::sendPostedEvents();
            QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 10);
        } else {
            QThread::msleep(1);
        }
    }
    return true;
}

} // namespace testsupport

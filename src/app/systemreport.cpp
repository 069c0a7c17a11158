#include "app/systemreport.h"

#include "base/platform.h"

#include <cmath>

#include <QGuiApplication>
#include <QLocale>
#include <QScreen>
#include <QStorageInfo>
#include <QSysInfo>

namespace {

QString gigabytes(int64_t bytes)
{
    return QString::number(std::llround(double(bytes) / double(1LL << 30)));
}

QString screenLine(int index, const QScreen& screen)
{
    return QStringLiteral("SCR%1: %2x%3x%4@%5Hz (device pixel ratio: %6)%7")
        .arg(index)
        .arg(screen.size().width())
        .arg(screen.size().height())
        .arg(screen.depth())
        .arg(screen.refreshRate())
        .arg(screen.devicePixelRatio())
        .arg(&screen == QGuiApplication::primaryScreen() ? QStringLiteral(" (primary)") : QString());
}

} // namespace

QStringList systemReport(int threadCount, const QString& instructionSet)
{
    const QStorageInfo root = QStorageInfo::root();
    QStringList lines;
    // Multi-argument arg: what the system says of itself may hold a percent sign.
    lines << QStringLiteral("OS: %1 (Kernel: %2) (%3)")
                 .arg(QSysInfo::prettyProductName(), QSysInfo::kernelVersion(), QLocale::system().name())
          << QStringLiteral("CPU: %1 threads (%2)").arg(QString::number(threadCount), instructionSet)
          << QStringLiteral("RAM: %1 GB").arg(gigabytes(platform::physicalMemory()))
          << QStringLiteral("HDD: %1 GB (%2 GB free)")
                 .arg(gigabytes(root.bytesTotal()), gigabytes(root.bytesFree()));
    const QList<QScreen*> screens = QGuiApplication::screens();
    for (int i = 0; i < screens.size(); ++i)
        lines << screenLine(i, *screens[i]);
    return lines;
}

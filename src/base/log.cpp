#include "base/log.h"

#include "base/locks.h"
#include "base/platform.h"

#include <cstdio>
#include <mutex>

#include <QDateTime>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTextStream>
#include <QThread>

namespace {

struct Log
{
    Mutex mutex;
    bool debug = false; // written in start-up only
    QString path;
    QFile file;
    QTextStream stream;
};

// Never destroyed: static destructors and late threads may still log.
Log& log()
{
    static Log& instance = *new Log;
    return instance;
}

struct Level
{
    const char* word;
    std::FILE* console;
};

Level levelOf(QtMsgType type)
{
    switch (type) {
    case QtDebugMsg:
        return {"DEBUG", stdout};
    case QtInfoMsg:
        return {"INFO", stdout};
    case QtWarningMsg:
        return {"WARNING", stderr};
    case QtCriticalMsg:
        return {"CRITICAL", stderr};
    case QtFatalMsg:
        break;
    }
    return {"FATAL", stderr};
}

void writeLine(const Level& level, const QString& text)
{
    static thread_local bool inside = false;
    if (inside) // Qt itself complains about our writing: no second try
        return;
    inside = true;
    {
        const std::lock_guard guard(log().mutex);
        const QString line =
            QTime::currentTime().toString(QStringLiteral("HH:mm:ss.zzz ")) +
            QStringLiteral("%1").arg(platform::threadId(), 6, 16, QLatin1Char('0')).right(4) +
            QLatin1Char(' ') + QLatin1String(level.word) + QLatin1String("  ") + text + QLatin1Char('\n');
        const QByteArray latin = line.toLatin1();
        std::fwrite(latin.constData(), 1, static_cast<size_t>(latin.size()), level.console);
        std::fflush(level.console);
        if (log().file.isOpen()) {
            log().stream << line;
            log().stream.flush();
        }
    }
    inside = false;
}

void handler(QtMsgType type, const QMessageLogContext&, const QString& text)
{
    if (type == QtDebugMsg && !log().debug)
        return;
    writeLine(levelOf(type), text);
}

// With the mutex held.
bool openFile(const QString& path)
{
    if (!platform::createPrivateFile(path) && !QFileInfo(path).isFile())
        return false;
    log().file.setFileName(path);
    log().stream.setDevice(&log().file);
    log().stream.setCodec("UTF-8");
    if (!log().file.open(QIODevice::Append | QIODevice::Text))
        return false;
    log().path = path;
    return true;
}

} // namespace

namespace logging {

void install()
{
    qInstallMessageHandler(handler);
}

bool open(const QString& path, bool debug)
{
    if (path.isEmpty() || !platform::makePrivateFolder(QFileInfo(path).absolutePath()))
        return false;
    log().debug = debug;
    const std::lock_guard guard(log().mutex);
    const QString before = log().path;
    if (before.isEmpty())
        return openFile(path);
    if (QFileInfo(before).absolutePath() == QFileInfo(path).absolutePath())
        return true;
    log().file.close();
    const bool moved = QFile::rename(before, path); // copies where the disks differ
    return openFile(moved ? path : before) && moved;
}

QString path()
{
    const std::lock_guard guard(log().mutex);
    return log().path;
}

void close()
{
    const std::lock_guard guard(log().mutex);
    log().stream.setDevice(nullptr);
    log().file.close();
    log().path.clear();
}

void prune(const QString& folder, int keep)
{
    static const QRegularExpression name(
        QStringLiteral("^Morvane \\d{4}\\.\\d\\d\\.\\d\\d-\\d\\d\\.\\d\\d\\.\\d\\d\\.\\d{3}\\.txt$"));
    const QStringList logs = QDir(folder).entryList(QDir::Files | QDir::NoSymLinks, QDir::Name).filter(name);
    const QString running = path();
    for (int i = 0; i < logs.size() && int64_t{logs.size()} - keep >= i; ++i) {
        const QString file = folder + QLatin1Char('/') + logs[i];
        if (QFileInfo(file) != QFileInfo(running))
            QFile::remove(file);
    }
}

void debug(const char* routine, const QString& text, int line)
{
    qDebug().noquote().nospace() << routine << '+' << line << ' ' << text;
}

QString newSessionId()
{
    return QStringLiteral("Morvane ") +
           QDateTime::currentDateTime().toString(QStringLiteral("yyyy.MM.dd-HH.mm.ss.zzz"));
}

} // namespace logging

#include "base/filelock.h"

#include <algorithm>
#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QElapsedTimer>
#include <QFile>
#include <QThread>

namespace {

bool lockAtOnce(int file, int kind)
{
    int result;
    do {
        result = flock(file, kind | LOCK_NB);
    } while (result != 0 && errno == EINTR);
    return result == 0;
}

// Not blocking: opening a FIFO would wait for a writer. -1 when there is no such file.
int openThere(const QString& path)
{
    return open(QFile::encodeName(path).constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
}

bool isNamed(const QString& path, int file)
{
    struct stat opened, named;
    return fstat(file, &opened) == 0 && lstat(QFile::encodeName(path).constData(), &named) == 0 &&
           opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

} // namespace

std::unique_ptr<FileLock> FileLock::take(const QString& path, int milliseconds)
{
    QElapsedTimer timer;
    timer.start();
    for (;;) {
        const int file = open(QFile::encodeName(path).constData(),
                              O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600);
        if (file < 0)
            return nullptr;
        std::unique_ptr<FileLock> lock(new FileLock(path, file));
        while (!lockAtOnce(file, LOCK_EX)) {
            if (errno != EWOULDBLOCK || timer.elapsed() >= milliseconds)
                return nullptr;
            QThread::msleep(5);
        }
        // Its holder before us may have removed it.
        if (isNamed(path, file))
            return lock;
    }
}

FileLock::~FileLock()
{
    close(m_descriptor);
}

void FileLock::setText(const QByteArray& line)
{
    const QByteArray bytes = line + '\n';
    if (ftruncate(m_descriptor, 0) != 0 ||
        pwrite(m_descriptor, bytes.constData(), size_t(bytes.size()), 0) != bytes.size())
        return; // an empty text says nothing, and nothing is what a reader then knows
}

QByteArray FileLock::text(const QString& path)
{
    const int file = openThere(path);
    char bytes[256];
    const ssize_t count = file < 0 ? 0 : read(file, bytes, sizeof bytes);
    if (file >= 0)
        close(file);
    return QByteArray(bytes, int(std::max<ssize_t>(0, count))).trimmed();
}

void FileLock::remove()
{
    if (isNamed(m_path, m_descriptor))
        unlink(QFile::encodeName(m_path).constData());
}

bool FileLock::isHeld(const QString& path)
{
    const int file = openThere(path);
    if (file < 0)
        return false;
    const bool held = !lockAtOnce(file, LOCK_SH) && errno == EWOULDBLOCK;
    close(file);
    return held;
}

bool FileLock::removeUnheld(const QString& path)
{
    const int file = openThere(path);
    if (file < 0)
        return false;
    struct stat status;
    const bool removed = fstat(file, &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == geteuid() &&
                         lockAtOnce(file, LOCK_EX) && isNamed(path, file) &&
                         unlink(QFile::encodeName(path).constData()) == 0;
    close(file);
    return removed;
}

#include "base/filelock.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <QElapsedTimer>
#include <QFile>
#include <QThread>

std::unique_ptr<FileLock> FileLock::take(const QString& path, int milliseconds)
{
    const int file = open(QFile::encodeName(path).constData(),
                          O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600);
    if (file < 0)
        return nullptr;
    std::unique_ptr<FileLock> lock(new FileLock(file));
    QElapsedTimer timer;
    timer.start();
    while (flock(file, LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK && errno != EINTR)
            return nullptr;
        if (timer.elapsed() >= milliseconds)
            return nullptr;
        QThread::msleep(5);
    }
    return lock;
}

FileLock::~FileLock()
{
    close(m_descriptor);
}

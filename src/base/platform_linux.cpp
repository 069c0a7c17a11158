#include "base/platform.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include <dlfcn.h>
#include <fcntl.h>
#include <limits.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {

// An absolute path of the environment; relative ones are invalid there and count as unset.
QString folderOf(const char* variable)
{
    const QString value = QFile::decodeName(qgetenv(variable));
    return value.startsWith(QLatin1Char('/')) ? QDir::cleanPath(value) : QString();
}

bool isOwnPrivateFolder(const QString& path)
{
    struct stat status;
    return lstat(QFile::encodeName(path).constData(), &status) == 0 && S_ISDIR(status.st_mode) &&
           status.st_uid == geteuid() && (status.st_mode & 077) == 0;
}

} // namespace

namespace platform {

QString modulePath()
{
    Dl_info info;
    if (dladdr(reinterpret_cast<const void*>(&modulePath), &info) == 0 || !info.dli_fname)
        return {};
    // The loader names the main program as it was called; the kernel knows it better.
    const QString name = QFile::decodeName(info.dli_fname);
    const QString image = QFileInfo(QStringLiteral("/proc/self/exe")).symLinkTarget();
    if (QFileInfo(name).fileName() == QFileInfo(image).fileName())
        return image;
    return QFileInfo(name).canonicalFilePath();
}

QString moduleFolder()
{
    const QString path = modulePath();
    return path.left(path.lastIndexOf(QLatin1Char('/')) + 1);
}

QString stateFolder()
{
    const QString folder = folderOf("XDG_STATE_HOME");
    return folder.isEmpty() ? QDir::homePath() + QLatin1String("/.local/state") : folder;
}

QString runtimeFolder()
{
    const QString folder = folderOf("XDG_RUNTIME_DIR");
    if (!folder.isEmpty() && QFileInfo(folder).isDir())
        return folder;
    // No session manager, as on a bare server. Somebody else may have made the name before us, so
    // it counts only when it is ours and closed to others.
    const QString own = QDir::tempPath() + QStringLiteral("/morvane-%1").arg(geteuid());
    mkdir(QFile::encodeName(own).constData(), 0700);
    return isOwnPrivateFolder(own) ? own : stateFolder();
}

QString parentImagePath()
{
    return QFileInfo(QStringLiteral("/proc/%1/exe").arg(getppid())).symLinkTarget();
}

int64_t physicalMemory()
{
    const int64_t pages = sysconf(_SC_PHYS_PAGES), size = sysconf(_SC_PAGESIZE);
    return pages > 0 && size > 0 ? pages * size : 0;
}

uint32_t threadId()
{
    static thread_local const auto id = static_cast<uint32_t>(syscall(SYS_gettid));
    return id;
}

void disableCoreDumps()
{
    const rlimit none{0, 0};
    setrlimit(RLIMIT_CORE, &none);
}

void raiseDescriptorLimit()
{
    rlimit limit;
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return;
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
}

void yieldToOtherThreads()
{
    constexpr int step = 5;
    // Of the calling thread alone here, whatever the name says.
    setpriority(PRIO_PROCESS, 0, getpriority(PRIO_PROCESS, 0) + step);
}

void becomeBackgroundHelper()
{
    sched_param parameters = {};
    sched_setscheduler(0, SCHED_IDLE, &parameters);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
}

bool makePrivateFolder(const QString& path)
{
    if (QFileInfo(path).isDir())
        return true;
    const QString above = QFileInfo(path).path();
    if (path.isEmpty() || above == path || !makePrivateFolder(above))
        return false;
    return mkdir(QFile::encodeName(path).constData(), 0700) == 0 || QFileInfo(path).isDir();
}

bool createPrivateFile(const QString& path)
{
    const int file = open(QFile::encodeName(path).constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (file < 0)
        return false;
    close(file);
    return true;
}

int openRegular(const QString& path)
{
    const int file =
        open(QFile::encodeName(path).constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    struct stat status;
    if (file < 0 || (fstat(file, &status) == 0 && S_ISREG(status.st_mode)))
        return file;
    close(file);
    errno = EINVAL;
    return -1;
}

bool syncFile(int descriptor)
{
    int result;
    do {
        result = fsync(descriptor);
    } while (result != 0 && errno == EINTR);
    return result == 0;
}

bool linkFile(const QString& from, const QString& to)
{
    return link(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) == 0;
}

bool syncFolder(const QString& path)
{
    const int folder = open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0)
        return errno == EACCES; // may be written but not listed: nothing to be done
    const bool done = syncFile(folder) || errno == EINVAL || errno == ENOTSUP;
    const int error = errno;
    close(folder);
    errno = error;
    return done;
}

bool peerIsOwnUser(qintptr socketDescriptor)
{
    ucred peer;
    socklen_t size = sizeof peer;
    return getsockopt(static_cast<int>(socketDescriptor), SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 &&
           size == sizeof peer && peer.uid == geteuid();
}

QString localServerPath(const QString& name)
{
    // A name from outside stays a name: it picks no other folder.
    QString file = name;
    file.replace(QLatin1Char('/'), QLatin1Char('_'));
    return runtimeFolder() + QLatin1Char('/') + file;
}

QByteArray bootId()
{
    QFile file(QStringLiteral("/proc/sys/kernel/random/boot_id"));
    return file.open(QFile::ReadOnly) ? file.readAll().trimmed() : QByteArray();
}

QString lastSystemError()
{
    return QString::fromLocal8Bit(std::strerror(errno));
}

} // namespace platform

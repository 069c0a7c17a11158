#include "base/sessionfile.h"

#include "base/faults.h"
#include "base/locks.h"
#include "base/platform.h"
#include "base/tsan.h"

#include <algorithm>
#include <cerrno>
#include <optional>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QStorageInfo>

namespace {

thread_local QString lastFailure;

ReadWriteLock keeperLock;
ISessionFileKeeper* theKeeper = nullptr; // guarded by keeperLock

// Whether `name` in the folder is the open file.
bool isNamed(int folder, const QString& name, int file)
{
    struct stat opened, named;
    return fstat(file, &opened) == 0 &&
           fstatat(folder, QFile::encodeName(name).constData(), &named, AT_SYMLINK_NOFOLLOW) == 0 &&
           opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

// The thread sanitizer does not see a mapping move, and would give false alarms.
#ifdef MORVANE_TSAN
constexpr bool canRemap = false;
#else
constexpr bool canRemap = true;
#endif

QString tr(const char* text)
{
    return QCoreApplication::translate("SessionFile", text);
}

QString inMegabytes(int64_t bytes)
{
    return QString::number((bytes >> 20) + ((bytes & ((1 << 20) - 1)) ? 1 : 0)); // rounded up
}

void setFailure(const QString& place, const QString& cause)
{
    lastFailure = QDir::toNativeSeparators(place) + QLatin1String(": ") + cause;
}

// Bytes that a user's program may still take, or nothing when the file system does not tell.
std::optional<int64_t> freeBytes(int file)
{
    struct statvfs status;
    if (fstatvfs(file, &status) != 0)
        return std::nullopt;
    return static_cast<int64_t>(status.f_bavail) * static_cast<int64_t>(status.f_frsize);
}

} // namespace

RetiredFile::RetiredFile(QString name, int folder, int file)
    : m_name(std::move(name)),
      m_folder(folder),
      m_file(file)
{
}

RetiredFile::~RetiredFile()
{
    if (!m_kept && isNamed(m_folder, m_name, m_file))
        unlinkat(m_folder, QFile::encodeName(m_name).constData(), 0);
    close(m_file);
    close(m_folder);
}

struct SessionFile::Private
{
    QString folder;
    QString name;
    int folderFd = -1;
    int file = -1;
    int64_t size = 0;
    char* map = nullptr;
    int64_t mapped = 0; // bytes; only after a shrink that could not unmap more than `size`
    bool kept = false;
    GuardedSpan span;

    ~Private();
    bool openFolder(const QString& path);
    bool fail(const QString& cause) const;
    // Makes a new file under a name that nobody else has, and locks it as in use.
    bool createFile();
    // Puts blocks on the disk for the given part of the file, of which `missing` bytes are not there
    // yet. May leave the file longer on false.
    bool allocate(int64_t from, int64_t bytes, int64_t missing);
    // On false the file is as long as before.
    bool grow(int64_t bytes);
    bool fillHoles(const struct stat& status);
    bool mapWhole(int64_t bytes);
    bool shrink(int64_t bytes);
    // Has the pages of the file from `first` to `end` ready in the mapping, as far as the system does that.
    void mapPages(int64_t first, int64_t end);
};

SessionFile::Private::~Private()
{
    span.set(nullptr, 0, -1);
    if (map)
        munmap(map, static_cast<size_t>(mapped));
    if (file < 0) {
        if (folderFd >= 0)
            close(folderFd);
        return;
    }
    auto retired = std::make_unique<RetiredFile>(name, folderFd, file);
    if (kept) {
        retired->keep();
        return;
    }
    const ReadLocker locker(keeperLock);
    if (theKeeper)
        theKeeper->retire(std::move(retired));
}

bool SessionFile::Private::fail(const QString& cause) const
{
    setFailure(folder, cause);
    return false;
}

bool SessionFile::Private::openFolder(const QString& path)
{
    folder = path;
    folderFd = open(QFile::encodeName(path).constData(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    return folderFd >= 0 || fail(platform::lastSystemError());
}

bool SessionFile::Private::createFile()
{
    for (;;) {
        const quint32 random = QRandomGenerator::global()->generate();
        name = QStringLiteral("layer(%1%2).pcm").arg(random >> 16, 0, 16).arg(random & 0xffff, 0, 16);
        const int fresh = openat(folderFd, QFile::encodeName(name).constData(),
                                 O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
        if (fresh < 0 && errno == EEXIST)
            continue;
        if (fresh < 0)
            return fail(platform::lastSystemError());
        // Another process that clears the folder may have come between, and has removed it.
        if (flock(fresh, LOCK_SH | LOCK_NB) == 0 && isNamed(folderFd, name, fresh)) {
            file = fresh;
            return true;
        }
        close(fresh);
    }
}

bool SessionFile::Private::allocate(int64_t from, int64_t bytes, int64_t missing)
{
    std::optional<int64_t> room = freeBytes(file);
    if (room && missing > *room - headroomBytes) {
        const ReadLocker locker(keeperLock);
        if (theKeeper)
            theKeeper->reclaim();
        room = freeBytes(file);
    }
    if (room && missing > *room - headroomBytes)
        return fail(tr("%1 MB are needed here and %2 MB are free, of which %3 MB stay in reserve.")
                        .arg(inMegabytes(missing), inMegabytes(*room), inMegabytes(headroomBytes)));
    int error;
    do {
        error = posix_fallocate(file, from, bytes);
    } while (error == EINTR);
    errno = error;
    return error == 0 || fail(platform::lastSystemError());
}

bool SessionFile::Private::grow(int64_t bytes)
{
    struct stat status;
    if (fstat(file, &status) != 0)
        return fail(platform::lastSystemError());
    // Shorter than we know it only if somebody else has cut it: the hole is filled as well.
    const int64_t before = std::min<int64_t>(status.st_size, size);
    if (allocate(before, bytes - before, bytes - before) && mapWhole(bytes))
        return true;
    // A failed reservation may leave the file grown and the disk full.
    if (ftruncate(file, before) != 0)
        fail(platform::lastSystemError());
    return false;
}

bool SessionFile::Private::fillHoles(const struct stat& status)
{
    const int64_t held = static_cast<int64_t>(status.st_blocks) * 512; // the unit of st_blocks
    return held >= status.st_size || allocate(0, status.st_size, status.st_size - held);
}

// Maps `bytes` of the file in place of the present mapping, which stays when that fails.
bool SessionFile::Private::mapWhole(int64_t bytes)
{
    const auto length = static_cast<size_t>(bytes);
    void* fresh =
        map && canRemap ? mremap(map, static_cast<size_t>(mapped), length, MREMAP_MAYMOVE) : MAP_FAILED;
    if (fresh == MAP_FAILED) {
        // No mapping yet, or one with zero pages in it, which the system moves only in parts.
        fresh = mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
        if (fresh == MAP_FAILED)
            return fail(platform::lastSystemError());
        if (map)
            munmap(map, static_cast<size_t>(mapped));
    }
    map = static_cast<char*>(fresh);
    mapped = size = bytes;
    span.set(map, mapped, file);
    return true;
}

bool SessionFile::Private::shrink(int64_t bytes)
{
    if (ftruncate(file, bytes) != 0)
        return fail(platform::lastSystemError());
    size = bytes;
    if (bytes == 0) {
        span.set(nullptr, 0, -1);
        munmap(map, static_cast<size_t>(mapped));
        map = nullptr;
        mapped = 0;
    } else if (mremap(map, static_cast<size_t>(mapped), static_cast<size_t>(bytes), 0) != MAP_FAILED) {
        mapped = bytes;
        span.set(map, mapped, file);
    }
    return true;
}

void SessionFile::Private::mapPages(int64_t first, int64_t end)
{
    static const int64_t page = sysconf(_SC_PAGESIZE);
    const int64_t from = first / page * page;
    (void)madvise(map + from, static_cast<size_t>(end - from), MADV_POPULATE_READ);
}

SessionFile::SessionFile(std::unique_ptr<Private> p) : d(std::move(p)) {}

SessionFile::~SessionFile() = default;

bool SessionFile::exceedsDisk(const QString& folder, int64_t bytes)
{
    return bytes > QStorageInfo(folder).bytesTotal();
}

std::unique_ptr<SessionFile> SessionFile::create(const QString& folder, int64_t bytes)
{
    auto d = std::make_unique<Private>();
    if (!d->openFolder(folder))
        return nullptr;
    if (!d->createFile())
        return nullptr;
    std::unique_ptr<SessionFile> file(new SessionFile(std::move(d)));
    if (!file->resize(bytes))
        return nullptr;
    return file;
}

std::unique_ptr<SessionFile> SessionFile::adopt(const QString& folder, const QString& path, bool* refused)
{
    bool nowhere = false;
    bool& isRefused = refused ? *refused : nowhere;
    isRefused = false;
    auto d = std::make_unique<Private>();
    const QString canonical = QFileInfo(folder).canonicalFilePath();
    const QFileInfo info(path);
    d->name = info.fileName();
    const auto refuse = [&](const QString& cause) {
        setFailure(path, cause);
        isRefused = true;
        return nullptr;
    };
    if (canonical.isEmpty() || QFileInfo(info.path()).canonicalFilePath() != canonical || d->name.isEmpty() ||
        d->name == QLatin1String(".") || d->name == QLatin1String(".."))
        return refuse(tr("the file does not lie in the session folder"));
    if (!d->openFolder(canonical))
        return nullptr;
    d->kept = true; // until it is ours
    // Not blocking: opening a FIFO would wait for a writer.
    d->file = openat(d->folderFd, QFile::encodeName(d->name).constData(),
                     O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (d->file < 0) {
        const bool isShort = errno == EMFILE || errno == ENFILE || errno == ENOMEM || errno == EIO;
        refuse(platform::lastSystemError());
        isRefused = !isShort;
        return nullptr;
    }
    struct stat status;
    if (fstat(d->file, &status) != 0 || !S_ISREG(status.st_mode) || status.st_nlink != 1 ||
        status.st_uid != geteuid())
        return refuse(tr("this is not a session file"));
    // Exclusive for a moment, which nobody gets while another holds it; then as every user of it.
    if (flock(d->file, LOCK_EX | LOCK_NB) != 0 || flock(d->file, LOCK_SH | LOCK_NB) != 0)
        return refuse(tr("the file is in use"));
    // Holes in it would need space at the first write, so they are filled like new bytes.
    if (status.st_size > 0 && (!d->fillHoles(status) || !d->mapWhole(status.st_size))) {
        isRefused = exceedsDisk(canonical, status.st_size);
        return nullptr;
    }
    d->kept = false;
    return std::unique_ptr<SessionFile>(new SessionFile(std::move(d)));
}

bool SessionFile::resize(int64_t bytes)
{
    if (bytes < 0 || static_cast<uint64_t>(bytes) > SIZE_MAX / 2)
        return d->fail(tr("the size is out of range"));
    if (bytes == d->size)
        return true;
    return bytes < d->size ? d->shrink(bytes) : d->grow(bytes);
}

bool SessionFile::write(int64_t offset, const char* bytes, int64_t count)
{
    const int64_t first = offset;
    while (count > 0) {
        const ssize_t done = pwrite(d->file, bytes, static_cast<size_t>(count), offset);
        if (done < 0 && errno == EINTR)
            continue;
        if (done < 1)
            return d->fail(platform::lastSystemError());
        bytes += done;
        offset += done;
        count -= done;
    }
    d->mapPages(first, offset);
    return true;
}

QString SessionFile::path() const
{
    return QDir::toNativeSeparators(d->folder + QLatin1Char('/') + d->name);
}

int64_t SessionFile::size() const
{
    return d->size;
}

char* SessionFile::data()
{
    return d->map;
}

const char* SessionFile::data() const
{
    return d->map;
}

bool SessionFile::damaged() const
{
    return d->span.damaged();
}

bool SessionFile::sync() const
{
    return (d->size == 0 || msync(d->map, static_cast<size_t>(d->size), MS_SYNC) == 0) &&
           platform::syncFile(d->file);
}

bool SessionFile::guard(int64_t offset, int64_t bytes, const SessionFile* image, int64_t imageOffset) const
{
    const ReadLocker locker(keeperLock);
    return !theKeeper || theKeeper->guard({d->name, d->size, offset, image ? image->d->name : QString(),
                                           imageOffset, bytes});
}

void SessionFile::takePlaceOf(const SessionFile& former, int64_t by) const
{
    const ReadLocker locker(keeperLock);
    if (theKeeper)
        theKeeper->imageMoved(former.d->name, d->name, by);
}

void SessionFile::setLastError(const QString& place, const QString& cause)
{
    setFailure(place, cause);
}

void SessionFile::keep()
{
    d->kept = true;
}

void SessionFile::setKeeper(ISessionFileKeeper* keeper)
{
    const WriteLocker locker(keeperLock);
    theKeeper = keeper;
}

QString SessionFile::lastError()
{
    return lastFailure;
}

// Sample files of the session: raw floats on disk, mapped whole into memory.
#pragma once

#include <cstdint>
#include <memory>

#include <QString>

// The file of a SessionFile that has died: not mapped any more, but still there and still locked as in
// use. It is removed with this object, unless keep() was called or the name stands for another file by
// now. Any thread, one at a time.
class RetiredFile
{
public:
    // Takes the descriptors of the folder and of the file over.
    RetiredFile(QString name, int folder, int file);
    ~RetiredFile();
    RetiredFile(const RetiredFile&) = delete;
    RetiredFile& operator=(const RetiredFile&) = delete;

    [[nodiscard]] const QString& name() const { return m_name; } // without its folder
    void keep() { m_kept = true; }

private:
    QString m_name;
    int m_folder;
    int m_file;
    bool m_kept = false;
};

// A part of a sample file that is about to be changed where it lies. Names are without folders, all
// else is in bytes.
struct GuardedPart
{
    QString file;
    int64_t fileBytes = 0; // its length as it is now
    int64_t offset = 0;
    QString image; // the file that holds the part as it is now; empty: only the length is going to change
    int64_t imageOffset = 0;
    int64_t bytes = 0;
};

// Whoever knows which files a manifest on the disk still names: removing one of these before a manifest
// without it is safe on the disk, or changing it in place without a word, would lose its samples in a
// crash.
class ISessionFileKeeper
{
public:
    virtual ~ISessionFileKeeper() = default;
    // Called before the change and after the image is whole. False: it could not be noted, and the change
    // must not be made (SessionFile::lastError() tells why). Any thread, under locks of layers.
    [[nodiscard]] virtual bool guard(const GuardedPart&) { return true; }
    // `to` now holds what the image `from` held, `by` bytes further on. Before `from` is let go.
    virtual void imageMoved(const QString& /*from*/, const QString& /*to*/, int64_t /*by*/) {}
    // Any thread, under no lock of a caller of ours but those of layers. To let `file` die is to remove
    // it.
    virtual void retire(std::unique_ptr<RetiredFile> file) = 0;
    // The disk has no room for what a file needs: lets go of whatever it safely can, if need be after some
    // waiting. Any thread, also under locks of layers.
    virtual void reclaim() = 0;
};

// One file in a folder that the program owns, created exclusively, mode 0600, no link followed, and
// mapped read-write from end to end. Disk space is reserved before it is mapped, and at least
// `headroomBytes` of the disk stay free, so that a full disk is a false return and never a SIGBUS.
// A shared lock (flock) on the file tells other processes that it is in use. The file is removed
// when the object dies, unless `keep()` was called, or by the keeper, if there is one.
//
// Should somebody else cut the file while it is mapped, zeros take the place of what is missing
// (installFaultHandlers() must have been called), and damaged() tells it.
//
// No member is thread-safe; the owner's lock guards the mapping (exclusive for grow, shrink and
// destruction, shared for access through data()).
class SessionFile
{
public:
    static constexpr int64_t headroomBytes = 64LL << 20;

    // Whether a disk such as the folder's could never hold so many bytes: to wait for room would be in vain.
    [[nodiscard]] static bool exceedsDisk(const QString& folder, int64_t bytes);
    // A new file `<folder>/layer(<a><b>).pcm` (a and b random 16-bit values in lower-case hex) of
    // `bytes` zero bytes. Null when it cannot be created or the space is not there; lastError()
    // tells why.
    [[nodiscard]] static std::unique_ptr<SessionFile> create(const QString& folder, int64_t bytes);
    // Takes over an existing file. Refused (null) unless it is a regular file with one link, owned
    // by this user, whose canonical parent is `folder`, not locked by somebody else, and no larger than
    // the disk. Null too when it is all that, but the system has no memory, descriptor or space for it
    // now: `refused` (may be null) tells which.
    [[nodiscard]] static std::unique_ptr<SessionFile> adopt(const QString& folder, const QString& path,
                                                            bool* refused = nullptr);
    ~SessionFile();
    SessionFile(const SessionFile&) = delete;
    SessionFile& operator=(const SessionFile&) = delete;

    // Changes the size and maps anew; new bytes are zero. On false (no space, mapping failed) size
    // and contents are as before and data() is still valid, though perhaps at a new address.
    [[nodiscard]] bool resize(int64_t bytes);

    // Fills `count` bytes of the file from `offset` on, which must lie inside. The same as a copy to data(),
    // but the system maps the pages all at once instead of each at its first touch, which would cost a
    // reader of scattered places more than the reading. False, with a part written perhaps, when the disk
    // fails.
    [[nodiscard]] bool write(int64_t offset, const char* bytes, int64_t count);

    [[nodiscard]] QString path() const;
    [[nodiscard]] int64_t size() const;
    // Page aligned. Null only when size() is 0.
    [[nodiscard]] char* data();
    [[nodiscard]] const char* data() const;
    // True once zeros had to take the place of what was in the file.
    [[nodiscard]] bool damaged() const;
    // Waits until the contents are on the disk. Callable from a helper thread under the owner's lock
    // for reading.
    [[nodiscard]] bool sync() const;
    // Leaves the file on disk when the object dies.
    void keep();
    // Tells the keeper, if there is one, that `bytes` from `offset` on are about to be changed here, and
    // stand as they are in `image` from `imageOffset` on. Without an image, that the length is going to
    // change. False: the keeper could not note it, and the change must not be made.
    [[nodiscard]] bool guard(int64_t offset, int64_t bytes, const SessionFile* image = nullptr,
                             int64_t imageOffset = 0) const;
    // Tells the keeper that this file holds what `former` held, `by` bytes further on, and takes its place
    // as an image.
    void takePlaceOf(const SessionFile& former, int64_t by) const;
    // Gets every file that dies from here on in this process; null for none. Returns when no call of the
    // keeper before is in progress any more.
    static void setKeeper(ISessionFileKeeper* keeper);
    // Words for the last failure in this thread, naming folder and space: for the informative text
    // of a message box.
    [[nodiscard]] static QString lastError();
    // For a keeper that refuses.
    static void setLastError(const QString& place, const QString& cause);

private:
    struct Private;
    explicit SessionFile(std::unique_ptr<Private> d);
    std::unique_ptr<Private> d;
};

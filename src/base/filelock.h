// Locks on files that other processes see, and that end with the process that holds them, however it
// ends.
#pragma once

#include <memory>

#include <QString>

// Holds a lock file exclusively (flock) while it lives. The file itself stays on disk when the lock is
// given back, unless remove() is called. Whoever takes a lock makes sure that its file still has the name,
// so no two processes hold "the" lock on two files.
class FileLock
{
public:
    // Creates the file (0600, no link followed) when it is missing. Null when somebody else holds it
    // after `milliseconds`, or when it cannot be opened.
    [[nodiscard]] static std::unique_ptr<FileLock> take(const QString& path, int milliseconds = 0);
    ~FileLock();
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

    // Writes a line into the file for others to read, without waiting for the disk.
    void setText(const QByteArray& line);
    // What its holder wrote there, or the last that held it; empty when there is nothing.
    [[nodiscard]] static QByteArray text(const QString& path);
    // Removes the file. Others may then take the lock, on a new file.
    void remove();

    // Whether somebody holds the file exclusively, be it this process. False when there is none.
    [[nodiscard]] static bool isHeld(const QString& path);
    // Removes a regular file of this user's that nobody holds a lock of any kind on. False when that was
    // not to be.
    static bool removeUnheld(const QString& path);

private:
    FileLock(QString path, int descriptor) : m_path(std::move(path)), m_descriptor(descriptor) {}

    QString m_path;
    int m_descriptor;
};

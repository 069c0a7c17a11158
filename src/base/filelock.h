// Locks on files that other processes see, and that end with the process that holds them, however it
// ends.
#pragma once

#include <memory>

#include <QString>

// Holds a lock file exclusively (flock) while it lives. The file itself stays on disk when the lock
// is given back: removing it would let two processes hold "the" lock on two files.
class FileLock
{
public:
    // Creates the file (0600, no link followed) when it is missing. Null when somebody else holds it
    // after `milliseconds`, or when it cannot be opened.
    [[nodiscard]] static std::unique_ptr<FileLock> take(const QString& path, int milliseconds = 0);
    ~FileLock();
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

private:
    explicit FileLock(int descriptor) : m_descriptor(descriptor) {}
    int m_descriptor;
};

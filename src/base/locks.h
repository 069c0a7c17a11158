// The two locks of the house. Every lock of ours is one of these, so that the thread sanitizer sees
// them too: Qt's own are taken inside an uninstrumented library, and would give false alarms.
#pragma once

#include <QMutex>
#include <QReadWriteLock>

// Not recursive. Also a Lockable of the standard library (std::lock_guard and the like).
class Mutex
{
public:
    Mutex();
    ~Mutex();
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;
    void lock();
    void unlock();
    [[nodiscard]] bool try_lock();

private:
    QMutex m_mutex;
};

// Recursive means: a thread may take again what it holds, for reading or for writing, but never one
// on top of the other. Writers that wait go before new readers.
class ReadWriteLock
{
public:
    enum Recursion { NonRecursive, Recursive };
    explicit ReadWriteLock(Recursion recursion = NonRecursive);
    ~ReadWriteLock();
    ReadWriteLock(const ReadWriteLock&) = delete;
    ReadWriteLock& operator=(const ReadWriteLock&) = delete;
    void lockForRead();
    // For threads that must not wait (device threads).
    [[nodiscard]] bool tryLockForRead();
    void lockForWrite();
    void unlock();

private:
    QReadWriteLock m_lock;
    // Told to the sanitizer only: whether the holder writes, and how deep.
    int m_writeDepth = 0;
};

class ReadLocker
{
public:
    explicit ReadLocker(ReadWriteLock& lock) : m_lock(&lock) { m_lock->lockForRead(); }
    ~ReadLocker() { unlock(); }
    ReadLocker(const ReadLocker&) = delete;
    ReadLocker& operator=(const ReadLocker&) = delete;
    void unlock()
    {
        if (m_lock)
            m_lock->unlock();
        m_lock = nullptr;
    }

private:
    ReadWriteLock* m_lock;
};

class WriteLocker
{
public:
    explicit WriteLocker(ReadWriteLock& lock) : m_lock(&lock) { m_lock->lockForWrite(); }
    ~WriteLocker() { unlock(); }
    WriteLocker(const WriteLocker&) = delete;
    WriteLocker& operator=(const WriteLocker&) = delete;
    void unlock()
    {
        if (m_lock)
            m_lock->unlock();
        m_lock = nullptr;
    }

private:
    ReadWriteLock* m_lock;
};

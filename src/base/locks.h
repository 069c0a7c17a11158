// The two locks of the house. Every lock of ours is one of these, so that the thread sanitizer sees
// them too: Qt's own are taken inside an uninstrumented library, and would give false alarms.
#pragma once

#include <QMutex>
#include <QReadWriteLock>

class Mutex
{
public:
    void lock();
    void unlock();
    [[nodiscard]] bool try_lock();

private:
    QMutex m_mutex;
};

class ReadWriteLock
{
public:
    enum Recursion { NonRecursive, Recursive };
    explicit ReadWriteLock(Recursion recursion = NonRecursive);
    void lockForRead();
    [[nodiscard]] bool tryLockForRead();
    void lockForWrite();
    void unlock();

private:
    QReadWriteLock m_lock;
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

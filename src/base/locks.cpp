#include "base/locks.h"

#include "base/tsan.h"

// m_writeDepth is written by the write holder alone and read by holders alone, so the lock itself
// guards it: a reader sees 0, a writer what it wrote.
#ifdef MORVANE_TSAN
#define TELL(call) call
namespace {
constexpr unsigned reentrant = __tsan_mutex_read_reentrant | __tsan_mutex_write_reentrant;
} // namespace
#else
#define TELL(call)
#endif

Mutex::Mutex()
{
    TELL(__tsan_mutex_create(this, 0));
}

Mutex::~Mutex()
{
    TELL(__tsan_mutex_destroy(this, 0));
}

void Mutex::lock()
{
    TELL(__tsan_mutex_pre_lock(this, 0));
    m_mutex.lock();
    TELL(__tsan_mutex_post_lock(this, 0, 0));
}

void Mutex::unlock()
{
    TELL(__tsan_mutex_pre_unlock(this, 0));
    m_mutex.unlock();
    TELL(__tsan_mutex_post_unlock(this, 0));
}

bool Mutex::try_lock()
{
    TELL(__tsan_mutex_pre_lock(this, __tsan_mutex_try_lock));
    const bool taken = m_mutex.tryLock();
    TELL(__tsan_mutex_post_lock(
        this, taken ? __tsan_mutex_try_lock : __tsan_mutex_try_lock | __tsan_mutex_try_lock_failed, 0));
    return taken;
}

ReadWriteLock::ReadWriteLock(Recursion recursion)
    : m_lock(recursion == Recursive ? QReadWriteLock::Recursive : QReadWriteLock::NonRecursive)
{
    TELL(__tsan_mutex_create(this, recursion == Recursive ? reentrant : 0));
}

ReadWriteLock::~ReadWriteLock()
{
    TELL(__tsan_mutex_destroy(this, 0));
}

void ReadWriteLock::lockForRead()
{
    TELL(__tsan_mutex_pre_lock(this, __tsan_mutex_read_lock));
    m_lock.lockForRead();
    TELL(__tsan_mutex_post_lock(this, __tsan_mutex_read_lock, 0));
}

bool ReadWriteLock::tryLockForRead()
{
    TELL(__tsan_mutex_pre_lock(this, __tsan_mutex_read_lock | __tsan_mutex_try_lock));
    const bool taken = m_lock.tryLockForRead();
    TELL(__tsan_mutex_post_lock(
        this, __tsan_mutex_read_lock | __tsan_mutex_try_lock | (taken ? 0 : __tsan_mutex_try_lock_failed),
        0));
    return taken;
}

void ReadWriteLock::lockForWrite()
{
    TELL(__tsan_mutex_pre_lock(this, 0));
    m_lock.lockForWrite();
    TELL(__tsan_mutex_post_lock(this, 0, 0));
    ++m_writeDepth;
}

void ReadWriteLock::unlock()
{
    const bool writing = m_writeDepth > 0;
    if (writing)
        --m_writeDepth;
    TELL(__tsan_mutex_pre_unlock(this, writing ? 0 : __tsan_mutex_read_lock));
    m_lock.unlock();
    TELL(__tsan_mutex_post_unlock(this, writing ? 0 : __tsan_mutex_read_lock));
}

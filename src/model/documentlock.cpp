#include "model/documentlock.h"

ReadWriteLock& documentLock()
{
    static ReadWriteLock lock(ReadWriteLock::Recursive);
    return lock;
}

// The lock on the document as a whole.
#pragma once

#include "base/locks.h"

// One recursive lock for the process: texture threads hold it for reading during a render; whatever
// runs a tool or replaces the tree takes it for writing. It is taken before any layer's lock.
[[nodiscard]] ReadWriteLock& documentLock();

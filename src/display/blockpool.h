// Memory of pictures, used again and again: fresh pages cost as much as the transforms of a picture.
#pragma once

#include "base/locks.h"

#include <memory>
#include <vector>

// Any thread. Blocks may outlive the pool.
class BlockPool
{
public:
    BlockPool();
    // `count` floats, 64-byte aligned, contents undefined. The block returns to the pool when its
    // last holder lets go; the pool keeps a few, and none that is far larger than what was asked for.
    [[nodiscard]] std::shared_ptr<float[]> take(int64_t count);
    // Frees what lies idle.
    void clear();

private:
    struct Shelf;
    std::shared_ptr<Shelf> m_shelf;
};

#include "display/blockpool.h"

#include "model/types/arraytemplate.h"

#include <algorithm>
#include <mutex>
#include <new>

namespace {

// One on the screen, one in the queue, one being made, and the one before it.
constexpr std::size_t keptBlocks = 4;
// A picture of another zoom may need a little more than the last.
constexpr int64_t granule = 1 << 16;

struct FreeBlock
{
    void operator()(float* data) const
    {
        ::operator delete(data, std::align_val_t(ArrayTemplate<float>::alignment));
    }
};

} // namespace

struct BlockPool::Shelf
{
    struct Block
    {
        std::unique_ptr<float, FreeBlock> data;
        int64_t count = 0;
    };

    Block take(int64_t count)
    {
        const std::lock_guard guard(mutex);
        const auto fits = [count](const Block& b) {
            return b.count >= count && b.count <= 2 * count + granule;
        };
        const auto found = std::find_if(idle.begin(), idle.end(), fits);
        if (found == idle.end())
            return {};
        Block block = std::move(*found);
        idle.erase(found);
        return block;
    }

    void giveBack(Block block)
    {
        const std::lock_guard guard(mutex);
        if (idle.size() >= keptBlocks)
            idle.erase(idle.begin());
        idle.push_back(std::move(block));
    }

    Mutex mutex;
    std::vector<Block> idle; // guarded by mutex; oldest first
};

BlockPool::BlockPool() : m_shelf(std::make_shared<Shelf>()) {}

std::shared_ptr<float[]> BlockPool::take(int64_t count)
{
    Shelf::Block block = m_shelf->take(count);
    if (!block.data) {
        block.count = (count + granule - 1) / granule * granule;
        block.data.reset(static_cast<float*>(::operator new(
            std::size_t(block.count) * sizeof(float), std::align_val_t(ArrayTemplate<float>::alignment))));
    }
    float* data = block.data.release();
    return {data, [shelf = m_shelf, size = block.count](float* memory) {
                Shelf::Block returned;
                returned.data.reset(memory);
                returned.count = size;
                shelf->giveBack(std::move(returned));
            }};
}

void BlockPool::clear()
{
    const std::lock_guard guard(m_shelf->mutex);
    m_shelf->idle.clear();
}

#include "base/parallel.h"

#include "base/denormals.h"
#include "base/tsan.h"

#include <algorithm>
#include <atomic>
#include <memory>

#include <QRunnable>
#include <QThreadPool>

namespace {

// Shared by the caller and its helpers. A helper that the pool starts late finds no index left and
// touches nothing but this record, which it keeps alive.
struct Loop
{
    const std::function<void(int64_t)>* task;
    int64_t count;
    std::atomic<int64_t> next{0};
    std::atomic<int64_t> done{0};

    void work()
    {
        int64_t mine = 0;
        for (int64_t i = next.fetch_add(1, std::memory_order_acq_rel); i < count;
             i = next.fetch_add(1, std::memory_order_acq_rel)) {
            (*task)(i);
            ++mine;
        }
        if (mine > 0 && done.fetch_add(mine, std::memory_order_acq_rel) + mine == count)
            done.notify_all();
    }

    void waitForAll()
    {
        for (int64_t now = done.load(std::memory_order_acquire); now != count;
             now = done.load(std::memory_order_acquire))
            done.wait(now, std::memory_order_acquire);
    }
};

class Helper : public QRunnable
{
public:
    explicit Helper(std::shared_ptr<Loop> loop) : m_loop(std::move(loop)) { tsan::published(this); }
    void run() override
    {
        tsan::received(this);
        disableDenormals();
        m_loop->work();
    }

private:
    std::shared_ptr<Loop> m_loop;
};

} // namespace

void parallelFor(int64_t count, const std::function<void(int64_t)>& task)
{
    if (count <= 0)
        return;
    const DenormalsOff denormalsOff;
    QThreadPool* pool = QThreadPool::globalInstance();
    const int64_t helpers = std::min<int64_t>(pool->maxThreadCount() - 1, count - 1);
    if (helpers <= 0) {
        for (int64_t i = 0; i < count; ++i)
            task(i);
        return;
    }
    auto loop = std::make_shared<Loop>();
    loop->task = &task;
    loop->count = count;
    for (int64_t i = 0; i < helpers; ++i) {
        // Only threads that are free now: a loop inside a loop then never waits for itself.
        auto helper = std::make_unique<Helper>(loop);
        if (!pool->tryStart(helper.get()))
            break;
        helper.release(); // the pool deletes it
    }
    loop->work();
    loop->waitForAll();
}

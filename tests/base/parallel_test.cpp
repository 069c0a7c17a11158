#include "base/parallel.h"

#include "base/denormals.h"
#include "base/locks.h"

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

#include <QThreadPool>

namespace {

class ParallelTest : public testing::TestWithParam<int>
{
protected:
    ParallelTest() { QThreadPool::globalInstance()->setMaxThreadCount(GetParam()); }
    ~ParallelTest() override { QThreadPool::globalInstance()->setMaxThreadCount(4); }
};

float halfOfSmallestNormal()
{
    volatile float smallest = 1.17549435e-38f;
    return smallest * 0.5f;
}

} // namespace

TEST_P(ParallelTest, eachIndexIsVisitedOnceAndSeenByTheCaller)
{
    for (const int64_t count : {0, 1, 2, 3, 7, 1000}) {
        std::vector<int64_t> results(static_cast<size_t>(count), -1);
        std::vector<int64_t> inputs(static_cast<size_t>(count));
        for (int64_t i = 0; i < count; ++i)
            inputs[static_cast<size_t>(i)] = 3 * i;
        parallelFor(
            count, [&](int64_t i) { results[static_cast<size_t>(i)] += 1 + inputs[static_cast<size_t>(i)]; });
        for (int64_t i = 0; i < count; ++i)
            ASSERT_EQ(results[static_cast<size_t>(i)], 3 * i);
    }
}

TEST_P(ParallelTest, negativeCountsDoNothing)
{
    parallelFor(-5, [](int64_t) { FAIL(); });
}

TEST_P(ParallelTest, neverMoreThreadsThanThePoolMayHave)
{
    std::atomic<int> now{0}, most{0};
    parallelFor(500, [&](int64_t) {
        const int mine = ++now;
        int before = most;
        while (mine > before && !most.compare_exchange_weak(before, mine)) {
        }
        std::this_thread::yield();
        --now;
    });
    EXPECT_LE(most, GetParam());
    EXPECT_GE(most, 1);
}

TEST_P(ParallelTest, loopsInsideLoopsEnd)
{
    std::atomic<int> sum{0};
    parallelFor(20, [&](int64_t) { parallelFor(20, [&](int64_t) { ++sum; }); });
    EXPECT_EQ(sum, 400);
}

TEST_P(ParallelTest, denormalsAreOffInEveryTaskAndAsBeforeAfterIt)
{
    std::atomic<int> denormal{0};
    parallelFor(100, [&](int64_t) { denormal += halfOfSmallestNormal() != 0; });
    EXPECT_EQ(denormal, 0);
    EXPECT_NE(halfOfSmallestNormal(), 0) << "the caller's own mode was not restored";
}

TEST_P(ParallelTest, tasksMayLockAndWriteSharedData)
{
    Mutex mutex;
    std::set<int64_t> seen;
    parallelFor(300, [&](int64_t i) {
        const std::lock_guard guard(mutex);
        seen.insert(i);
    });
    EXPECT_EQ(seen.size(), 300u);
}

INSTANTIATE_TEST_SUITE_P(threads, ParallelTest, testing::Values(1, 2, 4));

TEST(Denormals, areOffForTheThreadThatAsksOnly)
{
    std::thread([] {
        disableDenormals();
        EXPECT_EQ(halfOfSmallestNormal(), 0);
    }).join();
    EXPECT_NE(halfOfSmallestNormal(), 0);
}

TEST(ReadWriteLock, readersShareAndWritersDoNot)
{
    ReadWriteLock lock;
    const ReadLocker reading(lock);
    EXPECT_TRUE(lock.tryLockForRead());
    lock.unlock();
    int value = 0;
    ReadWriteLock other;
    const auto write = [&] {
        for (int i = 0; i < 1000; ++i) {
            const WriteLocker writing(other);
            ++value;
        }
    };
    std::thread first(write), second(write);
    first.join();
    second.join();
    const ReadLocker done(other);
    EXPECT_EQ(value, 2000);
}

TEST(ReadWriteLock, aWriterKeepsReadersThatMayNotWaitOut)
{
    ReadWriteLock lock;
    WriteLocker writing(lock);
    bool taken = true;
    std::thread([&] { taken = lock.tryLockForRead(); }).join();
    EXPECT_FALSE(taken);
    writing.unlock();
    EXPECT_TRUE(lock.tryLockForRead());
    lock.unlock();
}

TEST(ReadWriteLock, aRecursiveOneIsTakenAgainByItsHolder)
{
    ReadWriteLock lock(ReadWriteLock::Recursive);
    {
        const WriteLocker outer(lock);
        const WriteLocker inner(lock);
    }
    const ReadLocker outer(lock);
    const ReadLocker inner(lock);
    EXPECT_TRUE(lock.tryLockForRead());
    lock.unlock();
}

TEST(Mutex, isTakenByOneAtATime)
{
    Mutex mutex;
    mutex.lock();
    bool taken = true;
    std::thread([&] { taken = mutex.try_lock(); }).join();
    EXPECT_FALSE(taken);
    mutex.unlock();
    EXPECT_TRUE(mutex.try_lock());
    mutex.unlock();
}

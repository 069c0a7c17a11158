#include "base/clock.h"

#include <gtest/gtest.h>

#include <set>
#include <thread>
#include <vector>

#include <QDateTime>

TEST(NextTimeStamp, isNowAndAlwaysRises)
{
    const int64_t before = QDateTime::currentMSecsSinceEpoch();
    int64_t last = nextTimeStamp();
    EXPECT_GE(last, before);
    EXPECT_LE(last, before + 10000);
    for (int i = 0; i < 5000; ++i) {
        const int64_t next = nextTimeStamp();
        ASSERT_GT(next, last);
        last = next;
    }
}

TEST(NextTimeStamp, isGivenOnceAcrossThreads)
{
    std::vector<std::vector<int64_t>> stamps(4);
    std::vector<std::thread> threads;
    for (auto& mine : stamps)
        threads.emplace_back([&mine] {
            for (int i = 0; i < 2000; ++i)
                mine.push_back(nextTimeStamp());
        });
    for (auto& thread : threads)
        thread.join();
    std::set<int64_t> all;
    for (const auto& mine : stamps)
        all.insert(mine.begin(), mine.end());
    EXPECT_EQ(all.size(), 8000u);
}

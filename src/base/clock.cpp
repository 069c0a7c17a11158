#include "base/clock.h"

#include <atomic>

#include <QDateTime>

int64_t nextTimeStamp()
{
    static std::atomic<int64_t> last{0};
    const int64_t now = QDateTime::currentMSecsSinceEpoch();
    int64_t before = last.load(std::memory_order_relaxed);
    int64_t answer;
    do {
        answer = now > before ? now : before + 1;
    } while (!last.compare_exchange_weak(before, answer));
    return answer;
}

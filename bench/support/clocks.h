// Repeated runs by two clocks: the wall's and, for machines with other work to do, the processor's.
#pragma once

#include <QElapsedTimer>

#include <algorithm>
#include <ctime>
#include <functional>
#include <vector>

[[nodiscard]] inline double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// Both clocks of repeated runs of one thing, in seconds.
struct Clocks
{
    std::vector<double> wall;
    std::vector<double> processor;

    void run(const std::function<void()>& work)
    {
        const double before = processorTime();
        QElapsedTimer timer;
        timer.start();
        work();
        wall.push_back(double(timer.nsecsElapsed()) * 1e-9);
        processor.push_back(processorTime() - before);
    }
    // Of all threads.
    static double processorTime()
    {
        timespec now{};
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
        return double(now.tv_sec) + double(now.tv_nsec) * 1e-9;
    }
};

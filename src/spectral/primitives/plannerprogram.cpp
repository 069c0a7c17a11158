// The helper program that looks for a better plan of one transform:
//
//   morvane-planner real|complex forward|inverse <length>
//
// It measures at the lowest priority, compares the plan found with the estimated one, and writes
// FFTW's text of it to standard output when it is faster; nothing otherwise. Exit status 0 when the
// question is answered.
#include "base/platform.h"

#include <fftw3.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace {

constexpr long longestTransform = 1 << 26;
// A plan must be faster by so much to count: less is noise of the measurement.
constexpr double worthIt = 0.98;
// The longest single search, in seconds; what was not found by then is not worth the heat.
constexpr double timeLimit = 30;

struct Job
{
    bool complex = false;
    bool inverse = false;
    int length = 0;
    fftwf_complex* spectrum = nullptr; // length values; of a real transform the first half
    fftwf_complex* other = nullptr;

    [[nodiscard]] float* reals() const { return reinterpret_cast<float*>(other); }
};

fftwf_plan makePlan(const Job& job, unsigned flags)
{
    flags |= FFTW_PRESERVE_INPUT;
    if (job.complex)
        return fftwf_plan_dft_1d(job.length, job.spectrum, job.other,
                                 job.inverse ? FFTW_BACKWARD : FFTW_FORWARD, flags);
    return job.inverse ? fftwf_plan_dft_c2r_1d(job.length, job.spectrum, job.reals(), flags)
                       : fftwf_plan_dft_r2c_1d(job.length, job.reals(), job.spectrum, flags);
}

double secondsOf(fftwf_plan plan, int runs)
{
    using Clock = std::chrono::steady_clock;
    const Clock::time_point start = Clock::now();
    for (int i = 0; i < runs; ++i)
        fftwf_execute(plan);
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// In turn, and the best of many short runs each, so that another process on the machine disturbs
// neither more than the other.
bool isFaster(fftwf_plan measured, fftwf_plan estimated)
{
    constexpr double roundSeconds = 2e-3;
    int runs = 1;
    while (runs < (1 << 20) && secondsOf(estimated, runs) < roundSeconds)
        runs *= 2;
    double best = std::numeric_limits<double>::max();
    double bestEstimated = best;
    for (int round = 0; round < 12; ++round) {
        bestEstimated = std::min(bestEstimated, secondsOf(estimated, runs));
        best = std::min(best, secondsOf(measured, runs));
    }
    return best < bestEstimated * worthIt;
}

bool readJob(int count, char** words, Job& job)
{
    if (count != 4)
        return false;
    job.complex = std::strcmp(words[1], "complex") == 0;
    job.inverse = std::strcmp(words[2], "inverse") == 0;
    char* end = nullptr;
    const long length = std::strtol(words[3], &end, 10);
    if (*end != 0 || length < 1 || length > longestTransform)
        return false;
    job.length = int(length);
    return (job.complex || std::strcmp(words[1], "real") == 0) &&
           (job.inverse || std::strcmp(words[2], "forward") == 0);
}

} // namespace

int main(int argc, char** argv)
{
    Job job;
    if (!readJob(argc, argv, job)) {
        std::fputs("usage: morvane-planner real|complex forward|inverse <length>\n", stderr);
        return 2;
    }
    platform::becomeBackgroundHelper();
    job.spectrum = fftwf_alloc_complex(std::size_t(job.length));
    job.other = fftwf_alloc_complex(std::size_t(job.length));
    if (!job.spectrum || !job.other)
        return 1;
    // Before the measured one, whose wisdom an estimate would follow.
    const fftwf_plan estimated = makePlan(job, FFTW_ESTIMATE);
    fftwf_set_timelimit(timeLimit);
    const fftwf_plan measured = makePlan(job, FFTW_MEASURE);
    if (!estimated || !measured)
        return 1;
    std::memset(job.spectrum, 0, sizeof(fftwf_complex) * std::size_t(job.length));
    std::memset(job.other, 0, sizeof(fftwf_complex) * std::size_t(job.length));
    if (isFaster(measured, estimated)) {
        char* text = fftwf_export_wisdom_to_string();
        if (!text || std::fputs(text, stdout) < 0)
            return 1;
        std::free(text);
    }
    // The process ends here, but a leak would turn its answer into a failure where leaks are looked for.
    fftwf_destroy_plan(measured);
    fftwf_destroy_plan(estimated);
    fftwf_free(job.other);
    fftwf_free(job.spectrum);
    fftwf_cleanup();
    return std::fflush(stdout) == 0 ? 0 : 1;
}

// Selections as they are painted and rasterised.
#include "model/selection.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <ctime>
#include <random>
#include <vector>

#include <QPainter>
#include <QThreadPool>

namespace {

constexpr int frames = 1000;
constexpr int bins = 2049;
constexpr Area view{0, 0, frames * 256.0, 24000};

QPainterPath lasso(int corners)
{
    std::mt19937 random(1);
    std::uniform_real_distribution<double> distance(0.8, 1.0);
    QPainterPath path;
    for (int i = 0; i < corners; ++i) {
        const double angle = 2 * M_PI * i / corners;
        const double r = distance(random);
        const QPointF point(view.width * (0.5 + 0.49 * r * std::cos(angle)),
                            view.height * (0.5 + 0.49 * r * std::sin(angle)));
        i ? path.lineTo(point) : path.moveTo(point);
    }
    path.closeSubpath();
    return path;
}

QPainterPath dab(double x, double y)
{
    QPainterPath path;
    path.addEllipse(QPointF(x, y), 2000, 400);
    return path;
}

// The bare kernel: one fill of that image, on one thread.
void bareFill(benchmark::State& state)
{
    QImage image(bins, frames, QImage::Format_ARGB32_Premultiplied);
    const QPainterPath path = QTransform(0, frames / view.width, bins / view.height, 0, 0, 0).map(lasso(500));
    for (auto _ : state) {
        image.fill(0);
        QPainter painter(&image);
        painter.setCompositionMode(QPainter::CompositionMode_Source);
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor(255, 255, 255, 127));
        painter.drawPath(path);
    }
}

void rasterize(benchmark::State& state)
{
    QThreadPool::globalInstance()->setMaxThreadCount(int(state.range(0)));
    Selection selection;
    selection.add(lasso(500), 256.0 * double(state.range(1)), 24000.0 / bins * double(state.range(1)), false);
    Matrix matrix(bins, frames);
    for (auto _ : state)
        selection.rasterize(matrix, view);
    QThreadPool::globalInstance()->setMaxThreadCount(2);
}

// The n-th dab of a stroke, fades rebuilt: the time of one union.
void strokeDab(benchmark::State& state)
{
    Selection before;
    const auto place = [](int64_t i) {
        return dab(1e6 + double(i) * 700, 8000 + 3000 * std::sin(double(i) * 0.1));
    };
    for (int64_t i = 0; i + 1 < state.range(0); ++i)
        before.add(place(i), 300, 60, false);
    const QPainterPath last = place(state.range(0) - 1);
    for (auto _ : state) {
        Selection selection = before;
        selection.add(last, 300, 60, false);
        benchmark::DoNotOptimize(selection);
    }
    state.counters["elements"] = before.path().elementCount();
}

double threadMilliseconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) * 1e3 + double(now.tv_nsec) * 1e-6;
}

// The slowest of 200 dabs of one stroke: in time of the processor, and the best of the runs for each
// dab, so that a busy machine does not count as a slow dab.
void strokeWorst(benchmark::State& state)
{
    std::vector<double> best(200, 1e9);
    for (auto _ : state) {
        Selection selection;
        for (std::size_t i = 0; i < best.size(); ++i) {
            const double start = threadMilliseconds();
            selection.add(dab(1e6 + double(i) * 700, 8000 + 3000 * std::sin(double(i) * 0.1)), 300, 60,
                          false);
            best[i] = std::min(best[i], threadMilliseconds() - start);
        }
    }
    state.counters["worst_ms"] = *std::max_element(best.begin(), best.end());
}

void separateDab(benchmark::State& state)
{
    Selection before;
    const auto place = [](int64_t i) { return dab(1e6 + double(i) * 5000, 8000); };
    for (int64_t i = 0; i + 1 < state.range(0); ++i)
        before.add(place(i), 300, 60, false);
    const QPainterPath last = place(state.range(0) - 1);
    for (auto _ : state) {
        Selection selection = before;
        selection.add(last, 300, 60, false);
        benchmark::DoNotOptimize(selection);
    }
}

BENCHMARK(bareFill)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(rasterize)
    ->ArgNames({"threads", "fade"})
    ->Args({1, 0})
    ->Args({1, 20})
    ->Args({2, 20})
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(strokeDab)->Arg(20)->Arg(100)->Arg(200)->Unit(benchmark::kMillisecond);
BENCHMARK(strokeWorst)->MinTime(2)->Unit(benchmark::kMillisecond);
BENCHMARK(separateDab)->Arg(20)->Arg(100)->Arg(200)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();

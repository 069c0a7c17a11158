// Pulls an outline to the ridges beside it.
#pragma once

#include "levels.h"
#include "model/types/mouseevent.h"

#include <vector>

#include <QPolygonF>

// Takes the points of an outline as they are drawn, and answers where the outline lies when each point may
// move across the direction of drawing, up or down along the bins of its frame, or to and fro along the
// frames of its bin. Ridges are local maxima, counted by how far they stand out of the valleys beside them;
// nearer ones are worth more, and so are those that go on from point to point. The best line through all
// of it is found by dynamic programming over the offsets. Where nothing stands out it stays as drawn.
class Magnet
{
public:
    // `reach`: pixels; at least 8 bins, or frames, are searched whatever the zoom.
    explicit Magnet(double reach) : m_reach(reach) {}

    // `pixel`: the size of a pixel there. Points in between are made on the way from the last one. Without
    // valid levels the point is taken as it is.
    void add(Levels& levels, const PointD& position, const PointD& pixel);
    // One for each point taken and made, samples and Hz.
    [[nodiscard]] QPolygonF path() const;

private:
    enum class Axis { Frequency, Time };
    // One point of the outline: what moving it by -reach .. +reach bins (or frames) is worth, and which
    // offset of the point before leads there best.
    struct Step
    {
        PointD position;
        Axis axis = Axis::Frequency;
        int64_t frame = 0;
        int64_t bin = 0;
        int32_t reach = 0;
        std::vector<float> gain;
        std::vector<double>
            place; // Hz or samples where a ridge lies at the offset, else that of the position
        std::vector<float> score;
        std::vector<int32_t> from; // an index into the step before; -1 where a run begins
    };

    void take(Levels& levels, const PointD& position, const PointD& pixel);
    [[nodiscard]] Axis axisTo(const PointD& position, const PointD& pixel) const;
    static void measure(Levels& levels, Step& step);
    static void follow(const Step* before, Step& step);

    double m_reach;
    std::vector<Step> m_steps;
};

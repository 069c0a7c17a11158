// The slopes of soft edges. Used by SelectionMask alone.
#pragma once

#include <cstdint>

#include <QPointF>

// Rows of 32-bit weights.
struct WeightTile
{
    int32_t* weights = nullptr;
    int64_t stride = 0; // weights from row to row
    int width = 0;
    int height = 0;
};

struct WeightedPoint
{
    QPointF position; // in pixels of the tile; the centre of the first pixel is (0.5, 0.5)
    double weight = 0;
};

// Lowers each pixel whose centre lies in the triangle, its edges included, to `full` times the weight
// there, rounded towards 0; never raises one. Nothing for a triangle without area.
void lowerTo(const WeightTile& tile, const WeightedPoint& a, const WeightedPoint& b, const WeightedPoint& c,
             double full);

// What the move gesture does to a part of the signal.
#pragma once

struct MoveTransform
{
    double timeShift = 0; // sample points, whole-numbered
    double freqShift = 0; // Hz
    float timeRatio = 1;  // factor of length
    float pitchRatio = 1; // factor of frequency

    [[nodiscard]] bool isIdentity() const { return *this == MoveTransform{}; }
    friend bool operator==(const MoveTransform&, const MoveTransform&) = default;
};

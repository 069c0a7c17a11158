// Spans of time. Positions and lengths count sample points (one per channel) of the owning format.
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

// A span of sample points. With `length` < 1 it is empty and `start` carries no meaning.
struct Range
{
    int64_t start = 0;
    int64_t length = 0;

    [[nodiscard]] bool isEmpty() const { return length < 1; }
    // One past the last sample point; as far as numbers go for ranges from hostile hands.
    [[nodiscard]] int64_t end() const
    {
        constexpr int64_t max = std::numeric_limits<int64_t>::max();
        return start > 0 && length > max - start ? max : start + length;
    }
    [[nodiscard]] bool contains(const Range& other) const
    {
        return other.isEmpty() || (!isEmpty() && start <= other.start && other.end() <= end());
    }

    // The smallest range that holds both; an empty operand does not count.
    [[nodiscard]] Range united(const Range& other) const
    {
        if (other.isEmpty())
            return *this;
        if (isEmpty())
            return other;
        const int64_t first = std::min(start, other.start);
        return {first, std::max(end(), other.end()) - first};
    }

    // What both hold; {0, 0} when that is nothing, also when they only touch.
    [[nodiscard]] Range intersected(const Range& other) const
    {
        if (isEmpty() || other.isEmpty())
            return {};
        const int64_t first = std::max(start, other.start);
        const int64_t last = std::min(end(), other.end());
        return first >= last ? Range{} : Range{first, last - first};
    }

    friend bool operator==(const Range&, const Range&) = default;
};

// A span in fractional sample points.
struct FRange
{
    double start = 0;
    double length = 0;

    friend bool operator==(const FRange&, const FRange&) = default;
};

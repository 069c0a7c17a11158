// A soft-edged region of the time-frequency plane.
#pragma once

#include <cstdint>

#include <QPainterPath>

// A value. So far it holds its border alone, x in sample points and y in Hz; shaping and masks are
// not built yet.
class Selection
{
public:
    Selection() = default;
    explicit Selection(const QPainterPath& path) : m_path(path) {}

    [[nodiscard]] bool isEmpty() const { return m_path.isEmpty(); }
    [[nodiscard]] QPainterPath path() const { return m_path; }
    // A hash over all coordinates; 0 for the empty selection.
    [[nodiscard]] uint32_t fingerprint() const;

    // Selections are equal when their fingerprints are.
    friend bool operator==(const Selection& a, const Selection& b)
    {
        return a.fingerprint() == b.fingerprint();
    }

private:
    QPainterPath m_path;
};

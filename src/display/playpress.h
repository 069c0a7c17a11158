// The press that sets the transport's position, and what it does to the transport.
#pragma once

#include <optional>

// Of a ruler or a view; places in logical pixels from the left. With the property playbackhold the transport
// runs while the press is held, without it each press starts or stops it.
class PlayPress
{
public:
    // Whether to start or stop the transport. With hold, a press while it plays goes on from the new place.
    [[nodiscard]] bool begin(double x, bool playing);
    // Whether the position follows the pointer there: once it was far enough from the press, and with the
    // property playbackscrubbing.
    [[nodiscard]] bool scrubs(double x);
    // Let go; whether to stop the transport.
    [[nodiscard]] bool end();

private:
    std::optional<double> m_press; // while it is held
    bool m_scrubbing = false;
};

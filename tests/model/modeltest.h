// What the tests of layers share: a session folder, signals, a plain reading of a layer.
#pragma once

#include "model/layergroup.h"

#include <cstdint>
#include <vector>

#include <QString>

namespace modeltest {

// The folder of the session files, empty before each test program.
[[nodiscard]] QString sessionFolder();
// Names of the files in it.
[[nodiscard]] QStringList sessionFiles();

[[nodiscard]] SamplingFormat realFormat(int channels = 1, double rate = 48000);
[[nodiscard]] SamplingFormat complexFormat(int channels = 1, double rate = 48000);

// first, first + 1, ...: every number different, exact in a float.
[[nodiscard]] std::vector<float> ramp(int64_t count, float first = 1);
// A layer that holds `samples` (interleaved) from `start` on. Its backup, if any, begins with that.
[[nodiscard]] LayerPtr layerOf(const SamplingFormat& format, const std::vector<float>& samples,
                               int64_t start = 0, bool withBackup = true);
// The interleaved samples of a span, zero outside the data.
[[nodiscard]] std::vector<float> samplesOf(const ILayer& layer, Range range);
// Those of the whole raw span.
[[nodiscard]] std::vector<float> dataOf(const Layer& layer);

// For its lifetime no file may become longer than `bytes`, as on a disk without room.
class DiskLimit
{
public:
    explicit DiskLimit(int64_t bytes);
    ~DiskLimit();

private:
    uint64_t m_before;
};

} // namespace modeltest

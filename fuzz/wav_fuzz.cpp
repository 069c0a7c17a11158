// Fuzzes the readers of samples, markers and tags of WAV files.
#include "model/layer.h"
#include "projectfiles/wavchunks.h"
#include "projectfiles/wavsamples.h"

#include "nodisk.h"

#include <QtEndian>

namespace {

// Looks at every sample and keeps none.
class Sink final : public Layer
{
public:
    explicit Sink(const SamplingFormat& format) : Layer(Key(), format, {}, 0) {}
    void extendTo(Range) override {}
    bool write(const float* in, Range range, int32_t, bool) override
    {
        for (int64_t i = 0; i < range.length * format().channels; ++i)
            m_sum = m_sum + in[i];
        return true;
    }

private:
    volatile float m_sum = 0;
};

// The format that the file tells at the place where most have it, so that reading goes on.
SamplingFormat formatOf(const uint8_t* data, std::size_t size)
{
    SamplingFormat format{SampleTypeReal, 8000, ChannelsTypeAudio, 1, 4};
    if (size >= 28) {
        format.channels = std::max(1, data[22] % 65);
        format.sampleRate = qFromLittleEndian<quint32>(data + 24);
    }
    return format;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    withDevice(data, size, [&](QIODevice& device) {
        MarkerList markers;
        MetaDataList tags;
        require(wavchunks::readMarkers(device, markers) == wavchunks::readMetaData(device, tags));
        require(markers.size() <= int(size / 24) && tags.size() <= int(size / 8));
        const auto layer = std::make_shared<Sink>(formatOf(data, size));
        (void)wavsamples::readWave(device, *layer, 3);
    });
    return 0;
}

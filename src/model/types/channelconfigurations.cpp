#include "model/types/channelconfigurations.h"

#include "model/types/samplingformat.h"

namespace {

constexpr uint64_t left = 1;
constexpr uint64_t right = 2;
constexpr uint64_t center = 4;
constexpr uint64_t lowFrequency = 8;
constexpr uint64_t rears = 16 | 32;
constexpr uint64_t besideCenter = 64 | 128;
constexpr uint64_t backCenter = 256;
constexpr uint64_t sides = 512 | 1024;
constexpr uint64_t topFronts = 4096 | 16384;
constexpr uint64_t topBacks = 32768 | (uint64_t(1) << 17);
constexpr uint64_t wides = (uint64_t(1) << 31) | (uint64_t(1) << 32);

constexpr uint64_t stereo = left | right;
constexpr uint64_t lrc = stereo | center;
constexpr uint64_t five = lrc | sides;
constexpr uint64_t seven = five | rears;

constexpr ChannelConfiguration audio[] = {
    {"Mono", center},
    {"Stereo", stereo},
    {"LRC", lrc},
    {"LRCS", lrc | backCenter},
    {"Quadro", stereo | rears},
    {"5.0", five},
    {"5.1", five | lowFrequency},
    {"6.0", five | backCenter},
    {"6.1", five | backCenter | lowFrequency},
    {"7.0 SDDS", five | besideCenter},
    {"7.1 SDDS", five | besideCenter | lowFrequency},
    {"7.0", seven},
    {"7.1", seven | lowFrequency},
    {"7.0.2", seven | topFronts},
    {"7.1.2", seven | topFronts | lowFrequency},
    {"7.0.4", seven | topFronts | topBacks},
    {"7.1.4", seven | topFronts | topBacks | lowFrequency},
    {"9.1.2", seven | wides | topFronts | lowFrequency},
};

constexpr ChannelConfiguration ecg[] = {
    {"3 Leads", 0x7},
    {"6 Leads", 0x3f},
    {"12 Leads", 0xfff},
};

} // namespace

std::span<const ChannelConfiguration> channelConfigurations(int32_t channelsType)
{
    if (channelsType == ChannelsTypeAudio)
        return audio;
    if (channelsType == ChannelsTypeEcg)
        return ecg;
    return {};
}

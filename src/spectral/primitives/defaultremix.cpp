#include "spectral/primitives/defaultremix.h"

#include "model/types/channellabels.h"

#include <bit>

namespace {

// Bit positions of a mask.
enum Position : int {
    Left = 0,
    Right = 1,
    Center = 2,
    LowFrequency = 3,
    RearLeft = 4,
    RearRight = 5,
    LeftOfCenter = 6,
    RightOfCenter = 7,
    BackCenter = 8,
    SideLeft = 9,
    SideRight = 10,
    TopCenter = 11,
    TopFrontLeft = 12,
    TopFrontCenter = 13,
    TopFrontRight = 14,
    TopBackLeft = 15,
    TopBackCenter = 16,
    TopBackRight = 17,
    DownmixLeft = 29,
    DownmixRight = 30,
    LeftWide = 31,
    RightWide = 32,
    DirectLeft = 33,
    DirectRight = 34,
    LowFrequency2 = 35,
    None = -1,
};

constexpr float half = 0.5f;
constexpr float root = 0.70710678f;

constexpr uint64_t bitOf(int position)
{
    return uint64_t(1) << position;
}

// When a pass may be taken: always, or only when the target has every position that it names.
enum Condition { IfThere, Always };

// One way of passing a position on. `second` is None where one position takes it all.
struct Pass
{
    int from;
    Condition condition;
    float gain;
    int first;
    int second;
};

// Tried from the top for each position that the target lacks.
constexpr Pass passes[] = {
    {Center, Always, root, Left, Right},
    {LeftOfCenter, Always, root, Left, None},
    {RightOfCenter, Always, root, Right, None},
    {LeftWide, Always, root, Left, None},
    {RightWide, Always, root, Right, None},
    {RearLeft, Always, root, Left, None},
    {RearRight, Always, root, Right, None},
    {SideLeft, Always, root, Left, None},
    {SideRight, Always, root, Right, None},
    {DirectLeft, Always, root, Left, None},
    {DirectRight, Always, root, Right, None},
    {BackCenter, IfThere, root, RearLeft, RearRight},
    {BackCenter, IfThere, root, SideLeft, SideRight},
    {BackCenter, Always, half, Left, Right},
    {TopCenter, Always, root, Center, None},
    {TopFrontLeft, Always, root, Left, None},
    {TopFrontCenter, Always, root, Center, None},
    {TopFrontRight, Always, root, Right, None},
    {TopBackLeft, Always, root, RearLeft, None},
    {TopBackCenter, Always, root, BackCenter, None},
    {TopBackRight, Always, root, RearRight, None},
    // A ready two-channel mix is what the fronts play.
    {DownmixLeft, Always, 1.0f, Left, None},
    {DownmixRight, Always, 1.0f, Right, None},
};

// Positions that stand for each other.
constexpr int pairs[][2] = {{RearLeft, SideLeft}, {RearRight, SideRight}};

constexpr uint64_t namedPositions = 0x3ffff | (uint64_t(0x7f) << 29);
constexpr uint64_t dropped = bitOf(LowFrequency) | bitOf(LowFrequency2);

// The other of a pair, or None.
int counterpart(int position)
{
    for (const auto& pair : pairs) {
        if (pair[0] == position)
            return pair[1];
        if (pair[1] == position)
            return pair[0];
    }
    return None;
}

class AudioRemix
{
public:
    AudioRemix(uint64_t input, uint64_t output)
        : m_input(input),
          m_output(output),
          m_matrix(channelCount(output), channelCount(input))
    {
        for (float& gain : m_matrix.data)
            gain = 0;
    }

    Matrix build()
    {
        uint64_t rest = m_input;
        for (m_row = 0; m_row < m_matrix.inputs; ++m_row, rest &= rest - 1) {
            const int position = std::countr_zero(rest);
            if (has(position))
                put(position, 1);
            else if (!(bitOf(position) & namedPositions))
                byIndex();
            else if (m_matrix.inputs == 1 && position == Center && has(Left) && has(Right))
                put(Left, 1), put(Right, 1);
            else
                route(position, 1);
        }
        return std::move(m_matrix);
    }

private:
    [[nodiscard]] bool has(int position) const { return position != None && (m_output & bitOf(position)); }

    void add(int column, float gain) { m_matrix.data[int64_t(m_row) * m_matrix.outputs + column] += gain; }
    void put(int position, float gain) { add(std::popcount(m_output & (bitOf(position) - 1)), gain); }
    void byIndex()
    {
        if (m_row < m_matrix.outputs)
            add(m_row, 1);
    }

    // A position that the target may lack, at that gain.
    void route(int position, float gain)
    {
        if (has(position))
            return put(position, gain);
        if (bitOf(position) & dropped)
            return;
        const int other = counterpart(position);
        if (has(other))
            return put(other, m_input & bitOf(other) ? gain * root : gain);
        if (position == Left || position == Right)
            return front(gain);
        for (const Pass& pass : passes) {
            const bool there = has(pass.first) && has(pass.second);
            if (pass.from != position || (pass.condition == IfThere && !there))
                continue;
            route(pass.first, gain * pass.gain);
            if (pass.second != None)
                route(pass.second, gain * pass.gain);
            return;
        }
    }

    // What would go to a front that is not there: to the one channel, or to the centre.
    void front(float gain)
    {
        if (m_matrix.outputs == 1)
            add(0, gain * half);
        else if (has(Center))
            put(Center, gain * half);
    }

    uint64_t m_input;
    uint64_t m_output;
    Matrix m_matrix;
    int m_row = 0; // the source channel in work
};

uint64_t fittingMask(const SamplingFormat& format)
{
    return channelCount(format.channelsMask) == format.channels
               ? format.channelsMask
               : defaultChannelsMask(format.channelsType, format.channels);
}

} // namespace

Matrix defaultRemix(int32_t channelsType, uint64_t inputMask, uint64_t outputMask)
{
    // By index is what a new matrix does.
    if (channelsType != ChannelsTypeAudio)
        return Matrix(channelCount(outputMask), channelCount(inputMask));
    return AudioRemix(inputMask, outputMask).build();
}

Matrix defaultRemix(const SamplingFormat& input, const SamplingFormat& output)
{
    const int32_t type = input.channelsType == output.channelsType ? input.channelsType : ChannelsTypeGeneric;
    return defaultRemix(type, fittingMask(input), fittingMask(output));
}

// Parameters of the short-time transform.
#pragma once

#include <cstdint>
#include <memory>

class QString;

// Values are stored in project files.
enum class WindowType : int32_t {
    Kaiser15 = 0,
    BlackmanHarris = 1,
    Blackman = 2,
    Hann = 3,
    Hamming = 4,
    Bartlett = 5,
    Rectangle = 6,
};
constexpr int windowTypeCount = 7;

// Compared in lower case; an unknown name gives Rectangle.
[[nodiscard]] WindowType windowTypeFromString(const QString& text);
// The name as shown and as stored: "Blackman-Harris". An unknown value gives "Rectangle".
[[nodiscard]] QString windowTypeToString(WindowType type);

// Polymorphic, since `Transform` travels through the event of changed settings by this base.
struct TransformSettings
{
    int32_t sampleType = 1; // SampleType; decides between the real and the complex DFT
    WindowType windowType = WindowType::Rectangle;
    int32_t frameSize = 0; // N, samples in one frame; stored as "fftsize"
    int32_t overlap = 0;   // frames per N samples
    int32_t zeroPadding = 0;

    TransformSettings() = default;
    TransformSettings(int32_t type, WindowType window, int32_t size, int32_t overlapCount, int32_t padding)
        : sampleType(type),
          windowType(window),
          frameSize(size),
          overlap(overlapCount),
          zeroPadding(padding)
    {
    }
    TransformSettings(const TransformSettings&) = default;
    TransformSettings& operator=(const TransformSettings&) = default;
    virtual ~TransformSettings() = default;
    // A copy of the whole object, whatever it is derived to.
    [[nodiscard]] virtual std::shared_ptr<const TransformSettings> clone() const
    {
        return std::make_shared<TransformSettings>(*this);
    }

    // False while size, overlap or zero padding is not positive, or when the DFT would be longer than
    // 2^29; the derived sizes are then 0.
    [[nodiscard]] bool isValid() const
    {
        return frameSize > 0 && overlap > 0 && zeroPadding > 0 &&
               int64_t(frameSize) * zeroPadding <= int64_t(1) << 29;
    }
    // H, samples from one frame to the next.
    [[nodiscard]] int32_t hop() const { return isValid() ? frameSize / overlap : 0; }
    // M, length of the DFT.
    [[nodiscard]] int32_t dftLength() const { return isValid() ? frameSize * zeroPadding : 0; }
    // B, bins of one frame: M / 2 + 1 for a real signal, M for a complex one.
    [[nodiscard]] int32_t bins() const
    {
        return !isValid() ? 0 : sampleType == 1 ? dftLength() / 2 + 1 : dftLength();
    }

    friend bool sameSettings(const TransformSettings& a, const TransformSettings& b)
    {
        return a.sampleType == b.sampleType && a.windowType == b.windowType && a.frameSize == b.frameSize &&
               a.overlap == b.overlap && a.zeroPadding == b.zeroPadding;
    }
};

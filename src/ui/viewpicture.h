// Pictures of the channels as they are in view.
#pragma once

#include "model/ilayer.h"

#include <QImage>
#include <QRect>

class ChannelsDisplay;

// Draws what the channels display shows into an image of so many times its pixels: spectrograms and
// waveforms are computed and drawn anew at that size, rulers and texts too. GUI thread.
class ViewPicture
{
public:
    struct Settings
    {
        double factor = 1; // of the pixels on the screen
        bool rulers = true;
    };

    explicit ViewPicture(ChannelsDisplay& display) : m_display(display) {}

    // The view must not be asked for more pixels than a texture has.
    [[nodiscard]] double largestFactor() const;
    [[nodiscard]] QSize size(const Settings& settings) const;
    // Null when `progress` said no, when there is nothing in view, no memory, or the textures are not there
    // in time. Runs the event loop, without the user's input but for what `progress` lets in.
    [[nodiscard]] QImage make(const Settings& settings, const Progress& progress);

private:
    // In logical pixels of the display.
    [[nodiscard]] QRect part(bool rulers) const;
    [[nodiscard]] bool waitForTextures(const Progress& progress);
    void setPixelScale(double scale);

    ChannelsDisplay& m_display;
};

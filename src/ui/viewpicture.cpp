#include "ui/viewpicture.h"

#include "display/channelname.h"
#include "display/channelrow.h"
#include "display/channelsdisplay.h"
#include "display/frequencyscale.h"
#include "display/powerscale.h"
#include "display/spectralchannel.h"
#include "display/timeline.h"
#include "display/waveformchannel.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QPixmap>
#include <QThread>

#include <algorithm>
#include <cmath>

namespace {

constexpr int longest = 120000;      // ms that the textures may take
constexpr double largestPicture = 4; // times the screen
constexpr int defaultTextureSize = 8192;

// Calls `visit` for each view in sight.
template<class Visit>
void forViews(const ChannelsDisplay& display, const Visit& visit)
{
    for (const ChannelRow* row : display.rows())
        for (ChannelView* view :
             {static_cast<ChannelView*>(row->waveform()), static_cast<ChannelView*>(row->spectral())})
            if (!view->visibleRegion().isEmpty())
                visit(*view);
}

} // namespace

QRect ViewPicture::part(bool rulers) const
{
    QRect all;
    const auto add = [&](const QWidget& widget) {
        const QRect seen = widget.visibleRegion().boundingRect();
        if (!seen.isEmpty())
            all |= QRect(widget.mapTo(&m_display, seen.topLeft()), seen.size());
    };
    forViews(m_display, [&](const ChannelView& view) { add(view); });
    if (!rulers || all.isEmpty())
        return all;
    add(*m_display.timeLine());
    for (const ChannelRow* row : m_display.rows()) {
        add(row->name());
        add(*row->powerScale());
        add(*row->frequencyScale());
    }
    return all;
}

double ViewPicture::largestFactor() const
{
    const int limit = QCoreApplication::instance()->property("maxtexsize").toInt();
    double pixels = 1;
    forViews(m_display, [&](const ChannelView& view) {
        pixels = std::max(pixels, std::max(view.width(), view.height()) * view.devicePixelRatioF());
    });
    const double factor = (limit > 0 ? limit : defaultTextureSize) / pixels;
    return std::clamp(std::floor(factor * 4) / 4, 1.0, largestPicture);
}

QSize ViewPicture::size(const Settings& settings) const
{
    return devicePixels(part(settings.rulers).size(), m_display.devicePixelRatioF() * settings.factor);
}

void ViewPicture::setPixelScale(double scale)
{
    for (const ChannelRow* row : m_display.rows()) {
        row->waveform()->setPixelScale(scale);
        row->spectral()->setPixelScale(scale);
    }
}

// A request goes out with a repaint, and so does what has come: nothing must be outstanding behind two.
bool ViewPicture::waitForTextures(const Progress& progress)
{
    QElapsedTimer timer;
    timer.start();
    for (int quiet = 0; quiet < 2;) {
        if (timer.elapsed() > longest || (progress && !progress(0, 0)))
            return false;
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents, 10);
        if (m_display.isSettled()) {
            forViews(m_display, [](ChannelView& view) { view.update(); });
            QCoreApplication::sendPostedEvents();
            quiet = m_display.isSettled() ? quiet + 1 : 0;
        } else {
            quiet = 0;
            QThread::msleep(2);
        }
    }
    return true;
}

QImage ViewPicture::make(const Settings& settings, const Progress& progress)
{
    const QRect area = part(settings.rulers);
    if (area.isEmpty())
        return {};
    setPixelScale(settings.factor);
    QPixmap picture;
    if (waitForTextures(progress)) {
        picture = QPixmap(size(settings));
        picture.setDevicePixelRatio(m_display.devicePixelRatioF() * settings.factor);
        if (!picture.isNull())
            m_display.render(&picture, {}, area);
    }
    setPixelScale(1);
    QImage image = picture.toImage().convertToFormat(QImage::Format_RGB32);
    image.setDevicePixelRatio(1);
    return image;
}

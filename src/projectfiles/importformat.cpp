#include "projectfiles/importformat.h"

#include "model/types/channellabels.h"
#include "projectfiles/formatlimits.h"
#include "ui/widgets/messages.h"

#include <QCoreApplication>

namespace {

QString text(const char* source)
{
    return QCoreApplication::translate("ProjectTabs", source);
}

QString rateText(double rate)
{
    return QString::number(rate, 'g', 15);
}

// The question for what is too much; empty when nothing is.
QString limitQuestion(const SamplingFormat& format, const FormatLimits& limits)
{
    const bool rate = format.sampleRate > limits.sampleRate;
    const bool channels = format.channels > limits.channels;
    if (rate && channels)
        return text("The sample rate (%1) and number of channels (%2) are unsupported.<br/>Resample ?")
            .arg(rateText(format.sampleRate))
            .arg(format.channels);
    if (rate)
        return text("The sample rate (%1) is unsupported.<br/>Resample ?").arg(rateText(format.sampleRate));
    if (channels)
        return text("The number of channels (%1) is unsupported.<br/>Remix ?").arg(format.channels);
    return {};
}

} // namespace

bool settleImportFormat(SamplingFormat& format, const SamplingFormat* project, QWidget* parent)
{
    const FormatLimits limits = FormatLimits::current();
    if (const QString question = limitQuestion(format, limits); !question.isEmpty()) {
        if (!messages::question(parent, text("Cannot Import File"), question))
            return false;
        format.sampleRate = std::min(format.sampleRate, limits.sampleRate);
        if (format.channels > limits.channels) {
            format.channels = limits.channels;
            format.channelsMask = defaultChannelsMask(format.channelsType, format.channels);
        }
    }
    if (!project || format == *project)
        return true;
    if (!messages::question(parent, text("Resample"),
                            text("The file format doesn't match the project format.\nResample to match the "
                                 "project format ?")))
        return false;
    format = *project;
    return true;
}

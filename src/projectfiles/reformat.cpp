#include "projectfiles/reformat.h"

#include "model/types/channellabels.h"
#include "projectfiles/channelmappingdialog.h"
#include "projectfiles/remixerdialog.h"
#include "spectral/primitives/defaultremix.h"

bool askChannels(SamplingFormat& format, QWidget* parent)
{
    ChannelMappingDialog dialog(format.channelsType, format.channelsMask, parent);
    if (dialog.exec() != QDialog::Accepted)
        return false;
    format.channelsMask = dialog.mask();
    format.channels = channelCount(format.channelsMask);
    return true;
}

std::optional<Reformat> askReformat(const SamplingFormat& present, QWidget* parent,
                                    FormatDialog::Purpose purpose)
{
    FormatDialog dialog(purpose, present, 0, parent);
    if (dialog.exec() != QDialog::Accepted)
        return std::nullopt;
    Reformat asked{dialog.format(), Matrix(present.channels, present.channels), dialog.isReinterpret()};
    if (asked.reinterpret)
        return asked;
    const bool sameLayout =
        asked.format.channels == present.channels && asked.format.channelsMask == present.channelsMask;
    if (sameLayout && !dialog.isCustom())
        return asked;
    if (!askChannels(asked.format, parent))
        return std::nullopt;
    RemixerDialog remixer({present.channelsType, present.channelsMask},
                          {asked.format.channelsType, asked.format.channelsMask},
                          defaultRemix(present, asked.format), parent);
    if (remixer.exec() != QDialog::Accepted)
        return std::nullopt;
    asked.matrix = remixer.matrix();
    return asked;
}

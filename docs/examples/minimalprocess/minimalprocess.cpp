// A process that turns the selected time of the active layer upside down, in the selected channels.
#include "model/iselection.h"
#include "plugins/iprocessplugin.h"

#include <QObject>

#include <algorithm>
#include <vector>

class MinimalProcess : public QObject, public IProcessPlugin
{
    Q_OBJECT
    // The last part is what the settings know the plug-in by; the library has the same name.
    Q_PLUGIN_METADATA(IID "com.Application.IProcessPlugin.minimalprocess")
    Q_INTERFACES(IProcessPlugin)

public:
    bool init(const QString&, QWidget*) override { return true; }
    QString description() const override { return QStringLiteral("Minimal Process"); }
    QString menuName() const override { return tr("Examples"); }
    QStringList processNames() const override { return {tr("Invert"), tr("Halve")}; }

    bool execute(const QString& processName) override
    {
        const ILayerPtr layer = context.activeLayer;
        if (!layer || layer->type() != LayerTypeLayer || context.selection->isEmpty())
            return false; // nothing has been changed
        const Range span = context.selection->range().intersected(layer->range());
        const double factor = processName == tr("Invert") ? -1 : 0.5;
        const int32_t floats = context.format.sampleType; // of one sample point: 1, complex 2
        constexpr int64_t block = 65536;
        std::vector<float> samples(std::size_t(block * floats));
        for (int64_t done = 0; done < span.length; done += block) {
            const Range part{span.start + done, std::min(block, span.length - done)};
            for (int32_t channel = 0; channel < context.format.channels; ++channel) {
                if (!context.channelsMode.selected.testBit(channel))
                    continue;
                layer->read(samples.data(), part, channel, true);
                host.multiplyConstant(samples.data(), samples.data(), factor, part.length * floats);
                if (!layer->write(samples.data(), part, channel, true))
                    return false; // no room: the host takes everything back and tells the user
            }
        }
        return true;
    }

Q_SIGNALS:
    void previewToggled(); // for the host, which connects it by its name
};

#include "minimalprocess.moc"

#include "projectfiles/newproject.h"

#include "model/types/channellabels.h"
#include "projectfiles/formatdialog.h"
#include "projectfiles/projectdefaults.h"
#include "projectfiles/reformat.h"

#include <QCoreApplication>
#include <QDebug>
#include <QRegularExpression>
#include <QVariant>

#include <algorithm>
#include <cmath>

namespace {

constexpr double fallbackRate = 48000;
constexpr double fallbackLength = 10000; // ms

QVariant property(const char* key)
{
    return QCoreApplication::instance()->property(key);
}

SamplingFormat proposedFormat()
{
    const FormatLimits limits = FormatLimits::current();
    SamplingFormat format;
    format.sampleType = sampleTypeFromString(property("sampletype").toString());
    format.channelsType = channelsTypeFromString(property("channelstype").toString());
    format.channels = std::clamp(property("defaultchannels").toInt(), 1, limits.channels);
    format.channelsMask = defaultChannelsMask(format.channelsType, format.channels);
    const double rate = property("defaultsamplerate").toDouble();
    format.sampleRate = std::min(std::isfinite(rate) && rate > 0 ? rate : fallbackRate, limits.sampleRate);
    return format;
}

double proposedSeconds()
{
    const double ms = property("defaultprojectsizems").toDouble();
    return (std::isfinite(ms) && ms > 0 ? ms : fallbackLength) / 1000;
}

} // namespace

QString untitledName(const QStringList& openNames)
{
    const QString base = QCoreApplication::translate("ProjectTabs", "Untitled");
    static const QRegularExpression lastNumber(QStringLiteral("\\d+(?=\\D*$)"));
    qulonglong highest = 0;
    for (const QString& name : openNames) {
        if (!name.startsWith(base))
            continue;
        const qulonglong number = lastNumber.match(name).captured().toULongLong();
        highest = std::max(highest, std::clamp<qulonglong>(number, 1, ~0ULL - 1));
    }
    return highest == 0 ? base : QStringLiteral("%1 %2").arg(base).arg(highest + 1);
}

ProjectPtr makeNewProject(const SamplingFormat& format, int64_t length, const QString& name)
{
    const ProjectPtr project = makeProject(format);
    project->name = name;
    LayerHeader header;
    header.name = QCoreApplication::translate("ProjectTabs", "Layer");
    const LayerPtr layer = Layer::create(format, header);
    project->layers()->appendChildLayer(layer);
    project->setActiveLayer(layer);
    project->setDisplayArea(fullBandArea(format, {0, length}));
    project->resetHistory(QStringLiteral("New"), QIcon(QStringLiteral(":/icons/new.png")));
    return project;
}

ProjectPtr askNewProject(const QStringList& openNames, QWidget* parent)
{
    FormatDialog dialog(FormatDialog::Purpose::NewProject, proposedFormat(), proposedSeconds(), parent);
    if (dialog.exec() != QDialog::Accepted)
        return nullptr;
    SamplingFormat format = dialog.format();
    if (dialog.isCustom() && !askChannels(format, parent))
        return nullptr;
    const QString name = untitledName(openNames);
    qInfo().noquote().nospace() << "new project " << name << ' ' << format;
    return makeNewProject(format, dialog.length(), name);
}

#include "projectfiles/changeformat.h"

#include "model/documentlock.h"
#include "projectfiles/markscale.h"
#include "projectfiles/progressbox.h"
#include "ui/widgets/messages.h"

#include <QCoreApplication>
#include <QDebug>

namespace {

QString text(const char* source)
{
    return QCoreApplication::translate("ProjectTabs", source);
}

} // namespace

ChangeFormat::ChangeFormat(const FlowHost& host, const ProjectPtr& project) : m_host(host), m_project(project)
{
}

bool ChangeFormat::run(const std::function<void()>& stopTransport)
{
    const std::optional<Reformat> wanted =
        askReformat(m_project->format(), m_host.window, FormatDialog::Purpose::ChangeFormat);
    if (!wanted || !messages::question(m_host.window, text("Format Change"),
                                       text("Are you sure (you can't undo this action) ?")))
        return false;
    stopTransport();
    if (!convert(*wanted))
        return false;
    m_project->modified = true;
    m_project->selection = {};
    m_project->resetHistory(QStringLiteral("Format Change"), QIcon(QStringLiteral(":/icons/menu.png")));
    qInfo().noquote().nospace() << "format of " << m_project->name << " changed to " << wanted->format;
    return true;
}

bool ChangeFormat::convert(const Reformat& wanted)
{
    const double ratio = wanted.format.sampleRate / m_project->format().sampleRate;
    if (wanted.reinterpret) {
        // No view draws a tree of two formats.
        const WriteLocker locker(documentLock());
        for (const ILayerPtr& layer : m_project->root().allLayers())
            layer->setFormat(wanted.format);
        m_project->setFormat(wanted.format);
        SpectralMarkerList spectral = m_project->spectralMarkerList();
        scaleFrequency(spectral, ratio);
        m_project->setSpectralMarkerList(spectral);
        return true;
    }
    if (!resample(wanted))
        return false;
    m_project->setFormat(wanted.format);
    moveBy(ratio);
    return true;
}

bool ChangeFormat::resample(const Reformat& wanted)
{
    ProgressBox box(m_host.window, text("Resampling..."));
    QString words;
    bool cancelled = false;
    const Progress progress = [&](int done, int total) {
        cancelled = !box(done, total);
        return !cancelled;
    };
    if (m_project->root().changeFormat(wanted.format, wanted.matrix, progress, &words))
        return true;
    if (!cancelled)
        messages::critical(m_host.window, text("Format Change"), text("The format could not be changed."),
                           words);
    return false;
}

// What is counted in sample points stays where it is in time.
void ChangeFormat::moveBy(double ratio)
{
    Area area = m_project->display.displayArea;
    area.x *= ratio;
    area.width *= ratio;
    m_project->setDisplayArea(area);
    m_project->setPosition(scaledPosition(m_project->position(), ratio));
    MarkerList markers = m_project->markerList();
    scaleTime(markers, ratio);
    m_project->setMarkerList(markers);
    SpectralMarkerList spectral = m_project->spectralMarkerList();
    scaleTime(spectral, ratio);
    m_project->setSpectralMarkerList(spectral);
}

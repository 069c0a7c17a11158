#include "projectfiles/fileexport.h"

#include "base/replacingfile.h"
#include "plugins/ifileplugin.h"
#include "projectfiles/fileformats.h"
#include "ui/widgets/messages.h"

#include <exception>

#include <QCoreApplication>
#include <QDebug>
#include <QDir>

namespace {

// Gives a plug-in the mix from time 0 to the end of the last layer.
class MixSource final : public IExportSource
{
public:
    MixSource(const ExportedMix& mix, const FileExport::ProgressCall& progress)
        : m_mix(mix),
          m_progress(progress),
          m_frames(mix.layer->range().end())
    {
    }

    [[nodiscard]] SamplingFormat format() const override { return m_mix.layer->format(); }
    [[nodiscard]] int64_t frames() const override { return m_frames; }
    bool samples(float* interleaved, int64_t start, int64_t count) override
    {
        m_mix.layer->read(interleaved, {start, count}, -1, true);
        return true;
    }
    [[nodiscard]] MarkerList markers() const override { return m_mix.markers; }
    [[nodiscard]] MetaDataList metaData() const override { return m_mix.metaData; }
    bool progress(int64_t done, int64_t total) override
    {
        if (m_progress && !m_progress(done, total))
            m_cancelled = true;
        return !m_cancelled;
    }
    void message(const QString& text) override { m_messages << text; }

    [[nodiscard]] bool cancelled() const { return m_cancelled; }
    [[nodiscard]] QString messages() const { return m_messages.join(QLatin1Char('\n')); }

private:
    const ExportedMix& m_mix;
    const FileExport::ProgressCall& m_progress;
    int64_t m_frames;
    bool m_cancelled = false;
    QStringList m_messages;
};

// The plug-in's own code; what it throws is its failure.
bool callPlugin(const fileformats::Exporter& exporter, const QString& path, IExportSource& source)
{
    try {
        return exporter.plugin->exportFile(path, exporter.filter, source);
    } catch (const std::exception& e) {
        source.message(QString::fromLocal8Bit(e.what()));
    } catch (...) {
    }
    qWarning().noquote() << "plug-in" << exporter.plugin->description() << "threw while it wrote" << path;
    return false;
}

} // namespace

FileExport::FileExport(const QList<IFilePlugin*>& plugins, QWidget* parent)
    : m_plugins(plugins),
      m_parent(parent)
{
}

void FileExport::refuse(const QString& path, const char* title, const char* text, const QString& cause)
{
    const QString file = QDir::toNativeSeparators(path);
    messages::critical(m_parent, QCoreApplication::translate("ProjectTabs", title),
                       QCoreApplication::translate("ProjectTabs", text),
                       cause.isEmpty() ? file : file + QStringLiteral(": ") + cause);
}

bool FileExport::run(const QString& path, const QString& filter, const ExportedMix& mix,
                     const ProgressCall& progress)
{
    if (!mix.layer || mix.layer->range().isEmpty()) {
        messages::critical(m_parent, QCoreApplication::translate("ProjectTabs", "Nothing to export"),
                           QCoreApplication::translate("ProjectTabs", "No data to export."));
        return false;
    }
    const fileformats::Exporter exporter = fileformats::exporter(m_plugins, path, filter);
    if (!exporter.plugin) {
        refuse(path, "Unsupported Extension", "The export format is not supported.", {});
        return false;
    }
    qInfo().noquote() << QStringLiteral("exporting: ") + QDir::toNativeSeparators(path);
    MixSource source(mix, progress);
    ReplacingFile file(path);
    const bool written = file.open() && callPlugin(exporter, file.temporaryPath(), source);
    if (source.cancelled())
        return false;
    if (written && file.commit())
        return true;
    const QString cause = source.messages().isEmpty() ? file.errorString() : source.messages();
    refuse(path, "Error Writing File", "The file you selected could not be written.", cause);
    return false;
}

#include "projectfiles/fileimport.h"

#include "plugins/ifileplugin.h"
#include "projectfiles/fileformats.h"
#include "projectfiles/markscale.h"
#include "projectfiles/samplefitter.h"
#include "ui/widgets/messages.h"

#include <algorithm>
#include <exception>
#include <memory>

#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QVariant>

namespace {

// Boxes, in the words that the user knows from every flow of the project files.
struct Words
{
    const char* title;
    const char* text;
};
constexpr Words unreadable{QT_TRANSLATE_NOOP("ProjectTabs", "Error Reading File"),
                           QT_TRANSLATE_NOOP("ProjectTabs", "The file you selected could not be read.")};
constexpr Words noData{QT_TRANSLATE_NOOP("ProjectTabs", "Error Reading File"),
                       QT_TRANSLATE_NOOP("ProjectTabs", "The file you selected contains no data.")};
constexpr Words badFormat{
    QT_TRANSLATE_NOOP("ProjectTabs", "Error Reading File"),
    QT_TRANSLATE_NOOP("ProjectTabs",
                      "The file you selected could not be properly read (invalid sampling format).")};
constexpr Words notStored{QT_TRANSLATE_NOOP("ProjectTabs", "Error Reading File"),
                          QT_TRANSLATE_NOOP("ProjectTabs", "The samples of the file could not be stored.")};
constexpr Words damaged{QT_TRANSLATE_NOOP("ProjectTabs", "Error Reading File"),
                        QT_TRANSLATE_NOOP("ProjectTabs", "The file you selected is damaged.")};
constexpr Words unknownFormat{
    QT_TRANSLATE_NOOP("ProjectTabs", "Unsupported Format"),
    QT_TRANSLATE_NOOP("ProjectTabs", "The file you selected could not be read (unsupported format).")};
constexpr Words unknownSuffix{QT_TRANSLATE_NOOP("ProjectTabs", "Unsupported Extension"),
                              QT_TRANSLATE_NOOP("ProjectTabs", "The file you selected is not supported.")};

constexpr int grownInterval = 100; // ms
// A compressed file may hold that many times its size in floats; a header that announces more lies.
constexpr int64_t maxExpansion = 64;

// Takes what a plug-in reads into a layer.
class LayerSink final : public IImportSink
{
public:
    LayerSink(const QString& path, int64_t start, ImportedFile& result,
              const FileImport::Callbacks& callbacks)
        : m_path(path),
          m_start(start),
          m_result(result),
          m_callbacks(callbacks)
    {
        m_sinceGrown.start();
    }

    bool begin(const ImportInfo& info) override;
    bool samples(const float* interleaved, int64_t frames) override;
    void markers(const MarkerList& markers) override { m_result.markers += markers; }
    void spectralMarkers(const SpectralMarkerList& markers) override { m_result.spectralMarkers += markers; }
    void metaData(const MetaDataList& tags) override
    {
        for (auto i = tags.constBegin(); i != tags.constEnd(); ++i)
            m_result.metaData.insert(i.key(), i.value());
    }
    bool progress(int64_t done, int64_t total) override
    {
        if (m_callbacks.progress && !m_callbacks.progress(done, total))
            m_cancelled = true;
        return !m_cancelled;
    }
    void message(const QString& text) override { m_messages << text; }

    // After the last sample. False when the disk had no room for what was still on its way.
    bool finish();

    [[nodiscard]] bool begun() const { return m_begun; }
    [[nodiscard]] bool cancelled() const { return m_cancelled; }
    [[nodiscard]] bool formatRefused() const { return m_formatRefused; }
    // Sample points of the file.
    [[nodiscard]] int64_t frames() const { return m_frames; }
    [[nodiscard]] bool storageFailed() const { return m_storageFailed; }
    [[nodiscard]] const QString& storageCause() const { return m_storageCause; }
    [[nodiscard]] QString messages() const { return m_messages.join(QLatin1Char('\n')); }

private:
    bool makeLayer();
    bool store(const float* interleaved, int64_t frames);

    const QString& m_path;
    int64_t m_start;
    ImportedFile& m_result;
    const FileImport::Callbacks& m_callbacks;
    QElapsedTimer m_sinceGrown;
    SamplingFormat m_format; // of the file
    int64_t m_expected = -1; // sample points that the file announces
    int64_t m_frames = 0;
    std::unique_ptr<SampleFitter> m_fitter; // null where the layer has the format of the file
    bool m_begun = false;
    bool m_formatRefused = false;
    bool m_cancelled = false;
    bool m_storageFailed = false;
    QString m_storageCause;
    QStringList m_messages;
};

bool LayerSink::begin(const ImportInfo& info)
{
    if (m_begun)
        return false;
    m_begun = true;
    m_result.bits = info.bits;
    m_result.isFloat = info.isFloat;
    m_format = info.format;
    m_expected = info.expectedFrames;
    if (!sanitizeFormat(m_format)) {
        m_formatRefused = true;
        return false;
    }
    // A file that says it is empty is not asked about; if it lies, its first samples come here again.
    return m_expected == 0 || makeLayer();
}

bool LayerSink::makeLayer()
{
    SamplingFormat format = m_format;
    if (m_callbacks.fit && !m_callbacks.fit(format)) {
        m_cancelled = true;
        return false;
    }
    if (format != m_format) {
        m_fitter = std::make_unique<SampleFitter>(m_format, format);
        if (!m_fitter->isUsable()) {
            m_formatRefused = true;
            return false;
        }
    }
    LayerHeader header;
    header.name = QFileInfo(m_path).completeBaseName();
    m_result.layer = Layer::create(format, header, m_start, false);
    // Only a hint: without room for it the import goes as far as the disk does.
    const int64_t possible = maxExpansion * QFileInfo(m_path).size() / m_format.frameBytes();
    const int64_t expected = m_fitter ? m_fitter->outputFrames(m_expected) : m_expected;
    if (m_expected > 0 && m_expected <= possible && !m_result.layer->reserve(expected))
        m_result.layer->takeStorageError();
    if (m_callbacks.started)
        m_callbacks.started(m_result.layer);
    return true;
}

bool LayerSink::samples(const float* interleaved, int64_t frames)
{
    if (!m_begun || m_formatRefused || m_cancelled || m_storageFailed)
        return false;
    if (frames < 1)
        return true;
    if (!m_result.layer && !makeLayer())
        return false;
    m_frames += frames;
    if (!m_fitter)
        return store(interleaved, frames);
    return m_fitter->take(interleaved, frames,
                          [this](const float* out, int64_t count) { return store(out, count); });
}

bool LayerSink::store(const float* interleaved, int64_t frames)
{
    if (!m_result.layer->append(interleaved, frames)) {
        m_storageFailed = true;
        m_result.layer->takeStorageError(&m_storageCause);
        return false;
    }
    if (m_callbacks.grown && m_sinceGrown.elapsed() >= grownInterval) {
        m_callbacks.grown(m_result.layer);
        m_sinceGrown.restart();
    }
    return true;
}

bool LayerSink::finish()
{
    if (!m_fitter)
        return true;
    scaleTime(m_result.markers, m_fitter->ratio());
    scaleTime(m_result.spectralMarkers, m_fitter->ratio());
    return m_fitter->finish([this](const float* out, int64_t count) { return store(out, count); });
}

// The plug-in's own code; what it throws is its failure.
bool callPlugin(IFilePlugin& plugin, const QString& path, IImportSink& sink)
{
    try {
        return plugin.importFile(path, sink);
    } catch (const std::exception& e) {
        sink.message(QString::fromLocal8Bit(e.what()));
    } catch (...) {
    }
    qWarning().noquote() << "plug-in" << plugin.description() << "threw while it read" << path;
    return false;
}

} // namespace

FileImport::FileImport(const QList<IFilePlugin*>& plugins, QWidget* parent, Source source)
    : m_plugins(plugins),
      m_parent(parent),
      m_source(source)
{
}

void FileImport::refuse(const char* title, const char* text, const QString& cause)
{
    const QString file = QDir::toNativeSeparators(m_path);
    messages::critical(m_parent, QCoreApplication::translate("ProjectTabs", title),
                       QCoreApplication::translate("ProjectTabs", text),
                       cause.isEmpty() ? file : file + QStringLiteral(": ") + cause);
}

// What can be told without a plug-in.
bool FileImport::check(const QString& path)
{
    const QFileInfo info(path);
    const auto say = [this](const Words& words, const char* cause) {
        refuse(words.title, words.text, QCoreApplication::translate("ProjectTabs", cause));
        return false;
    };
    if (!info.exists())
        return say(unreadable, QT_TRANSLATE_NOOP("ProjectTabs", "There is no such file."));
    if (info.isDir())
        return say(unreadable, QT_TRANSLATE_NOOP("ProjectTabs", "This is a folder."));
    if (!info.isFile())
        return say(unreadable, QT_TRANSLATE_NOOP("ProjectTabs", "This is not a regular file."));
    if (!info.isReadable())
        return say(unreadable, QT_TRANSLATE_NOOP("ProjectTabs", "Reading it is not permitted."));
    if (fileformats::importers(m_plugins, path).isEmpty())
        return say(m_source == Source::Dialog ? unknownFormat : unknownSuffix, "");
    if (info.size() == 0)
        return say(noData, "");
    return true;
}

bool FileImport::run(const QString& path, int64_t start, ImportedFile& result, const Callbacks& callbacks)
{
    m_path = path;
    result = {};
    const QString native = QDir::toNativeSeparators(path);
    qInfo().noquote() << QStringLiteral("importing: ") + native;
    qInfo().noquote() << QStringLiteral("session path: ") +
                             QCoreApplication::instance()->property("sessionpath").toString();
    if (!check(path))
        return false;
    qInfo().noquote() << QStringLiteral("providing path: ") + native;

    QString causes;
    const auto fail = [&](const Words& words, const QString& cause) {
        result = {};
        refuse(words.title, words.text, cause);
        return false;
    };
    for (IFilePlugin* plugin : fileformats::importers(m_plugins, path)) {
        LayerSink sink(path, start, result, callbacks);
        const bool good = callPlugin(*plugin, path, sink);
        if (sink.cancelled()) {
            result = {};
            return false;
        }
        if (!sink.begun()) { // not its contents; perhaps another plug-in's
            causes = sink.messages();
            continue;
        }
        if (sink.formatRefused())
            return fail(badFormat, sink.messages());
        if (!sink.storageFailed() && result.layer)
            static_cast<void>(sink.finish());
        if (sink.storageFailed())
            return fail(notStored, sink.storageCause());
        if (result.layer)
            result.layer->finishAppend();
        if (!result.layer || result.layer->isEmpty())
            return fail(noData, sink.messages());
        if (!good)
            return fail(unreadable, sink.messages());
        qInfo().noquote() << QStringLiteral("Read %1 samples, %2bits %3")
                                 .arg(sink.frames())
                                 .arg(result.bits)
                                 .arg(QLatin1String(result.isFloat ? "float" : "int"));
        if (callbacks.grown)
            callbacks.grown(result.layer);
        if (!sink.messages().isEmpty())
            messages::warning(m_parent, QCoreApplication::translate("ProjectTabs", damaged.title),
                              QCoreApplication::translate("ProjectTabs", damaged.text),
                              native + QStringLiteral(": ") + sink.messages());
        return true;
    }
    return fail(unknownFormat, causes);
}

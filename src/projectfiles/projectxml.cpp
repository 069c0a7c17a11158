#include "projectfiles/projectxml.h"

#include "base/platform.h"
#include "base/safefile.h"
#include "model/worksteps.h"
#include "projectfiles/projectfields.h"
#include "projectfiles/savedlayer.h"
#include "projectfiles/sidecars.h"
#include "projectfiles/xmllimits.h"

#include <algorithm>
#include <cstdio>

#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QVariant>
#include <QXmlStreamWriter>

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("ProjectWriter", text);
}

// Puts the manifest together in memory.
class ManifestWriter
{
public:
    ManifestWriter() : m_xml(&m_bytes) { m_xml.setAutoFormatting(true); }

    // `paths`: one for each layer.
    [[nodiscard]] bool write(const Project& project, const QList<SavedLayer>& layers,
                             const QStringList& paths);
    // For the session's: the next write() tells of parts of files.
    void setReference(uint64_t generation)
    {
        m_isReference = true;
        m_generation = generation;
    }
    [[nodiscard]] const QByteArray& bytes() const { return m_bytes; }
    // Texts or markers had to be left out.
    [[nodiscard]] bool isCut() const { return m_cut; }

private:
    void text(const char* name, const QString& value);
    void text(const char* name, const std::string& value) { text(name, QString::fromStdString(value)); }
    template<class Table, class T>
    void fields(const Table& table, const T& from)
    {
        for (const auto& row : table)
            text(row.attribute, projectfields::text(row.kind, row.get(from)));
    }
    template<class Table, class T>
    void element(const char* name, const Table& table, const T& from)
    {
        m_xml.writeEmptyElement(QLatin1String(name));
        fields(table, from);
    }
    void layer(const SavedLayer& layer, const QString& path);
    void reference(const SavedLayer& layer);
    void lists(const Project& project);
    [[nodiscard]] bool isFull();

    QByteArray m_bytes;
    QXmlStreamWriter m_xml;
    bool m_cut = false;
    bool m_isReference = false;
    uint64_t m_generation = 0;
};

// One character that XML forbids would make the whole manifest unreadable.
QString allowed(QString text)
{
    for (int i = 0; i < text.size(); ++i) {
        const ushort unit = text.at(i).unicode();
        const bool pair =
            QChar::isHighSurrogate(unit) && i + 1 < text.size() && text.at(i + 1).isLowSurrogate();
        if (pair)
            ++i;
        else if (QChar::isSurrogate(unit) || unit >= 0xfffe ||
                 (unit < 0x20 && unit != '\t' && unit != '\n' && unit != '\r'))
            text[i] = QChar(QChar::ReplacementCharacter);
    }
    return text;
}

void ManifestWriter::text(const char* name, const QString& value)
{
    if (value.size() > xmllimits::textUnits)
        m_cut = true;
    m_xml.writeAttribute(QLatin1String(name), allowed(value.left(xmllimits::textUnits)));
}

// Beyond this the readers would refuse the manifest.
bool ManifestWriter::isFull()
{
    if (m_bytes.size() < xmllimits::bytes - 2 * xmllimits::tagBytes)
        return false;
    m_cut = true;
    return true;
}

void ManifestWriter::layer(const SavedLayer& layer, const QString& path)
{
    m_xml.writeEmptyElement(layer.isGroup ? QStringLiteral("layergroup") : QStringLiteral("layer"));
    text("name", layer.header.name);
    text("enabled", QString::number(layer.header.enabled));
    text("solo", QString::number(layer.header.solo));
    text("polarity", QString::number(layer.header.polarity));
    text("multiplier", projectfields::text(layer.header.multiplier));
    text("color", QString::number(layer.header.color));
    fields(projectfields::format, layer.format);
    if (layer.isGroup) {
        text("open", QString::number(layer.isOpen));
        text("count", QString::number(layer.childCount));
    } else {
        text("start", QString::number(qlonglong(layer.span.start)));
        text("path", path);
        if (m_isReference && !path.isEmpty())
            reference(layer);
    }
}

void ManifestWriter::reference(const SavedLayer& layer)
{
    text("length", QString::number(qlonglong(layer.span.length)));
    if (layer.isStretch)
        text("first", QString::number(qlonglong(layer.first)));
}

void ManifestWriter::lists(const Project& project)
{
    const QMap<QString, QString> tags = inKeyOrder(project.metadata);
    for (auto i = tags.begin(); i != tags.end() && !isFull(); ++i) {
        m_xml.writeEmptyElement(QStringLiteral("metadata"));
        text("rifftag", i.key());
        text("content", i.value());
    }
    for (const Marker& marker : project.markerList()) {
        if (isFull())
            return;
        element("marker", projectfields::marker, marker);
        text("description", marker.description);
    }
    for (const SpectralMarker& marker : project.spectralMarkerList()) {
        if (isFull())
            return;
        element("spectralmarker", projectfields::spectralMarker, marker);
        text("description", marker.description);
    }
}

bool ManifestWriter::write(const Project& project, const QList<SavedLayer>& layers, const QStringList& paths)
{
    const SamplingFormat format = project.format();
    m_xml.writeStartDocument();
    m_xml.writeStartElement(QStringLiteral("mvxml"));
    text("version", QStringLiteral("1.0"));
    text("processid", QString::number(QCoreApplication::applicationPid()));
    text("software", writerName());
    const bool isEmbedded = QCoreApplication::instance()->property("embedded").toBool();
    text("embedded", isEmbedded ? QStringLiteral("true") : QStringLiteral("false"));
    if (m_generation > 0)
        text("generation", QString::number(qulonglong(m_generation)));
    m_xml.writeStartElement(QStringLiteral("project"));
    fields(projectfields::format, format);
    text("software", writerName());
    text("path", project.filePath());
    element("projectsettings", projectfields::format, format);
    element("displaysettings", projectfields::displaySettings, project);
    element("unitsettings", projectfields::unitSettings, project);
    element("transportsettings", projectfields::transportSettings, project);
    for (int i = 0; i < layers.size(); ++i)
        layer(layers[i], paths.value(i));
    lists(project);
    m_xml.writeEndElement();
    m_xml.writeEndElement();
    m_xml.writeEndDocument();
    return !m_xml.hasError();
}

// --- ways of storing it ----------------------------------------------------------------------------

// False with `words` when the new file is not known to be safe; the path may name it nevertheless.
bool saveSynced(SafeFile& file, const QByteArray& bytes, QString& words)
{
    if (file.open() && file.write(bytes) && file.commit())
        return true;
    words = file.errorString();
    return false;
}

// Without waiting for the disk. The name of the file that is renamed is always the same, so that a
// death in between leaves one file at most, which the next manifest takes.
bool saveUnsynced(const QString& path, const QByteArray& bytes, QString& words)
{
    const QString fresh = path + QLatin1String(".new");
    QFile file(fresh);
    const auto fail = [&](const QString& cause) {
        words = QDir::toNativeSeparators(path) + QLatin1String(": ") + cause;
        file.close();
        QFile::remove(fresh);
        return false;
    };
    QFile::remove(fresh);
    if (!platform::createPrivateFile(fresh))
        return fail(platform::lastSystemError());
    if (!file.open(QFile::WriteOnly | QFile::Unbuffered) || file.write(bytes) != bytes.size())
        return fail(file.errorString());
    file.close();
    if (std::rename(QFile::encodeName(fresh).constData(), QFile::encodeName(path).constData()) != 0)
        return fail(platform::lastSystemError());
    return true;
}

QString tooLong()
{
    return tr("This form holds no texts of more than %1 characters, and %2 MB without the samples. "
              "The other form of project file does.")
        .arg(QString::number(xmllimits::textUnits), QString::number(xmllimits::bytes >> 20));
}

SaveResult writeWithCopies(const Project& project, const QString& path, const Progress& progress)
{
    SaveResult result;
    const auto fail = [&result](const QString& words) {
        result.words = words;
        return result;
    };
    QString file;
    { // only to learn whether it can be written
        SafeFile target(path);
        if (!target.open())
            return fail(target.errorString());
        file = target.path();
    }
    const QList<SavedLayer> layers = savedLayers(project);
    Sidecars sidecars(file);
    int64_t total = 0;
    for (const SavedLayer& layer : layers)
        total += layer.bytes();
    WorkSteps steps(progress, total);
    if (!sidecars.check() || !sidecars.write(layers, steps)) {
        result.cancelled = sidecars.cancelled();
        return fail(result.cancelled ? QString() : sidecars.errorString());
    }
    ManifestWriter first, final;
    if (!first.write(project, layers, sidecars.firstPaths()) ||
        !final.write(project, layers, sidecars.paths()) || final.isCut())
        return fail(QDir::toNativeSeparators(file) + QLatin1String(": ") + tooLong());
    SafeFile firstFile(file), finalFile(file);
    const bool isSafe = saveSynced(firstFile, first.bytes(), result.words);
    if (firstFile.isReplaced())
        sidecars.keep();
    if (!isSafe)
        return result;
    // From here on the new project is saved, whatever fails.
    if (!sidecars.settle() || !saveSynced(finalFile, final.bytes(), result.words)) {
        qWarning().noquote() << "samples stay in a folder of another name:" << sidecars.errorString()
                             << result.words;
        result.words.clear();
    } else {
        sidecars.clean();
    }
    result.done = true;
    return result;
}

// Relative to the folder of the manifest.
QStringList sessionPaths(const QList<SavedLayer>& layers, const QString& manifest)
{
    const QDir folder(QFileInfo(manifest).absolutePath());
    QStringList paths;
    for (const SavedLayer& layer : layers)
        paths << (layer.file.isEmpty() ? QString()
                                       : folder.relativeFilePath(QDir::fromNativeSeparators(layer.file)));
    return paths;
}

} // namespace

SaveResult writeProjectXml(const Project& project, const QString& path, SampleFiles samples,
                           const Progress& progress, bool sync, uint64_t generation)
{
    if (samples == SampleFiles::Copy)
        return writeWithCopies(project, path, progress);
    SaveResult result;
    const QList<SavedLayer> layers = savedLayers(project);
    ManifestWriter manifest;
    manifest.setReference(generation);
    if (!manifest.write(project, layers, sessionPaths(layers, path))) {
        result.words = QDir::toNativeSeparators(path) + QLatin1String(": ") + tooLong();
        return result;
    }
    if (manifest.isCut())
        qWarning().noquote() << "long texts or many markers were left out of" << path;
    SafeFile file(path);
    result.done = sync ? saveSynced(file, manifest.bytes(), result.words)
                       : saveUnsynced(path, manifest.bytes(), result.words);
    return result;
}

#include "projectfiles/projectxml.h"

#include "base/safefile.h"
#include "projectfiles/projectfields.h"
#include "projectfiles/projectreader.h"
#include "projectfiles/xmllimits.h"

#include <algorithm>

#include <QCoreApplication>
#include <QDebug>
#include <QFile>
#include <QFileInfo>
#include <QXmlStreamReader>

namespace {

using projectfields::Kind;
using projectfields::Number;

constexpr int64_t maxPart = 1LL << 50; // sample points

ProjectReadResult refused(const QString& cause)
{
    return ProjectReader::refusal(
        QCoreApplication::translate("ProjectTabs", "Error Opening Project"),
        QCoreApplication::translate("ProjectTabs", "You can try recovering the project using the .pcm files"),
        cause);
}

class XmlReader
{
public:
    XmlReader(QIODevice& device, LayerFactory& factory, const Progress& progress)
        : m_device(device),
          m_factory(factory),
          m_reader(factory, progress, device.size())
    {
    }

    ProjectReadResult read();

private:
    // The next start tag at `depth` or, without one, false; whatever else comes is passed over.
    bool next(int depth);
    bool head();
    // False when the read must end.
    bool item();
    [[nodiscard]] QString text(const char* name);
    template<class Table, class T>
    void fields(const Table& table, T& to);
    int64_t whole(const char* name, int64_t fallback);
    ReadNode node();
    bool layer();
    void group();

    QIODevice& m_device;
    LayerFactory& m_factory;
    ProjectReader m_reader;
    QXmlStreamReader m_xml;
    QXmlStreamAttributes m_attributes;
    int m_depth = 0; // of elements that are open
};

bool XmlReader::next(int depth)
{
    while (!m_xml.atEnd()) {
        const QXmlStreamReader::TokenType token = m_xml.readNext();
        if (token == QXmlStreamReader::StartDocument) {
            const QString encoding = m_xml.documentEncoding().toString().toLower();
            if (!encoding.isEmpty() && encoding != QLatin1String("utf-8"))
                m_xml.raiseError(QStringLiteral("encoding"));
        } else if (token == QXmlStreamReader::DTD) {
            m_xml.raiseError(QStringLiteral("document type"));
        } else if (token == QXmlStreamReader::StartElement) {
            if (m_depth++ == depth) {
                m_attributes = m_xml.attributes();
                return true;
            }
        } else if (token == QXmlStreamReader::EndElement && --m_depth < depth) {
            return false;
        }
    }
    return false;
}

QString XmlReader::text(const char* name)
{
    const QStringRef value = m_attributes.value(QLatin1String(name));
    return value.left(m_reader.takeText(value.size())).toString();
}

template<class Table, class T>
void XmlReader::fields(const Table& table, T& to)
{
    for (const auto& row : table)
        if (const auto number =
                projectfields::parse(row.kind, m_attributes.value(QLatin1String(row.attribute)).toString()))
            row.set(to, *number);
}

int64_t XmlReader::whole(const char* name, int64_t fallback)
{
    const auto number = projectfields::parse(Kind::Long, m_attributes.value(QLatin1String(name)).toString());
    return number ? number->whole : fallback;
}

ReadNode XmlReader::node()
{
    ReadNode node(*m_reader.project());
    LayerHeader& header = node.header;
    header.name = text("name");
    header.enabled = whole("enabled", 1) != 0;
    header.solo = whole("solo", 0) != 0;
    header.polarity = whole("polarity", 1) < 0 ? -1 : 1;
    const auto gain =
        projectfields::parse(Kind::Single, m_attributes.value(QLatin1String("multiplier")).toString());
    header.multiplier = gain ? projectfields::gainFrom(gain->real) : 1.0f;
    header.color = uint32_t(whole("color", header.color));
    fields(projectfields::format, node.format);
    return node;
}

bool XmlReader::layer()
{
    ReadNode read = node();
    read.start = std::max<int64_t>(0, projectfields::positionFrom(whole("start", 0)));
    const auto part = [this](const char* name) -> std::optional<int64_t> {
        const auto number =
            projectfields::parse(Kind::Long, m_attributes.value(QLatin1String(name)).toString());
        return number ? std::optional(std::clamp(number->whole, -maxPart, maxPart)) : std::nullopt;
    };
    read.length = part("length");
    read.first = part("first");
    const QString path = text("path");
    return m_reader.addLayer(read, [&](const LayerFactory::Wanted& wanted) {
        // The samples are no part of the manifest, whose length is the total.
        return m_factory.fromPath(wanted, path, [this](int64_t) { return m_reader.steps().goesOn(); });
    });
}

void XmlReader::group()
{
    ReadNode read = node();
    read.isOpen = whole("open", 1) != 0;
    read.count = whole("count", 0);
    m_reader.addGroup(read);
}

bool XmlReader::item()
{
    Project& project = *m_reader.project();
    const QStringRef name = m_xml.name();
    if (name == QLatin1String("layer"))
        return layer();
    if (name == QLatin1String("layergroup")) {
        group();
    } else if (name == QLatin1String("displaysettings")) {
        fields(projectfields::displaySettings, project);
    } else if (name == QLatin1String("unitsettings")) {
        fields(projectfields::unitSettings, project);
    } else if (name == QLatin1String("transportsettings")) {
        fields(projectfields::transportSettings, project);
    } else if (name == QLatin1String("metadata")) {
        const QString tag = text("rifftag");
        m_reader.addTag(tag, text("content"));
    } else if (name == QLatin1String("marker")) {
        Marker marker;
        fields(projectfields::marker, marker);
        marker.description = text("description").toStdString();
        m_reader.addMarker(marker);
    } else if (name == QLatin1String("spectralmarker")) {
        SpectralMarker marker;
        fields(projectfields::spectralMarker, marker);
        marker.description = text("description").toStdString();
        m_reader.addSpectralMarker(marker);
    }
    return true;
}

// As far as the format and the path of the project.
bool XmlReader::head()
{
    if (!next(0) || m_xml.name() != QLatin1String("mvxml") ||
        m_attributes.value(QLatin1String("version")) != QLatin1String("1.0"))
        return false;
    if (!next(1) || m_xml.name() != QLatin1String("project"))
        return false;
    SamplingFormat format;
    fields(projectfields::format, format);
    if (!m_reader.begin(format))
        return false;
    m_reader.project()->setFilePath(text("path"));
    return true;
}

ProjectReadResult XmlReader::read()
{
    QString cause;
    if (!xmllimits::check(m_device, cause))
        return refused(cause);
    m_xml.setNamespaceProcessing(false);
    m_xml.setDevice(&m_device);
    if (!head())
        return refused(m_xml.hasError() ? m_xml.errorString() : QString());
    while (next(2))
        if (!item() || !m_reader.steps().movedTo(m_xml.characterOffset()))
            return m_reader.giveUp();
    if (m_xml.hasError())
        m_reader.damage().add(QCoreApplication::translate("ProjectReader", "Line %1 of the manifest: %2")
                                  .arg(m_xml.lineNumber())
                                  .arg(m_xml.errorString()));
    const bool isEmpty = !m_reader.hasNodes();
    if (isEmpty && m_xml.hasError())
        return refused(m_xml.errorString());
    return isEmpty ? ProjectReadResult() : m_reader.finish();
}

} // namespace

ProjectReadResult readProjectXml(QIODevice& device, LayerFactory& factory, const Progress& progress)
{
    return XmlReader(device, factory, progress).read();
}

ProjectReadResult readProjectXml(const QString& path, SampleFiles samples, const Progress& progress)
{
    const QString target = SafeFile::followLinks(path);
    QFile file(target);
    const bool isRegular = QFileInfo(target).isFile(); // opening a FIFO would wait for a writer
    if (!isRegular || !file.open(QFile::ReadOnly))
        return ProjectReader::named(
            refused(isRegular ? file.errorString()
                              : QCoreApplication::translate("ProjectReader", "this is not a regular file")),
            path);
    SessionLayers layers(QFileInfo(target).absolutePath(), samples);
    return ProjectReader::named(readProjectXml(file, layers, progress), path);
}

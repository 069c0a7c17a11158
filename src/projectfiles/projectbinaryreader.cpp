#include "projectfiles/projectbinary.h"

#include "projectfiles/projectfields.h"
#include "projectfiles/projectreader.h"
#include "projectfiles/recordids.h"

#include <algorithm>

#include <QCoreApplication>
#include <QDebug>
#include <QFile>
#include <QFileInfo>
#include <QtEndian>

namespace {

using projectfields::Field;
using projectfields::Kind;
using projectfields::Number;

constexpr int64_t magicBytes = 5;
constexpr int64_t headBytes = 12;

QString tr(const char* text)
{
    return QCoreApplication::translate("ProjectReader", text);
}

// Bytes of the device by position, through a window of it: records are small and lie side by side.
class Window
{
public:
    explicit Window(QIODevice& device) : m_device(device) {}

    // Null when they cannot be had. `count` is at most windowBytes.
    const char* at(int64_t position, int64_t count)
    {
        if (position < m_begin || position + count > m_begin + m_bytes.size()) {
            m_begin = position;
            m_bytes = m_device.seek(position) ? m_device.read(windowBytes) : QByteArray();
        }
        return count <= m_bytes.size() ? m_bytes.constData() + (position - m_begin) : nullptr;
    }
    QByteArray read(int64_t position, int64_t count)
    {
        if (count <= windowBytes) {
            const char* bytes = at(position, count);
            return bytes ? QByteArray(bytes, int(count)) : QByteArray();
        }
        return m_device.seek(position) ? m_device.read(count) : QByteArray();
    }
    QIODevice& device() { return m_device; }

private:
    static constexpr int64_t windowBytes = 65536;
    QIODevice& m_device;
    int64_t m_begin = 0;
    QByteArray m_bytes;
};

// Of a record: where its payload lies, as far as the record around it reaches.
struct Record
{
    uint32_t id = 0;
    int64_t begin = 0;
    int64_t end = 0;
    int64_t missing = 0; // bytes that the size tells beyond that, at most 2^62

    [[nodiscard]] int64_t size() const { return end - begin; }
};

template<class T>
T little(const char* bytes)
{
    return qFromLittleEndian<T>(bytes);
}

class BinaryReader
{
public:
    BinaryReader(QIODevice& device, LayerFactory& factory, const Progress& progress)
        : m_window(device),
          m_size(device.size()),
          m_factory(factory),
          m_reader(factory, progress, m_size)
    {
    }

    ProjectReadResult read();

private:
    enum class Going { On, End };

    // The records from `position` to `end`, as long as `take` answers On.
    template<class Take>
    Going walk(int64_t position, int64_t end, const Take& take);
    void tellCut();
    bool number(const Record& record, Kind kind, Number& number);
    bool single(const Record& record, float& value);
    QString text(const Record& record);
    template<class Table, class T>
    bool field(const Table& table, uint32_t offset, const Record& record, T& to);
    bool formatField(const Record& record, uint32_t shortId, uint32_t id, SamplingFormat& format);
    bool begun();
    Going top(const Record& record);
    Going projectRecord(const Record& record);
    void settings(const Record& record);
    void nodeField(const Record& record, ReadNode& node);
    Going layer(const Record& record);
    void group(const Record& record);
    void tag(const Record& record);
    void marker(const Record& record);
    void spectralMarker(const Record& record);

    Window m_window;
    int64_t m_size;
    LayerFactory& m_factory;
    ProjectReader m_reader;
    SamplingFormat m_format; // until the project is there
    SamplingFormat m_spare;  // that of the project settings, for what the exact fields do not tell
    bool m_refused = false;  // the format makes no sense
};

template<class Take>
BinaryReader::Going BinaryReader::walk(int64_t position, int64_t end, const Take& take)
{
    while (end - position >= headBytes) {
        const char* head = m_window.at(position, headBytes);
        if (!head)
            break;
        Record record;
        record.id = little<uint32_t>(head);
        const auto size = little<uint64_t>(head + 4);
        record.begin = position + headBytes;
        const auto room = uint64_t(end - record.begin);
        record.end = size < room ? record.begin + int64_t(size) : end;
        record.missing = size > room ? int64_t(std::min<uint64_t>(size - room, 1ULL << 62)) : 0;
        if (record.missing > 0)
            tellCut();
        if (take(record) == Going::End)
            return Going::End;
        position = record.end;
    }
    if (position < end)
        tellCut();
    return Going::On;
}

void BinaryReader::tellCut()
{
    m_reader.damage().add(tr("The file ends too early, or tells sizes that it does not have."));
}

bool BinaryReader::number(const Record& record, Kind kind, Number& number)
{
    const int64_t width = kind == Kind::Int ? 4 : 8;
    const char* bytes = record.size() < width ? nullptr : m_window.at(record.begin, width);
    if (!bytes) {
        tellCut();
        return false;
    }
    if (kind == Kind::Int)
        number.whole = little<int32_t>(bytes);
    else if (kind == Kind::Long || kind == Kind::Mask)
        number.whole = little<int64_t>(bytes);
    else
        number.real = little<double>(bytes);
    return true;
}

bool BinaryReader::single(const Record& record, float& value)
{
    const char* bytes = record.size() < 4 ? nullptr : m_window.at(record.begin, 4);
    if (bytes)
        value = little<float>(bytes);
    else
        tellCut();
    return bytes;
}

QString BinaryReader::text(const Record& record)
{
    if (record.size() & 1)
        tellCut();
    const int units = m_reader.takeText(record.size() / 2);
    const QByteArray bytes = m_window.read(record.begin, int64_t(units) * 2);
    QString text(bytes.size() / 2, Qt::Uninitialized);
    for (int i = 0; i < text.size(); ++i)
        text[i] = QChar(little<ushort>(bytes.constData() + 2 * i));
    return text;
}

template<class Table, class T>
bool BinaryReader::field(const Table& table, uint32_t offset, const Record& record, T& to)
{
    for (const auto& row : table) {
        Number value;
        if (row.id + offset != record.id)
            continue;
        if (number(record, row.kind, value))
            row.set(to, value);
        return true;
    }
    return false;
}

// True for a record that tells a part of a format.
bool BinaryReader::formatField(const Record& record, uint32_t shortId, uint32_t id, SamplingFormat& format)
{
    if (record.id >= shortId && record.id < shortId + 3) {
        static const int rows[] = {1, 3, 4};
        Number value;
        if (number(record, Kind::Int, value)) {
            value.real = double(value.whole);
            value.whole = record.id == shortId + 2 ? int64_t(uint32_t(value.whole)) : value.whole;
            projectfields::format[std::size_t(rows[record.id - shortId])].set(format, value);
        }
        return true;
    }
    return field(projectfields::format, id, record, format);
}

// --- top level -------------------------------------------------------------------------------------

ProjectReadResult BinaryReader::read()
{
    const QString unsupported = QCoreApplication::translate("ProjectTabs", "Unsupported");
    const char* bytes = m_window.at(0, magicBytes);
    const QByteArray magic = bytes ? QByteArray(bytes, int(magicBytes)) : QByteArray();
    if (magic == "MVP00" || magic == "MVP01")
        return ProjectReader::refusal(
            unsupported,
            QCoreApplication::translate(
                "ProjectTabs", "Obsolete encoding. Try resaving your project with an older version."));
    if (magic != "MVP02")
        return ProjectReader::refusal(unsupported,
                                      QCoreApplication::translate("ProjectTabs", "Unsupported file format."));
    const Going going = walk(magicBytes, m_size, [this](const Record& record) { return top(record); });
    if (m_refused || (going == Going::On && !begun()))
        return ProjectReader::refusal(
            QCoreApplication::translate("ProjectTabs", "Error Reading File"),
            QCoreApplication::translate(
                "ProjectTabs",
                "The file you selected could not be properly read (invalid sampling format)."));
    if (going == Going::End)
        return m_reader.giveUp();
    qInfo().noquote() << QStringLiteral("Read %1 layer(s))").arg(m_reader.layerCount());
    return m_reader.finish();
}

// Whether there is a project to put the record into: it is made when the first record needs it.
bool BinaryReader::begun()
{
    if (m_reader.project())
        return true;
    for (const Field<SamplingFormat>& row : projectfields::format) {
        const Number number = row.get(m_format);
        if (number.whole == 0 && !(number.real > 0))
            row.set(m_format, row.get(m_spare));
    }
    return m_reader.begin(m_format);
}

BinaryReader::Going BinaryReader::top(const Record& record)
{
    SamplingFormat ignored;
    SamplingFormat& format = m_reader.project() ? ignored : m_format;
    if (record.id == recordid::ProjectSettings) {
        walk(record.begin, record.end, [&](const Record& inner) {
            field(projectfields::format, 0, inner, m_spare);
            return Going::On;
        });
    } else if (!formatField(record, recordid::ShortFormat, recordid::Format, format) &&
               projectRecord(record) == Going::End) {
        return Going::End;
    }
    return m_reader.steps().movedTo(record.end) ? Going::On : Going::End;
}

BinaryReader::Going BinaryReader::projectRecord(const Record& record)
{
    static const uint32_t blocks[] = {recordid::DisplaySettings,   recordid::UnitSettings,
                                      recordid::TransportSettings, recordid::LayerBlock,
                                      recordid::GroupBlock,        recordid::MetaDataBlock,
                                      recordid::MarkerBlock,       recordid::SpectralMarkerBlock};
    if (std::find(std::begin(blocks), std::end(blocks), record.id) == std::end(blocks))
        return Going::On;
    if (!begun()) {
        m_refused = true;
        return Going::End;
    }
    switch (record.id) {
    case recordid::LayerBlock:
        return layer(record);
    case recordid::GroupBlock:
        group(record);
        break;
    case recordid::MetaDataBlock:
        tag(record);
        break;
    case recordid::MarkerBlock:
        marker(record);
        break;
    case recordid::SpectralMarkerBlock:
        spectralMarker(record);
        break;
    default:
        settings(record);
    }
    return Going::On;
}

void BinaryReader::settings(const Record& record)
{
    Project& project = *m_reader.project();
    walk(record.begin, record.end, [&](const Record& inner) {
        if (record.id == recordid::DisplaySettings)
            field(projectfields::displaySettings, 0, inner, project);
        else if (record.id == recordid::UnitSettings)
            field(projectfields::unitSettings, 0, inner, project);
        else
            field(projectfields::transportSettings, 0, inner, project);
        return Going::On;
    });
}

// --- layers and groups -----------------------------------------------------------------------------

void BinaryReader::nodeField(const Record& record, ReadNode& node)
{
    if (record.id == recordid::NodeName) {
        node.header.name = text(record);
        return;
    }
    if (record.id == recordid::NodeMultiplier) {
        float gain = 1;
        if (single(record, gain))
            node.header.multiplier = projectfields::gainFrom(double(gain));
        return;
    }
    if (formatField(record, recordid::NodeShortFormat, recordid::NodeFormat, node.format))
        return;
    const bool known = record.id <= recordid::NodeColor || record.id == recordid::GroupOpen ||
                       record.id == recordid::GroupCount;
    Number value;
    if (!known || !number(record, Kind::Int, value))
        return;
    switch (record.id) {
    case recordid::NodeEnabled:
        node.header.enabled = value.whole != 0;
        break;
    case recordid::NodePolarity:
        node.header.polarity = value.whole < 0 ? -1 : 1;
        break;
    case recordid::NodeSolo:
        node.header.solo = value.whole != 0;
        break;
    case recordid::NodeColor:
        node.header.color = uint32_t(value.whole);
        break;
    case recordid::GroupOpen:
        node.isOpen = value.whole != 0;
        break;
    default:
        node.count = value.whole;
    }
}

BinaryReader::Going BinaryReader::layer(const Record& record)
{
    const double rate = m_reader.project()->format().sampleRate;
    ReadNode node(*m_reader.project());
    Record samples;
    bool hasStart = false;
    walk(record.begin, record.end, [&](const Record& inner) {
        Number value;
        if (inner.id == recordid::LayerSamples) {
            if (samples.begin == 0)
                samples = inner;
        } else if (inner.id == recordid::LayerStart) {
            hasStart = number(inner, Kind::Long, value) || hasStart;
            node.start = hasStart ? projectfields::positionFrom(value.whole) : node.start;
        } else if (inner.id == recordid::LayerStartSeconds) {
            if (!hasStart && number(inner, Kind::Double, value))
                node.start = projectfields::positionFrom(value.real * rate);
        } else {
            nodeField(inner, node);
        }
        return Going::On;
    });
    node.start = std::max<int64_t>(0, node.start);
    if (samples.missing > 0 || (record.missing > 0 && samples.begin == 0))
        m_reader.damage().add(
            tr("\"%1\": %2 bytes of samples are missing.")
                .arg(node.header.name, QString::number(std::max(samples.missing, record.missing))));
    const auto source = [&](const LayerFactory::Wanted& wanted) {
        m_window.device().seek(samples.begin);
        return m_factory.fromStream(wanted, m_window.device(), samples.size(),
                                    [this](int64_t bytes) { return m_reader.steps().moved(bytes); });
    };
    return m_reader.addLayer(node, source) ? Going::On : Going::End;
}

void BinaryReader::group(const Record& record)
{
    ReadNode node(*m_reader.project());
    walk(record.begin, record.end, [&](const Record& inner) {
        nodeField(inner, node);
        return Going::On;
    });
    m_reader.addGroup(node);
}

// --- lists -----------------------------------------------------------------------------------------

void BinaryReader::tag(const Record& record)
{
    QString tag, content;
    walk(record.begin, record.end, [&](const Record& inner) {
        if (inner.id == recordid::MetaDataTag)
            tag = text(inner);
        else if (inner.id == recordid::MetaDataText)
            content = text(inner);
        return Going::On;
    });
    m_reader.addTag(tag, content);
}

void BinaryReader::marker(const Record& record)
{
    const double rate = m_reader.project()->format().sampleRate;
    Marker marker;
    bool exactPosition = false, exactLength = false;
    walk(record.begin, record.end, [&](const Record& inner) {
        const bool isExact = field(projectfields::marker, 0, inner, marker);
        exactPosition |= isExact && inner.id == projectfields::marker[1].id;
        exactLength |= isExact && inner.id == projectfields::marker[2].id;
        Number value;
        if (inner.id == recordid::MarkerText)
            marker.description = text(inner).toStdString();
        else if (inner.id == recordid::MarkerSeconds && !exactPosition && number(inner, Kind::Double, value))
            marker.position = projectfields::positionFrom(value.real * rate);
        else if (inner.id == recordid::MarkerSecondsLength && !exactLength &&
                 number(inner, Kind::Double, value))
            marker.length = std::max<int64_t>(0, projectfields::positionFrom(value.real * rate));
        return Going::On;
    });
    m_reader.addMarker(marker);
}

void BinaryReader::spectralMarker(const Record& record)
{
    SpectralMarker marker;
    walk(record.begin, record.end, [&](const Record& inner) {
        if (inner.id == recordid::SpectralMarkerText)
            marker.description = text(inner).toStdString();
        else
            field(projectfields::spectralMarker, 0, inner, marker);
        return Going::On;
    });
    m_reader.addSpectralMarker(marker);
}

} // namespace

ProjectReadResult readProjectBinary(QIODevice& device, LayerFactory& factory, const Progress& progress)
{
    return BinaryReader(device, factory, progress).read();
}

ProjectReadResult readProjectBinary(const QString& path, const Progress& progress)
{
    QFile file(path);
    const bool isRegular = QFileInfo(path).isFile(); // opening a FIFO would wait for a writer
    if (!isRegular || !file.open(QFile::ReadOnly | QFile::Unbuffered))
        return ProjectReader::named(
            ProjectReader::unreadable(isRegular ? file.errorString() : tr("this is not a regular file")),
            path);
    SessionLayers layers;
    return ProjectReader::named(readProjectBinary(file, layers, progress), path);
}

#include "projectfiles/projectbinary.h"

#include "base/safefile.h"
#include "model/worksteps.h"
#include "projectfiles/projectfields.h"
#include "projectfiles/recordids.h"
#include "projectfiles/savedlayer.h"

#include <cmath>
#include <utility>

#include <QCoreApplication>
#include <QtEndian>

namespace {

// Records side by side, in memory.
class Records
{
public:
    void block(uint32_t id, const QByteArray& payload) { block(id, payload, payload.size()); }
    // Of a record whose payload follows, or goes on, elsewhere.
    void block(uint32_t id, const QByteArray& payload, int64_t size)
    {
        put(id);
        put(uint64_t(size));
        m_bytes.append(payload);
    }
    void integer(uint32_t id, int32_t value) { number(id, value); }
    void unsignedInteger(uint32_t id, uint32_t value) { number(id, value); }
    void longInteger(uint32_t id, int64_t value) { number(id, value); }
    void real(uint32_t id, double value) { number(id, value); }
    void single(uint32_t id, float value) { number(id, value); }
    void text(uint32_t id, const QString& value)
    {
        put(id);
        put(uint64_t(value.size()) * 2);
        for (const QChar unit : value)
            put(unit.unicode());
    }
    void text(uint32_t id, const std::string& value) { text(id, QString::fromStdString(value)); }
    template<class T>
    void field(const projectfields::Field<T>& field, const T& from, uint32_t offset = 0)
    {
        const projectfields::Number number = field.get(from);
        switch (field.kind) {
        case projectfields::Kind::Int:
            return integer(offset + field.id, int32_t(number.whole));
        case projectfields::Kind::Long:
        case projectfields::Kind::Mask:
            return longInteger(offset + field.id, number.whole);
        case projectfields::Kind::Double:
        case projectfields::Kind::Single:
            return real(offset + field.id, number.real);
        }
    }
    template<class Table, class T>
    void fields(const Table& table, const T& from, uint32_t offset = 0)
    {
        for (const auto& row : table)
            field(row, from, offset);
    }

    [[nodiscard]] const QByteArray& bytes() const { return m_bytes; }
    QByteArray take() { return std::exchange(m_bytes, {}); }

private:
    template<class T>
    void put(T value)
    {
        const T little = qToLittleEndian(value);
        m_bytes.append(reinterpret_cast<const char*>(&little), sizeof(little));
    }
    template<class T>
    void number(uint32_t id, T value)
    {
        put(id);
        put(uint64_t(sizeof(value)));
        put(value);
    }

    QByteArray m_bytes;
};

// Rounded half away from zero; what does not fit is the largest that does.
int32_t roundedRate(double rate)
{
    constexpr double largest = 2147483647.0;
    return rate < largest ? int32_t(std::lround(rate)) : int32_t(largest);
}

void putShortFormat(Records& records, const SamplingFormat& format, uint32_t id)
{
    records.integer(id, roundedRate(format.sampleRate));
    records.integer(id + 1, format.channels);
    records.integer(id + 2, int32_t(uint32_t(format.channelsMask)));
}

void putNode(Records& records, const SavedLayer& layer)
{
    records.text(recordid::NodeName, layer.header.name);
    records.integer(recordid::NodeEnabled, layer.header.enabled);
    records.integer(recordid::NodePolarity, layer.header.polarity);
    records.single(recordid::NodeMultiplier, layer.header.multiplier);
    records.integer(recordid::NodeSolo, layer.header.solo);
    records.unsignedInteger(recordid::NodeColor, layer.header.color);
    putShortFormat(records, layer.format, recordid::NodeShortFormat);
    records.fields(projectfields::format, layer.format, recordid::NodeFormat);
}

QByteArray groupBlock(const SavedLayer& group)
{
    Records fields;
    putNode(fields, group);
    fields.integer(recordid::GroupOpen, group.isOpen);
    fields.integer(recordid::GroupCount, group.childCount);
    Records block;
    block.block(recordid::GroupBlock, fields.bytes());
    return block.take();
}

// All but the samples, which are to follow.
QByteArray layerBlock(const SavedLayer& layer)
{
    const int64_t sampleBytes = layer.bytes();
    Records fields;
    putNode(fields, layer);
    fields.real(recordid::LayerStartSeconds, double(layer.span.start) / layer.format.sampleRate);
    fields.longInteger(recordid::LayerStart, layer.span.start);
    fields.block(recordid::LayerSamples, {}, sampleBytes);
    Records block;
    block.block(recordid::LayerBlock, fields.bytes(), fields.bytes().size() + sampleBytes);
    return block.take();
}

QByteArray head(const Project& project)
{
    const SamplingFormat format = project.format();
    Records records;
    putShortFormat(records, format, recordid::ShortFormat);
    records.text(recordid::Writer, writerName());
    records.fields(projectfields::format, format, recordid::Format);
    const auto block = [&records](uint32_t id, const auto& table, const auto& from) {
        Records inner;
        inner.fields(table, from);
        records.block(id, inner.bytes());
    };
    block(recordid::ProjectSettings, projectfields::format, format);
    block(recordid::DisplaySettings, projectfields::displaySettings, project);
    block(recordid::UnitSettings, projectfields::unitSettings, project);
    block(recordid::TransportSettings, projectfields::transportSettings, project);
    return QByteArrayLiteral("MVP02") + records.bytes();
}

QByteArray metaDataBlock(const QString& tag, const QString& text)
{
    Records fields, block;
    fields.text(recordid::MetaDataTag, tag);
    fields.text(recordid::MetaDataText, text);
    block.block(recordid::MetaDataBlock, fields.bytes());
    return block.take();
}

QByteArray markerBlock(const Marker& marker, double rate)
{
    Records fields, block;
    fields.field(projectfields::marker[0], marker);
    fields.real(recordid::MarkerSeconds, double(marker.position) / rate);
    fields.real(recordid::MarkerSecondsLength, double(marker.length) / rate);
    fields.text(recordid::MarkerText, marker.description);
    fields.field(projectfields::marker[1], marker);
    fields.field(projectfields::marker[2], marker);
    block.block(recordid::MarkerBlock, fields.bytes());
    return block.take();
}

QByteArray spectralMarkerBlock(const SpectralMarker& marker)
{
    Records fields, block;
    fields.fields(projectfields::spectralMarker, marker);
    fields.text(recordid::SpectralMarkerText, marker.description);
    block.block(recordid::SpectralMarkerBlock, fields.bytes());
    return block.take();
}

bool writeLists(SafeFile& file, const Project& project)
{
    const QMap<QString, QString> tags = inKeyOrder(project.metadata);
    for (auto i = tags.begin(); i != tags.end(); ++i)
        if (!file.write(metaDataBlock(i.key(), i.value())))
            return false;
    for (const Marker& marker : project.markerList())
        if (!file.write(markerBlock(marker, project.format().sampleRate)))
            return false;
    for (const SpectralMarker& marker : project.spectralMarkerList())
        if (!file.write(spectralMarkerBlock(marker)))
            return false;
    return true;
}

} // namespace

SaveResult writeProjectBinary(const Project& project, const QString& path, const Progress& progress)
{
    SaveResult result;
    SafeFile file(path);
    const auto failed = [&] {
        result.words = file.errorString();
        return result;
    };
    if (!file.open() || !file.write(head(project)))
        return failed();
    const QList<SavedLayer> layers = savedLayers(project);
    int64_t total = 0;
    for (const SavedLayer& layer : layers)
        total += layer.bytes();
    WorkSteps steps(progress, total);
    for (const SavedLayer& layer : layers) {
        if (!file.write(layer.isGroup ? groupBlock(layer) : layerBlock(layer)))
            return failed();
        const bool whole = layer.forEachPiece([&](const char* data, int64_t bytes) {
            result.cancelled = !steps.moved(bytes);
            return !result.cancelled && file.write(data, bytes);
        });
        if (result.cancelled)
            return result;
        if (!whole)
            return failed();
    }
    if (!writeLists(file, project) || !file.commit())
        return failed();
    result.done = true;
    return result;
}

// What the fuzz targets of the project readers share.
#pragma once

#include "projectfiles/layerfactory.h"

#include <cstdint>
#include <cstdlib>
#include <vector>

#include <QBuffer>
#include <QCoreApplication>

// Layers without samples: nothing touches the disk.
class NoDisk final : public LayerFactory
{
public:
    [[nodiscard]] Made fromStream(const Wanted& wanted, QIODevice& device, int64_t bytes,
                                  const Step& step) override
    {
        std::vector<char> piece(4096);
        for (int64_t done = 0; done < bytes;) {
            const int64_t got = device.read(piece.data(), std::min(int64_t(piece.size()), bytes - done));
            if (got < 1)
                return {Layer::create(wanted.format, wanted.header, wanted.start), QStringLiteral("cut")};
            done += got;
            if (!step(got))
                return {};
        }
        return {Layer::create(wanted.format, wanted.header, wanted.start), {}};
    }
    [[nodiscard]] Made fromPath(const Wanted& wanted, const QString& path, const Step& step) override
    {
        if (!step(path.size()))
            return {};
        return {Layer::create(wanted.format, wanted.header, wanted.start), path};
    }
};

inline void require(bool holds)
{
    if (!holds)
        std::abort();
}

// What holds of every project that a reader gives away.
inline void check(const ProjectReadResult& read)
{
    if (!read.project) {
        require(read.damage.isEmpty());
        return;
    }
    const Project& project = *read.project;
    SamplingFormat format = project.format();
    require(sanitizeFormat(format) && format == project.format());
    require(project.transform.hop() > 0 && project.transform.bins() > 0);
    require(project.display.highDb > project.display.lowDb);
    require(project.display.maxWaveform > project.display.minWaveform);
    require(project.units.bpm > 0 && project.bar() > 0 && project.beat() > 0);
    require(project.modified == !read.damage.isEmpty());
    for (const ILayerPtr& node : project.layers()->children(ChildrenAll))
        require(node->format() == format && node->range().start >= 0);
}

// The input as a device.
template<class Use>
void withDevice(const uint8_t* data, std::size_t size, const Use& use)
{
    QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(data), int(size));
    QBuffer buffer(&bytes);
    buffer.open(QBuffer::ReadOnly);
    use(buffer);
}

// The application object, and a log that says nothing. Every target is one file that includes this.
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    static const QCoreApplication application(*argc, *argv);
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    return 0;
}

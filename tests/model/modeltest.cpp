#include "model/modeltest.h"

#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <csignal>
#include <numeric>

#include <sys/resource.h>

#include <QCoreApplication>
#include <QDir>
#include <QStorageInfo>
#include <QTemporaryDir>
#include <QVariant>

namespace modeltest {
namespace {

class Application : public testing::Environment
{
    void SetUp() override
    {
        static int count = 1;
        static char name[] = "model";
        static char* arguments[] = {name, nullptr};
        // A test with widgets has one already.
        if (!QCoreApplication::instance())
            m_application = std::make_unique<QCoreApplication>(count, arguments);
        // Thousands of little files: in memory where there is room for that, as a disk under load
        // takes milliseconds for each.
        constexpr qint64 enough = 1LL << 30;
        if (QStorageInfo(QStringLiteral("/dev/shm")).bytesAvailable() > enough)
            m_folder = std::make_unique<QTemporaryDir>(QStringLiteral("/dev/shm/morvane-test-XXXXXX"));
        const QString folder = m_folder && m_folder->isValid()
                                   ? m_folder->path()
                                   : testsupport::makeFolder(QStringLiteral("session"));
        QCoreApplication::instance()->setProperty("sessionpath", folder);
    }
    void TearDown() override
    {
        m_application.reset();
        m_folder.reset();
    }

    std::unique_ptr<QCoreApplication> m_application;
    std::unique_ptr<QTemporaryDir> m_folder;
};
[[maybe_unused]] const auto* application = testing::AddGlobalTestEnvironment(new Application);

} // namespace

QString sessionFolder()
{
    return QCoreApplication::instance()->property("sessionpath").toString();
}

QStringList sessionFiles()
{
    return QDir(sessionFolder()).entryList(QDir::Files);
}

SamplingFormat realFormat(int channels, double rate)
{
    return {SampleTypeReal, rate, ChannelsTypeAudio, channels, (1ULL << channels) - 1};
}

SamplingFormat complexFormat(int channels, double rate)
{
    return {SampleTypeComplex, rate, ChannelsTypeGeneric, channels, (1ULL << channels) - 1};
}

std::vector<float> ramp(int64_t count, float first)
{
    std::vector<float> values(static_cast<std::size_t>(count));
    std::iota(values.begin(), values.end(), first);
    return values;
}

LayerPtr layerOf(const SamplingFormat& format, const std::vector<float>& samples, int64_t start,
                 bool withBackup)
{
    const LayerPtr layer = Layer::create(format, {}, 0, false);
    const int64_t frames = int64_t(samples.size()) * 4 / format.frameBytes();
    EXPECT_TRUE(layer->write(samples.data(), {start, frames}, -1, true));
    if (withBackup)
        layer->startBackup();
    return layer;
}

std::vector<float> samplesOf(const ILayer& layer, Range range)
{
    std::vector<float> values(std::size_t(range.length * layer.format().frameBytes() / 4), -777.0f);
    layer.read(values.data(), range, -1, true);
    return values;
}

std::vector<float> dataOf(const Layer& layer)
{
    return samplesOf(layer, layer.dataRange());
}

DiskLimit::DiskLimit(int64_t bytes)
{
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit;
    getrlimit(RLIMIT_FSIZE, &limit);
    m_before = limit.rlim_cur;
    limit.rlim_cur = rlim_t(bytes);
    setrlimit(RLIMIT_FSIZE, &limit);
}

DiskLimit::~DiskLimit()
{
    rlimit limit;
    getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = m_before;
    setrlimit(RLIMIT_FSIZE, &limit);
}

} // namespace modeltest

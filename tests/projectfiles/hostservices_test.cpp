// Every entry of the host table.
#include "projectfiles/hostservices.h"

#include "model/modeltest.h"
#include "plugins/hosttable.h"
#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <vector>

#include <QFile>

namespace {

HostTable filled()
{
    HostTable table;
    fillHostTable(table);
    return table;
}

using Floats = std::vector<float>;
const Floats a{1, -2, 3.5f}, b{4, 8, -0.5f};

Floats run(const std::function<void(float*)>& operation, Floats start = Floats(3, 9))
{
    operation(start.data());
    return start;
}

} // namespace

TEST(HostServices, NoEntryIsEmpty)
{
    HostTable table = filled();
    auto** entries = reinterpret_cast<void**>(&table);
    for (int i = 0; i < 34; ++i)
        EXPECT_NE(entries[i], nullptr) << i;
}

TEST(HostServices, EntriesStandAtTheirNumbers)
{
    const HostTable table;
    const auto number = [&table](const auto& member) {
        return (reinterpret_cast<const char*>(&member) - reinterpret_cast<const char*>(&table)) /
               qptrdiff(sizeof(void*));
    };
    EXPECT_EQ(number(table.copy), 0);
    EXPECT_EQ(number(table.divide), 9);
    EXPECT_EQ(number(table.maxAbs), 11);
    EXPECT_EQ(number(table.minimum), 15);
    EXPECT_EQ(number(table.channelBits), 16);
    EXPECT_EQ(number(table.channelShortLabel), 22);
    EXPECT_EQ(number(table.reformatDialog), 23);
    EXPECT_EQ(number(table.createResampler), 26);
    EXPECT_EQ(number(table.writeWave), 28);
    EXPECT_EQ(number(table.readMarkers), 32);
    EXPECT_EQ(number(table.readMetaData), 33);
}

TEST(HostServices, VectorEntriesComputeWhatTheTableSays)
{
    const HostTable t = filled();
    const float *x = a.data(), *y = b.data();
    EXPECT_EQ(run([&](float* d) { t.copy(d, x, 3); }), a);
    EXPECT_EQ(run([&](float* d) { t.zero(d, 2); }), (Floats{0, 0, 9}));
    EXPECT_EQ(run([&](float* d) { t.multiply(d, x, y, 3); }), (Floats{4, -16, -1.75f}));
    EXPECT_EQ(run([&](float* d) { t.multiplyConstant(d, x, 0.5, 3); }), (Floats{0.5f, -1, 1.75f}));
    EXPECT_EQ(run([&](float* d) { t.add(d, x, y, 3); }), (Floats{5, 6, 3}));
    EXPECT_EQ(run([&](float* d) { t.addConstant(d, x, 1, 3); }), (Floats{2, -1, 4.5f}));
    EXPECT_EQ(run([&](float* d) { t.subtract(d, x, y, 3); }), (Floats{-3, -10, 4}));
    EXPECT_EQ(run([&](float* d) { t.multiplyAdd(d, x, y, 3); }), (Floats{13, -7, 7.25f}));
    EXPECT_EQ(run([&](float* d) { t.multiplyAddConstant(d, x, 2, 3); }), (Floats{11, 5, 16}));
    EXPECT_EQ(run([&](float* d) { t.divide(d, x, y, 3); }), (Floats{0.25f, -0.25f, -7}));
    EXPECT_EQ(run([&](float* d) { t.maximum(d, x, y, 3); }), (Floats{4, 8, 3.5f}));
    EXPECT_EQ(run([&](float* d) { t.minimum(d, x, y, 3); }), (Floats{1, -2, -0.5f}));
    EXPECT_EQ(run([&](float* d) { t.absolute(d, 3); }, a), (Floats{1, 2, 3.5f}));
    EXPECT_EQ(run([&](float* d) { t.squareRoot(d, 3); }, {4, -1, 0}), (Floats{2, 0, 0}));
    EXPECT_EQ(t.maxAbs(x, 3), 3.5f);
    EXPECT_EQ(t.sum(x, 3), 2.5f);
    EXPECT_EQ(t.maxAbs(x, 0), 0);
    EXPECT_EQ(t.sum(x, 0), 0);
    EXPECT_EQ(run([&](float* d) { t.add(d, x, y, -1); }), Floats(3, 9));
}

TEST(HostServices, ChannelEntriesKnowMasksAndLabels)
{
    const HostTable t = filled();
    EXPECT_EQ(t.channelBits(ChannelsTypeEcg).size(), 20);
    EXPECT_EQ(t.channelCount(0x8000000000000003), 3);
    const uint64_t usual[] = {4, 3, 7, 51, 1543, 1551, 1591, 1599, 22071, 22079, 185911, 185919};
    for (int n = 1; n <= 12; ++n)
        EXPECT_EQ(t.defaultChannelsMask(ChannelsTypeAudio, n), usual[n - 1]) << n;
    EXPECT_EQ(t.defaultChannelsMask(ChannelsTypeAudio, 13), 0x1fffu);
    EXPECT_EQ(t.defaultChannelsMask(ChannelsTypeEcg, 2), 3u);
    EXPECT_EQ(t.channelsMaskFromSigns(QByteArray("x-1 0+\0y", 8)), 1u | 4u | 32u | 128u);
    EXPECT_EQ(t.channelsMaskFromSigns(QByteArray(70, '1')), ~uint64_t(0));
    EXPECT_EQ(t.channelBit(51, 2), 16u);
    EXPECT_EQ(t.channelBit(51, 4), 0u);
    EXPECT_EQ(t.channelLabel(ChannelsTypeAudio, 51, 2), QStringLiteral("Rear Left"));
    EXPECT_EQ(t.channelShortLabel(ChannelsTypeEcg, 3, 1), QStringLiteral("II"));
}

TEST(HostServices, Entry24KnowsTheUsualGains)
{
    const HostTable t = filled();
    const Matrix toStereo = t.defaultChannelMatrix(4, 3); // centre to left and right
    EXPECT_EQ(toStereo.outputs, 2);
    EXPECT_EQ(toStereo.inputs, 1);
    EXPECT_EQ(toStereo.data[0], 1);
    EXPECT_EQ(toStereo.data[1], 1);
    const Matrix toMono = t.defaultChannelMatrix(3, 4);
    EXPECT_EQ(toMono.data[0], 0.5f);
    EXPECT_EQ(toMono.data[1], 0.5f);
    EXPECT_TRUE(t.defaultChannelMatrix(0, 3).data.isEmpty());
    EXPECT_TRUE(t.defaultChannelMatrix(3, 0).data.isEmpty());
}

TEST(HostServices, Entries26And27MakeConvertersThatTheCallerOwns)
{
    const HostTable t = filled();
    const SamplingFormat mono{SampleTypeReal, 44100, ChannelsTypeAudio, 1, 4};
    const SamplingFormat stereo{SampleTypeReal, 48000, ChannelsTypeAudio, 2, 3};
    const std::unique_ptr<IResampler> converter(t.createResampler(mono, stereo, Matrix()));
    ASSERT_NE(converter, nullptr);
    EXPECT_EQ(converter->inputFormat(), mono);
    EXPECT_EQ(converter->outputFormat(), stereo);
    Floats out(2 * 2000);
    EXPECT_EQ(converter->processAll(Floats(1000, 0.5f).data(), 1000, out.data(), 0), 1088);
    EXPECT_NEAR(out[2 * 544], 0.5f, 1e-3);
    EXPECT_NEAR(out[2 * 544 + 1], 0.5f, 1e-3);
    const std::unique_ptr<IResampler> plain(t.createPlainResampler(stereo));
    ASSERT_NE(plain, nullptr);
    EXPECT_EQ(plain->latency(), 0);
    Floats copied(4);
    EXPECT_EQ(plain->process(Floats{1, 2, 3, 4}.data(), 2, copied.data(), 0), 2);
    EXPECT_EQ(copied, (Floats{1, 2, 3, 4}));
    Matrix swapped(2, 2);
    swapped.data[0] = swapped.data[3] = 0;
    swapped.data[1] = swapped.data[2] = 1;
    plain->setMatrix(swapped);
    EXPECT_EQ(plain->process(Floats{1, 2, 3, 4}.data(), 2, copied.data(), 0), 2);
    EXPECT_EQ(copied, (Floats{2, 1, 4, 3}));

    SamplingFormat unset;
    SamplingFormat far = stereo;
    far.sampleRate = 1e12;
    EXPECT_EQ(t.createResampler(mono, unset, Matrix()), nullptr);
    EXPECT_EQ(t.createResampler(mono, far, Matrix()), nullptr);
    EXPECT_EQ(t.createPlainResampler(unset), nullptr);
}

TEST(HostServices, Entries28To33TakeALayerToAWavFileAndBack)
{
    const HostTable t = filled();
    const QString path = testsupport::makeFolder() + QStringLiteral("/x.wav");
    const LayerPtr layer = modeltest::layerOf(modeltest::realFormat(2, 8000), {0.5f, -0.5f, 0.25f, 1}, 9);
    const MarkerList markers{{1, 1, 0, "m"}};
    const MetaDataList tags{{QStringLiteral("INAM"), QStringLiteral("n")}};
    ASSERT_TRUE(t.writeWave(path, layer, 1, 32));
    ASSERT_TRUE(t.appendMarkers(path, markers));
    ASSERT_TRUE(t.appendMetaData(path, tags));
    const LayerPtr back = Layer::create(layer->format());
    ASSERT_TRUE(t.readWave(path, back, 20));
    EXPECT_EQ(back->dataRange(), (Range{20, 2}));
    EXPECT_EQ(modeltest::dataOf(*back), (Floats{0.5f, -0.5f, 0.25f, 1}));
    MarkerList readMarkers;
    MetaDataList readTags;
    EXPECT_TRUE(t.readMarkers(path, readMarkers));
    EXPECT_TRUE(t.readMetaData(path, readTags));
    EXPECT_EQ(readMarkers, markers);
    EXPECT_EQ(readTags, tags);
}

TEST(HostServices, Entries28To31AnswerFalseAndTellTheLogWhy)
{
    const HostTable t = filled();
    const QString path = testsupport::makeFolder() + QStringLiteral("/none/x.wav");
    const LayerPtr layer = Layer::create(modeltest::realFormat());
    for (int i = 0; i < 4; ++i)
        testsupport::expectWarning(path);
    EXPECT_FALSE(t.writeWave(path, layer, 1, 16));
    EXPECT_FALSE(t.appendMarkers(path, {}));
    EXPECT_FALSE(t.appendMetaData(path, {}));
    EXPECT_FALSE(t.readWave(path, layer, 0));
    EXPECT_FALSE(t.writeWave(path, nullptr, 1, 16));
    EXPECT_FALSE(t.readWave(path, nullptr, 0));
}

TEST(HostServices, Entries32And33Read)
{
    const HostTable t = filled();
    const QString path = testsupport::makeFolder() + QStringLiteral("/x.wav");
    QFile file(path);
    ASSERT_TRUE(file.open(QFile::WriteOnly));
    file.write(QByteArray("RIFF\0\0\0\0WAVEcue \x1c\0\0\0\1\0\0\0\5\0\0\0\0\0\0\0data\0\0\0\0\0\0\0\0\7\0\0\0"
                          "LIST\x10\0\0\0INFOINAM\3\0\0\0ab\0\0",
                          12 + 36 + 24));
    file.close();
    MarkerList markers;
    MetaDataList tags;
    EXPECT_TRUE(t.readMarkers(path, markers));
    EXPECT_EQ(markers, (MarkerList{{5, 7, 0, ""}}));
    EXPECT_TRUE(t.readMetaData(path, tags));
    EXPECT_EQ(tags.value(QStringLiteral("INAM")), QStringLiteral("ab"));
    EXPECT_FALSE(t.readMarkers(path + QStringLiteral("x"), markers));
}

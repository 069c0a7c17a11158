// Layers on a disk without room: nothing is written by halves, nothing is lost, and it is told.
#include "model/layer.h"

#include "model/layergroup.h"
#include "model/modeltest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QFileInfo>
#include <QVariant>

using namespace modeltest;
using testing::ElementsAreArray;

namespace {

TEST(LayerStorage, GrowthThatFailsWritesNothingAndIsTold)
{
    const LayerPtr layer = layerOf(realFormat(), ramp(1000));
    const std::vector<float> in = ramp(1000, 5000);
    const int64_t stamp = layer->contentTime();
    {
        const DiskLimit limit(6000);
        EXPECT_FALSE(layer->write(in.data(), {900, 1000}, 0, true));
        EXPECT_TRUE(layer->write(in.data(), {900, 0}, 0, true));
    }
    EXPECT_THAT(dataOf(*layer), ElementsAreArray(ramp(1000)));
    EXPECT_EQ(layer->contentTime(), stamp);
    EXPECT_EQ(QFileInfo(layer->filePath()).size(), 4000);
    QString words;
    EXPECT_TRUE(layer->takeStorageError(&words));
    EXPECT_TRUE(words.contains(sessionFolder())) << words.toStdString();
    EXPECT_FALSE(layer->takeStorageError(&words));
    EXPECT_TRUE(layer->write(in.data(), {900, 1000}, 0, true));
    EXPECT_EQ(layer->range().length, 1900);
}

TEST(LayerStorage, BackupGrowsBeforeAnythingIsWritten)
{
    const LayerPtr layer = layerOf(realFormat(), ramp(200000));
    const float value = -1;
    {
        const DiskLimit limit(65536 * 4 - 1); // a block of the backup does not fit
        EXPECT_FALSE(layer->write(&value, {100, 1}, 0, true));
        layer->moveBy(10);
        layer->insertTime({0, 10});
        layer->deleteTime({100, 10});
        layer->cropTo({100, 10});
        layer->setRange({100, 10});
        layer->clear();
        layer->replaceBy(layerOf(realFormat(), {1.0f}), true);
    }
    EXPECT_TRUE(layer->takeStorageError());
    EXPECT_EQ(layer->range(), (Range{0, 200000}));
    EXPECT_EQ(dataOf(*layer), ramp(200000));
    EXPECT_TRUE(layer->backup()->isEmpty());
    EXPECT_TRUE(layer->changedRange().isEmpty());
    EXPECT_TRUE(layer->write(&value, {100, 1}, 0, true));
}

TEST(LayerStorage, BackupThatCannotGrowKeepsWhatItHas)
{
    const LayerPtr layer = layerOf(realFormat(), ramp(400000));
    const float value = -1;
    EXPECT_TRUE(layer->write(&value, {4 * 65536 + 1, 1}, 0, true));
    for (const int64_t position : {5 * 65536, 3 * 65536}) { // behind, in front
        const DiskLimit limit(65536 * 4);
        EXPECT_FALSE(layer->write(&value, {position, 1}, 0, true));
    }
    EXPECT_EQ(layer->backup()->dataRange(), (Range{4 * 65536, 65536}));
    layer->resetToBackup();
    EXPECT_EQ(dataOf(*layer), ramp(400000));
}

TEST(LayerStorage, RecordThatHasNoRoomLeavesTheActionToBeTakenBack)
{
    const LayerPtr layer = Layer::create(realFormat());
    const std::vector<float> in = ramp(1000);
    EXPECT_TRUE(layer->write(in.data(), {0, 1000}, 0, true));
    {
        const DiskLimit limit(100);
        EXPECT_TRUE(layer->commitRecord().isEmpty());
    }
    EXPECT_TRUE(layer->takeStorageError());
    EXPECT_TRUE(layer->records().isEmpty());
    EXPECT_EQ(layer->changedRange(), (Range{0, 1000}));
    const LayerRecord record = layer->commitRecord(); // there is room again
    EXPECT_FALSE(record.isEmpty());
    layer->applyRecord(record, 0);
    EXPECT_TRUE(layer->isEmpty());
}

TEST(LayerStorage, ActionIsTakenBackWithoutRoomWhenTheBackupHoldsAll)
{
    const LayerPtr layer = layerOf(complexFormat(2), ramp(4 * 1000), 7);
    const std::vector<float> original = dataOf(*layer);
    layer->deleteTime({0, 500});
    EXPECT_EQ(layer->range(), (Range{0, 507}));
    {
        const DiskLimit limit(0);
        layer->resetToBackup();
    }
    EXPECT_FALSE(layer->takeStorageError());
    EXPECT_EQ(layer->range(), (Range{7, 1000}));
    EXPECT_EQ(dataOf(*layer), original);
    EXPECT_TRUE(layer->backup()->isEmpty());
    EXPECT_EQ(layer->backupRange(), (Range{7, 1000}));
}

TEST(LayerStorage, UndoThatHasNoRoomMayBeTriedAgain)
{
    const LayerPtr layer = layerOf(realFormat(), ramp(1000));
    layer->cropTo({0, 10});
    const LayerRecord record = layer->commitRecord();
    {
        const DiskLimit limit(100);
        layer->applyRecord(record, 0);
    }
    EXPECT_TRUE(layer->takeStorageError());
    EXPECT_EQ(layer->range(), (Range{0, 10}));
    EXPECT_EQ(layer->records().size(), 1);
    layer->applyRecord(record, 0);
    EXPECT_THAT(dataOf(*layer), ElementsAreArray(ramp(1000)));
    EXPECT_TRUE(layer->records().isEmpty());
}

TEST(LayerStorage, CopyWithoutRoomIsNull)
{
    const LayerPtr layer = layerOf(realFormat(), ramp(1000));
    const LayerGroupPtr group = LayerGroup::create(realFormat());
    ASSERT_TRUE(group->appendChild(Layer::create(realFormat())));
    ASSERT_TRUE(group->appendChild(layer));
    const QStringList files = sessionFiles();
    {
        const DiskLimit limit(100);
        EXPECT_EQ(layer->clone(true), nullptr);
        EXPECT_EQ(group->clone(true), nullptr);
        Range range{0, 500};
        EXPECT_EQ(group->copy(range, false), nullptr);
    }
    EXPECT_TRUE(layer->takeStorageError());
    EXPECT_TRUE(group->takeStorageError());
    EXPECT_EQ(sessionFiles(), files);
}

TEST(LayerStorage, AppendStopsWhereTheRoomEndsAndKeepsWhatCame)
{
    const LayerPtr layer = Layer::create(realFormat());
    const std::vector<float> in = ramp(10000);
    {
        const DiskLimit limit(100000); // less than the first step ahead: then only what is needed
        EXPECT_FALSE(layer->reserve(30000));
        EXPECT_TRUE(layer->takeStorageError());
        EXPECT_TRUE(layer->append(in.data(), 10000));
        EXPECT_TRUE(layer->append(in.data(), 10000));
        EXPECT_FALSE(layer->append(in.data(), 10000));
    }
    EXPECT_TRUE(layer->takeStorageError());
    EXPECT_EQ(layer->range(), (Range{0, 20000}));
    EXPECT_EQ(QFileInfo(layer->filePath()).size(), 80000);
    EXPECT_EQ(samplesOf(*layer, {10000, 10000}), in);
}

TEST(LayerStorage, WithoutASessionFolderNothingCanBeStored)
{
    QCoreApplication* application = QCoreApplication::instance();
    const QVariant folder = application->property("sessionpath");
    application->setProperty("sessionpath", QVariant());
    const LayerPtr layer = Layer::create(realFormat());
    const float value = 1;
    EXPECT_FALSE(layer->write(&value, {0, 1}, 0, true));
    EXPECT_TRUE(layer->takeStorageError());
    EXPECT_FALSE(layer->append(&value, 1));
    EXPECT_TRUE(layer->isEmpty());
    application->setProperty("sessionpath", folder);
    EXPECT_TRUE(layer->write(&value, {0, 1}, 0, true));
}

} // namespace

// Documents on a disk that fills up in the midst of an edit. Needs root.
#include "base/faults.h"
#include "base/sessionfile.h"
#include "model/historysession.h"
#include "model/timechange.h"
#include "support/smalldisk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include <QDir>

using namespace modeltest;
using testing::ElementsAre;
using testsupport::SmallDisk;

namespace {

constexpr int64_t frames = 2000000; // 8 MB

std::vector<float> noise()
{
    std::mt19937 random(3);
    std::vector<float> values(frames);
    for (float& value : values)
        value = float(int32_t(random())) * 0x1p-32f;
    return values;
}

class LayerLabTest : public testing::Test
{
protected:
    LayerLabTest()
    {
        installFaultHandlers();
        setProperty("sessionpath", disk.path);
    }
    ~LayerLabTest() override { setProperty("sessionpath", before); }

    // Leaves that many bytes above what session files let alone.
    void fill(int64_t left) { disk.fill(SessionFile::headroomBytes + left); }
    void makeRoom() { EXPECT_TRUE(QFile::remove(disk.path + QStringLiteral("/filler"))); }
    [[nodiscard]] QStringList files() const
    {
        QStringList names = QDir(disk.path).entryList(QDir::Files);
        names.removeAll(QStringLiteral("filler"));
        return names;
    }

    const QString before = sessionFolder();
    const SmallDisk disk;
};

TEST_F(LayerLabTest, AnActionOnADiskThatFillsUpIsTakenBackWhole)
{
    const std::vector<float> original = noise();
    {
        Session s;
        const LayerPtr layer = s.ground(original);
        s.write(layer, 5, {7});
        s.record("kept");
        std::vector<float> expected = original;
        expected[5] = 7;
        // The first block of the next action has room, the second one has not.
        s.write(layer, 300000, {8});
        fill(100000);
        const float value = 9;
        EXPECT_FALSE(layer->write(&value, {900000, 1}, 0, true));
        Session::tell(layer);
        s.record("lost");
        ASSERT_EQ(s.words.size(), 1);
        EXPECT_TRUE(s.words[0].contains(disk.path)) << s.words[0].toStdString();
        EXPECT_THAT(s.rows(), ElementsAre("New", "kept"));
        EXPECT_TRUE(dataOf(*layer) == expected);
        fill(100000); // what the action had kept is free again
        EXPECT_FALSE(layer->write(&value, {900000, 1}, 0, true));
        Session::tell(layer);
        s.record("lost too");
        EXPECT_TRUE(dataOf(*layer) == expected);
        // What needs no room goes on.
        EXPECT_EQ(s.history.undo(), History::Result::Done);
        EXPECT_TRUE(dataOf(*layer) == original);
        EXPECT_EQ(s.history.redo(), History::Result::Done);
        EXPECT_TRUE(dataOf(*layer) == expected);
        makeRoom();
        s.write(layer, 900000, {9});
        s.record("again");
        EXPECT_THAT(s.rows(), ElementsAre("New", "kept", "again"));
        s.history.moveTo(0);
        EXPECT_TRUE(dataOf(*layer) == original);
    }
    EXPECT_THAT(files(), testing::IsEmpty());
}

// As a session whose manifest on the disk still names the files of before.
class HoldsFiles : public ISessionFileKeeper
{
public:
    HoldsFiles() { SessionFile::setKeeper(this); }
    ~HoldsFiles() override { SessionFile::setKeeper(nullptr); }
    void retire(std::unique_ptr<RetiredFile> file) override { m_files.push_back(std::move(file)); }
    void reclaim() override {}

private:
    std::vector<std::unique_ptr<RetiredFile>> m_files;
};

TEST_F(LayerLabTest, AChangeOfTimeIsAStepOfAllLayersOrNothingWhateverRoomThereIs)
{
    constexpr int64_t length = 400000; // 1.6 MB
    const std::vector<float> first = ramp(length), second = ramp(length, 5);
    int done = 0, refused = 0;
    for (const TimeChangeKind kind : {TimeChangeKind::Insert, TimeChangeKind::Delete, TimeChangeKind::Crop})
        for (int64_t left = 0; left < (11 << 20); left += 400000) {
            SCOPED_TRACE(testing::Message() << int(kind) << " with " << left << " bytes");
            {
                const HoldsFiles held;
                Session s;
                const LayerPtr a = s.ground(first), b = s.ground(second);
                fill(left);
                TimeChange change(kind, {150000, 100000});
                change.add(s.tree());
                const bool changed = change.run({});
                int boxes = 0;
                if (!changed) {
                    ASSERT_NE(change.withoutRoom(), nullptr);
                    boxes += change.withoutRoom()->takeStorageError() ? 1 : 0;
                }
                const std::vector<float> afterA = dataOf(*a), afterB = dataOf(*b);
                if (changed) {
                    Session::tell(a);
                    Session::tell(b);
                    s.record("time");
                }
                boxes += s.words.size();
                makeRoom();
                if (boxes == 0) {
                    ++done;
                    EXPECT_THAT(s.rows(), ElementsAre("New", "time"));
                    EXPECT_FALSE(afterA == first || afterB == second);
                    EXPECT_EQ(s.history.undo(), History::Result::Done);
                } else {
                    ++refused;
                    EXPECT_EQ(boxes, 1);
                    EXPECT_THAT(s.rows(), ElementsAre("New"));
                }
                EXPECT_TRUE(dataOf(*a) == first);
                EXPECT_TRUE(dataOf(*b) == second);
                if (boxes == 0) {
                    EXPECT_EQ(s.history.redo(), History::Result::Done);
                    EXPECT_TRUE(dataOf(*a) == afterA);
                    EXPECT_TRUE(dataOf(*b) == afterB);
                }
            }
            EXPECT_THAT(files(), testing::IsEmpty());
        }
    EXPECT_GT(refused, 15);
    EXPECT_GT(done, 15);
}

TEST_F(LayerLabTest, AConversionWithoutRoomLeavesTheTreeAndNoFile)
{
    Session s;
    const std::vector<float> original = noise();
    const LayerPtr layer = s.ground(original);
    const QStringList held = files();
    fill(4 << 20); // half of what is needed
    QString words;
    EXPECT_FALSE(s.project().root().changeFormat(realFormat(1, 44100), Matrix(1, 1), {}, &words));
    EXPECT_TRUE(words.contains(disk.path)) << words.toStdString();
    layer->stretch(1.5);
    EXPECT_TRUE(layer->takeStorageError());
    EXPECT_EQ(layer->format(), realFormat());
    EXPECT_TRUE(dataOf(*layer) == original);
    EXPECT_EQ(files(), held);
    makeRoom();
    EXPECT_TRUE(s.project().root().changeFormat(realFormat(1, 44100), Matrix(1, 1), {}, &words));
    EXPECT_EQ(layer->dataRange().length, std::llround(frames * 44100.0 / 48000));
    EXPECT_EQ(files().size(), 1);
}

TEST_F(LayerLabTest, ARecordingKeepsWhatCameUntilTheDiskWasFull)
{
    const LayerPtr layer = Layer::create(realFormat());
    const std::vector<float> in = noise();
    int64_t taken = 0;
    while (taken < 100 * frames && layer->append(in.data(), 10000))
        taken += 10000;
    EXPECT_TRUE(layer->takeStorageError());
    EXPECT_GT(taken, 5000000);
    EXPECT_GE(disk.freeBytes(), SessionFile::headroomBytes);
    EXPECT_EQ(layer->dataRange(), (Range{0, taken}));
    EXPECT_EQ(samplesOf(*layer, {taken - 10000, 10000}), std::vector<float>(in.begin(), in.begin() + 10000));
}

} // namespace

// Copies and merges of long layers in steps.
#include "model/layercopy.h"

#include "model/layerregion.h"
#include "model/merge.h"
#include "model/modeltest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <numeric>

using namespace modeltest;

namespace {

// Larger than what is moved between two looks at the progress.
constexpr int64_t frames = 3000000;

struct Tree
{
    Tree()
    {
        const SamplingFormat format = realFormat();
        layers = {layerOf(format, ramp(frames)), layerOf(format, ramp(1000, 7), 500)};
        EXPECT_TRUE(root.project()->appendChild(layers[0]));
        EXPECT_TRUE(root.project()->appendChild(group));
        EXPECT_TRUE(group->appendChild(layers[1]));
        EXPECT_TRUE(group->appendChild(LayerRegion::create(layers[1], 10, 100, 0)));
    }
    LayerRoot root{realFormat()};
    LayerGroupPtr group = LayerGroup::create(realFormat());
    std::vector<LayerPtr> layers;
};

} // namespace

TEST(LayerCopy, IsAClone)
{
    const Tree tree;
    int calls = 0, before = 0;
    const LayerPtr copy = copyInSteps(tree.root.project(), [&](int done, int total) {
        EXPECT_GE(done, before);
        EXPECT_LE(done, total);
        before = done;
        return ++calls > 0;
    });
    ASSERT_NE(copy, nullptr);
    EXPECT_GE(calls, 3);
    const QList<ILayerPtr> below = copy->children(ChildrenAll);
    ASSERT_EQ(below.size(), 4);
    EXPECT_EQ(dataOf(*std::dynamic_pointer_cast<Layer>(below[0])), ramp(frames));
    EXPECT_EQ(samplesOf(*copy, {0, 3000}), samplesOf(*tree.root.project(), {0, 3000}));
    EXPECT_TRUE(copy->hasBackup());
    EXPECT_TRUE(below[0]->hasBackup());
    EXPECT_EQ(below[3]->type(), LayerTypeRegion);
    EXPECT_EQ(copyInSteps(nullptr, {}), nullptr);
    EXPECT_NE(copyInSteps(Layer::create(realFormat()), {}), nullptr) << "of an empty layer";
}

TEST(LayerCopy, ACancelAtAnyStepLeavesNothingBehind)
{
    const Tree tree;
    const QStringList files = sessionFiles();
    for (int last = 0; last < 3; ++last) {
        int step = 0;
        QString words;
        EXPECT_EQ(copyInSteps(
                      tree.root.project(), [&](int, int) { return step++ < last; }, &words),
                  nullptr);
        EXPECT_EQ(words, QString());
        EXPECT_EQ(sessionFiles(), files);
    }
}

TEST(LayerCopy, WithoutRoomTheCauseIsTold)
{
    const Tree tree;
    const QStringList files = sessionFiles();
    QString words;
    {
        const DiskLimit limit(frames);
        EXPECT_EQ(copyInSteps(tree.root.project(), {}, &words), nullptr);
    }
    EXPECT_TRUE(words.contains(sessionFolder())) << words.toStdString();
    EXPECT_EQ(sessionFiles(), files);
    for (const LayerPtr& layer : tree.layers)
        EXPECT_FALSE(layer->hasStorageError());
    EXPECT_NE(copyInSteps(tree.root.project(), {}, &words), nullptr);
}

TEST(Merge, InStepsIsTheMixAndChangesTheTreeInItsSecondHalfOnly)
{
    Tree tree;
    const auto mix = samplesOf(*tree.root.project(), {0, frames});
    Merge merge = Merge::all(tree.root);
    EXPECT_EQ(merge.apply(), nullptr) << "not prepared";
    int calls = 0;
    ASSERT_TRUE(merge.prepare([&](int, int) { return ++calls > 0; }, nullptr));
    EXPECT_GE(calls, 5);
    EXPECT_EQ(tree.root.project()->children(ChildrenDirect).size(), 2);
    const LayerPtr merged = merge.apply();
    ASSERT_NE(merged, nullptr);
    EXPECT_EQ(tree.root.project()->children(ChildrenDirect), QList<ILayerPtr>{merged});
    EXPECT_EQ(dataOf(*merged), mix);
}

TEST(Merge, ACancelAtAnyStepLeavesTheTreeAndNoFileBehind)
{
    Tree tree;
    const QStringList files = sessionFiles();
    const QList<ILayerPtr> before = tree.root.project()->children(ChildrenAll);
    for (int last = 0; last < 6; ++last) {
        int step = 0;
        QString words;
        Merge merge = Merge::down(tree.root, tree.layers[0]);
        EXPECT_FALSE(merge.prepare([&](int, int) { return step++ < last; }, &words));
        EXPECT_EQ(merge.apply(), nullptr);
        EXPECT_EQ(words, QString());
        EXPECT_EQ(tree.root.project()->children(ChildrenAll), before);
        EXPECT_EQ(sessionFiles(), files);
    }
}

TEST(Merge, OfLayersThatHavePartedMeanwhileDoesNothing)
{
    Tree tree;
    Merge merge = Merge::down(tree.root, tree.layers[0]);
    ASSERT_TRUE(merge.prepare({}, nullptr));
    ASSERT_TRUE(tree.root.project()->removeChild(tree.group));
    EXPECT_EQ(merge.apply(), nullptr);
    EXPECT_EQ(tree.root.project()->children(ChildrenDirect), QList<ILayerPtr>{tree.layers[0]});
}

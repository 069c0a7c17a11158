// Edit commands on a disk that fills up in their midst. Needs root.
#include "editing/editsession.h"

#include "base/faults.h"
#include "base/sessionfile.h"
#include "support/smalldisk.h"
#include "ui/dialogscript.h"
#include "ui/widgets/qlineeditext.h"

#include <QDir>

using namespace modeltest;
using testsupport::SmallDisk;

namespace {

const auto* const environment = testing::AddGlobalTestEnvironment(new GuiEnvironment);

constexpr int64_t frames = 800000; // 3.2 MB: an insertion of time in two layers fits on the disk

class EditingLab : public testing::Test
{
protected:
    EditingLab()
    {
        installFaultHandlers();
        setProperty("sessionpath", disk.path);
    }
    ~EditingLab() override { setProperty("sessionpath", before); }

    // Leaves that many bytes above what session files let alone.
    void fill(int64_t left) { disk.fill(SessionFile::headroomBytes + left); }
    void makeRoom() { QFile::remove(disk.path + QStringLiteral("/filler")); }
    [[nodiscard]] QStringList files() const
    {
        QStringList names = QDir(disk.path).entryList(QDir::Files);
        names.removeAll(QStringLiteral("filler"));
        return names;
    }

    const QString before = sessionFolder();
    const SmallDisk disk;
};

void changeTime(EditSession& session, void (DataManager::*slot)(), const char* title)
{
    DialogScript script;
    script.on(title, [](QDialog& dialog) {
        const auto fields = dialog.findChildren<QLineEditExt*>();
        fields[0]->setText(QStringLiteral("300000"));
        fields[1]->setText(QStringLiteral("400000"));
        DialogScript::press(dialog, "OK");
    });
    (session.data.*slot)();
}

struct Command
{
    const char* step;
    void (*run)(EditSession& session);
};
const Command commands[] = {
    {"Cut", [](EditSession& session) { session.data.cut(); }},
    {"Paste", [](EditSession& session) { session.data.paste(); }},
    {"Delete", [](EditSession& session) { session.data.del(); }},
    {"Insert Time",
     [](EditSession& session) { changeTime(session, &DataManager::insertTime, "Insert Time"); }},
    {"Delete Time",
     [](EditSession& session) { changeTime(session, &DataManager::deleteTime, "Delete Time"); }},
    {"Crop Time", [](EditSession& session) { changeTime(session, &DataManager::cropTime, "Crop Time"); }},
};

struct Content
{
    std::vector<Range> ranges;
    std::vector<std::vector<float>> samples;
    friend bool operator==(const Content&, const Content&) = default;
};

Content contentOf(const std::vector<LayerPtr>& layers)
{
    Content content;
    for (const LayerPtr& layer : layers) {
        content.ranges.push_back(layer->dataRange());
        content.samples.push_back(dataOf(*layer));
    }
    return content;
}

TEST_F(EditingLab, EachCommandIsDoneWholeOrNotAtAllAndToldAndSoIsItsUndo)
{
    const std::vector<float> first = noise(frames, 1), second = noise(frames, 2);
    int refused = 0, done = 0, undosRefused = 0;
    for (const Command& command : commands)
        for (const double left : {0.0, 1.0, 2.5, 4.5, 7.0, 9.0, 12.0, 16.0, 22.0}) {
            SCOPED_TRACE(testing::Message() << command.step << " with " << left << " MB");
            const QStringList none = files();
            {
                EditSession session;
                const std::vector<LayerPtr> layers{session.begin(first),
                                                   layerOf(session.project().format(), second)};
                ASSERT_TRUE(session.tree()->appendChild(layers[1]));
                session.project().resetHistory("New");
                session.post();
                session.activate(layers[0]);
                session.select(200000, 500000, 1000, 3000);
                session.data.copy();
                const int steps = session.rows().size();
                const Content original = contentOf(layers);
                const QStringList held = files();
                fill(int64_t(left * (1 << 20)));
                command.run(session);
                const Content after = contentOf(layers);
                const bool isDone = session.rows().size() == steps + 1;
                if (isDone) {
                    ++done;
                    EXPECT_EQ(session.lastStep(), QString::fromLatin1(command.step));
                    EXPECT_NE(after, original);
                    EXPECT_EQ(session.boxes.list.size(), 0);
                    if (session.history.undo() == History::Result::Done) {
                        EXPECT_EQ(contentOf(layers), original);
                    } else {
                        ++undosRefused;
                        EXPECT_EQ(contentOf(layers), after);
                        EXPECT_EQ(session.words.size(), 1);
                        makeRoom();
                        EXPECT_EQ(session.history.undo(), History::Result::Done);
                        EXPECT_EQ(contentOf(layers), original);
                    }
                } else {
                    ++refused;
                    EXPECT_EQ(after, original);
                    // The command's own box, or that of a state that could not be kept.
                    EXPECT_EQ(session.boxes.list.size() + session.words.size(), 1);
                    const QString words = session.boxes.list.isEmpty()
                                              ? session.words.value(0)
                                              : session.boxes.list.first().informative;
                    EXPECT_TRUE(words.contains(disk.path)) << words.toStdString();
                    EXPECT_EQ(files(), held);
                }
                makeRoom();
                if (isDone) {
                    EXPECT_EQ(session.history.redo(), History::Result::Done);
                } else {
                    command.run(session);
                }
                EXPECT_NE(contentOf(layers), original) << "with room again";
            }
            EXPECT_EQ(files(), none);
        }
    std::printf("[ figure   ] %d refused, %d done, %d undos refused\n", refused, done, undosRefused);
    EXPECT_GT(refused, 6);
    EXPECT_GT(done, 6);
}

} // namespace

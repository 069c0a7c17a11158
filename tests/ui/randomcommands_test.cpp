// Commands of all kinds in the window: what they may touch, and their way back.
#include "display/spectralchannel.h"
#include "editing/datamanager.h"
#include "ui/historypanel.h"
#include "ui/panelstest.h"
#include "ui/widgets/qlineeditext.h"

#include <QCryptographicHash>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QSet>
#include <QWheelEvent>

#include <complex>
#include <random>

namespace {

const auto* const environment = testing::AddGlobalTestEnvironment(new WindowEnvironment);

std::vector<float> samplesOfLayer(const Layer& layer, const Range& range)
{
    std::vector<float> samples(std::size_t(range.length * layer.format().frameBytes() / 4));
    layer.readData(samples.data(), range);
    return samples;
}

void addTree(QCryptographicHash& hash, const ILayerPtr& node)
{
    hash.addData(node->name().toUtf8() + '|' + QByteArray::number(node->type()) + '(');
    const auto layer = std::dynamic_pointer_cast<Layer>(node);
    if (layer && node->type() == LayerTypeLayer) {
        const Range range = layer->dataRange();
        const auto samples = samplesOfLayer(*layer, range);
        hash.addData(QByteArray::number(qlonglong(range.isEmpty() ? 0 : range.start)) + ' ');
        hash.addData(reinterpret_cast<const char*>(samples.data()), int(samples.size() * sizeof(float)));
    }
    for (const ILayerPtr& child : node->children(ChildrenDirect))
        addTree(hash, child);
    hash.addData(")");
}

struct Listener : IEvent
{
    Listener() : IEvent(QStringLiteral("Listener")) {}
    void historyListEvent(EventId, const QList<HistoryEntry>&) override { ++lists; }
    int lists = 0;
};

class RandomCommands : public PanelsTest
{
protected:
    void SetUp() override
    {
        PanelsTest::SetUp();
        messages::setAnswerer([](const messages::Box& box) { return box.defaultButton; });
    }
    int pick(int low, int high) { return std::uniform_int_distribution<int>(low, high)(m_random); }
    bool chance(int percent) { return pick(1, 100) <= percent; }

    QByteArray state()
    {
        QCryptographicHash hash(QCryptographicHash::Sha1);
        addTree(hash, front()->layers());
        hash.addData(QByteArray::number(front()->selection.fingerprint()));
        return hash.result();
    }
    // As a tool does it.
    void selectSomething()
    {
        const Range all = front()->layers()->range();
        Selection selection;
        QPainterPath path;
        const double start = double(all.start) + double(all.length) * pick(0, 80) / 100;
        path.addRect(start, pick(0, 6000), std::max(200.0, double(all.length) * pick(1, 50) / 100),
                     pick(100, 4000));
        selection.add(path, chance(30) ? 500 : 0, chance(30) ? 300 : 0, false);
        postEvent(nullptr, EventId::SelectionChange, selection, nullptr);
        record("Marquee");
    }
    void inDialog(const char* id, const char* title, const std::function<void(QDialog&)>& change)
    {
        if (!action(id).isEnabled() || front()->layers()->children(ChildrenDirect).isEmpty())
            return;
        DialogScript script;
        script.on(title, [&](QDialog& dialog) {
            change(dialog);
            DialogScript::press(dialog, chance(90) ? "OK" : "Cancel");
        });
        action(id).trigger();
    }
    void changeTime(const char* id, const char* title)
    {
        const Range all = front()->layers()->range();
        const bool isCrop = *title == 'C';
        const int64_t start =
            isCrop ? all.start + pick(-100, 800) : all.start + pick(-500, int(all.length) + 500);
        const int64_t length = isCrop ? all.length - pick(0, 1500) : pick(-100, 3000);
        inDialog(id, title, [&](QDialog& dialog) {
            const auto fields = dialog.findChildren<QLineEditExt*>();
            fields[0]->setText(QString::number(start));
            fields[1]->setText(QString::number(length));
        });
    }
    void oneCommand()
    {
        static const char* const plain[] = {
            "editcut",         "editcutnew",         "editcopy",          "editcopyall",   "editcopynew",
            "editpaste",       "editpastenew",       "editdel",           "editcut",       "editpaste",
            "selectselectall", "selectdeselect",     "selectreselect",    "selectinvert",  "selectinvertfreq",
            "layernewlayer",   "layernewgroup",      "layerduplicate",    "layerdelete",   "layergroup",
            "layerungroup",    "layermergedown",     "layermergevisible", "layermergeall", "editundo",
            "editredo",        "layeractivateabove", "layeractivatebelow"};
        const int choice = pick(0, 39);
        m_last = choice < int(std::size(plain)) ? plain[choice] : "other";
        if (choice < int(std::size(plain)))
            return action(plain[choice]).trigger();
        switch (choice - int(std::size(plain))) {
        case 0:
            return changeTime("projectinserttime", "Insert Time");
        case 1:
            return changeTime("projectremovetime", "Delete Time");
        case 2:
            return changeTime("projectcroptime", "Crop Time");
        case 3:
            return inDialog("selectexpand", "Expand Selection", [](QDialog&) {});
        case 4:
            return inDialog("selectcontract", "Contract Selection", [](QDialog&) {});
        case 5:
            return inDialog("selectfade", "Fade Selection", [](QDialog&) {});
        default:
            return selectSomething();
        }
    }
    // Follows the history with what each of its states held.
    void step()
    {
        const int before = m_listener.lists;
        const int row = front()->historyIndex();
        oneCommand();
        QCoreApplication::processEvents();
        if (m_listener.lists != before) {
            m_states = m_states.mid(0, row + 1) << state();
            m_states = m_states.mid(std::max(0, m_states.size() - front()->history().size()));
        }
        ASSERT_EQ(m_states.size(), front()->history().size()) << m_last;
        ASSERT_EQ(state(), m_states[front()->historyIndex()])
            << m_last << " at row " << front()->historyIndex();
    }
    // Through all states and back.
    void walk()
    {
        while (front()->historyIndex() > 0) {
            action("editundo").trigger();
            ASSERT_EQ(state(), m_states[front()->historyIndex()]) << "undo to " << front()->historyIndex();
        }
        while (front()->historyIndex() + 1 < front()->history().size()) {
            action("editredo").trigger();
            ASSERT_EQ(state(), m_states[front()->historyIndex()]) << "redo to " << front()->historyIndex();
        }
    }
    // The sample files that somebody holds.
    QSet<QString> heldFiles()
    {
        QSet<QString> names;
        const auto add = [&](const ILayerPtr& layer) {
            if (!layer)
                return;
            QList<ILayerPtr> all{layer};
            for (const ILayerPtr& one : all << layer->children(ChildrenAll))
                if (!one->filePath().isEmpty())
                    names << QFileInfo(one->filePath()).fileName();
        };
        add(front()->layers());
        add(m_window->dataManager().clipboard());
        for (const HistoryEntry& entry : front()->history())
            for (const LayerRecord& record : entry.layerRecords) {
                add(record.before);
                add(record.after);
            }
        return names;
    }
    QSet<QString> sampleFiles() const
    {
        const QStringList names = QDir(m_session).entryList({QStringLiteral("*.pcm")}, QDir::Files);
        return {names.begin(), names.end()};
    }

    std::mt19937 m_random{1};
    Listener m_listener;
    QList<QByteArray> m_states; // by row of the history
    const char* m_last = "";
};

TEST_F(RandomCommands, UndoAndRedoOfTwoHundredOfAllKindsAreBitIdenticalAndLeaveNoFilesBehind)
{
    openTone("tone.wav", 1, 2);
    for (const unsigned seed : {1u, 2u}) {
        m_random.seed(seed);
        m_states = {};
        for (int i = 0; i < front()->history().size(); ++i)
            m_states << QByteArray();
        m_states[front()->historyIndex()] = state();
        if (m_states.size() > 1) { // of the first round: their states are known no more
            while (front()->historyIndex() > 0) {
                action("editundo").trigger();
                m_states[front()->historyIndex()] = state();
            }
            walk();
        }
        for (int i = 0; i < 100; ++i) {
            step();
            ASSERT_FALSE(HasFatalFailure()) << "seed " << seed << ", command " << i;
            if (i % 25 == 24) {
                walk();
                ASSERT_FALSE(HasFatalFailure()) << "seed " << seed << ", behind command " << i;
            }
        }
    }
    EXPECT_TRUE(testsupport::waitFor([this] { return sampleFiles() == heldFiles(); }, 20000))
        << sampleFiles().size() << " files, " << heldFiles().size() << " held";
}

// What a user does who never waits for a picture. The wheel and the area have no step, and neither may change
// what the history holds.
TEST_F(RandomCommands, AnEditorWhoNeverRestsFindsEachStateAgainWhileThePicturesAreMade)
{
    openTone("tone.wav", 5, 2);
    QElapsedTimer timer;
    timer.start();
    m_random.seed(7);
    m_states = {state()};
    const auto views = m_window->findChildren<SpectralChannel*>();
    ASSERT_EQ(views.size(), 2);
    int commands = 0;
    while (timer.elapsed() < testsupport::scriptTime() || commands < 30) {
        step();
        ASSERT_FALSE(HasFatalFailure()) << "command " << commands;
        ++commands;
        const Range all = front()->layers()->range();
        const Area area{double(all.start + pick(0, std::max(0, int(all.length)))), double(pick(0, 4000)),
                        double(pick(50, std::max(50, int(all.length)))), double(pick(100, 4000))};
        postEvent(nullptr, EventId::DisplayAreaChange, area, nullptr);
        SpectralChannel& view = *views[pick(0, 1)];
        const QPointF at(view.rect().center());
        QWheelEvent wheel(at, view.mapToGlobal(at.toPoint()), QPoint(), {0, pick(-120, 120)}, Qt::NoButton,
                          Qt::NoModifier, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(&view, &wheel);
        QCoreApplication::processEvents(QEventLoop::AllEvents, pick(1, 30));
    }
    walk();
    std::printf("[ figure   ] %d commands\n", commands);
}

// --- nothing outside -------------------------------------------------------------------------------

constexpr double rate = 16000;

// Power of samples [from, from + count) inside and outside of a band, by a windowed DFT in double precision.
struct Band
{
    double inside = 0;
    double outside = 0;
};

Band bandPower(const std::vector<float>& samples, int64_t from, int count, double low, double high)
{
    Band power;
    std::vector<double> windowed;
    for (int i = 0; i < count; ++i) {
        const double x = 2 * M_PI * i / count;
        windowed.push_back(
            (0.35875 - 0.48829 * std::cos(x) + 0.14128 * std::cos(2 * x) - 0.01168 * std::cos(3 * x)) *
            double(samples[std::size_t(from + i)]));
    }
    for (int bin = 0; bin <= count / 2; ++bin) {
        std::complex<double> sum = 0;
        const std::complex<double> turn = std::polar(1.0, -2 * M_PI * bin / count);
        std::complex<double> at = 1;
        for (const double value : windowed) {
            sum += value * at;
            at *= turn;
        }
        const double hz = bin * rate / count;
        (hz > low && hz < high ? power.inside : power.outside) += std::norm(sum);
    }
    return power;
}

// Two layers of noise in two channels, of which one is not selected; a rectangle in the middle.
TEST_F(RandomCommands, NoCommandChangesAnythingOutsideTheSelectionAndTheActiveChannels)
{
    constexpr int64_t start = 12000, length = 8000;
    constexpr double low = 2000, high = 3000;
    struct Row
    {
        const char* id;
        bool changesSamples; // of the active layer
    };
    const Row rows[] = {{"editcut", true},          {"editcutnew", true},      {"editcopy", false},
                        {"editcopyall", false},     {"editcopynew", false},    {"editpaste", true},
                        {"editpastenew", false},    {"editdel", true},         {"selectselectall", false},
                        {"selectdeselect", false},  {"selectreselect", false}, {"selectinvert", false},
                        {"selectinvertfreq", false}};
    std::mt19937 random(3);
    std::uniform_real_distribution<float> sample(-0.5f, 0.5f);
    std::vector<float> noise(2 * 32000);
    for (float& value : noise)
        value = sample(random);
    writeFloatWave(path("noise.wav"), int(rate), 2, noise);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.id);
        ASSERT_TRUE(tabs().parse(path("noise.wav")));
        action("layerduplicate").trigger();
        const auto active = std::dynamic_pointer_cast<Layer>(front()->activeLayer());
        const auto other =
            std::dynamic_pointer_cast<Layer>(front()->layers()->children(ChildrenDirect).last());
        ASSERT_NE(active, other);
        ChannelsMode mode = front()->channelsMode;
        mode.selected.setBit(1, false);
        postEvent(nullptr, EventId::ChannelsModeChange, mode, nullptr);
        Selection selection;
        QPainterPath box;
        box.addRect(start, low, length, high - low);
        selection.add(box, 0, 0, false);
        postEvent(nullptr, EventId::SelectionChange, selection, nullptr);
        action("editcopy").trigger(); // something to paste
        if (qstrcmp(row.id, "editpaste") == 0 || qstrcmp(row.id, "selectreselect") == 0)
            action("selectdeselect").trigger();
        action(row.id).trigger();
        const auto after = samplesOfLayer(*active, {0, 32000});
        EXPECT_EQ(samplesOfLayer(*other, {0, 32000}), noise) << "another layer";
        EXPECT_EQ(active->dataRange(), (Range{0, 32000}));
        const int hop = front()->transform.frameSize / front()->transform.overlap;
        const int64_t first = (start + hop / 2) / hop, last = (start + length + hop / 2) / hop;
        std::vector<float> difference(32000);
        bool changed = false;
        for (int64_t i = 0; i < 32000; ++i) {
            const auto at = std::size_t(2 * i);
            ASSERT_EQ(after[at + 1], noise[at + 1]) << "a channel that is not selected, at " << i;
            difference[std::size_t(i)] = after[at] - noise[at];
            changed = changed || after[at] != noise[at];
            if (i <= hop * (first - 1) || i >= hop * (last + 1)) {
                ASSERT_EQ(after[at], noise[at]) << "another time, at " << i;
            }
        }
        EXPECT_EQ(changed, row.changesSamples);
        if (changed) {
            // Eight bins beside the edges, where this window and that of the frames have fallen off. What is
            // left is the modulation by the triangles of the frames.
            const double margin = 8 * rate / front()->transform.frameSize;
            const Band power =
                bandPower(difference, start + length / 2 - 1024, 2048, low - margin, high + margin);
            EXPECT_LT(power.outside, power.inside * 1e-6) << "other frequencies";
        }
        ASSERT_TRUE(tabs().close(0, true));
    }
}

} // namespace

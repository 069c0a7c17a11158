// What cannot be opened says so in a box, and leaves no tab, no view and no file behind; so does what
// is cancelled on its way.
#include "plugins/ifileplugin.h"
#include "ui/windowenvironment.h"

#include <QProgressDialog>
#include <QPushButton>
#include <QTest>

#include <sys/stat.h>

namespace {

const auto* const environment = testing::AddGlobalTestEnvironment(new WindowEnvironment);

const QString readError = QStringLiteral("Error Reading File");

class BadInput : public WindowTest
{
protected:
    void SetUp() override
    {
        WindowTest::SetUp();
        show();
    }
    void writeFile(const char* name, const QByteArray& bytes)
    {
        QFile file(path(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }
    static QByteArray recording()
    {
        QFile file(testsupport::dataFile(QStringLiteral("tabla-44k.wav")));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }
    void expectRefused(const QString& file, const QString& title, const QString& text)
    {
        m_boxes.clear();
        EXPECT_FALSE(tabs().parse(file));
        ASSERT_EQ(m_boxes.size(), 1u) << file.toStdString();
        EXPECT_EQ(m_boxes[0].title, title);
        EXPECT_EQ(m_boxes[0].text, text);
        EXPECT_TRUE(m_boxes[0].informative.contains(file)) << m_boxes[0].informative.toStdString();
        expectNothingLeft();
    }
    void expectNothingLeft()
    {
        EXPECT_EQ(tabs().count(), 0);
        EXPECT_TRUE(display().spectralChannels().isEmpty());
        EXPECT_TRUE(testsupport::waitFor([this] { return sessionFiles().isEmpty(); }))
            << sessionFiles().join(' ').toStdString();
    }
};

TEST_F(BadInput, NoSuchFile)
{
    expectRefused(path("gone.wav"), readError, QStringLiteral("The file you selected could not be read."));
}

TEST_F(BadInput, EmptyFile)
{
    writeFile("empty.wav", {});
    expectRefused(path("empty.wav"), readError, QStringLiteral("The file you selected contains no data."));
}

TEST_F(BadInput, TruncatedHeader)
{
    writeFile("cut.wav", recording().left(30));
    m_boxes.clear();
    EXPECT_FALSE(tabs().parse(path("cut.wav")));
    ASSERT_EQ(m_boxes.size(), 1u);
    EXPECT_FALSE(m_boxes[0].text.isEmpty());
    expectNothingLeft();
}

TEST_F(BadInput, HeaderWithoutSamples)
{
    writeFile("head.wav", recording().left(44));
    expectRefused(path("head.wav"), readError, QStringLiteral("The file you selected contains no data."));
}

TEST_F(BadInput, TextRenamedToFlac)
{
    writeFile("poem.flac", QByteArray("It was the best of times, it was the worst of times.\n").repeated(40));
    expectRefused(path("poem.flac"), QStringLiteral("Unsupported Format"),
                  QStringLiteral("The file you selected could not be read (unsupported format)."));
}

TEST_F(BadInput, SuffixThatNobodyReads)
{
    writeFile("notes.xyz", "hello");
    expectRefused(path("notes.xyz"), QStringLiteral("Unsupported Extension"),
                  QStringLiteral("The file you selected is not supported."));
}

TEST_F(BadInput, Folder)
{
    ASSERT_TRUE(QDir().mkpath(path("folder.wav")));
    expectRefused(path("folder.wav"), readError, QStringLiteral("The file you selected could not be read."));
}

TEST_F(BadInput, NamedPipe)
{
    ASSERT_EQ(::mkfifo(path("pipe.wav").toLocal8Bit().constData(), 0600), 0);
    expectRefused(path("pipe.wav"), readError, QStringLiteral("The file you selected could not be read."));
}

TEST_F(BadInput, RateOfZero)
{
    QByteArray bytes = recording();
    bytes.replace(24, 4, QByteArray(4, '\0'));
    writeFile("rate0.wav", bytes);
    m_boxes.clear();
    EXPECT_FALSE(tabs().parse(path("rate0.wav")));
    ASSERT_EQ(m_boxes.size(), 1u);
    expectNothingLeft();
}

TEST_F(BadInput, FailedOpenLeavesTheOtherTabAsItWas)
{
    ASSERT_TRUE(tabs().parse(makeTone("tone.wav", 1.0)));
    QTest::keyClick(m_window.get(), Qt::Key_Equal);
    const Area zoomed = tabs().currentProject()->display.displayArea;
    const QStringList files = sessionFiles();
    writeFile("empty.wav", {});
    EXPECT_FALSE(tabs().parse(path("empty.wav")));
    EXPECT_FALSE(tabs().parse(path("gone.wav")));
    EXPECT_EQ(tabs().count(), 1);
    EXPECT_EQ(tabs().currentProject()->display.displayArea, zoomed);
    EXPECT_EQ(display().spectralChannels()[0]->viewArea(), zoomed);
    EXPECT_EQ(sessionFiles(), files);
}

TEST_F(BadInput, FailureOfTheQueueIsRemembered)
{
    queueFile(path("gone.wav"));
    queueFile(makeTone("tone.wav", 0.2));
    m_window->sessionImport();
    EXPECT_EQ(m_window->failedImports(), QStringList(path("gone.wav")));
    EXPECT_EQ(tabs().count(), 1);
}

TEST_F(BadInput, ExportOfASuffixThatNobodyWrites)
{
    ASSERT_TRUE(tabs().parse(makeTone("tone.wav", 0.2)));
    m_chosen = path("out.xyz");
    EXPECT_FALSE(tabs().exportProject());
    ASSERT_EQ(m_boxes.size(), 1u);
    EXPECT_EQ(m_boxes[0].title, QStringLiteral("Unsupported Extension"));
    EXPECT_EQ(m_boxes[0].text, QStringLiteral("The export format is not supported."));
    EXPECT_FALSE(QFile::exists(m_chosen));
}

TEST_F(BadInput, ExportOfNothing)
{
    EXPECT_FALSE(tabs().exportProject());
    ASSERT_TRUE(tabs().parse(makeTone("tone.wav", 0.2)));
    tabs().currentProject()->layers()->removeChildLayer(nullptr);
    EXPECT_FALSE(tabs().exportProject());
    ASSERT_EQ(m_boxes.size(), 1u);
    EXPECT_EQ(m_boxes[0].title, QStringLiteral("Nothing to export"));
    EXPECT_EQ(m_boxes[0].text, QStringLiteral("No data to export."));
    EXPECT_TRUE(m_requests.empty());
}

// A recording without an end: it delivers noise until it is told to stop, or for a while.
class EndlessPlugin : public IFilePlugin
{
public:
    std::function<void()> eachBlock; // called behind each block
    int64_t blocks = std::numeric_limits<int64_t>::max();
    bool fails = false; // at its end
    int channels = 1;

    bool init(const QString&, QWidget*) override { return true; }
    [[nodiscard]] QString description() const override { return QStringLiteral("Endless"); }
    [[nodiscard]] QStringList importFilters() const override
    {
        return {QStringLiteral("Endless (*.endless)")};
    }
    [[nodiscard]] QStringList exportFilters() const override { return {}; }
    bool importFile(const QString&, IImportSink& sink) override
    {
        ImportInfo info;
        info.format = {SampleTypeReal, 8000, ChannelsTypeAudio, channels, uint64_t((1 << channels) - 1)};
        if (!sink.begin(info))
            return false;
        std::vector<float> block(std::size_t(4000 * channels));
        for (std::size_t i = 0; i < block.size(); ++i)
            block[i] = float((i * 7919) % 1000) / 1000 - 0.5f;
        for (int64_t n = 0; n < blocks; ++n) {
            if (!sink.samples(block.data(), 4000) || !sink.progress(n, 0))
                return false;
            if (eachBlock)
                eachBlock();
            QTest::qSleep(1);
        }
        return !fails;
    }
    bool exportFile(const QString&, const QString&, IExportSource&) override { return false; }
};

class LoadInProgress : public BadInput
{
protected:
    void SetUp() override
    {
        BadInput::SetUp();
        m_shipped = m_window->filePlugins();
        tabs().setFilePlugins(m_shipped + QList<IFilePlugin*>{&m_plugin});
        writeFile("a.endless", "x");
    }
    static QProgressDialog* dialog()
    {
        for (QWidget* widget : QApplication::topLevelWidgets())
            if (auto* box = qobject_cast<QProgressDialog*>(widget); box && box->isVisible())
                return box;
        return nullptr;
    }
    // Presses Cancel once the dialog is there and the layer on the screen has grown to a second.
    void cancelWhenGrown()
    {
        m_plugin.eachBlock = [this] {
            QProgressDialog* box = dialog();
            if (!box || m_cancelled)
                return;
            if (display().spectralChannels().size() != m_plugin.channels ||
                display().spectralChannels()[0]->viewArea().width < 8000)
                return;
            m_grownWhenCancelled = display().limits().width;
            m_viewWhenCancelled = display().spectralChannels()[0]->viewArea();
            m_tabsWhenCancelled = tabs().count();
            m_cancelled = true;
            QTest::mouseClick(box->findChild<QPushButton*>(), Qt::LeftButton);
        };
    }

    EndlessPlugin m_plugin;
    QList<IFilePlugin*> m_shipped;
    bool m_cancelled = false;
    double m_grownWhenCancelled = 0;
    Area m_viewWhenCancelled;
    int m_tabsWhenCancelled = -1;
};

TEST_F(LoadInProgress, ShowsTheGrowingLayerAndCancelTakesAllBack)
{
    cancelWhenGrown();
    EXPECT_FALSE(tabs().parse(path("a.endless")));
    EXPECT_TRUE(m_cancelled);
    EXPECT_GE(m_grownWhenCancelled, 8000);
    EXPECT_GE(m_viewWhenCancelled.width, 8000);
    EXPECT_EQ(m_tabsWhenCancelled, 0);
    EXPECT_TRUE(m_boxes.empty());
    EXPECT_EQ(dialog(), nullptr);
    expectNothingLeft();
}

TEST_F(LoadInProgress, CancelOfASecondFileBringsTheFirstBack)
{
    ASSERT_TRUE(tabs().parse(makeTone("tone.wav", 1.0, 2)));
    const Area before = tabs().currentProject()->display.displayArea;
    const QStringList files = sessionFiles();
    cancelWhenGrown();
    EXPECT_FALSE(tabs().parse(path("a.endless")));
    EXPECT_TRUE(m_cancelled);
    EXPECT_EQ(tabs().count(), 1);
    EXPECT_EQ(display().spectralChannels().size(), 2);
    EXPECT_EQ(tabs().currentProject()->display.displayArea, before);
    EXPECT_TRUE(testsupport::waitFor([&] { return sessionFiles() == files; }));
}

TEST_F(LoadInProgress, CancelOfAnImportTakesTheLayerOutAgain)
{
    // A project of the format that the endless recording has.
    m_plugin.blocks = 3;
    ASSERT_TRUE(tabs().parse(path("a.endless")));
    m_plugin.blocks = std::numeric_limits<int64_t>::max();
    const ProjectPtr project = tabs().currentProject();
    const ILayerPtr active = project->activeLayer();
    const Area before = project->display.displayArea;
    const QStringList files = sessionFiles();
    m_chosen = path("a.endless");
    m_plugin.eachBlock = [this] {
        QProgressDialog* box = dialog();
        if (box && !m_cancelled && display().limits().width > 16000) {
            m_cancelled = true;
            QTest::mouseClick(box->findChild<QPushButton*>(), Qt::LeftButton);
        }
    };
    EXPECT_FALSE(tabs().importLayer());
    EXPECT_TRUE(m_cancelled);
    EXPECT_EQ(project->layers()->children(ChildrenDirect).size(), 1);
    EXPECT_EQ(project->activeLayer(), active);
    EXPECT_EQ(project->display.displayArea, before);
    EXPECT_FALSE(project->modified);
    EXPECT_TRUE(testsupport::waitFor([&] { return sessionFiles() == files; }));
}

TEST_F(LoadInProgress, CancelOfTheSecondOfSeveralFilesTakesTheFirstBackToo)
{
    m_plugin.blocks = 3;
    ASSERT_TRUE(tabs().parse(path("a.endless")));
    m_plugin.blocks = std::numeric_limits<int64_t>::max();
    const ProjectPtr project = tabs().currentProject();
    const ILayerPtr active = project->activeLayer();
    const Area before = project->display.displayArea;
    const QStringList files = sessionFiles();
    const QString first = makeTone("first.wav", 5, 1, 1000, 0.1f, 8000);
    filechooser::setChooser([&](const filechooser::Request&) {
        return filechooser::Choice{first, {}, QStringList{first, path("a.endless")}};
    });
    m_plugin.eachBlock = [this] {
        QProgressDialog* box = dialog();
        if (box && !m_cancelled) {
            m_cancelled = true;
            EXPECT_TRUE(box->labelText().contains(QStringLiteral("a.endless (2 of 2)")));
            EXPECT_EQ(tabs().currentProject()->layers()->children(ChildrenDirect).size(), 3);
            QTest::mouseClick(box->findChild<QPushButton*>(), Qt::LeftButton);
        }
    };
    EXPECT_FALSE(tabs().importLayer());
    EXPECT_TRUE(m_cancelled);
    EXPECT_EQ(project->layers()->children(ChildrenDirect).size(), 1);
    EXPECT_EQ(project->activeLayer(), active);
    EXPECT_EQ(project->display.displayArea, before);
    EXPECT_FALSE(project->modified);
    EXPECT_EQ(project->history().size(), 1);
    EXPECT_TRUE(testsupport::waitFor([&] { return sessionFiles() == files; }));
}

TEST_F(LoadInProgress, AProjectWithoutLayersTakesTheFormatOfTheFileAndACancelGivesItBack)
{
    ASSERT_TRUE(tabs().parse(makeTone("tone.wav", 1.0, 2)));
    const ProjectPtr project = tabs().currentProject();
    project->layers()->removeChildLayer(nullptr);
    project->setActiveLayer(nullptr);
    const SamplingFormat before = project->format();
    m_chosen = path("a.endless");
    m_plugin.eachBlock = [&] {
        QProgressDialog* box = dialog();
        if (box && !m_cancelled) {
            m_cancelled = true;
            EXPECT_EQ(project->format().channels, 1);
            EXPECT_EQ(display().spectralChannels().size(), 1);
            QTest::mouseClick(box->findChild<QPushButton*>(), Qt::LeftButton);
        }
    };
    EXPECT_FALSE(tabs().importLayer());
    EXPECT_TRUE(m_cancelled);
    EXPECT_EQ(project->format(), before);
    EXPECT_EQ(display().spectralChannels().size(), 2);
    m_plugin.eachBlock = {};
    m_plugin.blocks = 2;
    EXPECT_TRUE(tabs().importLayer());
    EXPECT_EQ(project->format().sampleRate, 8000);
    EXPECT_EQ(project->layers()->range().length, 8000);
    EXPECT_TRUE(m_boxes.empty());
}

TEST_F(LoadInProgress, FailureInTheMiddleTakesAllBackWithABox)
{
    m_plugin.blocks = 200;
    m_plugin.fails = true;
    expectRefused(path("a.endless"), readError, QStringLiteral("The file you selected could not be read."));
}

TEST_F(LoadInProgress, RecordsThatArriveMeanwhileAreOpenedBehindIt)
{
    const QString late = makeTone("late.wav", 0.2);
    m_plugin.blocks = 600;
    bool arrived = false;
    m_plugin.eachBlock = [&] {
        if (arrived || !dialog())
            return;
        arrived = true;
        queueFile(late);
        m_window->sessionImport();
        EXPECT_EQ(tabs().count(), 0);
    };
    queueFile(path("a.endless"));
    m_window->sessionImport();
    EXPECT_TRUE(arrived);
    ASSERT_EQ(tabs().count(), 2);
    EXPECT_EQ(tabs().project(0)->name, QStringLiteral("a.endless"));
    EXPECT_EQ(tabs().project(1)->name, QStringLiteral("late.wav"));
}

TEST_F(LoadInProgress, ShortFileOpensWithoutADialog)
{
    m_plugin.blocks = 2;
    bool seen = false;
    m_plugin.eachBlock = [&] { seen = seen || dialog(); };
    EXPECT_TRUE(tabs().parse(path("a.endless")));
    EXPECT_FALSE(seen);
}

} // namespace

// The window, driven with mouse, keys, drops and the import queue.
#include "app/sessiongate.h"
#include "app/sessionserver.h"
#include "base/platform.h"
#include "ui/windowenvironment.h"

#include <atomic>
#include <thread>

#include "display/channelname.h"
#include "display/channelrow.h"
#include "display/overviewbar.h"
#include "display/qsplitterext.h"
#include "display/ruler.h"
#include "display/scalegrip.h"
#include "display/unitmenu.h"
#include "display/waveformchannel.h"

#include <QAbstractButton>
#include <QAbstractSpinBox>
#include <QCloseEvent>
#include <QDropEvent>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QMimeData>
#include <QScrollArea>
#include <QScrollBar>
#include <QStatusBar>
#include <QTest>
#include <QUrl>

namespace {

const auto* const environment = testing::AddGlobalTestEnvironment(new WindowEnvironment);

class MainWindowTest : public WindowTest
{
protected:
    void drop(const QStringList& paths)
    {
        QMimeData data;
        QList<QUrl> urls;
        for (const QString& name : paths)
            urls << QUrl::fromLocalFile(name);
        data.setUrls(urls);
        const QPoint middle = m_window->rect().center();
        QDragEnterEvent enter(middle, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(m_window.get(), &enter);
        ASSERT_TRUE(enter.isAccepted());
        QDropEvent event(middle, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(m_window.get(), &event);
    }
    // Opens a menu with the mouse and clicks an entry.
    void clickMenu(const char* title, const char* id)
    {
        QMenuBar* bar = m_window->menuBar();
        for (QAction* entry : bar->actions()) {
            if (entry->text() != QLatin1String(title))
                continue;
            QTest::mouseClick(bar, Qt::LeftButton, {}, bar->actionGeometry(entry).center());
            QMenu* menu = entry->menu();
            ASSERT_TRUE(testsupport::waitFor([menu] { return menu->isVisible(); }));
            QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(&action(id)).center());
            return;
        }
        FAIL() << "no menu " << title;
    }
    bool waitForTabs(int count)
    {
        return testsupport::waitFor([this, count] { return tabs().count() == count; });
    }
};

TEST_F(MainWindowTest, AFileOfTheImportQueueOpensWholeInView)
{
    queueFile(testsupport::dataFile(QStringLiteral("speech-16k.wav")));
    show();
    ASSERT_TRUE(waitForTabs(1));
    const ProjectPtr project = tabs().currentProject();
    EXPECT_EQ(project->format().sampleRate, 16000);
    EXPECT_EQ(project->layers()->range(), (Range{0, 24000}));
    EXPECT_EQ(project->display.displayArea, (Area{0, 0, 24000, 8000}));
    ASSERT_EQ(display().spectralChannels().size(), 1);
    EXPECT_EQ(display().spectralChannels()[0]->viewArea(), project->display.displayArea);
    EXPECT_TRUE(m_window->failedImports().isEmpty());
    EXPECT_TRUE(m_boxes.empty());
    EXPECT_TRUE(m_window->windowTitle().startsWith(QStringLiteral("speech-16k.wav")));
    EXPECT_TRUE(qApp->property("importqueue").toByteArray().isEmpty());
}

TEST_F(MainWindowTest, RecordsOfTheQueueAreActedOnInTheirOrder)
{
    queueFile(testsupport::dataFile(QStringLiteral("speech-16k.wav")));
    SessionRecord time;
    time.header = SessionHeader::TimeRange;
    time.start = 1000;
    time.length = 4000;
    queue(time);
    SessionRecord band;
    band.header = SessionHeader::FreqRange;
    band.start = 100;
    band.length = 900;
    queue(band);
    queueFile(testsupport::dataFile(QStringLiteral("tabla-44k.wav")));
    show();
    ASSERT_TRUE(waitForTabs(2));
    EXPECT_EQ(tabs().project(0)->display.displayArea, (Area{1000, 100, 4000, 900}));
    EXPECT_EQ(tabs().project(1)->display.displayArea, tabs().project(1)->wholeArea());
    EXPECT_EQ(m_window->importedRecords(), 4);
}

TEST_F(MainWindowTest, RangeOfTheQueueIsCutToWhatThereIs)
{
    queueFile(testsupport::dataFile(QStringLiteral("speech-16k.wav")));
    SessionRecord time;
    time.header = SessionHeader::TimeRange;
    time.start = -1e15 / 2;
    time.length = 1e15;
    queue(time);
    SessionRecord band;
    band.header = SessionHeader::FreqRange;
    band.start = 1e300;
    band.length = 0;
    queue(band);
    show();
    ASSERT_TRUE(testsupport::waitFor([this] { return m_window->importedRecords() == 3; }));
    const Area area = tabs().currentProject()->display.displayArea;
    const Area whole = tabs().currentProject()->wholeArea();
    EXPECT_EQ(area.x, whole.x);
    EXPECT_EQ(area.width, whole.width);
    EXPECT_GT(area.height, 0);
    EXPECT_GE(area.y, 0);
    EXPECT_LE(area.y + area.height, 8000 * (1 + 1e-9));
}

TEST_F(MainWindowTest, UnknownRecordStopsTheQueueWithAWarning)
{
    testsupport::expectWarning(QStringLiteral("unknown header 77"));
    queueFile(testsupport::dataFile(QStringLiteral("speech-16k.wav")));
    const QByteArray before = qApp->property("importqueue").toByteArray();
    qApp->setProperty("importqueue", before + QByteArray("\0\115", 2) + before);
    show();
    ASSERT_TRUE(waitForTabs(1));
    QCoreApplication::processEvents();
    EXPECT_EQ(tabs().count(), 1);
}

TEST_F(MainWindowTest, TwoLaunchesInARowLoseNothing)
{
    show();
    queueFile(testsupport::dataFile(QStringLiteral("speech-16k.wav")));
    m_window->sessionImport();
    queueFile(testsupport::dataFile(QStringLiteral("tabla-44k.wav")));
    m_window->sessionImport();
    m_window->sessionImport();
    EXPECT_EQ(tabs().count(), 2);
    EXPECT_EQ(m_window->importedRecords(), 2);
}

TEST_F(MainWindowTest, LaunchesThroughTheSocketOpenTheirFilesInTheRunningWindow)
{
    show();
    SessionServer server;
    const QString name = QStringLiteral("window");
    ASSERT_TRUE(server.start(platform::localServerPath(name), nullptr));
    QObject::connect(&server, &QLocalServer::newConnection, m_window.get(),
                     [&] { m_window->sessionNewSocket(server); });
    // More at once than are read at the same time.
    constexpr int launches = 12;
    std::vector<std::thread> others;
    std::atomic<int> handedOver{0};
    for (int i = 0; i < launches; ++i) {
        SessionRecord record;
        record.path = makeTone(QStringLiteral("launch%1.wav").arg(i).toLatin1().constData(), 0.1);
        others.emplace_back([&, bytes = toSessionBytes(record)] {
            handedOver += SessionGate(name).pass(bytes) == SessionGate::HandedOver;
        });
    }
    EXPECT_TRUE(waitForTabs(launches));
    for (std::thread& other : others)
        other.join();
    EXPECT_EQ(handedOver, launches);
    EXPECT_EQ(m_window->importedRecords(), launches);
    EXPECT_TRUE(m_window->failedImports().isEmpty());
}

TEST_F(MainWindowTest, ADroppedFileOpens)
{
    show();
    drop({testsupport::dataFile(QStringLiteral("tabla-44k.wav"))});
    ASSERT_TRUE(waitForTabs(1));
    EXPECT_EQ(tabs().currentProject()->format().sampleRate, 44100);
}

TEST_F(MainWindowTest, EveryDroppedFileBehindTheFirstIsMergedIntoIt)
{
    show();
    const QString first = makeTone("first.wav", 0.5);
    const QString second = makeTone("second.wav", 1.0);
    drop({first, second});
    ASSERT_TRUE(testsupport::waitFor([this] {
        return tabs().count() == 1 && tabs().currentProject()->layers()->children(ChildrenDirect).size() == 2;
    }));
    const ProjectPtr project = tabs().currentProject();
    EXPECT_EQ(project->activeLayer()->name(), QStringLiteral("second"));
    EXPECT_EQ(project->layers()->children(ChildrenDirect)[0]->name(), QStringLiteral("second"));
    EXPECT_EQ(project->layers()->range().length, 16000);
    EXPECT_EQ(project->display.displayArea, project->wholeArea());
    EXPECT_TRUE(project->modified);
    // Dropping one file always opens it.
    drop({first});
    ASSERT_TRUE(waitForTabs(2));
}

TEST_F(MainWindowTest, DropOfSomethingThatIsNoFileIsNotTaken)
{
    show();
    QMimeData data;
    data.setUrls({QUrl(QStringLiteral("https://example.org/a.wav"))});
    QDragEnterEvent enter({5, 5}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    enter.ignore();
    QApplication::sendEvent(m_window.get(), &enter);
    EXPECT_FALSE(enter.isAccepted());
}

TEST_F(MainWindowTest, FileOpenByMouseAsksWithTheFiltersOfThePlugins)
{
    show();
    m_chosen = testsupport::dataFile(QStringLiteral("tabla-44k.wav"));
    clickMenu("&File", "fileopen");
    ASSERT_TRUE(waitForTabs(1));
    ASSERT_EQ(m_requests.size(), 1u);
    EXPECT_EQ(m_requests[0].title, QStringLiteral("Open Project"));
    EXPECT_TRUE(m_requests[0].filters.value(0).startsWith(QStringLiteral("All Supported Formats (")));
    EXPECT_TRUE(m_requests[0].filters.value(0).contains(QStringLiteral("*.flac")));
    // The next dialog starts in that folder.
    clickMenu("&File", "fileopen");
    ASSERT_EQ(m_requests.size(), 2u);
    EXPECT_EQ(m_requests[1].path, QFileInfo(m_chosen).absolutePath());
}

TEST_F(MainWindowTest, KeysOpenAndCloseProjects)
{
    show();
    m_chosen = testsupport::dataFile(QStringLiteral("tabla-44k.wav"));
    QTest::keyClick(m_window.get(), Qt::Key_O, Qt::ControlModifier);
    ASSERT_TRUE(waitForTabs(1));
    QTest::keyClick(m_window.get(), Qt::Key_O, Qt::ControlModifier);
    ASSERT_TRUE(waitForTabs(2));
    QTest::keyClick(m_window.get(), Qt::Key_W, Qt::ControlModifier);
    ASSERT_TRUE(waitForTabs(1));
    EXPECT_EQ(sessionFiles().size(), 1);
}

TEST_F(MainWindowTest, CancelledFileDialogChangesNothing)
{
    show();
    m_chosen.clear();
    clickMenu("&File", "fileopen");
    EXPECT_EQ(m_requests.size(), 1u);
    EXPECT_EQ(tabs().count(), 0);
    EXPECT_TRUE(m_boxes.empty());
}

TEST_F(MainWindowTest, ChangeOfTabsBringsTheViewBack)
{
    show();
    ASSERT_TRUE(tabs().parse(testsupport::dataFile(QStringLiteral("speech-16k.wav"))));
    QTest::keyClick(m_window.get(), Qt::Key_Equal);
    const Area zoomed = tabs().currentProject()->display.displayArea;
    EXPECT_LT(zoomed.width, 24000);
    ASSERT_TRUE(tabs().parse(testsupport::dataFile(QStringLiteral("tabla-44k.wav"))));
    EXPECT_EQ(tabs().currentIndex(), 1);
    EXPECT_EQ(display().spectralChannels()[0]->viewArea(), tabs().currentProject()->wholeArea());

    QTest::mouseClick(&tabs(), Qt::LeftButton, {}, tabs().tabRect(0).center());
    EXPECT_EQ(tabs().currentIndex(), 0);
    EXPECT_EQ(tabs().currentProject()->display.displayArea, zoomed);
    EXPECT_EQ(display().spectralChannels()[0]->viewArea(), zoomed);
    EXPECT_EQ(display().spectralChannels()[0]->convert().format.sampleRate, 16000);
}

TEST_F(MainWindowTest, CloseButtonOfATabTakesItsLayerFileAlong)
{
    show();
    ASSERT_TRUE(tabs().parse(makeTone("first.wav", 0.5)));
    ASSERT_TRUE(tabs().parse(makeTone("second.wav", 0.5)));
    EXPECT_EQ(sessionFiles().size(), 2);
    auto* button = tabs().tabButton(0, QTabBar::RightSide);
    ASSERT_NE(button, nullptr);
    QTest::mouseClick(button, Qt::LeftButton);
    ASSERT_TRUE(waitForTabs(1));
    EXPECT_EQ(tabs().currentProject()->name, QStringLiteral("second.wav"));
    EXPECT_TRUE(testsupport::waitFor([this] { return sessionFiles().size() == 1; }));
    clickMenu("&File", "filecloseall");
    EXPECT_EQ(tabs().count(), 0);
    EXPECT_TRUE(display().spectralChannels().isEmpty());
    EXPECT_TRUE(testsupport::waitFor([this] { return sessionFiles().isEmpty(); }));
    EXPECT_FALSE(action("fileexportproject").isEnabled());
}

TEST_F(MainWindowTest, ImportAddsALayerAboveTheActiveOne)
{
    show();
    ASSERT_TRUE(tabs().parse(makeTone("low.wav", 1.0, 2, 500)));
    m_chosen = makeTone("high.wav", 2.0, 2, 2000);
    clickMenu("&File", "fileimportLayer");
    const ProjectPtr project = tabs().currentProject();
    ASSERT_EQ(project->layers()->children(ChildrenDirect).size(), 2);
    EXPECT_EQ(project->layers()->children(ChildrenDirect)[0]->name(), QStringLiteral("high"));
    EXPECT_EQ(project->layers()->range().length, 32000);
    EXPECT_EQ(tabs().count(), 1);
    EXPECT_TRUE(tabs().tabText(0).endsWith(QStringLiteral("*")));
    EXPECT_TRUE(m_boxes.empty());
}

TEST_F(MainWindowTest, ImportOfAnotherFormatAsksAndNoChangesNothing)
{
    show();
    ASSERT_TRUE(tabs().parse(makeTone("mono.wav", 1.0)));
    const Area area = tabs().currentProject()->display.displayArea;
    m_chosen = makeTone("stereo.wav", 2.0, 2);
    messages::setAnswerer([this](const messages::Box& box) {
        m_boxes.push_back(box);
        return QMessageBox::No;
    });
    clickMenu("&File", "fileimportLayer");
    ASSERT_EQ(m_boxes.size(), 1u);
    EXPECT_EQ(m_boxes[0].title, QStringLiteral("Resample"));
    EXPECT_EQ(m_boxes[0].text,
              QStringLiteral("The file format doesn't match the project format.\nResample to "
                             "match the project format ?"));
    const ProjectPtr project = tabs().currentProject();
    EXPECT_EQ(project->layers()->children(ChildrenDirect).size(), 1);
    EXPECT_EQ(project->display.displayArea, area);
    EXPECT_FALSE(project->modified);
    EXPECT_TRUE(testsupport::waitFor([this] { return sessionFiles().size() == 1; }));
}

TEST_F(MainWindowTest, StartSampleOfARecordShiftsTheLayer)
{
    queueFile(makeTone("late.wav", 1.0), SessionHeader::Edit, 8000);
    show();
    ASSERT_TRUE(waitForTabs(1));
    EXPECT_EQ(tabs().currentProject()->layers()->range(), (Range{8000, 16000}));
}

TEST_F(MainWindowTest, ReplaceAsksOnlyWhereTheFileIsOpen)
{
    show();
    const QString file = makeTone("again.wav", 1.0);
    ASSERT_TRUE(tabs().parse(file, 0, 2));
    EXPECT_TRUE(m_boxes.empty());
    const ProjectPtr before = tabs().currentProject();
    makeTone("again.wav", 2.0);
    ASSERT_TRUE(tabs().parse(file, 0, 2));
    ASSERT_EQ(m_boxes.size(), 1u);
    EXPECT_EQ(m_boxes[0].title, QStringLiteral("Replace Project"));
    EXPECT_EQ(m_boxes[0].text, QStringLiteral("Replace with new data from again.wav ?"));
    ASSERT_EQ(tabs().count(), 1);
    EXPECT_NE(tabs().currentProject(), before);
    EXPECT_EQ(tabs().currentProject()->layers()->range().length, 32000);

    messages::setAnswerer([](const messages::Box&) { return QMessageBox::No; });
    const ProjectPtr kept = tabs().currentProject();
    EXPECT_FALSE(tabs().parse(file, 0, 2));
    EXPECT_EQ(tabs().currentProject(), kept);
}

TEST_F(MainWindowTest, ExportedMixReopensBitForBit)
{
    show();
    const QString source = path("loud.wav");
    std::vector<float> samples;
    for (int i = 0; i < 30000; ++i)
        samples.push_back(float(std::sin(i * 0.37) * 1.7 + (i % 7) * 1e-5));
    writeFloatWave(source, 48000, 2, samples);
    ASSERT_TRUE(tabs().parse(source));
    m_chosen = path("out.wav");
    filechooser::setChooser([this](const filechooser::Request& request) {
        m_requests.push_back(request);
        for (const QString& filter : request.filters)
            if (filter.contains(QStringLiteral("float"), Qt::CaseInsensitive))
                return filechooser::Choice{m_chosen, filter};
        return filechooser::Choice{m_chosen, request.filters.value(0)};
    });
    clickMenu("&File", "fileexportproject");
    ASSERT_TRUE(m_boxes.empty()) << m_boxes[0].text.toStdString();
    ASSERT_EQ(m_requests.size(), 1u);
    EXPECT_EQ(m_requests[0].title, QStringLiteral("Export File"));
    EXPECT_EQ(m_requests[0].filters.value(0), QStringLiteral("Microsoft WAV (*.wav)"));
    ASSERT_TRUE(QFile::exists(m_chosen));
    ASSERT_TRUE(tabs().parse(m_chosen));
    EXPECT_EQ(samplesOf(*tabs().project(1)), samples);
}

TEST_F(MainWindowTest, ExportWithoutSuffixTakesThatOfTheFormatAndAsksBeforeItReplaces)
{
    show();
    ASSERT_TRUE(tabs().parse(makeTone("tone.wav", 0.2)));
    m_chosen = path("plain");
    ASSERT_TRUE(tabs().exportProject());
    EXPECT_TRUE(QFile::exists(path("plain.wav")));
    EXPECT_TRUE(m_boxes.empty());
    messages::setAnswerer([this](const messages::Box& box) {
        m_boxes.push_back(box);
        return QMessageBox::No;
    });
    EXPECT_FALSE(tabs().exportProject());
    ASSERT_EQ(m_boxes.size(), 1u);
    EXPECT_TRUE(m_boxes[0].text.contains(QStringLiteral("plain.wav")));
}

TEST_F(MainWindowTest, EveryChannelHasAViewWithItsName)
{
    show();
    ASSERT_TRUE(tabs().parse(makeTone("six.wav", 0.5, 6, 200)));
    ASSERT_EQ(display().spectralChannels().size(), 6);
    QStringList names;
    for (const QLabel* label : display().findChildren<QLabel*>(QStringLiteral("channelname"))) {
        names << label->text();
        EXPECT_TRUE(label->isVisible());
        EXPECT_FALSE(label->toolTip().isEmpty());
    }
    EXPECT_EQ(names.size(), 6);
    EXPECT_EQ(names[0], QStringLiteral("L"));
    EXPECT_EQ(names[1], QStringLiteral("R"));
    EXPECT_EQ(QSet<QString>(names.begin(), names.end()).size(), 6);
}

TEST_F(MainWindowTest, ManyChannelsScroll)
{
    qApp->setProperty("maxchannels", 64);
    show();
    ASSERT_TRUE(tabs().parse(makeTone("many.wav", 0.1, 64, 100)));
    EXPECT_EQ(display().spectralChannels().size(), 64);
    for (const ChannelRow* row : display().rows())
        EXPECT_GE(row->height(), ChannelsDisplay::minRowHeight);
    auto* scroll = display().findChild<QScrollArea*>();
    EXPECT_GT(scroll->verticalScrollBar()->maximum(), 0);
}

TEST_F(MainWindowTest, ZoomKeysWorkAboutTheMiddleAndKeepToTheLimits)
{
    show();
    ASSERT_TRUE(tabs().parse(makeTone("tone.wav", 4.0)));
    const ProjectPtr project = tabs().currentProject();
    const Area whole = project->wholeArea();
    QTest::keyClick(m_window.get(), Qt::Key_Equal);
    const Area narrow = project->display.displayArea;
    EXPECT_NEAR(narrow.width, whole.width * std::exp2(-0.25), 1e-6 * whole.width);
    EXPECT_NEAR(narrow.x + narrow.width / 2, whole.width / 2, 1e-6 * whole.width);
    EXPECT_EQ(narrow.height, whole.height);
    QTest::keyClick(m_window.get(), Qt::Key_Minus);
    QTest::keyClick(m_window.get(), Qt::Key_Minus);
    EXPECT_NEAR(project->display.displayArea.width, whole.width, 1e-6 * whole.width);
    EXPECT_NEAR(project->display.displayArea.x, 0, 1e-6);
    QTest::keyClick(m_window.get(), Qt::Key_Plus);
    EXPECT_LT(project->display.displayArea.height, whole.height);
    QTest::keyClick(m_window.get(), Qt::Key_0, Qt::ControlModifier);
    EXPECT_EQ(project->display.displayArea, whole);
}

TEST_F(MainWindowTest, CompositeKeyTurnsTheColourMapOnAndOff)
{
    show();
    ASSERT_TRUE(tabs().parse(makeTone("tone.wav", 0.5)));
    const ProjectPtr project = tabs().currentProject();
    EXPECT_FALSE(project->display.composite);
    QTest::keyClick(m_window.get(), Qt::Key_C);
    EXPECT_TRUE(project->display.composite);
    QTest::keyClick(m_window.get(), Qt::Key_C);
    EXPECT_FALSE(project->display.composite);
}

TEST_F(MainWindowTest, NothingIsEnabledThatNeedsAProject)
{
    show();
    for (const char* id : {"fileclose", "filecloseall", "fileimportLayer", "fileexportproject"})
        EXPECT_FALSE(action(id).isEnabled()) << id;
    EXPECT_TRUE(action("fileopen").isEnabled());
    EXPECT_FALSE(tabs().isVisible());
    const auto* hint = display().findChild<QLabel*>(QStringLiteral("hint"));
    EXPECT_TRUE(hint->isVisible());
    ASSERT_TRUE(tabs().parse(makeTone("tone.wav", 0.2)));
    for (const char* id : {"fileclose", "filecloseall", "fileimportLayer", "fileexportproject"})
        EXPECT_TRUE(action(id).isEnabled()) << id;
    EXPECT_FALSE(hint->isVisible());
}

TEST_F(MainWindowTest, MenuWordsFollowTheEdition)
{
    show();
    EXPECT_EQ(action("fileimportLayer").text(), QStringLiteral("&Import Layer Audio..."));
    EXPECT_EQ(action("fileexportproject").text(), QStringLiteral("&Export Project Audio..."));
    qApp->setProperty("channelstype", QStringLiteral("ecg"));
    show();
    EXPECT_EQ(action("fileimportLayer").text(), QStringLiteral("&Import Layer ECG..."));
    qApp->setProperty("sampletype", QStringLiteral("complex"));
    show();
    EXPECT_EQ(action("fileimportLayer").text(), QStringLiteral("&Import Layer Primitive..."));
    qApp->setProperty("channelstype", QStringLiteral("audio"));
    qApp->setProperty("sampletype", QStringLiteral("real"));
}

TEST_F(MainWindowTest, UsersShortcutsReplaceTheDefaults)
{
    qApp->setProperty("shortcuts",
                      QVariantHash{{QStringLiteral("fileopen"), QStringLiteral("F5; Ctrl+Alt+O")}});
    show();
    qApp->setProperty("shortcuts", QVariant());
    EXPECT_EQ(action("fileopen").shortcuts(),
              (QList<QKeySequence>{QKeySequence(Qt::Key_F5), QKeySequence(QStringLiteral("Ctrl+Alt+O"))}));
    EXPECT_EQ(action("filexit").shortcuts(), QKeySequence::keyBindings(QKeySequence::Quit));
    const QVariantHash defaults =
        qApp->property("defaultsettings").toHash().value(QStringLiteral("shortcuts")).toHash();
    EXPECT_EQ(defaults.value(QStringLiteral("fileopen")).toString(),
              QKeySequence::listToString(QKeySequence::keyBindings(QKeySequence::Open)));
    EXPECT_EQ(
        qApp->property("nameshortcuts").toHash().value(QStringLiteral("displayzoomfullyout")).toString(),
        QStringLiteral("Zoom Fully Out"));
}

// Qt forgets the other keys of an action whose first is empty only when the application ends.
TEST_F(MainWindowTest, NoActionHasAnEmptyKey)
{
    qApp->setProperty("shortcuts", QVariantHash{{QStringLiteral("fileopen"), QStringLiteral("; F5; ")},
                                                {QStringLiteral("fileclose"), QString()}});
    show();
    qApp->setProperty("shortcuts", QVariant());
    for (const QAction* entry : m_window->actions())
        EXPECT_FALSE(entry->shortcuts().contains(QKeySequence())) << entry->objectName().toStdString();
    EXPECT_EQ(action("fileopen").shortcuts(), QList<QKeySequence>{QKeySequence(Qt::Key_F5)});
    EXPECT_TRUE(action("fileclose").shortcuts().isEmpty());
}

TEST_F(MainWindowTest, ObjectPropertiesReachTheActions)
{
    qApp->setProperty("show@fileclose", QStringLiteral("false"));
    show();
    EXPECT_FALSE(action("fileclose").isVisible());
    EXPECT_TRUE(action("fileopen").isVisible());
    qApp->setProperty("show@fileclose", QVariant());
}

TEST_F(MainWindowTest, ClosingClosesEveryProjectAndKeepsThePlace)
{
    show();
    ASSERT_TRUE(tabs().parse(makeTone("tone.wav", 0.2)));
    m_window->setGeometry(140, 90, 1010, 610);
    ASSERT_TRUE(m_window->close());
    EXPECT_EQ(tabs().count(), 0);
    UserSettings settings;
    EXPECT_EQ(settings.value(QStringLiteral("defaultwindowwidth")).toInt(), 1010);
    EXPECT_EQ(settings.value(QStringLiteral("defaultwindowheight")).toInt(), 610);
    EXPECT_FALSE(settings.value(QStringLiteral("defaultwindowmaximize")).toBool());
    EXPECT_TRUE(testsupport::waitFor([this] { return sessionFiles().isEmpty(); }));
}

TEST_F(MainWindowTest, EmbeddedWindowStoresNoPlace)
{
    MainWindow window(true);
    window.show();
    ASSERT_TRUE(window.close());
    EXPECT_FALSE(UserSettings().contains(QStringLiteral("defaultwindowwidth")));
}

// What the user can work with, as opposed to what only holds or shows something.
bool isControl(const QWidget& widget)
{
    return qobject_cast<const QAbstractButton*>(&widget) || qobject_cast<const QTabBar*>(&widget) ||
           qobject_cast<const ChannelView*>(&widget) || qobject_cast<const Ruler*>(&widget) ||
           qobject_cast<const QSplitterHandleExt*>(&widget) || qobject_cast<const ChannelName*>(&widget) ||
           qobject_cast<const OverviewBar*>(&widget) || qobject_cast<const ScaleGrip*>(&widget) ||
           widget.focusPolicy() != Qt::NoFocus;
}

// A tool tip, a text of its own, or the name that stands at the left of its row.
bool hasWords(const QWidget& widget)
{
    if (!widget.toolTip().isEmpty())
        return true;
    if (const auto* button = qobject_cast<const QAbstractButton*>(&widget))
        return !button->text().isEmpty();
    if (const auto* tabs = qobject_cast<const QTabBar*>(&widget))
        return !tabs->tabText(0).isEmpty();
    for (const QWidget* parent = &widget; parent; parent = parent->parentWidget())
        if (const auto* row = qobject_cast<const ChannelRow*>(parent))
            return !row->name().text().isEmpty();
    return qobject_cast<const QScrollArea*>(&widget) || widget.isWindow(); // hold others only
}

TEST_F(MainWindowTest, EveryVisibleControlHasWordsANameAndAPlaceInTheTabOrder)
{
    show();
    ASSERT_TRUE(tabs().parse(makeTone("tone.wav", 0.5, 2)));
    ASSERT_TRUE(testsupport::waitFor([this] { return display().rows()[1]->spectral()->isVisible(); }));
    QSet<const QWidget*> chain;
    for (const QWidget* widget = m_window->nextInFocusChain(); widget != m_window.get();
         widget = widget->nextInFocusChain())
        if (widget->focusPolicy() & Qt::TabFocus)
            chain << widget;
    int controls = 0;
    for (const QWidget* widget : m_window->findChildren<QWidget*>()) {
        // The field within a spin box is a part of it.
        if (!widget->isVisible() || !isControl(*widget) ||
            qobject_cast<const QAbstractSpinBox*>(widget->parentWidget()))
            continue;
        ++controls;
        const std::string name = std::string(widget->metaObject()->className()) + " " +
                                 widget->objectName().toStdString() + " in " +
                                 widget->parentWidget()->metaObject()->className();
        EXPECT_TRUE(hasWords(*widget)) << name;
        // A button is called by its text where it has no other name.
        const auto* button = qobject_cast<const QAbstractButton*>(widget);
        EXPECT_FALSE(widget->accessibleName().isEmpty() && (!button || button->text().isEmpty())) << name;
        EXPECT_TRUE(chain.contains(widget)) << name;
    }
    // Tabs, a close button, overview, time ruler, grip, scroll area; six for each of two channels.
    EXPECT_GE(controls, 18);
    // The key takes the focus there.
    QSet<const QWidget*> visited;
    m_window->setFocus();
    for (int i = 0; i < 200; ++i) {
        QTest::keyClick(m_window->focusWidget() ? m_window->focusWidget() : m_window.get(), Qt::Key_Tab,
                        Qt::ControlModifier);
        visited << m_window->focusWidget();
    }
    for (const ChannelRow* row : display().rows()) {
        EXPECT_TRUE(visited.contains(row->spectral()));
        EXPECT_TRUE(visited.contains(row->waveform()));
        EXPECT_TRUE(visited.contains(row->splitter()->handle(1)));
    }
}

TEST_F(MainWindowTest, StartsWithTheKeysOnNoControl)
{
    show();
    ASSERT_TRUE(testsupport::waitFor([this] { return m_window->isActiveWindow(); }));
    EXPECT_EQ(QApplication::focusWidget(), m_window.get());
}

TEST_F(MainWindowTest, KeysMoveThePositionAndSelectFromItOn)
{
    show();
    ASSERT_TRUE(tabs().parse(makeTone("tone.wav", 1.0))); // 16000 samples
    const ProjectPtr project = tabs().currentProject();
    QTest::keyClick(m_window.get(), Qt::Key_Right);
    EXPECT_EQ(project->position(), 320);
    QTest::keyClick(m_window.get(), Qt::Key_End, Qt::ControlModifier);
    EXPECT_EQ(project->position(), 16000);
    QTest::keyClick(m_window.get(), Qt::Key_Left, Qt::ShiftModifier);
    EXPECT_EQ(project->position(), 15680);
    EXPECT_EQ(project->selection.range(), (Range{15680, 320}));
    EXPECT_TRUE(project->modified);
    QTest::keyClick(m_window.get(), Qt::Key_Home, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(project->selection.range(), (Range{0, 16000}));
    QTest::keyClick(m_window.get(), Qt::Key_Right, Qt::ControlModifier);
    EXPECT_EQ(project->position(), 16000);
    QTest::keyClick(m_window.get(), Qt::Key_Home);
    EXPECT_EQ(project->position(), 0);
}

// A key that two actions claim reaches neither.
TEST_F(MainWindowTest, NoKeyBelongsToTwoActions)
{
    show();
    QHash<QString, QString> owners;
    for (const QAction* entry : m_window->actions())
        for (const QKeySequence& key : entry->shortcuts()) {
            const QString text = key.toString(QKeySequence::PortableText);
            EXPECT_FALSE(owners.contains(text))
                << text.toStdString() << " of " << entry->objectName().toStdString() << " and "
                << owners.value(text).toStdString();
            owners.insert(text, entry->objectName());
        }
    for (const Qt::Key key :
         {Qt::Key_AudioRewind, Qt::Key_AudioForward, Qt::Key_MediaPrevious, Qt::Key_MediaNext})
        EXPECT_TRUE(owners.contains(QKeySequence(key).toString())) << key;
    EXPECT_TRUE(owners.contains(QKeySequence(QStringLiteral("Ctrl+Shift+Alt+Left")).toString()));
}

TEST_F(MainWindowTest, TheViewMenuHasTheUnitsAndTheyReachTheProject)
{
    show();
    ASSERT_TRUE(tabs().parse(makeTone("tone.wav", 0.5)));
    const ProjectPtr project = tabs().currentProject();
    const auto choose = [this](const char* title, const char* word) {
        for (UnitMenu* menu : m_window->findChildren<UnitMenu*>()) {
            if (menu->title() != QLatin1String(title))
                continue;
            for (QAction* entry : menu->actions())
                if (entry->text() == QLatin1String(word)) {
                    EXPECT_TRUE(entry->isEnabled());
                    entry->trigger();
                    return;
                }
        }
        ADD_FAILURE() << title << ' ' << word;
    };
    choose("&Time Unit", "Samples");
    choose("Power &Unit", "Percents");
    choose("&Frequency Unit", "Notes");
    choose("Frequency &Scale", "Bark");
    choose("Renderin&g Method", "Raw");
    EXPECT_EQ(project->units.timeUnit, TimeUnit::Samples);
    EXPECT_EQ(project->units.powerUnit, PowerUnit::Percents);
    EXPECT_EQ(project->units.freqUnit, FreqUnit::Notes);
    EXPECT_EQ(project->units.freqScale, FreqScale::Bark);
    EXPECT_EQ(project->units.filtering, Filtering::Raw);
    EXPECT_FALSE(project->display.lockBottomTo0);
    choose("&Frequency Unit", "Lock Spectrogram to 0Hz");
    EXPECT_TRUE(project->display.lockBottomTo0);
    EXPECT_TRUE(project->display.lockCenterTo0);
    choose("Power &Unit", "Always Center Waveform");
    EXPECT_FALSE(project->display.lockCenterTo0);
}

// A control without words is silence to a screen reader.
TEST_F(MainWindowTest, EveryVisibleControlHasANameAndALabelOrToolTip)
{
    show();
    ASSERT_TRUE(tabs().parse(makeTone("tone.wav", 0.5, 2)));
    for (const QWidget* widget : m_window->findChildren<QWidget*>()) {
        if (!widget->isVisible())
            continue;
        const std::string name = std::string(widget->metaObject()->className()) + " " +
                                 widget->objectName().toStdString() + " in " +
                                 widget->parentWidget()->metaObject()->className();
        if (const auto* button = qobject_cast<const QAbstractButton*>(widget)) {
            EXPECT_FALSE(button->accessibleName().isEmpty() && button->text().isEmpty()) << name;
            EXPECT_FALSE(button->toolTip().isEmpty() && button->text().isEmpty()) << name;
        }
        if (qobject_cast<const SpectralChannel*>(widget) || qobject_cast<const QTabBar*>(widget) ||
            qobject_cast<const QAbstractScrollArea*>(widget) || qobject_cast<const QMenuBar*>(widget)) {
            EXPECT_FALSE(widget->accessibleName().isEmpty()) << name;
        }
        if (const auto* label = qobject_cast<const QLabel*>(widget)) {
            EXPECT_FALSE(label->accessibleName().isEmpty() && label->text().isEmpty()) << name;
        }
    }
    for (const QAction* entry : m_window->actions()) {
        EXPECT_FALSE(entry->text().isEmpty()) << entry->objectName().toStdString();
        EXPECT_FALSE(entry->statusTip().isEmpty()) << entry->objectName().toStdString();
    }
}

} // namespace

// Layouts of the window, its modes, and what the View and Help menus do.
#include "ui/dialogscript.h"
#include "ui/windowenvironment.h"

#include "ui/displaypanel.h"
#include "ui/widgets/qdockwidgetext.h"
#include "ui/windowlayout.h"

#include <random>

#include <QDockWidget>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QTableWidget>
#include <QTest>
#include <QToolBar>

namespace {

const auto* const environment = testing::AddGlobalTestEnvironment(new WindowEnvironment);

class WindowLayoutTest : public WindowTest
{
protected:
    void TearDown() override
    {
        for (const char* key : {"defaultlayoutmode", "defaultlayout", "tutorialspath"})
            qApp->setProperty(key, m_before.value(QLatin1String(key)));
        WindowTest::TearDown();
    }
    void setProperty(const char* key, const QString& value) { qApp->setProperty(key, value); }
    QDockWidgetExt& panel(int index) { return *m_window->panels()[index]; }
    QByteArray contents(const QString& file)
    {
        QFile in(file);
        EXPECT_TRUE(in.open(QIODevice::ReadOnly));
        return in.readAll();
    }
    void write(const QString& file, const QByteArray& bytes)
    {
        QFile out(file);
        ASSERT_TRUE(out.open(QIODevice::WriteOnly));
        out.write(bytes);
    }
    QStringList entries(const char* title)
    {
        QStringList texts;
        for (const QAction* entry : m_window->menuBar()->actions())
            if (entry->text() == QLatin1String(title))
                for (const QAction* action : entry->menu()->actions())
                    texts << (action->isSeparator() ? QStringLiteral("-") : action->text());
        return texts;
    }
    void openSpeech()
    {
        queueFile(testsupport::dataFile(QStringLiteral("speech-16k.wav")));
        show();
        ASSERT_TRUE(testsupport::waitFor([this] { return tabs().count() == 1; }));
    }

private:
    const QVariantHash m_before = {{QStringLiteral("defaultlayoutmode"), qApp->property("defaultlayoutmode")},
                                   {QStringLiteral("defaultlayout"), qApp->property("defaultlayout")},
                                   {QStringLiteral("tutorialspath"), qApp->property("tutorialspath")}};
};

TEST_F(WindowLayoutTest, AFileHoldsLengthGeometryAndState)
{
    show();
    m_chosen = path("mine.layout");
    action("viewlayoutsave").trigger();
    ASSERT_EQ(m_requests.size(), 1U);
    EXPECT_TRUE(m_requests[0].save);
    EXPECT_EQ(m_requests[0].filters,
              QStringList(QStringLiteral("%1 Layout (*.layout)").arg(qApp->property("name").toString())));
    EXPECT_TRUE(m_requests[0].path.endsWith(QStringLiteral("/default.layout")));
    const QByteArray geometry = m_window->saveGeometry();
    ASSERT_LE(geometry.size(), 255);
    EXPECT_EQ(contents(m_chosen), char(geometry.size()) + geometry + m_window->saveState());
}

TEST_F(WindowLayoutTest, PanelsStandAsTheyWereSaved)
{
    show();
    m_chosen = path("mine.layout");
    panel(1).hide();
    m_window->addDockWidget(Qt::LeftDockWidgetArea, &panel(2));
    action("viewlayoutsave").trigger();
    panel(1).show();
    m_window->addDockWidget(Qt::RightDockWidgetArea, &panel(2));
    action("viewlayoutload").trigger();
    EXPECT_TRUE(panel(1).isHidden());
    EXPECT_EQ(m_window->dockWidgetArea(&panel(2)), Qt::LeftDockWidgetArea);
    EXPECT_TRUE(m_boxes.empty());
}

TEST_F(WindowLayoutTest, TheDefaultLayoutIsLoadedAtTheStart)
{
    show();
    panel(3).hide();
    QString error;
    ASSERT_TRUE(saveLayout(*m_window, path("start.layout"), error)) << error.toStdString();
    setProperty("defaultlayout", path("start.layout"));
    show();
    EXPECT_TRUE(panel(3).isHidden());
    EXPECT_FALSE(panel(0).isHidden());
}

TEST_F(WindowLayoutTest, AnEmptyOrCutFileIsIgnoredWithoutAMessage)
{
    show();
    panel(1).hide();
    QString error;
    ASSERT_TRUE(saveLayout(*m_window, path("whole.layout"), error));
    const QByteArray whole = contents(path("whole.layout"));
    panel(1).show();
    const int geometry = static_cast<unsigned char>(whole[0]);
    m_chosen = path("cut.layout");
    for (const int length : {0, 1, geometry / 2, geometry, geometry + 1}) {
        write(m_chosen, whole.left(length));
        action("viewlayoutload").trigger();
        EXPECT_FALSE(panel(1).isHidden()) << length;
    }
    m_chosen = path("no such.layout");
    action("viewlayoutload").trigger();
    m_chosen = m_folder;
    action("viewlayoutload").trigger();
    EXPECT_FALSE(panel(1).isHidden());
    EXPECT_TRUE(m_boxes.empty());
}

TEST_F(WindowLayoutTest, HostileFilesDoNoHarm)
{
    show();
    QString error;
    ASSERT_TRUE(saveLayout(*m_window, path("whole.layout"), error));
    const QByteArray whole = contents(path("whole.layout"));
    std::mt19937 random(7);
    for (int i = 0; i < 600; ++i) {
        QByteArray bytes = whole;
        for (int k = 0; k < 3; ++k)
            bytes[int(random() % unsigned(bytes.size()))] = char(random());
        if (i % 4 == 0)
            bytes.truncate(int(random() % unsigned(bytes.size())));
        write(path("hostile.layout"), bytes);
        (void)loadLayout(*m_window, path("hostile.layout"));
        QCoreApplication::processEvents();
    }
    EXPECT_TRUE(loadLayout(*m_window, path("whole.layout")));
    EXPECT_FALSE(m_window->isHidden());
    for (int i = 0; i < 4; ++i)
        EXPECT_FALSE(panel(i).isHidden()) << i;
}

TEST_F(WindowLayoutTest, AFailedSaveTellsFileAndCauseAndLeavesTheOldFile)
{
    show();
    m_chosen = path("folder.layout");
    ASSERT_TRUE(QDir().mkdir(m_chosen));
    action("viewlayoutsave").trigger();
    ASSERT_EQ(m_boxes.size(), 1U);
    EXPECT_EQ(m_boxes[0].title, QStringLiteral("Save Layout"));
    EXPECT_TRUE(m_boxes[0].informative.contains(QStringLiteral("folder.layout")));
    EXPECT_TRUE(QFileInfo(m_chosen).isDir());
}

TEST_F(WindowLayoutTest, AutoIsTheDesktopWhereThePlatformHasNoTabletMode)
{
    for (const auto& [mode, tablet] : {std::pair("auto", false), std::pair("Tablet", true),
                                       std::pair("desktop", false), std::pair("?", false)}) {
        setProperty("defaultlayoutmode", QString::fromLatin1(mode));
        show();
        EXPECT_EQ(m_window->isTabletMode(), tablet) << mode;
        EXPECT_EQ(action("viewlayouttablet").isChecked(), tablet) << mode;
        EXPECT_EQ(action("viewlayoutdesktop").isChecked(), !tablet) << mode;
    }
}

TEST_F(WindowLayoutTest, TheTabletHasLargerControls)
{
    show();
    QMenuBar& bar = *m_window->menuBar();
    const int desktop = bar.sizeHint().height();
    action("viewlayouttablet").trigger();
    EXPECT_GT(bar.sizeHint().height(), desktop + 8);
    action("viewlayoutdesktop").trigger();
    EXPECT_EQ(bar.sizeHint().height(), desktop);
}

TEST_F(WindowLayoutTest, TabInTheViewsTakesThePanelsAwayAndBringsBackThoseThatWereThere)
{
    openSpeech();
    panel(2).hide();
    QWidget* view = display().spectralChannels()[0];
    view->setFocus();
    QTest::keyClick(view, Qt::Key_Tab);
    for (int i = 0; i < 4; ++i)
        EXPECT_TRUE(panel(i).isHidden()) << i;
    QTest::keyClick(view, Qt::Key_Tab);
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(panel(i).isHidden(), i == 2) << i;
    QTest::keyClick(view, Qt::Key_Backtab, Qt::ShiftModifier);
    for (int i = 0; i < 4; ++i)
        EXPECT_TRUE(panel(i).isHidden()) << i;
    // The tool bars were still there.
    const QList<QToolBar*> bars = m_window->findChildren<QToolBar*>(QString(), Qt::FindDirectChildrenOnly);
    ASSERT_FALSE(bars.isEmpty());
    EXPECT_FALSE(bars[0]->isHidden());
    QTest::keyClick(view, Qt::Key_Tab);
    EXPECT_TRUE(bars[0]->isHidden());
    EXPECT_TRUE(panel(0).isHidden());
    QTest::keyClick(view, Qt::Key_Tab);
    EXPECT_FALSE(bars[0]->isHidden());
    EXPECT_FALSE(panel(0).isHidden());
    EXPECT_TRUE(panel(2).isHidden());
}

TEST_F(WindowLayoutTest, TabInAPanelLeadsToItsNextControl)
{
    openSpeech();
    panel(0).setUnrolled(true);
    display().spectralChannels()[0]->setFocus();
    m_window->focusNextPanel(true);
    QWidget* first = QApplication::focusWidget();
    ASSERT_NE(first, nullptr);
    ASSERT_TRUE(panel(0).isAncestorOf(first));
    QTest::keyClick(first, Qt::Key_Tab);
    EXPECT_FALSE(panel(0).isHidden());
    EXPECT_NE(QApplication::focusWidget(), first);
}

TEST_F(WindowLayoutTest, F6LeadsThroughViewsAndPanelsAndBack)
{
    openSpeech();
    display().spectralChannels()[0]->setFocus();
    QList<int> visited;
    const auto where = [this] {
        for (int i = 0; i < 4; ++i)
            if (panel(i).isAncestorOf(QApplication::focusWidget()))
                return i;
        return display().isAncestorOf(QApplication::focusWidget()) ? -1 : -2;
    };
    for (int i = 0; i < 5; ++i) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_F6);
        visited << where();
    }
    EXPECT_EQ(visited.mid(0, 4), (QList<int>{0, 1, 2, 3}));
    while (where() != -1 && visited.size() < 20) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_F6, Qt::ShiftModifier);
        visited << where();
    }
    EXPECT_EQ(visited.last(), -1);
}

TEST_F(WindowLayoutTest, TheSwitchesOfTheViewFollowTheProjectAndItsKeys)
{
    openSpeech();
    const ProjectPtr project = tabs().currentProject();
    EXPECT_EQ(action("viewgrid").isChecked(), project->display.gridEnable);
    EXPECT_EQ(action("viewsnap").isChecked(), project->display.snapEnable);
    const bool grid = project->display.gridEnable;
    QTest::keyClick(m_window.get(), Qt::Key_G);
    EXPECT_EQ(project->display.gridEnable, !grid);
    EXPECT_EQ(action("viewgrid").isChecked(), !grid);
    const bool snap = project->display.snapEnable;
    QTest::keyClick(m_window.get(), Qt::Key_G, Qt::ControlModifier);
    EXPECT_EQ(project->display.snapEnable, !snap);
    postEvent(nullptr, EventId::DisplayMarkersEnable, false, nullptr);
    EXPECT_FALSE(action("viewmarkers").isChecked());
    EXPECT_FALSE(project->display.markersEnable);
}

TEST_F(WindowLayoutTest, TheViewMenuStandsInItsOrder)
{
    show();
    QStringList expected = {QStringLiteral("Unit Grid"),
                            QStringLiteral("Time Markers and Regions"),
                            QStringLiteral("Spectral Markers and Regions"),
                            QStringLiteral("Snap to Grid and Markers"),
                            QStringLiteral("-"),
                            QStringLiteral("&Time Unit"),
                            QStringLiteral("Power &Unit"),
                            QStringLiteral("&Frequency Unit"),
                            QStringLiteral("Frequency &Scale"),
                            QStringLiteral("Renderin&g Method"),
                            QStringLiteral("Panels"),
                            QStringLiteral("Interface Layout"),
                            QStringLiteral("-"),
                            QStringLiteral("&Fullscreen")};
    QStringList found = entries("&View");
    found.removeAll(QStringLiteral("Toolbars"));
    EXPECT_EQ(found, expected);
}

TEST_F(WindowLayoutTest, AnEmptyTutorialsPathHidesItsHelpEntry)
{
    setProperty("tutorialspath", {});
    show();
    EXPECT_FALSE(entries("&Help").contains(QStringLiteral("&Tutorials")));
    write(path("lessons.html"), "<p>One</p>");
    setProperty("tutorialspath", QStringLiteral("file://") + path("lessons.html"));
    show();
    EXPECT_TRUE(entries("&Help").contains(QStringLiteral("&Tutorials")));
    setProperty("tutorialspath", QStringLiteral("file://") + path("gone.html"));
    show();
    EXPECT_FALSE(entries("&Help").contains(QStringLiteral("&Tutorials")));
}

TEST_F(WindowLayoutTest, TheShortcutsAreListedAndFound)
{
    show();
    DialogScript script;
    script.on("Keyboard Shortcuts", [this](QDialog& dialog) {
        auto* table = dialog.findChild<QTableWidget*>();
        ASSERT_NE(table, nullptr);
        EXPECT_EQ(table->rowCount(), m_window->actionTable().actions().size());
        auto* search = dialog.findChild<QLineEdit*>();
        QTest::keyClicks(search, QStringLiteral("full"));
        QStringList shown;
        for (int row = 0; row < table->rowCount(); ++row)
            if (!table->isRowHidden(row))
                shown << table->item(row, 0)->text();
        EXPECT_TRUE(shown.contains(QStringLiteral("Fullscreen")));
        EXPECT_LT(shown.size(), 5);
        DialogScript::press(dialog, "Close");
    });
    action("helpshortcuts").trigger();
    EXPECT_TRUE(script.isDone());
}

TEST_F(WindowLayoutTest, TheLibrariesAreThePluginsOfTheSession)
{
    show();
    DialogScript script;
    script.on("Libraries", [](QDialog& dialog) {
        auto* table = dialog.findChild<QTableWidget*>();
        ASSERT_NE(table, nullptr);
        ASSERT_GE(table->rowCount(), 1);
        EXPECT_EQ(table->item(0, 1)->text(), QStringLiteral("File formats"));
        EXPECT_FALSE(table->item(0, 0)->text().isEmpty());
        DialogScript::press(dialog, "Close");
    });
    action("helplibraries").trigger();
    EXPECT_TRUE(script.isDone());
}

} // namespace

// Tools and processes that crash, hang, throw, refuse or lie: the program starts without them, says so, and
// works.
#include "ui/plugintest.h"

#include "ui/historypanel.h"
#include "ui/toolbars.h"
#include "ui/widgets/qtoolbarext.h"

#include <QElapsedTimer>
#include <QMenu>
#include <QMenuBar>
#include <QTest>
#include <QToolButton>

namespace {

const auto* const environment = testing::AddGlobalTestEnvironment(new WindowEnvironment);

const QStringList libraries{QStringLiteral("brokentool"), QStringLiteral("brokenprocess"),
                            QStringLiteral("minimaltool"), QStringLiteral("minimalprocess")};

struct Kind
{
    const char* variable;
    const char* library;
};
constexpr Kind tool{"MORVANE_TEST_TOOL", "brokentool"};
constexpr Kind process{"MORVANE_TEST_PROCESS", "brokenprocess"};

class BrokenPlugins : public PluginTest
{
protected:
    void TearDown() override
    {
        for (const char* variable : {tool.variable, process.variable, "MORVANE_TEST_NAME"})
            qunsetenv(variable);
        PluginTest::TearDown();
    }
    // A fresh copy of each library, as the helper remembers what it has seen and a loaded one stays loaded.
    void start(const Kind& kind, const char* fault)
    {
        m_window.reset();
        m_folder = testsupport::makeFolder(QStringLiteral("broken"));
        qputenv(kind.variable, fault);
        showWith(libraries);
        qunsetenv(kind.variable);
    }
    QToolButton* button(const char* name)
    {
        for (QToolButton* each : m_window->toolBars().tools()->buttons())
            if (each->accessibleName() == QLatin1String(name))
                return each;
        return nullptr;
    }
    QStringList processes()
    {
        QStringList names;
        for (const QAction* entry : m_window->menuBar()->actions())
            if (entry->text() == QLatin1String("&Process"))
                for (const QAction* action : entry->menu()->actions())
                    names << action->text();
        return names;
    }
    bool isThere(const Kind& kind)
    {
        return kind.library == tool.library ? button("Broken Tool") != nullptr
                                            : processes().contains(QStringLiteral("Break"));
    }
    // The others are there, and what the program is for can be done.
    void expectWork()
    {
        ASSERT_NE(button("Minimal Selection"), nullptr);
        EXPECT_TRUE(processes().contains(QStringLiteral("Examples")));
        ASSERT_TRUE(tabs().parse(makeTone("tone.wav", 0.5)));
        const std::vector<float> before = samplesOf(*tabs().currentProject());
        action("selectselectall").trigger();
        action("minimalprocess").trigger();
        EXPECT_FALSE(samplesOf(*tabs().currentProject()) == before);
        action("editundo").trigger();
        EXPECT_TRUE(samplesOf(*tabs().currentProject()) == before);
        EXPECT_TRUE(m_boxes.empty());
    }
};

} // namespace

TEST_F(BrokenPlugins, TheHealthyOnesAreThereForComparison)
{
    testsupport::expectWarning(QStringLiteral("process Broken Process has an entry without a name"));
    start(tool, "");
    EXPECT_TRUE(isThere(tool) && isThere(process));
    expectWork();
}

TEST_F(BrokenPlugins, ThoseThatCrashAreLeftOutByNameAndTheProgramWorks)
{
    struct Case
    {
        const Kind& kind;
        const char* fault;
    };
    const Case cases[] = {{tool, "constructor crash"},    {tool, "init wild"},
                          {tool, "groupName crash"},      {tool, "description wild"},
                          {tool, "toolButton crash"},     {tool, "optionsWidget wild"},
                          {process, "constructor wild"},  {process, "init crash"},
                          {process, "description crash"}, {process, "menuName wild"},
                          {process, "processNames crash"}};
    for (const Case& one : cases) {
        SCOPED_TRACE(one.fault);
        testsupport::expectWarning(QStringLiteral("%1.so is left out: in a test run it crashed")
                                       .arg(QLatin1String(one.kind.library)));
        if (one.kind.library == tool.library)
            testsupport::expectWarning(QStringLiteral("has an entry without a name"));
        start(one.kind, one.fault);
        EXPECT_FALSE(isThere(one.kind));
        EXPECT_TRUE(isThere(one.kind.library == tool.library ? process : tool));
        expectWork();
    }
}

TEST_F(BrokenPlugins, OneThatHangsCostsTenSecondsOnceAndIsLeftOut)
{
    testsupport::expectWarning(QStringLiteral("has an entry without a name"));
    testsupport::expectWarning(
        QStringLiteral("brokentool.so is left out: in a test run it did not answer within 10 s"));
    QElapsedTimer timer;
    timer.start();
    start(tool, "init hang");
    EXPECT_GE(timer.elapsed(), 10000);
    EXPECT_FALSE(isThere(tool));
    expectWork();
    // The verdict is kept: the next start asks nobody.
    testsupport::expectWarning(QStringLiteral("has an entry without a name"));
    testsupport::expectWarning(QStringLiteral("brokentool.so is left out: in a test run it did not answer"));
    timer.restart();
    showWith(libraries);
    EXPECT_LT(timer.elapsed(), 9000);
    EXPECT_FALSE(isThere(tool));
}

TEST_F(BrokenPlugins, ThoseThatThrowAreLeftOutByName)
{
    testsupport::expectWarning(QStringLiteral("has an entry without a name"));
    testsupport::expectWarning(QStringLiteral("brokentool.so is left out: init threw: thrown in init"));
    start(tool, "init throw");
    EXPECT_FALSE(isThere(tool));
    expectWork();
    testsupport::expectWarning(QStringLiteral("has an entry without a name"));
    testsupport::expectWarning(
        QStringLiteral("brokentool.so is left out: in a test run it threw: thrown in constructor"));
    start(tool, "constructor throw");
    EXPECT_FALSE(isThere(tool));
    testsupport::expectWarning(QStringLiteral("process Broken Process is left out: thrown in menuName"));
    start(process, "menuName throw");
    EXPECT_FALSE(isThere(process));
    EXPECT_TRUE(isThere(tool));
    expectWork();
}

TEST_F(BrokenPlugins, ThoseThatRefuseAreLeftOutWithoutAWord)
{
    testsupport::expectWarning(QStringLiteral("has an entry without a name"));
    start(tool, "init refuse");
    EXPECT_FALSE(isThere(tool));
    start(process, "init refuse");
    EXPECT_FALSE(isThere(process));
    EXPECT_TRUE(isThere(tool));
    expectWork();
}

TEST_F(BrokenPlugins, ALibraryThatIsCalledLikeAnotherIsPassedOver)
{
    m_window.reset();
    const QString folder = m_folder + QStringLiteral("/Plugins/Test");
    ASSERT_TRUE(QDir().mkpath(folder));
    const auto disguise = [&](const char* library, const char* as) {
        ASSERT_TRUE(QFile::copy(QStringLiteral(TEST_PLUGINS "/%1.so").arg(QLatin1String(library)),
                                folder + QStringLiteral("/%1.so").arg(QLatin1String(as))));
    };
    disguise("brokentool", "a selectcursor");
    disguise("brokenprocess", "a minimalprocess");
    showWith(
        {QStringLiteral("selectcursor"), QStringLiteral("minimalprocess"), QStringLiteral("minimaltool")});
    EXPECT_NE(button("Cursor Selection"), nullptr);
    EXPECT_FALSE(isThere(tool) || isThere(process));
    expectWork();
}

// Ids of the shortcut table are made of names, so a plug-in can claim those of the program.
TEST_F(BrokenPlugins, ANameThatBelongsToTheProgramTakesNothingAway)
{
    struct Case
    {
        const char* name;
        const char* id;
        const char* keys;
    };
    for (const Case& one :
         {Case{"Hand", "toolshand", "H"}, Case{"Increase Brush Size", "toolsincreasebrushsize", "]"},
          Case{"Minimal Selection", "toolsminimalselection", ""}, Case{"Reset", "toolsreset", ""},
          Case{"File Save", "filesave", "Ctrl+S"}, Case{"View Grid", "viewgrid", "G"},
          Case{"Tools Zoom", "toolszoom", "Z"}}) {
        SCOPED_TRACE(one.name);
        m_window.reset();
        m_folder = testsupport::makeFolder(QStringLiteral("liar"));
        qputenv("MORVANE_TEST_NAME", one.name);
        testsupport::expectWarning(QStringLiteral("has an entry without a name"));
        testsupport::expectWarning(
            QStringLiteral("has no keys: its id \"%1\" is empty or taken").arg(QLatin1String(one.id)));
        // The others first, where the name is theirs.
        showWith({libraries[2], libraries[3], libraries[0], libraries[1]});
        qunsetenv("MORVANE_TEST_NAME");
        EXPECT_EQ(QKeySequence::listToString(action(one.id).shortcuts()).section(QStringLiteral("; "), 0, 0),
                  QLatin1String(one.keys));
        QStringList texts;
        for (QToolButton* each : m_window->toolBars().tools()->buttons())
            texts << each->accessibleName();
        EXPECT_TRUE(texts.contains(QLatin1String(one.name))) << "it works by the mouse";
        EXPECT_TRUE(processes().contains(QStringLiteral("Break")));
        expectWork();
    }
}

TEST_F(BrokenPlugins, TheKeyOfTheHandChoosesTheHandThoughAPluginIsCalledSo)
{
    m_folder = testsupport::makeFolder(QStringLiteral("hand"));
    qputenv("MORVANE_TEST_NAME", "Hand");
    testsupport::expectWarning(QStringLiteral("has an entry without a name"));
    testsupport::expectWarning(QStringLiteral("Hand has no keys"));
    showWith(libraries);
    action("toolsminimalselection").trigger();
    m_window->setFocus();
    QTest::keyClick(m_window.get(), Qt::Key_H);
    EXPECT_TRUE(action("toolshand").isChecked());
    EXPECT_EQ(qApp->property("defaulttool").toInt(), int(EventId::ToolPanActivate));
}

TEST_F(BrokenPlugins, OneWithoutANameIsCalledByItsAction)
{
    m_folder = testsupport::makeFolder(QStringLiteral("nameless"));
    qputenv("MORVANE_TEST_NAME", "  ");
    testsupport::expectWarning(QStringLiteral("has an entry without a name"));
    testsupport::expectWarning(QStringLiteral("Break has no keys: its id \"\" is empty or taken"));
    showWith(libraries);
    EXPECT_NE(button("Broken"), nullptr);
    expectWork();
}

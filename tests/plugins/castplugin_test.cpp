// How an instance is sorted, with plug-ins that live in this program.
#include "plugins/ideviceplugin.h"
#include "plugins/ifileplugin.h"
#include "plugins/iprocessplugin.h"
#include "plugins/itoolplugin.h"
#include "plugins/pluginloader.h"
#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

// The parts that all fakes share: what init() answers and what it saw.
struct Life
{
    bool accept = true;
    bool hostWasFilled = false;
    QString libraryPath;

    bool init(const HostTable& host, const QString& path)
    {
        hostWasFilled = host.zero != nullptr;
        libraryPath = path;
        return accept;
    }
};

class FakeFile : public QObject, public IFilePlugin
{
    Q_OBJECT
    Q_INTERFACES(IFilePlugin)
public:
    Life life;
    bool throws = false;
    bool init(const QString& path, QWidget*) override
    {
        if (throws)
            throw std::runtime_error("no good");
        return life.init(host, path);
    }
    QString description() const override { return {}; }
    QStringList importFilters() const override { return {}; }
    QStringList exportFilters() const override { return {}; }
    bool importFile(const QString&, IImportSink&) override { return false; }
    bool exportFile(const QString&, const QString&, IExportSource&) override { return false; }
};

class FakeDevice : public IDevicePlugin
{
    Q_OBJECT
    Q_INTERFACES(IDevicePlugin)
public:
    Life life;
    bool isOpen() const override { return false; }
    bool init(const QString& path, QWidget*) override { return life.init(host, path); }
    QString description() const override { return {}; }
    QStringList audioApis() const override { return {}; }
};

class FakeTool : public IToolPlugin
{
    Q_OBJECT
    Q_INTERFACES(IToolPlugin)
public:
    explicit FakeTool(const char* group) : name(QString::fromLatin1(group)) {}
    Life life;
    QString name;
    bool init(const QString& path, QWidget*) override { return life.init(host, path); }
    QString description() const override { return {}; }
    QString groupName() const override { return name; }
    QToolButton* toolButton() override { return nullptr; }
    QWidget* optionsWidget() override { return nullptr; }
    bool execute(const MouseEvent&, QCursor&, QPainterPath&, QList<ToolControl>&, uint32_t) override
    {
        return false;
    }
};

class FakeProcess : public QObject, public IProcessPlugin
{
    Q_OBJECT
    Q_INTERFACES(IProcessPlugin)
public:
    Life life;
    bool init(const QString& path, QWidget*) override { return life.init(host, path); }
    QString description() const override { return {}; }
    QString menuName() const override { return {}; }
    QStringList processNames() const override { return {}; }
    bool execute(const QString&) override { return false; }
};

PluginLoader::Settings settings()
{
    PluginLoader::Settings s;
    s.fillHostTable = [](HostTable& table) { table.zero = [](float*, int64_t) {}; };
    return s;
}

} // namespace

TEST(CastPlugin, SortsByTheFirstInterfaceThatAnswers)
{
    PluginLoader loader;
    FakeFile file;
    FakeDevice device;
    FakeTool tool("a");
    FakeProcess process;
    EXPECT_TRUE(loader.castPlugin(&process, QStringLiteral("/p/process.so"), settings()));
    EXPECT_TRUE(loader.castPlugin(&tool, QStringLiteral("/p/tool.so"), settings()));
    EXPECT_TRUE(loader.castPlugin(&device, QStringLiteral("/p/device.so"), settings()));
    EXPECT_TRUE(loader.castPlugin(&file, QStringLiteral("/p/file.so"), settings()));
    EXPECT_EQ(loader.filePlugins(), QList<IFilePlugin*>{&file});
    EXPECT_EQ(loader.devicePlugins(), QList<IDevicePlugin*>{&device});
    EXPECT_EQ(loader.toolPlugins(), QList<IToolPlugin*>{&tool});
    EXPECT_EQ(loader.processPlugins(), QList<IProcessPlugin*>{&process});
    for (const Life* life : {&file.life, &device.life, &tool.life, &process.life})
        EXPECT_TRUE(life->hostWasFilled); // before init
    EXPECT_EQ(file.life.libraryPath, QStringLiteral("/p/file.so"));
}

TEST(CastPlugin, NullAndWhatAnswersToNothingAreRefused)
{
    PluginLoader loader;
    QObject nothing;
    EXPECT_FALSE(loader.castPlugin(nullptr, QStringLiteral("x"), settings()));
    EXPECT_FALSE(loader.castPlugin(&nothing, QStringLiteral("x"), settings()));
}

TEST(CastPlugin, ARefusedInitCountsAsHandledButIsInNoList)
{
    PluginLoader loader;
    FakeFile file;
    file.life.accept = false;
    EXPECT_TRUE(loader.castPlugin(&file, QStringLiteral("x"), settings()));
    EXPECT_TRUE(loader.filePlugins().isEmpty());
}

TEST(CastPlugin, AnInitThatThrowsIsReportedByNameAndLeftOut)
{
    PluginLoader loader;
    FakeFile file;
    file.throws = true;
    testsupport::expectWarning(QStringLiteral("thrower.so is left out: init threw: no good"));
    EXPECT_TRUE(loader.castPlugin(&file, QStringLiteral("/p/thrower.so"), settings()));
    EXPECT_TRUE(loader.filePlugins().isEmpty());
}

TEST(CastPlugin, AToolStandsBehindTheLastOfItsGroup)
{
    PluginLoader loader;
    FakeTool a1("a"), b1("b"), a2("a"), c1("c"), b2("b"), a3("a");
    for (FakeTool* tool : {&a1, &b1, &a2, &c1, &b2, &a3})
        loader.castPlugin(tool, QStringLiteral("x"), settings());
    EXPECT_EQ(loader.toolPlugins(), (QList<IToolPlugin*>{&a1, &a2, &a3, &b1, &b2, &c1}));
}

TEST(CastPlugin, ShortcutIdsOfLevelsWithThreeNamesAreLevelsLevels2AndLevels3)
{
    EXPECT_EQ(processShortcutId(QStringLiteral("Levels"), 0), QStringLiteral("levels"));
    EXPECT_EQ(processShortcutId(QStringLiteral("Levels"), 1), QStringLiteral("levels2"));
    EXPECT_EQ(processShortcutId(QStringLiteral("Levels"), 2), QStringLiteral("levels3"));
    EXPECT_EQ(processShortcutId(QStringLiteral("Noise Reduction"), 0), QStringLiteral("noisereduction"));
}

#include "castplugin_test.moc"

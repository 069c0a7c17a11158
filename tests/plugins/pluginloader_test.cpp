// Finding and loading, with real libraries, most of them wrong in one way.
#include "plugins/ifileplugin.h"
#include "plugins/pluginloader.h"
#include "plugins/pluginprobe.h"
#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <clocale>

#include <unistd.h>

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>

namespace {

// A plug-in folder with copies of some fakes below Files/, and a folder in which each load leaves a
// trace.
struct Installation
{
    QString root = testsupport::makeFolder(QStringLiteral("plugins"));
    QString traces = testsupport::makeFolder(QStringLiteral("traces"));
    QString cache = testsupport::makeFolder(QStringLiteral("cache"));

    explicit Installation(const QStringList& names)
    {
        qputenv("FAKE_TRACES", traces.toLocal8Bit());
        QDir().mkpath(root + QStringLiteral("/Files"));
        for (const QString& name : names)
            EXPECT_TRUE(QFile::copy(QStringLiteral(FAKES "/%1.so").arg(name), path(name)));
    }
    [[nodiscard]] QString path(const QString& name) const
    {
        return QStringLiteral("%1/Files/%2.so").arg(root, name);
    }
    // A host table with every entry set, as init() of the fakes wants it.
    [[nodiscard]] PluginLoader::Settings settings(const QString& content, bool probe = false) const
    {
        PluginLoader::Settings s;
        s.folder = root;
        s.rows = {{QStringLiteral("files"), QStringLiteral("/files/"), content}};
        s.fillHostTable = [](HostTable& table) {
            auto** entries = reinterpret_cast<void**>(&table);
            std::fill_n(entries, hostTableEntries, reinterpret_cast<void*>(&std::setlocale));
        };
        s.probeProgram = probe ? QStringLiteral(PROBE) : QString();
        s.cacheFolder = cache;
        return s;
    }
    // How often a library was loaded, here or in a helper.
    [[nodiscard]] int loads(const char* name, bool here) const
    {
        int count = 0;
        for (const QString& file : QDir(traces).entryList(QDir::Files))
            if (file.contains(QLatin1Char('.') + QLatin1String(name) + QLatin1Char('.')))
                count += file.endsWith(QLatin1Char('.') + QString::number(getpid())) == here;
        return count;
    }
};

QStringList descriptions(const PluginLoader& loader)
{
    QStringList list;
    for (IFilePlugin* plugin : loader.filePlugins())
        list << plugin->description().section(QLatin1Char('.'), -1);
    return list;
}

} // namespace

// Libraries stay loaded in this process, and a path that was loaded once is not loaded again: each
// test has folders of its own.

TEST(PluginLoaderTest, LoadsInTheOrderOfRowsAndNamesNotOfTheDisk)
{
    const Installation disk({QStringLiteral("fakegood"), QStringLiteral("fakelocale")});
    PluginLoader loader;
    EXPECT_EQ(loader.load(disk.settings(QStringLiteral("fakelocale fakegood"))), 2);
    EXPECT_EQ(descriptions(loader), (QStringList{QStringLiteral("fakelocale"), QStringLiteral("fakegood")}));
}

TEST(PluginLoaderTest, OnlyWhatARowNamesIsLoaded)
{
    const Installation disk({QStringLiteral("fakegood"), QStringLiteral("fakecrash")});
    PluginLoader loader;
    EXPECT_EQ(loader.load(disk.settings(QStringLiteral("fakegood"))), 1);
    EXPECT_EQ(disk.loads("fakegood", true), 1);
    EXPECT_EQ(disk.loads("fakecrash", true), 0);
}

TEST(PluginLoaderTest, ANameInTwoRowsIsCastOnce)
{
    const Installation disk({QStringLiteral("fakegood")});
    PluginLoader::Settings settings = disk.settings(QStringLiteral("fakegood"));
    settings.rows << settings.rows[0];
    PluginLoader loader;
    EXPECT_EQ(loader.load(settings), 1);
    EXPECT_EQ(loader.filePlugins().size(), 1);
}

TEST(PluginLoaderTest, ALibraryWhoseFileNameHoldsTheNameButWhoseIidDoesNotIsSkipped)
{
    const Installation disk({QStringLiteral("fakeliar")});
    PluginLoader loader;
    EXPECT_EQ(loader.load(disk.settings(QStringLiteral("fakeliar"))), 0);
    EXPECT_EQ(disk.loads("somebodyelse", true), 0); // not even loaded
}

TEST(PluginLoaderTest, AShortNameAlsoMatchesALongerOneThatHoldsIt)
{
    const Installation disk({QStringLiteral("fakegood"), QStringLiteral("fakegoodlonger")});
    PluginLoader loader;
    EXPECT_EQ(loader.load(disk.settings(QStringLiteral("fakegood"))), 2);
}

TEST(PluginLoaderTest, PathsAreComparedWithoutCaseAndIidsWithCase)
{
    const Installation disk({QStringLiteral("fakegood")});
    PluginLoader::Settings settings = disk.settings(QStringLiteral("FAKEGOOD"));
    PluginLoader loader;
    EXPECT_EQ(loader.load(settings), 0); // the file name matches, the IID does not
    settings.rows = {{{}, QStringLiteral("/FILES/"), QStringLiteral("fakegood")}};
    EXPECT_EQ(loader.load(settings), 1);
    settings.rows = {{{}, QStringLiteral("/tools/"), QStringLiteral("fakegood")}};
    PluginLoader other;
    EXPECT_EQ(other.load(settings), 0);
}

TEST(PluginLoaderTest, AnEmptyContentRowIsSkippedEvenWithAPath)
{
    const Installation disk({QStringLiteral("fakegood")});
    PluginLoader loader;
    EXPECT_EQ(loader.load(disk.settings(QString())), 0);
    PluginLoader::Settings noPath = disk.settings(QStringLiteral("fakegood"));
    noPath.rows[0].path.clear();
    EXPECT_EQ(loader.load(noPath), 0);
}

TEST(PluginLoaderTest, LinksInTheFolderAreNotFollowed)
{
    const Installation disk({});
    const QString elsewhere = testsupport::makeFolder();
    ASSERT_TRUE(
        QFile::copy(QStringLiteral(FAKES "/fakegood.so"), elsewhere + QStringLiteral("/fakegood.so")));
    ASSERT_TRUE(
        QFile::link(elsewhere + QStringLiteral("/fakegood.so"), disk.path(QStringLiteral("fakegood"))));
    ASSERT_TRUE(QFile::link(elsewhere, disk.root + QStringLiteral("/Files/more")));
    ASSERT_TRUE(QFile::link(disk.root, disk.root + QStringLiteral("/Files/circle")));
    PluginLoader loader;
    EXPECT_EQ(loader.load(disk.settings(QStringLiteral("fakegood"))), 0);
}

TEST(PluginLoaderTest, JunkCutLibrariesAndMissingFoldersStopNothing)
{
    const Installation disk({QStringLiteral("fakegood")});
    QFile good(disk.path(QStringLiteral("fakegood")));
    ASSERT_TRUE(good.open(QFile::ReadOnly));
    const QByteArray bytes = good.readAll();
    const auto write = [&](const char* name, const QByteArray& content) {
        QFile file(disk.path(QString::fromLatin1(name)));
        ASSERT_TRUE(file.open(QFile::WriteOnly));
        file.write(content);
    };
    write("fakegood-cut", bytes.left(bytes.size() / 2));
    write("fakegood-text", "fakegood com.Application.IFilePlugin.fakegood");
    write("fakegood-empty", {});
    PluginLoader loader;
    EXPECT_EQ(loader.load(disk.settings(QStringLiteral("fakegood"))), 1);
    PluginLoader::Settings nowhere = disk.settings(QStringLiteral("fakegood"));
    nowhere.folder += QStringLiteral("/none");
    EXPECT_EQ(loader.load(nowhere), 0);
}

TEST(PluginLoaderTest, OneThatRefusesCountsAndIsInNoList)
{
    const Installation disk({QStringLiteral("fakerefuse"), QStringLiteral("fakegood")});
    PluginLoader loader;
    EXPECT_EQ(loader.load(disk.settings(QStringLiteral("fakerefuse fakegood"))), 2);
    EXPECT_EQ(descriptions(loader), QStringList{QStringLiteral("fakegood")});
}

TEST(PluginLoaderTest, OnesThatThrowAreReportedByNameAndLeftOut)
{
    const Installation disk(
        {QStringLiteral("fakethrow"), QStringLiteral("fakectorthrow"), QStringLiteral("fakegood")});
    testsupport::expectWarning(QStringLiteral("fakethrow.so is left out: init threw: thrown in init"));
    testsupport::expectWarning(
        QStringLiteral("fakectorthrow.so is left out: loading threw: thrown while it was made"));
    PluginLoader loader;
    loader.load(disk.settings(QStringLiteral("fakethrow fakectorthrow fakegood")));
    EXPECT_EQ(descriptions(loader), QStringList{QStringLiteral("fakegood")});
}

TEST(PluginLoaderTest, OneThatAnswersToNoInterfaceDoesNotCount)
{
    const Installation disk({QStringLiteral("fakenothing")});
    PluginLoader loader;
    EXPECT_EQ(loader.load(disk.settings(QStringLiteral("fakenothing"))), 0);
}

TEST(PluginLoaderTest, NumbersReadTheSameAfterAPluginChangedTheLocale)
{
    const Installation disk({QStringLiteral("fakelocale")});
    PluginLoader loader;
    ASSERT_EQ(loader.load(disk.settings(QStringLiteral("fakelocale"))), 1);
    EXPECT_STREQ(std::setlocale(LC_NUMERIC, nullptr), "C");
}

TEST(PluginLoaderTest, ACrashInInitHappensInTheHelperAndIsRemembered)
{
    const Installation disk({QStringLiteral("fakecrash"), QStringLiteral("fakegood")});
    for (const int helpers : {1, 1}) { // the second start asks nobody
        testsupport::expectWarning(QStringLiteral("fakecrash.so is left out: in a test run it crashed"));
        PluginLoader loader;
        loader.load(disk.settings(QStringLiteral("fakecrash fakegood"), true));
        EXPECT_EQ(descriptions(loader), QStringList{QStringLiteral("fakegood")});
        EXPECT_EQ(disk.loads("fakecrash", false), helpers);
        EXPECT_EQ(disk.loads("fakecrash", true), 0);
        EXPECT_EQ(disk.loads("fakegood", false), helpers);
    }
}

TEST(PluginLoaderTest, OneThatHangsIsGivenUpAfterTheLimit)
{
    const Installation disk({QStringLiteral("fakehang"), QStringLiteral("fakegood")});
    PluginLoader::Settings settings = disk.settings(QStringLiteral("fakehang fakegood"), true);
    settings.probeLimit = 1500;
    testsupport::expectWarning(QStringLiteral("fakehang.so is left out: in a test run it did not answer"));
    QElapsedTimer timer;
    timer.start();
    PluginLoader loader;
    loader.load(settings);
    EXPECT_EQ(descriptions(loader), QStringList{QStringLiteral("fakegood")});
    EXPECT_LT(timer.elapsed(), 8000);
    EXPECT_EQ(disk.loads("fakehang", true), 0);
}

TEST(PluginProbeTest, AVerdictHoldsUntilTheLibraryChanges)
{
    const Installation disk({QStringLiteral("fakecrash")});
    const QString path = disk.path(QStringLiteral("fakecrash"));
    {
        PluginProbe probe(QStringLiteral(PROBE), disk.cache);
        EXPECT_FALSE(probe.isSafe(path));
        EXPECT_EQ(probe.cause(), QStringLiteral("crashed"));
        EXPECT_FALSE(probe.isSafe(path));
        EXPECT_EQ(probe.runs(), 1);
    }
    PluginProbe later(QStringLiteral(PROBE), disk.cache);
    EXPECT_FALSE(later.isSafe(path));
    EXPECT_EQ(later.runs(), 0);
    ASSERT_TRUE(QFile::remove(path));
    ASSERT_TRUE(QFile::copy(QStringLiteral(FAKES "/fakegood.so"), path));
    EXPECT_TRUE(later.isSafe(path));
    EXPECT_EQ(later.runs(), 1);
}

TEST(PluginProbeTest, ADamagedVerdictFileCostsARunAndNothingElse)
{
    const Installation disk({QStringLiteral("fakegood")});
    for (const char* content : {"", "[", "{\"a\":[[[[", "[[1,2,3],4,[],[null]]"}) {
        QFile file(disk.cache + QStringLiteral("/plugins.json"));
        ASSERT_TRUE(file.open(QFile::WriteOnly | QFile::Truncate));
        file.write(content);
        file.close();
        PluginProbe probe(QStringLiteral(PROBE), disk.cache);
        EXPECT_TRUE(probe.isSafe(disk.path(QStringLiteral("fakegood"))));
        EXPECT_EQ(probe.runs(), 1);
    }
}

TEST(PluginProbeTest, WithoutAHelperPluginsAreLoadedAllTheSame)
{
    const Installation disk({QStringLiteral("fakegood")});
    testsupport::expectWarning(QStringLiteral("plug-ins are loaded without a test"));
    PluginProbe probe(QStringLiteral("/nowhere/probe"), disk.cache);
    EXPECT_TRUE(probe.isSafe(disk.path(QStringLiteral("fakegood"))));
}

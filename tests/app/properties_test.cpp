#include "app/propertiesloader.h"

#include "support/testsupport.h"
#include "ui/widgets/usersettings.h"

#include <gtest/gtest.h>

#include <memory>

#include <sys/stat.h>

#include <QBuffer>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

namespace {

// An application object with no properties, an installation folder, and no stored settings.
class PropertiesTest : public testing::Test
{
protected:
    PropertiesTest()
    {
        static int argc = 1;
        static char name[] = "test";
        static char* argv[] = {name, nullptr};
        m_application = std::make_unique<QCoreApplication>(argc, argv);
        installation = testsupport::makeFolder();
        QDir(installation).mkpath(QStringLiteral("bin"));
        QDir(installation).mkpath(QStringLiteral("Resources"));
        QDir(QStandardPaths::writableLocation(QStandardPaths::ConfigLocation) + QStringLiteral("/Morvane"))
            .removeRecursively();
    }

    void load(const QString& edition = {}, bool reset = false)
    {
        PropertiesLoader loader(*m_application, {QStringLiteral("Morvane 1"),
                                                 installation + QStringLiteral("/bin/"), edition, reset});
        loader.loadFactory();
        loader.applyUserSettings();
    }
    void read(const char* xml)
    {
        QBuffer buffer;
        buffer.setData(QByteArray(xml));
        buffer.open(QIODevice::ReadOnly);
        PropertiesLoader(*m_application, {}).readSettings(buffer);
    }
    void restart()
    {
        m_application.reset();
        static int argc = 1;
        static char name[] = "test";
        static char* argv[] = {name, nullptr};
        m_application = std::make_unique<QCoreApplication>(argc, argv);
    }
    QVariant value(const char* key) const { return m_application->property(key); }
    std::string text(const char* key) const { return value(key).toString().toStdString(); }

    QString installation;

private:
    std::unique_ptr<QCoreApplication> m_application;
};

struct Row
{
    const char* key;
    const char* value;
};

} // namespace

TEST_F(PropertiesTest, anEditionWithoutABlockLeavesTheBaseValuesAndKeepsItsId)
{
    load(QStringLiteral("unheard"));
    EXPECT_EQ(text("edition"), "unheard");
    EXPECT_EQ(text("name"), "Morvane");
    EXPECT_EQ(text("major"), "6");
    EXPECT_EQ(text("defaultexportformat"), "Microsoft WAV (*.wav)");
}

TEST_F(PropertiesTest, anEmptyElementOfABlockOverwritesTheBaseValue)
{
    read("<settings><defaultexportformat>WAV</defaultexportformat>"
         "<edition id='x'><defaultexportformat></defaultexportformat></edition></settings>");
    EXPECT_TRUE(value("defaultexportformat").isValid());
    EXPECT_EQ(text("defaultexportformat"), "");
}

TEST_F(PropertiesTest, aRaisedSettingsVersionClearsAllUserSettings)
{
    load();
    {
        UserSettings settings;
        EXPECT_EQ(settings.value(QStringLiteral("settingsversion")).toInt(), 195);
        settings.setValue(QStringLiteral("settingsversion"), 194);
        settings.setValue(QStringLiteral("recentfilelist"), QStringList{QStringLiteral("a.wav")});
        settings.setValue(QStringLiteral("shortcuts"), 5);
        settings.setValue(QStringLiteral("logs"), 3);
    }
    restart();
    load();
    EXPECT_EQ(text("logs"), "20");
    UserSettings settings;
    EXPECT_EQ(settings.allKeys(), QStringList{QStringLiteral("settingsversion")});
    EXPECT_EQ(settings.value(QStringLiteral("settingsversion")).toInt(), 195);
}

TEST_F(PropertiesTest, userSettingsGoOverTheFactoryValuesButNotIntoTheSnapshot)
{
    load();
    UserSettings().setValue(QStringLiteral("logs"), 3);
    restart();
    load();
    EXPECT_EQ(text("logs"), "3");
    const QVariantHash factory = value("defaultsettings").toHash();
    EXPECT_EQ(factory.value(QStringLiteral("logs")).toString(), QStringLiteral("20"));
    EXPECT_TRUE(factory.contains(QStringLiteral("logspath"))) << "computed paths belong to the snapshot";
}

TEST_F(PropertiesTest, resetLeavesTheStoreEmptyAndTheFactoryValues)
{
    load();
    UserSettings().setValue(QStringLiteral("logs"), 3);
    restart();
    load({}, true);
    EXPECT_EQ(text("logs"), "20");
    EXPECT_TRUE(UserSettings().allKeys().isEmpty());
}

TEST_F(PropertiesTest, aHelpPathOnTheWebStaysAndOthersBecomeFileAddresses)
{
    load();
    EXPECT_EQ(text("helppath"), "file:///" + installation.toStdString() + "/Documentation/index.html");
    EXPECT_EQ(text("manualpath"), "file:///" + installation.toStdString() + "/Manual/MV_USER_MANUAL.pdf");
    EXPECT_EQ(text("tutorialspath"), "") << "an empty one stays empty";
}

TEST_F(PropertiesTest, elementsBecomeStringsHashesAndNamesWithIds)
{
    read("<settings><plain>a b</plain><show id='GenerateReport'>false</show>"
         "<only platform='win'>kept</only><other platform='mac'>dropped</other>"
         "<include id='files' path='Plugins/Files' source='x'>one two</include></settings>");
    EXPECT_EQ(text("plain"), "a b");
    EXPECT_EQ(value("plain").type(), QVariant::String);
    EXPECT_EQ(text("show@GenerateReport"), "false");
    EXPECT_EQ(text("only"), "kept");
    EXPECT_FALSE(value("other").isValid());
    const QVariantHash include = value("include@files").toHash();
    EXPECT_EQ(include.value(QStringLiteral("path")).toString(), QStringLiteral("Plugins/Files"));
    EXPECT_EQ(include.value(QStringLiteral("content")).toString(), QStringLiteral("one two"));
    EXPECT_EQ(include.value(QStringLiteral("source")).toString(), QStringLiteral("x"));
}

TEST_F(PropertiesTest, theFirstBlockAppliesWhenNoEditionIsKnownAndOthersAreSkipped)
{
    read("<settings><a>0</a><edition id='one'><a>1</a></edition>"
         "<edition id='two'><a>2</a><b>2</b></edition><c>3</c></settings>");
    EXPECT_EQ(text("edition"), "one");
    EXPECT_EQ(text("a"), "1");
    EXPECT_FALSE(value("b").isValid());
    EXPECT_EQ(text("c"), "3") << "reading goes on behind a skipped block";
}

TEST_F(PropertiesTest, brokenSettingsEndEarlyAndKeepWhatWasRead)
{
    read("<settings><a>1</a><b>2</b><c><nested/></c><d>4</d></settings>");
    EXPECT_EQ(text("b"), "2");
    EXPECT_FALSE(value("d").isValid());
    read("<settings><e>5</e><f>6");
    EXPECT_EQ(text("e"), "5");
    EXPECT_FALSE(value("f").isValid());
    read("");
    read("not xml at all");
    read("<other><g>7</g></other>");
    EXPECT_FALSE(value("g").isValid());
}

TEST_F(PropertiesTest, theEditionComesFromTheInstallationAndTheOptionGoesBeforeIt)
{
    QFile file(installation + QStringLiteral("/Resources/edition"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("  radio \ncardio\n");
    file.close();
    load();
    EXPECT_EQ(text("edition"), "radio");
    EXPECT_EQ(text("name"), "Morvane Radio");
    restart();
    load(QStringLiteral("cardio"));
    EXPECT_EQ(text("name"), "Morvane Cardio");
}

TEST_F(PropertiesTest, theDefaultEditionIsTheFirstBlock)
{
    load();
    EXPECT_EQ(text("edition"), "mvp");
    EXPECT_EQ(QCoreApplication::applicationName(), QStringLiteral("Morvane"));
    EXPECT_EQ(QCoreApplication::applicationVersion(), QStringLiteral("6.0.30 Build 202"));
    EXPECT_EQ(text("sessionid"), "Morvane 1");
    EXPECT_EQ(text("path"), installation.toStdString());
    EXPECT_EQ(text("pluginspath"), installation.toStdString() + "/Plugins");
}

TEST_F(PropertiesTest, baseValuesAreThoseOfTheVocabulary)
{
    load();
    constexpr Row rows[] = {
        {"settingsversion", "195"},
        {"fileextension", "mvp"},
        {"backupextension", "mvx"},
        {"coloroverlay", "#ffffff"},
        {"sampletype", "real"},
        {"channelstype", "audio"},
        {"maxchannels", "8"},
        {"maxsamplerate", "192000"},
        {"defaultsamplerate", "48000"},
        {"languages", "en de fr es"},
        {"colorback", "#262626"},
        {"colorphase", "#e68e5c"},
        {"defaultwindow", "Blackman-Harris"},
        {"defaulttransformsize", "2048"},
        {"maxtransformsize", "32768"},
        {"defaultoverlap", "2"},
        {"timeoverlapratio", "4"},
        {"defaultfreqscale", "Mel"},
        {"defaultlowdb", "-90"},
        {"defaulthighdb", "-18"},
        {"defaultcolormap", "Laguna"},
        {"waveformdisplay", "0.1"},
        {"defaultfiltering", "Cubic"},
        {"renderingapi", "directx"},
        {"sessiondays", "7"},
        {"logs", "20"},
        {"history", "48"},
        {"wysiwyglimit", "2000000"},
        {"show@GenerateReport", "false"},
        {"wheelnavigation", "0"},
        {"leftbuttonnavigation", "1"},
        {"showgammasettings", "false"},
        {"showsizesettings", "true"},
        {"enable3dsettings", "true"},
        {"show3dsettings", "false"},
        {"defaultdeviceapi", ""},
        {"splashscreen", "mv/splashscreen.png"},
        {"selectionborderstyle", "marching ants"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(text(row.key), row.value) << row.key;
    EXPECT_FALSE(value("show@Edit").isValid());
    EXPECT_EQ(value("include@files").toHash().value(QStringLiteral("content")).toString(),
              QStringLiteral("ffmpeg"));
}

TEST_F(PropertiesTest, cardioDiffersFromTheBaseByItsBlock)
{
    load(QStringLiteral("cardio"));
    constexpr Row rows[] = {
        {"name", "Morvane Cardio"},
        {"major", "1"},
        {"minor", "0"},
        {"splashscreen", "cardio/splashscreen.png"},

        {"sampletype", "real"},
        {"channelstype", "ecg"},
        {"maxchannels", "12"},
        {"maxsamplerate", "192000"},
        {"defaultsamplerate", "1000"},
        {"renderingapi", "directx"},
        {"defaultpowerunit", "Value"},
        {"defaultfreqscale", "Mel"},
        {"defaultcomposite", "true"},
        {"waveformdisplay", ".25"},
        {"defaultgridenable", "true"},
        {"defaultlockspectrogram", "true"},
        {"defaultlockwaveform", "false"},
        {"defaultexportformat", "SCP-ECG (*.scp)"},
        {"default@lockfreq", "false"},
        {"show@Command", "false"},
        {"show@Transport", "false"},
        {"unrollhistorypanel", "false"},
        {"languages", "en de fr es"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(text(row.key), row.value) << row.key;
    EXPECT_EQ(text("manualpath"), "file:///" + installation.toStdString() + "/Manual/CARDIO_USER_MANUAL.pdf");
    EXPECT_EQ(value("include@files").toHash().value(QStringLiteral("content")).toString(),
              QStringLiteral("ffmpeg txtreader biosig dicom datdecoder cardioline"));
}

TEST_F(PropertiesTest, radioDiffersFromTheBaseByItsBlock)
{
    load(QStringLiteral("radio"));
    constexpr Row rows[] = {
        {"name", "Morvane Radio"},
        {"major", "1"},
        {"sampletype", "complex"},
        {"channelstype", "generic"},
        {"maxchannels", "64"},
        {"maxsamplerate", "10000000000000"},
        {"defaultsamplerate", "1000000"},
        {"renderingapi", "opengl"},
        {"maxtransformsize", "65536"},
        {"defaultfreqscale", "Linear"},
        {"waveformdisplay", "0."},
        {"defaultexportformat", ""},
        {"languages", "en"},
        {"show@Edit", "false"},
        {"show@GenerateReport", "true"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(text(row.key), row.value) << row.key;
    EXPECT_EQ(value("include@selecttools").toHash().value(QStringLiteral("content")).toString(),
              QStringLiteral("selectcursor selectmarquee selectlasso"));
    EXPECT_EQ(value("include@retouchtools").toHash().value(QStringLiteral("path")).toString(),
              QStringLiteral("Plugins/Tools"))
        << "rows that the block does not name stay";
}

TEST_F(PropertiesTest, thePicturesOfAllEditionsAreThere)
{
    for (const char* edition : {"mvp", "cardio", "radio"}) {
        restart();
        load(QString::fromLatin1(edition));
        for (const char* key : {"splashscreen", "about", "appicon", "fileicon", "manualcover"})
            EXPECT_TRUE(QFile::exists(QStringLiteral(":/resources/") + value(key).toString()))
                << edition << " " << key;
    }
}

TEST_F(PropertiesTest, foldersAreMadeForThisUserAlone)
{
    load();
    EXPECT_EQ(text("logspath"),
              qEnvironmentVariable("XDG_STATE_HOME").toStdString() + "/Morvane/Morvane/logs");
    EXPECT_EQ(text("presetspath"),
              qEnvironmentVariable("XDG_DATA_HOME").toStdString() + "/Morvane/Morvane/presets");
    for (const char* key : {"sessionpath", "logspath", "presetspath"}) {
        struct stat status;
        ASSERT_EQ(stat(text(key).c_str(), &status), 0) << text(key);
        EXPECT_EQ(status.st_mode & 07777, 0700u) << key;
    }
}

TEST_F(PropertiesTest, foldersThatCannotBeMadeFallBackToTheDefault)
{
    load();
    const std::string cache = text("sessionpath"), logs = text("logspath"), presets = text("presetspath");
    const QString file = installation + QStringLiteral("/file");
    ASSERT_TRUE(QFile(file).open(QIODevice::WriteOnly));
    for (const char* key : {"sessionpath", "logspath", "presetspath"})
        UserSettings().setValue(QString::fromLatin1(key), QString(file + QStringLiteral("/below")));
    restart();
    load();
    EXPECT_EQ(text("sessionpath"), cache);
    EXPECT_EQ(text("logspath"), logs);
    EXPECT_EQ(text("presetspath"), presets);
    EXPECT_TRUE(QFileInfo(QString::fromStdString(cache)).isDir());
}

TEST_F(PropertiesTest, aFolderOfTheUsersChoiceIsMade)
{
    load();
    const QString chosen = installation + QStringLiteral("/a/b");
    UserSettings().setValue(QStringLiteral("sessionpath"), chosen);
    restart();
    load();
    EXPECT_EQ(text("sessionpath"), chosen.toStdString());
    EXPECT_TRUE(QFileInfo(chosen).isDir());
}

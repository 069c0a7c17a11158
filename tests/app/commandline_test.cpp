#include "app/commandline.h"

#include "app/parentprocess.h"
#include "support/testsupport.h"
#include "ui/sessionrecords.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {

CommandLine words(const QStringList& list)
{
    return CommandLine(QStringList{QStringLiteral("morvane")} + list);
}

CommandLine words(std::initializer_list<const char*> list)
{
    QStringList strings;
    for (const char* word : list)
        strings << QString::fromUtf8(word);
    return words(strings);
}

// Makes the working folder one with empty files of these names, while it lives.
class FolderWith
{
public:
    explicit FolderWith(std::initializer_list<const char*> names)
    {
        const QString folder = testsupport::makeFolder();
        for (const char* name : names) {
            QFile file(folder + QLatin1Char('/') + QString::fromUtf8(name));
            EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        }
        QDir::setCurrent(folder);
    }
    ~FolderWith() { QDir::setCurrent(m_before); }

private:
    QString m_before = QDir::currentPath();
};

QList<SessionRecord> recordsOf(const CommandLine& line, const QString& parent = {},
                               const QString& server = {})
{
    const SessionRecords read = readSessionRecords(line.importQueue(parent, server));
    EXPECT_EQ(read.fault.toStdString(), "");
    return read.records;
}

QString nameOf(const SessionRecord& record)
{
    return QFileInfo(record.path).fileName();
}

} // namespace

TEST(Threads, zeroAndNegativeValuesGiveOne)
{
    EXPECT_EQ(words({"-threads", "0"}).threadCount(8), 1);
    EXPECT_EQ(words({"-threads", "-5"}).threadCount(8), 1);
}

TEST(Threads, aValueAboveTheIdealCountGivesTheIdealCount)
{
    EXPECT_EQ(words({"-threads", "99"}).threadCount(8), 8);
    EXPECT_EQ(words({"-threads", "3"}).threadCount(8), 3);
    EXPECT_EQ(words({"file.wav"}).threadCount(8), 8);
}

TEST(Threads, twoOptionsCanOnlyLower)
{
    EXPECT_EQ(words({"-threads", "2", "-threads", "6"}).threadCount(8), 2);
    EXPECT_EQ(words({"-threads", "6", "-threads", "2"}).threadCount(8), 2);
}

TEST(Threads, theOptionAsLastWordDoesNothing)
{
    EXPECT_EQ(words({"-threads"}).threadCount(8), 8);
}

TEST(Cpu, eachValueLeavesItsFeatures)
{
    const uint64_t all = ~uint64_t{0};
    EXPECT_EQ(words({"-cpu", "sse4.2"}).cpuFeatures(all), 0x80cdfu);
    EXPECT_EQ(words({"-cpu", "avx"}).cpuFeatures(all), 0x86fdfu);
    EXPECT_EQ(words({"-cpu", "avx2"}).cpuFeatures(all), 0xfefffu);
    EXPECT_EQ(words({"-cpu", "avx512"}).cpuFeatures(all), 0x1fefffu);
    EXPECT_EQ(words({"-cpu", "avx2", "-cpu", "avx"}).cpuFeatures(all), 0xfefffu & 0x86fdfu);
    EXPECT_EQ(words({"-cpu", "avx512"}).cpuFeatures(0x7), 0x7u) << "an option never adds a feature";
}

TEST(Cpu, asLastArgumentItDoesNothingAndAnUnknownValueKeepsTheDetectedMask)
{
    EXPECT_EQ(words({"-cpu"}).cpuFeatures(0x1fefff), 0x1fefffu);
    EXPECT_TRUE(words({"-cpu"}).values("-cpu").isEmpty());
    EXPECT_EQ(words({"-cpu", "foo"}).cpuFeatures(0x1fefff), 0x1fefffu);
    EXPECT_FALSE(words({"-cpu", "foo"}).values("-cpu").isEmpty()) << "the mask is applied again";
    EXPECT_EQ(words({"-CPU", "avx"}).cpuFeatures(0x1fefff), 0x1fefffu) << "matching is exact";
}

TEST(Edition, asLastArgumentIsIgnored)
{
    EXPECT_TRUE(words({"-edition"}).value("-edition").isNull());
    EXPECT_EQ(words({"-edition", "cardio"}).value("-edition"), QStringLiteral("cardio"));
}

TEST(Options, firstOrLastOccurrenceWinsAsTheTableSays)
{
    EXPECT_EQ(words({"-edition", "a", "-edition", "b"}).value("-edition"), QStringLiteral("a"));
    EXPECT_EQ(words({"-deviceapi", "a", "-deviceapi", "b"}).value("-deviceapi"), QStringLiteral("a"));
    EXPECT_EQ(words({"-parent", "a", "-parent", "b"}).value("-parent"), QStringLiteral("b"));
    EXPECT_EQ(words({"-language", "de", "-language", "fr", "-language"}).value("-language"),
              QStringLiteral("fr"));
}

TEST(Options, flagsAreComparedExactlyModesAreNot)
{
    EXPECT_TRUE(words({"-debug"}).has("-debug"));
    EXPECT_FALSE(words({"-Debug"}).has("-debug"));
    EXPECT_FALSE(words({"-debugger"}).has("-debug"));
    EXPECT_TRUE(words({"-MERGE"}).has("-merge"));
}

TEST(Help, hasOneLineForEachOptionAndSaysWhatCpuDoesToTheTransforms)
{
    const QStringList lines = CommandLine::help().split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    EXPECT_EQ(lines.size(), CommandLine::options().size() + 1);
    for (const OptionRow& row : CommandLine::options())
        EXPECT_EQ(lines.filter(QStringLiteral("  %1 ").arg(QLatin1String(row.word))).size(), 1) << row.word;
    EXPECT_TRUE(lines.filter(QStringLiteral("-cpu")).first().contains(QLatin1String("Fourier")));
}

TEST(ImportQueue, modesAndStartSamplesApplyToTheFilesThatFollow)
{
    const FolderWith files({"a.wav", "b.wav", "c.wav"});
    const auto records = recordsOf(words({"-merge", "a.wav", "1000", "b.wav", "-edit", "c.wav"}));
    ASSERT_EQ(records.size(), 3);
    EXPECT_EQ(records[0].header, SessionHeader::Merge);
    EXPECT_EQ(nameOf(records[0]), QStringLiteral("a.wav"));
    EXPECT_EQ(records[0].startSample, 1000);
    EXPECT_EQ(records[1].header, SessionHeader::Merge);
    EXPECT_EQ(nameOf(records[1]), QStringLiteral("b.wav"));
    EXPECT_EQ(records[1].startSample, 0);
    EXPECT_EQ(records[2].header, SessionHeader::Edit);
    EXPECT_EQ(nameOf(records[2]), QStringLiteral("c.wav"));
    EXPECT_EQ(records[2].startSample, 0);
}

TEST(ImportQueue, aTranslationIsNeverImported)
{
    const FolderWith files({"x.qm", "y.QM", "z.wav"});
    const auto records = recordsOf(words({"-language", "x.qm", "y.QM", "z.wav"}));
    ASSERT_EQ(records.size(), 1);
    EXPECT_EQ(nameOf(records[0]), QStringLiteral("z.wav"));
}

TEST(ImportQueue, aNumberAfterAFileIsReadAndImportedToo)
{
    const FolderWith files({"a.wav", "1000"});
    const auto records = recordsOf(words({"a.wav", "1000"}));
    ASSERT_EQ(records.size(), 2);
    EXPECT_EQ(records[0].startSample, 1000);
    EXPECT_EQ(nameOf(records[1]), QStringLiteral("1000"));
    EXPECT_EQ(records[1].startSample, 0);
}

TEST(ImportQueue, anEmptyArgumentReadsAsZeroAndOtherTextIsNoNumber)
{
    const FolderWith files({"a.wav"});
    EXPECT_EQ(recordsOf(words({"a.wav", ""}))[0].startSample, 0);
    EXPECT_EQ(recordsOf(words({"a.wav", "12x"}))[0].startSample, 0);
    EXPECT_EQ(recordsOf(words({"a.wav", "-3"}))[0].startSample, 0);
    EXPECT_EQ(recordsOf(words({"a.wav", "99999999999999999999"}))[0].startSample, 0) << "no 64-bit number";
}

TEST(ImportQueue, foldersMissingFilesAndTheProgramItselfAreSkipped)
{
    const FolderWith files({"morvane", "a.wav"});
    QDir().mkdir(QStringLiteral("folder"));
    const auto records = recordsOf(words({"folder", "missing.wav", "a.wav"}));
    ASSERT_EQ(records.size(), 1);
    EXPECT_EQ(nameOf(records[0]), QStringLiteral("a.wav"));
}

TEST(ImportQueue, pathsAreAbsoluteAndNamedByParentOrFile)
{
    const FolderWith files({"a.wav"});
    const auto alone = recordsOf(words({"a.wav"}));
    EXPECT_EQ(alone[0].path, QDir::current().absoluteFilePath(QStringLiteral("a.wav")));
    EXPECT_EQ(alone[0].source, QStringLiteral("a.wav"));
    EXPECT_TRUE(alone[0].server.isEmpty());
    const auto sent = recordsOf(words({"a.wav"}), QStringLiteral("Host"), QStringLiteral("hostsrv"));
    EXPECT_EQ(sent[0].source, QStringLiteral("Host"));
    EXPECT_EQ(sent[0].server, QStringLiteral("hostsrv"));
}

TEST(ImportQueue, theAudioApiComesFirstAndRangesKeepTheirPlace)
{
    const FolderWith files({"a.wav", "b.wav"});
    const auto records = recordsOf(words(
        {"a.wav", "-TimeRange", "10", "-20", "b.wav", "-freqrange", "100.5", "2e3", "-deviceapi", "JACK"}));
    ASSERT_EQ(records.size(), 5);
    EXPECT_EQ(records[0].header, SessionHeader::AudioApi);
    EXPECT_EQ(records[0].api, QStringLiteral("JACK"));
    EXPECT_EQ(nameOf(records[1]), QStringLiteral("a.wav"));
    EXPECT_EQ(records[2].header, SessionHeader::TimeRange);
    EXPECT_EQ(records[2].start, 10);
    EXPECT_EQ(records[2].length, 20) << "the reader takes the absolute value";
    EXPECT_EQ(nameOf(records[3]), QStringLiteral("b.wav"));
    EXPECT_EQ(records[4].header, SessionHeader::FreqRange);
    EXPECT_EQ(records[4].start, 100.5);
    EXPECT_EQ(records[4].length, 2000);
}

TEST(ImportQueue, aRangeWithoutBothValuesIsIgnored)
{
    EXPECT_TRUE(recordsOf(words({"-timerange", "10"})).isEmpty());
    EXPECT_TRUE(recordsOf(words({"-freqrange"})).isEmpty());
    EXPECT_EQ(recordsOf(words({"-timerange", "10", "20"})).size(), 1);
}

TEST(ImportQueue, hugeAndSenselessNumbersStayWithinBounds)
{
    const auto huge = readSessionRecords(
        words({"-timerange", "9223372036854775807", "-9223372036854775808"}).importQueue({}, {}));
    EXPECT_FALSE(huge.fault.isEmpty()) << "the reader refuses what no recording can have";
    const auto words0 = recordsOf(words({"-timerange", "abc", "def"}));
    ASSERT_EQ(words0.size(), 1);
    EXPECT_EQ(words0[0].start, 0);
}

TEST(ImportQueue, thePictureToWriteIsNoFileToOpen)
{
    const FolderWith files({"out.png", "a.wav"});
    const CommandLine line = words({"--picture", "out.png", "a.wav"});
    ASSERT_EQ(recordsOf(line).size(), 1);
    EXPECT_EQ(nameOf(recordsOf(line)[0]), QStringLiteral("a.wav"));
    EXPECT_TRUE(line.missingFiles().isEmpty());
}

TEST(MissingFiles, areWordsThatCanOnlyBeFiles)
{
    const FolderWith files({"a.wav"});
    QDir().mkdir(QStringLiteral("folder"));
    EXPECT_EQ(words({"a.wav", "100", "gone.wav", "folder", "-timerange", "1", "2", "-parent", "Host", "-x"})
                  .missingFiles(),
              (QStringList{QStringLiteral("gone.wav"), QStringLiteral("folder")}));
}

TEST(ParentProcess, isNamedByTheFirstWordThatItsPathHolds)
{
    EXPECT_EQ(parentDisplayName(QStringLiteral("C:\\Audio\\FORGE140.exe")),
              QStringLiteral("Sound Forge Pro"));
    EXPECT_EQ(parentDisplayName(QStringLiteral("/opt/Pro Tools/bin/x")), QStringLiteral("Pro Tools"));
    EXPECT_EQ(parentDisplayName(QStringLiteral("/opt/ProTools")), QStringLiteral("Pro Tools"));
    EXPECT_EQ(parentDisplayName(QStringLiteral("c:/Sam_x64.exe")), QStringLiteral("Samplitude"));
    EXPECT_EQ(parentDisplayName(QStringLiteral("/usr/bin/Sequoia.exe")), QStringLiteral("Sequoia"));
    EXPECT_EQ(parentDisplayName(QStringLiteral("/forge/sequoia.exe")), QStringLiteral("Sound Forge Pro"));
    EXPECT_TRUE(parentDisplayName(QStringLiteral("/usr/bin/bash")).isEmpty());
    EXPECT_TRUE(parentDisplayName({}).isEmpty());
}

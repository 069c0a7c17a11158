// The program run without a user, as a process of its own, with homes of its own.
#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QProcessEnvironment>

namespace {

constexpr int patience = 120000; // ms

struct Result
{
    int status = -1;
    QString output;
};

class PictureMode : public testing::Test
{
protected:
    void SetUp() override
    {
        m_folder = testsupport::makeFolder(QStringLiteral("picture"));
        m_picture = m_folder + QStringLiteral("/shot.png");
    }
    Result run(const QStringList& words)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const char* home :
             {"XDG_RUNTIME_DIR", "XDG_CACHE_HOME", "XDG_CONFIG_HOME", "XDG_STATE_HOME", "XDG_DATA_HOME"}) {
            const QString path = m_folder + QLatin1Char('/') + QLatin1String(home);
            QDir().mkpath(path);
            QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
            environment.insert(QLatin1String(home), path);
        }
        QProcess process;
        process.setProcessEnvironment(environment);
        process.start(QStringLiteral(MORVANE_PROGRAM),
                      words + QStringList{QStringLiteral("--picture"), m_picture});
        EXPECT_TRUE(process.waitForFinished(testsupport::patient(patience)));
        EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
        return {process.exitCode(), QString::fromLocal8Bit(process.readAllStandardOutput())};
    }
    // Layer files that a session has left.
    [[nodiscard]] QStringList leftovers() const
    {
        QStringList found;
        const QDir cache(m_folder + QStringLiteral("/XDG_CACHE_HOME/Morvane/Morvane"));
        for (const QString& name : cache.entryList(QDir::Files))
            if (name.endsWith(QStringLiteral(".pcm")))
                found << name;
        return found;
    }

    QString m_folder;
    QString m_picture;
};

// Brightness of the part of the picture where the views are.
double brightness(const QImage& image)
{
    double sum = 0;
    const QRect part(image.width() / 4, image.height() / 4, image.width() / 2, image.height() / 2);
    for (int y = part.top(); y <= part.bottom(); ++y)
        for (int x = part.left(); x <= part.right(); ++x)
            sum += qGray(image.pixel(x, y));
    return sum / (part.width() * part.height());
}

TEST_F(PictureMode, SavesTheWindowWithItsSpectrogramAndEndsWithZero)
{
    const Result result = run({testsupport::dataFile(QStringLiteral("tabla-44k.wav"))});
    EXPECT_EQ(result.status, 0) << result.output.toStdString();
    EXPECT_TRUE(result.output.contains(m_picture));
    const QImage image(m_picture);
    ASSERT_FALSE(image.isNull());
    EXPECT_GE(image.width(), 640);
    EXPECT_GT(brightness(image), 3); // a view that was not drawn is black
    EXPECT_TRUE(leftovers().isEmpty());
}

TEST_F(PictureMode, EveryRecordingOpens)
{
    const QStringList recordings = testsupport::recordings();
    if (recordings.isEmpty())
        GTEST_SKIP() << "MORVANE_RECORDINGS names no folder";
    QStringList files;
    for (const QString& name : recordings)
        for (const char* suffix : {".wav", ".flac", ".ogg", ".mp3"})
            if (name.endsWith(QLatin1String(suffix)))
                files << name;
    const Result result = run(files);
    EXPECT_EQ(result.status, 0) << result.output.toStdString();
    EXPECT_TRUE(leftovers().isEmpty());
}

TEST_F(PictureMode, FileThatDoesNotOpenIsPrintedAndEndsWithOne)
{
    const QString bad = m_folder + QStringLiteral("/poem.flac");
    QFile file(bad);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(QByteArray("no music at all\n").repeated(100));
    file.close();
    const Result result = run({bad, testsupport::dataFile(QStringLiteral("tabla-44k.wav"))});
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(result.output.contains(
        QStringLiteral("Unsupported Format: The file you selected could not be read (unsupported format).")))
        << result.output.toStdString();
    EXPECT_TRUE(result.output.contains(bad));
    // The other one is in the picture all the same.
    EXPECT_GT(brightness(QImage(m_picture)), 3);
    EXPECT_TRUE(leftovers().isEmpty());
}

TEST_F(PictureMode, NameThatIsNoFileEndsWithOne)
{
    const Result result = run({m_folder + QStringLiteral("/nowhere.wav")});
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(result.output.contains(QStringLiteral("nowhere.wav: no such file")))
        << result.output.toStdString();
}

TEST_F(PictureMode, PictureThatCannotBeWrittenEndsWithOne)
{
    m_picture = m_folder + QStringLiteral("/no/such/folder/shot.png");
    const Result result = run({testsupport::dataFile(QStringLiteral("tabla-44k.wav"))});
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(result.output.contains(QStringLiteral("could not be written")));
}

} // namespace

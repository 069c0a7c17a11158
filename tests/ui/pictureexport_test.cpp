// A picture of the view as a PNG file.
#include "display/channelrow.h"
#include "display/spectralchannel.h"
#include "editing/datamanager.h"
#include "ui/panelstest.h"

#include <QCheckBox>
#include <QLabel>

#include <csignal>
#include <sys/resource.h>

namespace {

const auto* const environment = testing::AddGlobalTestEnvironment(new WindowEnvironment);

// For its lifetime no file may become longer, as on a disk without room.
class DiskLimit
{
public:
    explicit DiskLimit(rlim_t bytes)
    {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit{bytes, m_before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~DiskLimit() { setrlimit(RLIMIT_FSIZE, &m_before); }
    DiskLimit(const DiskLimit&) = delete;
    DiskLimit& operator=(const DiskLimit&) = delete;

private:
    rlimit m_before{};
};

class PictureExport : public PanelsTest
{
protected:
    // With its views on the screen.
    void openInView(const char* name, double seconds = 1, int channels = 1)
    {
        openTone(name, seconds, channels);
        EXPECT_TRUE(testsupport::waitFor([this] {
            return !display().spectralChannels().last()->visibleRegion().isEmpty() && display().isSettled();
        }));
    }
    // Through the dialog, to `name` in the test's folder; the picture.
    QImage exportTo(const char* name, double factor = 1, bool rulers = true)
    {
        m_chosen = path(name);
        DialogScript script;
        script.on("Export Picture", [&](QDialog& dialog) {
            dialog.findChild<QDoubleSpinBox*>(QStringLiteral("picturefactor"))->setValue(factor);
            dialog.findChild<QCheckBox*>(QStringLiteral("picturerulers"))->setChecked(rulers);
            m_told = dialog.findChild<QLabel*>(QStringLiteral("picturesize"))->text();
            DialogScript::press(dialog, "OK");
        });
        action("fileexportpicture").trigger();
        return QImage(m_chosen);
    }
    static QString wordsFor(const QImage& image)
    {
        return QStringLiteral("%1 x %2 pixels").arg(image.width()).arg(image.height());
    }
    // In the middle of a row.
    static int brightness(const QImage& image, int y) { return qGray(image.pixel(image.width() / 2, y)); }

    QString m_told;
};

TEST_F(PictureExport, IsOfferedWhileAProjectIsOpen)
{
    EXPECT_FALSE(action("fileexportpicture").isEnabled());
    openTone("tone.wav");
    EXPECT_TRUE(action("fileexportpicture").isEnabled());
    EXPECT_EQ(action("fileexportpicture").text(), QStringLiteral("Export &Picture..."));
}

TEST_F(PictureExport, HasTheSizeOfTheViewTimesTheFactorWithRulersAndWithout)
{
    openInView("tone.wav", 1, 2);
    const QImage whole = exportTo("whole.png");
    ASSERT_FALSE(whole.isNull());
    EXPECT_EQ(m_told.toStdString(), wordsFor(whole).toStdString());
    EXPECT_LE(whole.width(), display().width());
    EXPECT_GT(whole.height(), display().height() / 2);
    const QImage doubled = exportTo("doubled.png", 2);
    EXPECT_EQ(doubled.size(), whole.size() * 2);
    EXPECT_EQ(m_told, wordsFor(doubled));
    const QImage bare = exportTo("bare.png", 1, false);
    const SpectralChannel* view = display().spectralChannels().first();
    EXPECT_EQ(bare.width(), view->width());
    EXPECT_LT(bare.width(), whole.width());
    EXPECT_EQ(exportTo("large.png", 2.5, false).width(), qRound(view->width() * 2.5));
}

// The tone is a line of light in the spectrogram. Drawn anew at four times the size it is not four times as
// blurred at its edge: no row is merely repeated.
TEST_F(PictureExport, IsDrawnAnewAtItsSizeAndShowsWhatTheViewShows)
{
    openInView("tone.wav");
    const QImage once = exportTo("once.png", 1, false);
    const QImage four = exportTo("four.png", 4, false);
    ASSERT_EQ(four.size(), once.size() * 4);
    const SpectralChannel* view = display().spectralChannels().first();
    const int top = once.height() - view->height();
    const Convert& scale = view->convert();
    const int row = top + int(view->height() * (1 - scale.toScale(1000) / scale.toScale(8000)));
    EXPECT_GT(brightness(once, row), 150);
    EXPECT_GT(brightness(four, row * 4 + 2), 150);
    const int dark = top + view->height() / 4; // 6 kHz
    EXPECT_LT(brightness(once, dark), 60);
    EXPECT_LT(brightness(four, dark * 4), 60);
    const QImage stretched = once.scaled(four.size());
    int other = 0;
    for (int y = 0; y < four.height(); ++y)
        other += std::abs(qGray(four.pixel(four.width() / 2, y)) -
                          qGray(stretched.pixel(four.width() / 2, y))) > 8;
    EXPECT_GT(other, 4) << "finer than the picture on the screen";
    EXPECT_EQ(display().spectralChannels().first()->grab().toImage().size(), view->size())
        << "the screen is as it was";
}

TEST_F(PictureExport, AddsTheSuffixAndAsksBeforeItReplacesWhatTheDialogDidNotAskAbout)
{
    openTone("tone.wav");
    exportTo("picture");
    EXPECT_FALSE(QFileInfo::exists(path("picture")));
    EXPECT_FALSE(QImage(path("picture.png")).isNull());
    EXPECT_TRUE(m_requests.back().save);
    EXPECT_EQ(m_requests.back().filters, QStringList("PNG picture (*.png)"));
    const QByteArray before = bytesOf(path("picture.png"));
    DialogScript script;
    script.on("Export Picture", [](QDialog& dialog) { DialogScript::press(dialog, "OK"); });
    script.box("Export Picture", "picture.png already exists.\nDo you want to replace it ?", QMessageBox::No);
    action("fileexportpicture").trigger();
    EXPECT_EQ(bytesOf(path("picture.png")), before);
}

TEST_F(PictureExport, ACancelInEitherDialogWritesNothing)
{
    openTone("tone.wav");
    {
        DialogScript script;
        script.on("Export Picture", [](QDialog& dialog) { DialogScript::press(dialog, "Cancel"); });
        action("fileexportpicture").trigger();
    }
    EXPECT_TRUE(m_requests.empty());
    m_chosen.clear();
    DialogScript script;
    script.on("Export Picture", [](QDialog& dialog) { DialogScript::press(dialog, "OK"); });
    action("fileexportpicture").trigger();
    EXPECT_EQ(QDir(m_folder).entryList({"*.png"}).size(), 0);
}

TEST_F(PictureExport, AFailureIsToldWithFileAndCauseAndLeavesTheOldFile)
{
    openTone("tone.wav");
    exportTo("old.png");
    const QByteArray before = bytesOf(path("old.png"));
    ASSERT_FALSE(before.isEmpty());
    // A folder in the way, and one that is not there.
    ASSERT_TRUE(QDir(m_folder).mkdir("folder.png"));
    for (const QString& target : {path("folder.png"), path("missing/a.png")}) {
        SCOPED_TRACE(target.toStdString());
        m_chosen = target;
        DialogScript script;
        script.on("Export Picture", [](QDialog& dialog) { DialogScript::press(dialog, "OK"); });
        script.box("Export Picture", "The picture could not be saved.", QMessageBox::Ok,
                   QFileInfo(target).fileName());
        action("fileexportpicture").trigger();
    }
    {
        const DiskLimit limit(100);
        m_chosen = path("old.png");
        DialogScript script;
        script.on("Export Picture", [](QDialog& dialog) { DialogScript::press(dialog, "OK"); });
        script.box("Export Picture", "The picture could not be saved.", QMessageBox::Ok, "old.png");
        action("fileexportpicture").trigger();
    }
    EXPECT_EQ(bytesOf(path("old.png")), before);
}

TEST_F(PictureExport, WorksByKeysAloneAndRemembersNothingOfACancelledOne)
{
    openTone("tone.wav");
    m_chosen = path("keys.png");
    DialogScript script;
    script.on("Export Picture", [](QDialog& dialog) {
        auto* factor = dialog.findChild<QDoubleSpinBox*>(QStringLiteral("picturefactor"));
        auto* rulers = dialog.findChild<QCheckBox*>(QStringLiteral("picturerulers"));
        EXPECT_EQ(dialog.focusWidget(), factor);
        QTest::keyClick(factor, Qt::Key_Up);
        EXPECT_EQ(factor->value(), 1.5);
        QTest::keyClick(factor, Qt::Key_Tab);
        EXPECT_EQ(dialog.focusWidget(), rulers);
        QTest::keyClick(rulers, Qt::Key_Space);
        EXPECT_FALSE(rulers->isChecked());
        QTest::keyClick(&dialog, Qt::Key_Return);
    });
    action("fileexportpicture").trigger();
    EXPECT_EQ(QImage(m_chosen).width(), qRound(display().spectralChannels().first()->width() * 1.5));
}

TEST_F(PictureExport, WaitsWhileACommandIsInWork)
{
    openTone("tone.wav");
    const EditDesk::Action other(m_window->dataManager().desk());
    action("fileexportpicture").trigger(); // a dialog that nobody expects would fail the test
    DialogScript script;
    EXPECT_TRUE(m_requests.empty());
}

} // namespace

#include "ui/aboutdialog.h"
#include "ui/logdialog.h"
#include "ui/supportinfo.h"
#include "ui/windowenvironment.h"

#include <QClipboard>
#include <QLabel>
#include <QLayout>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTest>
#include <QTextEdit>

namespace {

const auto* const environment = testing::AddGlobalTestEnvironment(new WindowEnvironment);

class Dialogs : public WindowTest
{
protected:
    void SetUp() override
    {
        WindowTest::SetUp();
        qApp->setProperty("logspath", m_folder);
        qApp->setProperty("sessionid", QStringLiteral("Morvane 2026.01.02-03.04.05.006"));
        QFile log(sessionLogPath());
        ASSERT_TRUE(log.open(QIODevice::WriteOnly));
        log.write("12:00:00.000 01ab INFO  OS: Test 1 (Kernel: linux 6) (C)\n"
                  "12:00:00.001 01ab INFO  CPU: 2 threads (AVX2)\n"
                  "12:00:00.002 01ab INFO  RAM: 16 GB\n"
                  "12:00:00.003 01ab INFO  HDD: 100 GB (50 GB free)\n"
                  "12:00:00.004 01ab INFO  SCR0: 1920x1080x24@60Hz (device pixel ratio: 1) (primary)\n"
                  "12:00:00.005 01ab INFO  Creating window...\n");
    }
};

TEST_F(Dialogs, LogShowsTheSessionsFileAndSavesACopy)
{
    LogDialog dialog(nullptr);
    dialog.show();
    EXPECT_EQ(dialog.windowTitle(), QStringLiteral("Logs"));
    EXPECT_GE(dialog.minimumWidth(), 550);
    EXPECT_EQ(dialog.layout()->contentsMargins(), QMargins(3, 3, 3, 3));
    auto* text = dialog.findChild<QTextEdit*>();
    EXPECT_TRUE(text->isReadOnly());
    EXPECT_EQ(text->lineWrapMode(), QTextEdit::NoWrap);
    EXPECT_TRUE(text->toPlainText().contains(QStringLiteral("INFO  Creating window...")));

    m_chosen = path("copy.txt");
    QFile old(m_chosen);
    ASSERT_TRUE(old.open(QIODevice::WriteOnly));
    old.write("old");
    old.close();
    auto* save = dialog.findChild<QPushButton*>(QStringLiteral("logsave"));
    EXPECT_EQ(save->text(), QStringLiteral("Save..."));
    QTest::mouseClick(save, Qt::LeftButton);
    ASSERT_EQ(m_requests.size(), 1u);
    EXPECT_EQ(m_requests[0].title, QStringLiteral("Save Log"));
    EXPECT_EQ(m_requests[0].filters, QStringList(QStringLiteral("Text Log (*.txt)")));
    EXPECT_TRUE(m_requests[0].path.startsWith(QStringLiteral("Morvane 2026")));
    QFile copy(m_chosen);
    QFile log(sessionLogPath());
    ASSERT_TRUE(copy.open(QIODevice::ReadOnly) && log.open(QIODevice::ReadOnly));
    EXPECT_EQ(copy.readAll(), log.readAll());
}

TEST_F(Dialogs, LogThatCannotBeSavedSaysSo)
{
    LogDialog dialog(nullptr);
    m_chosen = m_folder + QStringLiteral("/no/such/folder/copy.txt");
    dialog.findChild<QPushButton*>(QStringLiteral("logsave"))->click();
    ASSERT_EQ(m_boxes.size(), 1u);
    EXPECT_EQ(m_boxes[0].title, QStringLiteral("Save Log"));
}

TEST_F(Dialogs, SupportInfoTellsProgramSystemAndLog)
{
    SupportInfoDialog dialog(nullptr);
    const QString text = dialog.findChild<QPlainTextEdit*>()->toPlainText();
    EXPECT_TRUE(text.startsWith(QStringLiteral("Morvane 6.0.30 Build 202"))) << text.toStdString();
    for (const char* part :
         {"Qt: 5.", "OpenGL: ", "OS: Test 1 (Kernel: linux 6) (C)", "CPU: 2 threads (AVX2)", "RAM: 16 GB",
          "HDD: 100 GB (50 GB free)", "SCR0: 1920x1080x24@60Hz"})
        EXPECT_TRUE(text.contains(QLatin1String(part))) << part;
    EXPECT_TRUE(text.contains(sessionLogPath()));
    EXPECT_FALSE(text.contains(QStringLiteral("Creating window")));
    for (auto* button : dialog.findChildren<QPushButton*>())
        if (button->text() == QStringLiteral("Copy"))
            button->click();
    EXPECT_EQ(QApplication::clipboard()->text(), text);
}

TEST_F(Dialogs, AboutNamesProgramVersionAndLicence)
{
    AboutDialog dialog(nullptr);
    const QString text = dialog.findChild<QLabel*>(QStringLiteral("abouttext"))->text();
    EXPECT_TRUE(text.contains(QStringLiteral("Morvane")));
    EXPECT_TRUE(text.contains(QStringLiteral("6.0.30")));
    EXPECT_TRUE(text.contains(QStringLiteral("GNU General Public License")));
    EXPECT_TRUE(text.contains(qApp->property("copyright").toString()));
}

} // namespace

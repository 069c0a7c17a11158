// The examples of the documentation, built as a plug-in author builds them: in a folder of their own, with
// their own build file, with the headers of the program and nothing else of it. Then they are loaded and
// used.
#include "ui/plugintest.h"

#include "model/toolstate.h"
#include "ui/historypanel.h"
#include "ui/toolbars.h"
#include "ui/widgets/qtoolbarext.h"

#include <QDirIterator>
#include <QMouseEvent>
#include <QProcess>
#include <QTest>
#include <QToolButton>

namespace {

const auto* const environment = testing::AddGlobalTestEnvironment(new WindowEnvironment);

constexpr int buildLimit = 240000; // ms

// What it printed, where it failed; nothing else.
QString run(const QString& program, const QStringList& words)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, words);
    process.closeWriteChannel();
    const bool fine = process.waitForFinished(buildLimit) && process.exitStatus() == QProcess::NormalExit &&
                      process.exitCode() == 0;
    return fine ? QString()
                : program + QStringLiteral(": ") + QString::fromLocal8Bit(process.readAll().right(4000));
}

void copyFiles(const QString& from, const QString& to, const QString& pattern)
{
    QDirIterator files(from, {pattern}, QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString target = to + files.next().mid(from.size());
        ASSERT_TRUE(QDir().mkpath(QFileInfo(target).path()));
        ASSERT_TRUE(QFile::copy(files.filePath(), target)) << target.toStdString();
    }
}

class Examples : public PluginTest
{
protected:
    // The folder with the libraries.
    QString build()
    {
        const QString headers = m_folder + QStringLiteral("/headers");
        const QString sources = m_folder + QStringLiteral("/examples");
        copyFiles(QStringLiteral(SOURCES "/src"), headers + QStringLiteral("/src"), QStringLiteral("*.h"));
        copyFiles(QStringLiteral(SOURCES "/docs/examples"), sources, QStringLiteral("*"));
        const QString made = m_folder + QStringLiteral("/made");
        const QString cmake = QStringLiteral(CMAKE);
        QString failure = run(cmake, {QStringLiteral("-S"), sources, QStringLiteral("-B"), made,
                                      QStringLiteral("-DMORVANE_SOURCE=") + headers,
                                      QStringLiteral("-DCMAKE_CXX_COMPILER=" COMPILER)});
        if (failure.isEmpty())
            failure = run(cmake, {QStringLiteral("--build"), made});
        EXPECT_TRUE(failure.isEmpty()) << failure.toStdString();
        return made;
    }
};

} // namespace

TEST_F(Examples, TheyBuildByThemselvesAndWork)
{
    const QString made = build();
    for (const char* name : {"minimaltool", "minimalprocess"}) {
        const QString library = made + QStringLiteral("/%1.so").arg(QLatin1String(name));
        ASSERT_TRUE(QFile::exists(library)) << name;
        const QString verdict = run(QStringLiteral(MORVANE_BINARIES "/morvane_probe"), {library});
        EXPECT_TRUE(verdict.isEmpty()) << verdict.toStdString();
    }
    m_libraries = made;
    showWith({QStringLiteral("minimaltool"), QStringLiteral("minimalprocess")});
    ASSERT_TRUE(tabs().parse(makeTone("tone.wav", 1)));
    SpectralChannel* view = display().spectralChannels().value(0);
    ASSERT_TRUE(testsupport::waitFor([&] { return view && view->isVisible() && view->width() > 100; }));
    QCoreApplication::processEvents(); // the tool is chosen again
    const QPoint from(view->width() / 2, view->height() / 4), to(view->width() / 2, view->height() / 2);
    QTest::mousePress(view, Qt::LeftButton, {}, from);
    QMouseEvent move(QEvent::MouseMove, to, view->mapToGlobal(to), Qt::NoButton, Qt::LeftButton, {});
    QApplication::sendEvent(view, &move);
    QTest::mouseRelease(view, Qt::LeftButton, {}, to);
    const History& history = m_window->historyPanel().history();
    EXPECT_EQ(history.states().last().name, QStringLiteral("Minimal Selection"));
    EXPECT_FALSE(tabs().currentProject()->selection.isEmpty());
    const std::vector<float> before = samplesOf(*tabs().currentProject());
    action("minimalprocess2").trigger();
    EXPECT_EQ(history.states().last().name, QStringLiteral("Halve"));
    const std::vector<float> after = samplesOf(*tabs().currentProject());
    ASSERT_EQ(after.size(), before.size());
    std::size_t wrong = 0;
    for (std::size_t i = 0; i < after.size(); ++i)
        wrong += after[i] != before[i] / 2;
    EXPECT_EQ(wrong, 0U);
}

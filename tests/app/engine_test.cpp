// The library as a host sees it: loaded by name, reached through getEngine and nothing else.
#include "app/iengine.h"
#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <QApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QKeyEvent>
#include <QLineEdit>

namespace {

using GetEngine = MVE::IEngine* (*)();

// One engine for the whole program, as in a host.
MVE::IEngine* engine()
{
    static const auto getEngine = [] {
        void* library = dlopen(MORVANE_LIBRARY, RTLD_NOW | RTLD_LOCAL);
        return library ? reinterpret_cast<GetEngine>(dlsym(library, "getEngine")) : nullptr;
    }();
    return getEngine ? getEngine() : nullptr;
}

} // namespace

TEST(Engine, isMadeEmbeddedAndOnce)
{
    ASSERT_NE(engine(), nullptr) << dlerror();
    EXPECT_EQ(engine(), engine());
    ASSERT_NE(qApp, nullptr);
    EXPECT_TRUE(qApp->property("embedded").toBool());
    EXPECT_TRUE(QCoreApplication::testAttribute(Qt::AA_PluginApplication));
    EXPECT_EQ(qApp->property("path").toString(), QDir::cleanPath(QStringLiteral(MORVANE_LIBRARY "/../..")))
        << "found by the library's place, not by the host's";
    EXPECT_FALSE(QFile::exists(qEnvironmentVariable("XDG_RUNTIME_DIR") + QStringLiteral("/mvp6srv.lock")))
        << "an embedded engine is no session";
}

TEST(Engine, writesTheHostsLinesToItsLog)
{
    ASSERT_NE(engine(), nullptr);
    engine()->log("a line of the host: \xc3\xa9");
    const QDir logs(qApp->property("logspath").toString());
    QFile file(logs.filePath(qApp->property("sessionid").toString() + QStringLiteral(".txt")));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_TRUE(
        QString::fromUtf8(file.readAll()).contains(QStringLiteral("INFO  a line of the host: \u00e9\n")));
}

TEST(Engine, callsTheHostsTimerUntilItIsStopped)
{
    ASSERT_NE(engine(), nullptr);
    int calls = 0;
    engine()->setTimer([&calls] { ++calls; }, 1);
    EXPECT_TRUE(testsupport::waitFor([&] { return calls >= 3; }));
    engine()->setTimer(
        [&calls] {
            calls = -100;
            engine()->stopTimer(); // from within the callback
        },
        1);
    EXPECT_TRUE(testsupport::waitFor([&] { return calls == -100; }));
    EXPECT_FALSE(testsupport::waitFor([&] { return calls != -100; }, 50));
}

TEST(Engine, forwardsAKeyThatTheWindowHasNotSeen)
{
    ASSERT_NE(engine(), nullptr);
    EXPECT_TRUE(engine()->keyPress(Qt::Key_A, 0, 'a')) << "true also without a focus widget";
    QLineEdit edit;
    edit.show();
    edit.activateWindow();
    edit.setFocus();
    ASSERT_TRUE(testsupport::waitFor([&] { return QApplication::focusWidget() == &edit; }));
    qApp->setProperty("lastkeypress", 0);
    EXPECT_TRUE(engine()->keyPress(Qt::Key_A, 0, 'a'));
    EXPECT_TRUE(testsupport::waitFor([&] { return edit.text() == QStringLiteral("a"); }));
    qApp->setProperty("lastkeypress", QDateTime::currentMSecsSinceEpoch() + 3600000); // seen just now
    EXPECT_TRUE(engine()->keyPress(Qt::Key_B, 0, 'b'));
    EXPECT_FALSE(testsupport::waitFor([&] { return edit.text() != QStringLiteral("a"); }, 50));
}

// Last in this file: it ends the application object.
TEST(Engine, endsWindowApplicationAndLog)
{
    ASSERT_NE(engine(), nullptr);
    const QString log = qApp->property("logspath").toString() + QLatin1Char('/') +
                        qApp->property("sessionid").toString() + QStringLiteral(".txt");
    delete engine();
    EXPECT_EQ(qApp, nullptr);
    QFile file(log);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_TRUE(file.readAll().endsWith("INFO  session ended\n"));
}

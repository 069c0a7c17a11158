// The small pieces of start-up: translations, fonts, splash, the application object, the report.
#include "app/keyfilter.h"
#include "app/qapplicationext.h"
#include "app/qsplashscreenext.h"
#include "app/rendering.h"
#include "app/systemreport.h"
#include "app/translations.h"
#include "support/testsupport.h"
#include "ui/sessionrecords.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QFileOpenEvent>
#include <QFontDatabase>
#include <QKeyEvent>
#include <QLabel>
#include <QRegularExpression>
#include <QSpinBox>
#include <QSurfaceFormat>
#include <QTranslator>

#include <stdexcept>

namespace {

class Environment : public testing::Environment
{
public:
    void SetUp() override
    {
        static int argc = 1;
        static char name[] = "test";
        static char* argv[] = {name, nullptr};
        m_application = std::make_unique<QApplicationExt>(argc, argv, QString(), QStringLiteral("oursrv"));
    }
    void TearDown() override { m_application.reset(); }

private:
    std::unique_ptr<QApplicationExt> m_application;
};

[[maybe_unused]] const auto* const environment = testing::AddGlobalTestEnvironment(new Environment);

QApplicationExt* application()
{
    return static_cast<QApplicationExt*>(qApp);
}

const QStringList offered = {QStringLiteral("en"), QStringLiteral("de"), QStringLiteral("fr")};

} // namespace

TEST(Language, theStoredOneGoesBeforeTheSystemAndTheOptionBeforeBoth)
{
    const QString de = QStringLiteral("de"), fr = QStringLiteral("fr"), none;
    EXPECT_EQ(chooseLanguage(none, offered, de, none), de);
    EXPECT_EQ(chooseLanguage(fr, offered, de, none), fr);
    EXPECT_EQ(chooseLanguage(fr, offered, de, QStringLiteral("es")), QStringLiteral("es"));
    EXPECT_EQ(chooseLanguage(none, offered, QStringLiteral("de-AT"), none), none)
        << "names are compared whole";
    EXPECT_EQ(chooseLanguage(none, offered, QStringLiteral("DE"), none), none) << "and by case";
    EXPECT_EQ(chooseLanguage(none, offered, QStringLiteral("ja"), none), none);
}

TEST(Language, oneThatIsNotThereLeavesEnglishWithoutAWord)
{
    for (const char* name : {"", "xx", "en", "/no/such/file.qm"})
        installTranslations(QString::fromLatin1(name));
    EXPECT_EQ(QCoreApplication::translate("start", "Error creating log file"),
              QStringLiteral("Error creating log file"));
}

TEST(Language, aTranslationFileIsInstalledWhateverTheCaseOfItsEnding)
{
    const QString copy = testsupport::makeFolder() + QStringLiteral("/Words.QM");
    ASSERT_TRUE(QFile::copy(QStringLiteral(MORVANE_TEST_QM), copy));
    installTranslations(copy);
    EXPECT_EQ(QCoreApplication::translate("start", "Error creating log file"),
              QStringLiteral("Die Protokolldatei fehlt"));
    qDeleteAll(qApp->findChildren<QTranslator*>()); // for the tests behind this one
    EXPECT_EQ(QCoreApplication::translate("start", "Error creating log file"),
              QStringLiteral("Error creating log file"));
}

TEST(Fonts, allTwelveAreInTheResourcesAndLoad)
{
    for (const char* name :
         {"OpenSans-Regular", "OpenSans-Italic", "OpenSans-Bold", "OpenSansCondensed-Light",
          "OpenSansCondensed-LightItalic", "OpenSansCondensed-Bold", "Roboto-Regular", "Roboto-Italic",
          "Roboto-Bold", "RobotoCondensed-Regular", "RobotoCondensed-Italic", "RobotoCondensed-Bold"}) {
        const int id = QFontDatabase::addApplicationFont(
            QStringLiteral(":/stylesheets/fonts/%1.ttf").arg(QLatin1String(name)));
        ASSERT_GE(id, 0) << name;
        const QString family = QFontDatabase::applicationFontFamilies(id).value(0);
        EXPECT_TRUE(family.startsWith(QLatin1String(name[0] == 'O' ? "Open Sans" : "Roboto")))
            << family.toStdString();
    }
}

TEST(Splash, isThePictureAtHalfItsPixelsWithoutAFrame)
{
    qApp->setProperty("splashscreen", QStringLiteral("mv/splashscreen.png"));
    QSplashScreenExt splash;
    EXPECT_EQ(splash.size(), QSize(600, 360));
    EXPECT_TRUE(splash.windowFlags() & Qt::FramelessWindowHint);
    QCoreApplication::setApplicationVersion(QStringLiteral("1.2.3 Build 4"));
    qApp->setProperty("coloroverlay", QStringLiteral("#00ff00"));
    const QImage picture = splash.grab().toImage();
    int overlay = 0; // pixels of the text, in the lower left corner only
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x)
            if (const QColor pixel = picture.pixelColor(x, y);
                pixel.green() > 180 && pixel.red() < 100 && pixel.blue() < 100) {
                ++overlay;
                EXPECT_GT(y, picture.height() * 9 / 10);
                EXPECT_LT(x, picture.width() / 2);
                EXPECT_GE(x, picture.width() / 40);
            }
    EXPECT_GT(overlay, 50);
}

TEST(Rendering, isOpenGlThreeThreeCoreWithoutWaitingForTheScreen)
{
    qApp->setProperty("renderingapi", QStringLiteral("directx")); // not on this system
    ASSERT_TRUE(chooseRendering());
    const QSurfaceFormat format = QSurfaceFormat::defaultFormat();
    EXPECT_EQ(format.majorVersion(), 3);
    EXPECT_EQ(format.minorVersion(), 3);
    EXPECT_EQ(format.profile(), QSurfaceFormat::CoreProfile);
    EXPECT_EQ(format.swapInterval(), 0);
    EXPECT_EQ(qApp->property("renderingapi").toString(), QStringLiteral("directx")) << "the wish is kept";
}

TEST(SystemReport, hasItsLinesInOrder)
{
    const QStringList lines = systemReport(3, QStringLiteral("AVX2"));
    ASSERT_GE(lines.size(), 5);
    const char* const patterns[] = {
        "^OS: .+ \\(Kernel: .+\\) \\(.+\\)$",
        "^CPU: 3 threads \\(AVX2\\)$",
        "^RAM: [1-9]\\d* GB$",
        "^HDD: \\d+ GB \\(\\d+ GB free\\)$",
        "^SCR0: \\d+x\\d+x\\d+@[\\d.]+Hz \\(device pixel ratio: [\\d.]+\\) \\(primary\\)$",
    };
    for (int i = 0; i < 5; ++i)
        EXPECT_TRUE(QRegularExpression(QLatin1String(patterns[i])).match(lines[i]).hasMatch())
            << lines[i].toStdString();
}

TEST(Application, aFileFromTheDesktopBecomesAnImportRecord)
{
    qApp->setProperty("importqueue", QByteArray());
    int calls = 0;
    QObject context;
    QObject::connect(application(), &QApplicationExt::sessionImported, &context, [&] { ++calls; });
    QFileOpenEvent event(QStringLiteral("/music/a b.wav"));
    QCoreApplication::sendEvent(qApp, &event);
    EXPECT_EQ(calls, 1);
    const auto records = readSessionRecords(qApp->property("importqueue").toByteArray()).records;
    ASSERT_EQ(records.size(), 1);
    EXPECT_EQ(records[0].header, SessionHeader::Edit);
    EXPECT_EQ(records[0].path, QStringLiteral("/music/a b.wav"));
    EXPECT_EQ(records[0].source, QStringLiteral("a b.wav"));
    EXPECT_EQ(records[0].server, QStringLiteral("oursrv"));
    EXPECT_EQ(records[0].startSample, 0);
}

TEST(Application, tellsWhenTheModifiersChangeAndOnlyThen)
{
    QList<int> seen;
    QObject context;
    QObject::connect(application(), &QApplicationExt::keyboardModifiersChanged, &context,
                     [&](Qt::KeyboardModifiers modifiers) { seen << int(modifiers); });
    QObject receiver;
    for (const auto modifiers : {Qt::ShiftModifier, Qt::ShiftModifier, Qt::NoModifier}) {
        QKeyEvent event(QEvent::KeyPress, Qt::Key_A, modifiers);
        QCoreApplication::sendEvent(&receiver, &event);
    }
    EXPECT_EQ(seen, (QList<int>{Qt::ShiftModifier, Qt::NoModifier}));
}

TEST(Application, knowsWhetherAPenIsNear)
{
    QEvent enter(QEvent::TabletEnterProximity), leave(QEvent::TabletLeaveProximity);
    QCoreApplication::sendEvent(qApp, &enter);
    EXPECT_TRUE(qApp->property("tabletproximity").toBool());
    QCoreApplication::sendEvent(qApp, &leave);
    EXPECT_FALSE(qApp->property("tabletproximity").toBool());
}

TEST(Application, anExceptionThatLeavesASlotIsToldAndTheProgramGoesOn)
{
    QSpinBox option;
    int heard = 0;
    QObject::connect(&option, QOverload<int>::of(&QSpinBox::valueChanged), [&](int value) {
        ++heard;
        if (value == 1)
            throw std::runtime_error("no such value");
        if (value == 2)
            throw value;
    });
    QSpinBox bystander;
    QKeyEvent up(QEvent::KeyPress, Qt::Key_Up, Qt::NoModifier);
    testsupport::expectWarning(QStringLiteral("exception in an object of class QSpinBox: no such value"));
    EXPECT_TRUE(QCoreApplication::sendEvent(&option, &up));
    testsupport::expectWarning(QStringLiteral("exception in an object of class QSpinBox: of unknown type"));
    QMetaObject::invokeMethod(
        &option, [&] { option.stepUp(); }, Qt::QueuedConnection);
    QMetaObject::invokeMethod(
        &bystander, [&] { bystander.stepUp(); }, Qt::QueuedConnection);
    QCoreApplication::processEvents();
    EXPECT_EQ(bystander.value(), 1) << "what comes behind it is delivered";
    EXPECT_TRUE(QCoreApplication::sendEvent(&option, &up));
    EXPECT_EQ(option.value(), 3);
    EXPECT_EQ(heard, 3);
}

TEST(Application, aReceiverThatIsGoneWhenItsExceptionArrivesIsNamedAllTheSame)
{
    struct Short : QLabel
    {
        bool event(QEvent*) override
        {
            delete this;
            throw std::runtime_error("gone");
        }
    };
    QEvent event(QEvent::User);
    testsupport::expectWarning(QStringLiteral("exception in an object of class QLabel: gone"));
    QCoreApplication::sendEvent(new Short, &event);
}

TEST(KeyFilter, aKeyForwardedThirtyMillisecondsAfterTheWindowSawItIsDropped)
{
    EXPECT_FALSE(isNewKey(1030, 1000));
    EXPECT_TRUE(isNewKey(1031, 1000));
    EXPECT_TRUE(isNewKey(1000, 0));
}

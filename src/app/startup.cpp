#include "app/startup.h"

#include "app/commandline.h"
#include "app/parentprocess.h"
#include "app/propertiesloader.h"
#include "app/qapplicationext.h"
#include "app/qsplashscreenext.h"
#include "app/rendering.h"
#include "app/sessiongate.h"
#include "app/sessionserver.h"
#include "app/systemreport.h"
#include "app/translations.h"
#include "base/faults.h"
#include "base/log.h"
#include "base/platform.h"
#include "model/ilayer.h"
#include "model/types/area.h"
#include "model/types/channelsmode.h"
#include "model/types/matrix.h"
#include "model/types/mouseevent.h"
#include "model/types/range.h"
#include "model/types/samplingformat.h"
#include "spectral/primitives/cpu.h"
#include "spectral/primitives/planning.h"
#include "ui/mainwindow.h"
#include "ui/stylesheet.h"
#include "ui/widgets/messages.h"

#include <clocale>
#include <memory>

#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QFontDatabase>
#include <QLocale>
#include <QStandardPaths>
#include <QThread>
#include <QThreadPool>

namespace {

constexpr int columnRingSize = 8192; // a power of two

constexpr const char* fontFiles[] = {
    "OpenSans-Regular",
    "OpenSans-Italic",
    "OpenSans-Bold",
    "OpenSansCondensed-Light",
    "OpenSansCondensed-LightItalic",
    "OpenSansCondensed-Bold",
    "Roboto-Regular",
    "Roboto-Italic",
    "Roboto-Bold",
    "RobotoCondensed-Regular",
    "RobotoCondensed-Italic",
    "RobotoCondensed-Bold",
};

// Everything that the steps share. Each step is one member, called in this order by run().
class StartUp
{
public:
    StartUp(int& argc, char** argv, bool embedded) : m_argc(argc), m_argv(argv), m_embedded(embedded) {}

    void run(QLocalServer*& server, MainWindow*& window);

private:
    QString claimSessionId();
    void openEarlyLog();
    void limitMachine();
    void findParent();
    void createApplication();
    void loadProperties();
    void findFasterPlans();
    void addFonts();
    void translate();
    void relocateLog();
    void fillImportQueue();
    [[nodiscard]] bool isSession();
    void tellSession();
    void showSplash();
    void listen(QLocalServer*& server);
    void createWindow(MainWindow*& window);
    void debug(const QString& text, int line = __builtin_LINE()) const
    {
        logging::debug("start", text, line);
    }
    [[nodiscard]] QString text(const char* key) const { return qApp->property(key).toString(); }

    int& m_argc;
    char** m_argv;
    bool m_embedded;
    bool m_debugLines = false;
    CommandLine m_early{{}}; // as given, before the application object takes its own words out
    CommandLine m_words{{}};
    QString m_sessionId;
    int m_threads = 1;
    QString m_parentName;
    QString m_serverOfParent;
    QByteArray m_records;
    QString m_sessionName; // of the local server
    std::unique_ptr<SessionGate> m_gate;
    bool m_listens = false; // for later launches
    std::unique_ptr<QSplashScreenExt> m_splash;
};

void StartUp::run(QLocalServer*& server, MainWindow*& window)
{
    installFaultHandlers();
    platform::raiseDescriptorLimit();
    QCoreApplication::addLibraryPath(platform::moduleFolder());
    openEarlyLog();
    limitMachine();
    findParent();
    createApplication();
    loadProperties();
    addFonts();
    if (!chooseRendering())
        return;
    qApp->setProperty("maxtexsize", columnRingSize);
    translate();
    const QString resources = m_words.value("-resources");
    if (!resources.isNull())
        qApp->setProperty("resources", resources);
    relocateLog();
    fillImportQueue();
    if (!isSession())
        return;
    logging::prune(text("logspath"), qApp->property("logs").toInt());
    tellSession();
    showSplash();
    findFasterPlans();
    listen(server);
    createWindow(window);
}

// The id is the time, so two processes that start in the same millisecond would share a log. The one
// that creates the early file has the id; the other takes the next.
QString StartUp::claimSessionId()
{
    static_cast<void>(platform::makePrivateFolder(platform::stateFolder()));
    for (;;) {
        m_sessionId = logging::newSessionId();
        const QString path = platform::stateFolder() + QLatin1Char('/') + m_sessionId + QLatin1String(".txt");
        if (platform::createPrivateFile(path) || !QFileInfo::exists(path))
            return path;
        QThread::msleep(1);
    }
}

void StartUp::openEarlyLog()
{
    QStringList arguments;
    for (int i = 0; i < m_argc; ++i)
        arguments << QString::fromLocal8Bit(m_argv[i]);
    m_early = CommandLine(arguments);
    m_debugLines = m_early.has("-debug");
    logging::install();
    const QString path = claimSessionId();
    if (!logging::open(path, m_debugLines))
        qWarning().noquote() << "no log file in" << platform::stateFolder();
    qInfo().noquote() << arguments.join(QLatin1Char(' ')) + QLatin1Char(' ');
}

void StartUp::limitMachine()
{
    initializePrimitives();
    qRegisterMetaType<SamplingFormat>("SamplingFormat");
    qRegisterMetaType<ChannelsMode>("ChannelsMode");
    qRegisterMetaType<Range>("Range");
    qRegisterMetaType<Area>("Area");
    qRegisterMetaType<MouseEvent>("MouseEvent");
    qRegisterMetaType<Matrix>("Matrix");
    qRegisterMetaType<ILayerPtr>("ILayerPtr");
    qRegisterMetaType<LayerPtr>("LayerPtr");
    if (!m_early.values("-cpu").isEmpty())
        cpu::applyMask(m_early.cpuFeatures(cpu::detectedFeatures()));
    m_threads = m_early.threadCount(QThread::idealThreadCount());
    if (!m_early.values("-threads").isEmpty())
        QThreadPool::globalInstance()->setMaxThreadCount(m_threads);
    debug(QStringLiteral("early init done"));
}

void StartUp::findParent()
{
    const QString image = platform::parentImagePath();
    debug(QStringLiteral("parent process: ") + image);
    m_parentName = parentDisplayName(image);
    const QString asked = m_early.value("-parent");
    if (!asked.isNull())
        m_parentName = asked;
    m_serverOfParent = m_early.value("-server");
}

void StartUp::createApplication()
{
    if (m_embedded) {
        QCoreApplication::setAttribute(Qt::AA_PluginApplication);
        QCoreApplication::setAttribute(Qt::AA_DontUseNativeMenuBar);
    }
    // Qt wants to know before the application object; without DirectX there is but one answer.
    QCoreApplication::setAttribute(Qt::AA_UseDesktopOpenGL, true);
    QCoreApplication::setAttribute(Qt::AA_UseOpenGLES, false);
    debug(QStringLiteral("creating app"));
    // The scale factor is forced for the application object alone, not for programs that we start.
    const char* const variable = "QT_AUTO_SCREEN_SCALE_FACTOR";
    const bool wasSet = qEnvironmentVariableIsSet(variable);
    const QByteArray before = qgetenv(variable);
    qputenv(variable, "1");
    new QApplicationExt(m_argc, m_argv, m_parentName,
                        m_serverOfParent); // reached through qApp, deleted by the engine
    if (wasSet)
        qputenv(variable, before);
    else
        qunsetenv(variable);
    // Numbers in files are those of the C locale; Qt has just taken over the user's.
    std::setlocale(LC_NUMERIC, "C");
    m_words = CommandLine(QCoreApplication::arguments());
}

void StartUp::loadProperties()
{
    debug(QStringLiteral("loading properties..."));
    PropertiesLoader loader(
        *qApp, {m_sessionId, platform::moduleFolder(), m_words.value("-edition"), m_words.has("-reset")});
    loader.loadFactory();
    setWidgetStyle();
    loader.applyUserSettings();
    debug(QStringLiteral("properties loaded"));
    debug(QStringLiteral("app created"));
}

// Measured plans of the DFT lie in the cache: whoever deletes them loses a second of the processor.
void StartUp::findFasterPlans()
{
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::CacheLocation);
    if (platform::makePrivateFolder(folder))
        setWisdomFile(folder + QStringLiteral("/plans"));
    setPlanning(Planning::Upgrade);
}

void StartUp::addFonts()
{
    for (const char* name : fontFiles)
        QFontDatabase::addApplicationFont(
            QStringLiteral(":/stylesheets/fonts/%1.ttf").arg(QLatin1String(name)));
}

void StartUp::translate()
{
    installTranslations(chooseLanguage(text("language"), text("languages").split(QLatin1Char(' ')),
                                       QLocale::system().bcp47Name(), m_words.value("-language")));
}

void StartUp::relocateLog()
{
    const QString folder = text("logspath");
    debug(QStringLiteral("relocating log to \"%1\"...").arg(folder));
    if (!logging::open(folder + QLatin1Char('/') + m_sessionId + QLatin1String(".txt"), m_debugLines))
        messages::critical(nullptr, QCoreApplication::translate("start", "Error creating log file"),
                           QCoreApplication::translate(
                               "start", "Could not create log file.<br/>Check file permissions for %1")
                               .arg(folder));
    debug(QStringLiteral("log relocated"));
}

void StartUp::fillImportQueue()
{
    m_records = m_words.importQueue(m_parentName, m_serverOfParent);
    qApp->setProperty("importqueue", qApp->property("importqueue").toByteArray() + m_records);
    m_sessionName = text("edition") + text("major") + QLatin1String("srv");
}

bool StartUp::isSession()
{
    // A picture is made by the process that was asked for it.
    if (m_embedded || m_words.has("--picture"))
        return true;
    debug(QStringLiteral("connecting to %1...").arg(m_sessionName));
    m_gate = std::make_unique<SessionGate>(m_sessionName);
    const SessionGate::Outcome outcome = m_gate->pass(m_records);
    if (outcome == SessionGate::HandedOver)
        return false;
    m_listens = outcome == SessionGate::Session;
    debug(QStringLiteral("no session found"));
    return true;
}

void StartUp::tellSession()
{
    qInfo().noquote().nospace() << "session " << m_sessionId << " started - "
                                << (m_embedded ? QStringLiteral("embedded") : m_sessionName);
    qInfo().noquote().nospace() << "launching " << QCoreApplication::applicationName() << " ("
                                << QCoreApplication::applicationVersion() << " - x" << 64 << " - Qt "
                                << qVersion() << " with the Morvane qtnamespace"
                                << " and dynamic opengl"
                                << ")";
}

void StartUp::showSplash()
{
    if (!m_embedded && !m_words.has("--picture")) {
        debug(QStringLiteral("showing splashscreen..."));
        m_splash = std::make_unique<QSplashScreenExt>();
        m_splash->show();
        QCoreApplication::processEvents();
    }
    for (const QString& line : systemReport(m_threads, QLatin1String(cpu::bestInstructionSet())))
        qInfo().noquote() << line;
}

void StartUp::listen(QLocalServer*& server)
{
    if (!m_listens)
        return;
    auto listening = std::make_unique<SessionServer>();
    if (listening->start(m_gate->socketPath(), m_gate->takeLock()))
        server = listening.release(); // deleted by the engine
}

void StartUp::createWindow(MainWindow*& window)
{
    qApp->setProperty("embedded", m_embedded);
    qInfo().noquote() << "Creating window...";
    window = new MainWindow(m_embedded); // deleted by the engine
    // Not without a user: a picture would take what is there and leave nothing.
    if (!m_embedded && !m_words.has("--picture"))
        window->recoverSessions();
    if (m_splash)
        m_splash->close();
}

} // namespace

void start(int& argc, char** argv, bool embedded, QLocalServer*& server, MainWindow*& window)
{
    server = nullptr;
    window = nullptr;
    StartUp(argc, argv, embedded).run(server, window);
}

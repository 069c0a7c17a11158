#include "ui/mainwindow.h"

#include "display/channelsdisplay.h"
#include "editing/datamanager.h"
#include "plugins/ideviceplugin.h"
#include "plugins/ifileplugin.h"
#include "plugins/iprocessplugin.h"
#include "plugins/itoolplugin.h"
#include "plugins/plugincall.h"
#include "plugins/pluginloader.h"
#include "projectfiles/hostservices.h"
#include "projectfiles/projecttabs.h"
#include "projectfiles/recovery.h"
#include "ui/aboutdialog.h"
#include "ui/actiontable.h"
#include "ui/channelspanel.h"
#include "ui/displaypanel.h"
#include "ui/historypanel.h"
#include "ui/layerspanel.h"
#include "ui/listdialog.h"
#include "ui/logdialog.h"
#include "ui/mainmenu.h"
#include "ui/objectproperties.h"
#include "ui/processmenu.h"
#include "ui/recentfiles.h"
#include "ui/sessionconnection.h"
#include "ui/sessionrecords.h"
#include "ui/statusreadout.h"
#include "ui/stylesheet.h"
#include "ui/supportinfo.h"
#include "ui/toolbars.h"
#include "ui/widgets/filechooser.h"
#include "ui/widgets/messages.h"
#include "ui/widgets/qdockwidgetext.h"
#include "ui/windowgeometry.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QDragEnterEvent>
#include <QFileInfo>
#include <QIcon>
#include <QLocalServer>
#include <QLocalSocket>
#include <QMimeData>
#include <QSettings>
#include <QStandardPaths>
#include <QStatusBar>
#include <QTimer>
#include <QToolBar>
#include <QUrl>
#include <QVBoxLayout>

namespace {

constexpr QSize smallestWindow(640, 360);
constexpr int maxConnections = 8;
constexpr int maxWaitingRecords = 40000;

QString appProperty(const char* key)
{
    return QCoreApplication::instance()->property(key).toString();
}

QStringList localFiles(const QMimeData& data)
{
    QStringList paths;
    for (const QUrl& url : data.urls())
        if (url.isLocalFile())
            paths << url.toLocalFile();
    return paths;
}

// One that throws is named by nothing.
template<class Plugin>
QString descriptionOf(const Plugin& plugin)
{
    QString cause;
    return callPlugin(cause, [&] { return plugin.description(); }).value_or(QString());
}

} // namespace

MainWindow::MainWindow(bool embedded, QWidget* parent)
    : QMainWindowExt(parent),
      IEvent(QStringLiteral("MainWindow")),
      m_embedded(embedded),
      m_plugins(std::make_unique<PluginLoader>())
{
    setObjectName(QStringLiteral("MainWindow"));
    loadPlugins();
    qInfo("initializing UI...");
    // "auto" would ask the platform, which has no such mode.
    m_tablet = appProperty("defaultlayoutmode").toLower() == QLatin1String("tablet");
    applyStyle(m_tablet);
    setWindowIcon(QIcon(QStringLiteral(":/resources/") + appProperty("appicon")));
    setAcceptDrops(true);
    setContextMenuPolicy(Qt::NoContextMenu);
    setFocusPolicy(Qt::ClickFocus);
    buildCentral();
    buildPanels();
    m_data = new DataManager(this);
    m_layersPanel->setDesk(m_data->desk());
    m_recent = new RecentFiles(tr("Open &Recent"), this, this);
    m_actions = new ActionTable(*this);
    m_toolBars = new ToolBars(*this);
    QMenu& process = buildMainMenu(*this, *m_actions);
    m_toolBars->fill(*m_actions, m_plugins->toolPlugins(), m_plugins->toolGroups());
    fillProcessMenu(process, *m_actions, *m_data, m_plugins->processPlugins());
    m_status = new StatusReadout(this);
    statusBar()->addWidget(m_status, 1);
    statusBar()->setSizeGripEnabled(false);
    qInfo("Layout and graphic objects initialized");
    connect(m_display, &ChannelsDisplay::pointerLeft, m_status, &StatusReadout::clearPointer);
    connect(m_tabs, &ProjectTabs::currentProjectChanged, this, &MainWindow::showTabState);
    connect(m_tabs, &ProjectTabs::recentFileUpdated, m_recent, &RecentFiles::add);
    connect(m_tabs, &ProjectTabs::becameIdle, this, &MainWindow::sessionImport, Qt::QueuedConnection);
    connect(m_channelsPanel, &ChannelsPanel::formatRequested, m_tabs, [this] { m_tabs->changeFormat(); });
    connect(m_data, &DataManager::becameIdle, this, &MainWindow::sessionImport, Qt::QueuedConnection);
    connect(m_historyPanel, &HistoryPanel::duplicateProjectRequested, m_tabs,
            [this] { m_tabs->duplicateProject(); });
    connect(m_recent, &RecentFiles::chosen, m_tabs, [this](const QString& path) { m_tabs->parse(path); });
    connectPlugins();
    qInfo("engine objects and connections initialized");
    qInfo("Setting shortcuts and properties");
    m_actions->publish();
    applyObjectProperties(*this);
    showTabState();
    if (const QString layout = appProperty("defaultlayout"); !layout.isEmpty())
        ::loadLayout(*this, layout);
    m_toolBars->start();
    qInfo("UI Initialized");
    setMinimumSize(smallestWindow);
    if (!m_embedded)
        restoreWindowGeometry(*this);
    setFocus(); // Qt would take the first control for it, the button of a panel
    // Not before the window is on the screen: a recording shows while it loads.
    QMetaObject::invokeMethod(this, &MainWindow::sessionImport, Qt::QueuedConnection);
    qInfo("Ready");
}

MainWindow::~MainWindow()
{
    // The choice is kept for the next start; then the tool is left, while there is still a document.
    delete m_toolBars;
    postEvent(nullptr, EventId::ToolNoneActivate, nullptr);
    // The views and panels go first, then the projects whose layers they hold.
    qDeleteAll(m_panels);
    delete m_display;
    delete m_data;
    delete m_tabs;
}

void MainWindow::loadPlugins()
{
    qInfo("loading plugins...");
    PluginLoader::Settings settings;
    settings.folder = appProperty("pluginspath");
    settings.rows = includeRows(*QCoreApplication::instance());
    settings.fillHostTable = fillHostTable;
    settings.mainWindow = this;
    settings.probeProgram = appProperty("path") + QStringLiteral("/bin/morvane_probe");
    settings.cacheFolder = QStandardPaths::writableLocation(QStandardPaths::CacheLocation);
    const int count = m_plugins->load(settings);
    qInfo().noquote() << QStringLiteral("%1 Plugins loaded").arg(count);
}

QList<IFilePlugin*> MainWindow::filePlugins() const
{
    return m_plugins->filePlugins();
}

QList<IProcessPlugin*> MainWindow::processPlugins() const
{
    return m_plugins->processPlugins();
}

// By name: the interfaces have no code of their own, so a plug-in may lack the signal.
void MainWindow::connectPlugins()
{
    for (IToolPlugin* tool : m_plugins->toolPlugins())
        if (tool->metaObject()->indexOfSignal("requestMouseEvent()") >= 0)
            connect(tool, SIGNAL(requestMouseEvent()), m_data, SLOT(executeTool()), Qt::QueuedConnection);
    for (const IProcessPlugin* process : m_plugins->processPlugins()) {
        const QObject* object = m_plugins->objectOf(process);
        if (object && object->metaObject()->indexOfSignal("previewToggled()") >= 0)
            connect(object, SIGNAL(previewToggled()), m_data, SLOT(previewProcess()));
    }
}

void MainWindow::buildCentral()
{
    auto* central = new QWidget(this);
    central->setObjectName(QStringLiteral("central"));
    auto* layout = new QVBoxLayout(central);
    layout->setContentsMargins({});
    layout->setSpacing(0);
    m_tabs = new ProjectTabs(central);
    m_tabs->setFilePlugins(m_plugins->filePlugins());
    m_display = new ChannelsDisplay(central);
    layout->addWidget(m_tabs);
    layout->addWidget(m_display, 1);
    setCentralWidget(central);
}

void MainWindow::buildPanels()
{
    setTabPosition(Qt::AllDockWidgetAreas, QTabWidget::North);
    setDockOptions(QMainWindow::AnimatedDocks);
    m_displayPanel = new DisplayPanel;
    m_historyPanel = new HistoryPanel;
    m_channelsPanel = new ChannelsPanel;
    m_layersPanel = new LayersPanel;
    const auto add = [this](QWidget* panel, const QString& name, const QString& title, const char* icon,
                            const char* unroll) {
        auto* dock = new QDockWidgetExt(title, QIcon(QString::fromLatin1(icon)), panel, this);
        dock->setObjectName(name);
        dock->setUnrolled(QCoreApplication::instance()->property(unroll).toBool());
        addDockWidget(Qt::RightDockWidgetArea, dock);
        m_panels << dock;
    };
    add(m_displayPanel, QStringLiteral("DisplayPanel"), tr("Display"), ":/icons/display.png",
        "unrolldisplaypanel");
    add(m_historyPanel, QStringLiteral("HistoryPanel"), tr("History"), ":/icons/history.png",
        "unrollhistorypanel");
    add(m_channelsPanel, QStringLiteral("ChannelsPanel"), tr("Channels"), ":/icons/channels.png",
        "unrollchannelspanel");
    add(m_layersPanel, QStringLiteral("LayersPanel"), tr("Layers"), ":/icons/layers.png",
        "unrolllayerspanel");
}

void MainWindow::showTabState()
{
    const ProjectPtr project = m_tabs->currentProject();
    m_actions->setProjectOpen(project != nullptr);
    setWindowTitle(project ? QStringLiteral("%1 \u2013 %2").arg(project->name, appProperty("name"))
                           : appProperty("name"));
}

void MainWindow::areaEvent(EventId, const Area& area)
{
    m_viewArea = area;
}

void MainWindow::recoverSessions()
{
    m_importing = true;
    ::recoverSessions(this, SessionFolder(),
                      [this](const QStringList& manifests) { m_tabs->recover(manifests); });
    m_importing = false;
    QMetaObject::invokeMethod(this, &MainWindow::sessionImport, Qt::QueuedConnection);
}

void MainWindow::sessionNewSocket(QLocalServer& server)
{
    while (m_connections < maxConnections && server.hasPendingConnections()) {
        auto* connection = new SessionConnection(server.nextPendingConnection(), this);
        ++m_connections;
        // Queued: acting on a record may run the event loop for long, and the connection ends in it.
        connect(connection, &SessionConnection::recordsArrived, this, &MainWindow::sessionSocketData,
                Qt::QueuedConnection);
        connect(connection, &SessionConnection::ended, this, [this] { --m_connections; });
        connect(connection, &QObject::destroyed, &server, [this, &server] { sessionNewSocket(server); });
        connection->start();
    }
}

void MainWindow::sessionSocketData(const QByteArray& records)
{
    if (m_records.size() > maxWaitingRecords) {
        qWarning("a launch was refused: too many wait already");
        return;
    }
    const QByteArray queue = QCoreApplication::instance()->property("importqueue").toByteArray();
    QCoreApplication::instance()->setProperty("importqueue", queue + records);
    sessionImport();
}

void MainWindow::sessionImport()
{
    const QByteArray queue = QCoreApplication::instance()->property("importqueue").toByteArray();
    QCoreApplication::instance()->setProperty("importqueue", QByteArray());
    const SessionRecords read = readSessionRecords(queue);
    m_records << read.records;
    if (!read.fault.isEmpty())
        qWarning().noquote() << QStringLiteral("session import ended early: ") + read.fault;
    // A command in work runs the event loop; what arrives meanwhile waits for its end.
    if (m_importing || m_tabs->isBusy() || m_data->isBusy())
        return;
    m_importing = true;
    while (!m_records.isEmpty())
        actOn(m_records.takeFirst());
    m_importing = false;
}

void MainWindow::actOn(const SessionRecord& record)
{
    ++m_importedRecords;
    switch (record.header) {
    case SessionHeader::Edit:
    case SessionHeader::Merge:
    case SessionHeader::Replace: {
        static const char* const labels[] = {"(edit) ", "(merge) ", "(replace) "};
        qInfo().noquote().nospace() << "session import " << labels[int(record.header)] << record.path
                                    << " (start: " << record.startSample << " samples) from "
                                    << record.source;
        if (!m_tabs->parse(record.path, record.startSample, int(record.header), record.source, record.server))
            m_failedImports << record.path;
        break;
    }
    case SessionHeader::AudioApi: // there is no device yet to select one for
        break;
    case SessionHeader::TimeRange:
        m_display->showArea({record.start, m_viewArea.y, record.length, m_viewArea.height});
        break;
    case SessionHeader::FreqRange:
        m_display->showArea({m_viewArea.x, record.start, m_viewArea.width, record.length});
        break;
    }
}

void MainWindow::toggleFullscreen(bool on)
{
    if (on == isFullScreen())
        return;
    if (on)
        m_wasMaximized = isMaximized();
    setWindowState(on ? windowState() | Qt::WindowFullScreen : windowState() & ~Qt::WindowFullScreen);
    if (!on && m_wasMaximized)
        setWindowState(windowState() | Qt::WindowMaximized);
}

void MainWindow::setTabletMode(bool on)
{
    m_tablet = on;
    applyStyle(on);
}

namespace {

filechooser::Request layoutRequest(const QString& title, bool save)
{
    filechooser::Request request;
    request.title = title;
    request.path = QDir(appProperty("presetspath")).filePath(QStringLiteral("default.layout"));
    request.filters << MainWindow::tr("%1 Layout (*.layout)").arg(appProperty("name"));
    request.save = save;
    return request;
}

} // namespace

void MainWindow::loadLayout()
{
    const QString path = filechooser::choose(this, layoutRequest(tr("Load Layout"), false)).path;
    if (!path.isEmpty())
        ::loadLayout(*this, path);
}

void MainWindow::saveLayout()
{
    QString path = filechooser::choose(this, layoutRequest(tr("Save Layout"), true)).path;
    if (path.isEmpty())
        return;
    if (QFileInfo(path).suffix().isEmpty())
        path += QStringLiteral(".layout");
    QString error;
    if (!::saveLayout(*this, path, error))
        messages::critical(this, tr("Save Layout"), tr("The layout could not be saved."), error);
}

QList<QWidget*> MainWindow::compactWidgets(bool toolBars) const
{
    QList<QWidget*> widgets;
    for (QDockWidgetExt* panel : m_panels)
        widgets << panel;
    if (toolBars)
        for (QToolBar* bar : findChildren<QToolBar*>(QString(), Qt::FindDirectChildrenOnly))
            widgets << bar;
    return widgets;
}

void MainWindow::toggleCompactAll()
{
    m_compact.toggle(compactWidgets(true));
}

void MainWindow::toggleCompactPanels()
{
    m_compact.toggle(compactWidgets(false));
}

void MainWindow::focusNextPanel(bool forward)
{
    focusNextArea(QList<QWidget*>{m_display} + compactWidgets(true), forward);
}

void MainWindow::focusNextControl(bool forward)
{
    focusNextPrevChild(forward);
}

void MainWindow::showShortcuts()
{
    QList<QStringList> rows;
    for (const QAction* action : m_actions->actions()) {
        QString name = action->text().remove(QLatin1Char('&'));
        rows << QStringList{name.remove(QStringLiteral("...")),
                            QKeySequence::listToString(action->shortcuts(), QKeySequence::NativeText)};
    }
    ListDialog(tr("Keyboard Shortcuts"), {tr("Command"), tr("Keys")}, rows, this).exec();
}

void MainWindow::showLibraries()
{
    QList<QStringList> rows;
    const auto add = [&rows](const auto& plugins, const QString& kind) {
        for (auto* plugin : plugins)
            rows << QStringList{descriptionOf(*plugin), kind};
    };
    add(m_plugins->filePlugins(), tr("File formats"));
    add(m_plugins->devicePlugins(), tr("Devices"));
    add(m_plugins->toolPlugins(), tr("Tool"));
    add(m_plugins->processPlugins(), tr("Process"));
    ListDialog(tr("Libraries"), {tr("Plug-in"), tr("Kind")}, rows, this).exec();
}

void MainWindow::showLog()
{
    LogDialog(this).exec();
}

void MainWindow::showSupportInfo()
{
    SupportInfoDialog(this).exec();
}

void MainWindow::showAbout()
{
    AboutDialog(this).exec();
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    if (!m_tabs->closeAll()) {
        event->ignore();
        return;
    }
    if (!m_embedded)
        storeWindowGeometry(*this);
    QMainWindowExt::closeEvent(event);
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event)
{
    if (!localFiles(*event->mimeData()).isEmpty())
        event->acceptProposedAction();
}

void MainWindow::dragMoveEvent(QDragMoveEvent* event)
{
    if (!localFiles(*event->mimeData()).isEmpty())
        event->acceptProposedAction();
}

void MainWindow::dropEvent(QDropEvent* event)
{
    const QStringList paths = localFiles(*event->mimeData());
    event->acceptProposedAction();
    // After the drop is over: the program that the files come from waits for its end.
    QTimer::singleShot(0, this, [this, paths] {
        for (int i = 0; i < paths.size(); ++i)
            m_tabs->parse(paths[i], 0, i == 0 ? 0 : 1);
    });
}

#include "ui/helpmenu.h"

#include "ui/actiontable.h"
#include "ui/mainwindow.h"

#include <functional>

#include <QAction>
#include <QCoreApplication>
#include <QDesktopServices>
#include <QFileInfo>
#include <QMenu>
#include <QMenuBar>
#include <QUrl>
#include <QVariant>

namespace {

QString text(const char* source)
{
    return QCoreApplication::translate("MainWindow", source);
}

struct Manual
{
    const char* id;
    const char* label;
    const char* tip;
    const char* property; // address, as the start has made it of the settings
};

constexpr Manual manuals[] = {
    {"helponlinehelp", QT_TR_NOOP("Online &Help"), QT_TR_NOOP("The help pages, in the browser"), "helppath"},
    {"helpmanual", QT_TR_NOOP("&User Manual"), QT_TR_NOOP("The manual of the program"), "manualpath"},
    {"helptutorials", QT_TR_NOOP("&Tutorials"), QT_TR_NOOP("Lessons to follow"), "tutorialspath"},
};

// A file that is not installed would make a dead entry.
bool isThere(const QUrl& url)
{
    return url.isLocalFile() ? QFileInfo(url.toLocalFile()).isFile() : !url.isEmpty();
}

} // namespace

void buildHelpMenu(MainWindow& window, ActionTable& actions)
{
    QMenu* help = window.menuBar()->addMenu(text("&Help"));
    const auto add = [&](QMenu* menu, const char* id, const char* label, const char* tip,
                         const std::function<void()>& triggered) {
        menu->addAction(actions.add({QString::fromLatin1(id), text(label), text(tip)},
                                    [triggered](bool) { triggered(); }));
    };
    for (const Manual& manual : manuals) {
        const QUrl url(QCoreApplication::instance()->property(manual.property).toString());
        if (isThere(url))
            add(help, manual.id, manual.label, manual.tip, [url] { QDesktopServices::openUrl(url); });
    }
    add(help, "helpshortcuts", "Keyboard &Shortcuts", "The commands and their keys",
        [&window] { window.showShortcuts(); });
    QMenu* support = help->addMenu(text("Su&pport"));
    add(support, "helpsupportinfo", "Support &Info", "Program, system and graphics, for the support",
        [&window] { window.showSupportInfo(); });
    add(support, "helplibraries", "&Libraries", "The plug-ins of this session",
        [&window] { window.showLibraries(); });
    add(support, "helplog", "Log &Output", "The log of this session", [&window] { window.showLog(); });
    add(help, "helpabout", "&About", "Version and copyright", [&window] { window.showAbout(); });
}

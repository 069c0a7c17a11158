#include "ui/channelsmenu.h"

#include "display/channelsdisplay.h"
#include "display/unitmenu.h"
#include "ui/actiontable.h"

#include <QCoreApplication>
#include <QMenu>
#include <QMenuBar>

namespace {

QString text(const char* source)
{
    return QCoreApplication::translate("MainWindow", source);
}

// A command of the channels display.
struct CommandRow
{
    const char* menu; // empty: keys only
    const char* id;
    const char* label;
    QKeySequence::StandardKey standard;
    const char* keys; // before the standard ones
    void (ChannelsDisplay::*slot)();
};

constexpr auto noKey = QKeySequence::UnknownKey;
constexpr const char* transport = QT_TR_NOOP("&Transport");

constexpr CommandRow commands[] = {
    {transport, "transportmovepreviousevent", QT_TR_NOOP("Previous Time Event"),
     QKeySequence::MoveToPreviousWord, "Media Previous", &ChannelsDisplay::moveToPreviousEvent},
    {transport, "transportmovenextevent", QT_TR_NOOP("Next Time Event"), QKeySequence::MoveToNextWord,
     "Media Next", &ChannelsDisplay::moveToNextEvent},
    {transport, "transportmovepreviousmarker", QT_TR_NOOP("Previous Time Marker"), QKeySequence::Back, "",
     &ChannelsDisplay::moveToPreviousMarker},
    {transport, "transportmovenextmarker", QT_TR_NOOP("Next Time Marker"), QKeySequence::Forward, "",
     &ChannelsDisplay::moveToNextMarker},
    {"", "transportmoveleft", QT_TR_NOOP("Move Left"), QKeySequence::MoveToPreviousChar, "Media Rewind",
     &ChannelsDisplay::moveLeft},
    {"", "transportmoveright", QT_TR_NOOP("Move Right"), QKeySequence::MoveToNextChar, "Media Fast Forward",
     &ChannelsDisplay::moveRight},
    {"", "transportmovestartlayer", QT_TR_NOOP("Move to Start of Layer"), QKeySequence::MoveToStartOfLine, "",
     &ChannelsDisplay::moveToStartOfLayer},
    {"", "transportmoveendlayer", QT_TR_NOOP("Move to End of Layer"), QKeySequence::MoveToEndOfLine, "",
     &ChannelsDisplay::moveToEndOfLayer},
    {"", "transportmovestartproject", QT_TR_NOOP("Move to Start of Project"),
     QKeySequence::MoveToStartOfDocument, "", &ChannelsDisplay::moveToStartOfProject},
    {"", "transportmoveendproject", QT_TR_NOOP("Move to End of Project"), QKeySequence::MoveToEndOfDocument,
     "", &ChannelsDisplay::moveToEndOfProject},
    {"", "transportselectleft", QT_TR_NOOP("Select Left"), QKeySequence::SelectPreviousChar, "",
     &ChannelsDisplay::selectLeft},
    {"", "transportselectright", QT_TR_NOOP("Select Right"), QKeySequence::SelectNextChar, "",
     &ChannelsDisplay::selectRight},
    {"", "transportselectpreviousevent", QT_TR_NOOP("Select Previous Event"),
     QKeySequence::SelectPreviousWord, "", &ChannelsDisplay::selectPreviousEvent},
    {"", "transportselectnextevent", QT_TR_NOOP("Select Next Event"), QKeySequence::SelectNextWord, "",
     &ChannelsDisplay::selectNextEvent},
    {"", "transportselectpreviousmarker", QT_TR_NOOP("Select Previous Marker"), noKey, "Ctrl+Shift+Alt+Left",
     &ChannelsDisplay::selectPreviousMarker},
    {"", "transportselectnextmarker", QT_TR_NOOP("Select Next Marker"), noKey, "Ctrl+Shift+Alt+Right",
     &ChannelsDisplay::selectNextMarker},
    {"", "transportselectstartlayer", QT_TR_NOOP("Select Start of Layer"), QKeySequence::SelectStartOfLine,
     "", &ChannelsDisplay::selectStartOfLayer},
    {"", "transportselectendlayer", QT_TR_NOOP("Select End of Layer"), QKeySequence::SelectEndOfLine, "",
     &ChannelsDisplay::selectEndOfLayer},
    {"", "transportselectstartproject", QT_TR_NOOP("Select Start of Project"),
     QKeySequence::SelectStartOfDocument, "", &ChannelsDisplay::selectStartOfProject},
    {"", "transportselectendproject", QT_TR_NOOP("Select End of Project"), QKeySequence::SelectEndOfDocument,
     "", &ChannelsDisplay::selectEndOfProject},
    {"", "displayzoomin", QT_TR_NOOP("Zoom In"), noKey, "Ctrl+=", &ChannelsDisplay::zoomIn},
    {"", "displayzoomout", QT_TR_NOOP("Zoom Out"), noKey, "Ctrl+-", &ChannelsDisplay::zoomOut},
    {"", "displayzoomfullyout", QT_TR_NOOP("Zoom Fully Out"), noKey, "Ctrl+0",
     &ChannelsDisplay::zoomFullyOut},
    {"", "displayzoomtimein", QT_TR_NOOP("Zoom Time In"), noKey, "=", &ChannelsDisplay::zoomTimeIn},
    {"", "displayzoomtimeout", QT_TR_NOOP("Zoom Time Out"), noKey, "-", &ChannelsDisplay::zoomTimeOut},
    {"", "displayzoomfreqin", QT_TR_NOOP("Zoom Frequency In"), noKey, "+", &ChannelsDisplay::zoomFreqIn},
    {"", "displayzoomfreqout", QT_TR_NOOP("Zoom Frequency Out"), noKey, "_", &ChannelsDisplay::zoomFreqOut},
};

// Units, scales and how pixels are made, in the order of the menu.
struct UnitMenuRow
{
    UnitKind kind;
    const char* title;
};
constexpr UnitMenuRow unitMenus[] = {
    {UnitKind::Time, QT_TR_NOOP("&Time Unit")},
    {UnitKind::Power, QT_TR_NOOP("Power &Unit")},
    {UnitKind::Frequency, QT_TR_NOOP("&Frequency Unit")},
    {UnitKind::Scale, QT_TR_NOOP("Frequency &Scale")},
    {UnitKind::Filtering, QT_TR_NOOP("Renderin&g Method")},
};

} // namespace

void addChannelCommands(QMenuBar& bar, ActionTable& actions, ChannelsDisplay& display)
{
    QMenu* menu = nullptr;
    for (const CommandRow& command : commands) {
        ActionRow row;
        row.id = QString::fromLatin1(command.id);
        row.label = text(command.label);
        // The first of the standard keys only: further ones are those of a text editor, such as Ctrl+E for
        // the end of the line, and belong to other commands here.
        row.keys = QString::fromLatin1(command.keys) + QStringLiteral("; ") +
                   QKeySequence(command.standard).toString(QKeySequence::PortableText);
        row.needsProject = true;
        QAction* action = actions.add(row, [&display, slot = command.slot](bool) { (display.*slot)(); });
        if (!*command.menu)
            continue;
        if (!menu)
            menu = bar.addMenu(text(command.menu));
        menu->addAction(action);
    }
}

void addUnitMenus(QMenu& view)
{
    for (const UnitMenuRow& row : unitMenus)
        view.addMenu(new UnitMenu(row.kind, text(row.title), &view));
}

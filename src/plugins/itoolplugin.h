// The contract with tools: what the pointer does on the views.
#pragma once

#include "model/types/mouseevent.h"
#include "plugins/hosttable.h"
#include "plugins/plugincontext.h"

#include <cstdint>

#include <QList>
#include <QObject>
#include <QString>
#include <QtPlugin>

class QCursor;
class QPainterPath;
class QToolButton;
class QWidget;

// A handle that a tool shows on the view and that the user may grab. Its place in the list is what
// PluginContext::controlId tells; `id` is the tool's own and comes back to it in the next call.
struct ToolControl
{
    int32_t id = -1;
    PointD position; // sample points, Hz
};

// Why execute() is called: a set of bits. 0: the pointer has moved over a spectrogram, or the button
// went down or up.
enum ToolFlag : uint32_t {
    // The tool has asked by requestMouseEvent(). With this flag and the next two `event` is the last state
    // once more, with the previous members equal to the current ones.
    ToolRequested = 1,
    // Return, while the outline that the tool has returned is not empty: what was begun is completed.
    ToolAccept = 2,
    // Escape, in the same case: what was begun is dropped.
    ToolCancel = 4,
    // The button goes down for the second time of a double click; the first press came as any other.
    ToolDoubleClick = 8,
};

// A tool's life: its library is loaded, the host fills `host` and calls init() once; then groupName(),
// toolButton() and optionsWidget(). From there on activate() and deactivate() alternate, and execute()
// and contextChanged() come between the two. All calls come on the GUI thread; nothing may throw; what
// throws is reported with the tool's description, and execute() is undone. A call that runs the event loop
// is not entered a second time. `context` is filled before activate(), execute() and contextChanged().
//
// The concrete class declares Q_OBJECT, Q_INTERFACES(IToolPlugin) and, by these names, since the host
// connects by name, so that the interface needs no code of its own:
//   signal  requestMouseEvent(): asks for a call of execute() with ToolRequested once the event loop runs,
//           while the tool is the active one; as when the user has typed into the options
//   slots   any of increaseBrushSize(), decreaseBrushSize(), increaseBrushAspectRatio(),
//           decreaseBrushAspectRatio(), increaseBrushHardness(), decreaseBrushHardness(): keys of
//           the shortcut table, called while the tool is the active one; all may be left out
//
// Screen and document: event.pixelSize tells how many samples and Hz one logical pixel is at the pointer,
// so |event.position.x - edge| < 6 * event.pixelSize.x asks for 6 pixels. Elsewhere in the view Hz
// for a pixel differ, unless the scale is linear: compare context.convert->toScale() of two
// frequencies, of which one pixel at the pointer is
// toScale(position.y + pixelSize.y / 2) - toScale(position.y - pixelSize.y / 2).
//
// The order of the virtual functions is part of the contract; a new one goes to the end.
class IToolPlugin : public QObject
{
public:
    HostTable host;
    PluginContext context;
    // Which entry of the menu of the button is on, from 0, separators not counted; 0 without a menu. Set by
    // the host, before activate() where the tool is chosen by that entry. The same stands in MouseEvent.
    uint32_t mode = 0;

    virtual bool init(const QString& libraryPath, QWidget* mainWindow) = 0;
    // The tool's name, as the user reads it: "Marquee Selection". Also the root of its shortcut id: in lower
    // case without blanks, behind "tools".
    [[nodiscard]] virtual QString description() const = 0;
    // Tools of one group stand together in the tool bar; a line separates them from the others.
    [[nodiscard]] virtual QString groupName() const = 0;
    // The button, with a default action (text, icon) and possibly a menu of modes, each an action with text
    // and icon. The host makes the actions checkable, puts the chosen one on the button and calls the tool.
    // The tool bar takes it over and deletes it with the window; hold it in a QPointer, and make it anew when
    // it is asked for after that. Never null.
    virtual QToolButton* toolButton() = 0;
    // Called when the tool is chosen and when it is left; what was begun is dropped then. Cursor, outline
    // and controls start anew with each activate(); a button held meanwhile counts as up until it is.
    virtual void activate() {}
    virtual void deactivate() {}
    // One page of the options bar, shown while the tool is the active one; null for none. Taken over
    // as the button is.
    virtual QWidget* optionsWidget() = 0;
    // Does what `event` asks for, on the document in `context`. May change the cursor; `path`, the outline
    // that is drawn over the spectrograms of the selected channels (samples, Hz); and the controls. All three
    // come as the last call left them. True adds a state to the history, named after the button's default
    // action; while a drag goes on answer false, which shows the change and leaves it to the state that
    // follows. The document is locked for writing: nobody reads it meanwhile, and a call that takes long
    // delays every picture.
    virtual bool execute(const MouseEvent& event, QCursor& cursor, QPainterPath& path,
                         QList<ToolControl>& controls, uint32_t flags) = 0;
    // Somebody else (undo, a command, the wheel, another project) has changed the selection, the layers, the
    // position, the area in view, channels, transform, units, or all of them; several changes may come as
    // one call. For showing numbers of the document in the options: nothing may be changed here; emit
    // requestMouseEvent() for that, as for controls that must move.
    virtual void contextChanged() {}
};

#define IToolPlugin_iid "com.Application.IToolPlugin"
Q_DECLARE_INTERFACE(IToolPlugin, IToolPlugin_iid)

// The editing controller of the window.
#pragma once

#include "editing/clipboardcommands.h"
#include "editing/editdesk.h"
#include "editing/processrunner.h"
#include "editing/selectioncommands.h"
#include "editing/timecommands.h"
#include "editing/toolrunner.h"
#include "model/events.h"

#include <QObject>

// What the menus call: each slot is one edit on the active layer and the selection of the project in
// front, undone in one step. It follows the project by the bus alone. A thin facade: a collaborator for
// each family of commands does the work. While one command is in work (a dialog of it runs the event
// loop), further ones do nothing. GUI thread.
class DataManager : public QObject, public IEvent
{
    Q_OBJECT

public:
    // `window`: parent of the boxes and dialogs; may be null.
    explicit DataManager(QWidget* window);
    ~DataManager() override;

    // A command is in work: whoever brings files from outside waits for becameIdle().
    [[nodiscard]] bool isBusy() const { return m_desk.isBusy(); }
    [[nodiscard]] const LayerPtr& clipboard() const { return m_clipboard.clipboard(); }
    // For tests and for the neighbours that bring families of commands of their own.
    [[nodiscard]] EditDesk& desk() { return m_desk; }
    [[nodiscard]] ClipboardCommands& clipboardCommands() { return m_clipboard; }
    [[nodiscard]] TimeCommands& timeCommands() { return m_time; }
    // Before tools and processes show their progress, milliseconds.
    void setPluginPatience(int64_t milliseconds);

public Q_SLOTS:
    void del() { m_clipboard.del(); }
    void cut() { m_clipboard.cut(); }
    void cutToNew() { m_clipboard.cutToNew(); }
    void copy() { m_clipboard.copy(); }
    void copyFromAll() { m_clipboard.copyFromAll(); }
    void copyToNew() { m_clipboard.copyToNew(); }
    void paste() { m_clipboard.paste(); }
    void pasteToNew() { m_clipboard.pasteToNew(); }
    void selectAll() { m_selection.selectAll(); }
    void deselect() { m_selection.deselect(); }
    void reselect() { m_selection.reselect(); }
    void invertSelection() { m_selection.invert(); }
    void invertSelectionFreq() { m_selection.invertFrequencies(); }
    void modifySelection(bool expand, bool fade) { m_selection.modify(expand, fade); }
    void expandSelection() { modifySelection(true, false); }
    void contractSelection() { modifySelection(false, false); }
    void fadeSelection() { modifySelection(true, true); }
    void loadSelection() { m_selection.load(); }
    void saveSelection() { m_selection.save(); }
    void insertTime() { m_time.insertTime(); }
    void deleteTime() { m_time.deleteTime(); }
    void cropTime() { m_time.cropTime(); }
    // Hands the last state of the mouse to the active tool once more. The request of a tool that is not
    // the active one does nothing.
    void executeTool();
    // The active tool has something begun that Return completes and Escape drops.
    [[nodiscard]] bool isToolDrawing() const { return m_tool.isDrawing(); }
    void acceptDrawing() { m_tool.execute(ToolAccept); }
    void cancelDrawing() { m_tool.execute(ToolCancel); }
    // An entry of the Process menu.
    void executeProcess(IProcessPlugin* plugin, const QString& name) { m_process.execute(*plugin, name); }
    // A process in work shows what it has done so far, or takes that away.
    void previewProcess() { m_process.preview(); }

Q_SIGNALS:
    // From the keys of the shortcut table; the active tool hears them by a slot of the same name.
    void increaseBrushSize();
    void decreaseBrushSize();
    void increaseBrushAspectRatio();
    void decreaseBrushAspectRatio();
    void increaseBrushHardness();
    void decreaseBrushHardness();
    void selectionEnabled(bool enabled);
    void clipboardEnabled(bool enabled);
    void selectionBackupEnabled(bool enabled);
    void selectionLoadEnabled(bool enabled);
    // The active tool has thrown, and ToolNoneActivate follows: it is not to be chosen again by itself.
    void toolFailed();
    // Whoever plays stops now: the samples are about to change.
    void stopRequested();
    void becameIdle();

public:
    void samplingFormatEvent(EventId, const SamplingFormat& format) override;
    void channelsModeEvent(EventId, const ChannelsMode& mode) override;
    void transformEvent(EventId, const TransformSettings& settings) override;
    void timeBaseEvent(EventId id, const TimeBase& base) override;
    void timeUnitEvent(EventId id, const int32_t& unit) override;
    void freqUnitEvent(EventId id, const int32_t& unit) override;
    void freqScaleEvent(EventId id, const int32_t& scale) override;
    void layerRootEvent(EventId, const LayerRoot& root) override;
    void historyActivateEvent(EventId, const int32_t&) override { m_desk.statesChanged(); }
    void historyRecordEvent(EventId, const HistoryEntry&) override { m_desk.statesChanged(); }
    void layerEvent(EventId id, const ILayerPtr& layer) override;
    void areaEvent(EventId, const Area& area) override;
    void selectionEvent(EventId, const Selection& selection) override;
    void transportPositionEvent(EventId id, const int64_t& position) override;
    void mousePositionEvent(EventId, const MouseEvent& event) override;
    void controlIdEvent(EventId, const int32_t& id) override;
    void toolEvent(EventId id) override;
    void toolPluginEvent(EventId id, const ToolActivation& tool) override;

private:
    EditDesk m_desk;
    ClipboardCommands m_clipboard;
    SelectionCommands m_selection;
    TimeCommands m_time;
    ToolRunner m_tool;
    ProcessRunner m_process;
};

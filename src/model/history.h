// Undo over a bounded list of named states.
#pragma once

#include "model/events.h"
#include "model/historyentry.h"
#include "model/layerroot.h"

#include <memory>
#include <optional>
#include <set>

#include <QObject>

// The history of the project in front. It listens to the bus alone, so whoever shows it (a panel with a
// list and buttons) only calls the slots and follows the signals.
//
// A state holds what its action changed: for each changed layer the sparse images before and after it,
// for a changed group two child lists, and the lists of the project as far as they differ. Row 0 is the
// ground: it is never undone, so it holds nothing. A layer counts as changed when LayerContentUpdate
// told so since the last state, and a group also when its child list is another one than then, so that
// a tree that was rebuilt without a word is undone with everything else. While a host manages the
// layers (property `externalmanagement`), groups and regions are its business and are left out. An edit
// through a region counts for its source.
//
// Going to another row first takes back what no state holds yet: each row has exactly the samples that
// it had when it was recorded.
//
// Without disk space. A state whose images cannot be stored, or whose edit could not be stored in full
// (Layer::takeStorageError), is not recorded: the whole action is taken back, layers and lists, the
// states stay as they were, and storageFailed() is emitted. A step of undo or redo that finds no room
// leaves the row where it was.
//
// The project's copies of the list and of the row follow from HistoryListChange (posted after a record
// and after a deletion; the last row is then the current one) and HistoryActivate (posted after a move).
// When the project posts them itself, as on a change of tabs, the history takes them over.
//
// GUI thread.
class History : public QObject, public IEvent
{
    Q_OBJECT

public:
    enum class Result {
        Done,
        Nothing,    // there is no such row, or it is the current one already
        FirstState, // refused: the first state cannot be deleted
        NoSpace,    // storageFailed() was emitted
    };

    explicit History(QObject* parent = nullptr);

    [[nodiscard]] const QList<HistoryEntry>& states() const { return m_states; }
    // -1 while there are no states.
    [[nodiscard]] int currentRow() const { return m_row; }
    [[nodiscard]] bool canUndo() const { return m_row > 0; }
    [[nodiscard]] bool canRedo() const { return m_row + 1 < m_states.size(); }
    // How many states are kept: the property `history`, from 1 to `maxhistory`.
    [[nodiscard]] static int limit();

public Q_SLOTS:
    History::Result undo() { return moveTo(m_row - 1); }
    History::Result redo() { return moveTo(m_row + 1); }
    // Undoes or redoes one state after the other until `row` is the current one.
    History::Result moveTo(int row);
    // Deletes the state of `row` and all after it; when it is undone by that, it is undone first. The
    // first state stays; with no other one the call is refused.
    History::Result deleteFrom(int row);
    // "Delete Current State And After"
    History::Result deleteCurrentAndAfter() { return deleteFrom(m_row); }

Q_SIGNALS:
    // The list is another one: after a record, a deletion, a change of projects.
    void statesChanged();
    // After each of these and after a move, in this order; `row` is -1 without states.
    void currentRowChanged(int row);
    void undoEnabled(bool enabled);
    void redoEnabled(bool enabled);
    // `words` name folder and cause, for the informative text of a message box. The action was taken
    // back, or the step not made. Emitted from within the delivery of an event: show the box queued.
    void storageFailed(const QString& words);

public:
    void samplingFormatEvent(EventId id, const SamplingFormat& format) override;
    void layerEvent(EventId id, const ILayerPtr& layer) override;
    void layerRootEvent(EventId id, const LayerRoot& root) override;
    void metaDataEvent(EventId, const MetaDataList& tags) override { m_now.metadata = tags; }
    void markersEvent(EventId, const MarkerList& markers) override { m_now.markers = markers; }
    void spectralMarkersEvent(EventId, const SpectralMarkerList& markers) override
    {
        m_now.spectralMarkers = markers;
    }
    void selectionEvent(EventId, const Selection& selection) override { m_now.selection = selection; }
    void historyRecordEvent(EventId, const HistoryEntry& entry) override { record(entry); }
    void historyListEvent(EventId id, const QList<HistoryEntry>& states) override;
    void historyActivateEvent(EventId id, const int32_t& row) override;

private:
    struct Lists
    {
        MetaDataList metadata;
        MarkerList markers;
        SpectralMarkerList spectralMarkers;
        Selection selection;
    };

    void record(const HistoryEntry& request);
    // False when there was no room: everything is taken back then.
    [[nodiscard]] bool recordLayers(HistoryEntry& entry);
    void recordLists(HistoryEntry& entry);
    [[nodiscard]] QList<ILayerPtr> changedLayers() const;
    [[nodiscard]] bool isChanged(const ILayerPtr& layer) const;
    void takeBackAction(const QList<ILayerPtr>& layers);
    bool takeBackLayers(const QList<ILayerPtr>& layers);
    void showStates(const QList<HistoryEntry>& states, int row);
    [[nodiscard]] bool applyLayers(const HistoryEntry& entry, int32_t direction);
    void applyLists(const HistoryEntry& entry, int32_t direction);
    void refresh(const QList<ILayerPtr>& layers, const HistoryEntry& entry);
    void postActiveLayer();
    void tellRow();

    std::optional<LayerRoot> m_root; // shares nodes and active layer with the project's
    QList<HistoryEntry> m_states;
    int m_row = -1;
    std::weak_ptr<ILayer> m_owner; // the "Project" node that m_states belong to
    Lists m_now;                   // of the project, as the bus told them last
    Lists m_recorded;              // as of the current state
    std::set<std::weak_ptr<ILayer>, std::owner_less<std::weak_ptr<ILayer>>> m_dirty;
    QString m_words; // of the last storage error
};

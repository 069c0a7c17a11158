// The dock panel with the layers of the project in front.
#pragma once

#include "editing/editprogress.h"
#include "model/events.h"
#include "model/layerroot.h"
#include "model/merge.h"

#include <QHash>
#include <QWidget>

#include <functional>
#include <memory>
#include <optional>

class EditDesk;
class LayerRow;
class QAction;
class QListWidgetExt;
class QListWidgetItem;
class QMenu;
class QPoint;
class QToolButton;

// Shows the tree of layers, a row for each layer and group down to the closed groups, and gives the
// commands on it. The row of the active layer is marked; a press on a row, or on a control in it, makes its
// layer active.
//
// A structural command holds the document's lock while it changes the tree, then tells what has changed and
// records a step. What takes its time (a copy, a mix) is made before that, with a progress. Mute, solo,
// phase, volume, colour and name are written at once and are no steps. Without a project, and where a host
// manages the layers (property `externalmanagement`), structural commands do nothing and say nothing. GUI
// thread.
class LayersPanel : public QWidget, public IEvent
{
    Q_OBJECT

public:
    explicit LayersPanel(QWidget* parent = nullptr);

    [[nodiscard]] bool canCreate() const;
    // There is an active layer in the tree.
    [[nodiscard]] bool canActOnActive() const;
    [[nodiscard]] bool canUngroup() const;
    [[nodiscard]] bool canMergeDown() const;
    [[nodiscard]] bool canMergeVisible() const;
    [[nodiscard]] bool canMergeAll() const;
    [[nodiscard]] bool isActiveAGroup() const;
    // Commands count as some of the desk's: one in work keeps all others out.
    void setDesk(EditDesk& desk) { m_desk = &desk; }
    // How long a command takes before its progress shows, in ms. For tests.
    void setPatience(int64_t milliseconds) { m_patience = milliseconds; }
    // Rows without pictures.
    void setCompact(bool compact);
    // What a press of the right button offers: only entries that do something now.
    [[nodiscard]] std::unique_ptr<QMenu> makeContextMenu();

    void samplingFormatEvent(EventId id, const SamplingFormat& format) override;
    void layerRootEvent(EventId id, const LayerRoot& root) override;
    void layerEvent(EventId id, const ILayerPtr& layer) override;
    void displayEnableEvent(EventId id, const bool& on) override;

public Q_SLOTS:
    void newLayer();
    void newGroup();
    void deleteActive();
    void duplicateActive();
    void group();
    void ungroup();
    // Of a group: its children into one layer.
    void mergeDownActive();
    void mergeVisible();
    void mergeAll();
    void moveUp();
    void moveDown();
    // Asks for a name.
    void rename();
    // The view shows the span of the active layer.
    void zoom();
    void customContextMenu(const QPoint& position);
    // The row above or below becomes the active one.
    void activateAbove();
    void activateBelow();
    // Of the active layer: on or off.
    void mute();
    void solo();

Q_SIGNALS:
    // What can be done now is something else.
    void stateChanged();

protected:
    bool eventFilter(QObject* object, QEvent* event) override;

private:
    struct Step
    {
        QString name;
        const char* icon;
        QString failure; // what a box says when there was no room
    };
    // Changes the tree and returns the layer that is to become active; null when nothing has changed.
    using Command = std::function<ILayerPtr()>;
    // Reads and computes what a command needs, in its own time. False: cancelled, or no room (`words`).
    using Preparation = std::function<bool(const Progress& progress, QString* words)>;

    QWidget* makeControls();
    QMenu* makePanelMenu();
    [[nodiscard]] ILayerPtr active() const { return m_root ? m_root->layer(-1) : nullptr; }
    // Nothing while another command is in work.
    void change(const Step& step, const Command& command);
    void change(const Step& step, const Preparation& preparation, const Command& command);
    void apply(const Step& step, const Command& command);
    void merge(const QString& name, Merge merge);
    void setProperty(const ILayerPtr& layer, const std::function<void(ILayer&)>& write);
    void setName(const ILayerPtr& layer, const QString& name);
    void setOpen(const ILayerPtr& layer, bool open);
    void activate(const ILayerPtr& layer);
    void activateRow(int row);
    void moveDropped(QListWidgetItem* target, QListWidgetItem* above, QListWidgetItem* below);
    [[nodiscard]] ILayerPtr layerOf(const QListWidgetItem* item) const;
    void follow(const ILayerPtr& layer);
    void rebuild();
    void addRow(const ILayerPtr& layer);
    void showActive();

    EditDesk* m_desk = nullptr; // outlives the panel's use
    int64_t m_patience = EditProgress::patience;
    std::optional<LayerRoot> m_root;
    bool m_hasProject = false;
    bool m_compact = false;
    QList<ILayerPtr> m_layers; // by row
    QList<LayerRow*> m_rows;   // children of the list
    // Children.
    QListWidgetExt* m_list;
    QToolButton* m_target = nullptr;
    QToolButton* m_mute = nullptr;
    QToolButton* m_solo = nullptr;
    QToolButton* m_newLayer = nullptr;
    QToolButton* m_newGroup = nullptr;
    QToolButton* m_delete = nullptr;
};

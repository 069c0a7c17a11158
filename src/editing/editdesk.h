// What all commands on a document share: its state as the bus tells it, and the closing of an edit.
#pragma once

#include "display/scales/convert.h"
#include "model/events.h"
#include "model/historyentry.h"
#include "model/layerroot.h"
#include "model/selection.h"
#include "plugins/plugincontext.h"
#include "spectral/maskedcopy.h"
#include "spectral/spectralbuffer.h"

#include <map>
#include <memory>
#include <optional>
#include <vector>

#include <QMap>
#include <QObject>

class PluginDocument;
class QWidget;

// Copies of the project in front. Written by DataManager as the bus tells them; the commands change
// `selection` and the tree, and closing the edit tells everybody.
struct EditState
{
    SamplingFormat format;
    ChannelsMode channels;
    std::shared_ptr<const Transform> transform; // null until told; settings for `format`
    std::optional<LayerRoot> root;              // nothing until told
    Area area;                                  // in view
    Selection selection;
    int64_t transportPosition = 0;
    Convert convert; // units, scale, tempo; `format` and `settings` as above
};

// The road of an edit: a command makes an Action (which refuses while another one runs), checks its
// guards, changes samples, tree or state().selection, and calls commit(). What could not be stored goes
// to rollBack() instead. GUI thread.
class EditDesk : public QObject
{
    Q_OBJECT

public:
    // Events are told in the name of `listener`, and not to it. Boxes lie over `window` (may be null).
    EditDesk(IEvent* listener, QWidget* window);
    ~EditDesk() override;

    // For the time of a command. A progress dialog runs the event loop, from which no second one starts.
    class Action
    {
    public:
        explicit Action(EditDesk& desk);
        ~Action();
        Action(const Action&) = delete;
        Action& operator=(const Action&) = delete;
        // False: another one is in work, and this one does nothing.
        explicit operator bool() const { return m_runs; }

    private:
        EditDesk& m_desk;
        bool m_runs;
    };

    [[nodiscard]] EditState& state() { return m_state; }
    [[nodiscard]] const EditState& state() const { return m_state; }
    [[nodiscard]] QWidget* window() const { return m_window; }
    [[nodiscard]] bool isBusy() const { return m_busy; }
    [[nodiscard]] bool hasProject() const;

    // The group of the user's layers; null without a project.
    [[nodiscard]] LayerGroupPtr layers() const;
    // Null when there is none.
    [[nodiscard]] ILayerPtr activeLayer() const;
    // What a spectral command works on.
    [[nodiscard]] MaskedArea maskedArea() const;
    // What a tool or process sees; it may change selection and tree.
    [[nodiscard]] PluginContext pluginContext();

    // The frames of a layer, for tools and processes; made on the first call.
    [[nodiscard]] std::shared_ptr<SpectralBuffer> spectralBufferFor(const ILayerPtr& layer);
    // Before samples are changed other than through the buffers, and afterwards: pending frames are
    // written and all are forgotten.
    void releaseBuffers();

    // Closes an edit: frames are written, layers whose content has changed since the Action began are
    // told, so are tree and selection as far as they are other ones, and a state of the history is
    // recorded when anything has changed, here or in edits that were closed without a label.
    void commit(const QString& label, const QIcon& icon);
    // The next labelled commit() records a state even if nothing seems to have changed.
    void markModified() { m_modified = true; }
    // Takes what the Action has done to samples and selection back, and shows one box, titled `label`,
    // with `words` (folder and cause). No state is recorded. Commands that the bus delivers show the box
    // Later: as soon as the event loop runs, and one for all that fail until then. An event loop in the
    // midst of a delivery would leave every event waiting until the box is closed.
    enum class Show {
        AtOnce,
        Later,
    };
    void rollBack(const QString& label, const QString& words, Show box = Show::AtOnce);
    // Writes pending frames; true when that or something before it could not be stored, and was rolled back.
    bool rollBackFailed(const QString& label, Show box = Show::AtOnce);
    // A box that names a plug-in and tells that its work was taken back, shown as soon as the event loop
    // runs, so that nobody waits for it in the midst of a delivery.
    void tellFailure(const QString& title, const QString& plugin, const QString& cause);

    // What a plug-in's call may have to be put back to.
    struct Mark
    {
        Selection selection;
        ILayerPtr active;
        QList<std::pair<LayerPtr, LayerHeader>> properties;
    };
    [[nodiscard]] Mark mark() const;
    // Undoes what has been done to samples, tree, properties and selection since the Action began, without
    // a box and without a state. A layer that was touched goes back to the last state.
    void takeBack(const Mark& mark);

    void moveTransport(int64_t position);
    // Makes a layer of the tree the active one; tells the tree first when it is another one.
    void activate(const ILayerPtr& layer);

    // Of the project in front.
    struct Memory
    {
        Selection last; // the last one that was not empty
        QMap<QString, Selection> saved;
    };
    [[nodiscard]] Memory& memory() { return m_memories[m_owner]; }
    // The saved selections are other ones.
    void tellSaved();

    // To be called when the bus has told the thing.
    // One that is told by a member of state() alone, such as the position, is followed by touched().
    void touched() { Q_EMIT changed(); }
    void setTimeBase(EventId id, const TimeBase& base);
    void setUnit(EventId id, int32_t value);
    void rootChanged(const LayerRoot& root);
    void formatChanged(const SamplingFormat& format);
    void selectionChanged(const Selection& selection);
    void transformChanged(const TransformSettings& settings);
    void activeChanged();
    // Others have recorded or moved to a state: nothing of ours is open any more.
    void statesChanged() { m_modified = false; }

Q_SIGNALS:
    void selectionEnabled(bool enabled);
    void selectionBackupEnabled(bool enabled);
    void selectionLoadEnabled(bool enabled);
    // A command has ended.
    void becameIdle();
    // Something of the state is another one now.
    void changed();

private:
    void limitBuffers();
    // Of layers that are gone; and what others have changed since is no longer what the frames tell.
    void dropBuffers();
    void forgetStaleFrames();
    void commitBuffers();
    void tellContents();
    void tellTree();
    void tellSelection();
    void tellMemory();
    // "Project" and everything below.
    [[nodiscard]] QList<ILayerPtr> tree() const;

    IEvent* m_listener;
    QWidget* m_window;
    EditState m_state;
    std::unique_ptr<PluginDocument> m_document;
    bool m_busy = false;
    bool m_modified = false;
    bool m_boxWaits = false; // the one of rollBack()
    int64_t m_actionTime = 0;
    Selection m_told;         // as everybody knows it
    QList<ILayerPtr> m_known; // the tree as everybody knows it
    std::weak_ptr<ILayer> m_owner;
    // Of projects that are open, by their group of layers.
    std::map<std::weak_ptr<ILayer>, Memory, std::owner_less<std::weak_ptr<ILayer>>> m_memories;
    struct Frames
    {
        std::shared_ptr<SpectralBuffer> buffer;
        std::vector<int64_t> times; // of the layer and those below it, when the frames were theirs
    };
    QHash<ILayerPtr, Frames> m_buffers;
};

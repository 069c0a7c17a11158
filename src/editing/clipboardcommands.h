// Cut, copy, paste and delete of the selected part of a layer.
#pragma once

#include "editing/editdesk.h"
#include "editing/editguards.h"
#include "editing/editprogress.h"

#include <optional>

// The clipboard is a layer of its own, with the selected part as ordinary samples at its place on the
// timeline. It outlives selections and projects. A cut is exactly complementary with its clip: what is
// beyond the ends of the layer is neither taken nor kept. GUI thread.
class ClipboardCommands : public QObject
{
    Q_OBJECT

public:
    explicit ClipboardCommands(EditDesk& desk);

    void cut();
    void cutToNew();
    void copy();
    // From the mix of all visible layers.
    void copyFromAll();
    void copyToNew();
    // Adds the clip at the transport position; with a selection, at its start, after clearing what is
    // selected.
    void paste();
    void pasteToNew();
    void del();

    // Null until the first copy or cut.
    [[nodiscard]] const LayerPtr& clipboard() const { return m_clipboard; }
    // How long an edit takes before its progress shows, in ms. For tests.
    void setPatience(int64_t milliseconds) { m_patience = milliseconds; }

Q_SIGNALS:
    // With true, whenever the clipboard is filled.
    void clipboardEnabled(bool enabled);

private:
    struct Row // a command that takes the selected part
    {
        const EditGuards& guards;
        const char* label;
        const char* icon;
        const char* nothing; // told when nothing was there; null tells nothing
        const char* nothingTitle;
    };
    enum class Taking { Copy, Cut };

    void toClipboard(const Row& row, Taking taking);
    void toNewLayer(const Row& row, Taking taking);
    // The selected part of `source` in a new layer; null when the command is over (cancelled, no room).
    [[nodiscard]] LayerPtr take(const Row& row, const ILayerPtr& source, Taking taking, bool& hasContent);
    // False when the command is over.
    [[nodiscard]] bool settle(const QString& label, const MaskedResult& result);
    void finish(const Row& row, bool hasContent);
    [[nodiscard]] bool hasClip() const;
    // The clipboard as a layer of the project's format; null when the user cancels, or without room.
    // `own`: never the clipboard itself.
    [[nodiscard]] LayerPtr fittingClip(const QString& label, bool own);
    [[nodiscard]] LayerPtr converted(const QString& label);
    void moveToTransport(const LayerPtr& clip) const;
    void insertNew(const LayerPtr& layer);

    EditDesk& m_desk;
    LayerPtr m_clipboard;
    int64_t m_patience = EditProgress::patience;
};

#include "editing/clipboardcommands.h"

#include "model/documentlock.h"
#include "model/newlayer.h"
#include "projectfiles/remixerdialog.h"
#include "spectral/primitives/defaultremix.h"
#include "ui/widgets/messages.h"

#include <algorithm>

#include <QCoreApplication>

namespace {

QString text(const char* source)
{
    return QCoreApplication::translate("DataManager", source);
}

QIcon icon(const char* path)
{
    return QIcon(QString::fromLatin1(path));
}

// At the place of the active layer, in its group; at the first place of all when it is not in the tree.
void insertAtActive(const LayerRoot& root, const ILayerPtr& layer)
{
    const WriteLocker locker(documentLock());
    const ILayerPtr active = root.layer(-1);
    const auto own = std::dynamic_pointer_cast<Layer>(active);
    ILayerPtr group = root.layer(RootProject);
    int place = 0;
    if (own && own->parent() && group->containsChild(active, true)) {
        group = own->parent();
        place = group->children(ChildrenDirect).indexOf(active);
    }
    group->insertChildAt(place, layer);
}

constexpr char cutIcon[] = ":/icons/cut.png";
constexpr char copyIcon[] = ":/icons/copy.png";
constexpr char pasteIcon[] = ":/icons/paste.png";
constexpr char deleteIcon[] = ":/icons/delete.png";

} // namespace

ClipboardCommands::ClipboardCommands(EditDesk& desk) : m_desk(desk) {}

// --- the commands ----------------------------------------------------------------------------------

void ClipboardCommands::cut()
{
    toClipboard({guards::cut, QT_TRANSLATE_NOOP("DataManager", "Cut"), cutIcon,
                 QT_TRANSLATE_NOOP("DataManager", "Nothing to cut in the active layer."), "Cut"},
                Taking::Cut);
}

void ClipboardCommands::cutToNew()
{
    toNewLayer({guards::cutToNew, QT_TRANSLATE_NOOP("DataManager", "Cut to New"), cutIcon,
                QT_TRANSLATE_NOOP("DataManager", "Nothing to cut to a new layer."),
                QT_TRANSLATE_NOOP("DataManager", "Cut to New Layer")},
               Taking::Cut);
}

void ClipboardCommands::copy()
{
    toClipboard({guards::copy, QT_TRANSLATE_NOOP("DataManager", "Copy"), copyIcon,
                 QT_TRANSLATE_NOOP("DataManager", "Nothing to copy in the active layer."), "Copy"},
                Taking::Copy);
}

void ClipboardCommands::copyFromAll()
{
    toClipboard(
        {guards::copyFromAll, QT_TRANSLATE_NOOP("DataManager", "Copy From All"), copyIcon, nullptr, nullptr},
        Taking::Copy);
}

void ClipboardCommands::copyToNew()
{
    toNewLayer({guards::copyToNew, QT_TRANSLATE_NOOP("DataManager", "Copy to New"), copyIcon,
                QT_TRANSLATE_NOOP("DataManager", "Nothing to copy to a new layer."),
                QT_TRANSLATE_NOOP("DataManager", "Copy to New Layer")},
               Taking::Copy);
}

void ClipboardCommands::del()
{
    const Row row{guards::del, QT_TRANSLATE_NOOP("DataManager", "Delete"), deleteIcon,
                  QT_TRANSLATE_NOOP("DataManager", "Nothing to delete in the active layer."), "Delete"};
    const EditDesk::Action action(m_desk);
    if (!action || !passes(m_desk, row.guards))
        return;
    m_desk.releaseBuffers();
    EditProgress progress(m_desk.window(), text(row.label), m_patience);
    const MaskedResult result =
        removeMasked(m_desk.activeLayer(), m_desk.maskedArea(), [&](int d, int t) { return progress(d, t); });
    if (settle(text(row.label), result))
        finish(row, result.hasContent);
}

// --- taking ----------------------------------------------------------------------------------------

bool ClipboardCommands::settle(const QString& label, const MaskedResult& result)
{
    if (result.state == MaskedResult::State::NoSpace)
        m_desk.rollBack(label, result.error);
    return result.isDone();
}

LayerPtr ClipboardCommands::take(const Row& row, const ILayerPtr& source, Taking taking, bool& hasContent)
{
    m_desk.releaseBuffers();
    const LayerPtr part = Layer::create(m_desk.state().format, {}, 0, false);
    EditProgress progress(m_desk.window(), text(row.label), m_patience);
    const auto step = [&](int done, int total) { return progress(done, total); };
    const MaskedArea area = m_desk.maskedArea();
    const MaskedResult result =
        taking == Taking::Cut ? cutMasked(source, part, area, step) : copyMasked(source, part, area, step);
    hasContent = result.hasContent;
    return settle(text(row.label), result) ? part : nullptr;
}

void ClipboardCommands::finish(const Row& row, bool hasContent)
{
    m_desk.releaseBuffers();
    m_desk.markModified();
    m_desk.commit(text(row.label), icon(row.icon));
    if (row.nothing && !hasContent)
        messages::information(m_desk.window(), text(row.nothingTitle), text(row.nothing));
}

void ClipboardCommands::toClipboard(const Row& row, Taking taking)
{
    const EditDesk::Action action(m_desk);
    if (!action || !passes(m_desk, row.guards))
        return;
    const ILayerPtr source = row.guards.noActive ? m_desk.activeLayer() : m_desk.layers();
    bool hasContent = false;
    const LayerPtr part = take(row, source, taking, hasContent);
    if (!part)
        return;
    m_clipboard = part;
    Q_EMIT clipboardEnabled(true);
    m_desk.moveTransport(m_clipboard->range().start);
    finish(row, hasContent);
}

void ClipboardCommands::toNewLayer(const Row& row, Taking taking)
{
    const EditDesk::Action action(m_desk);
    if (!action || !passes(m_desk, row.guards))
        return;
    bool hasContent = false;
    const LayerPtr part = take(row, m_desk.activeLayer(), taking, hasContent);
    if (!part)
        return;
    m_desk.moveTransport(std::max<int64_t>(0, m_desk.state().selection.range().start));
    m_desk.state().selection.clear();
    insertNew(part);
    finish(row, hasContent);
}

void ClipboardCommands::insertNew(const LayerPtr& layer)
{
    const QList<ILayerPtr> layers = m_desk.layers()->children(ChildrenAll);
    layer->setName(nextLayerName(QStringLiteral("Layer"), layers).toStdString());
    layer->setColor(nextLayerColor(layers));
    layer->startBackup();
    insertAtActive(*m_desk.state().root, layer);
    m_desk.activate(layer);
}

// --- pasting ---------------------------------------------------------------------------------------

bool ClipboardCommands::hasClip() const
{
    if (m_clipboard)
        return true;
    messages::warning(m_desk.window(), text(QT_TRANSLATE_NOOP("DataManager", "Empty Clipboard")),
                      text(QT_TRANSLATE_NOOP("DataManager", "Nothing to paste.")));
    return false;
}

LayerPtr ClipboardCommands::converted(const QString& label)
{
    const SamplingFormat from = m_clipboard->format();
    const SamplingFormat to = m_desk.state().format;
    Matrix matrix = defaultRemix(from, to);
    const bool sameLayout = from.channelsType == to.channelsType && from.channels == to.channels &&
                            from.channelsMask == to.channelsMask;
    if (!sameLayout) {
        RemixerDialog dialog({from.channelsType, from.channelsMask}, {to.channelsType, to.channelsMask},
                             matrix, m_desk.window());
        if (dialog.exec() != QDialog::Accepted)
            return nullptr;
        matrix = dialog.matrix();
    }
    const LayerPtr clip = m_clipboard->clone(false);
    QString words;
    EditProgress progress(m_desk.window(), label, m_patience);
    if (clip && clip->changeFormat(to, matrix, [&](int done, int total) { return progress(done, total); }))
        return clip;
    // Without an error the user has cancelled.
    if ((clip ? clip : m_clipboard)->takeStorageError(&words))
        m_desk.rollBack(label, words);
    return nullptr;
}

LayerPtr ClipboardCommands::fittingClip(const QString& label, bool own)
{
    if (!(m_clipboard->format() == m_desk.state().format))
        return converted(label);
    if (!own)
        return m_clipboard;
    const LayerPtr clip = m_clipboard->clone(false);
    QString words;
    if (!clip && m_clipboard->takeStorageError(&words))
        m_desk.rollBack(label, words);
    return clip;
}

void ClipboardCommands::moveToTransport(const LayerPtr& clip) const
{
    clip->moveBy(m_desk.state().transportPosition - clip->range().start);
}

void ClipboardCommands::paste()
{
    const EditDesk::Action action(m_desk);
    if (!action || !passes(m_desk, guards::paste) || !hasClip())
        return;
    const QString label = text(QT_TRANSLATE_NOOP("DataManager", "Paste"));
    const LayerPtr clip = fittingClip(label, false);
    if (!clip)
        return;
    m_desk.releaseBuffers();
    const ILayerPtr layer = m_desk.activeLayer();
    if (!m_desk.state().selection.isEmpty()) {
        EditProgress progress(m_desk.window(), label, m_patience);
        const MaskedResult cleared = removeMasked(layer, m_desk.maskedArea(),
                                                  [&](int done, int total) { return progress(done, total); });
        if (!settle(label, cleared))
            return;
        m_desk.moveTransport(std::max<int64_t>(0, m_desk.state().selection.range().start));
    }
    moveToTransport(clip);
    layer->replaceByLayer(clip, 1.0f, false);
    QString words;
    const auto stored = std::dynamic_pointer_cast<Layer>(layer);
    const LayerPtr source = layer->source();
    if ((stored && stored->takeStorageError(&words)) || (source && source->takeStorageError(&words))) {
        m_desk.rollBack(label, words);
        return;
    }
    m_desk.markModified();
    m_desk.commit(label, icon(pasteIcon));
}

void ClipboardCommands::pasteToNew()
{
    const EditDesk::Action action(m_desk);
    if (!action || !passes(m_desk, guards::pasteToNew) || !hasClip())
        return;
    const QString label = text(QT_TRANSLATE_NOOP("DataManager", "Paste To New"));
    const LayerPtr clip = fittingClip(label, true);
    if (!clip)
        return;
    moveToTransport(clip);
    insertNew(clip);
    m_desk.markModified();
    m_desk.commit(label, icon(pasteIcon));
}

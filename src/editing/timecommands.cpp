#include "editing/timecommands.h"

#include "editing/timedialog.h"
#include "model/timechange.h"

#include <QCoreApplication>

void TimeCommands::insertTime()
{
    run(TimeChangeKind::Insert, QT_TRANSLATE_NOOP("DataManager", "Insert Time"));
}

void TimeCommands::deleteTime()
{
    run(TimeChangeKind::Delete, QT_TRANSLATE_NOOP("DataManager", "Delete Time"));
}

void TimeCommands::cropTime()
{
    run(TimeChangeKind::Crop, QT_TRANSLATE_NOOP("DataManager", "Crop Time"));
}

void TimeCommands::run(TimeChangeKind kind, const char* title)
{
    const EditDesk::Action action(m_desk);
    const LayerGroupPtr layers = m_desk.layers();
    if (!action || !layers || layers->children(ChildrenDirect).isEmpty())
        return;
    const EditState& state = m_desk.state();
    const Range shown =
        state.selection.isEmpty() ? Range{state.transportPosition, 0} : state.selection.range();
    const QString label = QCoreApplication::translate("DataManager", title);
    TimeDialog dialog(label, state.convert, shown, m_desk.window());
    if (dialog.exec() != QDialog::Accepted)
        return;
    m_desk.releaseBuffers();
    if (!change(kind, dialog.range(), label))
        return;
    m_desk.releaseBuffers();
    m_desk.state().selection.clear();
    m_desk.commit(label, QIcon(QStringLiteral(":/icons/menu.png")));
}

bool TimeCommands::change(TimeChangeKind kind, const Range& range, const QString& title)
{
    TimeChange change(kind, range);
    change.add(m_desk.layers());
    // A crop that takes nothing away is a step all the same.
    if (range.isEmpty() || (kind != TimeChangeKind::Crop && !change.reachesAny()))
        return false;
    EditProgress progress(m_desk.window(), title, m_patience);
    if (change.run([&](int done, int total) { return progress(done, total); }))
        return true;
    QString words;
    if (const LayerPtr layer = change.withoutRoom(); layer && layer->takeStorageError(&words))
        m_desk.rollBack(title, words);
    return false;
}

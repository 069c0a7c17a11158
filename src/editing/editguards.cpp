#include "editing/editguards.h"

#include "editing/editdesk.h"
#include "ui/widgets/messages.h"

#include <QCoreApplication>
#include <QVariant>

namespace {

constexpr EditGuards makingLayer(EditGuards row)
{
    row.makesLayer = true;
    return row;
}

constexpr EditGuards cutRow{
    QT_TRANSLATE_NOOP("DataManager", "A layer must be active to cut from."),
    QT_TRANSLATE_NOOP("DataManager", "Cannot cut from a group"),
    QT_TRANSLATE_NOOP("DataManager", "You can only cut from a layer, not from a group."),
    QT_TRANSLATE_NOOP("DataManager", "You must select something to cut.")};
constexpr EditGuards copyRow{QT_TRANSLATE_NOOP("DataManager", "A layer must be active to copy from."),
                             nullptr, nullptr,
                             QT_TRANSLATE_NOOP("DataManager", "You must select something to copy.")};

QString text(const char* source)
{
    return QCoreApplication::translate("DataManager", source);
}

bool warn(const EditDesk& desk, const char* title, const char* words)
{
    messages::warning(desk.window(), text(title), text(words));
    return false;
}

} // namespace

namespace guards {

const EditGuards cut = cutRow;
const EditGuards cutToNew = makingLayer(cutRow);
const EditGuards copy = copyRow;
const EditGuards copyFromAll{nullptr, nullptr, nullptr, copyRow.noSelection};
const EditGuards copyToNew = makingLayer(copyRow);
const EditGuards paste{QT_TRANSLATE_NOOP("DataManager", "A layer must be active to paste to."),
                       QT_TRANSLATE_NOOP("DataManager", "Cannot paste to a group"),
                       QT_TRANSLATE_NOOP("DataManager", "You can only paste to a layer, not to a group.")};
const EditGuards pasteToNew = makingLayer({});
const EditGuards del{QT_TRANSLATE_NOOP("DataManager", "A layer must be active to delete from."),
                     QT_TRANSLATE_NOOP("DataManager", "Cannot delete from a group"),
                     QT_TRANSLATE_NOOP("DataManager", "You can only delete from a layer, not from a group."),
                     QT_TRANSLATE_NOOP("DataManager", "You must select something to delete.")};

} // namespace guards

bool passes(const EditDesk& desk, const EditGuards& row)
{
    const LayerGroupPtr layers = desk.layers();
    if (!layers || layers->children(ChildrenDirect).isEmpty())
        return false;
    const ILayerPtr active = desk.activeLayer();
    if (row.noActive && (!active || !layers->containsChild(active, true)))
        return warn(desk, QT_TRANSLATE_NOOP("DataManager", "No Active Layer"), row.noActive);
    if (row.groupText && active->type() == LayerTypeGroup)
        return warn(desk, row.groupTitle, row.groupText);
    if (row.noActive && !desk.state().root->isVisible(active))
        return warn(desk, QT_TRANSLATE_NOOP("DataManager", "Active Layer not visible"),
                    QT_TRANSLATE_NOOP("DataManager", "Active Layer is not visible."));
    if (row.noSelection && desk.state().selection.isEmpty())
        return warn(desk, QT_TRANSLATE_NOOP("DataManager", "No Selection"), row.noSelection);
    if (row.makesLayer && QCoreApplication::instance()->property("externalmanagement").toBool())
        return warn(desk, QT_TRANSLATE_NOOP("DataManager", "External Host"),
                    QT_TRANSLATE_NOOP("DataManager",
                                      "Can't create a new layer when controlled by an external host."));
    return true;
}

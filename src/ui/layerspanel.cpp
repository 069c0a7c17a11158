#include "ui/layerspanel.h"

#include "editing/editdesk.h"
#include "model/documentlock.h"
#include "model/historyentry.h"
#include "model/layercopy.h"
#include "ui/layercommands.h"
#include "ui/layerrow.h"
#include "ui/panelbuttons.h"
#include "ui/widgets/messages.h"
#include "ui/widgets/qlistwidgetext.h"

#include <QActionGroup>
#include <QApplication>
#include <QHBoxLayout>
#include <QInputDialog>
#include <QKeyEvent>
#include <QMenu>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>

namespace {

// Pixels in which a row has room for all its controls.
constexpr int narrowest = 272;
constexpr int leastHeight = 66; // of the list: a row, so that the controls below keep their room

bool isLeftToHost()
{
    return QCoreApplication::instance()->property("externalmanagement").toBool();
}

using Lists = QHash<ILayerPtr, QList<ILayerPtr>>;

// What each group of the tree holds.
Lists groupLists(const LayerRoot& root)
{
    const ILayerPtr project = root.project();
    Lists lists{{project, project->children(ChildrenDirect)}};
    for (const ILayerPtr& layer : project->children(ChildrenAll))
        if (layer->type() == LayerTypeGroup)
            lists.insert(layer, layer->children(ChildrenDirect));
    return lists;
}

} // namespace

LayersPanel::LayersPanel(QWidget* parent)
    : QWidget(parent),
      IEvent(QStringLiteral("LayersPanel")),
      m_list(new QListWidgetExt(this))
{
    setObjectName(QStringLiteral("layerspanel"));
    m_list->setObjectName(QStringLiteral("layer"));
    m_list->setAccessibleName(tr("Layers"));
    m_list->setToolTip(tr("The layers, from the topmost"));
    m_list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_list->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    m_list->setContextMenuPolicy(Qt::CustomContextMenu);
    m_list->installEventFilter(this);
    m_list->setMinimumHeight(leastHeight);
    setMinimumWidth(narrowest);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins({});
    layout->setSpacing(0);
    layout->addWidget(m_list, 1);
    layout->addWidget(makeControls());
    connect(m_list, &QListWidget::currentRowChanged, this, &LayersPanel::activateRow);
    connect(m_list, &QListWidget::customContextMenuRequested, this, &LayersPanel::customContextMenu);
    connect(m_list, &QListWidgetExt::noItemClicked, this, &LayersPanel::showActive);
    connect(m_list, &QListWidgetExt::itemDropped, this, &LayersPanel::moveDropped);
    showActive();
    setEnabled(false); // until there is a project
}

QWidget* LayersPanel::makeControls()
{
    auto* bar = new QWidget(this);
    bar->setObjectName(QStringLiteral("compactcontrols"));
    m_target = makeIconButton(bar, "target", tr("Target Active Layer Color"));
    m_target->setObjectName(QStringLiteral("target"));
    m_target->setCheckable(true);
    m_mute = makeSwitch(bar, "mute", tr("Mute"), tr("Mute the Active Layer"));
    m_solo = makeSwitch(bar, "solo", tr("Solo"), tr("Solo the Active Layer"));
    m_newLayer = makeIconButton(bar, "newlayer", tr("New Layer"));
    m_newGroup = makeIconButton(bar, "newgroup", tr("New Group"));
    m_delete = makeIconButton(bar, "trash", tr("Delete Layer"));
    QToolButton* menu = makeIconButton(bar, "menu", tr("Panel Menu"));
    menu->setMenu(makePanelMenu());
    menu->setPopupMode(QToolButton::InstantPopup);
    auto* layout = new QHBoxLayout(bar);
    layout->setContentsMargins(6, 3, 6, 3);
    layout->setSpacing(3);
    layout->addWidget(m_target);
    layout->addWidget(m_mute);
    layout->addWidget(m_solo);
    layout->addStretch(1);
    for (QToolButton* button : {m_newLayer, m_newGroup, m_delete, menu})
        layout->addWidget(button);
    connect(m_target, &QToolButton::clicked, this,
            [this](bool on) { postEvent(this, EventId::DisplayTargetActiveEnable, on, nullptr); });
    connect(m_mute, &QToolButton::clicked, this, &LayersPanel::mute);
    connect(m_solo, &QToolButton::clicked, this, &LayersPanel::solo);
    connect(m_newLayer, &QToolButton::clicked, this, &LayersPanel::newLayer);
    connect(m_newGroup, &QToolButton::clicked, this, &LayersPanel::newGroup);
    connect(m_delete, &QToolButton::clicked, this, &LayersPanel::deleteActive);
    return bar;
}

QMenu* LayersPanel::makePanelMenu()
{
    auto* menu = new QMenu(this);
    auto* layouts = new QActionGroup(menu);
    const auto choice = [&](const QString& text, bool compact) {
        QAction* action = menu->addAction(text, this, [this, compact] { setCompact(compact); });
        action->setCheckable(true);
        action->setChecked(compact == m_compact);
        layouts->addAction(action);
    };
    choice(tr("Standard Layout"), false);
    choice(tr("Compact Layout"), true);
    menu->addSeparator();
    // Without a mouse. The keys are those of the list, see eventFilter().
    menu->addAction(tr("Move Up"), this, &LayersPanel::moveUp);
    menu->addAction(tr("Move Down"), this, &LayersPanel::moveDown);
    return menu;
}

void LayersPanel::setCompact(bool compact)
{
    m_compact = compact;
    m_list->setObjectName(compact ? QStringLiteral("layercompact") : QStringLiteral("layer"));
    rebuild();
}

// --- what can be done -------------------------------------------------------------------------------

bool LayersPanel::canCreate() const
{
    return m_root && m_hasProject && !isLeftToHost();
}

bool LayersPanel::canActOnActive() const
{
    return canCreate() && layercommands::groupOf(*m_root, active());
}

bool LayersPanel::isActiveAGroup() const
{
    const ILayerPtr layer = active();
    return layer && layer->type() == LayerTypeGroup;
}

bool LayersPanel::canUngroup() const
{
    return canActOnActive() && isActiveAGroup();
}

bool LayersPanel::canMergeDown() const
{
    if (!canActOnActive())
        return false;
    if (isActiveAGroup())
        return !active()->isEmpty();
    const QList<ILayerPtr> siblings = layercommands::groupOf(*m_root, active())->children(ChildrenDirect);
    return layercommands::placeOf(*m_root, active()) + 1 < siblings.size();
}

bool LayersPanel::canMergeVisible() const
{
    if (!canCreate())
        return false;
    const QList<ILayerPtr> top = m_root->project()->children(ChildrenDirect);
    return std::any_of(top.begin(), top.end(), [](const ILayerPtr& layer) { return layer->enabled(); });
}

bool LayersPanel::canMergeAll() const
{
    return canCreate() && !m_root->project()->isEmpty();
}

// --- structural commands ----------------------------------------------------------------------------

void LayersPanel::change(const Step& step, const Command& command)
{
    change(step, {}, command);
}

void LayersPanel::apply(const Step& step, const Command& command)
{
    const Lists before = groupLists(*m_root);
    ILayerPtr active;
    {
        const WriteLocker locker(documentLock());
        active = command();
    }
    if (!active)
        return;
    m_root->setActive(active);
    rebuild();
    const Lists after = groupLists(*m_root);
    for (auto it = after.begin(); it != after.end(); ++it)
        if (before.value(it.key()) != it.value())
            postEvent(this, EventId::LayerContentUpdate, it.key(), this);
    if (active->type() != LayerTypeGroup)
        postEvent(this, EventId::LayerContentUpdate, active, this);
    postEvent(this, EventId::LayerActivate, active, this);
    HistoryEntry entry;
    entry.name = step.name;
    entry.icon = QIcon(QStringLiteral(":/icons/%1.png").arg(QLatin1String(step.icon)));
    postEvent(this, EventId::HistoryRecord, entry, nullptr);
}

void LayersPanel::change(const Step& step, const Preparation& preparation, const Command& command)
{
    std::optional<EditDesk::Action> action;
    if (m_desk && !action.emplace(*m_desk))
        return;
    QString words;
    bool isReady = !preparation;
    if (preparation) {
        EditProgress progress(window(), step.name, m_patience);
        isReady = preparation([&](int done, int total) { return progress(done, total); }, &words);
    }
    if (isReady)
        apply(step, command);
    else if (!words.isEmpty())
        messages::critical(window(), step.name, step.failure, words);
}

void LayersPanel::newLayer()
{
    if (canCreate())
        change({tr("New Layer"), "newlayer", {}}, [this] { return layercommands::newLayer(*m_root); });
}

void LayersPanel::newGroup()
{
    if (canCreate())
        change({tr("New Group"), "newgroup", {}}, [this] { return layercommands::newGroup(*m_root); });
}

void LayersPanel::duplicateActive()
{
    if (!canActOnActive())
        return;
    LayerPtr copy;
    change(
        {tr("Duplicate Layer"), "copy", tr("The layer could not be duplicated.")},
        [&](const Progress& progress, QString* words) {
            copy = copyInSteps(active(), progress, words);
            return copy != nullptr;
        },
        [&] { return layercommands::addDuplicate(*m_root, copy); });
}

void LayersPanel::deleteActive()
{
    if (!canActOnActive())
        return;
    if (layercommands::isLast(*m_root, active())) {
        messages::warning(window(), tr("Last Layer"), tr("You can't delete the last layer."));
        return;
    }
    change({isActiveAGroup() ? tr("Delete Group") : tr("Delete Layer"), "trash", {}},
           [this] { return layercommands::remove(*m_root); });
}

void LayersPanel::group()
{
    if (canActOnActive())
        change({tr("Group"), "newgroup", {}}, [this] { return layercommands::group(*m_root); });
}

void LayersPanel::ungroup()
{
    if (!canUngroup())
        return;
    if (active()->isEmpty() && layercommands::isLast(*m_root, active())) {
        messages::warning(window(), tr("Last Layer"), tr("You can't delete the last layer."));
        return;
    }
    change({tr("Ungroup"), "menu", {}}, [this] { return layercommands::ungroup(*m_root); });
}

void LayersPanel::merge(const QString& name, Merge merge)
{
    change(
        {name, "menu", tr("The layers could not be merged.")},
        [&](const Progress& progress, QString* words) { return merge.prepare(progress, words); },
        [&] { return merge.apply(); });
}

void LayersPanel::mergeDownActive()
{
    if (!canMergeDown())
        return;
    const auto group = std::dynamic_pointer_cast<LayerGroup>(active());
    if (group)
        merge(tr("Merge Group"), Merge::ofGroup(group));
    else
        merge(tr("Merge Down"), Merge::down(*m_root, active()));
}

void LayersPanel::mergeVisible()
{
    if (canMergeVisible())
        merge(tr("Merge Visible"), Merge::visible(*m_root));
}

void LayersPanel::mergeAll()
{
    if (canMergeAll())
        merge(tr("Merge All"), Merge::all(*m_root));
}

// --- moves ------------------------------------------------------------------------------------------

void LayersPanel::moveUp()
{
    if (canActOnActive())
        change({isActiveAGroup() ? tr("Move Group") : tr("Move Layer"), "menu", {}},
               [this] { return layercommands::moveBy(*m_root, active(), -1); });
}

void LayersPanel::moveDown()
{
    if (canActOnActive())
        change({isActiveAGroup() ? tr("Move Group") : tr("Move Layer"), "menu", {}},
               [this] { return layercommands::moveBy(*m_root, active(), 1); });
}

// Between two rows: before the lower one in its group. So the end of an open group is reached through
// its last row's neighbour in the group, and the end of the list is the end of the project.
void LayersPanel::moveDropped(QListWidgetItem* target, QListWidgetItem*, QListWidgetItem* below)
{
    if (!canActOnActive())
        return;
    LayerGroupPtr group = std::dynamic_pointer_cast<LayerGroup>(layerOf(target));
    int place = 0;
    if (!group && below) {
        group = layercommands::groupOf(*m_root, layerOf(below));
        place = layercommands::placeOf(*m_root, layerOf(below));
    } else if (!group) {
        group = m_root->project();
        place = int(group->children(ChildrenDirect).size());
    }
    change({isActiveAGroup() ? tr("Move Group") : tr("Move Layer"), "menu", {}},
           [&] { return layercommands::move(*m_root, active(), group, place); });
}

// --- properties -------------------------------------------------------------------------------------

void LayersPanel::setProperty(const ILayerPtr& layer, const std::function<void(ILayer&)>& write)
{
    write(*layer);
    follow(layer);
    postEvent(this, EventId::LayerPropertiesChange, layer, this);
}

void LayersPanel::setName(const ILayerPtr& layer, const QString& name)
{
    if (name.trimmed().isEmpty() || name == layer->name())
        return follow(layer); // shows the name that it has
    layer->setName(name.toStdString());
    rebuild();
    postEvent(this, EventId::LayerActivate, active(), this);
}

void LayersPanel::setOpen(const ILayerPtr& layer, bool open)
{
    if (layer->type() == LayerTypeGroup && layer->isOpen() != open)
        setProperty(layer, [open](ILayer& group) { group.setOpen(open); });
}

void LayersPanel::rename()
{
    const ILayerPtr layer = active();
    if (!canActOnActive())
        return;
    bool accepted = false;
    const QString name = QInputDialog::getText(window(), tr("Rename Layer"), tr("New name:"),
                                               QLineEdit::Normal, layer->name(), &accepted);
    if (accepted)
        setName(layer, name);
}

void LayersPanel::zoom()
{
    if (!canActOnActive() || active()->range().isEmpty())
        return;
    postEvent(this, EventId::DisplayAreaChange, active()->area(), this);
}

void LayersPanel::mute()
{
    if (const ILayerPtr layer = active())
        setProperty(layer, [](ILayer& changed) { changed.setEnabled(!changed.enabled()); });
}

void LayersPanel::solo()
{
    if (const ILayerPtr layer = active())
        setProperty(layer, [](ILayer& changed) { changed.setSolo(!changed.solo()); });
}

// --- the active layer -------------------------------------------------------------------------------

void LayersPanel::activate(const ILayerPtr& layer)
{
    if (!m_root || !layer)
        return;
    const bool isOther = m_root->setActive(layer);
    showActive();
    if (isOther)
        postEvent(this, EventId::LayerActivate, layer, this);
}

void LayersPanel::activateRow(int row)
{
    activate(m_layers.value(row));
}

void LayersPanel::activateAbove()
{
    const int row = int(m_layers.indexOf(active()));
    activateRow(row < 0 ? 0 : std::max(0, row - 1));
}

void LayersPanel::activateBelow()
{
    const int row = int(m_layers.indexOf(active()));
    activateRow(std::min(row + 1, int(m_layers.size()) - 1));
}

// --- menus and keys ---------------------------------------------------------------------------------

std::unique_ptr<QMenu> LayersPanel::makeContextMenu()
{
    struct Entry
    {
        QString text;
        void (LayersPanel::*slot)();
        bool enabled;
    };
    const bool onActive = canActOnActive();
    const Entry entries[] = {
        {tr("Duplicate"), &LayersPanel::duplicateActive, onActive},
        {tr("Delete"), &LayersPanel::deleteActive, onActive},
        {tr("Rename"), &LayersPanel::rename, onActive},
        {tr("Zoom To Fit"), &LayersPanel::zoom, onActive && !active()->range().isEmpty()},
        {isActiveAGroup() ? tr("&Merge Group") : tr("Merge Down"), &LayersPanel::mergeDownActive,
         canMergeDown()},
        {tr("Merge Visible"), &LayersPanel::mergeVisible, canMergeVisible()},
        {tr("Merge All"), &LayersPanel::mergeAll, canMergeAll()},
        {tr("Group"), &LayersPanel::group, onActive},
        {tr("Ungroup"), &LayersPanel::ungroup, canUngroup()},
        {tr("New Layer"), &LayersPanel::newLayer, canCreate()},
        {tr("New Group"), &LayersPanel::newGroup, canCreate()},
    };
    auto menu = std::make_unique<QMenu>(this);
    for (const Entry& entry : entries)
        if (entry.enabled)
            menu->addAction(entry.text, this, entry.slot);
    return menu;
}

void LayersPanel::customContextMenu(const QPoint& position)
{
    if (const std::unique_ptr<QMenu> menu = makeContextMenu(); !menu->isEmpty())
        menu->exec(m_list->viewport()->mapToGlobal(position));
}

// Keys of the list: Left and Right close and open a group, Ctrl with Up and Down moves a row.
bool LayersPanel::eventFilter(QObject* object, QEvent* event)
{
    if (event->type() != QEvent::KeyPress || !active())
        return QWidget::eventFilter(object, event);
    const auto* key = static_cast<QKeyEvent*>(event);
    const bool ctrl = key->modifiers() & Qt::ControlModifier;
    if (key->key() == Qt::Key_Left || key->key() == Qt::Key_Right)
        setOpen(active(), key->key() == Qt::Key_Right);
    else if (ctrl && key->key() == Qt::Key_Up)
        moveUp();
    else if (ctrl && key->key() == Qt::Key_Down)
        moveDown();
    else
        return QWidget::eventFilter(object, event);
    return true;
}

// --- what events tell -------------------------------------------------------------------------------

void LayersPanel::samplingFormatEvent(EventId, const SamplingFormat& format)
{
    m_hasProject = format.channels > 0;
    setEnabled(m_hasProject);
    showActive();
}

void LayersPanel::layerRootEvent(EventId, const LayerRoot& root)
{
    m_root = root;
    rebuild();
}

void LayersPanel::layerEvent(EventId id, const ILayerPtr& layer)
{
    if (!m_root)
        return;
    follow(layer);
    if (id == EventId::LayerActivate)
        showActive();
}

void LayersPanel::displayEnableEvent(EventId id, const bool& on)
{
    if (id != EventId::DisplayTargetActiveEnable)
        return;
    m_target->setChecked(on);
    m_target->setStatusTip(on ? tr("Color Active Layer Only") : tr("Active Layer Color Only"));
}

// --- showing ----------------------------------------------------------------------------------------

ILayerPtr LayersPanel::layerOf(const QListWidgetItem* item) const
{
    return item ? m_layers.value(m_list->row(item)) : nullptr;
}

// A layer is another one than its row shows, or the tree than the list.
void LayersPanel::follow(const ILayerPtr& layer)
{
    if (m_root->project()->children(ChildrenOpen) != m_layers)
        return rebuild();
    const int row = int(m_layers.indexOf(layer));
    if (row < 0)
        return;
    m_rows[row]->showLayer(*layer);
    showActive();
}

void LayersPanel::rebuild()
{
    const int scrolled = m_list->verticalScrollBar()->value();
    QWidget* focus = QApplication::focusWidget();
    const bool hadFocus = focus && (focus == m_list || m_list->isAncestorOf(focus));
    // What a row tells while it goes is no wish of the user.
    for (LayerRow* row : qAsConst(m_rows))
        row->disconnect(this);
    m_rows.clear();
    {
        const QSignalBlocker blocker(m_list);
        m_list->clear();
        m_layers = m_root ? m_root->project()->children(ChildrenOpen) : QList<ILayerPtr>();
        for (const ILayerPtr& layer : qAsConst(m_layers))
            addRow(layer);
    }
    if (hadFocus && isEnabled())
        m_list->setFocus();
    showActive();
    m_list->doItemsLayout();
    m_list->verticalScrollBar()->setValue(scrolled);
}

void LayersPanel::addRow(const ILayerPtr& layer)
{
    const int depth = int(m_root->project()->pathTo(layer).size()) - 2;
    auto* row = new LayerRow(*layer, depth, m_compact, m_list);
    auto* item = new QListWidgetItem(m_list);
    item->setSizeHint(QSize(0, row->sizeHint().height())); // as wide as the list
    item->setFlags(layer->type() == LayerTypeGroup && layer->isOpen()
                       ? item->flags() | Qt::ItemIsDropEnabled
                       : item->flags() & ~Qt::ItemIsDropEnabled);
    item->setData(Qt::AccessibleTextRole, layer->name());
    m_list->setItemWidget(item, row);
    m_rows << row;
    connect(row, &LayerRow::focused, this, [this, layer] { activate(layer); });
    connect(row, &LayerRow::openToggled, this, [this, layer] { setOpen(layer, !layer->isOpen()); });
    connect(row, &LayerRow::renamed, this, [this, layer](const QString& name) { setName(layer, name); });
    connect(row, &LayerRow::muted, this, [this, layer](bool on) {
        setProperty(layer, [on](ILayer& changed) { changed.setEnabled(!on); });
    });
    connect(row, &LayerRow::soloed, this,
            [this, layer](bool on) { setProperty(layer, [on](ILayer& changed) { changed.setSolo(on); }); });
    connect(row, &LayerRow::inverted, this, [this, layer](bool on) {
        setProperty(layer, [on](ILayer& changed) { changed.setPolarity(on ? -1 : 1); });
    });
    connect(row, &LayerRow::multiplierChanged, this, [this, layer](float multiplier) {
        setProperty(layer, [multiplier](ILayer& changed) { changed.setMultiplier(multiplier); });
    });
    connect(row, &LayerRow::colorPicked, this, [this, layer](uint32_t color) {
        setProperty(layer, [color](ILayer& changed) { changed.setColor(color); });
    });
}

void LayersPanel::showActive()
{
    const ILayerPtr layer = active();
    const int current = int(m_layers.indexOf(layer));
    for (int i = 0; i < m_rows.size(); ++i)
        m_rows[i]->setActive(i == current);
    {
        const QSignalBlocker blocker(m_list);
        m_list->setCurrentRow(current);
    }
    for (QToolButton* button : {m_newLayer, m_newGroup})
        button->setEnabled(canCreate());
    m_delete->setEnabled(canActOnActive());
    for (QToolButton* button : {m_mute, m_solo})
        button->setEnabled(layer != nullptr);
    m_mute->setChecked(layer && !layer->enabled());
    m_solo->setChecked(layer && layer->solo());
    m_list->setRowsDraggable(canCreate());
    Q_EMIT stateChanged();
}

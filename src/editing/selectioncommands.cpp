#include "editing/selectioncommands.h"

#include "editing/selectiondialog.h"
#include "ui/widgets/messages.h"

#include <cmath>

#include <QCoreApplication>
#include <QDebug>
#include <QInputDialog>

namespace {

constexpr char plainIcon[] = ":/icons/menu.png";
constexpr char deselectIcon[] = ":/icons/deselect.png";

QString text(const char* source)
{
    return QCoreApplication::translate("DataManager", source);
}

QPainterPath rectangle(const Area& area)
{
    QPainterPath path;
    path.addRect(area.x, area.y, area.width, area.height);
    return path;
}

} // namespace

void SelectionCommands::finish(const QString& label, const char* icon)
{
    m_desk.commit(label, QIcon(QString::fromLatin1(icon)));
}

bool SelectionCommands::warnWithout(bool there, const char* words) const
{
    if (!there)
        messages::warning(m_desk.window(), text(QT_TRANSLATE_NOOP("DataManager", "No Selection")),
                          text(words));
    return there;
}

void SelectionCommands::selectAll()
{
    const EditDesk::Action action(m_desk);
    const LayerGroupPtr layers = m_desk.layers();
    if (!action || !layers)
        return;
    m_desk.state().selection.clear();
    m_desk.state().selection.add(rectangle(layers->area()), 0, 0, false);
    finish(text(QT_TRANSLATE_NOOP("DataManager", "Select All")), plainIcon);
}

void SelectionCommands::deselect()
{
    const EditDesk::Action action(m_desk);
    if (!action)
        return;
    m_desk.state().selection.clear();
    finish(text(QT_TRANSLATE_NOOP("DataManager", "Deselect")), deselectIcon);
}

void SelectionCommands::reselect()
{
    const EditDesk::Action action(m_desk);
    if (!action || m_desk.memory().last.isEmpty())
        return;
    qInfo("reselecting");
    m_desk.state().selection = m_desk.memory().last;
    finish(text(QT_TRANSLATE_NOOP("DataManager", "Reselect")), plainIcon);
}

void SelectionCommands::invert()
{
    const EditDesk::Action action(m_desk);
    const LayerGroupPtr layers = m_desk.layers();
    if (!action || !layers)
        return;
    m_desk.state().selection.subtract(rectangle(layers->area()), 0, 0, false, true);
    finish(text(QT_TRANSLATE_NOOP("DataManager", "Invert Selection")), plainIcon);
}

void SelectionCommands::invertFrequencies()
{
    const EditDesk::Action action(m_desk);
    const LayerGroupPtr layers = m_desk.layers();
    if (!action || !layers)
        return;
    Area area = m_desk.state().selection.bounds();
    area.y = layers->area().y;
    area.height = layers->area().height;
    m_desk.state().selection.subtract(rectangle(area), 0, 0, false, true);
    finish(text(QT_TRANSLATE_NOOP("DataManager", "Invert Selection Frequencies")), plainIcon);
}

void SelectionCommands::modify(bool expand, bool fade)
{
    const EditDesk::Action action(m_desk);
    EditState& state = m_desk.state();
    const LayerGroupPtr layers = m_desk.layers();
    if (!action || !layers || layers->children(ChildrenDirect).isEmpty() ||
        !warnWithout(!state.selection.isEmpty(), QT_TRANSLATE_NOOP("DataManager", "Select something first.")))
        return;
    SelectionDialog dialog(expand, fade, m_desk.window());
    if (dialog.exec() != QDialog::Accepted || !state.transform)
        return;
    // A pixel is a frame wide and a bin high.
    const int64_t dx = std::llround(double(state.transform->hop()) * int(dialog.horizontal()));
    const double dftSize = double(state.transform->frameSize) * state.transform->zeroPadding;
    const auto dy =
        float(state.format.sampleRate * 0.5 * (double(float(dialog.vertical())) / (dftSize * 0.5)));
    if (dialog.horizontal() == 0 && dialog.vertical() == 0)
        return; // not even changed by the rounding of its corners
    if (fade && !expand)
        state.selection.contrast(dialog.horizontal(), dialog.vertical());
    else if (fade)
        state.selection.fade(dx, double(dy));
    else if (expand)
        state.selection.expand(dx, double(dy));
    else
        state.selection.contract(dx, double(dy));
    finish(dialog.windowTitle(), plainIcon);
}

void SelectionCommands::save()
{
    const EditDesk::Action action(m_desk);
    const Selection& selection = m_desk.state().selection;
    if (!action ||
        !warnWithout(!selection.isEmpty(), QT_TRANSLATE_NOOP("DataManager", "Select something first.")))
        return;
    bool accepted = false;
    const QString name = QInputDialog::getText(
        m_desk.window(), text(QT_TRANSLATE_NOOP("DataManager", "Save Selection")),
        text(QT_TRANSLATE_NOOP("DataManager", "Name of the selection:")), QLineEdit::Normal,
        text(QT_TRANSLATE_NOOP("DataManager", "New Selection")), &accepted);
    if (!accepted)
        return;
    m_desk.memory().saved[name] = selection;
    m_desk.tellSaved();
}

void SelectionCommands::load()
{
    const EditDesk::Action action(m_desk);
    const QMap<QString, Selection> saved = m_desk.memory().saved;
    if (!action || !warnWithout(!saved.isEmpty(), QT_TRANSLATE_NOOP("DataManager", "No selection saved.")))
        return;
    bool accepted = false;
    const QString label = text(QT_TRANSLATE_NOOP("DataManager", "Load Selection"));
    const QString name = QInputDialog::getItem(m_desk.window(), label, {}, saved.keys(), 0, false, &accepted);
    if (!accepted)
        return;
    m_desk.state().selection = saved.value(name);
    finish(label, plainIcon);
}

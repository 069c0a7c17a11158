#include "projectfiles/duplicateto.h"

#include "model/layercopy.h"
#include "projectfiles/loadprogress.h"
#include "projectfiles/newproject.h"
#include "projectfiles/progressbox.h"
#include "projectfiles/projectdefaults.h"
#include "ui/widgets/messages.h"

#include <QCoreApplication>
#include <QDebug>
#include <QInputDialog>
#include <QListView>

namespace {

QString text(const char* source)
{
    return QCoreApplication::translate("ProjectTabs", source);
}

// Open documents may share a name; the list tells them apart.
QStringList distinctNames(const QList<ProjectPtr>& projects)
{
    QStringList names;
    for (const ProjectPtr& project : projects) {
        QString name = project->name;
        for (int n = 2; names.contains(name); ++n)
            name = QStringLiteral("%1 [%2]").arg(project->name).arg(n);
        names << name;
    }
    return names;
}

} // namespace

ProjectPtr duplicateProject(const FlowHost& host, const Project& project)
{
    qInfo().noquote() << QStringLiteral("Duplicate Project %1").arg(project.name);
    QString words;
    bool cancelled = false;
    LoadProgress box(host.window, text("Duplicating..."), duplicatePatience);
    const ProjectPtr copy = project.duplicate(&words, [&](int done, int total) {
        cancelled = !box(done, total);
        return !cancelled;
    });
    if (!copy && !cancelled)
        messages::critical(host.window, text("Duplicate Project"),
                           text("The project could not be duplicated."), words);
    return copy;
}

DuplicateTo::DuplicateTo(const FlowHost& host, const ProjectPtr& project) : m_host(host), m_project(project)
{
}

// The index in `open`, -1 for a new document, -2 for a cancel.
int DuplicateTo::choose(const QList<ProjectPtr>& open) const
{
    QInputDialog dialog(m_host.window);
    dialog.setWindowTitle(text("Duplicate To..."));
    dialog.setLabelText(text("Select a Project:"));
    dialog.setComboBoxItems(QStringList(text("New Project")) + distinctNames(open));
    dialog.setOption(QInputDialog::UseListViewForComboBoxItems);
    for (QListView* list : dialog.findChildren<QListView*>())
        list->setAccessibleName(dialog.labelText());
    if (dialog.exec() != QDialog::Accepted)
        return -2;
    return dialog.comboBoxItems().indexOf(dialog.textValue()) - 1;
}

LayerPtr DuplicateTo::copyActive(bool& cancelled, QString& words) const
{
    LoadProgress box(m_host.window, text("Duplicating..."), duplicatePatience);
    return copyInSteps(
        m_project->activeLayer(),
        [&](int done, int total) {
            cancelled = !box(done, total);
            return !cancelled;
        },
        &words);
}

ILayerPtr DuplicateTo::copyFor(const SamplingFormat& format) const
{
    QString words;
    bool cancelled = false;
    const LayerPtr copy = copyActive(cancelled, words);
    bool done = copy != nullptr;
    if (copy && copy->format() != format) {
        ProgressBox box(m_host.window, text("Resampling..."));
        done = copy->changeFormat(format, Matrix(), [&](int part, int total) {
            cancelled = !box(part, total);
            return !cancelled;
        });
        if (!done)
            copy->takeStorageError(&words);
    }
    if (!done && !cancelled)
        messages::critical(m_host.window, text("Duplicate To..."), text("The layer could not be duplicated."),
                           words);
    return done ? copy : nullptr;
}

DuplicatedLayer DuplicateTo::run(const QList<ProjectPtr>& open)
{
    const ILayerPtr active = m_project->activeLayer();
    if (!active)
        return {};
    const int index = choose(open);
    if (index < -1)
        return {};
    DuplicatedLayer result;
    result.isNew = index < 0;
    if (result.isNew && active->isEmpty()) {
        messages::warning(m_host.window, text("Empty Layer"),
                          text("Cannot duplicate empty layer to a new project."));
        return {};
    }
    QStringList names;
    for (const ProjectPtr& project : open)
        names << project->name;
    const ProjectPtr target = result.isNew ? makeProject(m_project->format()) : open[index];
    const ILayerPtr copy = copyFor(target->format());
    if (!copy)
        return {};
    target->layers()->prependChildLayer(copy);
    target->setActiveLayer(copy);
    target->modified = true;
    if (result.isNew) {
        target->name = untitledName(names);
        target->setDisplayArea(target->wholeArea());
        target->resetHistory(QStringLiteral("Duplicate"), QIcon(QStringLiteral(":/icons/copy.png")));
    }
    result.project = target;
    return result;
}

#include "ui/widgets/filechooser.h"

#include "ui/widgets/usersettings.h"

#include <QAbstractItemView>
#include <QFileDialog>
#include <QFileInfo>
#include <QFileSystemModel>
#include <QHash>
#include <QHeaderView>
#include <QTreeView>

#include <algorithm>
#include <utility>

namespace filechooser {

namespace {

constexpr QSize dialogSize(860, 540); // logical pixels
const QString lastFolder = QStringLiteral("lastfolder");

Chooser& chooser()
{
    static Chooser current;
    return current;
}

// The list sorts by what the user clicked on, not by the order of the clicks.
QStringList inShownOrder(const QFileDialog& dialog)
{
    QStringList files = dialog.selectedFiles();
    const auto* view = dialog.findChild<QAbstractItemView*>(QStringLiteral("treeView"));
    if (!view || !view->selectionModel())
        return files; // a dialog of the desktop's own
    QHash<QString, int> rows;
    for (const QModelIndex& index : view->selectionModel()->selectedRows())
        rows.insert(index.data(QFileSystemModel::FileNameRole).toString(), index.row());
    const auto row = [&rows](const QString& path) { return rows.value(QFileInfo(path).fileName()); };
    std::stable_sort(files.begin(), files.end(),
                     [&row](const QString& a, const QString& b) { return row(a) < row(b); });
    return files;
}

// Qt's own dialog, which shows where the desktop has none. It would cut the dates.
void widen(QFileDialog& dialog)
{
    dialog.resize(dialogSize);
    const auto* view = dialog.findChild<QTreeView*>(QStringLiteral("treeView"));
    if (!view)
        return;
    for (int column = 0; column < view->header()->count(); ++column)
        view->header()->setSectionResizeMode(column, column == 0 ? QHeaderView::Stretch
                                                                 : QHeaderView::ResizeToContents);
}

Choice ask(QWidget* parent, const Request& request)
{
    QFileDialog dialog(parent, request.title, request.path, request.filters.join(QStringLiteral(";;")));
    dialog.setAcceptMode(request.save ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
    dialog.setFileMode(request.several ? QFileDialog::ExistingFiles
                       : request.save  ? QFileDialog::AnyFile
                                       : QFileDialog::ExistingFile);
    widen(dialog);
    Choice choice;
    if (dialog.exec() != QDialog::Accepted)
        return choice;
    const QStringList files = inShownOrder(dialog);
    if (request.several)
        choice.paths = files;
    else
        choice.path = files.value(0);
    choice.filter = dialog.selectedNameFilter();
    return choice;
}

} // namespace

void setChooser(Chooser replacement)
{
    chooser() = std::move(replacement);
}

Choice choose(QWidget* parent, const Request& asked)
{
    UserSettings settings;
    Request request = asked;
    const QString folder = settings.value(lastFolder).toString();
    if (request.path.isEmpty())
        request.path = folder;
    else if (QFileInfo(request.path).isRelative() && !folder.isEmpty())
        request.path = folder + QLatin1Char('/') + request.path;
    Choice choice = chooser() ? chooser()(request) : ask(parent, request);
    if (request.several && choice.paths.isEmpty() && !choice.path.isEmpty())
        choice.paths << choice.path;
    if (!choice.paths.isEmpty())
        choice.path = choice.paths.first();
    if (!choice.path.isEmpty())
        settings.setValue(lastFolder, QFileInfo(choice.path).absolutePath());
    return choice;
}

} // namespace filechooser

#include "ui/widgets/filechooser.h"

#include "ui/widgets/usersettings.h"

#include <QFileDialog>
#include <QFileInfo>

#include <utility>

namespace filechooser {

namespace {

const QString lastFolder = QStringLiteral("lastfolder");

Chooser& chooser()
{
    static Chooser current;
    return current;
}

Choice ask(QWidget* parent, const Request& request)
{
    Choice choice;
    const QString filters = request.filters.join(QStringLiteral(";;"));
    choice.path =
        request.save
            ? QFileDialog::getSaveFileName(parent, request.title, request.path, filters, &choice.filter)
            : QFileDialog::getOpenFileName(parent, request.title, request.path, filters, &choice.filter);
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
    const Choice choice = chooser() ? chooser()(request) : ask(parent, request);
    if (!choice.path.isEmpty())
        settings.setValue(lastFolder, QFileInfo(choice.path).absolutePath());
    return choice;
}

} // namespace filechooser

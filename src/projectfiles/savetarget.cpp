#include "projectfiles/savetarget.h"

#include "projectfiles/fileformats.h"
#include "ui/widgets/messages.h"

#include <QCoreApplication>
#include <QFileInfo>

filechooser::Choice chooseTarget(QWidget* parent, const filechooser::Request& request,
                                 const std::function<bool(const QString& suffix)>& known)
{
    filechooser::Choice choice = filechooser::choose(parent, request);
    if (choice.path.isEmpty() || known(QFileInfo(choice.path).suffix().toLower()))
        return choice;
    const QString first = fileformats::suffixes(request.filters.value(0)).value(0);
    choice.path += QLatin1Char('.') + fileformats::suffixes(choice.filter).value(0, first);
    if (QFileInfo::exists(choice.path) &&
        !messages::question(
            parent, request.title,
            QCoreApplication::translate("ProjectTabs", "%1 already exists.\nDo you want to replace it ?")
                .arg(QFileInfo(choice.path).fileName())))
        return {};
    return choice;
}

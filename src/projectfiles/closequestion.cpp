#include "projectfiles/closequestion.h"

#include "model/project.h"
#include "projectfiles/exportflow.h"
#include "ui/widgets/messages.h"

#include <QCoreApplication>

CloseAnswer askBeforeClosing(const Project& project, QWidget* parent)
{
    const auto text = [](const char* source) { return QCoreApplication::translate("ProjectTabs", source); };
    messages::Box box;
    box.icon = QMessageBox::Question;
    box.title = text("Close Project");
    box.text = project.belongsToCaller ? text("Update %1 File ?").arg(exportBackName(project))
                                       : text("Save %1 ?").arg(project.name);
    box.buttons = QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel;
    box.defaultButton = QMessageBox::Yes;
    switch (messages::show(parent, box)) {
    case QMessageBox::Yes:
        return CloseAnswer::Save;
    case QMessageBox::No:
        return CloseAnswer::Discard;
    default:
        return CloseAnswer::Cancel;
    }
}

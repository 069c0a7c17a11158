#include "projectfiles/projectsuffix.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QVariant>

namespace {

QString property(const char* key)
{
    return QCoreApplication::instance()->property(key).toString();
}

} // namespace

ProjectForm projectForm(const QString& path)
{
    const QString suffix = QFileInfo(path).suffix().toLower();
    if (suffix.isEmpty())
        return ProjectForm::None;
    return suffix == property("fileextension").toLower()     ? ProjectForm::Binary
           : suffix == property("backupextension").toLower() ? ProjectForm::Xml
                                                             : ProjectForm::None;
}

QString projectFilter()
{
    return QCoreApplication::translate("ProjectTabs", "%1 Project (*.%2 *.%3)")
        .arg(property("name"), property("fileextension"), property("backupextension"));
}

QStringList projectSaveFilters()
{
    QStringList filters;
    for (const char* key : {"fileextension", "backupextension"})
        filters << QCoreApplication::translate("ProjectTabs", "%1 Project (*.%2)")
                       .arg(property("name"), property(key));
    return filters;
}

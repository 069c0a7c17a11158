#include "projectfiles/recovery.h"

#include "ui/widgets/messages.h"

#include <algorithm>

#include <QCoreApplication>
#include <QDebug>
#include <QFileInfo>
#include <QSet>
#include <QVariant>

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("Recovery", text);
}

QMessageBox::StandardButton ask(QWidget* parent)
{
    messages::Box box;
    box.icon = QMessageBox::Question;
    box.title = tr("Recover Session");
    box.text = tr("Old session backups found. Would you like to recover ?");
    box.buttons = QMessageBox::Yes | QMessageBox::No | QMessageBox::Reset;
    box.defaultButton = QMessageBox::Yes;
    return messages::show(parent, box);
}

// Never less than a day: what crashed this morning is still there at noon.
int ageLimit()
{
    const QCoreApplication& application = *QCoreApplication::instance();
    return std::clamp(application.property("sessiondays").toInt(), 1,
                      std::max(1, application.property("maxsessiondays").toInt()));
}

} // namespace

void recoverSessions(QWidget* parent, const SessionFolder& folder,
                     const std::function<void(const QStringList& manifests)>& recover)
{
    qInfo("scanning for previous sessions...");
    const std::unique_ptr<FileLock> claim = folder.claim();
    if (!claim) {
        qInfo("previous sessions are being recovered elsewhere");
        return;
    }
    const QStringList manifests = folder.manifestsOfTheDead();
    if (manifests.isEmpty()) {
        qInfo("no previous sessions found");
    } else {
        qInfo("previous sessions found");
        const QMessageBox::StandardButton answer = ask(parent);
        if (answer == QMessageBox::Yes) {
            for (const QString& path : manifests)
                folder.settle(path);
            recover(manifests);
            for (const QString& path : manifests)
                folder.forgetSession(SessionFolder::sessionOf(QFileInfo(path).fileName()));
        } else if (answer == QMessageBox::Reset) {
            folder.reset();
        }
    }
    folder.age(ageLimit());
    claim->remove();
}

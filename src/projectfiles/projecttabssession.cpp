// What of a project survives a crash: its manifest in the session folder, and how it comes back.
#include "projectfiles/loadprogress.h"
#include "projectfiles/projecttabs.h"
#include "projectfiles/projectxml.h"
#include "projectfiles/sessioncache.h"
#include "projectfiles/sessionjournal.h"
#include "ui/widgets/messages.h"

#include <QDebug>
#include <QDir>
#include <QFileInfo>

bool ProjectTabs::backup(int tab)
{
    const ProjectPtr project = this->project(tab);
    return project && m_cache->write(*project);
}

bool ProjectTabs::recover(const QStringList& manifests)
{
    const Busy busy(*this);
    bool all = true;
    for (const QString& manifest : manifests)
        all = recoverProject(manifest) && all;
    return all;
}

bool ProjectTabs::recoverProject(const QString& manifest)
{
    qInfo().noquote() << QStringLiteral("recovering %1...").arg(manifest);
    LoadProgress progress(window(), tr("Opening..."));
    // Should it find no room, the manifest stays for another start, and the samples that it names.
    const SessionJournal::RollBack back = SessionJournal::rollBack(manifest);
    if (!back.notNow.isEmpty()) {
        messages::critical(window(), tr("Error Reading File"),
                           tr("The samples of the file could not be stored."),
                           QDir::toNativeSeparators(manifest) + QLatin1String(": ") + back.notNow);
        return false;
    }
    ProjectReadResult read =
        readProjectXml(manifest, SampleFiles::Reference,
                       [&progress](int64_t done, int64_t total) { return progress(done, total); });
    if (!read.project) {
        // The manifest stays, and the samples that it names.
        if (!read.text.isEmpty())
            messages::critical(window(), read.title, read.text, read.cause);
        return false;
    }
    if (!back.lost.isEmpty()) {
        read.damage << back.lost;
        read.project->setFilePath({});
    }
    const QString file = read.project->filePath();
    read.project->name = file.isEmpty() ? tr("Untitled") : QFileInfo(file).fileName();
    read.project->modified = true; // nobody has saved it
    read.project->resetHistory(QStringLiteral("Recover"), QIcon(QStringLiteral(":/icons/open.png")));
    m_cache->takeOver(*read.project, manifest);
    addProject(read.project);
    if (!read.damage.isEmpty())
        messages::warning(window(), tr("Error Reading File"), tr("The file you selected is damaged."),
                          QDir::toNativeSeparators(manifest) + QLatin1String(": ") +
                              read.damage.join(QLatin1Char('\n')));
    return true;
}

#include "ui/recentfiles.h"

#include "ui/widgets/usersettings.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QMenu>
#include <QVariant>

#include <algorithm>

namespace {

const QString listKey = QStringLiteral("recentfilelist");

int limit()
{
    const QObject* application = QCoreApplication::instance();
    const int most = std::max(0, application->property("maxrecentprojects").toInt());
    return std::clamp(application->property("recentprojects").toInt(), 0, most);
}

} // namespace

RecentFiles::RecentFiles(const QString& title, QWidget* menuParent, QObject* parent)
    : QObject(parent),
      m_menu(new QMenu(title, menuParent))
{
    m_menu->setObjectName(QStringLiteral("filerecent"));
    m_menu->setToolTipsVisible(true);
    // Another window may have opened files meanwhile.
    connect(m_menu, &QMenu::aboutToShow, this, &RecentFiles::fillMenu);
    fillMenu();
}

QStringList RecentFiles::files() const
{
    return UserSettings().value(listKey).toStringList().mid(0, limit());
}

void RecentFiles::add(const QString& path)
{
    UserSettings settings;
    QStringList list = settings.value(listKey).toStringList();
    list.removeAll(path);
    list.prepend(path);
    settings.setValue(listKey, QStringList(list.mid(0, limit())));
    fillMenu();
}

void RecentFiles::fillMenu()
{
    m_menu->clear();
    const QStringList list = files();
    for (int i = 0; i < list.size(); ++i) {
        QString name = QFileInfo(list[i]).fileName();
        name.replace(QLatin1Char('&'), QLatin1String("&&"));
        QAction* action = m_menu->addAction(QStringLiteral("&%1 %2").arg(QString::number(i + 1), name), this,
                                            [this, path = list[i]] { Q_EMIT chosen(path); });
        action->setToolTip(QDir::toNativeSeparators(list[i]));
        action->setStatusTip(action->toolTip());
    }
    m_menu->menuAction()->setEnabled(!list.isEmpty());
}

// The files that were opened or saved last.
#pragma once

#include <QObject>
#include <QStringList>

class QMenu;

// Kept in the user's settings under "recentfilelist", the newest first, as many as the property
// `recentprojects` says (at most `maxrecentprojects`), and shown in a menu of its own.
class RecentFiles : public QObject
{
    Q_OBJECT

public:
    // The menu belongs to `menuParent`.
    RecentFiles(const QString& title, QWidget* menuParent, QObject* parent);

    [[nodiscard]] QMenu* menu() const { return m_menu; }
    [[nodiscard]] QStringList files() const;

public Q_SLOTS:
    // To the front, whether it is in the list already or not.
    void add(const QString& path);

Q_SIGNALS:
    void chosen(const QString& path);

private:
    void fillMenu();

    QMenu* m_menu;
};

#include "ui/toolpages.h"

#include "model/events.h"
#include "ui/mainwindow.h"
#include "ui/widgets/usersettings.h"

#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QVariant>

namespace {

void store(const char* key, const QVariant& value)
{
    QCoreApplication::instance()->setProperty(key, value);
    UserSettings().setValue(QString::fromLatin1(key), value);
}

// What the settings say before the user has changed anything.
QVariant factory(const char* key, const QVariant& fallback)
{
    const QVariantHash defaults = QCoreApplication::instance()->property("defaultsettings").toHash();
    return defaults.value(QString::fromLatin1(key), fallback);
}

QHBoxLayout* makeRow(QWidget* page)
{
    auto* row = new QHBoxLayout(page);
    row->setContentsMargins(6, 0, 6, 0);
    row->setSpacing(12);
    return row;
}

QCheckBox* makeCheck(const QString& text, const char* key, QWidget* page)
{
    auto* box = new QCheckBox(text, page);
    box->setChecked(QCoreApplication::instance()->property(key).toBool());
    box->setProperty("factory", factory(key, true).toBool());
    QObject::connect(box, &QCheckBox::toggled, page, [key](bool on) { store(key, on); });
    return box;
}

} // namespace

QWidget* makePlaybackPage(QWidget* parent)
{
    auto* page = new QWidget(parent);
    QHBoxLayout* row = makeRow(page);
    row->addWidget(makeCheck(MainWindow::tr("Scrubbing"), "playbackscrubbing", page));
    row->addWidget(makeCheck(MainWindow::tr("Hold to play"), "playbackhold", page));
    row->addStretch();
    return page;
}

QWidget* makeZoomPage(QWidget* parent)
{
    auto* page = new QWidget(parent);
    QHBoxLayout* row = makeRow(page);
    auto* label = new QLabel(MainWindow::tr("Zoom:"), page);
    auto* modes = new QComboBox(page);
    modes->setAccessibleName(MainWindow::tr("Zoom"));
    modes->addItems({MainWindow::tr("Drag a Frame, Click In"), MainWindow::tr("Click Out"),
                     MainWindow::tr("Drag to Stretch, Click In"),
                     MainWindow::tr("Drag to Stretch, Click Out")});
    modes->setCurrentIndex(
        qBound(0, QCoreApplication::instance()->property("zoommode").toInt(), modes->count() - 1));
    modes->setProperty("factory", factory("zoommode", 0).toInt());
    label->setBuddy(modes);
    QObject::connect(modes, QOverload<int>::of(&QComboBox::activated), page, [page](int mode) {
        store("zoommode", mode);
        // The views take the mode over when the tool is chosen. A mode that is set back behind the page of
        // another tool waits for that; the other tool stays.
        if (page->isVisibleTo(page->parentWidget()))
            postEvent(nullptr, EventId::ToolZoomActivate, nullptr);
    });
    row->addWidget(label);
    row->addWidget(modes);
    row->addStretch();
    return page;
}

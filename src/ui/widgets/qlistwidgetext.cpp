#include "ui/widgets/qlistwidgetext.h"

#include <QDrag>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QMimeData>
#include <QMouseEvent>

#include <algorithm>

namespace {

// Above this part of a row, and below the opposite one, a drop goes between rows.
constexpr double edge = 0.25;

} // namespace

QListWidgetExt::QListWidgetExt(QWidget* parent) : QListWidget(parent)
{
    setDragDropMode(QAbstractItemView::InternalMove);
    setDropIndicatorShown(true);
}

void QListWidgetExt::mousePressEvent(QMouseEvent* event)
{
    if (!itemAt(event->pos())) {
        Q_EMIT noItemClicked();
        return event->accept();
    }
    QListWidget::mousePressEvent(event);
}

// Not the base's: that takes the dragged row out of the list.
void QListWidgetExt::startDrag(Qt::DropActions)
{
    if (!m_draggable || selectedIndexes().isEmpty())
        return;
    auto* drag = new QDrag(this);
    drag->setMimeData(model()->mimeData(selectedIndexes()));
    drag->setPixmap(viewport()->grab(visualRect(currentIndex())));
    drag->exec(Qt::MoveAction);
}

void QListWidgetExt::dragEnterEvent(QDragEnterEvent* event)
{
    if (event->source() == this)
        QListWidget::dragEnterEvent(event);
    else
        event->ignore(); // a file: the window opens it
}

void QListWidgetExt::dropEvent(QDropEvent* event)
{
    if (event->source() != this)
        return event->ignore();
    setState(NoState);
    viewport()->update();
    event->accept();
    // After the drag is over: its loop still holds the rows.
    const QPoint position = event->pos();
    QMetaObject::invokeMethod(
        this, [this, position] { dropAt(position); }, Qt::QueuedConnection);
}

void QListWidgetExt::dropAt(const QPoint& position)
{
    QListWidgetItem* hit = itemAt(position);
    if (!hit) {
        Q_EMIT itemDropped(nullptr, item(count() - 1), nullptr);
        return;
    }
    const QRect rect = visualItemRect(hit);
    const double place = double(position.y() - rect.top()) / std::max(1, rect.height());
    const int at = row(hit);
    const bool takesIn = hit->flags() & Qt::ItemIsDropEnabled;
    if (takesIn && place >= edge && place < 1 - edge)
        Q_EMIT itemDropped(hit, item(at - 1), item(at + 1));
    else if (place < 0.5)
        Q_EMIT itemDropped(nullptr, item(at - 1), hit);
    else
        Q_EMIT itemDropped(nullptr, hit, item(at + 1));
}

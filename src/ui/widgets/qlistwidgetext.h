// A list whose rows are dragged by the user and moved by its owner.
#pragma once

#include <QListWidget>

// A drag of the current row ends in itemDropped(); nothing has moved then, as only the owner knows what
// the rows stand for. Rows that something may be dropped into have Qt::ItemIsDropEnabled. GUI thread.
class QListWidgetExt : public QListWidget
{
    Q_OBJECT

public:
    explicit QListWidgetExt(QWidget* parent = nullptr);

    void setRowsDraggable(bool draggable) { m_draggable = draggable; }
    // As if the current row were dropped at that place of the viewport.
    void dropAt(const QPoint& position);

Q_SIGNALS:
    // A press beside all rows. The current row stays.
    void noItemClicked();
    // The current row was dropped into `targetItem`, or, when that is null, between two rows; each of these
    // is null at an end of the list.
    void itemDropped(QListWidgetItem* targetItem, QListWidgetItem* itemAbove, QListWidgetItem* itemBelow);

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void startDrag(Qt::DropActions actions) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    [[nodiscard]] Qt::DropActions supportedDropActions() const override { return Qt::MoveAction; }

private:
    bool m_draggable = true;
};

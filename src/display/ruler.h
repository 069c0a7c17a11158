// What the three rulers have in common.
#pragma once

#include "display/unitmenu.h"

#include <memory>

#include <QVector>
#include <QWidget>

class QPainter;

// One mark of a ruler.
struct RulerTick
{
    double value = 0;    // samples, Hz, magnitude
    double position = 0; // logical pixels from the left, or from the top
    QString text;        // empty where there is no room for it
};

// Paints the marks that Convert places, the texts that fit without touching each other, and the suffix
// of the unit in a small rectangle at mid-height. Lines fill whole pixels of the screen. The context menu
// (mouse or menu key) offers the units; a ruler has a place in the order of tabs for its sake.
//
// Rulers know the project by events alone and change the view by ViewState. GUI thread.
class Ruler : public QWidget, public ViewState
{
    Q_OBJECT

public:
    Ruler(const QString& name, QWidget* parent);

    // Those in sight, in the order of their values; empty without a project.
    [[nodiscard]] QVector<RulerTick> ticks() const;
    // Where a value stands: logical pixels from the left, or from the top.
    [[nodiscard]] virtual double positionOf(double value) const = 0;
    // The suffix of the unit; may be empty.
    [[nodiscard]] virtual QString unitLabel() const = 0;
    // Where that stands; empty when there is no suffix or no room.
    [[nodiscard]] QRectF labelRect() const;
    // What the context menu shows; owned by the caller.
    [[nodiscard]] std::unique_ptr<QMenu> makeMenu();

Q_SIGNALS:
    // The pointer has come over the ruler or left it.
    void hovered(bool hover);

protected:
    // Values of marks that are at least that far apart, rising. Those out of sight are left out here.
    [[nodiscard]] virtual QVector<double> values(double minPixels) const = 0;
    [[nodiscard]] virtual QString textOf(double value) const = 0;
    // The rectangle of a tick's text.
    [[nodiscard]] virtual QRectF textRect(const RulerTick& tick) const = 0;
    // Distance from mark to mark with which texts of that width have room.
    [[nodiscard]] virtual double distanceFor(double textWidth) const = 0;
    [[nodiscard]] virtual bool isHorizontal() const = 0;
    virtual void fillMenu(QMenu& menu) = 0;
    virtual void paintMarks(QPainter& painter) = 0;
    // A turn of the wheel, as a factor of what is in view, about the pointer.
    virtual void zoomAbout(const QPointF& pixel, double factor) = 0;

    // Positions of finer marks between those with a text: a set that holds all of `major`, or nothing.
    [[nodiscard]] QVector<double> finerMarks(const QVector<RulerTick>& major) const;
    [[nodiscard]] double textWidth(const QString& text) const;

    [[nodiscard]] double extent() const { return isHorizontal() ? width() : height(); }

    void viewStateChanged() override { update(); }
    void paintEvent(QPaintEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void enterEvent(QEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
};

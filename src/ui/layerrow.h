// One row of the layers panel.
#pragma once

#include "model/ilayer.h"

#include <QWidget>

class QColorPicker;
class QLabel;
class QLineEdit;
class QLineEditExt;
class QToolButton;

// Shows a layer or group and its place in the mix. It changes nothing itself: what the user sets is told
// by a signal. GUI thread.
class LayerRow : public QWidget
{
    Q_OBJECT

public:
    // `depth`: groups around it. `compact` leaves the picture out.
    LayerRow(const ILayer& layer, int depth, bool compact, QWidget* parent = nullptr);

    void showLayer(const ILayer& layer);
    // The active row has the object name "activeitem", by which the sheet colours it.
    void setActive(bool active);

Q_SIGNALS:
    void openToggled();
    void renamed(const QString& name);
    void muted(bool on);
    void soloed(bool on);
    void inverted(bool on);
    void multiplierChanged(float multiplier);
    void colorPicked(uint32_t color);
    // One of its controls has the focus.
    void focused();

protected:
    bool eventFilter(QObject* object, QEvent* event) override;

private:
    void tellNames(const QString& name);
    void showPicture();

    const char* m_icon = nullptr;     // of m_picture
    QToolButton* m_picture = nullptr; // none when compact
    QColorPicker* m_color;
    QLineEdit* m_name;
    QToolButton* m_mute;
    QToolButton* m_solo;
    QToolButton* m_phase;
    QLineEditExt* m_volume; // decibels
};

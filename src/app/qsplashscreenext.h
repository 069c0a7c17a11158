// The picture that stands on the screen while the window is built.
#pragma once

#include <QFrame>
#include <QPixmap>

class QSplashScreenExt : public QFrame
{
    Q_OBJECT

public:
    // Loads the picture that the property `splashscreen` names, drawn for device pixel ratio 2.
    QSplashScreenExt();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QPixmap m_picture;
};

// A main window that tells when it moves to another screen.
#pragma once

#include <QMainWindow>

class QScreen;

class QMainWindowExt : public QMainWindow
{
    Q_OBJECT

public:
    explicit QMainWindowExt(QWidget* parent = nullptr);

Q_SIGNALS:
    void screenChanged(QScreen* screen);

protected:
    void showEvent(QShowEvent* event) override;
};

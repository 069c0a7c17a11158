// The application object, with what the session wants to know of the keyboard, the tablet and files
// that the desktop hands over.
#pragma once

#include <QApplication>

// Documents that the operating system opens in the running program (QEvent::FileOpen) become import
// records at the end of the property `importqueue`.
class QApplicationExt : public QApplication
{
    Q_OBJECT

public:
    // `argc` must outlive the object.
    QApplicationExt(int& argc, char** argv, QString parentName, QString serverName);

    // Display name of the program that started this one, empty when it is none that we know; name of
    // the local server that it listens on, empty for none.
    [[nodiscard]] const QString& parentName() const { return m_parentName; }
    [[nodiscard]] const QString& serverName() const { return m_serverName; }

    bool notify(QObject* receiver, QEvent* event) override;

Q_SIGNALS:
    void keyboardModifiersChanged(Qt::KeyboardModifiers modifiers);
    void tabletProximityChanged(QEvent::Type type);
    void sessionImported();

protected:
    bool event(QEvent* event) override;

private:
    QString m_parentName;
    QString m_serverName;
    Qt::KeyboardModifiers m_modifiers = Qt::NoModifier;
};

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

    // In all threads. An exception that leaves a receiver, such as one of a slot in a plug-in's own widgets,
    // ends here: the log names the receiver's class and the cause, and the event counts as handled.
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

#include "app/qapplicationext.h"

#include "plugins/plugincall.h"
#include "ui/sessionrecords.h"

#include <QDebug>
#include <QFileInfo>
#include <QFileOpenEvent>
#include <QKeyEvent>

QApplicationExt::QApplicationExt(int& argc, char** argv, QString parentName, QString serverName)
    : QApplication(argc, argv),
      m_parentName(std::move(parentName)),
      m_serverName(std::move(serverName))
{
}

bool QApplicationExt::notify(QObject* receiver, QEvent* event)
{
    if (event->type() == QEvent::KeyPress || event->type() == QEvent::KeyRelease) {
        const Qt::KeyboardModifiers modifiers = static_cast<QKeyEvent*>(event)->modifiers();
        if (modifiers != m_modifiers) {
            m_modifiers = modifiers;
            Q_EMIT keyboardModifiersChanged(modifiers);
        }
    }
    // Asked now, as the receiver may be gone afterwards; the name itself is static.
    const char* const name = receiver->metaObject()->className();
    QString cause;
    const auto handled = callPlugin(cause, [&] { return QApplication::notify(receiver, event); });
    if (!handled)
        qWarning().noquote().nospace() << "exception in an object of class " << name << ": "
                                       << (cause.isEmpty() ? QStringLiteral("of unknown type") : cause);
    return handled.value_or(true);
}

bool QApplicationExt::event(QEvent* event)
{
    switch (event->type()) {
    case QEvent::TabletEnterProximity:
    case QEvent::TabletLeaveProximity:
        setProperty("tabletproximity", event->type() == QEvent::TabletEnterProximity);
        Q_EMIT tabletProximityChanged(event->type());
        break;
    case QEvent::FileOpen: {
        SessionRecord record;
        record.path = static_cast<QFileOpenEvent*>(event)->file();
        record.source = m_parentName.isEmpty() ? QFileInfo(record.path).fileName() : m_parentName;
        record.server = m_serverName;
        setProperty("importqueue", property("importqueue").toByteArray() + toSessionBytes(record));
        Q_EMIT sessionImported();
        return true;
    }
    default:
        break;
    }
    return QApplication::event(event);
}

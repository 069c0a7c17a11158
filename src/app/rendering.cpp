#include "app/rendering.h"

#include "ui/widgets/messages.h"

#include <QCoreApplication>
#include <QDebug>
#include <QOpenGLContext>
#include <QSurfaceFormat>

bool chooseRendering()
{
    QSurfaceFormat format;
    format.setSwapInterval(0);
    format.setProfile(QSurfaceFormat::CoreProfile);
    format.setRenderableType(QSurfaceFormat::OpenGL);
    format.setVersion(3, 3);
    QSurfaceFormat::setDefaultFormat(format);

    QOpenGLContext trial;
    const bool valid = trial.create() && trial.isValid();
    const int major = trial.format().majorVersion(), minor = trial.format().minorVersion();
    if (valid && (major >= 4 || (major == 3 && minor >= 3)))
        return true;
    qCritical().noquote().nospace() << "OpenGL 3.3 initialization failed: valid: " << valid
                                    << " version: " << major << "." << minor;
    messages::critical(nullptr, QCoreApplication::applicationName(),
                       QCoreApplication::translate("start",
                                                   "OpenGL 3.3 initialization failed. Update your graphic "
                                                   "card drivers, or upgrade your graphic card."));
    return false;
}

#include "ui/pictureexport.h"

#include "base/safefile.h"
#include "editing/datamanager.h"
#include "editing/editprogress.h"
#include "projectfiles/projecttabs.h"
#include "projectfiles/savetarget.h"
#include "ui/mainwindow.h"
#include "ui/picturedialog.h"
#include "ui/widgets/messages.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QFileInfo>

namespace {

QString text(const char* source)
{
    return QCoreApplication::translate("PictureDialog", source);
}

QString askForName(MainWindow& window, const Project& project)
{
    filechooser::Request request;
    request.title = text(QT_TRANSLATE_NOOP("PictureDialog", "Export Picture"));
    request.path = QFileInfo(project.name).completeBaseName() + QStringLiteral(".png");
    request.filters = QStringList{text(QT_TRANSLATE_NOOP("PictureDialog", "PNG picture (*.png)"))};
    request.save = true;
    return chooseTarget(&window, request,
                        [](const QString& suffix) { return suffix == QLatin1String("png"); })
        .path;
}

// The cause; empty when all went well.
QString write(const QImage& image, const QString& path)
{
    constexpr int quality = 80; // of 100: fast compression, PNG loses nothing
    QByteArray png;
    QBuffer buffer(&png);
    if (image.isNull() || !buffer.open(QBuffer::WriteOnly) || !image.save(&buffer, "PNG", quality))
        return text(QT_TRANSLATE_NOOP("PictureDialog", "The view could not be drawn at this size."));
    SafeFile file(path);
    return file.open() && file.write(png) && file.commit() ? QString() : file.errorString();
}

} // namespace

void exportPicture(MainWindow& window)
{
    const EditDesk::Action action(window.dataManager().desk());
    const ProjectPtr project = window.projectTabs().currentProject();
    if (!action || !project)
        return;
    ViewPicture picture(window.channelsDisplay());
    PictureDialog dialog(picture, &window);
    if (dialog.exec() != QDialog::Accepted)
        return;
    const QString path = askForName(window, *project);
    if (path.isEmpty())
        return;
    const QString title = dialog.windowTitle();
    bool cancelled = false;
    QImage image;
    {
        EditProgress progress(&window, title);
        image = picture.make(dialog.settings(), [&](int done, int total) {
            cancelled = !progress(done, total);
            return !cancelled;
        });
    }
    if (cancelled)
        return;
    const QString cause = write(image, path);
    if (!cause.isEmpty())
        messages::critical(&window, title,
                           text(QT_TRANSLATE_NOOP("PictureDialog", "The picture could not be saved.")),
                           cause);
}

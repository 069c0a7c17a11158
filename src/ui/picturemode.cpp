#include "ui/picturemode.h"

#include "display/channelrow.h"
#include "display/channelsdisplay.h"
#include "display/spectralchannel.h"
#include "display/waveformchannel.h"
#include "ui/mainwindow.h"
#include "ui/widgets/messages.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QPixmap>
#include <QRegularExpression>
#include <QTextDocument>
#include <QTextDocumentFragment>
#include <QThread>
#include <QWindow>

#include <cstdio>

namespace {

constexpr int longest = 120000; // ms that a picture may take

void print(const QString& text)
{
    std::printf("%s\n", text.toLocal8Bit().constData());
    std::fflush(stdout);
}

QString plain(const QString& text)
{
    return Qt::mightBeRichText(text) ? QTextDocumentFragment::fromHtml(text).toPlainText() : text;
}

bool asksAboutFormat(const messages::Box& box)
{
    static const QRegularExpression words(QStringLiteral("rate|channel|format"),
                                          QRegularExpression::CaseInsensitiveOption);
    return box.buttons.testFlag(QMessageBox::Yes) && words.match(box.text).hasMatch();
}

QMessageBox::StandardButton answer(const messages::Box& box)
{
    print(QStringLiteral("%1: %2").arg(box.title, plain(box.text)));
    if (!box.informative.isEmpty())
        print(QStringLiteral("    ") + plain(box.informative));
    return asksAboutFormat(box) ? QMessageBox::Yes : box.defaultButton;
}

// All in one pass: each pass of its own puts the whole window together anew.
void repaintViews(const ChannelsDisplay& display)
{
    for (const ChannelRow* row : display.rows())
        for (ChannelView* view :
             {static_cast<ChannelView*>(row->waveform()), static_cast<ChannelView*>(row->spectral())})
            if (!view->visibleRegion().isEmpty())
                view->update();
    QCoreApplication::sendPostedEvents();
}

// Runs the event loop until every texture in sight is drawn. A request goes out with a repaint; so
// nothing must be outstanding behind a repaint of all views, and behind another one that has put the
// last textures on the screen.
bool waitForTextures(const MainWindow& window, const ChannelsDisplay& display)
{
    QElapsedTimer timer;
    timer.start();
    const QWindow* handle = window.windowHandle();
    for (int quiet = 0; quiet < 2;) {
        if (timer.elapsed() > longest)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        if (!handle->isExposed() || !display.isSettled()) {
            quiet = 0;
            QThread::msleep(2);
            continue;
        }
        repaintViews(display);
        quiet = display.isSettled() ? quiet + 1 : 0;
    }
    return true;
}

} // namespace

int runPicture(MainWindow& window, const QString& path, const QStringList& missing)
{
    messages::setAnswerer(answer);
    for (const QString& name : missing)
        print(QStringLiteral("%1: no such file").arg(name));
    window.show();
    window.sessionImport();
    bool good = missing.isEmpty() && window.failedImports().isEmpty();
    if (!waitForTextures(window, window.channelsDisplay())) {
        print(QStringLiteral("The picture was not finished in time."));
        good = false;
    }
    qInfo("Picture finished");  // what bench/start_to_picture waits for
    constexpr int quality = 80; // of 100: fast compression, PNG loses nothing
    if (window.grab().save(path, "PNG", quality)) {
        print(path);
    } else {
        print(QStringLiteral("%1: could not be written").arg(path));
        good = false;
    }
    messages::setAnswerer({});
    return good ? 0 : 1;
}

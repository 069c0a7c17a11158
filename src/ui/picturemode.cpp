#include "ui/picturemode.h"

#include "display/channelsdisplay.h"
#include "ui/mainwindow.h"
#include "ui/widgets/messages.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QPixmap>
#include <QRegularExpression>
#include <QTextDocument>
#include <QTextDocumentFragment>

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

// Runs the event loop until every texture in sight is drawn. A view that was just asked to repaint
// is outstanding until it has; so the answer must hold over two rounds of events.
bool waitForTextures(const MainWindow& window, const ChannelsDisplay& display)
{
    QElapsedTimer timer;
    timer.start();
    for (int quiet = 0; quiet < 2;) {
        if (timer.elapsed() > longest)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QCoreApplication::sendPostedEvents();
        const bool settled = window.isVisible() && display.isSettled();
        quiet = settled ? quiet + 1 : 0;
        if (!settled)
            QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 10);
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

// Build tool: draws an SVG file as a PNG, or as a one-page PDF. With a colour, every "currentColor"
// in the file becomes that colour.
#include <QFile>
#include <QGuiApplication>
#include <QImage>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <QSvgRenderer>

#include <cstdio>

namespace {

int complain(const QString& text)
{
    std::fprintf(stderr, "%s\n", text.toLocal8Bit().constData());
    return 1;
}

bool drawPng(QSvgRenderer& svg, const QString& path, QSize size)
{
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    svg.render(&painter);
    painter.end();
    return image.save(path, "PNG");
}

bool drawPdf(QSvgRenderer& svg, const QString& path)
{
    QPdfWriter writer(path);
    writer.setPageSize(QPageSize(QPageSize::A4));
    writer.setPageMargins({});
    QPainter painter;
    if (!painter.begin(&writer))
        return false;
    svg.render(&painter, QRectF(0, 0, writer.width(), writer.height()));
    return painter.end();
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // A build machine has no user session, and Qt says so for every picture.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString& text) {
        if (!text.startsWith(QLatin1String("QStandardPaths: XDG_RUNTIME_DIR")))
            std::fprintf(stderr, "%s\n", text.toLocal8Bit().constData());
    });
    const QGuiApplication application(argc, argv);
    const QStringList words = QCoreApplication::arguments();
    if (words.size() < 4)
        return complain(
            QStringLiteral("usage: morvane_rendersvg in.svg out.png|out.pdf WIDTHxHEIGHT [colour]"));
    QFile file(words[1]);
    if (!file.open(QIODevice::ReadOnly))
        return complain(words[1] + QLatin1String(": ") + file.errorString());
    QByteArray text = file.readAll();
    if (words.size() > 4)
        text.replace("currentColor", words[4].toUtf8());
    QSvgRenderer svg(text);
    const QStringList numbers = words[3].split(QLatin1Char('x'));
    const QSize size(numbers.value(0).toInt(), numbers.value(1).toInt());
    if (!svg.isValid() || size.isEmpty())
        return complain(words[1] + QLatin1String(": no picture, or no size"));
    const bool drawn =
        words[2].endsWith(QLatin1String(".pdf")) ? drawPdf(svg, words[2]) : drawPng(svg, words[2], size);
    return drawn ? 0 : complain(words[2] + QLatin1String(": cannot be written"));
}

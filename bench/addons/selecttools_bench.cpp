// What the selection tools cost while they are used, beside the painting of the selection that follows: a
// marquee, a lasso of 2000 points, and a brush with 100 dabs a second for ten seconds. Prints milliseconds.
//
// "release": from the call with the button up to the changed selection, the tool's part and the selection's.
// "painting": the mask of a view of 1600 by 800 pixels, as it is drawn in any case. "busiest dab": the
// longest of a thousand calls; at 100 dabs a second there are 10 ms for each. "share": of the ten seconds
// that the tool took for all of them.
//
// usage: selecttools_bench [runs]; on an X server or with QT_QPA_PLATFORM=offscreen.
#include "model/layerroot.h"
#include "model/selection.h"
#include "plugins/itoolplugin.h"
#include "support/clocks.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

#include <QApplication>
#include <QCursor>
#include <QPluginLoader>

namespace {

constexpr double rate = 48000;
constexpr double width = 1600, height = 800;
constexpr double pi = 3.14159265358979323846;

// A linear scale, numbers as they are.
struct Units : IConvert
{
    double toScale(double hz) const override { return hz; }
    double fromScale(double coordinate) const override { return coordinate; }
    QString timeToString(double samples) const override { return QString::number(samples); }
    int64_t stringToTime(const QString& text) const override { return text.toLongLong(); }
    QString timeSuffix() const override { return {}; }
    QString freqToString(double hz) const override { return QString::number(hz); }
    double stringToFreq(const QString& text) const override { return text.toDouble(); }
    QString freqSuffix() const override { return {}; }
};

// One tool over a view of ten seconds.
class Hand
{
public:
    explicit Hand(const char* name) : m_root(m_format)
    {
        QPluginLoader loader(QStringLiteral(MORVANE_TOOLS_FOLDER "/%1.so").arg(QLatin1String(name)));
        m_tool = qobject_cast<IToolPlugin*>(loader.instance());
        if (!m_tool || !m_tool->init(loader.fileName(), nullptr))
            qFatal("%s", qPrintable(loader.errorString()));
        fill();
        m_tool->activate();
    }
    void to(double x, double y, float pressure)
    {
        MouseEvent event;
        event.pixelSize = {view.width / width, view.height / height};
        event.pixel = {x, height - y};
        event.position = event.snapped = {x * event.pixelSize.x, y * event.pixelSize.y};
        event.pressure = pressure;
        fill();
        m_tool->execute(event, m_cursor, m_path, m_controls, 0);
    }

    const Area view{0, 0, 10 * rate, rate / 2};
    Selection selection;

private:
    void fill()
    {
        m_tool->context.format = m_format;
        m_tool->context.root = &m_root;
        m_tool->context.selection = &selection;
        m_tool->context.area = view;
        m_tool->context.convert = &m_units;
    }

    const SamplingFormat m_format{SampleTypeReal, rate, ChannelsTypeAudio, 1, 4};
    LayerRoot m_root;
    Units m_units;
    IToolPlugin* m_tool = nullptr;
    QCursor m_cursor;
    QPainterPath m_path;
    QList<ToolControl> m_controls;
};

void paint(const Selection& selection, const Area& view)
{
    QImage image(int(width), int(height), QImage::Format_Grayscale8);
    selection.renderDisplayMask(image, view, {}, 0);
}

// Moves the hand with the button down, and times the release and the painting after it.
template<class Move>
void measure(const char* name, Hand& hand, int runs, Move move)
{
    Clocks release, painting;
    for (int i = 0; i < runs; ++i) {
        hand.selection.clear();
        const QPointF last = move(hand);
        release.run([&] { hand.to(last.x(), last.y(), -1); });
        painting.run([&] { paint(hand.selection, hand.view); });
    }
    std::printf("%-28s release %8.2f ms   painting %8.2f ms   corners %d\n", name, 1e3 * median(release.wall),
                1e3 * median(painting.wall), hand.selection.path().elementCount());
}

} // namespace

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    const int runs = argc > 1 ? std::max(1, atoi(argv[1])) : 11;

    Hand marquee("selectmarquee");
    measure("marquee", marquee, runs, [](Hand& hand) {
        hand.to(300, 200, 1);
        hand.to(900, 600, 1);
        return QPointF(900, 600);
    });

    Hand lasso("selectlasso");
    measure("lasso of 2000 points", lasso, runs, [](Hand& hand) {
        // A coast: a circle with bays.
        const auto at = [](int i) {
            const double angle = i * 2 * pi / 2000;
            const double r = 300 + 40 * std::sin(23 * angle) + 6 * std::sin(171 * angle);
            return QPointF(800 + 2 * r * std::cos(angle), 400 + r * std::sin(angle));
        };
        for (int i = 0; i < 2000; ++i)
            hand.to(at(i).x(), at(i).y(), 1);
        return at(1999);
    });

    Hand brush("selectbrush");
    std::vector<double> longest;
    std::vector<double> share;
    measure("brush, 1000 dabs", brush, runs, [&](Hand& hand) {
        // A scribble over the whole view that crosses itself often.
        const auto at = [](int i) {
            const double t = i / 1000.0;
            return QPointF(800 + 700 * std::sin(2 * pi * 7 * t), 400 + 350 * std::sin(2 * pi * 11 * t + 0.4));
        };
        Clocks dabs;
        for (int i = 0; i < 1000; ++i)
            dabs.run([&] { hand.to(at(i).x(), at(i).y(), 1); });
        double sum = 0;
        for (const double s : dabs.processor)
            sum += s;
        longest.push_back(*std::max_element(dabs.processor.begin(), dabs.processor.end()));
        share.push_back(sum / 10);
        return at(999);
    });
    std::printf("%-28s busiest dab %6.2f ms   share %6.2f %%\n", "", 1e3 * median(longest),
                1e2 * median(share));
    return 0;
}

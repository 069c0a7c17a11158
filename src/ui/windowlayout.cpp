#include "ui/windowlayout.h"

#include "base/safefile.h"

#include <QApplication>
#include <QDataStream>
#include <QFile>
#include <QMainWindow>

#include <algorithm>
#include <cstdlib>

namespace {

constexpr int maxGeometry = 255; // what the length byte can tell
constexpr qint64 maxLayout = 1 << 20;

bool takesFocus(const QWidget& widget)
{
    return widget.isVisible() && widget.isEnabled() && (widget.focusPolicy() & Qt::TabFocus);
}

// No window system goes further, and X11 fails on the way there.
constexpr int maxPixels = 16384;

bool isPlace(const QRect& place)
{
    return std::max({std::abs(place.x()), std::abs(place.y()), place.width(), place.height()}) <= maxPixels;
}

// The three rectangles of a block of QWidget::saveGeometry().
bool isGeometryWithinReach(const QByteArray& geometry)
{
    QDataStream stream(geometry);
    stream.setVersion(QDataStream::Qt_4_0); // as Qt writes it
    quint32 magic = 0;
    quint16 major = 0, minor = 0;
    QRect frame, normal, client;
    qint32 screen = 0, screenWidth = 0;
    quint8 maximized = 0, fullScreen = 0;
    stream >> magic >> major >> minor >> frame >> normal >> screen >> maximized >> fullScreen >>
        screenWidth >> client;
    return stream.status() == QDataStream::Ok && isPlace(frame) && isPlace(normal) && isPlace(client);
}

// Reads a state of QMainWindow as Qt 5.15 writes it. QMainWindow::restoreState() trusts counts, markers and
// orientations in it, and a damaged file would crash it.
class StateReader
{
public:
    explicit StateReader(const QByteArray& state) : m_stream(state) {}

    bool isWhole()
    {
        constexpr int versionMarker = 0xff, dockMarker = 0xfd, floatingTabsMarker = 0xf9,
                      toolBarMarker = 0xfc;
        if (integer() != versionMarker || integer() != 0 || byte() != dockMarker)
            return false;
        const int areas = integer();
        for (int i = 0; i < areas && m_fine; ++i) {
            require(isArea(integer()));
            pixels(2); // its size
            dockArea();
        }
        pixels(2); // size of the middle
        for (int corner = 0; corner < 4; ++corner)
            require(m_fine && std::abs(integer()) <= Qt::BottomDockWidgetArea);
        int marker = byte();
        for (; m_fine && marker == floatingTabsMarker; marker = byte()) {
            pixels(4); // its place
            dockArea();
        }
        require(marker == toolBarMarker);
        toolBars();
        return m_fine && m_stream.atEnd();
    }

private:
    static constexpr int maxItems = 64; // in one row
    static constexpr int maxDepth = 16;

    static bool isArea(int area) { return area >= 0 && area < 4; }
    void require(bool fine) { m_fine = m_fine && fine && m_stream.status() == QDataStream::Ok; }
    int byte()
    {
        quint8 value = 0;
        m_stream >> value;
        require(true);
        return value;
    }
    int integer()
    {
        qint32 value = 0;
        m_stream >> value;
        require(true);
        return value;
    }
    void pixels(int integers, int most = maxPixels)
    {
        for (int i = 0; i < integers && m_fine; ++i)
            require(std::abs(qint64(integer())) <= most);
    }
    void name()
    {
        QString text;
        m_stream >> text;
        require(true);
    }
    int count()
    {
        const int items = integer();
        require(items >= 0 && items <= maxItems);
        return m_fine ? items : 0;
    }

    void dockArea()
    {
        constexpr int tabsMarker = 0xfa, sequenceMarker = 0xfc, widgetMarker = 0xfb;
        require(++m_depth <= maxDepth);
        const int kind = byte();
        require(kind == tabsMarker || kind == sequenceMarker);
        const int current = kind == tabsMarker ? integer() : -1;
        const int orientation = byte();
        require(orientation == Qt::Horizontal || orientation == Qt::Vertical);
        const int items = count();
        require(current >= -1 && current < std::max(items, 1));
        for (int i = 0; i < items && m_fine; ++i) {
            const int item = byte();
            require(item == widgetMarker || item == sequenceMarker);
            constexpr int floating = 2;
            int flags = 0;
            if (item == widgetMarker) {
                name();
                flags = byte();
                require(flags <= 3);
            }
            pixels(2); // place and length, or the corner of a floating one
            pixels(2, flags & floating ? maxPixels : QWIDGETSIZE_MAX); // least and largest, or its size
            if (item == sequenceMarker && m_fine)
                dockArea();
        }
        --m_depth;
    }
    void toolBars()
    {
        const int lines = count();
        for (int line = 0; line < lines && m_fine; ++line) {
            require(isArea(integer()));
            const int bars = count();
            for (int i = 0; i < bars && m_fine; ++i) {
                name();
                require(byte() <= 3);
                pixels(2);
                integer(); // both halves of a packed place
                integer();
            }
        }
    }

    QDataStream m_stream;
    bool m_fine = true;
    int m_depth = 0;
};

// The first control inside `area`, in the order of the Tab key.
QWidget* firstControl(QWidget& area)
{
    QWidget* widget = &area;
    do {
        if ((widget == &area || area.isAncestorOf(widget)) && takesFocus(*widget))
            return widget;
        widget = widget->nextInFocusChain();
    } while (widget != &area);
    return nullptr;
}

} // namespace

bool saveLayout(const QMainWindow& window, const QString& path, QString& error)
{
    const QByteArray geometry = window.saveGeometry();
    // A longer block would be cut by its length byte, and the state read from its middle.
    const QByteArray kept = geometry.size() > maxGeometry ? QByteArray() : geometry;
    SafeFile file(path);
    const QByteArray length(1, static_cast<char>(kept.size()));
    const bool written = file.open() && file.write(length + kept + window.saveState()) && file.commit();
    if (!written)
        error = file.errorString();
    return written;
}

bool loadLayout(QMainWindow& window, const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || file.isSequential() || file.size() > maxLayout)
        return false;
    char length = 0;
    if (!file.getChar(&length))
        return false;
    const int expected = static_cast<unsigned char>(length);
    const QByteArray geometry = file.read(expected);
    if (geometry.size() != expected)
        return false;
    const QByteArray state = file.readAll();
    return isGeometryWithinReach(geometry) && StateReader(state).isWhole() &&
           window.restoreGeometry(geometry) && window.restoreState(state);
}

void CompactSwitch::toggle(const QList<QWidget*>& widgets)
{
    QList<QWidget*> showing;
    std::copy_if(widgets.begin(), widgets.end(), std::back_inserter(showing),
                 [](const QWidget* widget) { return !widget->isHidden(); });
    if (!showing.isEmpty()) {
        for (QWidget* widget : qAsConst(showing)) {
            widget->hide();
            m_hidden << widget;
        }
        return;
    }
    const auto wasHere = [this](QWidget* widget) { return m_hidden.contains(widget); };
    const bool any = std::any_of(widgets.begin(), widgets.end(), wasHere);
    for (QWidget* widget : widgets)
        if (!any || wasHere(widget))
            widget->show();
    for (QWidget* widget : widgets)
        m_hidden.removeAll(widget);
}

void focusNextArea(const QList<QWidget*>& areas, bool forward)
{
    const QWidget* focus = QApplication::focusWidget();
    const auto holds = [focus](const QWidget* area) { return area == focus || area->isAncestorOf(focus); };
    const int count = areas.size();
    const int from = focus ? int(std::find_if(areas.begin(), areas.end(), holds) - areas.begin()) % count : 0;
    for (int i = 1; i <= count; ++i) {
        QWidget* control = firstControl(*areas[(from + (forward ? i : count - i)) % count]);
        if (!control)
            continue;
        control->setFocus(Qt::TabFocusReason);
        return;
    }
}

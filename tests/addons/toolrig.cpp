#include "addons/toolrig.h"

#include "display/viewgeometry.h"
#include "model/modeltest.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <string>

#include <QCoreApplication>
#include <QDoubleSpinBox>
#include <QLineEdit>
#include <QPluginLoader>

namespace {

IToolPlugin* loaded(const char* name)
{
    static std::map<std::string, IToolPlugin*> plugins;
    IToolPlugin*& plugin = plugins[name];
    if (plugin)
        return plugin;
    QPluginLoader loader(QStringLiteral(MORVANE_TOOLS_FOLDER "/%1.so").arg(QLatin1String(name)));
    plugin = qobject_cast<IToolPlugin*>(loader.instance());
    if (!plugin)
        qFatal("%s", qPrintable(loader.errorString()));
    if (!plugin->init(loader.fileName(), nullptr))
        qFatal("init refused");
    return plugin;
}

} // namespace

ToolRig::ToolRig(const char* plugin, const SamplingFormat& f)
    : tool(loaded(plugin)),
      format(f),
      root(f),
      view(fullBandArea(f, {0, int64_t(f.sampleRate)}))
{
    m_page = tool->optionsWidget();
    m_asked = std::make_unique<QSignalSpy>(tool, SIGNAL(requestMouseEvent()));
    setTransform(512, 8, 2);
    tool->mode = 0;
    for (QDoubleSpinBox* box : m_page->findChildren<QDoubleSpinBox*>())
        if (box->objectName().startsWith(QLatin1String("fade")))
            box->setValue(0);
    fill();
    tool->activate();
}

ToolRig::~ToolRig()
{
    tool->deactivate();
    tool->context = {};
}

void ToolRig::setTransform(int frameSize, int overlap, int padding)
{
    transform = std::make_shared<Transform>(format.sampleType, WindowType::BlackmanHarris, frameSize, overlap,
                                            padding);
    m_spectra = std::make_unique<TestSpectra>(transform);
    units = Convert(format, *transform, TimeUnit::Samples, PowerUnit::Normalized, FreqUnit::Hertz,
                    units.freqScale);
}

LayerPtr ToolRig::addLayer(const std::vector<float>& samples, int64_t start)
{
    const LayerPtr layer = modeltest::layerOf(format, samples, start);
    root.project()->appendChild(layer);
    root.setActive(layer);
    return layer;
}

void ToolRig::fill()
{
    PluginContext& context = tool->context;
    context.format = format;
    context.transform = transform;
    context.activeLayer = root.layer(-1);
    context.root = &root;
    context.selection = &selection;
    context.area = view;
    context.convert = this;
    context.spectra = m_spectra.get();
    context.transportPosition = position;
}

PointD ToolRig::at(double across, double up) const
{
    return viewgeometry::documentPosition(units, view, {width, height}, {across * width, (1 - up) * height});
}

MouseEvent ToolRig::eventAt(double across, double up, float pressure, uint32_t modifiers)
{
    MouseEvent event = m_last;
    event.previousPosition = m_last.position;
    event.previousPressure = m_last.pressure;
    event.previousModifiers = m_last.modifiers;
    event.position = event.snapped = at(across, up);
    event.pixel = {across * width, (1 - up) * height};
    event.pixelSize = viewgeometry::pixelSize(units, view, {width, height}, {event.pixel.x, event.pixel.y});
    event.pressure = pressure;
    event.modifiers = modifiers;
    event.toolMode = tool->mode;
    if (event.previousPressure < 0 && pressure >= 0) {
        event.pressPosition = event.pressSnapped = event.position;
        event.pressPixel = event.pixel;
        event.pressPixelSize = event.pixelSize;
    }
    return event;
}

bool ToolRig::send(const MouseEvent& event, uint32_t flags)
{
    m_last = event;
    fill();
    const bool recorded = tool->execute(event, cursor, path, controls, flags);
    position = tool->context.transportPosition;
    return recorded;
}

bool ToolRig::press(double across, double up, uint32_t modifiers, uint32_t flags, float pressure)
{
    return send(eventAt(across, up, pressure, modifiers), flags);
}

bool ToolRig::moveTo(double across, double up, uint32_t modifiers, float pressure)
{
    return send(eventAt(across, up, pressure, modifiers));
}

bool ToolRig::release(double across, double up, uint32_t modifiers)
{
    return send(eventAt(across, up, -1, modifiers));
}

bool ToolRig::hover(double across, double up, uint32_t modifiers)
{
    return send(eventAt(across, up, -1, modifiers));
}

bool ToolRig::request(uint32_t flags)
{
    MouseEvent event = m_last;
    event.previousPosition = event.position;
    event.previousPressure = event.pressure;
    event.previousModifiers = event.modifiers;
    return send(event, flags);
}

bool ToolRig::drag(double fromX, double fromY, double toX, double toY, uint32_t modifiers, int steps)
{
    press(fromX, fromY, modifiers);
    for (int i = 1; i <= steps; ++i) {
        const double t = double(i) / steps;
        moveTo(fromX + (toX - fromX) * t, fromY + (toY - fromY) * t, modifiers);
    }
    return release(toX, toY, modifiers);
}

bool ToolRig::click(double across, double up, uint32_t modifiers)
{
    press(across, up, modifiers);
    return release(across, up, modifiers);
}

void ToolRig::tellContext()
{
    fill();
    tool->contextChanged();
}

void ToolRig::select(double fromX, double fromY, double toX, double toY)
{
    const PointD low = at(fromX, fromY), high = at(toX, toY);
    QPainterPath rectangle;
    rectangle.addRect(low.x, low.y, high.x - low.x, high.y - low.y);
    selection = Selection(rectangle);
}

QDoubleSpinBox& ToolRig::option(const char* name)
{
    auto* const box = m_page->findChild<QDoubleSpinBox*>(QLatin1String(name));
    if (!box)
        qFatal("no option %s", name);
    return *box;
}

bool ToolRig::type(const char* name, const QString& text)
{
    auto* const edit = m_page->findChild<QLineEdit*>(QLatin1String(name));
    if (!edit)
        qFatal("no field %s", name);
    edit->setText(text);
    edit->setModified(true);
    QMetaObject::invokeMethod(edit, "editingFinished");
    return request();
}

QString ToolRig::shown(const char* name)
{
    return m_page->findChild<QLineEdit*>(QLatin1String(name))->text();
}

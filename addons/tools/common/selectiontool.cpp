#include "selectiontool.h"

#include "outline.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <QAction>
#include <QCursor>
#include <QIcon>
#include <QMenu>
#include <QToolButton>

namespace {

constexpr double leastDrag = 3; // pixels; less is a click
constexpr uint32_t operationModifiers = Qt::ShiftModifier | Qt::ControlModifier;

bool isFinite(const PointD& p)
{
    return std::isfinite(p.x) && std::isfinite(p.y);
}

Qt::CursorShape cursorOf(uint32_t grip)
{
    using namespace selectionbox;
    switch (grip) {
    case GripAll:
        return Qt::SizeAllCursor;
    case GripLeft:
    case GripRight:
        return Qt::SizeHorCursor;
    case GripLow:
    case GripHigh:
        return Qt::SizeVerCursor;
    case GripLeft | GripHigh:
    case GripRight | GripLow:
        return Qt::SizeFDiagCursor;
    case GripLeft | GripLow:
    case GripRight | GripHigh:
        return Qt::SizeBDiagCursor;
    default:
        return Qt::CrossCursor;
    }
}

} // namespace

SelectionTool::SelectionTool(std::vector<Mode> modes) : m_modes(std::move(modes)) {}

// Button and page belong to the bars that took them over; where no bar did, they go with the tool.
SelectionTool::~SelectionTool()
{
    if (m_button && !m_button->parent())
        delete m_button;
    if (m_page && !page().parent())
        delete m_page;
}

bool SelectionTool::init(const QString&, QWidget*)
{
    return true;
}

OptionsPage& SelectionTool::page()
{
    if (m_page)
        return *m_page;
    m_page = new OptionsPage;
    addOptions(*m_page);
    connect(m_page, &OptionsPage::typed, this, &SelectionTool::requestMouseEvent);
    connect(m_page, &OptionsPage::changed, this, &SelectionTool::requestMouseEvent);
    return *m_page;
}

QString SelectionTool::groupName() const
{
    return QStringLiteral("Selection");
}

QToolButton* SelectionTool::toolButton()
{
    if (m_button)
        return m_button;
    m_button = new QToolButton;
    QMenu* const menu = m_modes.size() > 1 ? new QMenu(m_button) : nullptr;
    for (const Mode& mode : m_modes) {
        auto* const action = new QAction(QIcon(mode.icon), mode.text, m_button);
        if (menu)
            menu->addAction(action);
        if (!m_button->defaultAction())
            m_button->setDefaultAction(action);
    }
    if (menu) {
        m_button->setMenu(menu);
        m_button->setPopupMode(QToolButton::DelayedPopup);
    }
    return m_button;
}

QWidget* SelectionTool::optionsWidget()
{
    return &page();
}

void SelectionTool::activate()
{
    drop();
    page().reset();
    page().follow(context);
}

void SelectionTool::deactivate()
{
    drop();
}

void SelectionTool::contextChanged()
{
    page().follow(context);
    if (m_gesture == Gesture::None || !isStale())
        return;
    const bool held = m_down;
    drop();
    m_down = held;
    m_gesture = held ? Gesture::Ignore : Gesture::None;
    Q_EMIT requestMouseEvent(); // which clears the outline
}

// Another project is in front, or a command in the middle of a drag has changed what is dragged.
bool SelectionTool::isStale() const
{
    if (!context.selection || !context.root || m_project.lock() != context.root->layer(RootProject))
        return true;
    return m_gesture == Gesture::Drag && context.selection->bounds() != m_from;
}

void SelectionTool::drop()
{
    m_gesture = Gesture::None;
    m_down = false;
    m_moved = false;
    dropped();
}

bool SelectionTool::click(const MouseEvent&, bool)
{
    return false;
}

bool SelectionTool::release(const MouseEvent&)
{
    return true;
}

PointD SelectionTool::fade()
{
    return {page().fadeSeconds() * context.format.sampleRate, page().fadeHz()};
}

Area SelectionTool::limits() const
{
    Area area = fullBandArea(context.format, {});
    double end = context.area.x + context.area.width;
    if (const ILayerPtr layers = context.root ? context.root->layer(RootProject) : nullptr)
        end = std::max(end, double(layers->range().end()));
    area.width = std::isfinite(end) ? std::max(0.0, end) : 0.0;
    return area;
}

PointD SelectionTool::limited(PointD position) const
{
    const Area area = limits();
    return {std::clamp(position.x, area.x, area.x + area.width),
            std::clamp(position.y, area.y, area.y + area.height)};
}

ILayerPtr SelectionTool::target() const
{
    if (context.activeLayer)
        return context.activeLayer;
    return context.root ? context.root->layer(RootProject) : nullptr;
}

SelectionTool::Operation SelectionTool::operationOf(uint32_t modifiers)
{
    switch (modifiers & operationModifiers) {
    case Qt::ShiftModifier:
        return Operation::Add;
    case Qt::ControlModifier:
        return Operation::Subtract;
    case operationModifiers:
        return Operation::Intersect;
    default:
        return Operation::Replace;
    }
}

bool SelectionTool::execute(const MouseEvent& event, QCursor& cursor, QPainterPath& path, QList<ToolControl>&,
                            uint32_t flags)
{
    if (!context.selection) {
        drop();
        path = QPainterPath();
        return false;
    }
    if (m_gesture != Gesture::None && m_gesture != Gesture::Ignore && isStale())
        drop();
    bool changed = false;
    if (flags & ToolCancel) {
        const bool held = m_down;
        drop();
        m_down = held;
        m_gesture = held ? Gesture::Ignore : Gesture::None;
    } else if (flags & ToolAccept) {
        changed = m_gesture == Gesture::Draw && !m_down && finishDrawing(event, false);
    } else if (flags & ToolRequested) {
        changed = applyTyped();
        if (m_last.pixelSize.x > 0)
            cursor = cursorFor(m_last); // a brush of another size
    } else {
        // Where the view could not tell a place, the button still may have gone up.
        const bool told = isFinite(event.position) && event.pixelSize.x > 0 && event.pixelSize.y > 0;
        if (told)
            m_last = event;
        m_last.pressure = event.pressure;
        changed = (told || m_down) && pointer(m_last, flags);
        cursor = cursorFor(m_last);
    }
    path = drawn();
    page().follow(context);
    return changed;
}

// --- the pointer -----------------------------------------------------------------------------------

// By the state of the button, not by its change: the host may have left calls out.
bool SelectionTool::pointer(const MouseEvent& event, uint32_t flags)
{
    const bool down = event.pressure >= 0;
    const bool wasDown = std::exchange(m_down, down);
    if (down && !wasDown)
        return press(event, flags & ToolDoubleClick);
    if (wasDown && !m_moved)
        m_moved = std::hypot(event.pixel.x - m_press.pixel.x, event.pixel.y - m_press.pixel.y) >= leastDrag;
    if (m_gesture == Gesture::Draw)
        extend(event);
    else if (m_gesture == Gesture::Drag)
        m_to = draggedTo(event);
    return wasDown && !down && finishPress(event);
}

bool SelectionTool::press(const MouseEvent& event, bool twice)
{
    if (m_gesture == Gesture::Draw)
        return click(event, twice) && finishDrawing(event, false);
    m_press = event;
    m_moved = false;
    m_project = context.root ? context.root->layer(RootProject) : nullptr;
    m_operation = operationOf(event.modifiers);
    m_grip = m_operation == Operation::Replace
                 ? selectionbox::gripAt(*context.selection, event.position, event.pixelSize)
                 : uint32_t(selectionbox::GripNone);
    if (m_grip == selectionbox::GripNone) {
        m_gesture = Gesture::Draw;
        begin(event);
        return false;
    }
    m_gesture = Gesture::Drag;
    m_from = m_to = context.selection->bounds();
    m_fromPath = context.selection->path();
    return false;
}

// The button goes up.
bool SelectionTool::finishPress(const MouseEvent& event)
{
    if (m_gesture == Gesture::Drag && m_moved)
        return finishDrag(event);
    if (m_gesture == Gesture::Drag) {
        // A click on the selection is a click like any other.
        m_gesture = Gesture::Draw;
        begin(m_press);
        extend(event);
    }
    if (m_gesture == Gesture::Draw)
        return release(event) && finishDrawing(event, !m_moved);
    m_gesture = Gesture::None;
    return false;
}

bool SelectionTool::finishDrawing(const MouseEvent& event, bool isClick)
{
    m_gesture = Gesture::None;
    pointed(event, isClick);
    m_cancelled = false;
    const QPainterPath drawn = isClick && !clickDraws() ? QPainterPath() : shape();
    dropped();
    return !m_cancelled && apply(drawn);
}

bool SelectionTool::goesOn(double share)
{
    if (context.progress && !m_cancelled)
        m_cancelled = !context.progress->goesOn(share);
    return !m_cancelled;
}

// What has no area takes away what it would replace, and changes nothing else.
bool SelectionTool::apply(const QPainterPath& shape)
{
    ISelection& selection = *context.selection;
    if (shape.isEmpty() && (m_operation != Operation::Replace || selection.isEmpty()))
        return false;
    const PointD f = fade();
    switch (m_operation) {
    case Operation::Replace:
        selection.clear();
        selection.add(shape, f.x, f.y, false);
        break;
    case Operation::Add:
        selection.add(shape, f.x, f.y, false);
        break;
    case Operation::Subtract:
        selection.subtract(shape, f.x, f.y, false, false);
        break;
    case Operation::Intersect:
        selection.intersect(shape, f.x, f.y, false);
        break;
    }
    return true;
}

Area SelectionTool::draggedTo(const MouseEvent& event) const
{
    const PointD offset{event.position.x - m_press.position.x, event.position.y - m_press.position.y};
    return selectionbox::dragged(m_from, m_grip, offset, limits(), event.pixelSize);
}

bool SelectionTool::finishDrag(const MouseEvent& event)
{
    m_gesture = Gesture::None;
    m_to = draggedTo(event);
    if (m_to == m_from)
        return false;
    selectionbox::fit(*context.selection, m_to);
    return true;
}

bool SelectionTool::applyTyped()
{
    const std::optional<Area> area = page().takeTyped(context);
    if (!area || m_gesture != Gesture::None)
        return false;
    ISelection& selection = *context.selection;
    if (selection.isEmpty()) {
        const PointD f = fade();
        selection.add(outline::rectangle(*area), f.x, f.y, false);
    } else {
        selectionbox::fit(selection, *area);
    }
    return true;
}

QPainterPath SelectionTool::drawn()
{
    if (m_gesture == Gesture::Drag && m_moved)
        return selectionbox::fitted(m_fromPath, m_from, m_to);
    return m_gesture == Gesture::Draw ? drawing() : QPainterPath();
}

QCursor SelectionTool::drawingCursor(const MouseEvent&)
{
    return Qt::CrossCursor;
}

QCursor SelectionTool::cursorFor(const MouseEvent& event)
{
    if (m_gesture == Gesture::Drag)
        return cursorOf(m_grip);
    const uint32_t grip = m_gesture != Gesture::None || operationOf(event.modifiers) != Operation::Replace
                              ? uint32_t(selectionbox::GripNone)
                              : selectionbox::gripAt(*context.selection, event.position, event.pixelSize);
    return grip == selectionbox::GripNone ? drawingCursor(event) : QCursor(cursorOf(grip));
}

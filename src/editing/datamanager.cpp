#include "editing/datamanager.h"

#include "plugins/itoolplugin.h"

#include <QWidget>

DataManager::DataManager(QWidget* window)
    : QObject(window),
      IEvent(QStringLiteral("DataManager")),
      m_desk(this, window),
      m_clipboard(m_desk),
      m_selection(m_desk),
      m_time(m_desk),
      m_tool(m_desk, this, [this] { Q_EMIT toolFailed(); }),
      m_process(m_desk)
{
    connect(&m_desk, &EditDesk::selectionEnabled, this, &DataManager::selectionEnabled);
    connect(&m_desk, &EditDesk::selectionBackupEnabled, this, &DataManager::selectionBackupEnabled);
    connect(&m_desk, &EditDesk::selectionLoadEnabled, this, &DataManager::selectionLoadEnabled);
    connect(&m_desk, &EditDesk::becameIdle, this, &DataManager::becameIdle);
    connect(&m_process, &ProcessRunner::stopRequested, this, &DataManager::stopRequested);
    connect(&m_clipboard, &ClipboardCommands::clipboardEnabled, this, &DataManager::clipboardEnabled);
    const auto hear = [this](void (DataManager::*signal)(), const char* slot) {
        connect(this, signal, this, [this, slot] { m_tool.invoke(slot); });
    };
    hear(&DataManager::increaseBrushSize, "increaseBrushSize");
    hear(&DataManager::decreaseBrushSize, "decreaseBrushSize");
    hear(&DataManager::increaseBrushAspectRatio, "increaseBrushAspectRatio");
    hear(&DataManager::decreaseBrushAspectRatio, "decreaseBrushAspectRatio");
    hear(&DataManager::increaseBrushHardness, "increaseBrushHardness");
    hear(&DataManager::decreaseBrushHardness, "decreaseBrushHardness");
}

DataManager::~DataManager() = default;

void DataManager::setPluginPatience(int64_t milliseconds)
{
    m_tool.setPatience(milliseconds);
    m_process.setPatience(milliseconds);
}

void DataManager::executeTool()
{
    const QObject* asker = sender();
    if (asker && asker->metaObject()->indexOfSignal("requestMouseEvent()") >= 0 && asker != m_tool.plugin())
        return;
    m_tool.execute(ToolRequested);
}

void DataManager::samplingFormatEvent(EventId, const SamplingFormat& format)
{
    m_desk.formatChanged(format);
}

void DataManager::channelsModeEvent(EventId, const ChannelsMode& mode)
{
    m_desk.state().channels = mode;
    m_desk.touched();
}

void DataManager::transformEvent(EventId, const TransformSettings& settings)
{
    m_desk.transformChanged(settings);
}

void DataManager::layerRootEvent(EventId, const LayerRoot& root)
{
    m_desk.rootChanged(root);
}

void DataManager::layerEvent(EventId id, const ILayerPtr&)
{
    if (id == EventId::LayerActivate)
        m_desk.activeChanged();
    else
        m_desk.touched();
}

void DataManager::timeBaseEvent(EventId id, const TimeBase& base)
{
    m_desk.setTimeBase(id, base);
}

void DataManager::timeUnitEvent(EventId id, const int32_t& unit)
{
    m_desk.setUnit(id, unit);
}

void DataManager::freqUnitEvent(EventId id, const int32_t& unit)
{
    m_desk.setUnit(id, unit);
}

void DataManager::freqScaleEvent(EventId id, const int32_t& scale)
{
    m_desk.setUnit(id, scale);
}

void DataManager::areaEvent(EventId, const Area& area)
{
    m_desk.state().area = area;
    m_desk.touched();
}

void DataManager::selectionEvent(EventId, const Selection& selection)
{
    m_desk.selectionChanged(selection);
}

void DataManager::transportPositionEvent(EventId id, const int64_t& position)
{
    if (id != EventId::TransportPositionChange)
        return;
    m_desk.state().transportPosition = position;
    m_desk.touched();
}

void DataManager::mousePositionEvent(EventId, const MouseEvent& event)
{
    m_tool.setMouse(event);
    m_tool.execute();
}

void DataManager::controlIdEvent(EventId, const int32_t& id)
{
    m_tool.setControlId(id);
}

void DataManager::toolEvent(EventId id)
{
    m_tool.setTool(id, nullptr);
}

void DataManager::toolPluginEvent(EventId id, const ToolActivation& tool)
{
    m_tool.setTool(id, tool.plugin);
}

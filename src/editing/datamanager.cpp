#include "editing/datamanager.h"

#include "plugins/itoolplugin.h"

#include <QWidget>

DataManager::DataManager(QWidget* window)
    : QObject(window),
      IEvent(QStringLiteral("DataManager")),
      m_desk(this, window),
      m_clipboard(m_desk),
      m_selection(m_desk),
      m_tool(m_desk, this),
      m_process(m_desk)
{
    connect(&m_desk, &EditDesk::selectionEnabled, this, &DataManager::selectionEnabled);
    connect(&m_desk, &EditDesk::selectionBackupEnabled, this, &DataManager::selectionBackupEnabled);
    connect(&m_desk, &EditDesk::selectionLoadEnabled, this, &DataManager::selectionLoadEnabled);
    connect(&m_desk, &EditDesk::becameIdle, this, &DataManager::becameIdle);
    connect(&m_process, &ProcessRunner::stopRequested, this, &DataManager::stopRequested);
    connect(&m_clipboard, &ClipboardCommands::clipboardEnabled, this, &DataManager::clipboardEnabled);
}

DataManager::~DataManager() = default;

void DataManager::samplingFormatEvent(EventId, const SamplingFormat& format)
{
    m_desk.state().format = format;
}

void DataManager::channelsModeEvent(EventId, const ChannelsMode& mode)
{
    m_desk.state().channels = mode;
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
}

void DataManager::areaEvent(EventId, const Area& area)
{
    m_desk.state().area = area;
}

void DataManager::selectionEvent(EventId, const Selection& selection)
{
    m_desk.selectionChanged(selection);
}

void DataManager::transportPositionEvent(EventId id, const int64_t& position)
{
    if (id == EventId::TransportPositionChange)
        m_desk.state().transportPosition = position;
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

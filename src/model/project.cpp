#include "model/project.h"

Project::Project(const SamplingFormat& format)
    : channelsMode(format.channels),
      m_format(format),
      m_root(format)
{
    transform.sampleType = format.sampleType;
}

Area Project::wholeArea() const
{
    return fullBandArea(m_format, layers()->range());
}

void Project::resetHistory(const QString& stateName)
{
    layers()->resetBackup(ChildrenAll);
    HistoryEntry entry;
    entry.name = stateName;
    entry.icon = QIcon(QStringLiteral(":/icons/%1.png").arg(stateName.toLower()));
    history = {entry};
    historyIndex = 0;
}

#include "projectfiles/projectreader.h"

#include "projectfiles/projectdefaults.h"
#include "projectfiles/projectfields.h"

#include <algorithm>

#include <QCoreApplication>
#include <QDir>

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("ProjectReader", text);
}

} // namespace

QStringList DamageList::lines() const
{
    QStringList lines = m_lines;
    if (m_more > 0)
        lines << tr("... and %1 more.").arg(m_more);
    return lines;
}

bool ProjectReader::begin(SamplingFormat format)
{
    if (!sanitizeFormat(format))
        return false;
    m_project = makeProject(format);
    m_tree.emplace(*m_project);
    return true;
}

bool ProjectReader::hasRoom()
{
    if (!m_tree->isFull())
        return true;
    m_damage.add(tr("There are more than %1 layers and groups.").arg(ProjectTree::maxNodes));
    return false;
}

bool ProjectReader::fits(ReadNode& node)
{
    const SamplingFormat own = m_project->format();
    node.format.channelsMask = own.channelsMask;
    if (node.format == own)
        return true;
    const bool sameSamples = node.format.channels == own.channels && node.format.sampleType == own.sampleType;
    m_damage.add(
        (sameSamples
             ? tr("\"%1\" tells another format than its project and was taken to have that of the project.")
             : tr("\"%1\" has samples of another format than its project and was left out."))
            .arg(node.header.name));
    node.format = own;
    return sameSamples;
}

bool ProjectReader::addLayer(const ReadNode& read, const Source& source)
{
    ReadNode node = read;
    if (!hasRoom() || !fits(node))
        return true;
    const LayerFactory::Made made = source({node.format, node.header, node.start, node.length, node.first});
    if (!made.layer) {
        m_noRoom = made.words;
        return false;
    }
    if (!made.words.isEmpty() && made.told)
        m_damage.add(QStringLiteral("\"%1\": %2").arg(node.header.name, made.words));
    m_tree->add(made.layer);
    ++m_layers;
    return true;
}

void ProjectReader::addGroup(const ReadNode& read)
{
    ReadNode node = read;
    if (!hasRoom())
        return;
    (void)fits(node); // a group has no samples
    const LayerGroupPtr group = LayerGroup::create(node.format, node.header, false);
    group->setOpen(node.isOpen);
    m_tree->add(group, node.count);
}

void ProjectReader::addTag(const QString& tag, const QString& text)
{
    if (m_project->metadata.size() < maxTags)
        m_project->metadata.insert(tag, text);
    else
        m_damage.add(tr("There are more than %1 tags.").arg(maxTags));
}

void ProjectReader::addMarker(const Marker& marker)
{
    if (m_markers.size() + m_spectralMarkers.size() < maxMarkers)
        m_markers << marker;
    else
        m_damage.add(tr("There are more than %1 markers.").arg(maxMarkers));
}

void ProjectReader::addSpectralMarker(const SpectralMarker& marker)
{
    if (m_markers.size() + m_spectralMarkers.size() < maxMarkers)
        m_spectralMarkers << marker;
    else
        m_damage.add(tr("There are more than %1 markers.").arg(maxMarkers));
}

int ProjectReader::takeText(int64_t units)
{
    const int64_t taken = std::clamp<int64_t>(units, 0, maxTextUnits - m_textUnits);
    if (taken < units)
        m_damage.add(tr("The texts are longer than %1 characters.").arg(maxTextUnits));
    m_textUnits += taken;
    return int(taken);
}

ProjectReadResult ProjectReader::refusal(const QString& title, const QString& text, const QString& cause)
{
    ProjectReadResult result;
    result.title = title;
    result.text = text;
    result.cause = cause;
    return result;
}

ProjectReadResult ProjectReader::unreadable(const QString& cause)
{
    return refusal(QCoreApplication::translate("ProjectTabs", "Error Reading File"),
                   QCoreApplication::translate("ProjectTabs", "The file you selected could not be read."),
                   cause);
}

ProjectReadResult ProjectReader::named(ProjectReadResult result, const QString& path)
{
    if (result.text.isEmpty())
        return result;
    const QString file = QDir::toNativeSeparators(path);
    result.cause = result.cause.isEmpty() ? file : file + QLatin1String(": ") + result.cause;
    return result;
}

ProjectReadResult ProjectReader::giveUp()
{
    m_factory.abandon();
    ProjectReadResult result;
    result.cancelled = m_noRoom.isEmpty();
    if (!result.cancelled)
        result = refusal(
            QCoreApplication::translate("ProjectTabs", "Error Reading File"),
            QCoreApplication::translate("ProjectTabs", "The samples of the file could not be stored."),
            m_noRoom);
    if (m_tree)
        m_tree->finish(); // the layers die with the project
    return result;
}

ProjectReadResult ProjectReader::finish()
{
    m_tree->finish();
    m_damage.add(m_tree->damage());
    m_project->setMarkerList(m_markers);
    m_project->setSpectralMarkerList(m_spectralMarkers);
    projectfields::finishSettings(*m_project);
    ProjectReadResult result;
    result.damage = m_damage.lines();
    if (!m_damage.isEmpty()) {
        m_project->setFilePath({});
        m_project->modified = true;
    }
    result.project = m_project;
    return result;
}

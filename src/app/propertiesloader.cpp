#include "app/propertiesloader.h"

#include "base/platform.h"
#include "ui/widgets/usersettings.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QXmlStreamReader>

namespace {

QString ownSubfolder(const QString& folder, const char* name)
{
    return folder + QLatin1Char('/') + QCoreApplication::organizationName() + QLatin1Char('/') +
           QCoreApplication::applicationName() + QLatin1Char('/') + QLatin1String(name);
}

// Where sessions, logs and presets lie as long as the user says nothing else.
QString defaultFolder(const char* key)
{
    if (qstrcmp(key, "sessionpath") == 0)
        return QStandardPaths::writableLocation(QStandardPaths::CacheLocation);
    if (qstrcmp(key, "logspath") == 0)
        return ownSubfolder(platform::stateFolder(), "logs");
    return ownSubfolder(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation), "presets");
}

// The value of one element: its text, or a hash when it has attributes of its own.
QVariant readValue(QXmlStreamReader& xml)
{
    const QXmlStreamAttributes attributes = xml.attributes();
    const QString content = xml.readElementText();
    QVariantHash hash;
    bool plain = true;
    for (const QXmlStreamAttribute& attribute : attributes) {
        hash.insert(attribute.name().toString(), attribute.value().toString());
        plain = plain &&
                (attribute.name() == QLatin1String("id") || attribute.name() == QLatin1String("platform"));
    }
    if (plain)
        return content;
    hash.insert(QStringLiteral("content"), content);
    return hash;
}

} // namespace

PropertiesLoader::PropertiesLoader(QCoreApplication& application, Input input)
    : m_application(application),
      m_input(std::move(input))
{
}

QString PropertiesLoader::text(const char* key) const
{
    return m_application.property(key).toString();
}

void PropertiesLoader::loadFactory()
{
    m_application.setProperty("sessionid", m_input.sessionId);
    m_application.setProperty("path", QDir(m_input.modulePath + QLatin1String("/..")).absolutePath());
    loadEdition();
    QFile settings(QStringLiteral(":/resources/settings.xml"));
    if (settings.open(QIODevice::ReadOnly))
        readSettings(settings);
    nameApplication();
    computePaths();
    snapshot();
}

void PropertiesLoader::loadEdition()
{
    QString edition;
    QFile file(text("path") + QLatin1String("/Resources/edition"));
    if (file.open(QIODevice::ReadOnly))
        edition = QString::fromUtf8(file.readLine(256)).trimmed();
    if (!m_input.edition.isNull())
        edition = m_input.edition;
    m_application.setProperty("edition", edition);
}

void PropertiesLoader::readSettings(QIODevice& device)
{
    QXmlStreamReader xml(&device);
    if (!xml.readNextStartElement() || xml.name() != QLatin1String("settings"))
        return;
    // An edition block that applies is walked as if its children stood in the root, so the ends of
    // elements that come by here are those of blocks and of the root.
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        const QString id = xml.attributes().value(QLatin1String("id")).toString();
        if (xml.name() == QLatin1String("edition")) {
            if (text("edition").isEmpty())
                m_application.setProperty("edition", id);
            if (text("edition") != id)
                xml.skipCurrentElement();
            continue;
        }
        const bool foreign = xml.attributes().value(QLatin1String("platform")) == QLatin1String("mac");
        const QString name = xml.name().toString() + (id.isEmpty() ? QString() : QLatin1Char('@') + id);
        const QVariant value = readValue(xml);
        if (!foreign && !xml.hasError())
            m_application.setProperty(name.toUtf8().constData(), value);
    }
}

void PropertiesLoader::nameApplication()
{
    QCoreApplication::setApplicationName(text("name"));
    QCoreApplication::setApplicationVersion(
        QStringLiteral("%1.%2.%3 Build %4").arg(text("major"), text("minor"), text("patch"), text("build")));
    QCoreApplication::setOrganizationName(text("vendor"));
    QCoreApplication::setOrganizationDomain(text("vendorwebsite"));
}

void PropertiesLoader::computePaths()
{
    m_application.setProperty("pluginspath", text("path") + QLatin1String("/Plugins"));
    for (const char* key : {"helppath", "manualpath", "tutorialspath"}) {
        const QString value = text(key);
        if (!value.isEmpty() && value.left(4) != QLatin1String("http"))
            m_application.setProperty(
                key, QString(QLatin1String("file:///") + text("path") + QLatin1Char('/') + value));
    }
    for (const char* key : {"sessionpath", "logspath", "presetspath"})
        m_application.setProperty(key, defaultFolder(key));
}

void PropertiesLoader::snapshot()
{
    QVariantHash all;
    for (const QByteArray& name : m_application.dynamicPropertyNames())
        all.insert(QString::fromUtf8(name), m_application.property(name.constData()));
    m_application.setProperty("defaultsettings", all);
}

void PropertiesLoader::applyUserSettings()
{
    {
        UserSettings settings;
        const QString key = QStringLiteral("settingsversion");
        // A build with another settings version throws away all that was stored before it.
        if (settings.value(key, 0).toInt() != m_application.property("settingsversion").toInt()) {
            settings.clear();
            settings.setValue(key, m_application.property("settingsversion"));
        }
        if (m_input.reset)
            settings.clear();
        for (const QString& name : settings.allKeys())
            m_application.setProperty(name.toLatin1().constData(), settings.value(name));
    }
    for (const char* key : {"sessionpath", "logspath", "presetspath"})
        makeFolder(key);
}

void PropertiesLoader::makeFolder(const char* key)
{
    if (platform::makePrivateFolder(text(key)))
        return;
    QString fallback = defaultFolder(key);
    if (qstrcmp(key, "sessionpath") == 0) {
        fallback = QDir::toNativeSeparators(fallback);
        static_cast<void>(platform::makePrivateFolder(fallback)); // no third place to go to
    }
    m_application.setProperty(key, fallback);
}

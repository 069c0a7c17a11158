// Fills the property store of the application, layer on layer.
#pragma once

#include <QIODevice>
#include <QString>

class QCoreApplication;

// Used once, in start-up, by the main thread. The order of the calls is that of the members.
class PropertiesLoader
{
public:
    struct Input
    {
        QString sessionId;
        QString modulePath; // folder of the running module, with or without trailing separator
        QString edition;    // value of -edition, null without
        bool reset = false; // -reset
    };

    PropertiesLoader(QCoreApplication& application, Input input);

    // Factory values: session id, path, edition, settings.xml, names of the application, computed
    // paths. Then the snapshot `defaultsettings`.
    void loadFactory();
    // The user's settings on top, or none of them with -reset; then the folders that the paths name
    // are made, the default one where that fails.
    void applyUserSettings();

    // Reads one settings file into the store; ends early, without a word, where it is broken. The
    // property `edition` says which block applies, and takes the id of the first one while empty.
    void readSettings(QIODevice& device);

private:
    [[nodiscard]] QString text(const char* key) const;
    void loadEdition();
    void nameApplication();
    void computePaths();
    void snapshot();
    void makeFolder(const char* key);

    QCoreApplication& m_application;
    Input m_input;
};

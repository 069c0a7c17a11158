// A window whose plug-ins are those of a test.
#pragma once

#include "ui/windowenvironment.h"

class PluginTest : public WindowTest
{
protected:
    void SetUp() override
    {
        WindowTest::SetUp();
        m_rows = rows();
        m_pluginsPath = qApp->property("pluginspath");
        for (const char* key : {"defaulttool", "defaulttoolplugin", "defaulttoolmode", "fault"})
            qApp->setProperty(key, QVariant());
    }
    void TearDown() override
    {
        WindowTest::TearDown();
        qApp->setProperty("fault", QVariant());
        for (const QByteArray& name : rows().keys())
            qApp->setProperty(name, QVariant());
        for (auto row = m_rows.begin(); row != m_rows.end(); ++row)
            qApp->setProperty(row.key(), row.value());
        qApp->setProperty("pluginspath", m_pluginsPath);
    }

    // The window of a program that has the WAV reader and the libraries named, in this order.
    MainWindow& showWith(const QStringList& libraries)
    {
        for (const QByteArray& name : rows().keys())
            qApp->setProperty(name, QVariant());
        const QString folder = m_folder + QStringLiteral("/Plugins/Test");
        EXPECT_TRUE(QDir().mkpath(folder));
        QFile::copy(QStringLiteral(MORVANE_BINARIES "/../Plugins/Files/ffmpeg.so"), folder + "/ffmpeg.so");
        for (const QString& name : libraries) {
            QString library = QStringLiteral("%1/%2.so").arg(m_libraries, name);
            if (!QFile::exists(library)) // one that ships with the program
                library = QStringLiteral(MORVANE_BINARIES "/../Plugins/Tools/%1.so").arg(name);
            QFile::copy(library, folder + QStringLiteral("/%1.so").arg(name));
        }
        qApp->setProperty("pluginspath", m_folder + QStringLiteral("/Plugins"));
        const QStringList names = QStringList(QStringLiteral("ffmpeg")) + libraries;
        qApp->setProperty("include@test",
                          QVariantHash{{QStringLiteral("path"), QStringLiteral("Plugins/Test")},
                                       {QStringLiteral("content"), names.join(QLatin1Char(' '))}});
        return show();
    }

    QString m_libraries = QStringLiteral(TEST_PLUGINS); // where the libraries lie

private:
    static QHash<QByteArray, QVariant> rows()
    {
        QHash<QByteArray, QVariant> found;
        for (const QByteArray& name : qApp->dynamicPropertyNames())
            if (name.startsWith("include"))
                found.insert(name, qApp->property(name));
        return found;
    }
    QHash<QByteArray, QVariant> m_rows;
    QVariant m_pluginsPath;
};

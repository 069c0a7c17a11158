// The whole window with real dialogs and boxes, for tests of the commands on whole projects.
#pragma once

#include "ui/dialogscript.h"
#include "ui/windowenvironment.h"

#include <QComboBox>
#include <QDoubleSpinBox>
#include <QSpinBox>

class ProjectFlows : public WindowTest
{
protected:
    void SetUp() override
    {
        WindowTest::SetUp();
        messages::setAnswerer({}); // real boxes
        filechooser::setChooser([this](const filechooser::Request& request) {
            m_requests.push_back(request);
            return filechooser::Choice{m_chosen, request.filters.value(0), m_several};
        });
        show();
    }

    // Accepts the dialog of a new project, after `change`.
    void newProject(const std::function<void(QDialog&)>& change = {})
    {
        DialogScript script;
        script.on("New Project", [&](QDialog& dialog) {
            if (change)
                change(dialog);
            DialogScript::press(dialog, "Create");
        });
        action("filenew").trigger();
    }
    ProjectPtr front() { return tabs().currentProject(); }
    QString title(int tab) { return tabs().tabText(tab); }
    ProjectPtr openTone(const char* name, double seconds = 1, int channels = 1, int rate = 16000)
    {
        EXPECT_TRUE(tabs().parse(makeTone(name, seconds, channels, 1000, 0.1f, rate)));
        return front();
    }
    // An edit as far as documents are concerned: samples change, and a state is recorded.
    void edit(float value = 0.5f)
    {
        const std::vector<float> samples(100 * std::size_t(front()->format().channels), value);
        ASSERT_TRUE(front()->activeLayer()->write(samples.data(), {0, 100}, -1, true));
        HistoryEntry entry;
        entry.name = QStringLiteral("Edit");
        postEvent(nullptr, EventId::HistoryRecord, entry, nullptr);
    }
    static QByteArray bytesOf(const QString& path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    void saveTo(const char* name)
    {
        m_chosen = path(name);
        ASSERT_TRUE(tabs().saveAs());
    }

    QStringList m_several; // what an import dialog answers
};

inline QComboBox& combo(QDialog& dialog, const char* name)
{
    return *dialog.findChild<QComboBox*>(QString::fromLatin1(name));
}

inline void setRate(QDialog& dialog, double rate)
{
    dialog.findChild<QDoubleSpinBox*>(QStringLiteral("formatrate"))->setValue(rate);
}

inline void setChannels(QDialog& dialog, int count)
{
    dialog.findChild<QSpinBox*>(QStringLiteral("formatchannels"))->setValue(count);
}

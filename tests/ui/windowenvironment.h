// A QApplication with the properties, the look and the drawing interface of the real program, and a
// fixture that opens its main window and answers boxes and file dialogs by script.
#pragma once

#include "app/propertiesloader.h"
#include "app/rendering.h"
#include "display/channelsdisplay.h"
#include "display/spectralchannel.h"
#include "projectfiles/projecttabs.h"
#include "support/testsupport.h"
#include "ui/actiontable.h"
#include "ui/mainwindow.h"
#include "ui/sessionrecords.h"
#include "ui/stylesheet.h"
#include "ui/widgets/filechooser.h"
#include "ui/widgets/messages.h"
#include "ui/widgets/usersettings.h"

#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QtEndian>
#include <QWindow>

#include <functional>
#include <memory>
#include <vector>

class WindowEnvironment : public testing::Environment
{
public:
    void SetUp() override
    {
        static int argc = 1;
        static char name[] = "test";
        static char* argv[] = {name, nullptr};
        m_application = std::make_unique<QApplication>(argc, argv);
        setWidgetStyle();
        PropertiesLoader loader(
            *m_application,
            {QStringLiteral("Morvane test"), QStringLiteral(MORVANE_BINARIES "/"), {}, false});
        loader.loadFactory();
        loader.applyUserSettings();
        ASSERT_TRUE(chooseRendering());
    }
    void TearDown() override { m_application.reset(); }

private:
    std::unique_ptr<QApplication> m_application;
};

// A WAV file of 32-bit floats.
inline void writeFloatWave(const QString& path, int rate, int channels, const std::vector<float>& interleaved)
{
    const quint32 bytes = quint32(interleaved.size() * 4);
    QByteArray head("RIFF\0\0\0\0WAVEfmt \20\0\0\0\3\0", 22);
    qToLittleEndian<quint32>(36 + bytes, head.data() + 4);
    const auto append = [&head](auto value) {
        const auto little = qToLittleEndian(value);
        head.append(reinterpret_cast<const char*>(&little), sizeof little);
    };
    append(quint16(channels));
    append(quint32(rate));
    append(quint32(rate * channels * 4));
    append(quint16(channels * 4));
    append(quint16(32));
    head += "data";
    append(bytes);
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(head);
    file.write(reinterpret_cast<const char*>(interleaved.data()), bytes);
}

// All samples of a project's mix, channels interleaved.
inline std::vector<float> samplesOf(const Project& project)
{
    const Range range = project.layers()->range();
    std::vector<float> samples(
        std::size_t(range.length * project.format().channels * project.format().sampleType));
    project.layers()->read(samples.data(), range, -1, true);
    return samples;
}

class WindowTest : public testing::Test
{
protected:
    void SetUp() override
    {
        m_folder = testsupport::makeFolder(QStringLiteral("window"));
        m_session = testsupport::makeFolder(QStringLiteral("session"));
        qApp->setProperty("sessionpath", m_session);
        qApp->setProperty("importqueue", QByteArray());
        qApp->setProperty("maxsamplerate", QStringLiteral("192000"));
        qApp->setProperty("maxchannels", QStringLiteral("8"));
        UserSettings().clear();
        messages::setAnswerer([this](const messages::Box& box) {
            m_boxes.push_back(box);
            return box.defaultButton;
        });
        filechooser::setChooser([this](const filechooser::Request& request) {
            m_requests.push_back(request);
            return filechooser::Choice{m_chosen, request.filters.value(0)};
        });
    }
    void TearDown() override
    {
        m_window.reset();
        messages::setAnswerer({});
        filechooser::setChooser({});
    }

    MainWindow& show()
    {
        m_window.reset(); // one window, one session
        m_window = std::make_unique<MainWindow>(false);
        m_window->resize(1000, 600);
        m_window->show();
        QApplication::setActiveWindow(m_window.get());
        EXPECT_TRUE(testsupport::waitFor([this] { return m_window->windowHandle()->isExposed(); }));
        return *m_window;
    }
    ProjectTabs& tabs() { return m_window->projectTabs(); }
    ChannelsDisplay& display() { return m_window->channelsDisplay(); }
    QAction& action(const char* id) { return *m_window->actionTable().action(QString::fromLatin1(id)); }

    void queue(const SessionRecord& record)
    {
        qApp->setProperty("importqueue",
                          qApp->property("importqueue").toByteArray() + toSessionBytes(record));
    }
    void queueFile(const QString& path, SessionHeader header = SessionHeader::Edit, int64_t start = 0)
    {
        SessionRecord record;
        record.header = header;
        record.path = path;
        record.startSample = start;
        record.source = QStringLiteral("test");
        queue(record);
    }
    // All but the lock that a running session holds.
    [[nodiscard]] QStringList sessionFiles() const
    {
        QStringList names = QDir(m_session).entryList(QDir::Files);
        names.removeAll(QStringLiteral("session_Morvane test.lock"));
        return names;
    }
    [[nodiscard]] QString path(const char* name) const
    {
        return m_folder + QLatin1Char('/') + QLatin1String(name);
    }

    // A sinusoid in each channel, `hz` times the channel's number plus 1.
    QString makeTone(const char* name, double seconds, int channels = 1, double hz = 1000,
                     float amplitude = 0.1f, int rate = 16000)
    {
        std::vector<float> samples;
        const auto frames = int64_t(seconds * rate);
        for (int64_t i = 0; i < frames; ++i)
            for (int c = 0; c < channels; ++c)
                samples.push_back(amplitude * float(std::sin(2 * M_PI * hz * (c + 1) * double(i) / rate)));
        const QString file = path(name);
        writeFloatWave(file, rate, channels, samples);
        return file;
    }

    QString m_folder;
    QString m_session;
    QString m_chosen; // what the file dialogs answer
    std::vector<messages::Box> m_boxes;
    std::vector<filechooser::Request> m_requests;
    std::unique_ptr<MainWindow> m_window;
};

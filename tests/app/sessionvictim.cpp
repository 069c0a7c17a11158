// The program without its views: tabs, history, session cache and recovery, driven by its command line,
// so that tests can kill it anywhere. Needs no display.
//
//   sessionvictim <session id> <command>...
//   open:<file>    import:<file>    a recording of the suffix "ramp", its contents a number, and perhaps how
//                                   many parts of 10000 samples: a new tab, or a layer of the one in front
//   edit:<value>   insert   crop   mark   undo   redo      actions on the first layer in front
//   scatter:<value>  writes at many places, backwards and forwards     grow:<value>  writes behind the end
//   reject         an action that the history takes back for lack of room
//   shrink         cuts the end off            cut:<start>    of 20 seconds in the middle of the band
//   paste   deselect   deletetime                          of the menus
//   duplicate      the project in front
//   format:<rate>  resamples the project in front, through the dialog
//   save:<file>    the project in front, by suffix; prints "saved <state>"
//   read:<file>    prints "file <state>", or "file damaged"
//   recover        answers the question by Yes
//   ask:<answer>   a start that answers Yes, No or Reset
//   close          all tabs, without asking
//   wait           until it is killed
//   pause:<ms>     lets time pass
//   rescue:<file>  nothing, but when a command has failed it is edited further and saved there; prints
//                  "rescued" then
// Prints "begin", and after each command "done <state>": a state is a hash of everything that the
// document in each tab holds. Boxes and warnings of the log are printed; boxes are answered by their
// default button.
#include "app/propertiesloader.h"
#include "base/faults.h"
#include "base/platform.h"
#include "editing/datamanager.h"
#include "model/history.h"
#include "plugins/ifileplugin.h"
#include "projectfiles/projectbinary.h"
#include "projectfiles/projecttabs.h"
#include "projectfiles/projectxml.h"
#include "projectfiles/recovery.h"
#include "ui/widgets/messages.h"
#include "ui/widgets/qlineeditext.h"

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <memory>
#include <vector>

#include <QApplication>
#include <QCryptographicHash>
#include <QDialog>
#include <QDoubleSpinBox>
#include <QEventLoop>
#include <QFile>
#include <QPainterPath>
#include <QTimer>

namespace {

QMessageBox::StandardButton answerToRecover = QMessageBox::Yes;

bool hasFailed = false; // the command in work has told so

QMessageBox::StandardButton answer(const messages::Box& box)
{
    hasFailed = hasFailed || box.icon == QMessageBox::Critical;
    std::printf("box %s|%s|%s\n", box.title.toUtf8().constData(), box.text.toUtf8().constData(),
                box.informative.toUtf8().constData());
    return box.buttons.testFlag(QMessageBox::Reset) ? answerToRecover : box.defaultButton;
}

// Sample n of a file is its number plus n.
class RampPlugin final : public IFilePlugin
{
public:
    bool init(const QString&, QWidget*) override { return true; }
    QString description() const override { return QStringLiteral("ramps"); }
    QStringList importFilters() const override { return {QStringLiteral("Ramp (*.ramp)")}; }
    QStringList exportFilters() const override { return {}; }
    bool importFile(const QString& path, IImportSink& sink) override
    {
        QFile file(path);
        if (!file.open(QFile::ReadOnly))
            return false;
        const QList<QByteArray> words = file.readAll().trimmed().split(' ');
        const float first = words[0].toFloat();
        const int parts = words.size() > 1 ? words[1].toInt() : 5;
        ImportInfo info;
        info.format.sampleType = 1;
        info.format.sampleRate = 8000;
        info.format.channels = 1;
        info.format.channelsMask = 4;
        if (!sink.begin(info))
            return false;
        std::vector<float> block(10000);
        for (int part = 0; part < parts; ++part) {
            for (std::size_t i = 0; i < block.size(); ++i)
                block[i] = first + float(part * 10000 + int(i));
            if (!sink.samples(block.data(), int64_t(block.size())))
                return false;
        }
        return true;
    }
    bool exportFile(const QString&, const QString&, IExportSource&) override { return false; }
};

void log(QtMsgType type, const QMessageLogContext&, const QString& text)
{
    if (type != QtDebugMsg && type != QtInfoMsg)
        std::printf("warning %s\n", text.toUtf8().constData());
}

void add(QCryptographicHash& hash, const QByteArray& bytes)
{
    hash.addData(QByteArray::number(bytes.size()));
    hash.addData(bytes);
}

void add(QCryptographicHash& hash, const Project& project)
{
    add(hash, QByteArray::number(project.format().sampleRate));
    for (const ILayerPtr& node : project.root().allLayers()) {
        add(hash, node->name().toUtf8());
        const auto layer = std::dynamic_pointer_cast<Layer>(node);
        if (!layer || node->type() != LayerTypeLayer)
            continue;
        const Range span = layer->dataRange();
        add(hash, QByteArray::number(qlonglong(span.start)));
        std::vector<float> samples(std::size_t(span.length * layer->format().frameBytes() / 4));
        layer->readData(samples.data(), span);
        add(hash, QByteArray(reinterpret_cast<const char*>(samples.data()), int(samples.size() * 4)));
    }
    for (const Marker& marker : project.markerList())
        add(hash, QByteArray::number(qlonglong(marker.position)));
}

QByteArray stateOf(const QList<ProjectPtr>& projects)
{
    QList<QByteArray> each;
    for (const ProjectPtr& project : projects) {
        QCryptographicHash hash(QCryptographicHash::Sha1);
        add(hash, *project);
        each << hash.result().toHex().left(12);
    }
    std::sort(each.begin(), each.end()); // a recovery may open them in another order
    return each.isEmpty() ? "none" : each.join('+');
}

class Victim
{
public:
    Victim()
    {
        m_tabs.setFilePlugins({&m_plugin});
        QObject::connect(&m_history, &History::storageFailed, [](const QString& words) {
            hasFailed = true;
            std::printf("refused %s\n", words.toUtf8().constData());
        });
    }
    // When a command has failed.
    void rescue(const QStringList& words);
    // False for what it does not know, or could not do.
    bool run(const QString& command, const QString& argument);
    [[nodiscard]] QByteArray state() const
    {
        QList<ProjectPtr> projects;
        for (int tab = 0; tab < m_tabs.count(); ++tab)
            projects << m_tabs.project(tab);
        return stateOf(projects);
    }

private:
    [[nodiscard]] LayerPtr layer() const
    {
        const ProjectPtr project = m_tabs.currentProject();
        return project
                   ? std::dynamic_pointer_cast<Layer>(project->layers()->children(ChildrenDirect).value(0))
                   : nullptr;
    }
    bool act(const QString& command, float value);
    static void record(const QString& name);
    bool reject();
    bool cut(double start);
    bool useMenus(const QString& command);
    bool save(const QString& path);
    bool changeFormat(double rate);
    static bool read(const QString& path);

    RampPlugin m_plugin;
    ProjectTabs m_tabs;
    History m_history;
    DataManager m_data{nullptr};
};

bool Victim::act(const QString& command, float value)
{
    const LayerPtr target = layer();
    if (!target)
        return false;
    const std::vector<float> samples(20000, value);
    if (command == QLatin1String("edit")) {
        target->write(samples.data(), {100, 20000}, -1, true);
    } else if (command == QLatin1String("scatter")) {
        for (const int block : {5, 2, 8, 6, 0, 3, 5})
            target->write(samples.data(), {block * Layer::backupBlock + 60000, 20000}, -1, true);
    } else if (command == QLatin1String("grow")) {
        target->write(samples.data(), {target->dataRange().end() - 500, 20000}, -1, true);
    } else if (command == QLatin1String("shrink")) {
        target->setRange({target->dataRange().start, target->dataRange().length - 70000});
    } else if (command == QLatin1String("cut")) {
        return cut(value);
    } else if (command == QLatin1String("insert")) {
        target->insertTime({1000, 30000});
    } else if (command == QLatin1String("crop")) {
        target->cropTo({500, 40000});
    } else {
        return false;
    }
    postEvent(nullptr, EventId::LayerContentUpdate, ILayerPtr(target), nullptr);
    record(command);
    return true;
}

void Victim::record(const QString& name)
{
    HistoryEntry entry;
    entry.name = name;
    postEvent(nullptr, EventId::HistoryRecord, entry, nullptr);
}

// Half of the edit finds no room, and a marker has been set.
bool Victim::reject()
{
    const LayerPtr target = layer();
    target->insertTime({700, 5000});
    const QVariant folder = QCoreApplication::instance()->property("sessionpath");
    QCoreApplication::instance()->setProperty("sessionpath", QStringLiteral("/nowhere"));
    target->insertTime({1000, 5000});
    QCoreApplication::instance()->setProperty("sessionpath", folder);
    MarkerList markers = m_tabs.currentProject()->markerList();
    markers << Marker{1, 4711, 0, "rejected"};
    postEvent(nullptr, EventId::MarkerListChange, markers, nullptr);
    postEvent(nullptr, EventId::LayerContentUpdate, ILayerPtr(target), nullptr);
    record(QStringLiteral("reject"));
    hasFailed = false; // as was meant
    return true;
}

bool Victim::cut(double start)
{
    const ProjectPtr project = m_tabs.currentProject();
    const double rate = project->format().sampleRate;
    project->setActiveLayer(layer());
    postEvent<ILayerPtr>(nullptr, EventId::LayerActivate, layer(), nullptr);
    QPainterPath path;
    path.addRect(start, rate / 8, 20 * rate, rate / 4);
    Selection selection;
    selection.add(path, 0, 0, false);
    postEvent(nullptr, EventId::SelectionChange, selection, nullptr);
    const int states = m_history.states().size();
    m_data.cut();
    return m_history.states().size() == states + 1;
}

// False for what is none of them.
bool Victim::useMenus(const QString& command)
{
    if (command == QLatin1String("paste")) {
        m_data.paste();
    } else if (command == QLatin1String("deselect")) {
        m_data.deselect();
    } else if (command == QLatin1String("deletetime")) {
        QTimer::singleShot(0, [] {
            auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
            const auto fields = dialog ? dialog->findChildren<QLineEditExt*>() : QList<QLineEditExt*>();
            if (fields.size() != 2)
                return;
            fields[0]->setText(QStringLiteral("2000"));
            fields[1]->setText(QStringLiteral("9000"));
            dialog->accept();
        });
        m_data.deleteTime();
    } else {
        return false;
    }
    return true;
}

bool Victim::save(const QString& path)
{
    const ProjectPtr project = m_tabs.currentProject();
    if (!project)
        return false;
    project->setFilePath(path);
    if (!m_tabs.save())
        return false;
    std::printf("saved %s\n", stateOf({project}).constData());
    return true;
}

// Answers the dialog that will have come up by then.
bool Victim::changeFormat(double rate)
{
    QTimer::singleShot(0, [rate] {
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        auto* field = dialog ? dialog->findChild<QDoubleSpinBox*>(QStringLiteral("formatrate")) : nullptr;
        if (!field)
            return;
        field->setValue(rate);
        dialog->accept();
    });
    return m_tabs.changeFormat();
}

bool Victim::read(const QString& path)
{
    const ProjectReadResult result = path.endsWith(QLatin1String(".mvx"))
                                         ? readProjectXml(path, SampleFiles::Copy, {})
                                         : readProjectBinary(path, {});
    const bool whole = result.project && result.damage.isEmpty();
    std::printf("file %s\n", whole ? stateOf({result.project}).constData() : "damaged");
    return true;
}

void Victim::rescue(const QStringList& words)
{
    const QString key = QStringLiteral("rescue:");
    const auto word =
        std::find_if(words.begin(), words.end(), [&](const QString& w) { return w.startsWith(key); });
    if (word != words.end() && m_tabs.count() > 0 && save(word->mid(key.size())))
        std::puts("rescued");
}

bool Victim::run(const QString& command, const QString& argument)
{
    if (command == QLatin1String("open"))
        return m_tabs.parse(argument);
    if (command == QLatin1String("import"))
        return m_tabs.parse(argument, 0, 1);
    if (command == QLatin1String("undo"))
        return m_history.undo() == History::Result::Done;
    if (command == QLatin1String("redo"))
        return m_history.redo() == History::Result::Done;
    if (command == QLatin1String("duplicate"))
        return m_tabs.duplicateProject();
    if (command == QLatin1String("format"))
        return changeFormat(argument.toDouble());
    if (command == QLatin1String("reject"))
        return reject();
    if (command == QLatin1String("save"))
        return save(argument);
    if (command == QLatin1String("read"))
        return read(argument);
    if (command == QLatin1String("ask"))
        answerToRecover = argument == QLatin1String("No")      ? QMessageBox::No
                          : argument == QLatin1String("Reset") ? QMessageBox::Reset
                                                               : QMessageBox::Yes;
    if (command == QLatin1String("recover") || command == QLatin1String("ask")) {
        bool done = true;
        recoverSessions(nullptr, SessionFolder(),
                        [&](const QStringList& manifests) { done = m_tabs.recover(manifests); });
        return done;
    }
    if (command == QLatin1String("close")) {
        while (m_tabs.count() > 0 && m_tabs.close(0, true)) {
        }
        return true;
    }
    if (command == QLatin1String("rescue"))
        return true;
    if (command == QLatin1String("pause")) {
        QEventLoop loop;
        QTimer::singleShot(argument.toInt(), &loop, &QEventLoop::quit);
        loop.exec();
        return true;
    }
    if (command == QLatin1String("wait"))
        return QApplication::exec() == 0;
    return useMenus(command) || act(command, argument.toFloat());
}

} // namespace

int main(int argc, char** argv)
{
    setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    installFaultHandlers();
    qInstallMessageHandler(log);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    std::setlocale(LC_NUMERIC, "C");
    const QStringList words = QCoreApplication::arguments();
    PropertiesLoader loader(application, {words.value(1), platform::moduleFolder(), {}, false});
    loader.loadFactory();
    loader.applyUserSettings();
    messages::setAnswerer(answer);
    Victim victim;
    std::puts("begin");
    for (const QString& word : words.mid(2)) {
        const int colon = word.indexOf(QLatin1Char(':'));
        const QString command = colon < 0 ? word : word.left(colon);
        hasFailed = false;
        if (!victim.run(command, colon < 0 ? QString() : word.mid(colon + 1)) || hasFailed) {
            std::printf("cannot %s\n", word.toUtf8().constData());
            victim.rescue(words);
            return 1;
        }
        QCoreApplication::processEvents();
        std::printf("done %s\n", victim.state().constData());
    }
    return 0;
}

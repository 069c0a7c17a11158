#include "app/program.h"

#include "app/commandline.h"
#include "app/engine.h"
#include "app/propertiesloader.h"
#include "base/denormals.h"
#include "base/platform.h"
#include "ui/mainwindow.h"
#include "ui/picturemode.h"
#include "ui/widgets/messages.h"

#include <cstdio>

#include <QApplication>

namespace {

CommandLine readArguments(int argc, char** argv)
{
    QStringList words;
    for (int i = 0; i < argc; ++i)
        words << QString::fromLocal8Bit(argv[i]);
    return CommandLine(words);
}

void print(const QString& text)
{
    std::fputs(text.toLocal8Bit().constData(), stdout);
}

// Name and version of the edition asked for, without a display.
void printVersion(int argc, char** argv, const CommandLine& words)
{
    QCoreApplication application(argc, argv);
    PropertiesLoader(application, {{}, platform::moduleFolder(), words.value("-edition"), false})
        .loadFactory();
    print(QStringLiteral("%1 %2\n").arg(QCoreApplication::applicationName(),
                                        QCoreApplication::applicationVersion()));
}

// Nobody is there to answer a box that comes before the picture mode itself has begun.
QMessageBox::StandardButton printAndAnswer(const messages::Box& box)
{
    print(box.title + QLatin1String(": ") + box.text + QLatin1Char('\n'));
    return box.defaultButton;
}

} // namespace

int runProgram(int argc, char** argv)
{
    const CommandLine words = readArguments(argc, argv);
    if (words.has("--help")) {
        print(CommandLine::help());
        return 0;
    }
    if (words.has("--version")) {
        printVersion(argc, argv, words);
        return 0;
    }
    disableDenormals();
    const QString picture = words.value("--picture");
    if (!picture.isNull())
        messages::setAnswerer(printAndAnswer);
    const MVE::Engine engine(argc, argv, false);
    MainWindow* window = engine.mainWindow();
    if (!picture.isNull())
        return window
                   ? runPicture(*window, picture, CommandLine(QCoreApplication::arguments()).missingFiles())
                   : 1;
    if (window) {
        window->show();
        QApplication::exec();
    }
    return 0;
}

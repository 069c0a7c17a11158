// The file dialogs of the program, in one place so that tests can answer them by script. GUI thread
// only.
#pragma once

#include <functional>

#include <QString>
#include <QStringList>

class QWidget;

namespace filechooser {

struct Request
{
    QString title;
    QString path;         // folder to start in, or a proposed file
    QStringList filters;  // "Microsoft WAV (*.wav)"
    bool save = false;    // asks before it overwrites
    bool several = false; // for opening: more than one file may be chosen
};

struct Choice
{
    QString path; // empty: cancelled
    QString filter;
    QStringList paths = {}; // of a request for several: all, in the order in which the dialog shows them
};

// Chooses in place of a user. An empty function shows real dialogs again.
using Chooser = std::function<Choice(const Request&)>;
void setChooser(Chooser chooser);

// Shows the dialog modally over `parent`. It starts in the folder of the last one (unless the
// request names another), which is kept in the user's settings under "lastfolder".
Choice choose(QWidget* parent, const Request& request);

} // namespace filechooser

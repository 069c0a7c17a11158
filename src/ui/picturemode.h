// Runs the program without a user: opens what the command line names, saves the window as a picture.
#pragma once

#include <QString>
#include <QStringList>

class MainWindow;

// Shows `window`, acts on the import queue, waits until every texture in sight is finished and
// uploaded, saves the window (OpenGL contents included) as PNG and prints where.
//
// Every message box is printed (title, text) and answered by its default button; questions about
// sampling rate, channels or format are answered by Yes. `missing` are words of the command line
// that should have been files and are none; each is printed.
//
// The process's exit status: 0, or 1 when a file did not open, when there is anything in `missing`,
// or when the picture could not be saved.
[[nodiscard]] int runPicture(MainWindow& window, const QString& path, const QStringList& missing = {});

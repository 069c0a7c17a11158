// What every test program shares: folders of its own, a log that fails the test, recordings.
#pragma once

#include <QString>
#include <QStringList>

#include <functional>

namespace testsupport {

// A fresh folder below the program's temporary folder; removed at the end.
QString makeFolder(const QString& hint = QStringLiteral("t"));
// A file of tests/data.
QString dataFile(const QString& name);
// Every file of the folder that the environment variable MORVANE_RECORDINGS names, by full path,
// sorted; empty when it names none.
QStringList recordings();
// The recordings folder itself, or empty.
QString recordingsFolder();

// A warning or worse in the log fails the running test, unless it was announced: one line that
// contains `part` is then taken off the list of faults. An announced line that does not come fails
// the test too.
void expectWarning(const QString& part);

// A time limit, longer where the build is slow: times the environment variable MORVANE_TEST_PATIENCE, which
// the sanitizer builds set for their tests.
int patient(int milliseconds);

// How long a script of a user who never rests goes on, in milliseconds: a moment in a plain build, a minute
// where the tests are given patience.
int scriptTime();

// Whether the build has a sanitizer that keeps memory of its own, so that the program's cannot be told.
bool isSanitized();

// Runs the event loop until `condition` holds; false after `milliseconds`, or as long as patient() says.
bool waitFor(const std::function<bool()>& condition, int milliseconds = 10000);

} // namespace testsupport

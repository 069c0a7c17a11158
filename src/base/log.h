// The log: Qt's messages, one line each, on the console and in one file for each session.
#pragma once

#include <QString>

namespace logging {

// Takes over Qt's messages. A line is "HH:mm:ss.zzz ", four hexadecimal digits of the thread, a
// blank, the level, two blanks, the message, a line feed. Debug lines are dropped until open() asks
// for them.
void install();

// Opens the log file, or moves the open one: the lines written so far come along. A path in the
// folder where the log already lies changes nothing and is true. False when the folder cannot be
// made, or the file not opened or moved; an open log then goes on where it was. In start-up only,
// before other threads run.
[[nodiscard]] bool open(const QString& path, bool debug);
// The file in use, empty before the first open().
[[nodiscard]] QString path();
// Writes on the console only from here on, and forgets the file.
void close();

// Deletes the oldest logs directly in `folder`, so that fewer than `keep` remain, the running one
// counted among them but never deleted. Only files named by a session id and ".txt" count.
void prune(const QString& folder, int keep);

// One debug line "<routine>+<source line> <text>"; the line is the caller's.
void debug(const char* routine, const QString& text, int line = __builtin_LINE());

// "Morvane " and the local time as "yyyy.MM.dd-HH.mm.ss.zzz".
[[nodiscard]] QString newSessionId();

} // namespace logging

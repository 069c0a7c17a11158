// All that differs between systems, one platform_<system>.cpp for each. Nothing outside base/ asks
// for the operating system. Every function may be called from any thread and before the application
// object exists, unless told otherwise.
#pragma once

#include <cstdint>

#include <QByteArray>
#include <QString>

namespace platform {

// Full path of the library or program that holds this code, found by the address of code within it:
// inside a host it is the library's and not the host's.
[[nodiscard]] QString modulePath();
// Its folder, with the trailing separator.
[[nodiscard]] QString moduleFolder();

// The user's home; `$XDG_STATE_HOME` or ~/.local/state, where logs go; `$XDG_RUNTIME_DIR`, where
// sockets go, or a private folder below the temporary one. No trailing separator. None is created,
// save the last.
[[nodiscard]] QString stateFolder();
[[nodiscard]] QString runtimeFolder();

// Image path of the process that started this one, empty when it cannot be told.
[[nodiscard]] QString parentImagePath();
[[nodiscard]] int64_t physicalMemory(); // bytes, 0 when unknown
[[nodiscard]] uint32_t threadId();      // the system's number of the calling thread
// "Debian GNU/Linux 12 (bookworm)" and the like, and the kernel's version, are QSysInfo's.

// Raises the limit of open files to what the system allows: each layer holds one.
void raiseDescriptorLimit();
// A crash of this process leaves no memory image behind.
void disableCoreDumps();
// The calling thread, and threads that it starts from then on, take about a third of the share of a processor
// that others have where processors are few. For work in the background that somebody looks at.
void yieldToOtherThreads();
// For a helper process: it runs only when nobody else wants the processor, and dies with the thread
// that started it.
void becomeBackgroundHelper();

// Creates the folder and what is missing above it, each for this user alone (0700). True when the
// folder stands afterwards.
[[nodiscard]] bool makePrivateFolder(const QString& path);
// Creates an empty file for this user alone (0600). False when it exists, also as a dangling link.
[[nodiscard]] bool createPrivateFile(const QString& path);

// A second name for a file, on the same file system, that must be free. False where there is none to be had.
[[nodiscard]] bool linkFile(const QString& from, const QString& to);
// Opens a regular file for reading without following a link and without waiting (a FIFO would make it
// wait). The descriptor is the caller's; -1 when it is no such file.
[[nodiscard]] int openRegular(const QString& path);

// True once the data of the open file, or the names in the folder, are on the disk. A folder on a
// file system that cannot do it counts as done.
[[nodiscard]] bool syncFile(int descriptor);
[[nodiscard]] bool syncFolder(const QString& path);

// True when the process at the other end of a connected local socket belongs to this user.
[[nodiscard]] bool peerIsOwnUser(qintptr socketDescriptor);
// Full name under which a local server of this name listens, and a client finds it: in the runtime
// folder, not in a folder that all users share.
[[nodiscard]] QString localServerPath(const QString& name);

// Another text after each start of the machine; empty when it cannot be told.
[[nodiscard]] QByteArray bootId();

// Words for the calling thread's last failed system call.
[[nodiscard]] QString lastSystemError();

} // namespace platform

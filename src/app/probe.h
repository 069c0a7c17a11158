// The test run of a plug-in that is not known yet.
#pragma once

// What the helper program `morvane_probe <library>` does: loads the library, makes its instance and
// calls its init(), as the program would. Exit status 0 when that went well, whether or not init()
// accepted; 1, with the cause on the first line of the output, when it is no plug-in of ours. A crash
// or an endless loop is this process's own, which is what it is for.
[[nodiscard]] int runProbe(int argc, char** argv);

// The program as a function.
#pragma once

// What `main` does; the result is the exit status. `argv` must live until it returns.
[[nodiscard]] int runProgram(int argc, char** argv);

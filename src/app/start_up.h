#pragma once

/// Runs the program from its application object to its end: applies the look, creates the windows in their order,
/// shows the main one and runs the message loop. An error on the way to the loop, or out of it, is shown in the
/// standard error box. Returns the exit code.
[[nodiscard]] int runProgram(int argc, char **argv);

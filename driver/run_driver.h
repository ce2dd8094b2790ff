// Entry of a run: mode from the command line, loading, export, result line.
#pragma once

#include <cstdint>

/// Milliseconds of the monotonic clock when the run started.
extern uint64_t startTicks;

/// The whole run; returns the process exit status.
int RunDriver(int argc, char** argv);

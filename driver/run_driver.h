// Entry of a run: mode from the command line, loading, export, result line.
#pragma once

/// The whole run; returns the process exit status.
int RunDriver(int argc, char** argv);

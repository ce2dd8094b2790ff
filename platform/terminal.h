// Whether a console stream is an interactive terminal, and how wide it is.
// The export's progress bar asks this of standard error: a bar is drawn only
// for a person watching a terminal, never into a file or a pipe that another
// program reads.
#pragma once

#include <cstdio>

namespace platform {

/// True when `stream` is a terminal (a console on Windows).
bool IsTerminal(FILE* stream);

/// Columns of the terminal behind `stream`; `fallback` when it does not say
/// (not a terminal, or a pseudo-terminal whose size was never set).
int TerminalColumns(FILE* stream, int fallback = 80);

} // namespace platform

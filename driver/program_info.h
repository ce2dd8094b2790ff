// The two informational forms of the command line, "ormadraft --help" and
// "ormadraft --version". They are recognised only as the one and only
// argument, so every argument count keeps its meaning: a draft that is
// really named "--help" or "--version" is given as "./--help". Both print to
// standard output and end the run with status 0, before anything is loaded.
#pragma once

/// Handles `argument` when it is "--help" or "--version": prints the text,
/// stores the exit status and returns true. Any other text returns false.
bool RunInfoOption(const char* argument, int* status);

/// The help text (also the source of the synopsis in the manual).
void PrintHelp();

/// "ormadraft VERSION", then the core library's, MLT's and FFmpeg's
/// versions as the core library reports them.
void PrintVersion();

// What a run does when it is interrupted: Ctrl-C (SIGINT), SIGTERM from a
// service manager or `timeout`, or SIGHUP when the terminal goes. The first
// of these only sets a flag; the run looks at it between its steps (after
// the theme request and the draft are read, after each scene is built) and
// the export's progress thread asks the core library to stop
// (OrmaEditCancel), which removes the temporary video file. The run then
// removes its working copy of the draft (a theme's new draft too), prints
// the usual last line "export failed, errorcode:N" with kInterruptedExport
// and ends with the usual status. A second signal ends the process at once,
// by that signal, leaving what the first one would have removed (the next
// export to the same output removes a temporary left that way).
//
// A preview keeps the default handling: a signal ends it at once.
//
//   interrupt::Install();
//   ...
//   if (interrupt::Requested()) ...   // stop, clean up, report
#pragma once

namespace interrupt {

/// Sets the handlers of SIGINT, SIGTERM and SIGHUP for the rest of the run
/// and unblocks them (one that came while they were blocked is handled
/// now). A signal the program was started with ignored stays ignored.
void Install();

/// Whether a first signal has come.
bool Requested();

/// The number of that signal, 0 when none has come.
int Signal();

/// "SIGINT", "SIGTERM", "SIGHUP", or "signal N".
const char* SignalName(int signal);

} // namespace interrupt

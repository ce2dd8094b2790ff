// The handlers of platform/interrupt.h. On POSIX they are signal handlers
// and may only do what is safe inside one: the first signal is recorded in
// a lock-free atomic and a fixed note is written with write(2); a second
// signal restores the default action and raises itself again, which ends
// the process once the handler returns. On Windows the same events reach a
// console control handler (SetConsoleCtrlHandler), which the system calls
// on a thread of its own: Ctrl-C and Ctrl-Break are the console's interrupt
// keys, and closing the console window, logging off and shutting down are
// the ways Windows ends a console program from outside (there is no SIGTERM
// or SIGHUP to send it). The C runtime's signal() sees only Ctrl-C and
// Ctrl-Break, and not the close, so it is not used.
#include "platform/interrupt.h"

#include <atomic>
#include <csignal>
#include <cstdio>

#if defined(_WIN32)
#include <windows.h>
#else
#include <pthread.h>
#include <signal.h>
#include <unistd.h>
#endif

namespace interrupt {

namespace {

std::atomic<int> firstSignal{0};
static_assert(std::atomic<int>::is_always_lock_free, "the flag is set inside a signal handler");

// Whether the note starts on a new line: the progress bar may hold the
// terminal's current one. Known before any signal can come.
bool stderrIsTerminal = false;

const char kNote[] = "ormadraft: interrupted; stopping the export and removing its files "
                     "(a second signal ends the program at once)\n";

#if defined(_WIN32)

void WriteNote() {
  HANDLE error = GetStdHandle(STD_ERROR_HANDLE);
  DWORD written = 0;
  if (stderrIsTerminal) WriteFile(error, "\n", 1, &written, nullptr);
  WriteFile(error, kNote, sizeof kNote - 1, &written, nullptr);
}

BOOL WINAPI HandleControl(DWORD event) {
  switch (event) {
  case CTRL_C_EVENT:
  case CTRL_BREAK_EVENT:
  case CTRL_CLOSE_EVENT:
  case CTRL_LOGOFF_EVENT:
  case CTRL_SHUTDOWN_EVENT:
    break;
  default:
    return FALSE;
  }
  int none = 0;
  // Recorded as the event plus one: CTRL_C_EVENT is 0, which means "none".
  if (!firstSignal.compare_exchange_strong(none, static_cast<int>(event) + 1)) {
    // The second event: the next handler, the system's own, ends the
    // process at once (for Ctrl-C and Ctrl-Break with STATUS_CONTROL_C_EXIT).
    return FALSE;
  }
  WriteNote();
  if (event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT) return TRUE;
  // After the close, log-off and shutdown events the system ends the
  // process as soon as this handler returns (and after a few seconds in
  // any case), so the handler waits here while the run stops and cleans
  // up; the run's own exit ends this thread with the process.
  Sleep(INFINITE);
  return TRUE;
}

#else

void Handle(int signal) {
  int none = 0;
  if (!firstSignal.compare_exchange_strong(none, signal)) {
    // The second signal: its default action, now. It stays blocked until
    // this handler returns, and then ends the process.
    std::signal(signal, SIG_DFL);
    std::raise(signal);
    return;
  }
  if (stderrIsTerminal) (void)!::write(STDERR_FILENO, "\n", 1);
  (void)!::write(STDERR_FILENO, kNote, sizeof kNote - 1);
}

#endif

} // namespace

void Install() {
#if defined(_WIN32)
  DWORD mode = 0;
  stderrIsTerminal = GetConsoleMode(GetStdHandle(STD_ERROR_HANDLE), &mode) != 0;
  // A process started with Ctrl-C ignored (SetConsoleCtrlHandler(NULL,
  // TRUE) in its parent, or a new process group) keeps ignoring it: the
  // system does not pass ignored events to handlers.
  SetConsoleCtrlHandler(HandleControl, TRUE);
#else
  stderrIsTerminal = ::isatty(STDERR_FILENO) == 1;
  struct sigaction action {};
  action.sa_handler = Handle;
  sigemptyset(&action.sa_mask);
  // Calls of the core library and of the file system carry on rather than
  // fail with EINTR; the flag is looked at between steps.
  action.sa_flags = SA_RESTART;
  sigset_t taken;
  sigemptyset(&taken);
  for (int signal : {SIGINT, SIGTERM, SIGHUP}) {
    // A signal the caller chose to ignore (nohup, a background job) stays
    // ignored.
    struct sigaction before {};
    if (sigaction(signal, nullptr, &before) == 0 && before.sa_handler == SIG_IGN) continue;
    sigaction(signal, &action, nullptr);
    sigaddset(&taken, signal);
  }
  // Blocked by the parent, they would never arrive; one that came before
  // this point is delivered now, to the handler. Threads started later
  // inherit this mask.
  pthread_sigmask(SIG_UNBLOCK, &taken, nullptr);
#endif
}

bool Requested() { return firstSignal.load() != 0; }

int Signal() { return firstSignal.load(); }

const char* SignalName(int signal) {
#if defined(_WIN32)
  switch (signal - 1) {
  case CTRL_C_EVENT:
    return "Ctrl-C";
  case CTRL_BREAK_EVENT:
    return "Ctrl-Break";
  case CTRL_CLOSE_EVENT:
    return "closing the console";
  case CTRL_LOGOFF_EVENT:
    return "logging off";
  case CTRL_SHUTDOWN_EVENT:
    return "shutting down";
  default:
    break;
  }
#else
  switch (signal) {
  case SIGINT:
    return "SIGINT";
  case SIGTERM:
    return "SIGTERM";
  case SIGHUP:
    return "SIGHUP";
  default:
    break;
  }
#endif
  static char text[32];
  std::snprintf(text, sizeof text, "signal %d", signal);
  return text;
}

} // namespace interrupt

// The signal handlers of platform/interrupt.h. A handler may only do what is
// safe inside one: it records the first signal in a lock-free atomic and
// writes a fixed note with write(2); a second signal restores the default
// action and raises itself again, which ends the process once the handler
// returns. On Windows the C runtime's signal() stands for sigaction (Ctrl-C
// and Ctrl-Break; it resets the handler, so the second signal takes the
// default action by itself).
#include "platform/interrupt.h"

#include <atomic>
#include <csignal>
#include <cstdio>

#if defined(_WIN32)
#include <io.h>
#define STDERR_FILENO 2
#define write _write
#define isatty _isatty
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

void Handle(int signal) {
  int none = 0;
  if (!firstSignal.compare_exchange_strong(none, signal)) {
    // The second signal: its default action, now. It stays blocked until
    // this handler returns, and then ends the process.
    std::signal(signal, SIG_DFL);
    std::raise(signal);
    return;
  }
  static const char kNote[] = "ormadraft: interrupted; stopping the export and removing its files "
                              "(a second signal ends the program at once)\n";
  if (stderrIsTerminal) (void)!::write(STDERR_FILENO, "\n", 1);
  (void)!::write(STDERR_FILENO, kNote, sizeof kNote - 1);
}

} // namespace

void Install() {
  stderrIsTerminal = ::isatty(STDERR_FILENO) == 1;
#if defined(_WIN32)
  for (int signal : {SIGINT, SIGBREAK, SIGTERM})
    std::signal(signal, Handle);
#else
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
  switch (signal) {
  case SIGINT:
    return "SIGINT";
  case SIGTERM:
    return "SIGTERM";
#if defined(SIGHUP)
  case SIGHUP:
    return "SIGHUP";
#endif
  default: {
    static char text[32];
    std::snprintf(text, sizeof text, "signal %d", signal);
    return text;
  }
  }
}

} // namespace interrupt

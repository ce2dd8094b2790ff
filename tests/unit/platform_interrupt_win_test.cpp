// How an export hears that it should stop on Windows (platform/interrupt.h):
// a console control handler takes the first Ctrl-C, records it and writes
// the note on standard error, and leaves the second to the system, which
// ends the process at once. Each case runs in a child process of its own
// (a death test) with a console of its own, so that the events it raises
// with GenerateConsoleCtrlEvent reach no other process. On Linux the same
// rules hold for signals and are tested with the real engine
// (tests/engine/engine_interrupt_test.cpp).
#if defined(_WIN32)

#include <gtest/gtest.h>

#include <windows.h>

#include <cstdio>
#include <cstring>

#include "platform/interrupt.h"

namespace {

// Exit codes of the child when something went wrong before its end.
constexpr int kNotRecorded = 2;
constexpr int kSurvived = 3;

// A console of the child's own; its standard error stays the one the test
// reads.
void OwnConsole() {
  HANDLE error = GetStdHandle(STD_ERROR_HANDLE);
  FreeConsole();
  AllocConsole();
  SetStdHandle(STD_ERROR_HANDLE, error);
}

bool RequestedWithin(int milliseconds) {
  for (int waited = 0; waited < milliseconds && !interrupt::Requested(); waited += 10)
    Sleep(10);
  return interrupt::Requested();
}

void InterruptTwice() {
  OwnConsole();
  interrupt::Install();
  if (!GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0) || !RequestedWithin(2000) ||
      std::strcmp(interrupt::SignalName(interrupt::Signal()), "Ctrl-C") != 0) {
    std::fprintf(stderr, "first Ctrl-C not recorded (GetLastError %lu, name \"%s\")\n", GetLastError(),
                 interrupt::SignalName(interrupt::Signal()));
    std::fflush(stderr);
    ExitProcess(kNotRecorded);
  }
  // The first event only set the flag: the program goes on by itself.
  Sleep(200);
  GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0);
  Sleep(5000);
  ExitProcess(kSurvived);
}

// Windows ends a process at a Ctrl-C nobody handles with
// STATUS_CONTROL_C_EXIT; Wine's handler ends it with 0. The child has no
// other way to end with 0: after the second event it would end with
// kSurvived.
bool UnderWine() { return GetProcAddress(GetModuleHandleA("ntdll.dll"), "wine_get_version") != nullptr; }
bool EndedByTheSystemsHandler(int status) {
  return static_cast<DWORD>(status) == STATUS_CONTROL_C_EXIT || (UnderWine() && status == 0);
}

TEST(ConsoleInterruptDeathTest, TheFirstCtrlCIsRecordedWithANoteAndTheSecondEndsTheProgram) {
  EXPECT_EXIT(
      InterruptTwice(), EndedByTheSystemsHandler,
      "^ormadraft: interrupted; stopping the export and removing its files \\(a second signal ends the "
      "program at once\\)\n$");
}

TEST(ConsoleInterrupt, EventsAreNamedAsAWindowsUserKnowsThem) {
  // Recorded as the event plus one (CTRL_C_EVENT is 0, and 0 means none).
  EXPECT_STREQ(interrupt::SignalName(CTRL_C_EVENT + 1), "Ctrl-C");
  EXPECT_STREQ(interrupt::SignalName(CTRL_BREAK_EVENT + 1), "Ctrl-Break");
  EXPECT_STREQ(interrupt::SignalName(CTRL_CLOSE_EVENT + 1), "closing the console");
  EXPECT_STREQ(interrupt::SignalName(CTRL_LOGOFF_EVENT + 1), "logging off");
  EXPECT_STREQ(interrupt::SignalName(CTRL_SHUTDOWN_EVENT + 1), "shutting down");
  EXPECT_FALSE(interrupt::Requested());
}

} // namespace

#endif

// Lines for the person at the console, on standard error: why a run failed
// (the file, the key and the value concerned) and which settings were not
// taken as written. Standard output carries the program's fixed lines, which
// calling programs read, and stays as it is; these come in addition, one line
// each, "ormadraft: TEXT", where the progress bar is drawn too.
//
//   Diagnostic("export settings %s: \"video\".\"fps\" %g is out of range; %g is used", path, fps, 25.0);
#pragma once

#include <cstdarg>
#include <cstdio>
#include <string>

#include "platform/platform.h"

// The format is checked against the printf that runs. MinGW-w64's C++
// library turns on its own C99 printf (__USE_MINGW_ANSI_STDIO), which knows
// %zu, %jd and %lld, but the plain "printf" attribute checks against the
// Microsoft C runtime's, which does not: the check names the right one.
#if defined(__MINGW_PRINTF_FORMAT)
#define ORMA_PRINTF_FORMAT __MINGW_PRINTF_FORMAT
#else
#define ORMA_PRINTF_FORMAT printf
#endif

__attribute__((format(ORMA_PRINTF_FORMAT, 1, 2))) inline void Diagnostic(const char* format, ...) {
  char text[4096];
  va_list args;
  va_start(args, format);
  std::vsnprintf(text, sizeof text, format, args);
  va_end(args);
  std::string line = text;
#ifdef _WIN32
  // The names in these lines are the program's UTF-8; a Windows console
  // shows the ANSI code page, as the lines on standard output are written.
  // Text that is not UTF-8 (a name as the command line gave it) is left as
  // it is.
  std::string ansi;
  if (platform::ConvertCodeset("UTF-8", platform::AnsiCodeset().c_str(), line, &ansi)) line = ansi;
#endif
  // One call, so that the line is written whole.
  std::fprintf(stderr, "ormadraft: %s\n", line.c_str());
  std::fflush(stderr);
}

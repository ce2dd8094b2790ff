// Terminal queries: isatty and TIOCGWINSZ on POSIX, the console API on
// Windows.
#include "platform/terminal.h"

#if defined(_WIN32)
#include <io.h>
#include <windows.h>
#else
#include <sys/ioctl.h>
#include <unistd.h>
#endif

namespace platform {

#if defined(_WIN32)

bool IsTerminal(FILE* stream) { return stream && _isatty(_fileno(stream)); }

int TerminalColumns(FILE* stream, int fallback) {
  if (!IsTerminal(stream)) return fallback;
  CONSOLE_SCREEN_BUFFER_INFO info;
  HANDLE handle = reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream)));
  if (!GetConsoleScreenBufferInfo(handle, &info)) return fallback;
  int columns = info.srWindow.Right - info.srWindow.Left + 1;
  return columns > 0 ? columns : fallback;
}

#else

bool IsTerminal(FILE* stream) { return stream && isatty(fileno(stream)) == 1; }

int TerminalColumns(FILE* stream, int fallback) {
  if (!IsTerminal(stream)) return fallback;
  winsize size{};
  if (ioctl(fileno(stream), TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return fallback;
  return size.ws_col;
}

#endif

} // namespace platform

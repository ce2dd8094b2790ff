// Windows side of the preview's control pipe (control_pipe.h): the program
// is the client of the application's message-mode named pipe, opened with
// CreateFileA exactly as named and left in its default byte read mode; each
// call is reduced to GetLastError()'s value so that the pipe thread prints
// one number per failure.
#include "preview/control_pipe.h"

#if defined(_WIN32)

#include <windows.h>

#include <climits>

namespace preview {

std::string PipePath(const char* name) { return name ? name : ""; }

int ConnectPipe(const char* name, PipeHandle* pipe) {
  *pipe = INVALID_HANDLE_VALUE;
  HANDLE h = CreateFileA(name ? name : "", GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                         FILE_ATTRIBUTE_NORMAL, nullptr);
  if (h == INVALID_HANDLE_VALUE) return static_cast<int>(GetLastError());
  *pipe = h;
  return 0;
}

int ReadMessage(PipeHandle pipe, char* buffer, size_t capacity, size_t* received) {
  *received = 0;
  DWORD n = 0;
  const DWORD want = capacity > ULONG_MAX ? ULONG_MAX : static_cast<DWORD>(capacity);
  if (!ReadFile(pipe, buffer, want, &n, nullptr)) return static_cast<int>(GetLastError());
  *received = n;
  return 0;
}

int WriteMessage(PipeHandle pipe, const char* data, size_t size) {
  DWORD written = 0;
  if (!WriteFile(pipe, data, static_cast<DWORD>(size), &written, nullptr))
    return static_cast<int>(GetLastError());
  return 0;
}

int ClosePipe(PipeHandle pipe) { return CloseHandle(pipe) ? 0 : static_cast<int>(GetLastError()); }

} // namespace preview

#endif

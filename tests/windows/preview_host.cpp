// A calling application in miniature for the Windows preview tests: it does
// what the editor does before a preview. It creates a window, hosts the
// control pipe \\.\pipe\NAME in message mode, writes a "ThemesPreview"
// command file naming both, starts the program with the draft and that
// file, and then sends the control messages given on its command line one
// at a time, printing each reply. "pixel X Y" prints the colour of the
// window at (X, Y) instead of sending anything, so that a test can check
// what a seek drew. It ends with the program's exit status, or with 2 when
// something of its own failed (each failure is said on standard error).
//
// "probe=X,Y" asks first whether this system shows at all what another
// process draws into a child of the window: the host starts a copy of
// itself that makes such a child and fills it with green, and prints the
// colour at (X, Y) while it does. Windows shows it; Wine 8 does not (it
// keeps another process's child window off the screen), and a test then
// knows that the pixels cannot show the program's pictures either.
//
//   preview_host.exe PROGRAM.exe DRAFT.json [play | pause | seek=N | stop | pixel=X,Y | probe=X,Y |
//   wait=MS]... preview_host.exe --paint-child HWND     (the copy that the probe starts)
//
// Output on standard output, one line each:
//   reply KEY: {"message": ...}        the program's answer to a message
//   pixel X,Y: RRGGBB                  the window's colour there
//   probe X,Y: RRGGBB                  the colour there while another process paints green
//   exit N                             the program's exit status
#include <windows.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr DWORD kConnectTimeoutMs = 30000;
constexpr DWORD kReplyTimeoutMs = 30000;
constexpr DWORD kExitTimeoutMs = 30000;

int Fail(const char* what, DWORD error = GetLastError()) {
  std::fprintf(stderr, "preview_host: %s failed (error %lu)\n", what, static_cast<unsigned long>(error));
  return 2;
}

// Messages of the host's own window are handled while it waits, so that
// the window stays responsive for the program that draws into it.
void PumpMessages() {
  MSG message;
  while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
    TranslateMessage(&message);
    DispatchMessageA(&message);
  }
}

// Waits for an overlapped operation on the pipe while pumping messages;
// false on a timeout or a failure (the operation is cancelled then).
bool Finish(HANDLE pipe, OVERLAPPED* overlapped, DWORD timeoutMs, DWORD* transferred) {
  const ULONGLONG until = GetTickCount64() + timeoutMs;
  for (;;) {
    const DWORD left = static_cast<DWORD>(until > GetTickCount64() ? until - GetTickCount64() : 0);
    const DWORD woken = MsgWaitForMultipleObjects(1, &overlapped->hEvent, FALSE, left, QS_ALLINPUT);
    if (woken == WAIT_OBJECT_0) return GetOverlappedResult(pipe, overlapped, transferred, FALSE) != 0;
    if (woken == WAIT_OBJECT_0 + 1) {
      PumpMessages();
      continue;
    }
    CancelIo(pipe);
    SetLastError(woken == WAIT_TIMEOUT ? ERROR_TIMEOUT : GetLastError());
    return false;
  }
}

bool Send(HANDLE pipe, const std::string& text) {
  OVERLAPPED overlapped{};
  overlapped.hEvent = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  DWORD written = 0;
  bool done = WriteFile(pipe, text.data(), static_cast<DWORD>(text.size()), &written, &overlapped) ||
              (GetLastError() == ERROR_IO_PENDING && Finish(pipe, &overlapped, kReplyTimeoutMs, &written));
  CloseHandle(overlapped.hEvent);
  return done && written == text.size();
}

// One whole message: the pipe is in message mode, so a reply longer than
// the buffer arrives with ERROR_MORE_DATA and the rest is read on.
bool Receive(HANDLE pipe, std::string* text) {
  text->clear();
  for (;;) {
    char buffer[4096];
    OVERLAPPED overlapped{};
    overlapped.hEvent = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    DWORD n = 0;
    bool done = ReadFile(pipe, buffer, sizeof buffer, &n, &overlapped) != 0;
    DWORD error = done ? 0 : GetLastError();
    if (!done && error == ERROR_IO_PENDING) {
      done = Finish(pipe, &overlapped, kReplyTimeoutMs, &n);
      error = done ? 0 : GetLastError();
    }
    CloseHandle(overlapped.hEvent);
    if (done || error == ERROR_MORE_DATA) text->append(buffer, n);
    if (done) return true;
    if (error != ERROR_MORE_DATA) {
      SetLastError(error);
      return false;
    }
  }
}

LRESULT CALLBACK WindowProcedure(HWND window, UINT message, WPARAM w, LPARAM l) {
  return DefWindowProcA(window, message, w, l);
}

// The colour at (x, y) of what the window shows, its children's drawing
// included (read from the screen, where the program's child window is).
bool Pixel(HWND window, int x, int y, COLORREF* colour) {
  POINT point{x, y};
  if (!ClientToScreen(window, &point)) return false;
  HDC screen = GetDC(nullptr);
  *colour = GetPixel(screen, point.x, point.y);
  ReleaseDC(nullptr, screen);
  return *colour != CLR_INVALID;
}

// The probe's other process: a child window of the given window, filled
// with green until the process is ended.
int PaintChild(HWND parent) {
  WNDCLASSA childClass{};
  childClass.lpfnWndProc = WindowProcedure;
  childClass.hInstance = GetModuleHandleA(nullptr);
  childClass.lpszClassName = "OrmaPreviewHostProbe";
  if (!RegisterClassA(&childClass)) return Fail("RegisterClassA of the probe");
  RECT area{};
  GetClientRect(parent, &area);
  HWND child = CreateWindowExA(0, childClass.lpszClassName, "", WS_CHILD | WS_VISIBLE, 0, 0, area.right,
                               area.bottom, parent, nullptr, childClass.hInstance, nullptr);
  if (!child) return Fail("CreateWindowExA of the probe's child");
  HBRUSH green = CreateSolidBrush(RGB(0, 255, 0));
  for (;;) {
    PumpMessages();
    HDC dc = GetDC(child);
    FillRect(dc, &area, green);
    ReleaseDC(child, dc);
    GdiFlush();
    Sleep(50);
  }
}

std::string Quoted(const std::string& argument) {
  std::string text = "\"";
  for (char c : argument)
    text += c == '"' ? std::string("\\\"") : std::string(1, c);
  return text + "\"";
}

std::string JsonEscaped(const std::string& text) {
  std::string out;
  for (char c : text)
    out += c == '\\' || c == '"' ? std::string("\\") + c : std::string(1, c);
  return out;
}

} // namespace

int main(int argc, char** argv) {
  if (argc == 3 && std::strcmp(argv[1], "--paint-child") == 0)
    return PaintChild(reinterpret_cast<HWND>(static_cast<uintptr_t>(std::strtoull(argv[2], nullptr, 16))));
  if (argc < 3) {
    std::fprintf(stderr, "usage: preview_host PROGRAM.exe DRAFT.json [play | pause | seek=N | stop | "
                         "pixel=X,Y | probe=X,Y | wait=MS]...\n");
    return 2;
  }
  const std::string program = argv[1];
  const std::string draft = argv[2];

  WNDCLASSA windowClass{};
  windowClass.lpfnWndProc = WindowProcedure;
  windowClass.hInstance = GetModuleHandleA(nullptr);
  windowClass.lpszClassName = "OrmaPreviewHost";
  windowClass.hbrBackground = static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH));
  if (!RegisterClassA(&windowClass)) return Fail("RegisterClassA");
  RECT frame{0, 0, 640, 360};
  AdjustWindowRect(&frame, WS_OVERLAPPEDWINDOW, FALSE);
  HWND window = CreateWindowExA(0, windowClass.lpszClassName, "ormadraft preview host", WS_OVERLAPPEDWINDOW,
                                0, 0, frame.right - frame.left, frame.bottom - frame.top, nullptr, nullptr,
                                windowClass.hInstance, nullptr);
  if (!window) return Fail("CreateWindowExA");
  ShowWindow(window, SW_SHOW);
  UpdateWindow(window);
  PumpMessages();

  const std::string pipeName = "\\\\.\\pipe\\ormadraft-host-" + std::to_string(GetCurrentProcessId());
  HANDLE pipe =
      CreateNamedPipeA(pipeName.c_str(), PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED,
                       PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE | PIPE_WAIT, 1, 4096, 4096, 0, nullptr);
  if (pipe == INVALID_HANDLE_VALUE) return Fail("CreateNamedPipeA");

  // The command file, beside the draft's own temporary files of this host.
  char folder[MAX_PATH];
  char commandPath[MAX_PATH];
  if (!GetTempPathA(MAX_PATH, folder) || !GetTempFileNameA(folder, "orh", 0, commandPath))
    return Fail("GetTempFileNameA");
  {
    FILE* file = std::fopen(commandPath, "wb");
    if (!file) return Fail("fopen of the command file", static_cast<DWORD>(errno));
    std::fprintf(
        file, "{\"ver\": 1, \"type\": \"ThemesPreview\", \"hWnd\": \"%llX\", \"pipeName\": \"%s\"}\n",
        static_cast<unsigned long long>(reinterpret_cast<uintptr_t>(window)), JsonEscaped(pipeName).c_str());
    std::fclose(file);
  }

  std::string commandLine = Quoted(program) + " " + Quoted(draft) + " " + Quoted(commandPath);
  STARTUPINFOA startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process{};
  if (!CreateProcessA(program.c_str(), commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                      &startup, &process)) {
    DeleteFileA(commandPath);
    return Fail("CreateProcessA");
  }

  int status = 0;
  {
    OVERLAPPED overlapped{};
    overlapped.hEvent = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    DWORD unused = 0;
    bool connected =
        ConnectNamedPipe(pipe, &overlapped) || GetLastError() == ERROR_PIPE_CONNECTED ||
        (GetLastError() == ERROR_IO_PENDING && Finish(pipe, &overlapped, kConnectTimeoutMs, &unused));
    CloseHandle(overlapped.hEvent);
    if (!connected) status = Fail("ConnectNamedPipe");
  }

  for (int i = 3; status == 0 && i < argc; ++i) {
    const std::string step = argv[i];
    const size_t equals = step.find('=');
    const std::string key = step.substr(0, equals);
    const std::string value = equals == std::string::npos ? "" : step.substr(equals + 1);
    if (key == "wait") {
      const ULONGLONG until = GetTickCount64() + std::strtoul(value.c_str(), nullptr, 10);
      while (GetTickCount64() < until) {
        PumpMessages();
        Sleep(10);
      }
      continue;
    }
    if (key == "pixel" || key == "probe") {
      int x = 0, y = 0;
      COLORREF colour = 0;
      if (std::sscanf(value.c_str(), "%d,%d", &x, &y) != 2) {
        status = Fail("reading the pixel's place", ERROR_INVALID_PARAMETER);
        break;
      }
      PROCESS_INFORMATION painter{};
      if (key == "probe") {
        char self[MAX_PATH];
        GetModuleFileNameA(nullptr, self, MAX_PATH);
        char handle[32];
        std::snprintf(handle, sizeof handle, "%llX",
                      static_cast<unsigned long long>(reinterpret_cast<uintptr_t>(window)));
        std::string line = Quoted(self) + " --paint-child " + handle;
        STARTUPINFOA info{};
        info.cb = sizeof info;
        if (!CreateProcessA(self, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &info,
                            &painter)) {
          status = Fail("CreateProcessA of the probe");
          break;
        }
        const ULONGLONG until = GetTickCount64() + 1500;
        while (GetTickCount64() < until) {
          PumpMessages();
          Sleep(10);
        }
      }
      const bool read = Pixel(window, x, y, &colour);
      if (painter.hProcess) {
        TerminateProcess(painter.hProcess, 0);
        WaitForSingleObject(painter.hProcess, INFINITE);
        CloseHandle(painter.hThread);
        CloseHandle(painter.hProcess);
        // What the probe's child covered is drawn again by the window.
        InvalidateRect(window, nullptr, TRUE);
        PumpMessages();
      }
      if (!read) {
        status = Fail("reading the window's pixel", ERROR_INVALID_PARAMETER);
        break;
      }
      std::printf("%s %d,%d: %02X%02X%02X\n", key.c_str(), x, y, GetRValue(colour), GetGValue(colour),
                  GetBValue(colour));
      std::fflush(stdout);
      continue;
    }
    const std::string message =
        "{\"message\": [{\"key\": \"" + JsonEscaped(key) + "\", \"value\": \"" + JsonEscaped(value) + "\"}]}";
    std::string reply;
    if (!Send(pipe, message)) {
      status = Fail("WriteFile");
      break;
    }
    if (!Receive(pipe, &reply)) {
      status = Fail("ReadFile");
      break;
    }
    // On one line: the program prints its replies with cJSON's line breaks
    // and tabs.
    std::string line;
    for (char c : reply)
      if (c != '\n' && c != '\r' && c != '\t') line += c;
    std::printf("reply %s: %s\n", key.c_str(), line.c_str());
    std::fflush(stdout);
  }

  // The program ends by itself after "stop"; otherwise it is ended here.
  DWORD code = 0;
  const ULONGLONG until = GetTickCount64() + kExitTimeoutMs;
  while (
      MsgWaitForMultipleObjects(1, &process.hProcess, FALSE,
                                static_cast<DWORD>(until > GetTickCount64() ? until - GetTickCount64() : 0),
                                QS_ALLINPUT) == WAIT_OBJECT_0 + 1)
    PumpMessages();
  if (WaitForSingleObject(process.hProcess, 0) != WAIT_OBJECT_0) {
    TerminateProcess(process.hProcess, 1);
    WaitForSingleObject(process.hProcess, INFINITE);
    if (status == 0) status = Fail("waiting for the program to end", ERROR_TIMEOUT);
  }
  GetExitCodeProcess(process.hProcess, &code);
  std::printf("exit %lu\n", static_cast<unsigned long>(code));
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
  CloseHandle(pipe);
  DestroyWindow(window);
  DeleteFileA(commandPath);
  return status != 0 ? status : static_cast<int>(code);
}

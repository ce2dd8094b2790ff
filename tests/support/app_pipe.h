// The calling application's end of the preview's control pipe, for tests,
// made the way the application makes it on each system: on Windows a
// message-mode named pipe created with CreateNamedPipeA under the name the
// program is given ("\\.\pipe\NAME"); on POSIX a listening SOCK_SEQPACKET
// socket at the path the program maps that name to (preview::PipePath).
// ConnectedPair gives both ends at once, for tests that serve the program's
// end themselves.
#pragma once

#include <string>

#include "preview/control_pipe.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#endif

class AppPipe {
public:
  AppPipe() = default;
  AppPipe(const AppPipe&) = delete;
  AppPipe& operator=(const AppPipe&) = delete;
  ~AppPipe() { Close(); }

#if defined(_WIN32)
  /// Creates the pipe under `name`; false when it cannot be created.
  bool Host(const std::string& name) {
    pipe_ =
        CreateNamedPipeA(name.c_str(), PIPE_ACCESS_DUPLEX,
                         PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE | PIPE_WAIT, 1, 4096, 4096, 0, nullptr);
    return pipe_ != INVALID_HANDLE_VALUE;
  }
  /// Waits until the program has opened the pipe.
  bool Accept() { return ConnectNamedPipe(pipe_, nullptr) || GetLastError() == ERROR_PIPE_CONNECTED; }
  bool Send(const std::string& text) {
    DWORD written = 0;
    return WriteFile(pipe_, text.data(), static_cast<DWORD>(text.size()), &written, nullptr) &&
           written == text.size();
  }
  /// The next message, or "" when the program closed its end.
  std::string Receive() {
    char buffer[4096];
    DWORD n = 0;
    return ReadFile(pipe_, buffer, sizeof(buffer), &n, nullptr) ? std::string(buffer, n) : "";
  }
  /// Ends the application's side: the program's next read fails.
  void Close() {
    if (pipe_ != INVALID_HANDLE_VALUE) CloseHandle(pipe_);
    pipe_ = INVALID_HANDLE_VALUE;
  }
  /// The error number a read of the program's end gives once Close ran.
  static constexpr int kClosedError = ERROR_BROKEN_PIPE;

private:
  HANDLE pipe_ = INVALID_HANDLE_VALUE;
  friend bool ConnectedPair(AppPipe* app, preview::PipeHandle* served);
#else
  bool Host(const std::string& name) {
    listener_ = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    const std::string path = preview::PipePath(name.c_str());
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (listener_ < 0 || path.size() >= sizeof(address.sun_path)) return false;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    return bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0 &&
           listen(listener_, 1) == 0;
  }
  bool Accept() {
    client_ = accept(listener_, nullptr, nullptr);
    return client_ >= 0;
  }
  bool Send(const std::string& text) {
    return send(client_, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size());
  }
  std::string Receive() {
    char buffer[4096];
    const ssize_t n = recv(client_, buffer, sizeof(buffer), 0);
    return n > 0 ? std::string(buffer, static_cast<size_t>(n)) : "";
  }
  void Close() {
    if (client_ >= 0) close(client_);
    if (listener_ >= 0) close(listener_);
    client_ = listener_ = -1;
  }
  static constexpr int kClosedError = EPIPE;

private:
  int listener_ = -1;
  int client_ = -1;
  friend bool ConnectedPair(AppPipe* app, preview::PipeHandle* served);
#endif
};

/// The application's end in `app` and the program's end, connected, in
/// `served` (which the caller or the program closes).
inline bool ConnectedPair(AppPipe* app, preview::PipeHandle* served) {
#if defined(_WIN32)
  static int serial = 0;
  const std::string name =
      "\\\\.\\pipe\\ormadraft-test-" + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(++serial);
  if (!app->Host(name) || preview::ConnectPipe(name.c_str(), served) != 0) return false;
  return app->Accept();
#else
  int pair[2];
  if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, pair) != 0) return false;
  app->client_ = pair[0];
  *served = pair[1];
  return true;
#endif
}

/// A pipe name for a test's own pipe: `posixPath` (in the test's scratch
/// folder) on POSIX, a name unique to the process under "\\.\pipe\" on
/// Windows.
inline std::string TestPipeName(const std::string& posixPath) {
#if defined(_WIN32)
  (void)posixPath;
  static int serial = 0;
  return "\\\\.\\pipe\\ormadraft-app-" + std::to_string(GetCurrentProcessId()) + "-" +
         std::to_string(++serial);
#else
  return posixPath;
#endif
}

/// `name` as it is written inside a JSON string: a Windows pipe name's
/// backslashes doubled.
inline std::string PipeNameInJson(const std::string& name) {
  std::string text;
  for (char c : name)
    text += c == '\\' ? std::string("\\\\") : std::string(1, c);
  return text;
}

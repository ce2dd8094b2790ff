// POSIX side of the preview's control pipe (control_pipe.h): the name
// mapping and the few socket calls the pipe thread makes, each reduced to an
// errno value so that the thread prints one number per failure.
#include "preview/control_pipe.h"

#if !defined(_WIN32)

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <strings.h>

namespace preview {

std::string PipePath(const char* name) {
  static const char kWindowsPrefix[] = "\\\\.\\pipe\\";
  const size_t prefix = sizeof(kWindowsPrefix) - 1;
  if (!name) return "";
  // Windows compares pipe names without case: "\\.\PIPE\x" is the same pipe.
  if (strncasecmp(name, kWindowsPrefix, prefix) != 0) return name;
  const char* runtime = std::getenv("XDG_RUNTIME_DIR");
  const std::string folder = runtime && runtime[0] ? runtime : "/tmp";
  return folder + "/" + (name + prefix);
}

int ConnectPipe(const char* name, int* fd) {
  *fd = -1;
  const std::string path = PipePath(name);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  // A path that does not fit sun_path cannot name a socket.
  if (path.empty() || path.size() >= sizeof(address.sun_path)) return ENAMETOOLONG;
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  const int s = ::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
  if (s < 0) return errno;
  if (::connect(s, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
    const int error = errno;
    ::close(s);
    return error;
  }
  *fd = s;
  return 0;
}

int ReadMessage(int fd, char* buffer, size_t capacity, size_t* received) {
  *received = 0;
  ssize_t n;
  do {
    n = ::recv(fd, buffer, capacity, 0);
  } while (n < 0 && errno == EINTR);
  if (n < 0) return errno;
  if (n == 0) {
    // recv gives 0 both for an empty message and for a closed peer; only the
    // latter leaves the socket hung up.
    pollfd p{fd, POLLIN | POLLRDHUP, 0};
    if (::poll(&p, 1, 0) > 0 && (p.revents & (POLLHUP | POLLRDHUP))) return EPIPE;
  }
  *received = static_cast<size_t>(n);
  return 0;
}

int WriteMessage(int fd, const char* data, size_t size) {
  ssize_t n;
  do {
    n = ::send(fd, data, size, MSG_NOSIGNAL);
  } while (n < 0 && errno == EINTR);
  return n < 0 ? errno : 0;
}

int ClosePipe(int fd) { return ::close(fd) == 0 ? 0 : errno; }

} // namespace preview

#endif

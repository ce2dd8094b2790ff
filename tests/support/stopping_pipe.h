// A calling application in miniature for tests that run a whole preview:
// it hosts the control pipe (a listening SOCK_SEQPACKET socket at a path),
// accepts the program's connection, sends "stop" at once and reads the
// reply. The preview then ends as soon as it has started, so a test can look
// at everything the run did before.
#pragma once

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <string>
#include <thread>

class StoppingPipe {
public:
  explicit StoppingPipe(const std::string& path) {
    listener_ = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof(address.sun_path)) return;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    if (bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 ||
        listen(listener_, 1) != 0)
      return;
    thread_ = std::thread([this] {
      const int client = accept(listener_, nullptr, nullptr);
      if (client < 0) return;
      const char stop[] = R"({"message": [{"key": "stop", "value": ""}]})";
      send(client, stop, sizeof(stop) - 1, 0);
      char buffer[512];
      const ssize_t n = recv(client, buffer, sizeof(buffer), 0);
      if (n > 0) reply_.assign(buffer, static_cast<size_t>(n));
      close(client);
    });
  }
  ~StoppingPipe() {
    if (thread_.joinable()) thread_.join();
    close(listener_);
  }
  /// The reply to "stop" (after the preview has ended).
  const std::string& Reply() {
    if (thread_.joinable()) thread_.join();
    return reply_;
  }

private:
  int listener_ = -1;
  std::thread thread_;
  std::string reply_;
};

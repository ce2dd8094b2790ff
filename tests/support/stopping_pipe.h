// A calling application in miniature for tests that run a whole preview:
// it hosts the control pipe under a name (tests/support/app_pipe.h: a named
// pipe on Windows, a listening SOCK_SEQPACKET socket on POSIX), waits for
// the program to connect, sends "stop" at once and reads the reply. The
// preview then ends as soon as it has started, so a test can look at
// everything the run did before.
#pragma once

#include <string>
#include <thread>

#include "tests/support/app_pipe.h"

class StoppingPipe {
public:
  explicit StoppingPipe(const std::string& name) {
    if (!pipe_.Host(name)) return;
    thread_ = std::thread([this] {
      if (!pipe_.Accept()) return;
      pipe_.Send(R"({"message": [{"key": "stop", "value": ""}]})");
      reply_ = pipe_.Receive();
      pipe_.Close();
    });
  }
  ~StoppingPipe() {
    if (thread_.joinable()) thread_.join();
  }
  /// The reply to "stop" (after the preview has ended).
  const std::string& Reply() {
    if (thread_.joinable()) thread_.join();
    return reply_;
  }

private:
  AppPipe pipe_;
  std::thread thread_;
  std::string reply_;
};

// The calling application of a preview, for the end-to-end tests: it hosts
// the control socket, writes the preview command file, starts ormadraft on a
// draft with it, and then talks to it over the socket as an editor would.
// Every wait has a time limit, so a program that misbehaves fails the test
// instead of hanging it.
#pragma once

#include <string>

namespace previewtest {

struct Reply {
  bool ok = false;
  std::string text;
  std::string playtime, totaltime; ///< the values as sent
  double play = -1, total = -1;
};

class PreviewSession {
public:
  /// Listens on "<folder>/<name>", which the program reaches as the pipe
  /// "\\.\pipe\<name>" through XDG_RUNTIME_DIR; `prefix` is the pipe
  /// name's prefix as the command file writes it.
  PreviewSession(const std::string& folder, const std::string& name = "orma_preview",
                 const std::string& prefix = "\\\\.\\pipe\\");
  ~PreviewSession();

  /// Writes the command file for `windowId` and starts ormadraft on
  /// `draft` in the folder; `environment` is "NAME=value ..." added to (or,
  /// with an empty value, removed from) the program's environment.
  bool Start(const std::string& draft, const std::string& windowId, const std::string& display,
             const std::string& environment = "");
  /// Waits for the program to connect.
  bool Accept(int seconds = 30);

  /// Sends one message and waits for its reply.
  Reply Exchange(const std::string& message, int seconds = 10);
  bool Send(const std::string& message);
  /// Whether the other end has closed the socket within the time.
  bool Closed(int seconds);
  void CloseSocket();

  /// The exit status once the program has ended, or -1 when it still runs
  /// after `seconds`; -2 when it was ended by a signal.
  int Wait(double seconds);
  void Terminate();
  std::string Out() const;
  std::string Err() const;

private:
  std::string folder_, socketPath_, pipeName_;
  int listener_ = -1;
  int connection_ = -1;
  int pid_ = -1;
  int status_ = -1;
};

} // namespace previewtest

// The test's calling application (preview_session.h).
#include "tests/preview/preview_session.h"

#include <cjson/cJSON.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <thread>
#include <vector>

namespace previewtest {

namespace {

std::string ReadText(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

bool Readable(int fd, int milliseconds) {
  pollfd p{fd, POLLIN, 0};
  return poll(&p, 1, milliseconds) > 0;
}

} // namespace

PreviewSession::PreviewSession(const std::string& folder, const std::string& name, const std::string& prefix)
    : folder_(folder), socketPath_(folder + "/" + name), pipeName_(prefix + name) {
  listener_ = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, socketPath_.c_str(), sizeof(address.sun_path) - 1);
  unlink(socketPath_.c_str());
  if (bind(listener_, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 ||
      listen(listener_, 1) != 0) {
    close(listener_);
    listener_ = -1;
  }
}

PreviewSession::~PreviewSession() {
  if (pid_ > 0 && Wait(0) == -1) {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
  CloseSocket();
  if (listener_ >= 0) close(listener_);
  unlink(socketPath_.c_str());
}

bool PreviewSession::Start(const std::string& draft, const std::string& windowId, const std::string& display,
                           const std::string& environment) {
  if (listener_ < 0) return false;
  // The pipe name is written as a JSON string: its backslashes doubled.
  std::string pipe;
  for (char c : pipeName_)
    pipe += c == '\\' ? std::string("\\\\") : std::string(1, c);
  std::ofstream(folder_ + "/preview.json") << R"({"type": "ThemesPreview", "ver": 1, "loop": 0, "hWnd": ")"
                                           << windowId << R"(", "pipeName": ")" << pipe << R"("})";
  pid_ = fork();
  if (pid_ == 0) {
    if (chdir(folder_.c_str()) != 0) _exit(126);
    const int out = open("out.txt", O_WRONLY | O_CREAT | O_TRUNC, 0644);
    const int err = open("err.txt", O_WRONLY | O_CREAT | O_TRUNC, 0644);
    dup2(out, 1);
    dup2(err, 2);
    setenv("XDG_RUNTIME_DIR", folder_.c_str(), 1);
    setenv("SDL_AUDIODRIVER", "dummy", 1);
    setenv("DISPLAY", display.c_str(), 1);
    std::istringstream words(environment);
    for (std::string word; words >> word;) {
      const size_t eq = word.find('=');
      if (eq == std::string::npos) continue;
      if (eq + 1 == word.size())
        unsetenv(word.substr(0, eq).c_str());
      else
        setenv(word.substr(0, eq).c_str(), word.substr(eq + 1).c_str(), 1);
    }
    execl(ORMADRAFT_EXE, ORMADRAFT_EXE, draft.c_str(), "preview.json", static_cast<char*>(nullptr));
    _exit(127);
  }
  return pid_ > 0;
}

bool PreviewSession::Accept(int seconds) {
  // A program that has ended will not connect any more.
  bool ready = false;
  for (int waited = 0; waited < seconds * 1000 && !ready && Wait(0) == -1; waited += 100)
    ready = Readable(listener_, 100);
  if (!ready) return false;
  connection_ = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
  return connection_ >= 0;
}

bool PreviewSession::Send(const std::string& message) {
  return connection_ >= 0 && send(connection_, message.data(), message.size(), MSG_NOSIGNAL) ==
                                 static_cast<ssize_t>(message.size());
}

Reply PreviewSession::Exchange(const std::string& message, int seconds) {
  Reply reply;
  if (!Send(message) || !Readable(connection_, seconds * 1000)) return reply;
  char buffer[4096];
  const ssize_t n = recv(connection_, buffer, sizeof(buffer), 0);
  if (n <= 0) return reply;
  reply.text.assign(buffer, static_cast<size_t>(n));
  cJSON* root = cJSON_Parse(reply.text.c_str());
  const cJSON* list = cJSON_GetObjectItem(root, "message");
  if (cJSON_GetArraySize(list) == 2) {
    const cJSON* play = cJSON_GetArrayItem(list, 0);
    const cJSON* total = cJSON_GetArrayItem(list, 1);
    const cJSON* playValue = cJSON_GetObjectItem(play, "value");
    const cJSON* totalValue = cJSON_GetObjectItem(total, "value");
    if (cJSON_IsString(playValue) && cJSON_IsString(totalValue) &&
        std::string(cJSON_GetObjectItem(play, "key")->valuestring) == "playtime" &&
        std::string(cJSON_GetObjectItem(total, "key")->valuestring) == "totaltime") {
      reply.playtime = playValue->valuestring;
      reply.totaltime = totalValue->valuestring;
      reply.play = std::strtod(playValue->valuestring, nullptr);
      reply.total = std::strtod(totalValue->valuestring, nullptr);
      reply.ok = true;
    }
  }
  cJSON_Delete(root);
  return reply;
}

bool PreviewSession::Closed(int seconds) {
  if (connection_ < 0) return true;
  if (!Readable(connection_, seconds * 1000)) return false;
  char c;
  return recv(connection_, &c, 1, MSG_DONTWAIT) == 0;
}

void PreviewSession::CloseSocket() {
  if (connection_ >= 0) close(connection_);
  connection_ = -1;
}

int PreviewSession::Wait(double seconds) {
  if (pid_ <= 0) return status_;
  const auto until = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
  for (;;) {
    int status = 0;
    if (waitpid(pid_, &status, WNOHANG) == pid_) {
      pid_ = -1;
      status_ = WIFEXITED(status) ? WEXITSTATUS(status) : -2;
      return status_;
    }
    if (std::chrono::steady_clock::now() >= until) return -1;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
}

void PreviewSession::Terminate() {
  if (pid_ > 0) kill(pid_, SIGTERM);
}

std::string PreviewSession::Out() const { return ReadText(folder_ + "/out.txt"); }
std::string PreviewSession::Err() const { return ReadText(folder_ + "/err.txt"); }

} // namespace previewtest

#include "engine/encode/output_file.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "engine/core/log.h"

namespace orma {

namespace {

struct TargetParts {
  std::string folder, base, extension;
};

TargetParts Split(const std::string& target) {
  TargetParts p;
  size_t slash = target.rfind('/');
  p.folder = slash == std::string::npos ? "." : target.substr(0, slash);
  p.base = slash == std::string::npos ? target : target.substr(slash + 1);
  size_t dot = p.base.rfind('.');
  p.extension = dot == std::string::npos ? "" : p.base.substr(dot);
  return p;
}

// The process id written into a temporary's name for this target, or -1 when
// the name is not one of its temporaries.
long WriterOf(const std::string& name, const TargetParts& p) {
  const std::string prefix = "." + p.base + ".";
  const std::string suffix = ".part" + p.extension;
  if (name.size() <= prefix.size() + suffix.size()) return -1;
  if (name.compare(0, prefix.size(), prefix) != 0) return -1;
  if (name.compare(name.size() - suffix.size(), suffix.size(), suffix) != 0) return -1;
  std::string digits = name.substr(prefix.size(), name.size() - prefix.size() - suffix.size());
  if (digits.empty() || digits.size() > 9 || digits.find_first_not_of("0123456789") != std::string::npos)
    return -1;
  return std::strtol(digits.c_str(), nullptr, 10);
}

bool Running(long pid) { return pid > 0 && (kill(static_cast<pid_t>(pid), 0) == 0 || errno == EPERM); }

} // namespace

std::string AbsolutePath(const std::string& path) {
  if (!path.empty() && path[0] == '/') return path;
  char cwd[PATH_MAX];
  if (!getcwd(cwd, sizeof cwd)) return path;
  return std::string(cwd) + "/" + path;
}

std::string TemporaryOutputPath(const std::string& target) {
  TargetParts p = Split(target);
  return p.folder + "/." + p.base + "." + std::to_string(getpid()) + ".part" + p.extension;
}

int RemoveStaleTemporaries(const std::string& target) {
  TargetParts p = Split(target);
  DIR* dir = opendir(p.folder.c_str());
  if (!dir) return 0;
  int removed = 0;
  while (dirent* entry = readdir(dir)) {
    long pid = WriterOf(entry->d_name, p);
    if (pid < 0 || pid == getpid() || Running(pid)) continue;
    std::string path = p.folder + "/" + entry->d_name;
    if (unlink(path.c_str()) == 0) {
      LogText("removed " + path + ", left by an export that did not end (process " + std::to_string(pid) +
              ")");
      ++removed;
    }
  }
  closedir(dir);
  return removed;
}

PartFile::~PartFile() {
  if (!path_.empty() && !placed_) ::unlink(path_.c_str());
}

bool PartFile::Create(const std::string& target, std::string* cause) {
  struct stat st;
  if (stat(target.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) {
    *cause = "cannot write " + target + ": it is a folder";
    return false;
  }
  RemoveStaleTemporaries(target);
  std::string temp = TemporaryOutputPath(target);
  int fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (fd < 0) {
    *cause = "cannot write " + target + ": " + std::strerror(errno);
    return false;
  }
  ::close(fd);
  target_ = target;
  path_ = temp;
  return true;
}

bool PartFile::Place(std::string* cause) {
  if (std::rename(path_.c_str(), target_.c_str()) != 0) {
    *cause = "cannot move the video to " + target_ + ": " + std::strerror(errno);
    return false;
  }
  placed_ = true;
  return true;
}

} // namespace orma

#include "engine/encode/output_file.h"

#include <cstdlib>

#include "engine/core/files.h"
#include "engine/core/log.h"

namespace orma {

namespace {

struct TargetParts {
  std::string folder, base, extension;
};

TargetParts Split(const std::string& target) {
  TargetParts p;
  size_t slash = LastSeparator(target);
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

// The folder and name joined with the separator the target itself uses.
std::string InFolder(const std::string& target, const TargetParts& p, const std::string& name) {
  size_t slash = LastSeparator(target);
  char separator = slash == std::string::npos ? '/' : target[slash];
  return p.folder + separator + name;
}

} // namespace

std::string TemporaryOutputPath(const std::string& target) {
  TargetParts p = Split(target);
  return InFolder(target, p, "." + p.base + "." + std::to_string(ProcessId()) + ".part" + p.extension);
}

int RemoveStaleTemporaries(const std::string& target) {
  TargetParts p = Split(target);
  int removed = 0;
  for (const std::string& name : FolderEntries(p.folder)) {
    long pid = WriterOf(name, p);
    if (pid < 0 || pid == ProcessId() || ProcessRunning(pid)) continue;
    std::string path = InFolder(target, p, name);
    if (RemoveFileAt(path)) {
      LogText("removed " + path + ", left by an export that did not end (process " + std::to_string(pid) +
              ")");
      ++removed;
    }
  }
  return removed;
}

PartFile::~PartFile() {
  if (!path_.empty() && !placed_) RemoveFileAt(path_);
}

bool PartFile::Create(const std::string& target, std::string* cause) {
  if (IsFolder(target)) {
    *cause = "cannot write " + target + ": it is a folder";
    return false;
  }
  RemoveStaleTemporaries(target);
  std::string temp = TemporaryOutputPath(target);
  std::string why;
  if (!CreateEmptyFile(temp, &why)) {
    *cause = "cannot write " + target + ": " + why;
    return false;
  }
  target_ = target;
  path_ = temp;
  return true;
}

bool PartFile::Place(std::string* cause) {
  std::string why;
  if (!MoveFileOnto(path_, target_, &why)) {
    *cause = "cannot move the video to " + target_ + ": " + why;
    return false;
  }
  placed_ = true;
  return true;
}

} // namespace orma

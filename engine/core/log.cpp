#include "engine/core/log.h"

#include <charconv>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <set>

namespace orma {

namespace {
std::mutex& LogMutex() {
  static std::mutex mutex;
  return mutex;
}
} // namespace

void LogText(const std::string& text) {
  std::string line = "[OrmaCore] " + text;
  if (line.empty() || line.back() != '\n') line.push_back('\n');
  std::lock_guard<std::mutex> lock(LogMutex());
  std::fwrite(line.data(), 1, line.size(), stdout);
  std::fflush(stdout);
}

void Log(const char* format, ...) {
  char buffer[2048];
  va_list args;
  va_start(args, format);
  std::vsnprintf(buffer, sizeof buffer, format, args);
  va_end(args);
  LogText(buffer);
}

void LogOnce(const std::string& key, const std::string& text) {
  static std::mutex mutex;
  static std::set<std::string> seen;
  {
    std::lock_guard<std::mutex> lock(mutex);
    if (!seen.insert(key).second) return;
  }
  LogText(text);
}

namespace {
struct LastFailureText {
  std::mutex mutex;
  std::string text;
};
LastFailureText& Last() {
  static LastFailureText last;
  return last;
}
} // namespace

void NoteFailure(const std::string& text) {
  std::lock_guard<std::mutex> lock(Last().mutex);
  Last().text = text;
}

std::string LastFailure() {
  std::lock_guard<std::mutex> lock(Last().mutex);
  return Last().text;
}

std::string FormatDouble(double value) {
  if (std::isnan(value)) return "nan";
  if (std::isinf(value)) return value > 0 ? "inf" : "-inf";
  char buffer[64];
  auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
  return std::string(buffer, result.ptr);
}

} // namespace orma

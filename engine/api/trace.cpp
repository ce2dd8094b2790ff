#include "engine/api/trace.h"

#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>

#include "engine/core/files.h"
#include "engine/core/log.h"

namespace orma {

namespace {
const char* TracePath() {
  static const char* path = [] {
    const char* value = std::getenv("ORMA_TRACE");
    return (value && *value) ? value : nullptr;
  }();
  return path;
}
} // namespace

bool TraceEnabled() { return TracePath() != nullptr; }

void TraceArgs::Key(const char* name) {
  if (!text_.empty()) text_ += ", ";
  text_ += name;
  text_ += '=';
}

TraceArgs& TraceArgs::Ptr(const char* name, const void* value) {
  Key(name);
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%p", value);
  text_ += value ? buffer : "null";
  return *this;
}

TraceArgs& TraceArgs::Int(const char* name, int64_t value) {
  Key(name);
  text_ += std::to_string(value);
  return *this;
}

TraceArgs& TraceArgs::Dbl(const char* name, double value) {
  Key(name);
  text_ += FormatDouble(value);
  return *this;
}

TraceArgs& TraceArgs::Text(const char* name, const char* value) {
  Key(name);
  if (!value) {
    text_ += "null";
    return *this;
  }
  text_ += '"';
  for (const char* p = value; *p; ++p) {
    unsigned char c = static_cast<unsigned char>(*p);
    if (c == '"' || c == '\\') {
      text_ += '\\';
      text_ += static_cast<char>(c);
    } else if (c < 0x20) {
      char buffer[8];
      std::snprintf(buffer, sizeof buffer, "\\x%02x", c);
      text_ += buffer;
    } else {
      text_ += static_cast<char>(c);
    }
  }
  text_ += '"';
  return *this;
}

TraceArgs& TraceArgs::Floats(const char* name, const float* values, int count) {
  Key(name);
  if (!values) {
    text_ += "null";
    return *this;
  }
  text_ += '[';
  for (int i = 0; i < count; ++i) {
    if (i) text_ += ' ';
    text_ += FormatDouble(values[i]);
  }
  text_ += ']';
  return *this;
}

TraceArgs& TraceArgs::Pair(const char* name, double first, double second) {
  Key(name);
  text_ += FormatDouble(first) + "," + FormatDouble(second);
  return *this;
}

TraceArgs& TraceArgs::Raw(const char* name, const std::string& value) {
  Key(name);
  text_ += value;
  return *this;
}

std::string TraceResult(int64_t value) { return std::to_string(value); }

std::string TraceResult(const void* handle) {
  if (!handle) return "null";
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%p", handle);
  return buffer;
}

void TraceCall(const char* function, const TraceArgs& args, const std::string& result) {
  const char* path = TracePath();
  if (!path) return;
  using namespace std::chrono;
  long long ms = duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
  std::string line = std::to_string(ms) + " " + function + "(" + args.str() + ") = " + result + "\n";
  if (!AppendText(path, line))
    LogOnce("trace-open", std::string("cannot open the trace file named by ORMA_TRACE: ") + path);
}

} // namespace orma

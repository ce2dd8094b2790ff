#include "tests/support/recording_core.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <map>
#include <mutex>

namespace recorder {
namespace {

struct State {
  std::mutex mutex;
  std::vector<Call> calls;
  std::map<std::string, int64_t> results;
  std::map<std::string, std::deque<int64_t>> queued;
  std::map<std::string, int64_t> outValues;
  std::map<std::string, std::deque<std::vector<uint8_t>>> outBlocks;
  std::map<const void*, std::string> handleNames;
  uintptr_t nextHandle = 1;
  bool environmentRead = false;
};

State& S() {
  static State* state = new State(); // outlives threads still polling at exit
  return *state;
}

// "Name=v1,v2;Other=v": a single value is set for good, several are queued.
void ReadEnvironmentLocked(State& s) {
  if (s.environmentRead) return;
  s.environmentRead = true;
  const char* script = std::getenv("ORMA_RECORDER_SCRIPT");
  if (!script) return;
  std::string all(script);
  size_t pos = 0;
  while (pos <= all.size()) {
    size_t end = all.find(';', pos);
    std::string entry = all.substr(pos, end == std::string::npos ? std::string::npos : end - pos);
    size_t eq = entry.find('=');
    if (eq != std::string::npos) {
      std::string name = entry.substr(0, eq);
      std::vector<int64_t> values;
      std::string list = entry.substr(eq + 1);
      size_t p = 0;
      while (p <= list.size()) {
        size_t comma = list.find(',', p);
        values.push_back(std::strtoll(list.substr(p, comma - p).c_str(), nullptr, 10));
        if (comma == std::string::npos) break;
        p = comma + 1;
      }
      if (values.size() == 1) {
        s.results[name] = values[0];
      } else {
        s.queued[name].assign(values.begin(), values.end() - 1);
        s.results[name] = values.back();
      }
    }
    if (end == std::string::npos) break;
    pos = end + 1;
  }
}

int64_t DefaultResult(const std::string& name) { return name == "OrmaEditProgress" ? 100 : 1; }

int64_t NextResultLocked(State& s, const std::string& name) {
  ReadEnvironmentLocked(s);
  auto q = s.queued.find(name);
  if (q != s.queued.end() && !q->second.empty()) {
    int64_t v = q->second.front();
    q->second.pop_front();
    return v;
  }
  auto r = s.results.find(name);
  return r != s.results.end() ? r->second : DefaultResult(name);
}

void LogLocked(const Call& call) {
  const char* path = std::getenv("ORMA_RECORDER_LOG");
  if (!path || !*path) return;
  if (FILE* f = std::fopen(path, "a")) {
    std::string result = call.handle.empty() ? std::to_string(call.result) : call.handle;
    std::fprintf(f, "%s = %s\n", Format(call).c_str(), result.c_str());
    std::fclose(f);
  }
}

} // namespace

void Reset() {
  State& s = S();
  std::lock_guard<std::mutex> lock(s.mutex);
  s.calls.clear();
  s.results.clear();
  s.queued.clear();
  s.outValues.clear();
  s.outBlocks.clear();
  s.handleNames.clear();
  s.nextHandle = 1;
  s.environmentRead = true; // tests script through the API, not the environment
}

void SetResult(const std::string& name, int64_t value) {
  std::lock_guard<std::mutex> lock(S().mutex);
  S().results[name] = value;
}

void QueueResults(const std::string& name, const std::vector<int64_t>& values) {
  std::lock_guard<std::mutex> lock(S().mutex);
  auto& q = S().queued[name];
  q.insert(q.end(), values.begin(), values.end());
}

void SetOutValue(const std::string& name, int64_t value) {
  std::lock_guard<std::mutex> lock(S().mutex);
  S().outValues[name] = value;
}

void QueueOutBlock(const std::string& name, const std::vector<uint8_t>& bytes) {
  std::lock_guard<std::mutex> lock(S().mutex);
  S().outBlocks[name].push_back(bytes);
}

std::vector<Call> Calls() {
  std::lock_guard<std::mutex> lock(S().mutex);
  return S().calls;
}

std::vector<std::string> CallNames() {
  std::vector<std::string> names;
  for (const Call& c : Calls())
    names.push_back(c.name);
  return names;
}

std::string Format(const Call& call) {
  std::string text = call.name + "(";
  for (size_t i = 0; i < call.args.size(); ++i)
    text += (i ? ", " : "") + call.args[i];
  return text + ")";
}

std::vector<std::string> Formatted(const std::string& namePrefix) {
  std::vector<std::string> out;
  for (const Call& c : Calls())
    if (c.name.compare(0, namePrefix.size(), namePrefix) == 0) out.push_back(Format(c));
  return out;
}

namespace detail {

std::string HandleName(const void* handle) {
  if (!handle) return "null";
  std::lock_guard<std::mutex> lock(S().mutex);
  auto it = S().handleNames.find(handle);
  if (it != S().handleNames.end()) return it->second;
  // As glibc prints "%p", on every system (Windows prints no "0x" and pads
  // with zeros).
  char buffer[32];
  std::snprintf(buffer, sizeof(buffer), "0x%llx",
                static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(handle)));
  return buffer;
}

std::string Text(const char* text) { return text ? std::string("\"") + text + "\"" : "null"; }

std::string Real(double value) {
  char buffer[64];
  std::snprintf(buffer, sizeof(buffer), "%.9g", value);
  return buffer;
}

std::string Floats(const float* values, int count) {
  if (!values) return "null";
  std::string text = "{";
  for (int i = 0; i < count; ++i)
    text += (i ? "," : "") + Real(values[i]);
  return text + "}";
}

std::string Block(const void* block, size_t size, Call* call) {
  if (!block) return "null";
  const auto* bytes = static_cast<const uint8_t*>(block);
  call->blocks.emplace_back(bytes, bytes + size);
  return "block" + std::to_string(call->blocks.size() - 1);
}

int64_t Finish(Call&& call) {
  State& s = S();
  std::lock_guard<std::mutex> lock(s.mutex);
  call.result = NextResultLocked(s, call.name);
  LogLocked(call);
  int64_t r = call.result;
  s.calls.push_back(std::move(call));
  return r;
}

void* FinishHandle(Call&& call) {
  State& s = S();
  std::lock_guard<std::mutex> lock(s.mutex);
  int64_t r = NextResultLocked(s, call.name);
  void* handle = nullptr;
  if (r != 0) {
    // Distinct, never dereferenced addresses.
    handle = reinterpret_cast<void*>(0x10000 + s.nextHandle * 16);
    call.handle = "h" + std::to_string(s.nextHandle++);
    s.handleNames[handle] = call.handle;
  } else {
    call.handle = "null";
  }
  call.result = handle ? 1 : 0;
  LogLocked(call);
  s.calls.push_back(std::move(call));
  return handle;
}

int64_t OutValue(const char* name) {
  std::lock_guard<std::mutex> lock(S().mutex);
  auto it = S().outValues.find(name);
  return it != S().outValues.end() ? it->second : 0;
}

void FillOutBlock(const char* name, void* block, size_t size) {
  if (!block) return;
  std::lock_guard<std::mutex> lock(S().mutex);
  auto& q = S().outBlocks[name];
  if (q.empty()) return;
  std::vector<uint8_t> bytes = std::move(q.front());
  q.pop_front();
  std::memcpy(block, bytes.data(), bytes.size() < size ? bytes.size() : size);
}

} // namespace detail
} // namespace recorder

// ORMA_TRACE=FILE: the library appends one line per API call to FILE, with
// the call's arguments and result, so that a draft's rendering can be
// followed call by call without a debugger.
#pragma once

#include <cstdint>
#include <string>

namespace orma {

bool TraceEnabled();

/// Collects "name=value" pairs of one call. Texts are quoted and escaped.
class TraceArgs {
public:
  TraceArgs& Ptr(const char* name, const void* value);
  TraceArgs& Int(const char* name, int64_t value);
  TraceArgs& Dbl(const char* name, double value);
  TraceArgs& Text(const char* name, const char* value);
  TraceArgs& Floats(const char* name, const float* values, int count);
  /// "name=first,second" (a point or a size).
  TraceArgs& Pair(const char* name, double first, double second);
  TraceArgs& Raw(const char* name, const std::string& value);
  const std::string& str() const { return text_; }

private:
  void Key(const char* name);
  std::string text_;
};

void TraceCall(const char* function, const TraceArgs& args, const std::string& result);

std::string TraceResult(int64_t value);
std::string TraceResult(const void* handle);

} // namespace orma

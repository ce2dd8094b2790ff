// Recording test double of the core library (tests only). Every API call is
// recorded with its arguments formatted as text, and answered from a script:
// status calls return 1, handle calls a fresh non-null handle ("h1", "h2", ...)
// unless a result was scripted. OrmaEditProgress answers 100 by default.
//
// The command-line test binary is scripted through the environment:
//   ORMA_RECORDER_SCRIPT="OrmaSetFrameSize=-3;OrmaEditProgress=10,50,100"
//   ORMA_RECORDER_LOG=/path/to/calls.log   (one formatted call per line)
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "corelib/orma_core.h"

namespace recorder {

struct Call {
  std::string name;
  std::vector<std::string> args;              ///< formatted arguments
  std::vector<std::vector<uint8_t>> blocks;   ///< bytes of block arguments, in order
  int64_t result = 0;                         ///< status, or 0/1 for handles
  std::string handle;                         ///< "h<N>" or "null" for handle calls
};

/// Forgets all calls and scripts; handle numbering starts again at h1.
void Reset();

/// Every later call of `name` returns `value` (0 makes a handle call return null).
void SetResult(const std::string& name, int64_t value);

/// The next calls of `name` return these values in order, then the set result.
void QueueResults(const std::string& name, const std::vector<int64_t>& values);

/// Value written to an int32/int64 out-parameter of `name` (OrmaGetFaceCount...).
void SetOutValue(const std::string& name, int64_t value);

/// Bytes copied into an out-block of `name` (OrmaCaptionGetItemCaptionParam...);
/// queued, one per call; an empty queue leaves the block untouched.
void QueueOutBlock(const std::string& name, const std::vector<uint8_t>& bytes);

std::vector<Call> Calls();
std::vector<std::string> CallNames();
/// Calls formatted as "Name(arg, arg)"; with a prefix, only those names.
std::vector<std::string> Formatted(const std::string& namePrefix = "");
std::string Format(const Call& call);

namespace detail {
std::string HandleName(const void* handle);
std::string Text(const char* text);
std::string Real(double value);
std::string Floats(const float* values, int count);
std::string Block(const void* block, size_t size, Call* call);
int64_t Finish(Call&& call);
void* FinishHandle(Call&& call);
int64_t OutValue(const char* name);
void FillOutBlock(const char* name, void* block, size_t size);
} // namespace detail

} // namespace recorder

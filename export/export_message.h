// How a step of the export reports a failure: its text goes into the message
// buffer the driver prints (kExportMessageSize bytes, possibly null when no
// one reads it) and its result is handed back, so that a failing step reads
//   if (!audio) return Fail(message, kAddMusicFailed, "Add audio media fail");
// with the result before the text, as in the core library's own refusals.
//
// The fixed texts say what failed; the cause says where and why: the file,
// the key and the value, or the core library's own reason. It is kept for
// the run driver, which prints it with the message on standard error:
//   return FailBecause(message, kSceneMediaFailed, "Scene media path is null", "scene 2, medium 1 ...");
#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "export/export_draft.h"
#include "platform/text_number.h"

/// Copies `text` into the message buffer, when there is one.
inline void SetMessage(char* message, const char* text) {
  if (message) platform::CopyText(message, kExportMessageSize, text);
}

/// Sets the message and returns `result`.
inline int32_t Fail(char* message, int32_t result, const char* text) {
  SetMessage(message, text);
  return result;
}

/// Where and why this run's export failed, beyond its fixed message: the
/// file, key and value concerned, and whether the core library's own reason
/// (OrmaGetLastError) belongs after it, which the run driver asks for once
/// the export has ended: a failing call's result was returned.
struct ExportFailureCause {
  std::string where;
  bool libraryReason = false;
};

inline ExportFailureCause& FailureCause() {
  static ExportFailureCause cause;
  return cause;
}

/// Fail, with the cause found by the program kept for the run driver.
inline int32_t FailBecause(char* message, int32_t result, const char* text, std::string where) {
  FailureCause() = ExportFailureCause{std::move(where), false};
  return Fail(message, result, text);
}

/// Fail after a core-library call failed: where it was made, and the
/// library's reason to come.
inline int32_t FailInLibrary(char* message, int32_t result, const char* text, std::string where) {
  FailureCause() = ExportFailureCause{std::move(where), true};
  return Fail(message, result, text);
}

/// Why the core library's most recent call failed, in its own words; empty
/// when it gives none.
inline std::string LibraryCause() {
  char text[2048] = {0};
  return OrmaGetLastError(text, sizeof text) > 0 ? std::string(text) : std::string();
}

// How a step of the export reports a failure: its text goes into the message
// buffer the driver prints (kExportMessageSize bytes, possibly null when no
// one reads it) and its result is handed back, so that a failing step reads
//   if (!audio) return Fail(message, -1961, "Add audio media fail");
// with the result before the text, as in the core library's own refusals.
#pragma once

#include <cstdint>

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

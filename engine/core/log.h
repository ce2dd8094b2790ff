// Diagnostics of the core library: one line per event on standard output,
// prefixed "[OrmaCore] ", written whole so that lines of the program's
// progress thread never cut into them.
#pragma once

#include <string>

namespace orma {

/// Writes "[OrmaCore] <text>\n". The text is copied literally (never used as
/// a format), so names and paths from a draft may hold any character.
void LogText(const std::string& text);

/// printf-style convenience for texts the engine composes itself; arguments
/// that come from a draft must be passed through "%s".
void Log(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// Logs the text only the first time `key` is seen in this process.
void LogOnce(const std::string& key, const std::string& text);

/// Keeps `text` as the cause of the library's most recent failure, which a
/// caller asks for with OrmaGetLastError to tell its user why a call failed.
void NoteFailure(const std::string& text);

/// The text NoteFailure kept last; empty before the first failure.
std::string LastFailure();

/// Numbers in logs and traces are written with "." whatever the locale.
std::string FormatDouble(double value);

} // namespace orma

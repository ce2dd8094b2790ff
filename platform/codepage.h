// Code-page conversions between the "ANSI" code page of the command line
// (the locale's codeset on POSIX) and the UTF-8 used inside the program.
#pragma once

#include <string>

/// Newly allocated UTF-8 copy of an ANSI text (caller frees with free()).
char* AnsiToUtf8(const char* text);

/// UTF-8 -> ANSI into out. When the result with its terminator fits
/// *capacity it is written and its length (terminator included) returned;
/// otherwise *capacity receives the length needed and 0 is returned.
int Utf8ToAnsi(const char* text, void* reserved, char* out, int* capacity);

/// A UTF-8 path as the console shows it: in the ANSI code page (the
/// locale's codeset on POSIX), as the command line gave it; unchanged when
/// it does not convert.
std::string ConsoleText(const std::string& utf8);

/// 1 when the UTF-8 path names something that exists, else 0.
int FileExists(const char* utf8Path);

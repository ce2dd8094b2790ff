// The few POSIX calls the program's tests use for their scratch folders and
// environment (mkdtemp, setenv, unsetenv, geteuid), given to the tests'
// Windows build in terms of the C runtime, so that one set of tests runs on
// both systems. The tests' CMake file includes it first in every test source
// of that build; on POSIX it is not used.
#pragma once

#if defined(_WIN32)

#include <direct.h>
#include <io.h>
#include <process.h>
#include <windows.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

// A unique folder from a pattern ending in "XXXXXX", created with _mkdir;
// the pattern is rewritten in place as on POSIX.
inline char* mkdtemp(char* pattern) {
  const size_t n = std::strlen(pattern);
  if (n < 6 || std::strcmp(pattern + n - 6, "XXXXXX") != 0) {
    errno = EINVAL;
    return nullptr;
  }
  static unsigned counter = 0;
  const char digits[] = "abcdefghijklmnopqrstuvwxyz0123456789";
  for (int attempt = 0; attempt < 1000; ++attempt) {
    unsigned value = static_cast<unsigned>(GetTickCount64()) * 7919u +
                     static_cast<unsigned>(_getpid()) * 104729u + ++counter * 2654435761u;
    for (size_t i = n - 6; i < n; ++i) {
      pattern[i] = digits[value % 36];
      value /= 36;
    }
    if (_mkdir(pattern) == 0) return pattern;
    if (errno != EEXIST) return nullptr;
  }
  return nullptr;
}

inline int setenv(const char* name, const char* value, int overwrite) {
  if (!overwrite && std::getenv(name)) return 0;
  return _putenv_s(name, value) == 0 ? 0 : -1;
}

// _putenv_s with an empty value removes the variable.
inline int unsetenv(const char* name) { return _putenv_s(name, "") == 0 ? 0 : -1; }

// Permission bits set with chmod do not keep a Windows user from writing
// into a folder or reading a file, as they do not keep POSIX root from it:
// the tests that need them to bind skip, as they do under root.
inline unsigned geteuid() { return 0; }

#endif

// Paths as the program joins them, for the tests' expectations.
#pragma once

#include <string>

#include "platform/platform.h"

namespace testpath {

/// The pieces joined with the system's separator ("\\" on Windows, "/"
/// elsewhere), as the program joins a folder and a name. Each piece keeps
/// the separators it was written with: only the joins are the program's.
inline std::string Joined(const std::string& path) { return path; }

template <typename... More>
std::string Joined(const std::string& folder, const std::string& name, const More&... more) {
  return Joined(folder + platform::kSeparator + name, more...);
}

} // namespace testpath

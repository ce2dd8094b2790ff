// The export never writes its output path directly: the video goes to a
// temporary file beside it (same folder, so the final rename is atomic on
// the same file system), named after the target and the writing process:
//   <folder>/.<name>.<pid>.part<extension>
// and is renamed into place only when complete. A failed export removes its
// temporary file; a killed one cannot, so the next export to the same target
// removes the temporaries of processes that no longer run. A previous video
// at the target is thus either replaced whole or left untouched.
#pragma once

#include <string>

namespace orma {

/// The temporary file the current process writes `target` through.
std::string TemporaryOutputPath(const std::string& target);

/// Removes the temporaries of `target` left by processes that no longer run;
/// returns how many were removed (each is logged).
int RemoveStaleTemporaries(const std::string& target);

} // namespace orma

// The export never writes its output path directly: the video goes to a
// temporary file beside it (same folder, so the final rename is atomic on
// the same file system), named after the target and the writing process:
//   <folder>/.<name>.<pid>.part<extension>
// and is renamed into place only when complete. A failed export removes its
// temporary file; a killed one cannot, so the next export to the same target
// removes the temporaries of processes that no longer run. A previous video
// at the target is thus either replaced whole or left untouched.
//
//   PartFile part;
//   if (!part.Create(AbsolutePath(outPath), &cause)) ...   // write part.path()
//   if (!part.Place(&cause)) ...                           // else it is removed
#pragma once

#include <string>

#include "engine/core/files.h"

namespace orma {

/// The temporary file one export writes its video to. Removed again when
/// it goes, unless Place has put it at the target.
class PartFile {
public:
  PartFile() = default;
  PartFile(const PartFile&) = delete;
  PartFile& operator=(const PartFile&) = delete;
  ~PartFile();

  /// Creates the (empty) temporary of `target`, an absolute path, after
  /// removing stale ones; false with *cause naming the target when it is a
  /// folder or cannot be written.
  bool Create(const std::string& target, std::string* cause);
  const std::string& path() const { return path_; }
  /// Moves the finished video onto the target; false with *cause.
  bool Place(std::string* cause);

private:
  std::string target_;
  std::string path_; ///< empty until created
  bool placed_ = false;
};

/// The temporary file the current process writes `target` through.
std::string TemporaryOutputPath(const std::string& target);

/// Removes the temporaries of `target` left by processes that no longer run;
/// returns how many were removed (each is logged).
int RemoveStaleTemporaries(const std::string& target);

} // namespace orma

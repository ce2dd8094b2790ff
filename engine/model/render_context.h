// What everything that renders one export shares: the MLT profile, the
// canvas size, colour matrix and frame rate, the pool of clip readers that
// scenes hand on to each other, and the first failure, which stops the
// export and is reported as its error.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <mlt-7/framework/mlt.h>

#include "engine/core/mlt_handles.h"
#include "engine/core/rational.h"
#include "engine/media/video_decoder.h"

namespace orma {

class ClipSound;
struct ExportSettings;

/// What reads one clip: its picture decoder and its sound reader.
struct ClipReader {
  std::unique_ptr<VideoDecoder> video;
  std::shared_ptr<ClipSound> sound;
};

/// Readers of clips that a scene no longer needs, kept for the next scene
/// that reads the same file. Cutting back and forth between a few clips is
/// the common draft; reusing a decoder that already stands just before the
/// next scene's first frame turns a seek (decoding from the previous key
/// frame) and a reopening into a few frames of reading forward.
class ClipPool {
public:
  /// An idle reader of `path` whose decoder stands at or before `position`
  /// (the nearest), or any idle one of `path`, or an empty one.
  ClipReader Take(const std::string& path, int64_t position);
  /// Hands a reader back for later scenes.
  void Give(const std::string& path, ClipReader reader);

private:
  struct Idle {
    std::string path;
    ClipReader reader;
  };
  std::mutex mutex_;
  std::vector<Idle> idle_;
};

/// Shared by everything that renders one export.
struct RenderContext {
  mlt_profile profile = nullptr;
  int width = 0;
  int height = 0;
  int matrix = 601;
  Rational fps;
  bool hardwareDecoding = false; ///< decode clips with VA-API
  /// False for an export of the sound alone: clips are then read for their
  /// sound only, no picture is decoded or loaded.
  bool drawPictures = true;
  ClipPool clips;
  std::atomic<bool> failed{false};
  std::mutex errorMutex;
  std::string error;

  /// Records the first failure; the export stops and reports it.
  void Fail(const std::string& message);
  std::string Error();
};

/// Colour matrix the engine works in for a frame height.
int CanvasMatrix(int height);

/// A profile for the video's frame size and exact frame rate (null when MLT
/// cannot make one).
ProfilePtr MakeProfile(const ExportSettings& settings);

} // namespace orma

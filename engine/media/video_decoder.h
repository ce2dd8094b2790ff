// The pictures of a clip, decoded in order with libavformat and libavcodec
// under the rules every media file is opened by (probe.h).
//
// A clip is asked for the picture it shows at a frame of the output's rate;
// frames are asked for mostly in order (a scene plays on), sometimes the same
// one again (held, slow motion), and sometimes far off (the next scene of
// the same file, a cut back). Reading forward is cheaper than seeking while
// the wanted frame lies before the next key frame; pictures passed over on
// the way are never shown, so the decoder skips those that no other picture
// refers to (the disposable B-frames of most H.264 and HEVC files).
#pragma once

extern "C" {
#include <libavutil/hwcontext.h>
#include <libavutil/pixfmt.h>
}

#include <cstdint>
#include <memory>
#include <string>

#include "engine/core/av_handles.h"
#include "engine/core/rational.h"
#include "engine/media/probe.h"
#include "engine/picture/image.h"

namespace orma {

/// The hardware decoding this platform offers through FFmpeg: VA-API on the
/// render node on Linux, Direct3D 11 on Windows (DXVA2 where it is missing).
struct HardwareDecoding {
  const char* name; ///< for the log line
  AVHWDeviceType type;
  const char* device;   ///< device to open, or null for the default
  AVPixelFormat format; ///< the decoder's frames in that device's memory
};
/// The first that opens on this machine, or null.
const HardwareDecoding* AvailableHardwareDecoding();

/// A decoded picture at its own size: 4:2:0 planes (a reference to the
/// decoder's frame, or a converted copy), or packed RGBA for sources with
/// alpha. Immutable once made; shared by every frame that shows it.
struct Decoded {
  Decoded() = default;
  Decoded(const Decoded&) = delete;
  Decoded& operator=(const Decoded&) = delete;
  Yuv yuv;                       ///< the picture, when 4:2:0
  const uint8_t* rgba = nullptr; ///< the picture, when RGBA (stride width * 4)
  int width = 0, height = 0;
  Colorimetry color;
  FramePtr frame;                        ///< the decoder's picture the planes belong to, if any
  std::unique_ptr<Picture> converted;    ///< or a 4:2:0 copy owned here
  std::unique_ptr<uint8_t[]> rgbaPixels; ///< or RGBA owned here
};
using DecodedPtr = std::shared_ptr<const Decoded>;

class VideoDecoder {
public:
  /// Opens the picture stream of a clip the probe accepted. `fps` is the
  /// rate positions are counted in; `canvasMatrix` the colour matrix taken
  /// for a file that declares none; `hardware` asks for the platform's hardware decoding
  /// where the machine has it. Null with *error on failure.
  static std::unique_ptr<VideoDecoder> Open(const MediaProbe& probe, Rational fps, int canvasMatrix,
                                            bool hardware, std::string* error);
  ~VideoDecoder();
  VideoDecoder(const VideoDecoder&) = delete;
  VideoDecoder& operator=(const VideoDecoder&) = delete;

  /// The picture shown at `position` (frames at the output rate from the
  /// file's start): the first picture at or after that time, or the last one
  /// of the file beyond its end. Null with *error when nothing decodes.
  DecodedPtr PictureAt(int64_t position, std::string* error);

  /// The position last asked for (INT64_MIN before the first).
  int64_t position() const { return lastPosition_; }

private:
  struct State;
  explicit VideoDecoder(std::unique_ptr<State> state);
  std::unique_ptr<State> s_;
  int64_t lastPosition_ = INT64_MIN;
};

} // namespace orma

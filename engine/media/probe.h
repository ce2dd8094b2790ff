// Opening media files safely and describing them with libavformat.
//
// Every media path the API receives goes through OpenLocalMedia: it must be
// a plain local regular file, it is never read as a URL, a device, a service
// name or a playlist, and FFmpeg is limited to the "file" protocol for it.
#pragma once

#include <cstdint>
#include <string>

#include "engine/core/av_handles.h"

namespace orma {

struct MediaProbe {
  bool ok = false;
  std::string error;     ///< why the file cannot be used (when !ok)
  std::string path;      ///< absolute native path
  std::string container; ///< demuxer name
  bool hasVideo = false;
  bool hasAudio = false;
  bool still = false;     ///< a single picture (png, jpg, bmp, webp, one-frame gif)
  int64_t durationUs = 0; ///< 0 for stills
  int width = 0;
  int height = 0;
  double frameRate = 0.0; ///< 0 for stills
  int matrix = 0;         ///< colour matrix the file declares: 601, 709, or 0 when it says none
  bool fullRange = false; ///< the file declares full-range Y'CbCr
  std::string videoCodec;
  std::string audioCodec;
  int sampleRate = 0;
  int channels = 0;
};

/// Resolves `path` (backslashes, drive letters through ORMADRAFT_DRIVE_MAP)
/// to an absolute native path of an existing regular file. Returns "" and
/// fills *error otherwise.
std::string ResolveLocalFile(const char* path, std::string* error);

/// Probes the file and, with `decode`, decodes its first picture or audio
/// frame so that an undecodable file is found now rather than while
/// rendering.
MediaProbe ProbeMedia(const char* path, bool decode);

/// Opens a file the probe accepted for reading, under the same rules: FFmpeg
/// limited to the "file" protocol, the demuxer the probe found (never one
/// guessed again from the name), no file-name patterns; its streams are
/// read. Null, with *error naming the file and the cause, on failure.
FormatPtr OpenMediaInput(const MediaProbe& probe, std::string* error);

} // namespace orma

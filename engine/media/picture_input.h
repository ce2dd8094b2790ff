// The one way a media file's picture stream is opened for decoding frame by
// frame: still pictures, picture sequences and stickers, the frames face
// counting looks at, and the clip decoder (video_decoder.cpp). The file is
// opened as every media file is (OpenMediaInput: a plain local file, the
// demuxer the probe found), then the decoder of its best picture stream, on
// one thread. Each reader says a failure in its own words, so the result
// tells which step failed.
//
// Open does it all; the clip decoder instead calls Prepare, adds to the
// decoder's set-up (time base, hardware decoding), and then Start.
#pragma once

#include <string>

extern "C" {
#include <libavformat/avformat.h>
}

#include "engine/core/av_handles.h"
#include "engine/media/probe.h"

namespace orma {

enum class PictureOpen {
  Ok,
  NoFile,    ///< the file could not be opened (*error says why)
  NoStream,  ///< it holds no picture stream
  NoDecoder, ///< its pictures cannot be decoded here
};

struct PictureInput {
  FormatPtr format;
  CodecPtr decoder;
  int stream = -1;

  /// Opens the file and its best picture stream and starts its decoder.
  PictureOpen Open(const MediaProbe& probe, std::string* error);

  /// Opens the file and sets the decoder up from the stream's parameters,
  /// on one thread, without starting it. `decodableOnly` picks the best of
  /// the streams FFmpeg has a decoder for (a clip plays whichever it can);
  /// otherwise the best stream, whose decoder may then be missing.
  PictureOpen Prepare(const MediaProbe& probe, bool decodableOnly, std::string* error);
  /// Starts the prepared decoder: 0, or FFmpeg's (negative) error code.
  int Start();

  const AVStream* Stream() const { return format->streams[stream]; }
};

} // namespace orma

// The one way a media file's picture stream is opened for decoding frame by
// frame outside the clip decoder: still pictures, picture sequences and
// stickers, and the frames face counting looks at. The file is opened as
// every media file is (OpenMediaInput: a plain local file, the demuxer the
// probe found), then the decoder of its best picture stream, on one thread.
// Each reader says a failure in its own words, so the result tells which
// step failed.
#pragma once

#include <string>

#include "engine/media/av_handles.h"
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

  PictureOpen Open(const MediaProbe& probe, std::string* error);
  const AVStream* Stream() const { return format->streams[stream]; }
};

} // namespace orma

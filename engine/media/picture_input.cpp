#include "engine/media/picture_input.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace orma {

PictureOpen PictureInput::Prepare(const MediaProbe& probe, bool decodableOnly, std::string* error) {
  format = OpenMediaInput(probe, error);
  if (!format) return PictureOpen::NoFile;
  const AVCodec* codec = nullptr;
  stream = av_find_best_stream(format.get(), AVMEDIA_TYPE_VIDEO, -1, -1, decodableOnly ? &codec : nullptr, 0);
  if (stream < 0) return PictureOpen::NoStream;
  const AVCodecParameters* par = format->streams[stream]->codecpar;
  if (!decodableOnly) codec = avcodec_find_decoder(par->codec_id);
  decoder.reset(codec ? avcodec_alloc_context3(codec) : nullptr);
  if (!decoder || avcodec_parameters_to_context(decoder.get(), par) < 0) return PictureOpen::NoDecoder;
  decoder->thread_count = 1;
  return PictureOpen::Ok;
}

// The decoder context was made for its codec, which avcodec_open2 then
// takes from it.
int PictureInput::Start() { return avcodec_open2(decoder.get(), nullptr, nullptr); }

PictureOpen PictureInput::Open(const MediaProbe& probe, std::string* error) {
  PictureOpen prepared = Prepare(probe, false, error);
  if (prepared != PictureOpen::Ok) return prepared;
  return Start() < 0 ? PictureOpen::NoDecoder : PictureOpen::Ok;
}

} // namespace orma

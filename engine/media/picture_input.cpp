#include "engine/media/picture_input.h"

namespace orma {

PictureOpen PictureInput::Open(const MediaProbe& probe, std::string* error) {
  format.reset(OpenMediaInput(probe, error));
  if (!format) return PictureOpen::NoFile;
  stream = av_find_best_stream(format.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  if (stream < 0) return PictureOpen::NoStream;
  const AVCodecParameters* par = format->streams[stream]->codecpar;
  const AVCodec* codec = avcodec_find_decoder(par->codec_id);
  decoder.reset(codec ? avcodec_alloc_context3(codec) : nullptr);
  if (!decoder || avcodec_parameters_to_context(decoder.get(), par) < 0) return PictureOpen::NoDecoder;
  decoder->thread_count = 1;
  if (avcodec_open2(decoder.get(), codec, nullptr) < 0) return PictureOpen::NoDecoder;
  return PictureOpen::Ok;
}

} // namespace orma

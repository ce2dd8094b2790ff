#include "engine/media/webp_frames.h"

#include <webp/demux.h>

#include <memory>

namespace orma {

bool IsAnimatedWebp(const std::string& data) {
  // RIFF <size> WEBP VP8X <chunk size> <flags>: bit 1 of the flags marks
  // an animation.
  return data.size() >= 21 && data.compare(0, 4, "RIFF") == 0 && data.compare(8, 4, "WEBP") == 0 &&
         data.compare(12, 4, "VP8X") == 0 && (static_cast<unsigned char>(data[20]) & 0x02) != 0;
}

bool DecodeAnimatedWebp(const std::string& data, const std::string& path, size_t maxFrames,
                        std::vector<PictureFrame>* frames, std::string* error) {
  WebPAnimDecoderOptions options;
  if (!WebPAnimDecoderOptionsInit(&options)) {
    *error = path + ": the WebP library does not match the one the engine was built with";
    return false;
  }
  options.color_mode = MODE_RGBA;
  options.use_threads = 0;
  WebPData bytes{reinterpret_cast<const uint8_t*>(data.data()), data.size()};
  std::unique_ptr<WebPAnimDecoder, void (*)(WebPAnimDecoder*)> decoder(WebPAnimDecoderNew(&bytes, &options),
                                                                       WebPAnimDecoderDelete);
  WebPAnimInfo info;
  if (!decoder || !WebPAnimDecoderGetInfo(decoder.get(), &info) || info.canvas_width == 0 ||
      info.canvas_height == 0) {
    *error = path + ": not a readable animated WebP";
    return false;
  }
  int w = static_cast<int>(info.canvas_width), h = static_cast<int>(info.canvas_height);
  frames->clear();
  int previousMs = 0;
  while (frames->size() < maxFrames && WebPAnimDecoderHasMoreFrames(decoder.get())) {
    uint8_t* rgba = nullptr;
    int endMs = 0; // the decoder reports when each frame ends
    if (!WebPAnimDecoderGetNext(decoder.get(), &rgba, &endMs) || !rgba) {
      *error = path + ": frame " + std::to_string(frames->size() + 1) + " cannot be decoded";
      return false;
    }
    PictureFrame frame;
    frame.sprite = std::make_shared<Sprite>(w, h);
    for (int y = 0; y < h; ++y)
      RgbaToArgb(rgba + static_cast<size_t>(y) * w * 4, w,
                 frame.sprite->argb.data() + static_cast<size_t>(y) * frame.sprite->width);
    frame.startUs = static_cast<int64_t>(previousMs) * 1000;
    frame.durationUs = endMs > previousMs ? static_cast<int64_t>(endMs - previousMs) * 1000 : 0;
    previousMs = std::max(previousMs, endMs);
    frames->push_back(std::move(frame));
  }
  if (frames->empty()) {
    *error = path + ": holds no frame";
    return false;
  }
  return true;
}

} // namespace orma

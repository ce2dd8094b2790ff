#include "engine/media/picture_frames.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/dict.h>
#include <libswscale/swscale.h>
}

#include <cstdio>
#include <memory>

#include "engine/core/av_handles.h"
#include "engine/core/libraries.h"
#include "engine/media/picture_input.h"
#include "engine/media/probe.h"
#include "engine/media/webp_frames.h"
#include "platform/platform.h"

namespace orma {

namespace {

struct Decoder {
  PictureInput in;
  PacketPtr packet{av_packet_alloc()};
  FramePtr picture{av_frame_alloc()};
  AVPacket* pkt = packet.get();
  AVFrame* frame = picture.get();
  SwsPtr sws;
  std::vector<uint8_t> rgba;
};

bool Convert(Decoder& d, AVRational timeBase, std::vector<PictureFrame>* frames) {
  AVFrame* f = d.frame;
  int w = f->width, h = f->height;
  if (w <= 0 || h <= 0) return false;
  // The cached context is handed over: a new one replaces (and frees) it.
  d.sws.reset(sws_getCachedContext(d.sws.release(), w, h, static_cast<AVPixelFormat>(f->format), w, h,
                                   AV_PIX_FMT_RGBA, SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT,
                                   nullptr, nullptr, nullptr));
  if (!d.sws) return false;
  d.rgba.assign(static_cast<size_t>(w) * h * 4, 0);
  uint8_t* dst[4] = {d.rgba.data(), nullptr, nullptr, nullptr};
  int strides[4] = {w * 4, 0, 0, 0};
  sws_scale(d.sws.get(), f->data, f->linesize, 0, h, dst, strides);
  PictureFrame out;
  out.sprite = std::make_shared<Sprite>(w, h);
  for (int y = 0; y < h; ++y)
    RgbaToArgb(d.rgba.data() + static_cast<size_t>(y) * w * 4, w,
               out.sprite->argb.data() + static_cast<size_t>(y) * out.sprite->width);
  int64_t pts = f->best_effort_timestamp;
  out.startUs = pts == AV_NOPTS_VALUE ? -1 : av_rescale_q(pts, timeBase, AV_TIME_BASE_Q);
  out.durationUs = f->pkt_duration > 0 ? av_rescale_q(f->pkt_duration, timeBase, AV_TIME_BASE_Q) : 0;
  frames->push_back(std::move(out));
  return true;
}

} // namespace

bool DecodePictureFrames(const std::string& path, size_t maxFrames, std::vector<PictureFrame>* frames,
                         std::string* error) {
  QuietLibraries();
  // An animated WebP is read before FFmpeg sees it: its probe finds no
  // picture size there.
  if (FILE* f = platform::OpenFile(path.c_str(), "rb")) {
    char head[21];
    size_t n = fread(head, 1, sizeof head, f);
    fclose(f);
    std::string data;
    if (IsAnimatedWebp(std::string(head, n)) && platform::ReadWholeFile(path.c_str(), &data))
      return DecodeAnimatedWebp(data, path, maxFrames, frames, error);
  }
  MediaProbe probe = ProbeMedia(path.c_str(), false);
  if (!probe.ok) {
    *error = probe.error;
    return false;
  }
  if (!probe.hasVideo) {
    *error = probe.path + ": holds no picture";
    return false;
  }
  Decoder d;
  PictureOpen opened = d.in.Open(probe, error);
  if (opened == PictureOpen::NoFile) return false;
  if (opened != PictureOpen::Ok) {
    *error = probe.path + ": no decoder for its pictures";
    return false;
  }
  AVCodecContext* dec = d.in.decoder.get();
  int stream = d.in.stream;
  AVRational timeBase = d.in.Stream()->time_base;
  frames->clear();
  auto drain = [&] {
    while (frames->size() < maxFrames && avcodec_receive_frame(dec, d.frame) >= 0) {
      Convert(d, timeBase, frames);
      av_frame_unref(d.frame);
    }
  };
  while (frames->size() < maxFrames && av_read_frame(d.in.format.get(), d.pkt) >= 0) {
    if (d.pkt->stream_index == stream && avcodec_send_packet(dec, d.pkt) >= 0) drain();
    av_packet_unref(d.pkt);
  }
  avcodec_send_packet(dec, nullptr);
  drain();
  if (frames->empty()) {
    *error = probe.path + ": no picture could be decoded";
    return false;
  }
  // Times relative to the first frame; a frame without its own length lasts
  // until the next one.
  int64_t first = (*frames)[0].startUs < 0 ? 0 : (*frames)[0].startUs;
  for (auto& f : *frames)
    f.startUs = f.startUs < 0 ? -1 : f.startUs - first;
  for (size_t i = 0; i < frames->size(); ++i) {
    PictureFrame& f = (*frames)[i];
    if (f.startUs < 0) f.startUs = i == 0 ? 0 : (*frames)[i - 1].startUs + (*frames)[i - 1].durationUs;
    if (f.durationUs <= 0 && i + 1 < frames->size() && (*frames)[i + 1].startUs > f.startUs)
      f.durationUs = (*frames)[i + 1].startUs - f.startUs;
  }
  return true;
}

} // namespace orma

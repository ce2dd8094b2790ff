#include "engine/look/face_count.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/dict.h>
#include <libswscale/swscale.h>
}

#include <algorithm>
#include <map>
#include <mutex>
#include <tuple>

#include "engine/core/av_handles.h"
#include "engine/core/libraries.h"
#include "engine/core/log.h"
#include "engine/media/picture_input.h"

namespace orma {

namespace {

// Frames decoded after a seek before the wanted one is given up on (the
// last one decoded is used then).
constexpr int kMaxFramesAfterSeek = 400;

bool ToGrey(const AVFrame* frame, GreyImage* out) {
  int w = frame->width, h = frame->height;
  if (w <= 0 || h <= 0) return false;
  double k = std::min(1.0, static_cast<double>(kFaceCountSide) / std::max(w, h));
  int gw = std::max(1, static_cast<int>(w * k)), gh = std::max(1, static_cast<int>(h * k));
  SwsPtr sws(sws_getContext(w, h, static_cast<AVPixelFormat>(frame->format), gw, gh, AV_PIX_FMT_GRAY8,
                            SWS_AREA, nullptr, nullptr, nullptr));
  if (!sws) return false;
  out->width = gw;
  out->height = gh;
  out->pixels.assign(static_cast<size_t>(gw) * gh, 0);
  uint8_t* dst[4] = {out->pixels.data(), nullptr, nullptr, nullptr};
  int strides[4] = {gw, 0, 0, 0};
  sws_scale(sws.get(), frame->data, frame->linesize, 0, h, dst, strides);
  return true;
}

struct Reader {
  PictureInput in;
  PacketPtr packet{av_packet_alloc()};
  FramePtr picture{av_frame_alloc()};
  AVFormatContext* fmt = nullptr;
  AVCodecContext* dec = nullptr;
  AVPacket* pkt = packet.get();
  AVFrame* frame = picture.get();
  int stream = -1;

  bool Open(const MediaProbe& probe, std::string* error) {
    switch (in.Open(probe, error)) {
    case PictureOpen::NoFile:
      return false;
    case PictureOpen::NoStream:
      *error = probe.path + ": has no picture";
      return false;
    case PictureOpen::NoDecoder:
      *error = probe.path + ": cannot be decoded";
      return false;
    case PictureOpen::Ok:
      break;
    }
    fmt = in.format.get();
    dec = in.decoder.get();
    stream = in.stream;
    return true;
  }

  // The first frame at or after `target` (stream time base; AV_NOPTS_VALUE:
  // the first frame), or the last one before the end.
  bool FrameAt(int64_t target, GreyImage* out) {
    if (target != AV_NOPTS_VALUE) {
      if (av_seek_frame(fmt, stream, target, AVSEEK_FLAG_BACKWARD) < 0)
        av_seek_frame(fmt, stream, 0, AVSEEK_FLAG_BACKWARD);
      avcodec_flush_buffers(dec);
    }
    bool have = false, ended = false;
    for (int n = 0; n < kMaxFramesAfterSeek;) {
      int rc = avcodec_receive_frame(dec, frame);
      if (rc >= 0) {
        ++n;
        have = ToGrey(frame, out) || have;
        int64_t pts = frame->best_effort_timestamp;
        if (target == AV_NOPTS_VALUE || pts == AV_NOPTS_VALUE || pts >= target) return have;
        continue;
      }
      if (rc != AVERROR(EAGAIN) || ended) break;
      if (av_read_frame(fmt, pkt) < 0) {
        ended = true;
        avcodec_send_packet(dec, nullptr);
        continue;
      }
      if (pkt->stream_index == stream) avcodec_send_packet(dec, pkt);
      av_packet_unref(pkt);
    }
    return have;
  }
};

} // namespace

bool SampleGreyFrames(const MediaProbe& probe, int64_t fromUs, int64_t toUs, std::vector<GreyImage>* frames,
                      std::string* error) {
  QuietLibraries();
  frames->clear();
  Reader r;
  if (!r.Open(probe, error)) return false;
  if (probe.still) {
    GreyImage g;
    if (r.FrameAt(AV_NOPTS_VALUE, &g)) frames->push_back(std::move(g));
  } else {
    if (toUs <= fromUs) {
      fromUs = 0;
      toUs = probe.durationUs;
    }
    const AVStream* st = r.fmt->streams[r.stream];
    int64_t start = st->start_time != AV_NOPTS_VALUE ? st->start_time : 0;
    for (int i = 0; i < kFaceCountSamples; ++i) {
      int64_t us = fromUs + (toUs - fromUs) * (2 * i + 1) / (2 * kFaceCountSamples);
      GreyImage g;
      if (r.FrameAt(start + av_rescale_q(us, AVRational{1, 1000000}, st->time_base), &g))
        frames->push_back(std::move(g));
    }
  }
  if (frames->empty()) *error = probe.path + ": no picture could be decoded";
  return !frames->empty();
}

int CountMediaFaces(const MediaProbe& probe, int64_t fromUs, int64_t toUs) {
  if (!probe.ok || !probe.hasVideo) return 0;
  if (probe.still) fromUs = toUs = 0;
  static std::mutex mutex;
  static std::map<std::tuple<std::string, int64_t, int64_t>, int> counted;
  auto key = std::make_tuple(probe.path, fromUs, toUs);
  {
    std::lock_guard<std::mutex> lock(mutex);
    if (auto it = counted.find(key); it != counted.end()) return it->second;
  }
  int count = 0;
  if (const FaceDetector* detector = FaceDetector::Shared()) {
    std::vector<GreyImage> frames;
    std::string error;
    if (!SampleGreyFrames(probe, fromUs, toUs, &frames, &error)) LogText("face count: " + error);
    for (const GreyImage& g : frames)
      count = std::max(
          count,
          static_cast<int>(
              detector->Detect(g.pixels.data(), g.width, g.width, g.height, static_cast<size_t>(-1)).size()));
  }
  std::lock_guard<std::mutex> lock(mutex);
  counted[key] = count;
  return count;
}

} // namespace orma

#include "engine/media/video_decoder.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/display.h>
#include <libavutil/hwcontext.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

#include <algorithm>
#include <cmath>
#include <cstring>

#include "engine/core/libraries.h"
#include "engine/media/picture_input.h"

namespace orma {

namespace {

// Threads of one clip's decoder. Decoding runs in timeline order ahead of
// the encoder, which is the bottleneck; every further thread keeps
// pictures of its own (about 20 MB at 1080p).
constexpr int kDecoderThreads = 1;
// Broken packets tolerated in a row before a clip is given up on (a damaged
// stretch of a file, or the B-frames before the first key frame).
constexpr int kMaxDecodeErrors = 50;

// Clockwise quarter turns that show the picture upright, from the display
// matrix the file carries (phones record sideways and say so there).
int QuarterTurns(const AVStream* st) {
  const uint8_t* matrix = av_stream_get_side_data(st, AV_PKT_DATA_DISPLAYMATRIX, nullptr);
  if (!matrix) return 0;
  double theta = -av_display_rotation_get(reinterpret_cast<const int32_t*>(matrix));
  if (std::isnan(theta)) return 0;
  theta -= 360.0 * std::floor(theta / 360.0 + 0.9 / 360.0);
  for (int turns = 1; turns <= 3; ++turns)
    if (std::fabs(theta - 90.0 * turns) < 1.0) return turns;
  return 0;
}

// Turns a plane of w x h pixels of `bytes` bytes clockwise by `turns`
// quarters into dst (h x w for odd turns).
void TurnPlane(const uint8_t* src, int srcStride, int w, int h, int bytes, int turns, uint8_t* dst,
               int dstStride) {
  int dw = turns % 2 ? h : w, dh = turns % 2 ? w : h;
  for (int y = 0; y < dh; ++y) {
    uint8_t* out = dst + static_cast<size_t>(y) * dstStride;
    for (int x = 0; x < dw; ++x) {
      int sx, sy;
      if (turns == 1) {
        sx = y;
        sy = h - 1 - x;
      } else if (turns == 2) {
        sx = w - 1 - x;
        sy = h - 1 - y;
      } else {
        sx = w - 1 - y;
        sy = x;
      }
      std::memcpy(out + static_cast<size_t>(x) * bytes,
                  src + static_cast<size_t>(sy) * srcStride + sx * bytes, bytes);
    }
  }
}

AVPixelFormat WithoutFullRangeName(AVPixelFormat f) {
  switch (f) {
  case AV_PIX_FMT_YUVJ420P:
    return AV_PIX_FMT_YUV420P;
  case AV_PIX_FMT_YUVJ422P:
    return AV_PIX_FMT_YUV422P;
  case AV_PIX_FMT_YUVJ444P:
    return AV_PIX_FMT_YUV444P;
  case AV_PIX_FMT_YUVJ440P:
    return AV_PIX_FMT_YUV440P;
  case AV_PIX_FMT_YUVJ411P:
    return AV_PIX_FMT_YUV411P;
  default:
    return f;
  }
}

AVPixelFormat PickHardware(AVCodecContext*, const AVPixelFormat* offered) {
  const HardwareDecoding* hardware = AvailableHardwareDecoding();
  for (const AVPixelFormat* p = offered; *p != AV_PIX_FMT_NONE; ++p)
    if (hardware && *p == hardware->format) return *p;
  return offered[0];
}

} // namespace

const HardwareDecoding* AvailableHardwareDecoding() {
#if defined(_WIN32)
  static const HardwareDecoding kChoices[] = {
      {"Direct3D 11", AV_HWDEVICE_TYPE_D3D11VA, nullptr, AV_PIX_FMT_D3D11},
      {"DXVA2", AV_HWDEVICE_TYPE_DXVA2, nullptr, AV_PIX_FMT_DXVA2_VLD},
  };
#else
  static const HardwareDecoding kChoices[] = {
      {"VA-API", AV_HWDEVICE_TYPE_VAAPI, "/dev/dri/renderD128", AV_PIX_FMT_VAAPI},
  };
#endif
  // Opening a device is slow (tens of milliseconds), and the machine's
  // devices do not change during a run: asked once.
  static const HardwareDecoding* const available = []() -> const HardwareDecoding* {
    for (const HardwareDecoding& h : kChoices)
      if (HardwareDeviceOpens(h.type, h.device)) return &h;
    return nullptr;
  }();
  return available;
}

struct VideoDecoder::State {
  MediaProbe probe;
  PictureInput in; ///< the file, its picture stream and its decoder
  BufferPtr hwDevice;
  PacketPtr packet{av_packet_alloc()};
  FramePtr frame{av_frame_alloc()};
  FramePtr passed{av_frame_alloc()}; ///< the last picture decoded short of the wanted one
  SwsPtr sws;
  AVRational timeBase{1, 1};
  int64_t firstPts = 0;
  AVRational sourceRate{25, 1}; ///< the file's own frame rate
  Rational fps;
  int canvasMatrix = 601;
  int turns = 0;
  int64_t lastFrame = INT64_MIN; ///< index of the file's last picture by its duration (INT64_MIN: unknown)

  DecodedPtr last;                 ///< the picture given last
  int64_t lastIndex = INT64_MIN;   ///< its index in the file
  int64_t coveredFrom = INT64_MAX; ///< the first index it stands for
  int64_t readDts = AV_NOPTS_VALUE;
  bool started = false;    ///< packets have been read since the file was opened or sought
  bool sought = false;     ///< no picture has come out since the last seek
  bool inputEnded = false; ///< the file is read to its end
  bool drained = false;    ///< and the decoder has given its last picture

  // Picture indices follow the file's own rate: a picture's time rounded to
  // the nearest of its frames; a position asks for the source frame nearest
  // to its time (halves round up). Exact rational arithmetic, so that a
  // position on a half is not decided by a float's last digit.
  int64_t IndexOfPts(int64_t pts) const {
    return av_rescale_q_rnd(pts - firstPts, timeBase, AVRational{sourceRate.den, sourceRate.num},
                            static_cast<AVRounding>(AV_ROUND_NEAR_INF | AV_ROUND_PASS_MINMAX));
  }
  int64_t IndexOfPosition(int64_t position) const {
    return av_rescale_rnd(position, static_cast<int64_t>(fps.den) * sourceRate.num,
                          static_cast<int64_t>(fps.num) * sourceRate.den, AV_ROUND_NEAR_INF);
  }
  // The earliest time stamp that still rounds to `index`.
  int64_t TimestampOf(int64_t index) const {
    return firstPts + av_rescale_q_rnd(2 * index - 1, AVRational{sourceRate.den, 2 * sourceRate.num},
                                       timeBase, AV_ROUND_UP);
  }

  void Seek(int64_t index) {
    int64_t ts = std::max(firstPts, TimestampOf(index));
    if (av_seek_frame(in.format.get(), in.stream, ts, AVSEEK_FLAG_BACKWARD) < 0)
      av_seek_frame(in.format.get(), in.stream, firstPts, AVSEEK_FLAG_BACKWARD);
    avcodec_flush_buffers(in.decoder.get());
    av_frame_unref(passed.get());
    readDts = AV_NOPTS_VALUE;
    started = sought = true;
    inputEnded = drained = false;
  }

  // Whether jumping to the key frame before `index` skips packets that
  // reading on would decode.
  bool SeekingAheadPays(int64_t index) {
    if (!started) return false;
    AVStream* st = in.format->streams[in.stream];
    int entry = av_index_search_timestamp(st, TimestampOf(index), AVSEEK_FLAG_BACKWARD);
    if (entry >= 0) {
      const AVIndexEntry* e = avformat_index_get_entry(st, entry);
      return e && readDts != AV_NOPTS_VALUE && e->timestamp > readDts;
    }
    // Without an index, a jump of more than two seconds is taken to pass a
    // key frame.
    return index - lastIndex > 2 * sourceRate.num / std::max(1, sourceRate.den);
  }

  // Reads and decodes until the first picture at or after `index`; the last
  // picture of the file when the file ends first. *landed tells whether the
  // picture is the first one since a seek.
  bool DecodeUntil(int64_t index, AVFrame** found, int64_t* foundIndex, bool* landed, std::string* error) {
    int64_t before = INT64_MIN; // index of the last picture passed over
    int errors = 0;
    for (;;) {
      int rc = avcodec_receive_frame(in.decoder.get(), frame.get());
      if (rc == 0) {
        int64_t pts = frame->best_effort_timestamp;
        int64_t at = pts != AV_NOPTS_VALUE ? IndexOfPts(pts) : (before == INT64_MIN ? index : before + 1);
        *landed = sought;
        sought = false;
        if (at >= index) {
          *found = frame.get();
          *foundIndex = at;
          av_frame_unref(passed.get());
          return true;
        }
        before = at;
        av_frame_unref(passed.get());
        av_frame_move_ref(passed.get(), frame.get());
        continue;
      }
      if (rc == AVERROR_EOF) {
        drained = true;
        break;
      }
      if (rc != AVERROR(EAGAIN) && ++errors > kMaxDecodeErrors) break;
      if (inputEnded) {
        if (rc == AVERROR(EAGAIN)) break;
        continue;
      }
      rc = av_read_frame(in.format.get(), packet.get());
      if (rc < 0) {
        inputEnded = true;
        avcodec_send_packet(in.decoder.get(), nullptr);
        continue;
      }
      if (packet->stream_index != in.stream) {
        av_packet_unref(packet.get());
        continue;
      }
      if (packet->dts != AV_NOPTS_VALUE) readDts = packet->dts;
      // A picture before the wanted one is never shown: when nothing refers
      // to it either, it need not be decoded at all. Near the end of the
      // file it is kept, as the last picture may have to stand in.
      bool passedOver = packet->pts != AV_NOPTS_VALUE && IndexOfPts(packet->pts) < index &&
                        lastFrame != INT64_MIN && index <= lastFrame;
      in.decoder->skip_frame = passedOver ? AVDISCARD_NONREF : AVDISCARD_DEFAULT;
      rc = avcodec_send_packet(in.decoder.get(), packet.get());
      av_packet_unref(packet.get());
      if (rc < 0 && rc != AVERROR(EAGAIN) && ++errors > kMaxDecodeErrors) break;
      if (rc >= 0) errors = 0;
    }
    if (passed->buf[0]) {
      *found = passed.get();
      *foundIndex = before;
      return true;
    }
    if (!last) *error = probe.path + ": no picture could be decoded";
    return false;
  }

  bool ConvertTo(const AVFrame* f, AVPixelFormat to, bool fullRange, int matrix, uint8_t* const planes[4],
                 const int strides[4]) {
    AVPixelFormat from = WithoutFullRangeName(static_cast<AVPixelFormat>(f->format));
    // The cached context is handed over: a new one replaces (and frees) it.
    sws.reset(sws_getCachedContext(sws.release(), f->width, f->height, from, f->width, f->height, to,
                                   SWS_BICUBIC, nullptr, nullptr, nullptr));
    if (!sws) return false;
    const int* coefficients = sws_getCoefficients(matrix == 709 ? SWS_CS_ITU709 : SWS_CS_ITU601);
    // The range stays as it is for 4:2:0 (the compositor converts it with
    // everything else); RGB is full range.
    sws_setColorspaceDetails(sws.get(), coefficients, fullRange ? 1 : 0, coefficients,
                             to == AV_PIX_FMT_RGBA ? 1 : (fullRange ? 1 : 0), 0, 1 << 16, 1 << 16);
    sws_scale(sws.get(), f->data, f->linesize, 0, f->height, planes, strides);
    return true;
  }

  std::shared_ptr<Decoded> Wrap(AVFrame* picture, std::string* error) {
    AVFrame* f = picture;
    FramePtr fromHardware;
    // Only a decoder given a device can hand out hardware frames. Asking for
    // the machine's devices otherwise would open one for nothing, on a
    // renderer thread: on Windows that loads Direct3D while other threads
    // run, which Wine can deadlock on (its loader lock).
    const HardwareDecoding* hardware = hwDevice ? AvailableHardwareDecoding() : nullptr;
    if (hardware && f->format == hardware->format) {
      fromHardware.reset(av_frame_alloc());
      if (!fromHardware || av_hwframe_transfer_data(fromHardware.get(), f, 0) < 0) {
        *error = probe.path + ": cannot fetch a picture from the hardware decoder";
        return nullptr;
      }
      av_frame_copy_props(fromHardware.get(), f);
      f = fromHardware.get();
    }
    auto d = std::make_shared<Decoded>();
    d->color.matrix = probe.matrix ? probe.matrix : canvasMatrix;
    d->color.fullRange = probe.fullRange || f->color_range == AVCOL_RANGE_JPEG ||
                         WithoutFullRangeName(static_cast<AVPixelFormat>(f->format)) != f->format;
    const AVPixFmtDescriptor* desc = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(f->format));
    int w = f->width, h = f->height;
    bool ok = true;
    if (desc && (desc->flags & AV_PIX_FMT_FLAG_ALPHA)) {
      // Pictures with alpha become straight RGBA, as stills do.
      auto pixels = std::make_unique<uint8_t[]>(static_cast<size_t>(w) * h * 4);
      uint8_t* planes[4] = {pixels.get(), nullptr, nullptr, nullptr};
      int strides[4] = {w * 4, 0, 0, 0};
      ok = ConvertTo(f, AV_PIX_FMT_RGBA, d->color.fullRange, d->color.matrix, planes, strides);
      d->rgbaPixels = std::move(pixels);
    } else if (f->format == AV_PIX_FMT_YUV420P || f->format == AV_PIX_FMT_YUVJ420P) {
      d->frame.reset(av_frame_alloc());
      ok = d->frame && av_frame_ref(d->frame.get(), f) >= 0;
      if (ok)
        for (int k = 0; k < 3; ++k) {
          d->yuv.p[k] = d->frame->data[k];
          d->yuv.s[k] = d->frame->linesize[k];
        }
    } else {
      d->converted = std::make_unique<Picture>(w, h, false);
      Yuv& v = d->converted->view();
      uint8_t* planes[4] = {v.p[0], v.p[1], v.p[2], nullptr};
      int strides[4] = {v.s[0], v.s[1], v.s[2], 0};
      ok = ConvertTo(f, AV_PIX_FMT_YUV420P, d->color.fullRange, d->color.matrix, planes, strides);
      d->yuv = v;
    }
    fromHardware.reset();
    if (!ok) {
      *error = probe.path + ": cannot convert a picture of format " +
               (desc ? desc->name : std::to_string(f->format));
      return nullptr;
    }
    d->yuv.w = w;
    d->yuv.h = h;
    if (turns) Turn(*d, w, h);
    d->width = turns % 2 ? h : w;
    d->height = turns % 2 ? w : h;
    if (d->rgbaPixels) d->rgba = d->rgbaPixels.get();
    return d;
  }

  void Turn(Decoded& d, int w, int h) {
    if (d.rgbaPixels) {
      auto turned = std::make_unique<uint8_t[]>(static_cast<size_t>(w) * h * 4);
      int dw = turns % 2 ? h : w;
      TurnPlane(d.rgbaPixels.get(), w * 4, w, h, 4, turns, turned.get(), dw * 4);
      d.rgbaPixels = std::move(turned);
      return;
    }
    auto picture = std::make_unique<Picture>(turns % 2 ? h : w, turns % 2 ? w : h, false);
    Yuv& v = picture->view();
    TurnPlane(d.yuv.p[0], d.yuv.s[0], w, h, 1, turns, v.p[0], v.s[0]);
    for (int k = 1; k <= 2; ++k)
      TurnPlane(d.yuv.p[k], d.yuv.s[k], (w + 1) / 2, (h + 1) / 2, 1, turns, v.p[k], v.s[k]);
    d.converted = std::move(picture);
    d.yuv = v;
    d.frame.reset();
  }
};

VideoDecoder::VideoDecoder(std::unique_ptr<State> state) : s_(std::move(state)) {}
VideoDecoder::~VideoDecoder() = default;

std::unique_ptr<VideoDecoder> VideoDecoder::Open(const MediaProbe& probe, Rational fps, int canvasMatrix,
                                                 bool hardware, std::string* error) {
  auto s = std::make_unique<State>();
  s->probe = probe;
  s->fps = fps;
  s->canvasMatrix = canvasMatrix;
  switch (s->in.Prepare(probe, true, error)) {
  case PictureOpen::NoFile:
    return nullptr;
  case PictureOpen::NoStream:
    *error = probe.path + ": no picture to decode";
    return nullptr;
  case PictureOpen::NoDecoder:
    *error = probe.path + ": cannot set up the picture decoder";
    return nullptr;
  case PictureOpen::Ok:
    break;
  }
  AVFormatContext* format = s->in.format.get();
  AVCodecContext* decoder = s->in.decoder.get();
  for (unsigned i = 0; i < format->nb_streams; ++i)
    if (static_cast<int>(i) != s->in.stream) format->streams[i]->discard = AVDISCARD_ALL;
  AVStream* st = format->streams[s->in.stream];
  decoder->thread_count = kDecoderThreads;
  decoder->pkt_timebase = st->time_base;
  AVBufferRef* device = nullptr;
  const HardwareDecoding* platform = hardware ? AvailableHardwareDecoding() : nullptr;
  if (platform && av_hwdevice_ctx_create(&device, platform->type, platform->device, nullptr, 0) >= 0) {
    s->hwDevice.reset(device);
    decoder->hw_device_ctx = av_buffer_ref(device);
    decoder->get_format = PickHardware;
  }
  int rc = s->in.Start();
  if (rc < 0) {
    *error = probe.path + ": cannot open the picture decoder: " + AvError(rc);
    return nullptr;
  }
  if (!s->packet || !s->frame || !s->passed) {
    *error = "out of memory";
    return nullptr;
  }
  s->timeBase = st->time_base;
  s->firstPts = st->start_time != AV_NOPTS_VALUE ? st->start_time : 0;
  AVRational rate = av_guess_frame_rate(format, st, nullptr);
  s->sourceRate = rate.num > 0 && rate.den > 0 ? rate : AVRational{fps.num, fps.den};
  if (st->duration != AV_NOPTS_VALUE && st->duration > 0)
    s->lastFrame = s->IndexOfPts(s->firstPts + st->duration) - 1;
  s->turns = QuarterTurns(st);
  return std::unique_ptr<VideoDecoder>(new VideoDecoder(std::move(s)));
}

DecodedPtr VideoDecoder::PictureAt(int64_t position, std::string* error) {
  State& s = *s_;
  lastPosition_ = position;
  int64_t index = s.IndexOfPosition(position);
  if (s.last && index >= s.coveredFrom && (index <= s.lastIndex || s.drained)) return s.last;
  if (!s.started || index < s.coveredFrom || s.SeekingAheadPays(index)) {
    if (s.started || index > 0) s.Seek(index);
    s.started = true;
  }
  bool retried = false;
  for (;;) {
    AVFrame* found = nullptr;
    int64_t at = 0;
    bool landed = false;
    if (!s.DecodeUntil(index, &found, &at, &landed, error)) {
      if (s.last) return s.last; // the file ended right after the last picture given
      return nullptr;
    }
    // A seek that lands after the wanted picture (a file with a coarse
    // index) is tried once more from further back.
    if (landed && at > index && index > 0 && !retried) {
      av_frame_unref(found);
      retried = true;
      s.Seek(std::max<int64_t>(0, index - 4 * s.sourceRate.num / std::max(1, s.sourceRate.den)));
      continue;
    }
    std::shared_ptr<Decoded> d = s.Wrap(found, error);
    av_frame_unref(found);
    if (!d) return nullptr;
    s.last = d;
    s.lastIndex = at;
    // Pictures between the one asked for and the one found may have been
    // skipped, so the picture stands for no earlier request than this one.
    s.coveredFrom = std::min(index, at);
    return s.last;
  }
}

} // namespace orma

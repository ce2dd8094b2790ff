#include "tests/engine/decoded_video.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace {

struct Input {
  AVFormatContext* fmt = nullptr;
  AVCodecContext* video = nullptr;
  AVCodecContext* audio = nullptr;
  SwsContext* sws = nullptr;
  SwrContext* swr = nullptr;
  ~Input() {
    avcodec_free_context(&video);
    avcodec_free_context(&audio);
    sws_freeContext(sws);
    swr_free(&swr);
    if (fmt) avformat_close_input(&fmt);
  }
};

AVCodecContext* OpenDecoder(AVStream* st) {
  const AVCodec* codec = avcodec_find_decoder(st->codecpar->codec_id);
  if (!codec) return nullptr;
  AVCodecContext* ctx = avcodec_alloc_context3(codec);
  avcodec_parameters_to_context(ctx, st->codecpar);
  ctx->thread_count = 1;
  if (avcodec_open2(ctx, codec, nullptr) < 0) avcodec_free_context(&ctx);
  return ctx;
}

void TakeVideo(Input& in, AVFrame* frame, DecodedVideo& out) {
  if (!in.sws) {
    in.sws = sws_getContext(frame->width, frame->height, static_cast<AVPixelFormat>(frame->format),
                            frame->width, frame->height, AV_PIX_FMT_RGB24, SWS_BILINEAR | SWS_ACCURATE_RND,
                            nullptr, nullptr, nullptr);
    int space = frame->colorspace == AVCOL_SPC_BT709 ? SWS_CS_ITU709 : SWS_CS_ITU601;
    sws_setColorspaceDetails(in.sws, sws_getCoefficients(space), frame->color_range == AVCOL_RANGE_JPEG,
                             sws_getCoefficients(SWS_CS_DEFAULT), 1, 0, 1 << 16, 1 << 16);
  }
  std::vector<uint8_t> rgb(static_cast<size_t>(frame->width) * frame->height * 3);
  uint8_t* dst[4] = {rgb.data(), nullptr, nullptr, nullptr};
  int stride[4] = {frame->width * 3, 0, 0, 0};
  sws_scale(in.sws, frame->data, frame->linesize, 0, frame->height, dst, stride);
  out.frames.push_back(std::move(rgb));
}

void TakeAudio(Input& in, AVFrame* frame, DecodedVideo& out) {
  // The loudest sample of any channel, before the mix-down.
  int channels = frame->ch_layout.nb_channels;
  if (frame->format == AV_SAMPLE_FMT_FLTP)
    for (int c = 0; c < channels; ++c)
      for (int i = 0; i < frame->nb_samples; ++i)
        out.peak = std::max(out.peak, std::fabs(reinterpret_cast<const float*>(frame->extended_data[c])[i]));
  if (frame->format == AV_SAMPLE_FMT_FLT)
    for (int i = 0; i < frame->nb_samples * channels; ++i)
      out.peak = std::max(out.peak, std::fabs(reinterpret_cast<const float*>(frame->data[0])[i]));
  if (!in.swr) {
    AVChannelLayout mono = AV_CHANNEL_LAYOUT_MONO;
    swr_alloc_set_opts2(&in.swr, &mono, AV_SAMPLE_FMT_FLT, frame->sample_rate, &frame->ch_layout,
                        static_cast<AVSampleFormat>(frame->format), frame->sample_rate, 0, nullptr);
    swr_init(in.swr);
  }
  std::vector<float> buffer(frame->nb_samples + 256);
  uint8_t* dst[1] = {reinterpret_cast<uint8_t*>(buffer.data())};
  int n = swr_convert(in.swr, dst, static_cast<int>(buffer.size()),
                      const_cast<const uint8_t**>(frame->extended_data), frame->nb_samples);
  if (n > 0) out.mono.insert(out.mono.end(), buffer.begin(), buffer.begin() + n);
}

void Drain(Input& in, AVCodecContext* ctx, AVFrame* frame, DecodedVideo& out) {
  while (avcodec_receive_frame(ctx, frame) >= 0) {
    if (ctx == in.video)
      TakeVideo(in, frame, out);
    else
      TakeAudio(in, frame, out);
    av_frame_unref(frame);
  }
}

} // namespace

DecodedVideo DecodeVideo(const std::string& path) {
  DecodedVideo out;
  Input in;
  if (avformat_open_input(&in.fmt, path.c_str(), nullptr, nullptr) < 0) {
    out.error = "cannot open " + path;
    return out;
  }
  avformat_find_stream_info(in.fmt, nullptr);
  int vs = av_find_best_stream(in.fmt, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  int as = av_find_best_stream(in.fmt, AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
  // A sound-only file (an export of the sound alone) has no picture to
  // decode; a file without either stream is no video at all.
  if (vs < 0 && as < 0) {
    out.error = "no video or audio stream in " + path;
    return out;
  }
  if (vs >= 0) {
    AVStream* v = in.fmt->streams[vs];
    out.videoCodec = avcodec_get_name(v->codecpar->codec_id);
    out.width = v->codecpar->width;
    out.height = v->codecpar->height;
    out.fpsNum = v->r_frame_rate.num;
    out.fpsDen = v->r_frame_rate.den;
    if (v->duration != AV_NOPTS_VALUE) out.durationSeconds = v->duration * av_q2d(v->time_base);
    in.video = OpenDecoder(v);
  }
  if (as >= 0) {
    AVStream* a = in.fmt->streams[as];
    out.audioCodec = avcodec_get_name(a->codecpar->codec_id);
    out.sampleRate = a->codecpar->sample_rate;
    out.channels = a->codecpar->ch_layout.nb_channels;
    in.audio = OpenDecoder(a);
  }
  AVPacket* pkt = av_packet_alloc();
  AVFrame* frame = av_frame_alloc();
  while (av_read_frame(in.fmt, pkt) >= 0) {
    AVCodecContext* ctx = pkt->stream_index == vs ? in.video : pkt->stream_index == as ? in.audio : nullptr;
    if (ctx && avcodec_send_packet(ctx, pkt) >= 0) Drain(in, ctx, frame, out);
    av_packet_unref(pkt);
  }
  for (AVCodecContext* ctx : {in.video, in.audio})
    if (ctx) {
      avcodec_send_packet(ctx, nullptr);
      Drain(in, ctx, frame, out);
    }
  av_frame_free(&frame);
  av_packet_free(&pkt);
  out.ok = true;
  return out;
}

Rgb DecodedVideo::At(int frame, double x, double y) const {
  Rgb c;
  if (frame < 0 || frame >= FrameCount()) return Rgb{-1000, -1000, -1000};
  int px = std::clamp(static_cast<int>(x * width), 0, width - 1);
  int py = std::clamp(static_cast<int>(y * height), 0, height - 1);
  const uint8_t* p = frames[frame].data() + (static_cast<size_t>(py) * width + px) * 3;
  c.r = p[0];
  c.g = p[1];
  c.b = p[2];
  return c;
}

double DecodedVideo::Rms(double from, double to) const {
  if (sampleRate <= 0) return -1;
  size_t a = static_cast<size_t>(std::max(0.0, from) * sampleRate);
  size_t b = std::min(mono.size(), static_cast<size_t>(std::max(0.0, to) * sampleRate));
  if (b <= a) return 0;
  double sum = 0;
  for (size_t i = a; i < b; ++i)
    sum += static_cast<double>(mono[i]) * mono[i];
  return std::sqrt(sum / static_cast<double>(b - a));
}

bool Near(Rgb a, Rgb e, int tolerance) {
  return std::abs(a.r - e.r) <= tolerance && std::abs(a.g - e.g) <= tolerance &&
         std::abs(a.b - e.b) <= tolerance;
}

std::string ToString(Rgb c) {
  return "(" + std::to_string(c.r) + ", " + std::to_string(c.g) + ", " + std::to_string(c.b) + ")";
}

#include "engine/media/audio_reader.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
#include <libavutil/dict.h>
#include <libswresample/swresample.h>
}

#include <algorithm>
#include <cstring>

#include "engine/core/av_handles.h"
#include "engine/core/libraries.h"

namespace orma {

struct AudioReader::Impl {
  FormatPtr format;
  CodecPtr decoder;
  SwrPtr resampler; ///< made for the first frame after each seek
  PacketPtr packet;
  FramePtr frame;
  int stream = -1;
  int64_t startPts = 0;   ///< the stream's first time stamp (source time 0)
  bool firstFrame = true; ///< the next decoded frame is the first after a seek
  int64_t targetUs = 0;   ///< where the last seek asked to be
  bool draining = false;  ///< the file is read to its end; the decoder is being emptied
  std::vector<float> out; ///< resampler output, planar
};

AudioReader::AudioReader(const MediaProbe& probe, int sampleRate, int channels)
    : probe_(probe), rate_(sampleRate > 0 ? sampleRate : 44100), channels_(std::clamp(channels, 1, 8)),
      fifo_(channels_) {}

AudioReader::~AudioReader() = default;

bool AudioReader::IsOpen() const { return impl_ != nullptr; }

void AudioReader::Close() {
  impl_.reset();
  for (auto& c : fifo_)
    c.clear();
  fifoStart_ = 0;
  skip_ = 0;
  ended_ = false;
}

bool AudioReader::Open(std::string* error) {
  auto impl = std::make_unique<Impl>();
  impl->format = OpenMediaInput(probe_, error);
  if (!impl->format) return false;
  int rc = 0;
  const AVCodec* codec = nullptr;
  impl->stream = av_find_best_stream(impl->format.get(), AVMEDIA_TYPE_AUDIO, -1, -1, &codec, 0);
  if (impl->stream < 0 || !codec) {
    *error = probe_.path + ": no sound to decode";
    return false;
  }
  AVStream* st = impl->format->streams[impl->stream];
  for (unsigned i = 0; i < impl->format->nb_streams; ++i)
    if (static_cast<int>(i) != impl->stream) impl->format->streams[i]->discard = AVDISCARD_ALL;
  impl->decoder.reset(avcodec_alloc_context3(codec));
  if (!impl->decoder || avcodec_parameters_to_context(impl->decoder.get(), st->codecpar) < 0) {
    *error = probe_.path + ": cannot set up the sound decoder";
    return false;
  }
  impl->decoder->thread_count = 1;
  impl->decoder->pkt_timebase = st->time_base;
  if ((rc = avcodec_open2(impl->decoder.get(), codec, nullptr)) < 0) {
    *error = probe_.path + ": cannot open the sound decoder: " + AvError(rc);
    return false;
  }
  impl->startPts = st->start_time != AV_NOPTS_VALUE ? st->start_time : 0;
  impl->packet.reset(av_packet_alloc());
  impl->frame.reset(av_frame_alloc());
  if (!impl->packet || !impl->frame) {
    *error = "out of memory";
    return false;
  }
  impl_ = std::move(impl);
  return true;
}

bool AudioReader::Seek(int64_t us, std::string* error) {
  if (!impl_ && !Open(error)) return false;
  Impl& d = *impl_;
  AVStream* st = d.format->streams[d.stream];
  int64_t ts = d.startPts + av_rescale_q(std::max<int64_t>(us, 0), AV_TIME_BASE_Q, st->time_base);
  if (av_seek_frame(d.format.get(), d.stream, ts, AVSEEK_FLAG_BACKWARD) < 0)
    av_seek_frame(d.format.get(), d.stream, d.startPts, AVSEEK_FLAG_BACKWARD);
  avcodec_flush_buffers(d.decoder.get());
  d.resampler.reset();
  d.firstFrame = true;
  d.targetUs = std::max<int64_t>(us, 0);
  d.draining = false;
  for (auto& c : fifo_)
    c.clear();
  fifoStart_ = 0;
  skip_ = 0;
  ended_ = false;
  return true;
}

// Decodes the next frame of sound and appends it, resampled, to the fifo.
// False at the end of the sound.
bool AudioReader::Refill() {
  Impl& d = *impl_;
  for (;;) {
    int rc = avcodec_receive_frame(d.decoder.get(), d.frame.get());
    if (rc == 0) break;
    if (rc == AVERROR_EOF) return false;
    if (rc != AVERROR(EAGAIN)) return false;
    if (d.draining) return false;
    rc = av_read_frame(d.format.get(), d.packet.get());
    if (rc < 0) {
      d.draining = true;
      avcodec_send_packet(d.decoder.get(), nullptr);
      continue;
    }
    if (d.packet->stream_index == d.stream) avcodec_send_packet(d.decoder.get(), d.packet.get());
    av_packet_unref(d.packet.get());
  }
  AVFrame* f = d.frame.get();
  if (!d.resampler) {
    AVChannelLayout outLayout = {};
    av_channel_layout_default(&outLayout, channels_);
    AVChannelLayout inLayout = {}; // zeroed: the copy below first frees what it holds
    if (f->ch_layout.nb_channels > 0)
      av_channel_layout_copy(&inLayout, &f->ch_layout);
    else
      av_channel_layout_default(&inLayout, std::max(1, d.decoder->ch_layout.nb_channels));
    SwrContext* resampler = nullptr;
    int rc = swr_alloc_set_opts2(&resampler, &outLayout, AV_SAMPLE_FMT_FLTP, rate_, &inLayout,
                                 static_cast<AVSampleFormat>(f->format), f->sample_rate, 0, nullptr);
    d.resampler.reset(resampler);
    // Channel layouts are mapped by FFmpeg's usual rules (a mono source
    // goes to both sides of stereo at -3 dB each, as the scenes' sound does).
    av_channel_layout_uninit(&inLayout);
    av_channel_layout_uninit(&outLayout);
    if (rc < 0 || swr_init(d.resampler.get()) < 0) {
      d.resampler.reset();
      av_frame_unref(f);
      return false;
    }
  }
  if (d.firstFrame) {
    // The first frame after a seek starts at or before the asked position:
    // drop what lies before it (or pad with silence when it starts later).
    d.firstFrame = false;
    int64_t pts = f->best_effort_timestamp != AV_NOPTS_VALUE ? f->best_effort_timestamp : f->pts;
    int64_t frameUs =
        pts != AV_NOPTS_VALUE
            ? av_rescale_q(pts - d.startPts, d.format->streams[d.stream]->time_base, AV_TIME_BASE_Q)
            : d.targetUs;
    skip_ = av_rescale(d.targetUs - frameUs, rate_, AV_TIME_BASE);
    if (skip_ < 0) {
      for (auto& c : fifo_)
        c.insert(c.end(), static_cast<size_t>(-skip_), 0.0f);
      skip_ = 0;
    }
  }
  int capacity = swr_get_out_samples(d.resampler.get(), f->nb_samples);
  if (capacity <= 0) {
    av_frame_unref(f);
    return true;
  }
  d.out.resize(static_cast<size_t>(capacity) * channels_);
  uint8_t* planes[8];
  for (int c = 0; c < channels_; ++c)
    planes[c] = reinterpret_cast<uint8_t*>(d.out.data() + static_cast<size_t>(c) * capacity);
  int made = swr_convert(d.resampler.get(), planes, capacity, const_cast<const uint8_t**>(f->extended_data),
                         f->nb_samples);
  av_frame_unref(f);
  if (made <= 0) return true;
  int from = static_cast<int>(std::min<int64_t>(skip_, made));
  skip_ -= from;
  for (int c = 0; c < channels_; ++c) {
    const float* src = d.out.data() + static_cast<size_t>(c) * capacity;
    fifo_[c].insert(fifo_[c].end(), src + from, src + made);
  }
  return true;
}

int AudioReader::Read(float* const* planes, int n) {
  if (n <= 0) return 0;
  if (!impl_) {
    std::string error;
    if (!Seek(0, &error)) return 0;
  }
  while (!ended_ && static_cast<int>(fifo_[0].size() - fifoStart_) < n)
    if (!Refill()) ended_ = true;
  int have = std::min(n, static_cast<int>(fifo_[0].size() - fifoStart_));
  for (int c = 0; c < channels_; ++c)
    std::memcpy(planes[c], fifo_[c].data() + fifoStart_, sizeof(float) * have);
  fifoStart_ += have;
  // Keep the fifo small: drop what was read once it is most of it.
  if (fifoStart_ > 8192 && fifoStart_ * 2 > fifo_[0].size()) {
    for (auto& c : fifo_)
      c.erase(c.begin(), c.begin() + static_cast<std::ptrdiff_t>(fifoStart_));
    fifoStart_ = 0;
  }
  return have;
}

} // namespace orma

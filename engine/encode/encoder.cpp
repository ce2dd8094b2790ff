#include "engine/encode/encoder.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/audio_fifo.h>
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <vector>

#include "engine/core/av_handles.h"
#include "engine/core/libraries.h"

namespace orma {

struct Encoder::State {
  OutputPtr oc;
  CodecPtr video;
  AVStream* videoStream = nullptr;
  CodecPtr audio;
  AVStream* audioStream = nullptr;
  SwsPtr convert; // canvas to the encoder's pixel format, when it differs
  FramePtr converted;
  SwrPtr swr;
  AudioFifoPtr fifo;
  FramePtr audioFrame;
  PacketPtr packet;
  int width = 0, height = 0;
  int channels = 2;
  int inputRate = 44100;
  int64_t videoPts = 0;
  int64_t audioPts = 0;
  bool headerWritten = false;
  bool trailerWritten = false;

  // A file that was started is ended even when the export fails, so that
  // what was written is a complete (if short) file until it is removed;
  // the owners above then close the rest, the file last.
  ~State() {
    if (headerWritten && !trailerWritten) av_write_trailer(oc.get());
  }

  // Sends a frame (or null to flush) and writes every packet that comes out.
  bool Encode(AVCodecContext* ctx, AVStream* stream, AVFrame* frame, std::string* error) {
    int rc = avcodec_send_frame(ctx, frame);
    if (rc < 0 && !(frame == nullptr && rc == AVERROR_EOF)) {
      *error = std::string(ctx->codec->name) + " refused a frame: " + AvError(rc);
      return false;
    }
    for (;;) {
      rc = avcodec_receive_packet(ctx, packet.get());
      if (rc == AVERROR(EAGAIN) || rc == AVERROR_EOF) return true;
      if (rc < 0) {
        *error = std::string(ctx->codec->name) + " failed: " + AvError(rc);
        return false;
      }
      av_packet_rescale_ts(packet.get(), ctx->time_base, stream->time_base);
      packet->stream_index = stream->index;
      rc = av_interleaved_write_frame(oc.get(), packet.get());
      if (rc < 0) {
        *error = "cannot write to the output file: " + AvError(rc);
        return false;
      }
    }
  }

  bool DrainFifo(bool final, std::string* error) {
    int frameSize = audio->frame_size > 0 ? audio->frame_size : 1024;
    while (av_audio_fifo_size(fifo.get()) >= frameSize || (final && av_audio_fifo_size(fifo.get()) > 0)) {
      int n = std::min(frameSize, av_audio_fifo_size(fifo.get()));
      av_frame_unref(audioFrame.get());
      audioFrame->format = audio->sample_fmt;
      av_channel_layout_copy(&audioFrame->ch_layout, &audio->ch_layout);
      audioFrame->sample_rate = audio->sample_rate;
      bool variable = audio->frame_size == 0 ||
                      (audio->codec->capabilities & AV_CODEC_CAP_VARIABLE_FRAME_SIZE) ||
                      (audio->codec->capabilities & AV_CODEC_CAP_SMALL_LAST_FRAME);
      audioFrame->nb_samples = variable ? n : frameSize;
      if (av_frame_get_buffer(audioFrame.get(), 0) < 0) {
        *error = "out of memory for sound";
        return false;
      }
      if (n < audioFrame->nb_samples)
        av_samples_set_silence(audioFrame->data, n, audioFrame->nb_samples - n, audio->ch_layout.nb_channels,
                               audio->sample_fmt);
      av_audio_fifo_read(fifo.get(), reinterpret_cast<void**>(audioFrame->data), n);
      audioFrame->pts = audioPts;
      audioPts += audioFrame->nb_samples;
      if (!Encode(audio.get(), audioStream, audioFrame.get(), error)) return false;
    }
    return true;
  }
};

Encoder::Encoder() : s_(std::make_unique<State>()) {}
Encoder::~Encoder() = default;

int Encoder::sampleRate() const { return s_->audio ? s_->audio->sample_rate : s_->inputRate; }

bool Encoder::Open(const EncoderSettings& set, std::string* error) {
  State& s = *s_;
  s.width = set.width;
  s.height = set.height;
  s.packet.reset(av_packet_alloc());
  AVFormatContext* oc = nullptr;
  int rc = avformat_alloc_output_context2(&oc, nullptr, set.container.c_str(), set.path.c_str());
  s.oc.reset(oc);
  if (rc < 0 || !s.oc) {
    *error = "cannot set up the " + set.container + " container: " + AvError(rc);
    return false;
  }

  s.channels = set.channels;
  s.inputRate = set.sampleRate;
  if (!set.videoCodec.empty() && !OpenVideo(set, error)) return false;
  if (!set.audioCodec.empty() && !OpenAudio(set, error)) return false;

  if (!(s.oc->oformat->flags & AVFMT_NOFILE)) {
    std::string url = "file:" + set.path;
    rc = avio_open(&s.oc->pb, url.c_str(), AVIO_FLAG_WRITE);
    if (rc < 0) {
      *error = "cannot write " + set.path + ": " + AvError(rc);
      return false;
    }
  }
  rc = avformat_write_header(s.oc.get(), nullptr);
  if (rc < 0) {
    *error = "cannot start the " + set.container + " file: " + AvError(rc);
    return false;
  }
  s.headerWritten = true;
  return true;
}

bool Encoder::OpenVideo(const EncoderSettings& set, std::string* error) {
  State& s = *s_;
  const AVCodec* vcodec = avcodec_find_encoder_by_name(set.videoCodec.c_str());
  if (!vcodec) {
    *error = "unknown video encoder \"" + set.videoCodec + "\"";
    return false;
  }
  s.video.reset(avcodec_alloc_context3(vcodec));
  s.video->width = set.width;
  s.video->height = set.height;
  s.video->time_base = AVRational{set.fpsDen, set.fpsNum};
  s.video->framerate = AVRational{set.fpsNum, set.fpsDen};
  s.video->sample_aspect_ratio = AVRational{1, 1};
  s.video->bit_rate = static_cast<int64_t>(set.videoKbits) * 1000;
  s.video->thread_count = 0;
  s.video->pix_fmt = AV_PIX_FMT_YUV420P;
  if (vcodec->pix_fmts) {
    bool has420 = false;
    for (const AVPixelFormat* p = vcodec->pix_fmts; *p != AV_PIX_FMT_NONE; ++p)
      if (*p == AV_PIX_FMT_YUV420P) has420 = true;
    if (!has420) s.video->pix_fmt = vcodec->pix_fmts[0];
  }
  bool hd = set.matrix == 709;
  s.video->colorspace = hd ? AVCOL_SPC_BT709 : AVCOL_SPC_SMPTE170M;
  s.video->color_primaries = hd ? AVCOL_PRI_BT709 : AVCOL_PRI_SMPTE170M;
  s.video->color_trc = hd ? AVCOL_TRC_BT709 : AVCOL_TRC_SMPTE170M;
  s.video->color_range = AVCOL_RANGE_MPEG;
  if (s.oc->oformat->flags & AVFMT_GLOBALHEADER) s.video->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  int rc = avcodec_open2(s.video.get(), vcodec, nullptr);
  if (rc < 0) {
    *error = "cannot open the video encoder " + set.videoCodec + ": " + AvError(rc);
    return false;
  }
  s.videoStream = avformat_new_stream(s.oc.get(), nullptr);
  avcodec_parameters_from_context(s.videoStream->codecpar, s.video.get());
  s.videoStream->time_base = s.video->time_base;
  s.videoStream->avg_frame_rate = s.video->framerate;
  if (s.video->pix_fmt != AV_PIX_FMT_YUV420P) {
    s.convert.reset(sws_getContext(set.width, set.height, AV_PIX_FMT_YUV420P, set.width, set.height,
                                   s.video->pix_fmt, SWS_BICUBIC, nullptr, nullptr, nullptr));
    s.converted.reset(av_frame_alloc());
    s.converted->format = s.video->pix_fmt;
    s.converted->width = set.width;
    s.converted->height = set.height;
    if (!s.convert || av_frame_get_buffer(s.converted.get(), 0) < 0) {
      *error = "cannot convert pictures for " + set.videoCodec;
      return false;
    }
  }
  return true;
}

bool Encoder::OpenAudio(const EncoderSettings& set, std::string* error) {
  State& s = *s_;
  const AVCodec* acodec = avcodec_find_encoder_by_name(set.audioCodec.c_str());
  if (!acodec) {
    *error = "unknown audio encoder \"" + set.audioCodec + "\"";
    return false;
  }
  s.audio.reset(avcodec_alloc_context3(acodec));
  s.audio->sample_fmt = acodec->sample_fmts ? acodec->sample_fmts[0] : AV_SAMPLE_FMT_FLTP;
  if (acodec->sample_fmts)
    for (const AVSampleFormat* f = acodec->sample_fmts; *f != AV_SAMPLE_FMT_NONE; ++f)
      if (*f == AV_SAMPLE_FMT_FLTP) s.audio->sample_fmt = AV_SAMPLE_FMT_FLTP;
  // Some encoders take only some rates (Opus: 48 kHz); use the nearest.
  int rate = set.sampleRate;
  if (acodec->supported_samplerates) {
    int best = acodec->supported_samplerates[0];
    for (const int* r = acodec->supported_samplerates; *r; ++r)
      if (std::abs(*r - set.sampleRate) < std::abs(best - set.sampleRate)) best = *r;
    rate = best;
  }
  s.audio->sample_rate = rate;
  av_channel_layout_default(&s.audio->ch_layout, set.channels);
  if (acodec->ch_layouts) {
    bool supported = false;
    for (const AVChannelLayout* l = acodec->ch_layouts; l->nb_channels; ++l)
      if (av_channel_layout_compare(l, &s.audio->ch_layout) == 0) supported = true;
    if (!supported) {
      av_channel_layout_uninit(&s.audio->ch_layout);
      av_channel_layout_copy(&s.audio->ch_layout, &acodec->ch_layouts[0]);
    }
  }
  s.audio->bit_rate = static_cast<int64_t>(set.audioKbits) * 1000;
  s.audio->time_base = AVRational{1, rate};
  if (s.oc->oformat->flags & AVFMT_GLOBALHEADER) s.audio->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  int rc = avcodec_open2(s.audio.get(), acodec, nullptr);
  if (rc < 0) {
    *error = "cannot open the audio encoder " + set.audioCodec + ": " + AvError(rc);
    return false;
  }
  s.audioStream = avformat_new_stream(s.oc.get(), nullptr);
  avcodec_parameters_from_context(s.audioStream->codecpar, s.audio.get());
  s.audioStream->time_base = s.audio->time_base;
  // The renderer delivers sound at the encoder's rate, as planar floats in
  // the asked channel count; only the sample format and layout change here.
  s.inputRate = rate;
  AVChannelLayout in;
  av_channel_layout_default(&in, set.channels);
  SwrContext* swr = nullptr;
  rc = swr_alloc_set_opts2(&swr, &s.audio->ch_layout, s.audio->sample_fmt, rate, &in, AV_SAMPLE_FMT_FLTP,
                           rate, 0, nullptr);
  s.swr.reset(swr);
  av_channel_layout_uninit(&in);
  if (rc < 0 || swr_init(s.swr.get()) < 0) {
    *error = "cannot convert sound for " + set.audioCodec;
    return false;
  }
  s.fifo.reset(av_audio_fifo_alloc(s.audio->sample_fmt, s.audio->ch_layout.nb_channels, 4096));
  s.audioFrame.reset(av_frame_alloc());
  return true;
}

bool Encoder::WriteVideo(const uint8_t* yuv, void (*release)(void*), void* opaque, std::string* error) {
  State& s = *s_;
  if (!s.video) {
    release(opaque);
    *error = "this export writes no picture";
    return false;
  }
  int cw = (s.width + 1) / 2, ch = (s.height + 1) / 2;
  // Handed over by reference, with the caller's release as the buffer's
  // free: libavcodec would otherwise copy the picture before the encoder
  // copies it again, and an encoder with frame threads reads it after this
  // call has returned.
  struct Owner {
    void (*release)(void*);
    void* opaque;
  };
  auto* owner = new Owner{release, opaque};
  AVBufferRef* buffer = av_buffer_create(
      const_cast<uint8_t*>(yuv), static_cast<size_t>(s.width) * s.height + 2 * cw * ch,
      [](void* o, uint8_t*) {
        auto* owner = static_cast<Owner*>(o);
        owner->release(owner->opaque);
        delete owner;
      },
      owner, AV_BUFFER_FLAG_READONLY);
  if (!buffer) {
    release(opaque);
    delete owner;
    *error = "out of memory for a picture";
    return false;
  }
  FramePtr frame(av_frame_alloc());
  frame->format = AV_PIX_FMT_YUV420P;
  frame->width = s.width;
  frame->height = s.height;
  frame->buf[0] = buffer;
  frame->data[0] = const_cast<uint8_t*>(yuv);
  frame->data[1] = frame->data[0] + s.width * s.height;
  frame->data[2] = frame->data[1] + cw * ch;
  frame->linesize[0] = s.width;
  frame->linesize[1] = cw;
  frame->linesize[2] = cw;
  AVFrame* send = frame.get();
  if (s.convert) {
    av_frame_make_writable(s.converted.get());
    sws_scale(s.convert.get(), frame->data, frame->linesize, 0, s.height, s.converted->data,
              s.converted->linesize);
    send = s.converted.get();
  }
  send->pts = s.videoPts++;
  return s.Encode(s.video.get(), s.videoStream, send, error);
}

bool Encoder::WriteAudio(const float* const* planes, int samples, std::string* error) {
  State& s = *s_;
  if (!s.audio || samples <= 0) return true;
  int capacity = swr_get_out_samples(s.swr.get(), samples);
  uint8_t** buffers = nullptr;
  if (av_samples_alloc_array_and_samples(&buffers, nullptr, s.audio->ch_layout.nb_channels, capacity,
                                         s.audio->sample_fmt, 0) < 0) {
    *error = "out of memory for sound";
    return false;
  }
  int n = swr_convert(s.swr.get(), buffers, capacity,
                      const_cast<const uint8_t**>(reinterpret_cast<uint8_t**>(const_cast<float**>(planes))),
                      samples);
  bool ok = n >= 0;
  if (ok && n > 0) av_audio_fifo_write(s.fifo.get(), reinterpret_cast<void**>(buffers), n);
  av_freep(&buffers[0]);
  av_freep(&buffers);
  if (!ok) {
    *error = "cannot convert sound";
    return false;
  }
  return s.DrainFifo(false, error);
}

bool Encoder::Finish(std::string* error) {
  State& s = *s_;
  if (s.audio) {
    // What the converter still holds, then the rest of the queue.
    int capacity = swr_get_out_samples(s.swr.get(), 0);
    if (capacity > 0) {
      uint8_t** buffers = nullptr;
      if (av_samples_alloc_array_and_samples(&buffers, nullptr, s.audio->ch_layout.nb_channels, capacity,
                                             s.audio->sample_fmt, 0) >= 0) {
        int n = swr_convert(s.swr.get(), buffers, capacity, nullptr, 0);
        if (n > 0) av_audio_fifo_write(s.fifo.get(), reinterpret_cast<void**>(buffers), n);
        av_freep(&buffers[0]);
        av_freep(&buffers);
      }
    }
    if (!s.DrainFifo(true, error) || !s.Encode(s.audio.get(), s.audioStream, nullptr, error)) return false;
  }
  if (s.video && !s.Encode(s.video.get(), s.videoStream, nullptr, error)) return false;
  int rc = av_write_trailer(s.oc.get());
  s.trailerWritten = true;
  if (rc < 0) {
    *error = "cannot finish the output file: " + AvError(rc);
    return false;
  }
  if (s.oc->pb && !(s.oc->oformat->flags & AVFMT_NOFILE)) {
    rc = avio_closep(&s.oc->pb);
    if (rc < 0) {
      *error = "cannot close the output file: " + AvError(rc);
      return false;
    }
  }
  return true;
}

} // namespace orma

#include "engine/item_audio.h"

#include <algorithm>
#include <cmath>

#include "engine/log.h"

namespace orma {

namespace {

// One sample of an MLT sound buffer as a float.
float SampleOf(const void* buffer, mlt_audio_format format, int channels, int samples, int c, int s) {
  switch (format) {
  case mlt_audio_float:
    return static_cast<const float*>(buffer)[static_cast<size_t>(c) * samples + s];
  case mlt_audio_f32le:
    return static_cast<const float*>(buffer)[static_cast<size_t>(s) * channels + c];
  case mlt_audio_s16:
    return static_cast<const int16_t*>(buffer)[static_cast<size_t>(s) * channels + c] / 32768.0f;
  case mlt_audio_s32le:
    return static_cast<float>(static_cast<const int32_t*>(buffer)[static_cast<size_t>(s) * channels + c] /
                              2147483648.0);
  case mlt_audio_s32:
    return static_cast<float>(static_cast<const int32_t*>(buffer)[static_cast<size_t>(c) * samples + s] /
                              2147483648.0);
  case mlt_audio_u8:
    return (static_cast<const uint8_t*>(buffer)[static_cast<size_t>(s) * channels + c] - 128) / 128.0f;
  default:
    return 0.0f;
  }
}

} // namespace

ItemAudio::ItemAudio(const MediaProbe& probe, RenderContext& ctx, const AudioChain::Settings& settings,
                     int64_t firstFrame, int64_t lastFrame)
    : probe_(probe), ctx_(ctx), settings_(settings), firstFrame_(firstFrame), lastFrame_(lastFrame) {}

ItemAudio::~ItemAudio() {
  if (producer_) mlt_producer_close(producer_);
}

bool ItemAudio::Open(const AudioBlock& out) {
  std::string error;
  producer_ = OpenAvformat(probe_, ctx_, "", &error);
  if (!producer_) {
    ctx_.Fail(error);
    return false;
  }
  // Sound only, in the output's rate and channel layout.
  mlt_properties_set_int(MLT_PRODUCER_PROPERTIES(producer_), "video_index", -1);
  mlt_filter resample = mlt_factory_filter(ctx_.profile, "swresample", nullptr);
  if (resample) {
    mlt_producer_attach(producer_, resample);
    mlt_filter_close(resample);
  }
  settings_.sampleRate = out.frequency;
  settings_.channels = out.channels;
  if (!chain_.Open(settings_, &error)) {
    ctx_.Fail(probe_.path + ": " + error);
    return false;
  }
  return true;
}

bool ItemAudio::Seek(int64_t itemFrame) {
  std::string error;
  if (nextItemFrame_ != INT64_MIN && !chain_.Reset(&error)) {
    ctx_.Fail(probe_.path + ": " + error);
    return false;
  }
  double speed = settings_.speed > 0 ? std::clamp(settings_.speed, 0.1, 10.0) : 1.0;
  position_ = firstFrame_ + static_cast<int64_t>(std::floor(std::max<int64_t>(0, itemFrame) * speed));
  return true;
}

bool ItemAudio::ReadFrame(const AudioBlock& out) {
  mlt_producer_seek(producer_, static_cast<mlt_position>(position_));
  mlt_frame frame = nullptr;
  if (mlt_service_get_frame(MLT_PRODUCER_SERVICE(producer_), &frame, 0) != 0 || !frame) return false;
  void* buffer = nullptr;
  mlt_audio_format format = mlt_audio_float;
  int frequency = out.frequency, channels = out.channels;
  double fps = static_cast<double>(ctx_.fps.num) / ctx_.fps.den;
  int samples = mlt_audio_calculate_frame_samples(static_cast<float>(fps), frequency, position_);
  bool ok = mlt_frame_get_audio(frame, &buffer, &format, &frequency, &channels, &samples) == 0 && buffer &&
            samples > 0 && channels > 0;
  if (ok) {
    input_.resize(static_cast<size_t>(out.channels) * samples);
    const float* planes[8];
    for (int c = 0; c < out.channels && c < 8; ++c) {
      float* plane = input_.data() + static_cast<size_t>(c) * samples;
      for (int s = 0; s < samples; ++s)
        plane[s] = SampleOf(buffer, format, channels, samples, std::min(c, channels - 1), s);
      planes[c] = plane;
    }
    chain_.Push(planes, samples);
  }
  mlt_frame_close(frame);
  ++position_;
  return ok;
}

void ItemAudio::Mix(int64_t itemFrame, AudioBlock& out, float gainStart, float gainEnd) {
  if (failed_ || out.samples <= 0 || out.channels <= 0) return;
  if (!producer_ && !Open(out)) {
    failed_ = true;
    return;
  }
  if (itemFrame != nextItemFrame_ && !Seek(itemFrame)) {
    failed_ = true;
    return;
  }
  nextItemFrame_ = itemFrame + 1;
  const int n = out.samples;
  while (chain_.Available() < n && !chain_.finished()) {
    if (position_ > lastFrame_ || !ReadFrame(out)) chain_.Finish();
  }
  output_.assign(static_cast<size_t>(out.channels) * n, 0.0f);
  float* planes[8];
  int channels = std::min(out.channels, 8);
  for (int c = 0; c < channels; ++c)
    planes[c] = output_.data() + static_cast<size_t>(c) * n;
  int got = chain_.Pull(planes, n);
  for (int c = 0; c < channels; ++c) {
    float* dst = out.Plane(c);
    for (int s = 0; s < got; ++s) {
      float g = n > 1 ? gainStart + (gainEnd - gainStart) * s / n : gainStart;
      dst[s] += planes[c][s] * g;
    }
  }
}

} // namespace orma

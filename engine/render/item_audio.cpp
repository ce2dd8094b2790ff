#include "engine/render/item_audio.h"

#include <algorithm>
#include <cmath>

#include "engine/core/log.h"

namespace orma {

void MixPlanes(const float* src, int n, AudioBlock& out, float gainStart, float gainEnd) {
  n = std::min(n, out.samples);
  for (int c = 0; c < out.channels; ++c) {
    const float* plane = src + static_cast<size_t>(c) * n;
    float* dst = out.Plane(c);
    for (int s = 0; s < n; ++s) {
      float g = out.samples > 1 ? gainStart + (gainEnd - gainStart) * s / out.samples : gainStart;
      dst[s] += plane[s] * g;
    }
  }
}

void ClipSound::Mix(int64_t position, AudioBlock& out, float gainStart, float gainEnd) {
  if (failed_ || out.samples <= 0 || out.channels <= 0) return;
  if (!reader_) reader_ = std::make_unique<AudioReader>(probe_, out.frequency, out.channels);
  if (position != next_) {
    std::string error;
    if (!reader_->Seek(FramesToUs(position, ctx_.fps), &error)) {
      failed_ = true;
      ctx_.Fail(error);
      return;
    }
  }
  next_ = position + 1;
  const int n = out.samples;
  buffer_.resize(static_cast<size_t>(out.channels) * n);
  float* planes[8];
  int channels = std::min(out.channels, 8);
  for (int c = 0; c < channels; ++c)
    planes[c] = buffer_.data() + static_cast<size_t>(c) * n;
  int got = reader_->Read(planes, n);
  // The end of the sound: what is missing stays silent.
  for (int c = 0; c < channels; ++c)
    std::fill(planes[c] + got, planes[c] + n, 0.0f);
  MixPlanes(buffer_.data(), n, out, gainStart, gainEnd);
}

ItemAudio::ItemAudio(const MediaProbe& probe, RenderContext& ctx, const AudioChain::Settings& settings,
                     int64_t firstFrame, int64_t lastFrame)
    : probe_(probe), ctx_(ctx), settings_(settings), firstFrame_(firstFrame), lastFrame_(lastFrame) {}

ItemAudio::~ItemAudio() = default;

bool ItemAudio::Open(const AudioBlock& out) {
  reader_ = std::make_unique<AudioReader>(probe_, out.frequency, out.channels);
  settings_.sampleRate = out.frequency;
  settings_.channels = out.channels;
  std::string error;
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
  if (!reader_->Seek(FramesToUs(position_, ctx_.fps), &error)) {
    ctx_.Fail(error);
    return false;
  }
  return true;
}

// Pushes one source frame's worth of sound into the chain.
bool ItemAudio::ReadFrame(const AudioBlock& out) {
  double fps = static_cast<double>(ctx_.fps.num) / ctx_.fps.den;
  int samples = mlt_audio_calculate_frame_samples(static_cast<float>(fps), out.frequency, position_);
  input_.resize(static_cast<size_t>(out.channels) * samples);
  float* planes[8];
  const float* pushed[8];
  int channels = std::min(out.channels, 8);
  for (int c = 0; c < channels; ++c)
    pushed[c] = planes[c] = input_.data() + static_cast<size_t>(c) * samples;
  int got = reader_->Read(planes, samples);
  if (got > 0) chain_.Push(pushed, got);
  ++position_;
  return got == samples;
}

void ItemAudio::Mix(int64_t itemFrame, AudioBlock& out, float gainStart, float gainEnd) {
  if (failed_ || out.samples <= 0 || out.channels <= 0) return;
  if (!reader_ && !Open(out)) {
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
  chain_.Pull(planes, n);
  MixPlanes(output_.data(), n, out, gainStart, gainEnd);
}

} // namespace orma

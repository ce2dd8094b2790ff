#include "engine/sound/audio_chain.h"

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/channel_layout.h>
#include <libavutil/error.h>
#include <libavutil/frame.h>
}

#include <algorithm>
#include <cmath>
#include <cstring>

#include "engine/core/libraries.h"
#include "engine/core/log.h"

namespace orma {

namespace {

const VoiceEffectInfo kEffects[] = {
    {kVoiceNone, "none"},         {kVoiceEcho, "echo"},           {kVoiceRobot, "robot"},
    {kVoiceChipmunk, "chipmunk"}, {kVoiceDeep, "deep voice"},     {kVoiceTelephone, "telephone"},
    {kVoiceReverb, "reverb"},     {kVoiceMegaphone, "megaphone"}, {kVoiceUnderwater, "underwater"},
};

std::string Number(double v) { return FormatDouble(v); }

// A pitch shift that keeps the length: play faster (higher) at a changed
// rate, resample back, and stretch the time back.
std::string PitchShift(int rate, int numerator, int denominator) {
  int shifted = rate * numerator / denominator;
  return "asetrate=" + std::to_string(shifted) + ",aresample=" + std::to_string(rate) +
         ",atempo=" + Number(static_cast<double>(denominator) / numerator);
}

std::string EffectFilters(int effect, int rate) {
  switch (effect) {
  case kVoiceEcho:
    return "aecho=0.8:0.88:300:0.4";
  case kVoiceRobot:
    // Every spectral bin keeps its magnitude and loses its phase.
    return "afftfilt=real='hypot(re,im)':imag='0':win_size=512:overlap=0.75";
  case kVoiceChipmunk:
    return PitchShift(rate, 3, 2);
  case kVoiceDeep:
    return PitchShift(rate, 3, 4);
  case kVoiceTelephone:
    return "highpass=f=300,highpass=f=300,lowpass=f=3400,lowpass=f=3400,"
           "acompressor=threshold=0.125:ratio=4:makeup=2";
  case kVoiceReverb:
    return "aecho=0.8:0.7:23|37|53|79|113:0.5|0.4|0.35|0.3|0.25";
  case kVoiceMegaphone:
    return "highpass=f=600,lowpass=f=3000,acrusher=bits=8:mix=0.3,volume=1.5";
  case kVoiceUnderwater:
    return "lowpass=f=400,lowpass=f=400,aecho=0.8:0.6:60:0.3";
  default:
    return "";
  }
}

// FFmpeg's spectral denoiser with rising reduction and a rising noise floor:
// level 1 takes out faint hiss, level 4 noise at a quarter of full scale.
std::string NoiseFilters(int level) {
  static const char* const kLevels[kMaxNoiseLevel] = {"afftdn=nr=12:nf=-40:tn=1", "afftdn=nr=24:nf=-35:tn=1",
                                                      "afftdn=nr=36:nf=-30:tn=1", "afftdn=nr=48:nf=-25:tn=1"};
  if (level <= 0) return "";
  return kLevels[std::min(level, kMaxNoiseLevel) - 1];
}

// atempo is at its best between 0.5 and 2: larger changes are chained.
std::string TempoFilters(double speed) {
  std::string out;
  auto add = [&](double f) { out += (out.empty() ? "" : ",") + std::string("atempo=") + Number(f); };
  while (speed > 2.0 + 1e-9) {
    add(2.0);
    speed /= 2.0;
  }
  while (speed < 0.5 - 1e-9) {
    add(0.5);
    speed /= 0.5;
  }
  if (std::fabs(speed - 1.0) > 1e-9) add(speed);
  return out;
}

double ClampedSpeed(double speed) { return speed > 0 ? std::clamp(speed, 0.1, 10.0) : 1.0; }

std::string LayoutName(int channels) {
  AVChannelLayout layout;
  av_channel_layout_default(&layout, channels);
  char name[64] = {0};
  av_channel_layout_describe(&layout, name, sizeof name);
  av_channel_layout_uninit(&layout);
  return name;
}

} // namespace

const VoiceEffectInfo* VoiceEffects(int* count) {
  *count = static_cast<int>(sizeof kEffects / sizeof kEffects[0]);
  return kEffects;
}

AudioChain::AudioChain() = default;
AudioChain::~AudioChain() = default;

bool AudioChain::Changes(const Settings& s) {
  return std::fabs(ClampedSpeed(s.speed) - 1.0) > 1e-9 || !EffectFilters(s.effect, s.sampleRate).empty() ||
         s.noiseLevel > 0;
}

std::string AudioChain::Description(const Settings& s) {
  // Noise is removed from the source as recorded, before the voice is
  // changed; time stretching comes before the effect so that echo delays
  // stay what they say at any speed.
  std::string chain;
  for (const std::string& part : {NoiseFilters(s.noiseLevel), TempoFilters(ClampedSpeed(s.speed)),
                                  EffectFilters(s.effect, s.sampleRate)})
    if (!part.empty()) chain += (chain.empty() ? "" : ",") + part;
  if (!chain.empty()) chain += ",";
  chain += "aformat=sample_fmts=fltp:sample_rates=" + std::to_string(s.sampleRate) +
           ":channel_layouts=" + LayoutName(s.channels);
  return chain;
}

void AudioChain::Close() {
  graph_.reset();
  source_ = sink_ = nullptr;
  frame_.reset();
  ready_.clear();
  pts_ = 0;
  finished_ = false;
}

bool AudioChain::Open(const Settings& s, std::string* error) {
  Close();
  settings_ = s;
  settings_.channels = std::clamp(s.channels, 1, 8);
  settings_.sampleRate = std::max(8000, s.sampleRate);
  graph_.reset(avfilter_graph_alloc());
  frame_.reset(av_frame_alloc());
  if (!graph_ || !frame_) {
    *error = "out of memory for the sound filters";
    return false;
  }
  graph_->nb_threads = 1;
  std::string args = "sample_rate=" + std::to_string(settings_.sampleRate) +
                     ":sample_fmt=fltp:channel_layout=" + LayoutName(settings_.channels) + ":time_base=1/" +
                     std::to_string(settings_.sampleRate);
  int rc = avfilter_graph_create_filter(&source_, avfilter_get_by_name("abuffer"), "in", args.c_str(),
                                        nullptr, graph_.get());
  if (rc >= 0)
    rc = avfilter_graph_create_filter(&sink_, avfilter_get_by_name("abuffersink"), "out", nullptr, nullptr,
                                      graph_.get());
  if (rc < 0) {
    *error = "cannot create the sound filters: " + AvError(rc);
    return false;
  }
  AVFilterInOut* outputs = avfilter_inout_alloc();
  AVFilterInOut* inputs = avfilter_inout_alloc();
  outputs->name = av_strdup("in");
  outputs->filter_ctx = source_;
  outputs->pad_idx = 0;
  outputs->next = nullptr;
  inputs->name = av_strdup("out");
  inputs->filter_ctx = sink_;
  inputs->pad_idx = 0;
  inputs->next = nullptr;
  std::string chain = Description(settings_);
  rc = avfilter_graph_parse_ptr(graph_.get(), chain.c_str(), &inputs, &outputs, nullptr);
  avfilter_inout_free(&inputs);
  avfilter_inout_free(&outputs);
  if (rc >= 0) rc = avfilter_graph_config(graph_.get(), nullptr);
  if (rc < 0) {
    *error = "cannot set up the sound filters \"" + chain + "\": " + AvError(rc);
    return false;
  }
  ready_.assign(settings_.channels, {});
  return true;
}

bool AudioChain::Push(const float* const* planes, int samples) {
  if (!graph_ || finished_ || samples <= 0) return graph_ != nullptr;
  FramePtr in(av_frame_alloc());
  if (!in) return false;
  in->nb_samples = samples;
  in->format = AV_SAMPLE_FMT_FLTP;
  in->sample_rate = settings_.sampleRate;
  av_channel_layout_default(&in->ch_layout, settings_.channels);
  in->pts = pts_;
  pts_ += samples;
  bool ok = av_frame_get_buffer(in.get(), 0) >= 0;
  if (ok) {
    for (int c = 0; c < settings_.channels; ++c)
      std::memcpy(in->extended_data[c], planes[c], sizeof(float) * static_cast<size_t>(samples));
    ok = av_buffersrc_add_frame(source_, in.get()) >= 0;
  }
  Drain();
  return ok;
}

void AudioChain::Finish() {
  if (!graph_ || finished_) return;
  // Time stretchers keep back the last part of a window at the end; half a
  // second of silence after the sound brings all of it out.
  std::vector<float> silence(static_cast<size_t>(settings_.sampleRate / 2), 0.0f);
  std::vector<const float*> planes(settings_.channels, silence.data());
  Push(planes.data(), static_cast<int>(silence.size()));
  // If the end cannot be signalled, what the filters hold is lost; what came
  // out already stays.
  if (av_buffersrc_add_frame(source_, nullptr) < 0)
    LogOnce("sound-flush", "the sound filters cannot be flushed");
  finished_ = true;
  Drain();
}

void AudioChain::Drain() {
  while (graph_ && av_buffersink_get_frame(sink_, frame_.get()) >= 0) {
    int n = frame_->nb_samples;
    int channels = std::min(frame_->ch_layout.nb_channels, settings_.channels);
    for (int c = 0; c < settings_.channels; ++c) {
      const float* src = reinterpret_cast<const float*>(frame_->extended_data[std::min(c, channels - 1)]);
      ready_[c].insert(ready_[c].end(), src, src + n);
    }
    av_frame_unref(frame_.get());
  }
}

int AudioChain::Available() { return ready_.empty() ? 0 : static_cast<int>(ready_[0].size()); }

int AudioChain::Pull(float* const* planes, int samples) {
  int n = std::min(samples, Available());
  for (int c = 0; c < settings_.channels; ++c) {
    std::copy(ready_[c].begin(), ready_[c].begin() + n, planes[c]);
    ready_[c].erase(ready_[c].begin(), ready_[c].begin() + n);
  }
  return n;
}

bool AudioChain::Reset(std::string* error) {
  Settings s = settings_;
  return Open(s, error);
}

} // namespace orma

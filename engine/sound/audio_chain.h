// Sound processing of one source, on planar float blocks: noise
// suppression, play speed with the pitch kept (time stretching) and a voice
// effect, run through an FFmpeg filter graph (libavfilter). Media items and
// the timeline's music and sound effects use it alike: the caller pushes
// the source's sound in order and pulls the processed sound as it needs it.
// Volume and fades stay with the caller, which knows the output's timing.
//
//   AudioChain chain;
//   AudioChain::Settings s;
//   s.sampleRate = 48000; s.channels = 2; s.speed = 2.0; s.effect = kVoiceEcho;
//   if (!chain.Open(s, &error)) ...
//   while (chain.Available() < n && more) chain.Push(planes, count);  // at end: chain.Finish()
//   int got = chain.Pull(out, n);                                     // the rest is silence
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "corelib/orma_core.h"
#include "engine/core/av_handles.h"

struct AVFilterContext;

namespace orma {

/// Voice effects of OrmaSetMediaAudioEffect / OrmaSetAudioMediaEffect.
enum VoiceEffect {
  kVoiceNone = ORMA_VOICE_NONE,
  kVoiceEcho = ORMA_VOICE_ECHO,
  kVoiceRobot = ORMA_VOICE_ROBOT,
  kVoiceChipmunk = ORMA_VOICE_CHIPMUNK,
  kVoiceDeep = ORMA_VOICE_DEEP,
  kVoiceTelephone = ORMA_VOICE_TELEPHONE,
  kVoiceReverb = ORMA_VOICE_REVERB,
  kVoiceMegaphone = ORMA_VOICE_MEGAPHONE,
  kVoiceUnderwater = ORMA_VOICE_UNDERWATER,
};

struct VoiceEffectInfo {
  int number;
  const char* name;
};

/// Every voice effect (0 none first), in number order.
const VoiceEffectInfo* VoiceEffects(int* count);

/// The highest noise-suppression level; higher levels count as this one.
constexpr int kMaxNoiseLevel = 4;

class AudioChain {
public:
  struct Settings {
    int sampleRate = 44100;
    int channels = 2;
    double speed = 1.0; ///< 0.1..10 (clamped); 0 means 1
    int effect = 0;     ///< VoiceEffect; unknown numbers: none
    int noiseLevel = 0; ///< 0 off, 1..4 rising strength
  };

  AudioChain();
  ~AudioChain();
  AudioChain(const AudioChain&) = delete;
  AudioChain& operator=(const AudioChain&) = delete;

  /// True when the settings change the sound at all.
  static bool Changes(const Settings& s);
  /// The filter graph text for the settings (for logs and tests).
  static std::string Description(const Settings& s);

  /// Builds the graph; false with a message when FFmpeg cannot.
  bool Open(const Settings& s, std::string* error);
  /// Feeds `samples` samples of every channel, in order.
  bool Push(const float* const* planes, int samples);
  /// Ends the input: what the filters still hold comes out (followed by
  /// some silence).
  void Finish();
  /// Processed samples ready to be pulled.
  int Available();
  /// Moves up to `samples` processed samples into `planes`; returns how many.
  int Pull(float* const* planes, int samples);
  /// Drops everything buffered and starts again (after a seek).
  bool Reset(std::string* error);
  bool finished() const { return finished_; }
  const Settings& settings() const { return settings_; }

private:
  void Close();
  void Drain();
  Settings settings_;
  FilterGraphPtr graph_;
  AVFilterContext* source_ = nullptr; ///< belongs to the graph
  AVFilterContext* sink_ = nullptr;   ///< belongs to the graph
  FramePtr frame_;
  int64_t pts_ = 0;
  bool finished_ = false;
  std::vector<std::deque<float>> ready_; ///< per channel
};

} // namespace orma

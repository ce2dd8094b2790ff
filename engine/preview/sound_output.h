// The preview's sound: the timeline's mixed sound played on the machine's
// sound device through SDL2's audio subsystem (queued, no callback), and
// the clock that sound gives.
//
// With a device the picture follows the sound: the clock is the position of
// the sample being heard, so the sound is never cut or stretched and a late
// picture is the one that gives way. Without one (no device could be
// opened, or SDL_AUDIODRIVER names the "dummy" or "disk" driver) Open
// returns false and the player keeps time with a monotonic clock instead.
#pragma once

#include <cstdint>
#include <string>

namespace orma {

class SoundOutput {
public:
  SoundOutput() = default;
  ~SoundOutput();
  SoundOutput(const SoundOutput&) = delete;
  SoundOutput& operator=(const SoundOutput&) = delete;

  /// Opens the default device for float sound at this rate and channel
  /// count (SDL converts when the device wants another); starts paused.
  /// False, with *why, when there is no device to play on.
  bool Open(int sampleRate, int channels, std::string* why);
  bool open() const { return device_ != 0; }

  /// Queues one frame's sound: `channels` planes of `samples` floats.
  void Queue(const float* planar, int samples);
  /// Drops what is queued and starts counting again from 0 s (a seek).
  void Clear();
  void Pause(bool paused);
  /// Seconds of sound heard since the last Clear.
  double Played() const;

  void Close();

private:
  uint32_t device_ = 0;
  int rate_ = 0;
  int channels_ = 0;
  int deviceLatencySamples_ = 0;
  int64_t queuedSamples_ = 0; ///< queued since the last Clear
  std::string interleaved_;   ///< scratch for one frame
};

} // namespace orma

// The time a preview is playing at, in seconds of the timeline.
//
// Two sources: the sound device, when there is one (the seconds of sound
// heard since the clock was set, so the pictures follow what is heard), or
// else the monotonic clock of the machine. Setting the clock (a start or a
// seek) names the timeline time it stands at; pausing freezes it, and going
// on continues from the frozen time.
#pragma once

#include <chrono>

#include "engine/preview/sound_output.h"

namespace orma {

class PlaybackClock {
public:
  explicit PlaybackClock(const SoundOutput& sound) : sound_(sound) {}

  /// Stands at `seconds`, running or not. The sound must have been cleared
  /// at the same moment.
  void Set(double seconds, bool running) {
    base_ = seconds;
    running_ = running;
    since_ = Clock::now();
  }
  void Pause() {
    if (!running_) return;
    if (!sound_.open()) base_ = Now();
    running_ = false;
  }
  void Resume() {
    if (running_) return;
    since_ = Clock::now();
    running_ = true;
  }
  bool running() const { return running_; }

  double Now() const {
    // The paused device plays nothing, so its count holds still by itself.
    if (sound_.open()) return base_ + sound_.Played();
    if (!running_) return base_;
    return base_ + std::chrono::duration<double>(Clock::now() - since_).count();
  }

private:
  using Clock = std::chrono::steady_clock;
  const SoundOutput& sound_;
  double base_ = 0;
  bool running_ = false;
  Clock::time_point since_{};
};

} // namespace orma

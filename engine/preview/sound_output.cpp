// SDL2 sound output of the preview (sound_output.h).
#include "engine/preview/sound_output.h"

#include <SDL2/SDL.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace orma {

SoundOutput::~SoundOutput() { Close(); }

bool SoundOutput::Open(int sampleRate, int channels, std::string* why) {
  const char* driver = std::getenv("SDL_AUDIODRIVER");
  if (driver && (std::strcmp(driver, "dummy") == 0 || std::strcmp(driver, "disk") == 0)) {
    *why = std::string("SDL_AUDIODRIVER is ") + driver;
    return false;
  }
  // SDL would otherwise turn SIGINT and SIGTERM into events nobody reads,
  // and the program could no longer be ended by a signal.
  SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");
  if (SDL_InitSubSystem(SDL_INIT_AUDIO) != 0) {
    *why = std::string("no sound: ") + SDL_GetError();
    return false;
  }
  SDL_AudioSpec want{};
  want.freq = sampleRate;
  want.format = AUDIO_F32SYS;
  want.channels = static_cast<Uint8>(channels);
  want.samples = 1024;
  SDL_AudioSpec have{};
  device_ = SDL_OpenAudioDevice(nullptr, 0, &want, &have, 0);
  if (device_ == 0) {
    *why = std::string("no sound device: ") + SDL_GetError();
    SDL_QuitSubSystem(SDL_INIT_AUDIO);
    return false;
  }
  rate_ = sampleRate;
  channels_ = channels;
  // What the device has taken from the queue but not played yet.
  deviceLatencySamples_ =
      static_cast<int>(static_cast<int64_t>(have.samples) * sampleRate / std::max(1, have.freq));
  queuedSamples_ = 0;
  return true;
}

void SoundOutput::Queue(const float* planar, int samples) {
  if (!device_ || samples <= 0) return;
  interleaved_.resize(static_cast<size_t>(samples) * channels_ * sizeof(float));
  float* out = reinterpret_cast<float*>(interleaved_.data());
  for (int i = 0; i < samples; ++i)
    for (int c = 0; c < channels_; ++c)
      out[i * channels_ + c] = planar[static_cast<size_t>(c) * samples + i];
  SDL_QueueAudio(device_, out, static_cast<Uint32>(interleaved_.size()));
  queuedSamples_ += samples;
}

void SoundOutput::Clear() {
  if (!device_) return;
  SDL_ClearQueuedAudio(device_);
  queuedSamples_ = 0;
}

void SoundOutput::Pause(bool paused) {
  if (device_) SDL_PauseAudioDevice(device_, paused ? 1 : 0);
}

double SoundOutput::Played() const {
  if (!device_ || rate_ <= 0) return 0;
  const int64_t waiting = SDL_GetQueuedAudioSize(device_) / (sizeof(float) * channels_);
  // Taken by the device is not yet heard; and nothing is heard before the
  // first sample has gone through.
  const int64_t heard = queuedSamples_ - waiting - (queuedSamples_ > waiting ? deviceLatencySamples_ : 0);
  return static_cast<double>(std::max<int64_t>(0, heard)) / rate_;
}

void SoundOutput::Close() {
  if (!device_) return;
  SDL_CloseAudioDevice(device_);
  SDL_QuitSubSystem(SDL_INIT_AUDIO);
  device_ = 0;
}

} // namespace orma

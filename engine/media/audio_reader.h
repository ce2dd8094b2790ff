// Reads the sound of a media file as a stream of planar float samples at
// the output's rate and channel count, from any position, under the same
// rules as every media file (a plain local file the probe accepted, FFmpeg
// limited to the "file" protocol and to the demuxer the probe found).
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "engine/media/probe.h"

namespace orma {

class AudioReader {
public:
  AudioReader(const MediaProbe& probe, int sampleRate, int channels);
  ~AudioReader();
  AudioReader(const AudioReader&) = delete;
  AudioReader& operator=(const AudioReader&) = delete;

  /// Opens the file (if needed) and positions the stream at `us` of the
  /// source; false with *error when the file cannot be read.
  bool Seek(int64_t us, std::string* error);
  /// Up to n samples of every channel into planes; returns how many, fewer
  /// (down to 0) only at the end of the sound. Before Seek, reads from 0.
  int Read(float* const* planes, int n);
  /// Closes the file and frees the decoder; the next Seek opens it again.
  void Close();
  bool IsOpen() const;

  int sampleRate() const { return rate_; }
  int channels() const { return channels_; }

private:
  struct Impl;
  bool Open(std::string* error);
  bool Refill();

  MediaProbe probe_;
  int rate_;
  int channels_;
  std::unique_ptr<Impl> impl_;
  std::vector<std::vector<float>> fifo_; ///< decoded, resampled, not yet read
  size_t fifoStart_ = 0;
  int64_t skip_ = 0; ///< samples still to drop to reach the sought position
  bool ended_ = false;
};

} // namespace orma

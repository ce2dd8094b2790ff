// Decodes a rendered video completely (small test outputs only) so that
// tests can look at its streams, its pixels at given frames and its sound.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct Rgb {
  int r = 0, g = 0, b = 0;
};

struct DecodedVideo {
  bool ok = false;
  std::string error;
  std::string videoCodec;
  std::string audioCodec;
  int width = 0;
  int height = 0;
  int fpsNum = 0;
  int fpsDen = 1;
  double durationSeconds = 0;               ///< of the video stream
  std::vector<std::vector<uint8_t>> frames; ///< RGB24, one per decoded frame
  int sampleRate = 0;
  int channels = 0;
  std::vector<float> mono; ///< the sound mixed down to one channel
  float peak = 0;          ///< the largest absolute sample of any channel (float sound)

  int FrameCount() const { return static_cast<int>(frames.size()); }
  /// Colour of a pixel; x and y in 0..1 of the frame.
  Rgb At(int frame, double x, double y) const;
  /// Root mean square of the sound between two times in seconds.
  double Rms(double from, double to) const;
};

DecodedVideo DecodeVideo(const std::string& path);

/// True when every channel is within `tolerance` of the expected colour.
bool Near(Rgb actual, Rgb expected, int tolerance);
/// Near with the tolerance of colour checks (lossy coding moves colours a little).
inline bool Close(Rgb actual, Rgb expected) { return Near(actual, expected, 24); }
std::string ToString(Rgb c);

// Encoding and writing the output file with libavcodec and libavformat.
//
// MLT renders the frames (in parallel, on its consumer's worker threads);
// this writer encodes them. MLT 7.12's own avformat consumer was not used
// for the writing: it reads 4:2:0 pictures through mlt_image_format_planes,
// which in that release puts the third plane at the wrong offset, and it
// builds a new scaler for every frame. Here the canvas goes to the encoder
// as it is, and every failure comes back with its cause.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace orma {

struct EncoderSettings {
  std::string path;       ///< file to write (already the temporary name)
  std::string container;  ///< muxer name
  std::string videoCodec; ///< empty: no picture
  int width = 0, height = 0;
  int fpsNum = 25, fpsDen = 1;
  int videoKbits = 3000;
  int matrix = 601;       ///< colour matrix of the canvas
  std::string audioCodec; ///< empty: no sound
  int sampleRate = 44100;
  int channels = 2;
  int audioKbits = 128;
};

class Encoder {
public:
  Encoder();
  ~Encoder();
  bool Open(const EncoderSettings& settings, std::string* error);
  /// The sample rate the audio encoder takes (may differ from the asked one).
  int sampleRate() const;
  /// Encodes one 4:2:0 canvas (contiguous, MLT layout). The encoder may
  /// keep the picture beyond the call (frame-threaded encoders copy it on a
  /// thread of their own later): `release(opaque)` is called, once and on any
  /// thread, when it no longer reads it, also when the call fails.
  bool WriteVideo(const uint8_t* yuv420p, void (*release)(void* opaque), void* opaque, std::string* error);
  /// Encodes planar float sound of `channels` channels.
  bool WriteAudio(const float* const* planes, int samples, std::string* error);
  /// Flushes the encoders and writes the trailer.
  bool Finish(std::string* error);

private:
  bool OpenVideo(const EncoderSettings& settings, std::string* error);
  bool OpenAudio(const EncoderSettings& settings, std::string* error);
  struct State;
  std::unique_ptr<State> s_;
};

} // namespace orma

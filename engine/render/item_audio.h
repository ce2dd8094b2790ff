// The sound of media items, read from their files in order as the output
// takes it: ClipSound for a clip played as it is, ItemAudio for sound that
// needs processing (a play speed other than 1, a voice effect or noise
// suppression). Both are used on the consumer's thread only, in timeline
// order; a frame out of sequence (a seek, another scene of the same file)
// restarts the reading there.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "engine/media/audio_reader.h"
#include "engine/render/scene.h"
#include "engine/sound/audio_chain.h"

namespace orma {

/// A clip's sound at speed 1: the output frame that shows source frame
/// `position` plays the sound of that frame.
class ClipSound {
public:
  ClipSound(const MediaProbe& probe, RenderContext& ctx) : probe_(probe), ctx_(ctx) {}
  /// Adds the sound of source frame `position` (frames at the output rate)
  /// to `out`, times a gain ramped from `gainStart` to `gainEnd`.
  void Mix(int64_t position, AudioBlock& out, float gainStart, float gainEnd);

private:
  MediaProbe probe_;
  RenderContext& ctx_;
  std::unique_ptr<AudioReader> reader_;
  bool failed_ = false;
  int64_t next_ = INT64_MIN;
  std::vector<float> buffer_;
};

class ItemAudio {
public:
  /// `firstFrame`..`lastFrame`: the trimmed range of the source, in frames
  /// at the output's rate; `speed` as the item plays it.
  ItemAudio(const MediaProbe& probe, RenderContext& ctx, const AudioChain::Settings& settings,
            int64_t firstFrame, int64_t lastFrame);
  ~ItemAudio();

  /// Adds the sound of the item's frame `itemFrame` (frames since the item's
  /// start) to `out`, times a gain ramped from `gainStart` to `gainEnd`.
  void Mix(int64_t itemFrame, AudioBlock& out, float gainStart, float gainEnd);

private:
  bool Open(const AudioBlock& out);
  bool Seek(int64_t itemFrame);
  bool ReadFrame(const AudioBlock& out);

  const MediaProbe& probe_;
  RenderContext& ctx_;
  AudioChain::Settings settings_;
  int64_t firstFrame_, lastFrame_;
  std::unique_ptr<AudioReader> reader_;
  AudioChain chain_;
  bool failed_ = false;
  int64_t nextItemFrame_ = INT64_MIN;
  int64_t position_ = 0; ///< next source frame to read
  std::vector<float> input_, output_;
};

/// Adds n samples of every plane of `src` (planar, n per plane) to `out`,
/// times a gain ramped from `gainStart` to `gainEnd` over out's frame.
void MixPlanes(const float* src, int n, AudioBlock& out, float gainStart, float gainEnd);

} // namespace orma

// The sound of a media item that needs processing (a play speed other than
// 1, a voice effect or noise suppression). The item's picture may skip or
// repeat source frames, but its sound must be continuous: it is read from
// the source in order by a producer of its own (sound only), sent through
// an AudioChain and handed out frame by frame as the output takes it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <mlt-7/framework/mlt.h>

#include "engine/audio_chain.h"
#include "engine/render.h"

namespace orma {

class ItemAudio {
public:
  /// `firstFrame`..`lastFrame`: the trimmed range of the source, in frames
  /// at the output's rate; `speed` as the item plays it.
  ItemAudio(const MediaProbe& probe, RenderContext& ctx, const AudioChain::Settings& settings,
            int64_t firstFrame, int64_t lastFrame);
  ~ItemAudio();

  /// Consumer thread, in order: adds the sound of the item's frame
  /// `itemFrame` (frames since the item's start) to `out`, times a gain
  /// ramped from `gainStart` to `gainEnd`. A frame out of sequence (a seek)
  /// restarts the reading there.
  void Mix(int64_t itemFrame, AudioBlock& out, float gainStart, float gainEnd);

private:
  bool Open(const AudioBlock& out);
  bool Seek(int64_t itemFrame);
  bool ReadFrame(const AudioBlock& out);

  const MediaProbe& probe_;
  RenderContext& ctx_;
  AudioChain::Settings settings_;
  int64_t firstFrame_, lastFrame_;
  mlt_producer producer_ = nullptr;
  AudioChain chain_;
  bool failed_ = false;
  int64_t nextItemFrame_ = INT64_MIN;
  int64_t position_ = 0; ///< next source frame to read
  std::vector<float> input_, output_;
};

} // namespace orma

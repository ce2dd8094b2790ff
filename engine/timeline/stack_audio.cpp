// Sound of the stacked tracks, and what every timeline gets last.
//
// A stacked track whose segments sound (music, sound effects,
// picture-in-picture items with sound) gets one mixing transition onto the
// main track: it asks the segment of the track's frame for its sound and
// adds it to the main track's. Mixing does not depend on the order of the
// sources, so one transition per track serves all of its segments, however
// many. The limiter is planted after everything else on the main track, so
// it sees the finished mix.
#include <mlt-7/framework/mlt.h>

#include <algorithm>
#include <cstring>

#include "engine/core/log.h"
#include "engine/core/mlt_handles.h"
#include "engine/sound/limiter.h"
#include "engine/timeline/elements.h"
#include "engine/timeline/timeline.h"
#include "platform/per_thread.h"

namespace orma {

namespace {

// The block handed to a segment's Audio(); reused by the one thread that
// takes the sound.
AudioBlock& ScratchBlock(int channels, int samples, int frequency) {
  AudioBlock& block = platform::PerThread<AudioBlock>([] {});
  block.channels = channels;
  block.samples = samples;
  block.frequency = frequency;
  block.data.assign(static_cast<size_t>(channels) * samples, 0.0f);
  return block;
}

int MixGetAudio(mlt_frame a, void** buffer, mlt_audio_format* format, int* frequency, int* channels,
                int* samples) {
  auto b = static_cast<mlt_frame>(mlt_frame_pop_audio(a));
  *format = mlt_audio_float;
  int error = mlt_frame_get_audio(a, buffer, format, frequency, channels, samples);
  if (error || !*buffer || *format != mlt_audio_float || *channels <= 0 || *samples <= 0) return error;
  FrameJobPtr job;
  Segment* segment = b ? ClipSegment(b, &job) : nullptr;
  if (!segment || !job) return 0;
  AudioBlock& block = ScratchBlock(*channels, *samples, *frequency);
  segment->Audio(job, block);
  float* out = static_cast<float*>(*buffer);
  for (size_t i = 0; i < block.data.size(); ++i)
    out[i] += block.data[i];
  return 0;
}

mlt_frame MixProcess(mlt_transition, mlt_frame a, mlt_frame b) {
  mlt_frame_push_audio(a, b);
  mlt_frame_push_audio(a, reinterpret_cast<void*>(MixGetAudio));
  return a;
}

int LimitGetAudio(mlt_frame frame, void** buffer, mlt_audio_format* format, int* frequency, int* channels,
                  int* samples) {
  auto* limiter = static_cast<std::unique_ptr<Limiter>*>(mlt_frame_pop_audio(frame));
  *format = mlt_audio_float;
  int error = mlt_frame_get_audio(frame, buffer, format, frequency, channels, samples);
  if (error || !*buffer || *format != mlt_audio_float || *channels <= 0 || *samples <= 0) return error;
  // Made at the first frame: the rate is the one the output asks for.
  if (!*limiter) *limiter = std::make_unique<Limiter>(*frequency);
  float* data = static_cast<float*>(*buffer);
  float* planes[16];
  int n = std::min(*channels, 16);
  for (int c = 0; c < n; ++c)
    planes[c] = data + static_cast<size_t>(c) * *samples;
  (*limiter)->Process(planes, n, *samples);
  return 0;
}

mlt_frame LimitProcess(mlt_filter filter, mlt_frame frame) {
  mlt_frame_push_audio(frame, filter->child);
  mlt_frame_push_audio(frame, reinterpret_cast<void*>(LimitGetAudio));
  return frame;
}

} // namespace

void Timeline::MixSound(int track) {
  if (track > 0 && std::find(soundTracks_.begin(), soundTracks_.end(), track) == soundTracks_.end())
    soundTracks_.push_back(track);
}

bool Timeline::FinishStack(std::string* error) {
  // The stacked elements are drawn onto the main track's frames, so the
  // main track must reach as far as they do.
  if (trackEnds_[0] < length_) {
    std::unique_ptr<Segment> blank = MakeBlackSegment(ctx.matrix);
    blank->start = trackEnds_[0];
    blank->end = length_;
    if (!Append(0, std::move(blank))) {
      *error = "cannot extend the main track";
      return false;
    }
  }
  for (int track : soundTracks_) {
    TransitionPtr owner(mlt_transition_new());
    mlt_transition mix = owner.get();
    if (!mix) {
      *error = "cannot create a sound mixing transition";
      return false;
    }
    mix->process = MixProcess;
    mlt_properties props = MLT_TRANSITION_PROPERTIES(mix);
    mlt_properties_set(props, "mlt_service", "orma.mix");
    mlt_properties_set_int(props, "_transition_type", 2); // sound only
    // The stacked frames carry no sound of their own (the segment is asked
    // directly), so the transition must not wait for some.
    mlt_properties_set_int(props, "accepts_blanks", 1);
    mlt_service_set_profile(MLT_TRANSITION_SERVICE(mix), ctx.profile);
    mlt_transition_set_in_and_out(mix, 0,
                                  static_cast<mlt_position>(std::max<int64_t>(trackEnds_[track], 1) - 1));
    // The field holds a reference of its own.
    if (mlt_field_plant_transition(field(), mix, 0, track) != 0) {
      *error = "cannot plant a sound mixing transition";
      return false;
    }
  }
  FilterPtr owner(mlt_filter_new());
  mlt_filter limit = owner.get();
  if (!limit) {
    *error = "cannot create the limiter";
    return false;
  }
  limit->child = &limiter_;
  limit->process = LimitProcess;
  mlt_properties_set(MLT_FILTER_PROPERTIES(limit), "mlt_service", "orma.limiter");
  mlt_service_set_profile(MLT_FILTER_SERVICE(limit), ctx.profile);
  if (mlt_field_plant_filter(field(), limit, 0) != 0) {
    *error = "cannot plant the limiter";
    return false;
  }
  return true;
}

} // namespace orma

// Stacked elements that draw themselves (captions, stickers, effects,
// picture-in-picture scenes) are composited by one transition per track,
// planted in track order. A drawn element's track lies above the track of
// every element over its time added before it (AllocateDrawnTrack), and the
// elements come in level order, so drawing the tracks in order draws the
// elements on screen at any moment in level order. Instead of asking the
// stacked track for a whole canvas with alpha and blending it, the
// transition hands the picture below (track 0 after every track below) to
// the segment of the track's frame, which draws only its own pixels onto it.
// A frame therefore costs what is on screen, not a canvas, and the chain of
// transitions a frame passes through grows with the number of tracks (the
// most elements on screen at once), not with the length of the draft.
#include <mlt-7/framework/mlt.h>

#include <algorithm>

#include "engine/core/mlt_handles.h"
#include "engine/timeline/timeline.h"

namespace orma {

namespace {

int OverlayGetImage(mlt_frame a, uint8_t** image, mlt_image_format* format, int* width, int* height, int) {
  mlt_frame b = mlt_frame_pop_frame(a);
  auto* timeline = static_cast<const Timeline*>(mlt_frame_pop_service(a));
  *format = mlt_image_yuv420p;
  int error = mlt_frame_get_image(a, image, format, width, height, 1);
  if (error || !*image || *format != mlt_image_yuv420p) return error;
  FrameJobPtr job;
  Segment* segment = b ? ClipSegment(b, &job) : nullptr;
  // A sound sharing the track is not drawn.
  if (!segment || !job || !timeline->DrawnOver(*segment)) return 0;
  Yuv canvas = Yuv420View(*image, *width, *height);
  segment->Render(job, canvas);
  return 0;
}

mlt_frame OverlayProcess(mlt_transition transition, mlt_frame a, mlt_frame b) {
  mlt_frame_push_service(a, transition->child);
  mlt_frame_push_frame(a, b);
  mlt_frame_push_get_image(a, OverlayGetImage);
  return a;
}

} // namespace

int Timeline::AllocateDrawnTrack(int64_t start, int64_t end) {
  int above = 0;
  for (size_t i = 1; i < tracks_.size(); ++i)
    if (!TrackFree(i, start, end)) above = static_cast<int>(i);
  Track(above + 1);
  return above + 1;
}

int Timeline::PlaceDrawn(std::unique_ptr<Segment> segment) {
  const Segment& placed = *segment;
  int track = AllocateDrawnTrack(placed.start, placed.end);
  if (placed.end <= placed.start) return track; // nothing on screen: not kept
  if (!Append(track, std::move(segment))) return -1;
  drawn_.insert(&placed);
  auto [span, added] = overlays_.try_emplace(track, placed.start, placed.end);
  if (!added) {
    span->second.first = std::min(span->second.first, placed.start);
    span->second.second = std::max(span->second.second, placed.end);
  }
  return track;
}

bool Timeline::PlantOverlays(std::string* error) {
  for (const auto& [track, span] : overlays_) { // in track order
    TransitionPtr transition(mlt_transition_new());
    if (!transition) {
      *error = "cannot create an overlay transition";
      return false;
    }
    transition->child = this;
    transition->process = OverlayProcess;
    mlt_properties props = MLT_TRANSITION_PROPERTIES(transition.get());
    mlt_properties_set(props, "mlt_service", "orma.overlay");
    mlt_properties_set_int(props, "_transition_type", 1); // video only
    mlt_service_set_profile(MLT_TRANSITION_SERVICE(transition.get()), ctx.profile);
    mlt_transition_set_in_and_out(transition.get(), static_cast<mlt_position>(span.first),
                                  static_cast<mlt_position>(span.second - 1));
    // The field takes a reference of its own.
    if (mlt_field_plant_transition(field(), transition.get(), 0, track) != 0) {
      *error = "cannot plant an overlay transition";
      return false;
    }
  }
  return true;
}

} // namespace orma

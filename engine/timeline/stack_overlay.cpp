// Stacked elements that draw themselves (captions, stickers) are composited
// by a transition of their own, planted in level order. Instead of asking
// the stacked track for a whole canvas with alpha and blending it, the
// transition hands the picture below (track 0 after every transition planted
// before it) to the element's segment, which draws only its own pixels onto
// it. A frame therefore costs what the element covers, not a canvas.
#include <mlt-7/framework/mlt.h>

#include "engine/core/mlt_handles.h"
#include "engine/timeline/timeline.h"

namespace orma {

namespace {

int OverlayGetImage(mlt_frame a, uint8_t** image, mlt_image_format* format, int* width, int* height, int) {
  mlt_frame b = mlt_frame_pop_frame(a);
  auto* mine = static_cast<const Segment*>(mlt_frame_pop_service(a));
  *format = mlt_image_yuv420p;
  int error = mlt_frame_get_image(a, image, format, width, height, 1);
  if (error || !*image || *format != mlt_image_yuv420p) return error;
  FrameJobPtr job;
  Segment* segment = b ? ClipSegment(b, &job) : nullptr;
  // Another element sharing the track is drawn by its own transition.
  if (segment != mine || !job) return 0;
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

bool Timeline::PlantOverlay(int track, const Segment& segment, std::string* error) {
  TransitionPtr owner(mlt_transition_new());
  mlt_transition transition = owner.get();
  if (!transition) {
    *error = "cannot create an overlay transition";
    return false;
  }
  transition->child = const_cast<Segment*>(&segment);
  transition->process = OverlayProcess;
  mlt_properties props = MLT_TRANSITION_PROPERTIES(transition);
  mlt_properties_set(props, "mlt_service", "orma.overlay");
  mlt_properties_set_int(props, "_transition_type", 1); // video only
  mlt_service_set_profile(MLT_TRANSITION_SERVICE(transition), ctx.profile);
  mlt_transition_set_in_and_out(transition, static_cast<mlt_position>(segment.start),
                                static_cast<mlt_position>(segment.end - 1));
  // The field holds a reference of its own.
  if (mlt_field_plant_transition(field(), transition, 0, track) != 0) {
    *error = "cannot plant an overlay transition";
    return false;
  }
  return true;
}

} // namespace orma

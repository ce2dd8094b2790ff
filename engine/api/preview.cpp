// Preview calls: the settings are kept on the virtual video, and playback
// is handed to the preview player (engine/preview/player.h).
#include <cmath>

#include "engine/api/api.h"
#include "engine/preview/player.h"

using namespace orma;

namespace {
int32_t Control(const char* function, OrmaVideoHandle vv, PreviewControl control, int64_t positionUs = 0) {
  VirtualVideo* v = VideoOf(vv);
  if (!v) return Refuse(function, kBadHandle, "not a virtual video handle");
  return ControlPreview(*v, control, positionUs);
}
} // namespace

extern "C" {

ORMA_API int32_t OrmaSetDisplayRatio(OrmaVideoHandle vv, float ratio) {
  int32_t r = [&] {
    VirtualVideo* v = VideoOf(vv);
    if (!v) return Refuse("OrmaSetDisplayRatio", kBadHandle, "not a virtual video handle");
    if (!(ratio > 0.0f) || !std::isfinite(ratio))
      return Refuse("OrmaSetDisplayRatio", kBadArgument, "ratio must be positive");
    v->preview.displayRatio = ratio;
    return int32_t{kOk};
  }();
  return Traced(
      "OrmaSetDisplayRatio", [&] { return TraceArgs().Ptr("vv", vv).Dbl("ratio", ratio); }, r);
}

ORMA_API int32_t OrmaSetPreviewWindowsHwnd(OrmaVideoHandle vv, uint64_t window) {
  int32_t r = [&] {
    VirtualVideo* v = VideoOf(vv);
    if (!v) return Refuse("OrmaSetPreviewWindowsHwnd", kBadHandle, "not a virtual video handle");
    v->preview.window = window;
    return int32_t{kOk};
  }();
  return Traced(
      "OrmaSetPreviewWindowsHwnd",
      [&] { return TraceArgs().Ptr("vv", vv).Int("window", static_cast<int64_t>(window)); }, r);
}

ORMA_API int32_t OrmaPreviewInit(OrmaVideoHandle vv) {
  int32_t r = [&] {
    VirtualVideo* v = VideoOf(vv);
    if (!v) return Refuse("OrmaPreviewInit", kBadHandle, "not a virtual video handle");
    v->preview.initialised = true;
    AwaitPreview(*v);
    return int32_t{kOk};
  }();
  return Traced(
      "OrmaPreviewInit", [&] { return TraceArgs().Ptr("vv", vv); }, r);
}

ORMA_API int32_t OrmaPreview(OrmaVideoHandle vv) {
  return Traced(
      "OrmaPreview", [&] { return TraceArgs().Ptr("vv", vv); },
      [&] {
        VirtualVideo* v = VideoOf(vv);
        return v ? StartPreview(*v) : Refuse("OrmaPreview", kBadHandle, "not a virtual video handle");
      }());
}

ORMA_API int32_t OrmaPreviewConintue(OrmaVideoHandle vv) {
  return Traced(
      "OrmaPreviewConintue", [&] { return TraceArgs().Ptr("vv", vv); },
      Control("OrmaPreviewConintue", vv, PreviewControl::Play));
}

ORMA_API int32_t OrmaPreviewPause(OrmaVideoHandle vv) {
  return Traced(
      "OrmaPreviewPause", [&] { return TraceArgs().Ptr("vv", vv); },
      Control("OrmaPreviewPause", vv, PreviewControl::Pause));
}

ORMA_API int32_t OrmaPreviewStop(OrmaVideoHandle vv) {
  return Traced(
      "OrmaPreviewStop", [&] { return TraceArgs().Ptr("vv", vv); },
      Control("OrmaPreviewStop", vv, PreviewControl::Stop));
}

ORMA_API int32_t OrmaPreviewSeek(OrmaVideoHandle vv, int64_t positionUs) {
  return Traced(
      "OrmaPreviewSeek", [&] { return TraceArgs().Ptr("vv", vv).Int("positionUs", positionUs); },
      Control("OrmaPreviewSeek", vv, PreviewControl::Seek, positionUs));
}

} // extern "C"

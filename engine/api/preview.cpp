// Preview settings. Playing a timeline into a window comes with the preview
// support; until then the settings are kept and playback reports that it is
// not available, so a caller never waits on a preview that does not play.
#include <cmath>

#include "engine/api/api.h"

using namespace orma;

namespace {
int32_t NoPlayback(const char* function, OrmaVideoHandle vv) {
  if (!VideoOf(vv)) return Refuse(function, kBadHandle, "not a virtual video handle");
  LogOnce("preview-playback", "preview playback is not available yet; nothing is played");
  return kBadState;
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
    return int32_t{kOk};
  }();
  return Traced(
      "OrmaPreviewInit", [&] { return TraceArgs().Ptr("vv", vv); }, r);
}

ORMA_API int32_t OrmaPreview(OrmaVideoHandle vv) {
  return Traced(
      "OrmaPreview", [&] { return TraceArgs().Ptr("vv", vv); }, NoPlayback("OrmaPreview", vv));
}

ORMA_API int32_t OrmaPreviewConintue(OrmaVideoHandle vv) {
  return Traced(
      "OrmaPreviewConintue", [&] { return TraceArgs().Ptr("vv", vv); },
      NoPlayback("OrmaPreviewConintue", vv));
}

ORMA_API int32_t OrmaPreviewPause(OrmaVideoHandle vv) {
  return Traced(
      "OrmaPreviewPause", [&] { return TraceArgs().Ptr("vv", vv); }, NoPlayback("OrmaPreviewPause", vv));
}

ORMA_API int32_t OrmaPreviewStop(OrmaVideoHandle vv) {
  return Traced(
      "OrmaPreviewStop", [&] { return TraceArgs().Ptr("vv", vv); }, NoPlayback("OrmaPreviewStop", vv));
}

ORMA_API int32_t OrmaPreviewSeek(OrmaVideoHandle vv, int64_t positionUs) {
  return Traced(
      "OrmaPreviewSeek", [&] { return TraceArgs().Ptr("vv", vv).Int("positionUs", positionUs); },
      NoPlayback("OrmaPreviewSeek", vv));
}

} // extern "C"

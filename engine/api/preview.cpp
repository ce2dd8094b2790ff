// Preview calls: the settings are kept on the virtual video, and playback
// is handed to the preview player (engine/preview/player.h).
#include <cmath>

#include "engine/api/api.h"
#include "engine/api/trace_args_gen.h"
#include "engine/preview/player.h"

using namespace orma;

namespace {
int32_t Control(const char* function, OrmaVideoHandle vv, PreviewControl control, int64_t positionUs = 0) {
  VirtualVideo* v = VideoOf(vv);
  if (!v) return Refuse(function, ORMA_BAD_HANDLE, "not a virtual video handle");
  return ControlPreview(*v, control, positionUs);
}
} // namespace

extern "C" {

ORMA_API int32_t OrmaSetDisplayRatio(OrmaVideoHandle vv, float ratio) {
  ORMA_ENTRY_NAME;
  int32_t r = [&] {
    VirtualVideo* v = VideoOf(vv);
    if (!v) return Refuse(call, ORMA_BAD_HANDLE, "not a virtual video handle");
    if (!(ratio > 0.0f) || !std::isfinite(ratio))
      return Refuse(call, ORMA_BAD_ARGUMENT, "ratio must be positive");
    v->preview.displayRatio = ratio;
    return int32_t{ORMA_OK};
  }();
  return Traced(
      call, [&] { return trace_args::OrmaSetDisplayRatio(vv, ratio); }, r);
}

ORMA_API int32_t OrmaSetPreviewWindowsHwnd(OrmaVideoHandle vv, uint64_t window) {
  ORMA_ENTRY_NAME;
  int32_t r = [&] {
    VirtualVideo* v = VideoOf(vv);
    if (!v) return Refuse(call, ORMA_BAD_HANDLE, "not a virtual video handle");
    v->preview.window = window;
    return int32_t{ORMA_OK};
  }();
  return Traced(
      call, [&] { return trace_args::OrmaSetPreviewWindowsHwnd(vv, window); }, r);
}

ORMA_API int32_t OrmaPreviewInit(OrmaVideoHandle vv) {
  ORMA_ENTRY_NAME;
  int32_t r = [&] {
    VirtualVideo* v = VideoOf(vv);
    if (!v) return Refuse(call, ORMA_BAD_HANDLE, "not a virtual video handle");
    v->preview.initialised = true;
    AwaitPreview(*v);
    return int32_t{ORMA_OK};
  }();
  return Traced(
      call, [&] { return trace_args::OrmaPreviewInit(vv); }, r);
}

ORMA_API int32_t OrmaPreview(OrmaVideoHandle vv) {
  ORMA_ENTRY_NAME;
  return Traced(
      call, [&] { return trace_args::OrmaPreview(vv); },
      [&] {
        VirtualVideo* v = VideoOf(vv);
        return v ? StartPreview(*v) : Refuse(call, ORMA_BAD_HANDLE, "not a virtual video handle");
      }());
}

ORMA_API int32_t OrmaPreviewConintue(OrmaVideoHandle vv) {
  ORMA_ENTRY_NAME;
  return Traced(
      call, [&] { return trace_args::OrmaPreviewConintue(vv); }, Control(call, vv, PreviewControl::Play));
}

ORMA_API int32_t OrmaPreviewPause(OrmaVideoHandle vv) {
  ORMA_ENTRY_NAME;
  return Traced(
      call, [&] { return trace_args::OrmaPreviewPause(vv); }, Control(call, vv, PreviewControl::Pause));
}

ORMA_API int32_t OrmaPreviewStop(OrmaVideoHandle vv) {
  ORMA_ENTRY_NAME;
  return Traced(
      call, [&] { return trace_args::OrmaPreviewStop(vv); }, Control(call, vv, PreviewControl::Stop));
}

ORMA_API int32_t OrmaPreviewSeek(OrmaVideoHandle vv, int64_t positionUs) {
  ORMA_ENTRY_NAME;
  return Traced(
      call, [&] { return trace_args::OrmaPreviewSeek(vv, positionUs); },
      Control(call, vv, PreviewControl::Seek, positionUs));
}

} // extern "C"

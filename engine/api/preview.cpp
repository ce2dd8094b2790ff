// Preview calls: the settings are kept on the virtual video, and playback
// is handed to the preview player (engine/preview/player.h).
#include <cmath>

#include "engine/api/api.h"
#include "engine/api/entry_points_gen.h"
#include "engine/preview/player.h"

using namespace orma;

namespace {
int32_t Control(const char* function, OrmaVideoHandle vv, PreviewControl control, int64_t positionUs = 0) {
  return OnVideo(function, vv, [&](VirtualVideo& v) { return ControlPreview(v, control, positionUs); });
}
} // namespace

namespace orma::entry {

int32_t OrmaSetDisplayRatio(const char* call, OrmaVideoHandle vv, float ratio) {
  return OnVideo(call, vv, [&](VirtualVideo& v) {
    if (!(ratio > 0.0f) || !std::isfinite(ratio))
      return Refuse(call, ORMA_BAD_ARGUMENT, "ratio must be positive");
    v.preview.displayRatio = ratio;
    return int32_t{ORMA_OK};
  });
}

int32_t OrmaSetPreviewWindowsHwnd(const char* call, OrmaVideoHandle vv, uint64_t window) {
  return OnVideo(call, vv, [&](VirtualVideo& v) {
    v.preview.window = window;
    return int32_t{ORMA_OK};
  });
}

int32_t OrmaPreviewInit(const char* call, OrmaVideoHandle vv) {
  return OnVideo(call, vv, [](VirtualVideo& v) {
    v.preview.initialised = true;
    AwaitPreview(v);
    return int32_t{ORMA_OK};
  });
}

int32_t OrmaPreview(const char* call, OrmaVideoHandle vv) {
  return OnVideo(call, vv, [](VirtualVideo& v) { return StartPreview(v); });
}

int32_t OrmaPreviewConintue(const char* call, OrmaVideoHandle vv) {
  return Control(call, vv, PreviewControl::Play);
}

int32_t OrmaPreviewPause(const char* call, OrmaVideoHandle vv) {
  return Control(call, vv, PreviewControl::Pause);
}

int32_t OrmaPreviewStop(const char* call, OrmaVideoHandle vv) {
  return Control(call, vv, PreviewControl::Stop);
}

int32_t OrmaPreviewSeek(const char* call, OrmaVideoHandle vv, int64_t positionUs) {
  return Control(call, vv, PreviewControl::Seek, positionUs);
}

} // namespace orma::entry

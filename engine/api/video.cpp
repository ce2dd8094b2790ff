// Virtual video and output settings.
#include <cmath>

#include "engine/api/api.h"
#include "engine/api/entry_points_gen.h"
#include "platform/platform.h"

using namespace orma;

namespace orma::entry {

OrmaVideoHandle OrmaVirtualVideoCreate(const char*) {
  auto* v = new VirtualVideo();
  RegisterHandle(v);
  return HandleTo<OrmaVideoHandle>(v);
}

int32_t OrmaSetFrameSize(const char* call, OrmaVideoHandle vv, int32_t width, int32_t height) {
  return With(call, vv, [&](VirtualVideo& v) {
    if (width < 2 || height < 2 || width > 16384 || height > 16384)
      return Refuse(call, ORMA_BAD_ARGUMENT,
                    "frame size " + std::to_string(width) + "x" + std::to_string(height) +
                        " is out of range");
    // 4:2:0 video needs even sizes; an odd size loses its last column or row.
    int w = width & ~1, h = height & ~1;
    if (w != width || h != height)
      LogOnce("odd-size", "odd frame size " + std::to_string(width) + "x" + std::to_string(height) +
                              " is rendered as " + std::to_string(w) + "x" + std::to_string(h));
    v.settings.width = w;
    v.settings.height = h;
    return int32_t{ORMA_OK};
  });
}

int32_t OrmaSetOutPath(const char* call, OrmaVideoHandle vv, const char* path) {
  return With(call, vv, [&](VirtualVideo& v) {
    if (!path || !*path) return Refuse(call, ORMA_BAD_ARGUMENT, "empty output path");
    std::string error;
    std::string native = platform::NativePath(path, &error);
    if (native.empty()) return Refuse(call, ORMA_BAD_ARGUMENT, error);
    v.settings.outPath = native;
    return int32_t{ORMA_OK};
  });
}

int32_t OrmaSetFPS(const char* call, OrmaVideoHandle vv, double fps) {
  return With(call, vv, [&](VirtualVideo& v) {
    if (!(fps > 0.0) || !std::isfinite(fps) || fps > 240.0)
      return Refuse(call, ORMA_BAD_ARGUMENT, "frame rate " + FormatDouble(fps) + " is out of range");
    v.settings.fpsValue = fps;
    v.settings.fps = RationalFps(fps);
    return int32_t{ORMA_OK};
  });
}

int32_t OrmaSetOutputStreams(const char* call, OrmaVideoHandle vv, int32_t streams) {
  return With(call, vv, [&](VirtualVideo& v) {
    if (streams != ORMA_STREAMS_VIDEO && streams != ORMA_STREAMS_SOUND && streams != ORMA_STREAMS_BOTH)
      return Refuse(call, ORMA_BAD_ARGUMENT,
                    "streams " + std::to_string(streams) + " is not 1 (picture), 2 (sound) or 3 (both)");
    v.settings.writeVideo = (streams & ORMA_STREAMS_VIDEO) != 0;
    v.settings.writeSound = (streams & ORMA_STREAMS_SOUND) != 0;
    return int32_t{ORMA_OK};
  });
}

} // namespace orma::entry

// Virtual video and output settings.
#include <cmath>

#include "engine/api/api.h"
#include "engine/api/trace_args_gen.h"
#include "platform/platform.h"

using namespace orma;

extern "C" {

ORMA_API OrmaVideoHandle OrmaVirtualVideoCreate(void) {
  ORMA_ENTRY_NAME;
  auto* v = new VirtualVideo();
  RegisterHandle(v);
  return Traced(
      call, [&] { return trace_args::OrmaVirtualVideoCreate(); }, HandleTo<OrmaVideoHandle>(v));
}

ORMA_API int32_t OrmaSetFrameSize(OrmaVideoHandle vv, int32_t width, int32_t height) {
  ORMA_ENTRY_NAME;
  int32_t r = With(call, vv, [&](VirtualVideo& v) {
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
  return Traced(
      call, [&] { return trace_args::OrmaSetFrameSize(vv, width, height); }, r);
}

ORMA_API int32_t OrmaSetOutPath(OrmaVideoHandle vv, const char* path) {
  ORMA_ENTRY_NAME;
  int32_t r = With(call, vv, [&](VirtualVideo& v) {
    if (!path || !*path) return Refuse(call, ORMA_BAD_ARGUMENT, "empty output path");
    std::string error;
    std::string native = platform::NativePath(path, &error);
    if (native.empty()) return Refuse(call, ORMA_BAD_ARGUMENT, error);
    v.settings.outPath = native;
    return int32_t{ORMA_OK};
  });
  return Traced(
      call, [&] { return trace_args::OrmaSetOutPath(vv, path); }, r);
}

ORMA_API int32_t OrmaSetFPS(OrmaVideoHandle vv, double fps) {
  ORMA_ENTRY_NAME;
  int32_t r = With(call, vv, [&](VirtualVideo& v) {
    if (!(fps > 0.0) || !std::isfinite(fps) || fps > 240.0)
      return Refuse(call, ORMA_BAD_ARGUMENT, "frame rate " + FormatDouble(fps) + " is out of range");
    v.settings.fpsValue = fps;
    v.settings.fps = RationalFps(fps);
    return int32_t{ORMA_OK};
  });
  return Traced(
      call, [&] { return trace_args::OrmaSetFPS(vv, fps); }, r);
}

ORMA_API int32_t OrmaSetOutputStreams(OrmaVideoHandle vv, int32_t streams) {
  ORMA_ENTRY_NAME;
  int32_t r = With(call, vv, [&](VirtualVideo& v) {
    if (streams != ORMA_STREAMS_VIDEO && streams != ORMA_STREAMS_SOUND && streams != ORMA_STREAMS_BOTH)
      return Refuse(call, ORMA_BAD_ARGUMENT,
                    "streams " + std::to_string(streams) + " is not 1 (picture), 2 (sound) or 3 (both)");
    v.settings.writeVideo = (streams & ORMA_STREAMS_VIDEO) != 0;
    v.settings.writeSound = (streams & ORMA_STREAMS_SOUND) != 0;
    return int32_t{ORMA_OK};
  });
  return Traced(
      call, [&] { return trace_args::OrmaSetOutputStreams(vv, streams); }, r);
}

} // extern "C"

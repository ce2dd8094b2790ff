// Virtual video and output settings.
#include <cmath>

#include "engine/api/api.h"
#include "platform/platform.h"

using namespace orma;

namespace {

// Setters of the output settings share their checks: a live handle, no
// export running.
template <class Apply> int32_t Setting(const char* function, OrmaVideoHandle vv, Apply apply) {
  VirtualVideo* v = VideoOf(vv);
  if (!v) return Refuse(function, kBadHandle, "not a virtual video handle");
  if (Exporting(v)) return Refuse(function, kBadState, "an export is running");
  return apply(*v);
}

} // namespace

extern "C" {

ORMA_API OrmaVideoHandle OrmaVirtualVideoCreate(void) {
  auto* v = new VirtualVideo();
  RegisterHandle(v);
  return Traced(
      "OrmaVirtualVideoCreate", [] { return TraceArgs(); }, static_cast<OrmaVideoHandle>(v));
}

ORMA_API int32_t OrmaSetFrameSize(OrmaVideoHandle vv, int32_t width, int32_t height) {
  int32_t r = Setting("OrmaSetFrameSize", vv, [&](VirtualVideo& v) {
    if (width < 2 || height < 2 || width > 16384 || height > 16384)
      return Refuse("OrmaSetFrameSize", kBadArgument,
                    "frame size " + std::to_string(width) + "x" + std::to_string(height) +
                        " is out of range");
    // 4:2:0 video needs even sizes; an odd size loses its last column or row.
    int w = width & ~1, h = height & ~1;
    if (w != width || h != height)
      LogOnce("odd-size", "odd frame size " + std::to_string(width) + "x" + std::to_string(height) +
                              " is rendered as " + std::to_string(w) + "x" + std::to_string(h));
    v.settings.width = w;
    v.settings.height = h;
    return int32_t{kOk};
  });
  return Traced(
      "OrmaSetFrameSize", [&] { return TraceArgs().Ptr("vv", vv).Int("width", width).Int("height", height); },
      r);
}

ORMA_API int32_t OrmaSetOutPath(OrmaVideoHandle vv, const char* path) {
  int32_t r = Setting("OrmaSetOutPath", vv, [&](VirtualVideo& v) {
    if (!path || !*path) return Refuse("OrmaSetOutPath", kBadArgument, "empty output path");
    std::string error;
    std::string native = platform::NativePath(path, &error);
    if (native.empty()) return Refuse("OrmaSetOutPath", kBadArgument, error);
    v.settings.outPath = native;
    return int32_t{kOk};
  });
  return Traced(
      "OrmaSetOutPath", [&] { return TraceArgs().Ptr("vv", vv).Text("path", path); }, r);
}

ORMA_API int32_t OrmaSetVideoCodec(OrmaVideoHandle vv, const char* name) {
  // Any FFmpeg encoder name; it is checked when the export starts.
  int32_t r = Setting("OrmaSetVideoCodec", vv, [&](VirtualVideo& v) {
    if (!name || !*name) return Refuse("OrmaSetVideoCodec", kBadArgument, "empty codec name");
    v.settings.videoCodec = name;
    return int32_t{kOk};
  });
  return Traced(
      "OrmaSetVideoCodec", [&] { return TraceArgs().Ptr("vv", vv).Text("name", name); }, r);
}

ORMA_API int32_t OrmaSetFPS(OrmaVideoHandle vv, double fps) {
  int32_t r = Setting("OrmaSetFPS", vv, [&](VirtualVideo& v) {
    if (!(fps > 0.0) || !std::isfinite(fps) || fps > 240.0)
      return Refuse("OrmaSetFPS", kBadArgument, "frame rate " + FormatDouble(fps) + " is out of range");
    v.settings.fpsValue = fps;
    v.settings.fps = RationalFps(fps);
    return int32_t{kOk};
  });
  return Traced(
      "OrmaSetFPS", [&] { return TraceArgs().Ptr("vv", vv).Dbl("fps", fps); }, r);
}

ORMA_API int32_t OrmaSetVideoBitrate(OrmaVideoHandle vv, int32_t kbits) {
  int32_t r = Setting("OrmaSetVideoBitrate", vv, [&](VirtualVideo& v) {
    if (kbits <= 0) return Refuse("OrmaSetVideoBitrate", kBadArgument, "bit rate must be positive");
    v.settings.videoKbits = kbits;
    return int32_t{kOk};
  });
  return Traced(
      "OrmaSetVideoBitrate", [&] { return TraceArgs().Ptr("vv", vv).Int("kbits", kbits); }, r);
}

ORMA_API int32_t OrmaSetAudioChannels(OrmaVideoHandle vv, int32_t channels) {
  int32_t r = Setting("OrmaSetAudioChannels", vv, [&](VirtualVideo& v) {
    if (channels < 1 || channels > 8)
      return Refuse("OrmaSetAudioChannels", kBadArgument, "channels must be 1 to 8");
    v.settings.channels = channels;
    return int32_t{kOk};
  });
  return Traced(
      "OrmaSetAudioChannels", [&] { return TraceArgs().Ptr("vv", vv).Int("channels", channels); }, r);
}

ORMA_API int32_t OrmaSetAudioSamples(OrmaVideoHandle vv, int32_t sampleRate) {
  int32_t r = Setting("OrmaSetAudioSamples", vv, [&](VirtualVideo& v) {
    if (sampleRate < 8000 || sampleRate > 192000)
      return Refuse("OrmaSetAudioSamples", kBadArgument, "sample rate must be 8000 to 192000 Hz");
    v.settings.sampleRate = sampleRate;
    return int32_t{kOk};
  });
  return Traced(
      "OrmaSetAudioSamples", [&] { return TraceArgs().Ptr("vv", vv).Int("sampleRate", sampleRate); }, r);
}

ORMA_API int32_t OrmaSetAudioBitrate(OrmaVideoHandle vv, int32_t kbits) {
  int32_t r = Setting("OrmaSetAudioBitrate", vv, [&](VirtualVideo& v) {
    if (kbits <= 0) return Refuse("OrmaSetAudioBitrate", kBadArgument, "bit rate must be positive");
    v.settings.audioKbits = kbits;
    return int32_t{kOk};
  });
  return Traced(
      "OrmaSetAudioBitrate", [&] { return TraceArgs().Ptr("vv", vv).Int("kbits", kbits); }, r);
}

ORMA_API int32_t OrmaSetAudioCodec(OrmaVideoHandle vv, const char* name) {
  // A video encoder's name here means "the container's usual audio
  // encoder" (the program passes its video codec); see docs/engine.md.
  int32_t r = Setting("OrmaSetAudioCodec", vv, [&](VirtualVideo& v) {
    if (!name || !*name) return Refuse("OrmaSetAudioCodec", kBadArgument, "empty codec name");
    v.settings.audioCodec = name;
    return int32_t{kOk};
  });
  return Traced(
      "OrmaSetAudioCodec", [&] { return TraceArgs().Ptr("vv", vv).Text("name", name); }, r);
}

ORMA_API int32_t OrmaEnableHWDecoder(OrmaVideoHandle vv, int32_t mode) {
  int32_t r = Setting("OrmaEnableHWDecoder", vv, [&](VirtualVideo& v) {
    v.settings.hwDecoder = mode;
    return int32_t{kOk};
  });
  return Traced(
      "OrmaEnableHWDecoder", [&] { return TraceArgs().Ptr("vv", vv).Int("mode", mode); }, r);
}

ORMA_API int32_t OrmaEnableHWEncoder(OrmaVideoHandle vv, int32_t mode) {
  int32_t r = Setting("OrmaEnableHWEncoder", vv, [&](VirtualVideo& v) {
    v.settings.hwEncoder = mode;
    return int32_t{kOk};
  });
  return Traced(
      "OrmaEnableHWEncoder", [&] { return TraceArgs().Ptr("vv", vv).Int("mode", mode); }, r);
}

ORMA_API int32_t OrmaSetOutputStreams(OrmaVideoHandle vv, int32_t streams) {
  int32_t r = Setting("OrmaSetOutputStreams", vv, [&](VirtualVideo& v) {
    if (streams != ORMA_STREAMS_VIDEO && streams != ORMA_STREAMS_SOUND && streams != ORMA_STREAMS_BOTH)
      return Refuse("OrmaSetOutputStreams", kBadArgument,
                    "streams " + std::to_string(streams) + " is not 1 (picture), 2 (sound) or 3 (both)");
    v.settings.writeVideo = (streams & ORMA_STREAMS_VIDEO) != 0;
    v.settings.writeSound = (streams & ORMA_STREAMS_SOUND) != 0;
    return int32_t{kOk};
  });
  return Traced(
      "OrmaSetOutputStreams", [&] { return TraceArgs().Ptr("vv", vv).Int("streams", streams); }, r);
}

} // extern "C"

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
  if (!v) return Refuse(function, ORMA_BAD_HANDLE, "not a virtual video handle");
  if (Exporting(v)) return Refuse(function, ORMA_BAD_STATE, "an export is running");
  return apply(*v);
}

// The video and the sound codec, bit rate and hardware switch are set alike;
// only the setting written differs.
int32_t SetCodec(const char* call, OrmaVideoHandle vv, std::string ExportSettings::*codec, const char* name) {
  int32_t r = Setting(call, vv, [&](VirtualVideo& v) {
    if (!name || !*name) return Refuse(call, ORMA_BAD_ARGUMENT, "empty codec name");
    v.settings.*codec = name;
    return int32_t{ORMA_OK};
  });
  return Traced(
      call, [&] { return TraceArgs().Ptr("vv", vv).Text("name", name); }, r);
}

int32_t SetKbits(const char* call, OrmaVideoHandle vv, int ExportSettings::*rate, int32_t kbits) {
  int32_t r = Setting(call, vv, [&](VirtualVideo& v) {
    if (kbits <= 0) return Refuse(call, ORMA_BAD_ARGUMENT, "bit rate must be positive");
    v.settings.*rate = kbits;
    return int32_t{ORMA_OK};
  });
  return Traced(
      call, [&] { return TraceArgs().Ptr("vv", vv).Int("kbits", kbits); }, r);
}

int32_t SetHardware(const char* call, OrmaVideoHandle vv, int ExportSettings::*use, int32_t mode) {
  int32_t r = Setting(call, vv, [&](VirtualVideo& v) {
    v.settings.*use = mode;
    return int32_t{ORMA_OK};
  });
  return Traced(
      call, [&] { return TraceArgs().Ptr("vv", vv).Int("mode", mode); }, r);
}

} // namespace

extern "C" {

ORMA_API OrmaVideoHandle OrmaVirtualVideoCreate(void) {
  ORMA_ENTRY_NAME;
  auto* v = new VirtualVideo();
  RegisterHandle(v);
  return Traced(
      call, [] { return TraceArgs(); }, HandleTo<OrmaVideoHandle>(v));
}

ORMA_API int32_t OrmaSetFrameSize(OrmaVideoHandle vv, int32_t width, int32_t height) {
  ORMA_ENTRY_NAME;
  int32_t r = Setting(call, vv, [&](VirtualVideo& v) {
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
      call, [&] { return TraceArgs().Ptr("vv", vv).Int("width", width).Int("height", height); }, r);
}

ORMA_API int32_t OrmaSetOutPath(OrmaVideoHandle vv, const char* path) {
  ORMA_ENTRY_NAME;
  int32_t r = Setting(call, vv, [&](VirtualVideo& v) {
    if (!path || !*path) return Refuse(call, ORMA_BAD_ARGUMENT, "empty output path");
    std::string error;
    std::string native = platform::NativePath(path, &error);
    if (native.empty()) return Refuse(call, ORMA_BAD_ARGUMENT, error);
    v.settings.outPath = native;
    return int32_t{ORMA_OK};
  });
  return Traced(
      call, [&] { return TraceArgs().Ptr("vv", vv).Text("path", path); }, r);
}

ORMA_API int32_t OrmaSetVideoCodec(OrmaVideoHandle vv, const char* name) {
  ORMA_ENTRY_NAME;
  // Any FFmpeg encoder name; it is checked when the export starts.
  return SetCodec(call, vv, &ExportSettings::videoCodec, name);
}

ORMA_API int32_t OrmaSetFPS(OrmaVideoHandle vv, double fps) {
  ORMA_ENTRY_NAME;
  int32_t r = Setting(call, vv, [&](VirtualVideo& v) {
    if (!(fps > 0.0) || !std::isfinite(fps) || fps > 240.0)
      return Refuse(call, ORMA_BAD_ARGUMENT, "frame rate " + FormatDouble(fps) + " is out of range");
    v.settings.fpsValue = fps;
    v.settings.fps = RationalFps(fps);
    return int32_t{ORMA_OK};
  });
  return Traced(
      call, [&] { return TraceArgs().Ptr("vv", vv).Dbl("fps", fps); }, r);
}

ORMA_API int32_t OrmaSetVideoBitrate(OrmaVideoHandle vv, int32_t kbits) {
  ORMA_ENTRY_NAME;
  return SetKbits(call, vv, &ExportSettings::videoKbits, kbits);
}

ORMA_API int32_t OrmaSetAudioChannels(OrmaVideoHandle vv, int32_t channels) {
  ORMA_ENTRY_NAME;
  int32_t r = Setting(call, vv, [&](VirtualVideo& v) {
    if (channels < 1 || channels > 8) return Refuse(call, ORMA_BAD_ARGUMENT, "channels must be 1 to 8");
    v.settings.channels = channels;
    return int32_t{ORMA_OK};
  });
  return Traced(
      call, [&] { return TraceArgs().Ptr("vv", vv).Int("channels", channels); }, r);
}

ORMA_API int32_t OrmaSetAudioSamples(OrmaVideoHandle vv, int32_t sampleRate) {
  ORMA_ENTRY_NAME;
  int32_t r = Setting(call, vv, [&](VirtualVideo& v) {
    if (sampleRate < 8000 || sampleRate > 192000)
      return Refuse(call, ORMA_BAD_ARGUMENT, "sample rate must be 8000 to 192000 Hz");
    v.settings.sampleRate = sampleRate;
    return int32_t{ORMA_OK};
  });
  return Traced(
      call, [&] { return TraceArgs().Ptr("vv", vv).Int("sampleRate", sampleRate); }, r);
}

ORMA_API int32_t OrmaSetAudioBitrate(OrmaVideoHandle vv, int32_t kbits) {
  ORMA_ENTRY_NAME;
  return SetKbits(call, vv, &ExportSettings::audioKbits, kbits);
}

ORMA_API int32_t OrmaSetAudioCodec(OrmaVideoHandle vv, const char* name) {
  ORMA_ENTRY_NAME;
  // A video encoder's name here means "the container's usual audio
  // encoder" (the program passes its video codec); see docs/engine.md.
  return SetCodec(call, vv, &ExportSettings::audioCodec, name);
}

ORMA_API int32_t OrmaEnableHWDecoder(OrmaVideoHandle vv, int32_t mode) {
  ORMA_ENTRY_NAME;
  return SetHardware(call, vv, &ExportSettings::hwDecoder, mode);
}

ORMA_API int32_t OrmaEnableHWEncoder(OrmaVideoHandle vv, int32_t mode) {
  ORMA_ENTRY_NAME;
  return SetHardware(call, vv, &ExportSettings::hwEncoder, mode);
}

ORMA_API int32_t OrmaSetOutputStreams(OrmaVideoHandle vv, int32_t streams) {
  ORMA_ENTRY_NAME;
  int32_t r = Setting(call, vv, [&](VirtualVideo& v) {
    if (streams != ORMA_STREAMS_VIDEO && streams != ORMA_STREAMS_SOUND && streams != ORMA_STREAMS_BOTH)
      return Refuse(call, ORMA_BAD_ARGUMENT,
                    "streams " + std::to_string(streams) + " is not 1 (picture), 2 (sound) or 3 (both)");
    v.settings.writeVideo = (streams & ORMA_STREAMS_VIDEO) != 0;
    v.settings.writeSound = (streams & ORMA_STREAMS_SOUND) != 0;
    return int32_t{ORMA_OK};
  });
  return Traced(
      call, [&] { return TraceArgs().Ptr("vv", vv).Int("streams", streams); }, r);
}

} // extern "C"

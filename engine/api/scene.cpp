// Scenes, their media, backgrounds and transitions.
#include <algorithm>
#include <cmath>

#include "engine/api/api.h"
#include "engine/api/trace_args_gen.h"
#include "engine/api/value_limits.h"
#include "engine/render/transitions.h"

using namespace orma;

namespace {

OrmaSceneHandle NewScene(const char* function, int64_t startUs, int64_t endUs, bool pip) {
  // An empty span leaves the scene out; one starting before 0 starts at 0.
  bool empty = EmptySpan(function, startUs, endUs);
  auto* s = new Scene(pip);
  s->startUs = empty ? startUs : NotNegative(function, "start", startUs);
  s->endUs = endUs;
  if (empty) LeaveOut(*s);
  RegisterHandle(s);
  return HandleTo<OrmaSceneHandle>(s);
}

} // namespace

extern "C" {

ORMA_API OrmaSceneHandle OrmaCreateScene(int64_t startUs, int64_t endUs) {
  ORMA_ENTRY_NAME;
  OrmaSceneHandle s = NewScene(call, startUs, endUs, false);
  return Traced(
      call, [&] { return trace_args::OrmaCreateScene(startUs, endUs); }, s);
}

ORMA_API OrmaSceneHandle OrmaCreatePIPScene(int64_t startUs, int64_t endUs) {
  ORMA_ENTRY_NAME;
  OrmaSceneHandle s = NewScene(call, startUs, endUs, true);
  return Traced(
      call, [&] { return trace_args::OrmaCreatePIPScene(startUs, endUs); }, s);
}

ORMA_API int32_t OrmaAddScene(OrmaVideoHandle vv, OrmaSceneHandle scene) {
  ORMA_ENTRY_NAME;
  int32_t r = [&] {
    VirtualVideo* v = VideoOf(vv);
    Scene* s = SceneOf(scene);
    if (!v || !s) return Refuse(call, ORMA_BAD_HANDLE, "not a virtual video and a scene");
    if (Exporting(v)) return Refuse(call, ORMA_BAD_STATE, "an export is running");
    if (s->video) return Refuse(call, ORMA_BAD_STATE, "the scene is already on a timeline");
    AddElement(v, s);
    return int32_t{ORMA_OK};
  }();
  return Traced(
      call, [&] { return trace_args::OrmaAddScene(vv, scene); }, r);
}

ORMA_API OrmaMediaHandle OrmaSceneCreateMedia(const char* path) {
  ORMA_ENTRY_NAME;
  // The file is opened and its first frame decoded now, so that a missing,
  // unreadable or undecodable file is reported here and not while rendering.
  MediaProbe probe = ProbeMedia(path, true);
  Media* m = nullptr;
  if (!probe.ok) {
    Refuse(call, ORMA_BAD_FILE, probe.error);
  } else {
    m = new Media();
    m->probe = probe;
    RegisterHandle(m);
  }
  return Traced(
      call, [&] { return trace_args::OrmaSceneCreateMedia(path); }, HandleTo<OrmaMediaHandle>(m));
}

ORMA_API int32_t OrmaSceneAddMediaHandle(OrmaSceneHandle scene, OrmaMediaHandle media) {
  ORMA_ENTRY_NAME;
  int32_t r = With(call, scene, [&](Scene& s) {
    Media* m = MediaOf(media);
    if (!m) return Refuse(call, ORMA_BAD_HANDLE, "not a media handle");
    if (m->scene) return Refuse(call, ORMA_BAD_STATE, "the media is already in a scene");
    m->scene = &s;
    s.media.push_back(m);
    return int32_t{ORMA_OK};
  });
  return Traced(
      call, [&] { return trace_args::OrmaSceneAddMediaHandle(scene, media); }, r);
}

ORMA_API int32_t OrmaSetSceneBackGroundImage(OrmaSceneHandle scene, const char* path) {
  ORMA_ENTRY_NAME;
  int32_t r = With(call, scene, [&](Scene& s) {
    MediaProbe probe = ProbeMedia(path, true);
    if (!probe.ok) return Refuse(call, ORMA_BAD_FILE, probe.error);
    if (!probe.hasVideo) return Refuse(call, ORMA_BAD_FILE, probe.path + ": not a picture");
    s.background = Background();
    s.background.kind = BackgroundKind::Picture;
    s.background.picture = probe;
    return int32_t{ORMA_OK};
  });
  return Traced(
      call, [&] { return trace_args::OrmaSetSceneBackGroundImage(scene, path); }, r);
}

ORMA_API int32_t OrmaSetSceneBackGroundColor(OrmaSceneHandle scene, const float* rgba) {
  ORMA_ENTRY_NAME;
  int32_t r = With(call, scene, [&](Scene& s) {
    if (!rgba) return Refuse(call, ORMA_BAD_ARGUMENT, "no colour");
    s.background = Background();
    s.background.kind = BackgroundKind::Color;
    for (int i = 0; i < 4; ++i)
      s.background.rgba[i] = std::isfinite(rgba[i]) ? std::clamp(rgba[i], 0.0f, 1.0f) : 0.0f;
    return int32_t{ORMA_OK};
  });
  return Traced(
      call, [&] { return trace_args::OrmaSetSceneBackGroundColor(scene, rgba); }, r);
}

ORMA_API int32_t OrmaSetSceneBackGroundGaussBlur(OrmaSceneHandle scene, float intensity) {
  ORMA_ENTRY_NAME;
  // Intensity 0 (what a draft without a blurred background passes) leaves
  // the scene without background: black where no media is.
  int32_t r = With(call, scene, [&](Scene& s) {
    if (!std::isfinite(intensity)) return Refuse(call, ORMA_BAD_ARGUMENT, "not a number");
    s.background = Background();
    if (intensity > 0.0f) {
      s.background.kind = BackgroundKind::Blur;
      s.background.blur = std::min(intensity, 1.0f);
    }
    return int32_t{ORMA_OK};
  });
  return Traced(
      call, [&] { return trace_args::OrmaSetSceneBackGroundGaussBlur(scene, intensity); }, r);
}

ORMA_API int32_t OrmaSetSceneTransitionMode(OrmaVideoHandle vv, OrmaSceneHandle scene, int32_t mode) {
  ORMA_ENTRY_NAME;
  int32_t r = With(call, scene, [&](Scene& s) {
    if (!VideoOf(vv) || s.video != VideoOf(vv))
      return Refuse(call, ORMA_BAD_HANDLE, "the scene is not on this virtual video");
    // Mode 3: the transition is centred on the cut and the timeline keeps
    // its length. It is the only mode the engine has.
    if (mode != ORMA_TRANSITION_CENTRED) return Refuse(call, ORMA_BAD_ARGUMENT, "only mode 3 is supported");
    s.transitionMode = mode;
    return int32_t{ORMA_OK};
  });
  return Traced(
      call, [&] { return trace_args::OrmaSetSceneTransitionMode(vv, scene, mode); }, r);
}

ORMA_API int32_t OrmaSetSceneTransition(OrmaVideoHandle vv, OrmaSceneHandle scene, const char* path,
                                        int64_t durationUs) {
  ORMA_ENTRY_NAME;
  int32_t r = With(call, scene, [&](Scene& s) {
    if (!VideoOf(vv) || s.video != VideoOf(vv))
      return Refuse(call, ORMA_BAD_HANDLE, "the scene is not on this virtual video");
    if (s.transitionMode != 3)
      return Refuse(call, ORMA_BAD_STATE, "the transition mode is not set (call with mode 3 first)");
    if (durationUs < 0) return Refuse(call, ORMA_BAD_ARGUMENT, "negative duration");
    TransitionStyle style;
    std::string error;
    if (!LoadTransitionStyle(path, &style, &error)) return Refuse(call, ORMA_BAD_FILE, error);
    s.transition = style;
    s.transitionUs = durationUs;
    return int32_t{ORMA_OK};
  });
  return Traced(
      call, [&] { return trace_args::OrmaSetSceneTransition(vv, scene, path, durationUs); }, r);
}

} // extern "C"

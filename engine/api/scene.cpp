// Scenes, their media, backgrounds and transitions.
#include <algorithm>
#include <cmath>

#include "engine/api/api.h"
#include "engine/api/entry_points_gen.h"
#include "engine/api/value_limits.h"
#include "engine/render/transitions.h"

using namespace orma;

namespace {

OrmaSceneHandle NewScene(const char* function, int64_t startUs, int64_t endUs, bool pip) {
  auto* s = new Scene(pip);
  PlaceNew(function, *s, startUs, endUs);
  return HandleTo<OrmaSceneHandle>(s);
}

} // namespace

namespace orma::entry {

OrmaSceneHandle OrmaCreateScene(const char* call, int64_t startUs, int64_t endUs) {
  return NewScene(call, startUs, endUs, false);
}

OrmaSceneHandle OrmaCreatePIPScene(const char* call, int64_t startUs, int64_t endUs) {
  return NewScene(call, startUs, endUs, true);
}

int32_t OrmaAddScene(const char* call, OrmaVideoHandle vv, OrmaSceneHandle scene) {
  VirtualVideo* v = VideoOf(vv);
  Scene* s = SceneOf(scene);
  if (!v || !s) return Refuse(call, ORMA_BAD_HANDLE, "not a virtual video and a scene");
  if (Exporting(v)) return Refuse(call, ORMA_BAD_STATE, "an export is running");
  if (s->video) return Refuse(call, ORMA_BAD_STATE, "the scene is already on a timeline");
  AddElement(v, s);
  return int32_t{ORMA_OK};
}

OrmaMediaHandle OrmaSceneCreateMedia(const char* call, const char* path) {
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
  return HandleTo<OrmaMediaHandle>(m);
}

int32_t OrmaSceneAddMediaHandle(const char* call, OrmaSceneHandle scene, OrmaMediaHandle media) {
  return With(call, scene, [&](Scene& s) {
    Media* m = MediaOf(media);
    if (!m) return Refuse(call, ORMA_BAD_HANDLE, "not a media handle");
    if (m->scene) return Refuse(call, ORMA_BAD_STATE, "the media is already in a scene");
    m->scene = &s;
    s.media.push_back(m);
    return int32_t{ORMA_OK};
  });
}

int32_t OrmaSetSceneBackGroundImage(const char* call, OrmaSceneHandle scene, const char* path) {
  return With(call, scene, [&](Scene& s) {
    MediaProbe probe = ProbeMedia(path, true);
    if (!probe.ok) return Refuse(call, ORMA_BAD_FILE, probe.error);
    if (!probe.hasVideo) return Refuse(call, ORMA_BAD_FILE, probe.path + ": not a picture");
    s.background = Background();
    s.background.kind = BackgroundKind::Picture;
    s.background.picture = probe;
    return int32_t{ORMA_OK};
  });
}

int32_t OrmaSetSceneBackGroundColor(const char* call, OrmaSceneHandle scene, const float* rgba) {
  return With(call, scene, [&](Scene& s) {
    if (!rgba) return Refuse(call, ORMA_BAD_ARGUMENT, "no colour");
    s.background = Background();
    s.background.kind = BackgroundKind::Color;
    for (int i = 0; i < 4; ++i)
      s.background.rgba[i] = std::isfinite(rgba[i]) ? std::clamp(rgba[i], 0.0f, 1.0f) : 0.0f;
    return int32_t{ORMA_OK};
  });
}

int32_t OrmaSetSceneBackGroundGaussBlur(const char* call, OrmaSceneHandle scene, float intensity) {
  // Intensity 0 (what a draft without a blurred background passes) leaves
  // the scene without background: black where no media is.
  return With(call, scene, [&](Scene& s) {
    if (!std::isfinite(intensity)) return Refuse(call, ORMA_BAD_ARGUMENT, "not a number");
    s.background = Background();
    if (intensity > 0.0f) {
      s.background.kind = BackgroundKind::Blur;
      s.background.blur = std::min(intensity, 1.0f);
    }
    return int32_t{ORMA_OK};
  });
}

int32_t OrmaSetSceneTransitionMode(const char* call, OrmaVideoHandle vv, OrmaSceneHandle scene,
                                   int32_t mode) {
  return With(call, scene, [&](Scene& s) {
    if (!VideoOf(vv) || s.video != VideoOf(vv))
      return Refuse(call, ORMA_BAD_HANDLE, "the scene is not on this virtual video");
    // Mode 3: the transition is centred on the cut and the timeline keeps
    // its length. It is the only mode the engine has.
    if (mode != ORMA_TRANSITION_CENTRED) return Refuse(call, ORMA_BAD_ARGUMENT, "only mode 3 is supported");
    s.transitionMode = mode;
    return int32_t{ORMA_OK};
  });
}

int32_t OrmaSetSceneTransition(const char* call, OrmaVideoHandle vv, OrmaSceneHandle scene, const char* path,
                               int64_t durationUs) {
  return With(call, scene, [&](Scene& s) {
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
}

} // namespace orma::entry

// Shared by the API entry points (api/*.cpp): handle lookup, tracing and
// the library's result codes (OrmaResult, corelib/orma_core.h).
#pragma once

#include <string>

#include "corelib/orma_core.h"
#include "engine/api/trace.h"
#include "engine/core/log.h"
#include "engine/model/model.h"

namespace orma {

/// Returns `result` after writing the call to the trace (ORMA_TRACE); the
/// generated C entry points (entry_points_gen.cpp) call it around each body.
template <class R, class Args> R Traced(const char* function, Args&& args, R result) {
  if (TraceEnabled()) TraceCall(function, args(), TraceResult(result));
  return result;
}

/// The handle a caller is given for an object: the address of its Handle
/// (what the registry knows), typed as the header's handle of its kind.
template <class H> H HandleTo(Handle* object) { return reinterpret_cast<H>(object); }

inline VirtualVideo* VideoOf(const void* h) { return Lookup<VirtualVideo>(h, HandleType::Video); }
inline Scene* SceneOf(const void* h) { return Lookup<Scene>(h, HandleType::Scene); }
inline Media* MediaOf(const void* h) { return Lookup<Media>(h, HandleType::Media); }
inline Effect* EffectOf(const void* h) { return Lookup<Effect>(h, HandleType::Effect); }
inline AudioTrack* AudioOf(const void* h) { return Lookup<AudioTrack>(h, HandleType::Audio); }
inline Caption* CaptionOf(const void* h) { return Lookup<Caption>(h, HandleType::Caption); }
inline CaptionItem* CaptionItemOf(const void* h) { return Lookup<CaptionItem>(h, HandleType::CaptionItem); }
inline Mask* MaskOf(const void* h) { return Lookup<Mask>(h, HandleType::Mask); }

/// The object behind a handle that a call may change: null for a handle that
/// is not of its kind ("not a media handle" ...) and while the video it is on
/// is exporting, after the refusal's log line, with the refusal's code in
/// *refused. One overload per handle kind: the header's handle types tell
/// them apart.
VirtualVideo* Writable(const char* call, OrmaVideoHandle handle, int32_t* refused);
Scene* Writable(const char* call, OrmaSceneHandle handle, int32_t* refused);
Media* Writable(const char* call, OrmaMediaHandle handle, int32_t* refused);
AudioTrack* Writable(const char* call, OrmaAudioHandle handle, int32_t* refused);
Caption* Writable(const char* call, OrmaCaptionHandle handle, int32_t* refused);
CaptionItem* Writable(const char* call, OrmaCaptionItemHandle handle, int32_t* refused);

/// `apply(object)` on the writable object behind `handle`, or the refusal.
template <class H, class Apply> int32_t With(const char* call, H handle, Apply apply) {
  int32_t refused = ORMA_BAD_HANDLE;
  auto* object = Writable(call, handle, &refused);
  return object ? apply(*object) : refused;
}

/// Logs "<function>: <text>" and returns code.
int32_t Refuse(const char* function, int32_t code, const std::string& text);

/// `apply(video)` on the virtual video behind `handle`, or the refusal of a
/// handle of another kind; for the calls that may come while the video
/// exports (running, following and stopping the export, the preview).
template <class Apply> int32_t OnVideo(const char* call, OrmaVideoHandle handle, Apply apply) {
  VirtualVideo* video = VideoOf(handle);
  return video ? apply(*video) : Refuse(call, ORMA_BAD_HANDLE, "not a virtual video handle");
}

/// Adds an element to a video's timeline.
void AddElement(VirtualVideo* video, Element* element);

/// The changes of a model must not race an export that reads it.
bool Exporting(const VirtualVideo* video);

} // namespace orma

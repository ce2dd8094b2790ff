// The helpers every entry point shares: refusals, the writable object behind
// a handle, adding an element to a video.
#include "engine/api/api.h"

namespace orma {

int32_t Refuse(const char* function, int32_t code, const std::string& text) {
  LogText(std::string(function) + ": " + text);
  NoteFailure(text);
  return code;
}

void AddElement(VirtualVideo* video, Element* element) {
  element->video = video;
  element->order = video->elements.size();
  video->elements.push_back(element);
}

bool Exporting(const VirtualVideo* video) { return video && video->exporting.load(); }

namespace {

template <class T, class VideoOf>
T* WritableObject(const char* call, T* object, const char* notOfKind, VideoOf videoOf, int32_t* refused) {
  if (!object) {
    *refused = Refuse(call, ORMA_BAD_HANDLE, notOfKind);
    return nullptr;
  }
  if (Exporting(videoOf(*object))) {
    *refused = Refuse(call, ORMA_BAD_STATE, "an export is running");
    return nullptr;
  }
  return object;
}

} // namespace

VirtualVideo* Writable(const char* call, OrmaVideoHandle handle, int32_t* refused) {
  return WritableObject(
      call, VideoOf(handle), "not a virtual video handle", [](VirtualVideo& v) { return &v; }, refused);
}

Scene* Writable(const char* call, OrmaSceneHandle handle, int32_t* refused) {
  return WritableObject(
      call, SceneOf(handle), "not a scene handle", [](Scene& s) { return s.video; }, refused);
}

Media* Writable(const char* call, OrmaMediaHandle handle, int32_t* refused) {
  // An item not yet in a scene is on no video.
  return WritableObject(
      call, MediaOf(handle), "not a media handle",
      [](Media& m) { return m.scene ? m.scene->video : static_cast<VirtualVideo*>(nullptr); }, refused);
}

AudioTrack* Writable(const char* call, OrmaAudioHandle handle, int32_t* refused) {
  return WritableObject(
      call, AudioOf(handle), "not an audio handle", [](AudioTrack& t) { return t.video; }, refused);
}

Caption* Writable(const char* call, OrmaCaptionHandle handle, int32_t* refused) {
  return WritableObject(
      call, CaptionOf(handle), "not a caption handle", [](Caption& c) { return c.video; }, refused);
}

CaptionItem* Writable(const char* call, OrmaCaptionItemHandle handle, int32_t* refused) {
  return WritableObject(
      call, CaptionItemOf(handle), "not a caption item handle",
      [](CaptionItem& i) { return i.caption->video; }, refused);
}

} // namespace orma

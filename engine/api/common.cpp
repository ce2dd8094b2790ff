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

} // namespace orma

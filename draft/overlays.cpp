// Picture-in-picture overlays: "overlays" or the "pipList" elements of type 0.
#include "draft/draft.h"
#include "draft/json_read.h"
#include "draft/record_keys.h"
#include "draft/record_lists.h"

using namespace draftjson;

OverlayRecord* readOverlays(const cJSON* root) {
  return ReadKindList<OverlayRecord>(root, "overlays", 0, Untyped::kSkip,
                                     [](const cJSON* element, OverlayRecord* overlay) {
                                       ReadFields(element, kOverlayKeys, overlay);
                                       overlay->media = readMedia(element, 1, "media");
                                     });
}

void FreeOverlays(OverlayRecord* head) {
  FreeList(head, [](OverlayRecord* overlay) { FreeMediaList(overlay->media); });
}

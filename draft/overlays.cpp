// Picture-in-picture overlays: "overlays" or the "pipList" elements of type 0.
#include <cstdlib>

#include "draft/draft.h"
#include "draft/json_read.h"
#include "draft/record_lists.h"

using namespace draftjson;

OverlayRecord* readOverlays(const cJSON* root) {
  ElementSource source = ChooseSource(root, "overlays");
  OverlayRecord* head = nullptr;
  ListTail<OverlayRecord> tail(&head);
  bool stopped = false;
  ForEachElement(source.array, [&](const cJSON* element, int32_t position) {
    if (stopped || !Keeps(source, element, 0, Untyped::kSkip)) return;
    OverlayRecord* overlay = tail.Append();
    if (!overlay) {
      stopped = true;
      return;
    }
    overlay->level = position;
    ReadText(element, "identifier", overlay->identifier);
    ReadReal(element, "fRailLevelY", &overlay->fRailLevelY);
    ReadTruncated(element, "groupId", &overlay->groupId);
    ReadReal(element, "timelineFrom", &overlay->timelineFrom);
    ReadReal(element, "timelineTo", &overlay->timelineTo);
    overlay->media = readMedia(element, 1, "media");
  });
  return head;
}

void FreeOverlays(OverlayRecord* head) {
  while (head) {
    OverlayRecord* next = head->next;
    FreeMediaList(head->media);
    std::free(head);
    head = next;
  }
}

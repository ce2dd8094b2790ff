// Resource-based special effects: timeline-wide ("specialEffects" or the
// "pipList" elements of type 1), or one media item's own.
#include "draft/draft.h"
#include "draft/json_read.h"
#include "draft/record_lists.h"

using namespace draftjson;

EffectRecord* readSpecialEffects(const cJSON* root) {
  ElementSource source = ChooseSource(root, "specialEffects");
  EffectRecord* head = nullptr;
  ListTail<EffectRecord> tail(&head);
  bool stopped = false;
  ForEachElement(source.array, [&](const cJSON* element, int32_t position) {
    if (stopped || !Keeps(source, element, 1, Untyped::kSkip)) return;
    EffectRecord* effect = tail.Append();
    if (!effect) {
      stopped = true;
      return;
    }
    effect->level = position;
    ReadText(element, "folderPath", effect->folderPath);
    ReadText(element, "networkResourceId", effect->networkResourceId);
    ReadText(element, "networkCategoryId", effect->networkCategoryId);
    ReadReal(element, "timelineFrom", &effect->timelineFrom);
    ReadReal(element, "timelineTo", &effect->timelineTo);
    ReadInt(element, "nApplyRange", &effect->nApplyRange);
  });
  return head;
}

void FreeEffects(EffectRecord* head) { FreePlainList(head); }

// Resource-based special effects: timeline-wide ("specialEffects" or the
// "pipList" elements of type 1), or one media item's own.
#include "draft/draft.h"
#include "draft/json_read.h"
#include "draft/record_keys.h"
#include "draft/record_lists.h"

using namespace draftjson;

EffectRecord* readSpecialEffects(const cJSON* root) {
  return ReadKindList(root, "specialEffects", 1, Untyped::kSkip, kEffectKeys);
}

void FreeEffects(EffectRecord* head) { FreePlainList(head); }

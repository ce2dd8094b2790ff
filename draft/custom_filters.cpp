// Timeline-wide look-up-table filters: "customFilters" or the "pipList"
// elements of type 7.
#include "draft/draft.h"
#include "draft/json_read.h"
#include "draft/record_keys.h"
#include "draft/record_lists.h"

using namespace draftjson;

FilterRecord* readCustomFilters(const cJSON* root) {
  return ReadKindList(root, "customFilters", 7, Untyped::kSkip, kCustomFilterKeys);
}

void FreeCustomFilters(FilterRecord* head) { FreePlainList(head); }

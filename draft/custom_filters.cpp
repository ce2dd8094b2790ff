// Timeline-wide look-up-table filters: "customFilters" or the "pipList"
// elements of type 7.
#include "draft/draft.h"
#include "draft/json_read.h"
#include "draft/record_lists.h"

using namespace draftjson;

FilterRecord* readCustomFilters(const cJSON* root) {
  ElementSource source = ChooseSource(root, "customFilters");
  FilterRecord* head = nullptr;
  ListTail<FilterRecord> tail(&head);
  ForEachElement(source.array, [&](const cJSON* element, int32_t position) {
    if (!Keeps(source, element, 7, Untyped::kSkip)) return;
    FilterRecord* filter = tail.Append();
    if (!filter) return;
    filter->level = position;
    ReadReal(element, "timelineFrom", &filter->timelineFrom);
    ReadReal(element, "timelineTo", &filter->timelineTo);
    ReadReal(element, "lookUpFilterIntensity", &filter->lookUpFilterIntensity);
    ReadTruncated(element, "tag", &filter->tag);
    ReadTextNonEmpty(element, "name", filter->name);
    ReadTextNonEmpty(element, "lookUpFilterPath", filter->lookUpFilterPath);
    ReadTextNonEmpty(element, "networkCategoryId", filter->networkCategoryId);
    ReadTextNonEmpty(element, "networkResourceId", filter->networkResourceId);
  });
  return head;
}

void FreeCustomFilters(FilterRecord* head) { FreePlainList(head); }

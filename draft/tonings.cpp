// Timeline-wide colour and light adjustments: "tonings" or the "pipList"
// elements of type 2.
#include "draft/draft.h"
#include "draft/json_read.h"
#include "draft/record_lists.h"

using namespace draftjson;

ToningRecord* readTonings(const cJSON* root) {
  ElementSource source = ChooseSource(root, "tonings");
  ToningRecord* head = nullptr;
  ListTail<ToningRecord> tail(&head);
  ForEachElement(source.array, [&](const cJSON* element, int32_t position) {
    // Unlike the other kinds, a "pipList" element without "pipType" is read
    // as a toning.
    if (!Keeps(source, element, 2, Untyped::kKeep)) return;
    ToningRecord* toning = tail.Append();
    if (!toning) return;
    toning->level = position;
    ReadReal(element, "timelineFrom", &toning->timelineFrom);
    ReadReal(element, "timelineTo", &toning->timelineTo);
    ReadReal(element, "tag", &toning->tag);
    ReadColorLevels(element, &toning->levels);
  });
  return head;
}

void FreeTonings(ToningRecord* head) { FreePlainList(head); }

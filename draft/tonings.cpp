// Timeline-wide colour and light adjustments: "tonings" or the "pipList"
// elements of type 2.
#include "draft/draft.h"
#include "draft/json_read.h"
#include "draft/record_keys.h"
#include "draft/record_lists.h"

using namespace draftjson;

ToningRecord* readTonings(const cJSON* root) {
  // Unlike the other kinds, a "pipList" element without "pipType" is read
  // as a toning.
  return ReadKindList<ToningRecord>(root, "tonings", 2, Untyped::kKeep,
                                    [](const cJSON* element, ToningRecord* toning) {
                                      ReadFields(element, kToningKeys, toning);
                                      ReadColorLevels(element, &toning->levels);
                                    });
}

void FreeTonings(ToningRecord* head) { FreePlainList(head); }

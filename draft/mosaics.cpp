// Pixelated, blurred or delogo areas: only ever "mosaics", never "pipList".
#include "draft/draft.h"
#include "draft/json_read.h"
#include "draft/record_keys.h"
#include "draft/record_lists.h"

using namespace draftjson;

MosaicRecord* readMosaics(const cJSON* root) {
  MosaicRecord* head = nullptr;
  AppendEach(Item(root, "mosaics"), &head, [](const cJSON* element, MosaicRecord* mosaic, int32_t) {
    ReadFields(element, kMosaicKeys, mosaic);
    // The area is a quadrilateral: further points are ignored.
    ForEachElement(Item(element, "pointsArray"), [&](const cJSON* point, int32_t position) {
      if (position <= 4) ReadItem(point, "pointsArray", View::kUsual, &mosaic->points[position - 1]);
    });
  });
  return head;
}

void FreeMosaics(MosaicRecord* head) { FreePlainList(head); }

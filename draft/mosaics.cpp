// Pixelated, blurred or delogo areas: only ever "mosaics", never "pipList".
#include "draft/draft.h"
#include "draft/json_read.h"
#include "draft/record_lists.h"

using namespace draftjson;

MosaicRecord* readMosaics(const cJSON* root) {
  MosaicRecord* head = nullptr;
  ListTail<MosaicRecord> tail(&head);
  ForEachElement(Item(root, "mosaics"), [&](const cJSON* element, int32_t) {
    MosaicRecord* mosaic = tail.Append();
    if (!mosaic) return;
    ReadReal(element, "timelineFrom", &mosaic->timelineFrom);
    ReadReal(element, "timelineTo", &mosaic->timelineTo);
    ReadReal(element, "intensity", &mosaic->intensity);
    ReadInt(element, "type", &mosaic->type);
    // The area is a quadrilateral: further points are ignored.
    ForEachElement(Item(element, "pointsArray"), [&](const cJSON* point, int32_t position) {
      if (position > 4) return;
      PointF* target = &mosaic->points[position - 1];
      ReadReal(point, "x", &target->x);
      ReadReal(point, "y", &target->y);
    });
  });
  return head;
}

void FreeMosaics(MosaicRecord* head) { FreePlainList(head); }

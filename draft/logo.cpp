// The logo: one picture over the whole video, "logoOverlay". Only its path,
// opacity, rotation and the two rectangles are read; the rest of the media
// record stays zero.
#include "draft/draft.h"
#include "draft/json_read.h"
#include "draft/record_keys.h"
#include "draft/record_lists.h"

using namespace draftjson;

LogoRecord* readLogo(const cJSON* root) {
  const cJSON* logo = Item(root, "logoOverlay");
  const char* path = StringOf(Item(logo, "path"));
  if (!path || !*path) return nullptr;
  LogoRecord* record = NewRecord<LogoRecord>();
  if (!record) return nullptr;
  CopyTextZeroFilled(record->path, sizeof(record->path), path);
  ReadFields(logo, kLogoKeys, record);
  return record;
}

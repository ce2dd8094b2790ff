// Media replacement in a theme draft: stamping the placeholder paths, making
// as many placeholder scenes as the caller has media, putting the media in
// (scene_update.cpp), the new length, and the retiming of everything else
// (retime.cpp). See media_replace.h for the placeholder rule.
#include "themes/media_replace.h"

#include <cmath>
#include <string>

#include "themes/retime.h"
#include "themes/theme_text.h"

namespace {

using themes::Has;
using themes::Member;
using themes::NumberOf;
using themes::PrintErrorBlock;
using themes::StringOf;

// A float time as the number it was meant to be (2.3f is written 2.3, not
// 2.2999999523).
double Clean(float seconds) { return std::round(static_cast<double>(seconds) * 1e6) / 1e6; }

bool IsFixed(const cJSON* item) {
  const cJSON* type = Member(item, "replaceType");
  return cJSON_IsNumber(type) && type->valueint == 3;
}

double TrimLength(const cJSON* item) {
  return NumberOf(item, "trimTimeEnd") - NumberOf(item, "trimTimeStart");
}

// Whether a scene item shows the placeholder of this path and length.
bool Shows(const cJSON* item, const char* path, double length) {
  const char* own = StringOf(item, "path");
  return own && path && std::string(own) == path && !IsFixed(item) &&
         std::fabs(TrimLength(item) - length) < 0.1;
}

// The placeholder path with the run's stamp before its extension; "" for a
// path without a dot.
std::string Stamped(const char* path, const char* stamp) {
  std::vector<std::string> parts = themes::SplitText(path, '.');
  if (parts.size() < 2) return std::string();
  std::string result;
  for (size_t i = 0; i + 1 < parts.size(); ++i)
    result += parts[i];
  return result + stamp + "." + parts.back();
}

bool HasDot(const char* path) { return std::string(path).find('.') != std::string::npos; }

// The fixed item's trimmed length in a scene, or 0.
double FixedLength(const cJSON* scene) {
  const cJSON* item = nullptr;
  cJSON_ArrayForEach(item, Member(scene, "media")) if (IsFixed(item)) return TrimLength(item);
  return 0.0;
}

// Whether a scene holds a fixed item, whatever its length (none, or 0).
bool HoldsFixedItem(const cJSON* scene) {
  const cJSON* item = nullptr;
  cJSON_ArrayForEach(item, Member(scene, "media")) if (IsFixed(item)) return true;
  return false;
}

} // namespace

int StampMediaPaths(ThemeRequest* record, cJSON* tree) {
  cJSON* mediaInfo = Member(tree, "mediaInfo");
  cJSON* scenes = Member(tree, "scenes");
  if (!record || !mediaInfo || !scenes) return 0;
  if (cJSON_GetArraySize(scenes) == 0) return 1;
  cJSON* element = nullptr;
  cJSON_ArrayForEach(element, mediaInfo) {
    const char* path = StringOf(element, "path");
    if (!path) return 0;
    themes::SetString(element, "path", Stamped(path, record->stamp));
  }
  cJSON* scene = nullptr;
  cJSON_ArrayForEach(scene, scenes) {
    cJSON* media = Member(scene, "media");
    if (!media) return 0;
    cJSON* item = nullptr;
    cJSON_ArrayForEach(item, media) {
      const char* path = StringOf(item, "path");
      if (!path) return 0;
      if (IsFixed(item))
        themes::SetString(item, "path", std::string(path));
      else if (HasDot(path))
        themes::SetString(item, "path", Stamped(path, record->stamp));
    }
  }
  return 1;
}

int DeleteSceneMediaObject(ThemeRequest* /*record*/, cJSON* tree, const cJSON* infoElement) {
  const char* path = StringOf(infoElement, "path");
  cJSON* scenes = Member(tree, "scenes");
  if (!path || !scenes) return 0;
  const double length = NumberOf(infoElement, "timelineTo") - NumberOf(infoElement, "timelineFrom");
  for (int s = cJSON_GetArraySize(scenes) - 1; s >= 0; --s) {
    const cJSON* media = Member(cJSON_GetArrayItem(scenes, s), "media");
    if (!media) return 0;
    const cJSON* item = nullptr;
    cJSON_ArrayForEach(item, media) {
      if (Shows(item, path, length)) {
        cJSON_DeleteItemFromArray(scenes, s);
        return 1;
      }
    }
  }
  return 0;
}

int AddSceneMediaObjectFromIndex(ThemeRequest* record, cJSON* tree, const cJSON* infoElement, int /*index*/) {
  const char* path = StringOf(infoElement, "path");
  cJSON* scenes = Member(tree, "scenes");
  if (!record || !path || !Has(infoElement, "timelineFrom") || !Has(infoElement, "timelineTo") || !scenes)
    return 0;
  const double length = NumberOf(infoElement, "timelineTo") - NumberOf(infoElement, "timelineFrom");
  const int count = cJSON_GetArraySize(scenes);
  const cJSON* match = nullptr;
  for (int s = 0; s < count; ++s) {
    const cJSON* scene = cJSON_GetArrayItem(scenes, s);
    const cJSON* media = Member(scene, "media");
    if (!media) return 0;
    if (s == 0) record->headLength = static_cast<float>(FixedLength(scene));
    if (s == count - 1) record->tailLength = static_cast<float>(FixedLength(scene));
    const cJSON* item = nullptr;
    cJSON_ArrayForEach(item, media) if (!match && Shows(item, path, length)) match = scene;
  }
  if (!match) return 1;
  cJSON* copy = cJSON_Duplicate(match, true);
  if (!copy) return 0;
  // A closing fixed scene stays the last one, whether its fixed item has a
  // length or not.
  const bool closing = HoldsFixedItem(cJSON_GetArrayItem(scenes, count - 1));
  cJSON* closingScene = closing ? cJSON_DetachItemFromArray(scenes, count - 1) : nullptr;
  cJSON_AddItemToArray(scenes, copy);
  if (closingScene) cJSON_AddItemToArray(scenes, closingScene);
  return 1;
}

float ThemeDuration(ThemeRequest* record, cJSON* tree) {
  cJSON* scenes = Member(tree, "scenes");
  if (!record || !tree || !record->userMedia || !record->themeMedia || cJSON_GetArraySize(scenes) == 0)
    return 0;
  const bool hasPipList = Has(tree, "pipList");
  double sum = 0.0;
  cJSON* scene = nullptr;
  cJSON_ArrayForEach(scene, scenes) {
    cJSON* media = Member(scene, "media");
    if (!media) return 0;
    cJSON* item = nullptr;
    cJSON_ArrayForEach(item, media) {
      const char* path = StringOf(item, "path");
      if (IsFixed(item) && path && !themes::IsAbsolute(path))
        themes::SetString(item, "path", NormaliseThemePath(record, path));
      if (!Has(item, "trimTimeEnd")) {
        PrintErrorBlock("error : cJSON_GetObjectItem fail 655! \n");
        continue;
      }
      if (Has(item, "sharpness") && !hasPipList) themes::SetNumber(item, "sharpness", -4);
      sum += themes::Tenths(NumberOf(item, "trimTimeEnd")) - themes::Tenths(NumberOf(item, "trimTimeStart"));
    }
  }
  return static_cast<float>(sum);
}

namespace {

// Step 3: fewer media than placeholders, so the last placeholder scenes go.
void DeleteSpareScenes(ThemeRequest* record, cJSON* tree, int nUser) {
  for (;;) {
    cJSON* mediaInfo = Member(tree, "mediaInfo");
    if (!mediaInfo) {
      PrintErrorBlock("error : cJSON_GetObjectItem mediaInfo fail 466! \n");
      PrintErrorBlock("error : cJSON_GetObjectItem mediaInfo fail 452! \n");
      return;
    }
    if (cJSON_GetArraySize(mediaInfo) <= nUser) return;
    const cJSON* element = cJSON_GetArrayItem(mediaInfo, nUser);
    if (DeleteSceneMediaObject(record, tree, element) < 1)
      PrintErrorBlock("error : deleteSceneMediaObject fail 477! \n");
    cJSON_DeleteItemFromArray(mediaInfo, nUser);
  }
}

// Step 4: more media than placeholders, so placeholder scenes are repeated
// in order (copies included once the originals are used up).
void CopyScenes(ThemeRequest* record, cJSON* tree, int nUser) {
  cJSON* mediaInfo = Member(tree, "mediaInfo");
  if (!mediaInfo) {
    PrintErrorBlock("error : cJSON_GetObjectItem mediaInfo fail 518! \n");
    PrintErrorBlock("error : cJSON_GetObjectItem mediaInfo fail 502! \n");
    return;
  }
  // The list grows at its end while it is walked; counting as it goes keeps
  // this linear in the number of media.
  int count = cJSON_GetArraySize(mediaInfo);
  for (int k = 0; count < nUser; ++k) {
    const cJSON* element = cJSON_GetArrayItem(mediaInfo, k);
    if (!element) return;
    if (AddSceneMediaObjectFromIndex(record, tree, element, k) < 1)
      PrintErrorBlock("error : addSceneMediaObjectFromIndex fail 528! \n");
    cJSON_AddItemToArray(mediaInfo, cJSON_Duplicate(element, true));
    ++count;
  }
}

const MediaRecord* RecordAt(const MediaRecord* head, int index) {
  for (; head && index > 0; --index)
    head = head->next;
  return head;
}

// Step 5: each medium into its placeholder, and its place on the timeline.
void PutMediaIn(ThemeRequest* record, cJSON* tree) {
  float introLength = 0.0f;
  int i = 0;
  cJSON* mediaInfo = Member(tree, "mediaInfo");
  cJSON* element = mediaInfo ? mediaInfo->child : nullptr;
  for (MediaInfoEntry* entry = record->userMedia; entry; entry = entry->next, ++i) {
    if (i > 0 && element) element = element->next;
    if (UpdateScenesJsonObject(record, tree, element, entry, i, &introLength) < 1)
      PrintErrorBlock("error : updateScenesJSONObject fail 565! \n");
    bool timed = true;
    const MediaRecord* own = nullptr;
    if (record->userMediaRecords) {
      own = RecordAt(record->userMediaRecords, i);
      if (!own) {
        PrintErrorBlock("error : updateScenesJSONObject fail 1374! \n");
        timed = false;
      }
    }
    if (timed) {
      const float shift = static_cast<float>(themes::Tenths(introLength));
      if (i == 0) {
        const float ownLength = own ? own->trimTimeEnd - own->trimTimeStart : 0.0f;
        const float length = ownLength > 0 ? ownLength : entry->timelineTo - entry->timelineFrom;
        entry->timelineFrom = shift;
        entry->timelineTo = shift + length;
      } else {
        entry->timelineFrom += shift;
        entry->timelineTo += shift;
      }
    }
    if (!element) continue;
    themes::SetString(element, "path", entry->path);
    themes::SetNumber(element, "timelineFrom", Clean(entry->timelineFrom));
    themes::SetNumber(element, "timelineTo", Clean(entry->timelineTo));
  }
}

} // namespace

int ApplyThemeMedia(ThemeRequest* record, cJSON* tree) {
  if (!record || !tree || !record->userMedia || !record->themeMedia || !Member(tree, "mediaInfo")) return 0;
  const int nInfo = cJSON_GetArraySize(Member(tree, "mediaInfo"));
  int nUser = 0;
  for (const MediaInfoEntry* entry = record->userMedia; entry; entry = entry->next)
    ++nUser;

  if (nUser < nInfo) DeleteSpareScenes(record, tree, nUser);
  if (nUser > nInfo) CopyScenes(record, tree, nUser);
  PutMediaIn(record, tree);

  const float newDuration = ThemeDuration(record, tree);
  if (!(newDuration > 0)) {
    PrintErrorBlock("error : cJSON_GetObjectItem fail 762! \n");
    return 0;
  }
  if (const cJSON* duration = Member(tree, "duration"); cJSON_IsNumber(duration))
    record->oldDuration = static_cast<float>(themes::Tenths(duration->valuedouble));
  themes::SetNumber(tree, "duration", Clean(newDuration));
  return RetimeElements(record, tree, newDuration);
}

// Putting one of the caller's media into the scene item of its placeholder:
// path, trims, volume and the crop that makes it fill the placeholder's
// frame; and making the scenes' theme-relative resources absolute.
//
// The fit: the placeholder's frame is its "showRectF" on the canvas ("size"
// of the draft), which stays where it is; the caller's medium is cropped,
// centred, to the frame's proportions, so it fills the frame without being
// stretched (a wider medium loses equal strips left and right, a taller one
// top and bottom). When the canvas size is missing the frame's proportions
// come from the theme's own placeholder medium and its crop; when the
// medium's size is unknown it is shown whole.
#include <cmath>
#include <cstdlib>
#include <string>

#include "platform/codepage.h"
#include "platform/platform.h"
#include "themes/media_probe.h"
#include "themes/media_replace.h"
#include "themes/theme_text.h"

using themes::Member;
using themes::NumberOf;
using themes::StringOf;

std::string NormaliseThemePath(const ThemeRequest* record, const char* relativePath) {
  std::string joined =
      themes::Join(themes::FolderOf(record ? record->themeConfigPath : ""), relativePath ? relativePath : "");
  // The theme's text goes through the codeset conversion of command-line
  // paths, as the program has always done; ASCII passes unchanged.
  char* converted = AnsiToUtf8(joined.c_str());
  std::string result = converted ? converted : joined;
  std::free(converted);
  return result;
}

namespace {

struct Rect {
  double x = 0, y = 0, width = 1, height = 1;
};

bool ReadRect(const cJSON* object, const char* key, Rect* rect) {
  const cJSON* r = Member(object, key);
  if (!cJSON_IsObject(r)) return false;
  rect->x = NumberOf(r, "x");
  rect->y = NumberOf(r, "y");
  rect->width = NumberOf(r, "width");
  rect->height = NumberOf(r, "height");
  return rect->width > 0 && rect->height > 0;
}

void WriteRect(cJSON* object, const char* key, const Rect& rect) {
  cJSON* r = cJSON_CreateObject();
  cJSON_AddNumberToObject(r, "x", rect.x);
  cJSON_AddNumberToObject(r, "y", rect.y);
  cJSON_AddNumberToObject(r, "width", rect.width);
  cJSON_AddNumberToObject(r, "height", rect.height);
  cJSON_DeleteItemFromObject(object, key);
  cJSON_AddItemToObject(object, key, r);
}

// A record rectangle (edges) that the media-group file gave, as x/y/w/h.
bool OwnRect(const RectF& edges, Rect* rect) {
  if (!(edges.right - edges.left > 0) || !(edges.bottom - edges.top > 0)) return false;
  *rect = {edges.left, edges.top, edges.right - edges.left, edges.bottom - edges.top};
  return true;
}

void NormaliseMember(const ThemeRequest* record, cJSON* object, const char* key) {
  const char* path = StringOf(object, key);
  if (path && *path && !themes::IsAbsolute(path))
    themes::SetString(object, key, NormaliseThemePath(record, path));
}

void NormaliseEach(const ThemeRequest* record, cJSON* array, const char* key) {
  cJSON* element = nullptr;
  cJSON_ArrayForEach(element, array) NormaliseMember(record, element, key);
}

// The theme's placeholder file without this run's stamp, as it lies in the
// theme folder.
std::string Unstamped(const ThemeRequest* record, const char* path) {
  std::string text(path ? path : "");
  const std::string stamp = std::string(record->stamp) + ".";
  size_t at = text.rfind(stamp);
  if (at != std::string::npos && record->stamp[0]) text.erase(at, stamp.size() - 1);
  return text;
}

// A medium's size from the request's folder, else from the theme's.
bool MediaSize(const ThemeRequest* record, const std::string& path, int* width, int* height) {
  if (themes::GetMediaSize(record->requestPath, path.c_str(), width, height) == 1 && *width >= 1 &&
      *height >= 1)
    return true;
  return themes::GetMediaSize(record->themeConfigPath, path.c_str(), width, height) == 1 && *width >= 1 &&
         *height >= 1;
}

// The crop of a medium of aspect `media` that fills a frame of aspect `frame`.
Rect CentredCrop(double media, double frame) {
  Rect crop;
  if (!(media > 0) || !(frame > 0)) return crop;
  if (media > frame) {
    crop.width = frame / media;
    crop.x = (1.0 - crop.width) / 2.0;
  } else {
    crop.height = media / frame;
    crop.y = (1.0 - crop.height) / 2.0;
  }
  return crop;
}

void FitToFrame(const ThemeRequest* record, const cJSON* tree, cJSON* item, const MediaInfoEntry* user,
                const MediaRecord* own) {
  int templateW = 0, templateH = 0, userW = 0, userH = 0;
  const bool templateKnown =
      MediaSize(record, Unstamped(record, StringOf(item, "path")), &templateW, &templateH);
  if (!templateKnown)
    themes::PrintMediaSizeErrorBlock(platform::LocaleText("getMediaSize 获取宽高失败 323\n").c_str());
  const bool userKnown = MediaSize(record, user->path, &userW, &userH);
  if (!userKnown)
    themes::PrintMediaSizeErrorBlock(platform::LocaleText("getMediaSize 获取宽高失败 363\n").c_str());

  Rect show;
  if (!ReadRect(item, "showRectF", &show)) show = Rect{};
  Rect templateCrop;
  if (!ReadRect(item, "cropRect", &templateCrop)) templateCrop = Rect{};
  const cJSON* size = Member(tree, "size");
  const double canvasW = NumberOf(size, "width"), canvasH = NumberOf(size, "height");
  double frame = 0;
  if (canvasW > 0 && canvasH > 0)
    frame = show.width * canvasW / (show.height * canvasH);
  else if (templateKnown)
    frame = templateW * templateCrop.width / (templateH * templateCrop.height);
  Rect crop = userKnown ? CentredCrop(static_cast<double>(userW) / userH, frame) : Rect{};

  if (own) {
    OwnRect(own->cropRect, &crop);
    OwnRect(own->showRect, &show);
  }
  WriteRect(item, "cropRect", crop);
  WriteRect(item, "showRectF", show);
}

void Rewrite(const ThemeRequest* record, const cJSON* tree, cJSON* item, const MediaInfoEntry* user,
             const MediaRecord* own) {
  FitToFrame(record, tree, item, user, own);
  if (own) {
    if (own->volume == 0)
      themes::SetNumber(item, "volume", 0);
    else if (own->volume >= 0)
      themes::SetNumber(item, "volume", own->volume);
    if (own->rotate != 0) themes::SetNumber(item, "rotate", own->rotate);
    if (own->isHorizontalMirror) themes::SetNumber(item, "isHorizontalMirror", own->isHorizontalMirror);
    if (own->isVerticalMirror) themes::SetNumber(item, "isVerticalMirror", own->isVerticalMirror);
  }
  themes::SetString(item, "path", user->path);
  if (own && own->trimTimeStart >= 0 && own->trimTimeEnd > 0) {
    themes::SetNumber(item, "trimTimeStart", own->trimTimeStart);
    themes::SetNumber(item, "trimTimeEnd", own->trimTimeEnd);
  } else {
    themes::SetNumber(item, "trimTimeStart", 0);
    themes::SetNumber(item, "trimTimeEnd", user->timelineTo - user->timelineFrom);
  }
}

bool IsFixed(const cJSON* item) {
  const cJSON* type = Member(item, "replaceType");
  return cJSON_IsNumber(type) && type->valueint == 3;
}

} // namespace

int UpdateScenesJsonObject(ThemeRequest* record, cJSON* tree, const cJSON* infoElement,
                           const MediaInfoEntry* userEntry, int index, float* introLength) {
  const char* path = StringOf(infoElement, "path");
  cJSON* scenes = Member(tree, "scenes");
  if (!record || !userEntry || !path || !themes::Has(infoElement, "timelineFrom") ||
      !themes::Has(infoElement, "timelineTo") || !scenes)
    return 0;
  const double length = NumberOf(infoElement, "timelineTo") - NumberOf(infoElement, "timelineFrom");
  const MediaRecord* own = record->userMediaRecords;
  for (int i = 0; own && i < index; ++i)
    own = own->next;

  bool done = false;
  bool first = true;
  cJSON* scene = nullptr;
  cJSON_ArrayForEach(scene, scenes) {
    if (cJSON* transition = Member(scene, "transition")) NormaliseMember(record, transition, "folderPath");
    cJSON* media = Member(scene, "media");
    if (!media) return 0;
    cJSON* item = nullptr;
    cJSON_ArrayForEach(item, media) {
      NormaliseMember(record, Member(item, "maskObject"), "folderPath");
      NormaliseEach(record, Member(item, "customAnimations"), "folderPath");
      NormaliseEach(record, Member(item, "specialEffects"), "folderPath");
      NormaliseMember(record, item, "filterPath");
      const double trimmed = NumberOf(item, "trimTimeEnd") - NumberOf(item, "trimTimeStart");
      if (first && IsFixed(item) && introLength) *introLength = static_cast<float>(trimmed);
      // Each placeholder element takes the first item that still shows it:
      // repeated scenes then get the following media in order.
      const char* own_path = StringOf(item, "path");
      if (!done && own_path && std::string(own_path) == path && !IsFixed(item) &&
          std::abs(trimmed - length) < 0.1) {
        Rewrite(record, tree, item, userEntry, own);
        done = true;
      }
    }
    first = false;
  }
  return 1;
}

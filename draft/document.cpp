// The draft document: reading the file, the root's scalar fields, the
// replaceable media list, the stacking levels, the normalised working copy,
// and the release of everything.
#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>

#include "draft/draft.h"
#include "draft/draft_limits.h"
#include "draft/json_read.h"
#include "draft/record_keys.h"
#include "draft/record_lists.h"
#include "platform/diagnostic.h"
#include "platform/log_line.h"
#include "platform/platform.h"

using namespace draftjson;

namespace {

// The whole file parsed; trailing bytes after the root value are accepted and
// no byte-order mark is stripped.
cJSON* ParseFile(const char* path) {
  std::string text;
  if (!platform::ReadWholeFile(path, &text)) return nullptr;
  return cJSON_ParseWithOpts(text.c_str(), nullptr, 0);
}

void LowerCase(char* begin, char* end) {
  std::transform(begin, end, begin,
                 [](char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); });
}

// An entry naming a draft (".json" in any letter case) is not replaceable media.
bool NamesJson(const char* path) {
  char lowered[4096];
  CopyTextZeroFilled(lowered, sizeof(lowered), path);
  LowerCase(lowered, lowered + std::strlen(lowered));
  return std::strstr(lowered, ".json") != nullptr;
}

// The replaceable media of a draft without a usable "mediaInfo": one entry per
// media item of every scene. A scene without "media" makes it fail.
MediaInfoEntry* MediaInfoFromScenes(const cJSON* root) {
  const cJSON* scenes = Item(root, "scenes");
  if (!scenes) return nullptr;
  MediaInfoEntry* head = nullptr;
  bool failed = false;
  ForEachElement(scenes, [&](const cJSON* scene, int32_t) {
    const cJSON* media = failed ? nullptr : Item(scene, "media");
    failed = !media;
    AppendEach(media, &head, [](const cJSON* item, MediaInfoEntry* entry, int32_t) {
      ReadFields(item, kSceneMediaKeys, entry);
      float trimStart = 0.0f;
      float trimEnd = 0.0f;
      ReadReal(item, "trimTimeStart", &trimStart);
      ReadReal(item, "trimTimeEnd", &trimEnd);
      entry->timelineTo = trimEnd - trimStart;
    });
  });
  if (failed) {
    FreeMediaInfo(head);
    return nullptr;
  }
  return head;
}

void ReadRootScalars(const cJSON* root, DraftDocument* document) {
  ReadFields(root, kRootKeys, document);
  if (const cJSON* size = Item(root, "size")) {
    ReadIntAsFloat(size, "width", &document->width);
    ReadIntAsFloat(size, "height", &document->height);
  }
}

// The next levels, from *level on, for every record of a list.
template <class T> void NumberFrom(T* head, int32_t* level) {
  for (; head; head = head->next)
    head->level = (*level)++;
}

// Without "pipList" the editor's stacking order is lost, so the elements are
// stacked kind after kind in a fixed order, without gaps.
void RenumberLevels(DraftDocument* document) {
  int32_t level = 1;
  NumberFrom(document->overlays, &level);
  NumberFrom(document->specialEffects, &level);
  NumberFrom(document->mosaics, &level);
  NumberFrom(document->customFilters, &level);
  NumberFrom(document->tonings, &level);
  NumberFrom(document->stickers, &level);
  NumberFrom(document->captions, &level);
  if (document->logo) document->logo->level = level;
}

// The working copy beside the draft: the file name lower-cased (the folder
// keeps its letters, file systems here tell case apart) and cut before its
// first ".json", then "_", the millisecond tick count and ".json".
// Empty when the name gives nothing to build on or the result does not fit.
std::string WorkingCopyPath(const char* draftPath) {
  std::string path(draftPath);
  size_t nameStart = path.find_last_of("/\\");
  nameStart = nameStart == std::string::npos ? 0 : nameStart + 1;
  LowerCase(path.data() + nameStart, path.data() + path.size());
  std::string name = path.substr(nameStart);
  std::string piece = name.substr(0, name.find(".json"));
  if (piece.empty()) return {};
  std::string copy =
      path.substr(0, nameStart) + piece + "_" + std::to_string(platform::TimeGetTime()) + ".json";
  if (copy.size() >= sizeof(DraftDocument::draftPath)) return {};
  return copy;
}

enum class Written { kOk, kNotOpened, kIncomplete };

// The text without its terminating zero.
Written WriteText(const std::string& path, const char* text) {
  FILE* file = platform::OpenFile(path.c_str(), "w+");
  if (!file) return Written::kNotOpened;
  size_t length = std::strlen(text);
  bool ok = std::fwrite(text, 1, length, file) == length;
  ok = std::fclose(file) == 0 && ok;
  return ok ? Written::kOk : Written::kIncomplete;
}

// Why a draft that parsed has no replaceable media: no "mediaInfo" list
// with entries, and "scenes" to build one from is missing or has a scene
// without "media".
std::string NoMediaInfoCause(const cJSON* root) {
  const cJSON* scenes = Item(root, "scenes");
  const std::string given =
      Item(root, "mediaInfo") ? "its \"mediaInfo\" has no entries" : "it has no \"mediaInfo\"";
  if (!scenes) return given + " and no \"scenes\" to take the media from";
  int index = 0;
  for (const cJSON* scene = scenes->child; scene; scene = scene->next) {
    ++index;
    if (!Item(scene, "media"))
      return given + ", and scene " + std::to_string(index) +
             " of \"scenes\" has no \"media\" to take them from";
  }
  return given + " and its \"scenes\" hold no media";
}

// The reason of a draft that parsed but is refused, on standard error.
void SayRefused(const std::string& path, const std::string& why) {
  Diagnostic("json load fail: draft %s: %s", platform::NativePath(path.c_str()).c_str(), why.c_str());
}

DraftDocument* Fail(DraftDocument* document, cJSON* root) {
  freeDraft(document);
  cJSON_Delete(root);
  return nullptr;
}

} // namespace

MediaInfoEntry* readMediaInfo(const cJSON* root, const char* key) {
  const cJSON* list = Item(root, key ? key : "mediaInfo");
  if (!list) return nullptr;
  MediaInfoEntry* head = nullptr;
  AppendKept(
      list, &head,
      [](const cJSON* element) {
        const char* path = StringOf(Item(element, "path"));
        return !(path && *path && NamesJson(path));
      },
      [](const cJSON* element, MediaInfoEntry* entry, int32_t) {
        ReadFields(element, kMediaInfoKeys, entry);
      });
  if (head) return head;
  return MediaInfoFromScenes(root);
}

void FreeMediaInfo(MediaInfoEntry* head) { FreePlainList(head); }

DraftDocument* loadDraft(const char* draftPath, const char* auxiliaryPath, int templateMode) {
  if (!draftPath) return nullptr;

  // The export settings file may override the output size; any failure here
  // just leaves it unset.
  float videoW = 0.0f;
  float videoH = 0.0f;
  if (auxiliaryPath && *auxiliaryPath) {
    if (cJSON* settings = ParseFile(auxiliaryPath)) {
      if (const cJSON* video = Item(settings, "video"); cJSON_IsObject(video)) {
        ReadIntAsFloat(video, "w", &videoW);
        ReadIntAsFloat(video, "h", &videoH);
      }
      cJSON_Delete(settings);
    }
  }

  // The draft path with the platform's separator. A path that does not fit
  // the record would name another folder once cut, so it is refused.
  std::string path(draftPath);
  std::replace_if(path.begin(), path.end(), platform::IsSeparator, platform::kSeparator);
  if (path.size() >= sizeof(DraftDocument::draftPath)) {
    LogLine("draft path of %zu bytes; a draft path may have %zu\n", path.size(),
            sizeof(DraftDocument::draftPath) - 1);
    Diagnostic("json load fail: the draft's path has %zu bytes; a draft path may have %zu", path.size(),
               sizeof(DraftDocument::draftPath) - 1);
    return nullptr;
  }

  cJSON* root = draftlimits::ParseDraftWithinLimits(draftPath);
  if (!root) return nullptr;
  DraftDocument* document = NewRecord<DraftDocument>();
  if (!document) return Fail(nullptr, root);
  document->ownsRecords = 1;
  if (videoW > 0 && videoH > 0) {
    document->videoW = videoW;
    document->videoH = videoH;
  }
  ReadRootScalars(root, document);

  document->mediaInfo = readMediaInfo(root, nullptr);
  if (!document->mediaInfo) {
    SayRefused(path, NoMediaInfoCause(root));
    return Fail(document, root);
  }
  CopyTextZeroFilled(document->draftPath, sizeof(document->draftPath), path.c_str());

  document->musics = readMusics(root);
  document->soundEffects = readSoundEffects(root);
  document->scenes = readScenes(root);
  if (!document->scenes) {
    SayRefused(path, Item(root, "scenes") ? "its \"scenes\" list has no scenes" : "it has no \"scenes\"");
    return Fail(document, root);
  }
  document->overlays = readOverlays(root);
  document->specialEffects = readSpecialEffects(root);
  document->mosaics = readMosaics(root);
  document->customFilters = readCustomFilters(root);
  document->tonings = readTonings(root);
  document->stickers = readStickers(document, root);
  document->captions = readCaptions(document, root);
  document->logo = readLogo(root);

  if (const cJSON* pipList = Item(root, "pipList"))
    document->pipCount = ElementCount(pipList);
  else
    RenumberLevels(document);

  char* printed = cJSON_Print(root);
  if (!printed) {
    SayRefused(path, "out of memory while writing its working copy");
    return Fail(document, root);
  }
  // Template mode rewrites the instantiated draft in place; otherwise the
  // normalised copy goes beside the draft and becomes the run's draft.
  std::string output = templateMode ? std::string(document->draftPath) : WorkingCopyPath(document->draftPath);
  errno = 0;
  Written written = output.empty() ? Written::kNotOpened : WriteText(output, printed);
  const int writeError = errno;
  cJSON_free(printed);
  if (written != Written::kOk) {
    // The copy is written beside the draft: its folder must be writable.
    if (output.empty())
      SayRefused(path, "its file name gives no name for the working copy beside it");
    else
      Diagnostic("json load fail: the working copy %s cannot be written (%s); the draft's folder must be "
                 "writable",
                 platform::NativePath(output.c_str()).c_str(),
                 writeError ? std::strerror(writeError) : "incomplete");
    // A truncated working copy of our own is not left behind.
    if (written == Written::kIncomplete && !templateMode) platform::RemoveFile(output.c_str());
    return Fail(document, root);
  }
  CopyTextZeroFilled(document->draftPath, sizeof(document->draftPath), output.c_str());
  cJSON_Delete(root);
  return document;
}

void releaseDraftRecords(DraftDocument* document) {
  if (!document) return;
  FreeMediaInfo(std::exchange(document->mediaInfo, nullptr));
  FreeAudioTracks(std::exchange(document->musics, nullptr));
  FreeAudioTracks(std::exchange(document->soundEffects, nullptr));
  FreeScenes(std::exchange(document->scenes, nullptr));
  FreeEffects(std::exchange(document->specialEffects, nullptr));
  FreeMosaics(std::exchange(document->mosaics, nullptr));
  FreeCustomFilters(std::exchange(document->customFilters, nullptr));
  FreeTonings(std::exchange(document->tonings, nullptr));
  FreeOverlays(std::exchange(document->overlays, nullptr));
  FreeStickers(std::exchange(document->stickers, nullptr));
  FreeCaptions(std::exchange(document->captions, nullptr));
  FreeMediaList(std::exchange(document->logo, nullptr));
}

void freeDraft(DraftDocument* document) {
  if (!document) return;
  releaseDraftRecords(document);
  std::free(document);
}

// The two media lists of a theme run: the theme draft's placeholders and the
// caller's media laid end to end in whole seconds, with the media-group file
// that may come with them; and the size and length of a medium as the core
// library reports them.
#include <cjson/cJSON.h>

#include <cstring>
#include <memory>
#include <string>

#include "draft/draft.h"
#include "draft/json_read.h"
#include "draft/record_lists.h"
#include "platform/log_line.h"
#include "platform/platform.h"
#include "themes/media_probe.h"
#include "themes/media_replace.h"
#include "themes/theme_request.h"
#include "themes/theme_text.h"

namespace themes {

namespace {
MediaInfoFunction gMediaInfo = nullptr;
}

void SetMediaInfoFunction(MediaInfoFunction function) { gMediaInfo = function; }

int32_t MediaInfo(const char* path, int64_t* durationUs, OrmaMediaPropertyBlock* audio,
                  OrmaMediaPropertyBlock* video) {
  return gMediaInfo ? gMediaInfo(path, durationUs, audio, video)
                    : OrmaGetMediaInfoLite(path, durationUs, audio, video);
}

namespace {

bool SizeOf(const std::string& path, int* width, int* height) {
  // Only files that are there are asked about: the core library reports
  // every file it cannot open, and the first guesses here often miss.
  if (!platform::IsRegularFile(path.c_str())) return false;
  int64_t duration = 0;
  OrmaMediaPropertyBlock audio{}, video{};
  if (MediaInfo(path.c_str(), &duration, &audio, &video) != 1) return false;
  *width = video.width;
  *height = video.height;
  return true;
}

} // namespace

int GetMediaSize(const char* basePath, const char* path, int* width, int* height) {
  if (!path || !*path || !width || !height) return 0;
  std::string full = IsAbsolute(path) ? std::string(path) : Join(FolderOf(basePath ? basePath : ""), path);
  if (SizeOf(full, width, height)) return 1;
  // Once more with the name rebuilt from its first and last "." parts, which
  // finds "clip.mp4" for a name that gained inner dots.
  std::vector<std::string> parts = SplitText(path, '.');
  if (parts.size() < 2) return 0;
  std::string rebuilt = parts.front() + "." + parts.back();
  if (!IsAbsolute(rebuilt)) rebuilt = Join(FolderOf(basePath ? basePath : ""), rebuilt);
  return SizeOf(rebuilt, width, height) ? 1 : 0;
}

} // namespace themes

namespace {

// Each medium becomes a scene, and every scene is visited for every medium:
// a request of a hundred thousand media would take hours to fill.
constexpr int kMaxUserMedia = 2000;

using themes::FolderOf;
using themes::IsAbsolute;
using themes::Join;

struct TreeCloser {
  void operator()(cJSON* tree) const { cJSON_Delete(tree); }
};
using Tree = std::unique_ptr<cJSON, TreeCloser>;

Tree ParseJsonFile(const char* path) {
  std::string text;
  if (!path || !platform::ReadWholeFile(path, &text)) return nullptr;
  return Tree(cJSON_ParseWithLength(text.c_str(), text.size()));
}

// The folder that relative media of the request are taken from: the request
// path cut at its last "\", else at its last "/".
std::string RequestFolder(const char* requestPath) {
  std::string path(requestPath ? requestPath : "");
  size_t cut = path.rfind('\\');
  if (cut == std::string::npos) cut = path.rfind('/');
  return cut == std::string::npos ? std::string() : path.substr(0, cut);
}

// Lays the caller's media end to end: each medium occupies its length in
// whole seconds (stills three seconds), starting where the last one ended.
void LayOutUserMedia(MediaInfoEntry* head, const std::string& folder) {
  int64_t start = 0;
  int32_t index = 0;
  for (MediaInfoEntry* entry = head; entry; entry = entry->next) {
    std::string path = IsAbsolute(entry->path) ? std::string(entry->path) : Join(folder, entry->path);
    int64_t duration = 0;
    OrmaMediaPropertyBlock audio{}, video{};
    if (themes::MediaInfo(path.c_str(), &duration, &audio, &video) != 1) {
      LogLine("theme media cannot be opened: %s\n", path.c_str());
      continue;
    }
    if (duration <= 0 || video.name[0] == '\0') duration = 3000000; // a still picture
    const int64_t seconds = duration / 1000000;
    draftjson::CopyTextZeroFilled(entry->path, sizeof(entry->path), path.c_str());
    entry->timelineFrom = static_cast<float>(start);
    entry->timelineTo = static_cast<float>(start + seconds);
    entry->groupId = index;
    entry->width = video.width;
    entry->height = video.height;
    ++index;
    start += seconds;
  }
}

} // namespace

int ReadMediaGroup(ThemeRequest* record, const char* requestPath, const char* listKey) {
  if (!record) return 0;
  Tree request = ParseJsonFile(requestPath);
  if (!request) return 0;
  const char* groupPath = nullptr;
  draftjson::ForEachElement(cJSON_GetObjectItem(request.get(), listKey ? listKey : "medias"),
                            [&](const cJSON* element, int32_t) {
                              const char* path = themes::StringOf(element, "path");
                              if (groupPath || !path) return;
                              std::string lower(path);
                              for (char& c : lower)
                                if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
                              if (lower.find(".json") != std::string::npos) groupPath = path;
                            });
  if (!groupPath) return 1;

  std::string text;
  if (!platform::ReadWholeFile(groupPath, &text)) {
    LogLine("theme media-group file cannot be read: %s\n", groupPath);
    return 0;
  }
  Tree group(cJSON_ParseWithLength(text.c_str(), text.size()));
  if (!group) {
    LogLine("theme media-group file is not JSON: %s\n", groupPath);
    return 1;
  }
  FreeMediaList(record->userMediaRecords);
  record->userMediaRecords = readMedia(group.get(), 0, "medias");
  const cJSON* mute = cJSON_GetObjectItem(group.get(), "isMute");
  record->isMute = cJSON_IsTrue(mute) || (cJSON_IsNumber(mute) && mute->valuedouble != 0);
  record->volume = 0.0f;
  if (!record->isMute) {
    const cJSON* volume = cJSON_GetObjectItem(group.get(), "volume");
    record->volume = volume ? draftjson::RealView(volume) : 1.0f;
  }
  return 1;
}

MediaInfoEntry* LoadMediaList(ThemeRequest* record, const char* jsonPath, int mode, const char* listKey) {
  if (!record) return nullptr;
  Tree tree = ParseJsonFile(jsonPath);
  if (!tree) return nullptr;
  if (mode == 0) {
    if (StampMediaPaths(record, tree.get()) < 1) return nullptr;
    return readMediaInfo(tree.get(), nullptr);
  }
  if (!cJSON_GetObjectItem(tree.get(), "outputPath") || !cJSON_GetObjectItem(tree.get(), "id"))
    return nullptr;
  MediaInfoEntry* head = readMediaInfo(tree.get(), listKey);
  int count = 0;
  for (const MediaInfoEntry* entry = head; entry; entry = entry->next)
    ++count;
  if (count > kMaxUserMedia) {
    LogLine("theme request %s names %d media; at most %d are taken\n", jsonPath, count, kMaxUserMedia);
    FreeMediaInfo(head);
    return nullptr;
  }
  LayOutUserMedia(head, RequestFolder(jsonPath));
  if (ReadMediaGroup(record, jsonPath, listKey) < 1) {
    FreeMediaInfo(head);
    return nullptr;
  }
  return head;
}

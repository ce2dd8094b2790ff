// Helpers of the template-theme tests: a private theme library and drafts
// folder (through ORMADRAFT_THEMES and ORMADRAFT_DRAFTS), media whose length
// and size come from a table instead of files, theme drafts built from a few
// lines, and the written draft parsed back.
#pragma once

#include <cjson/cJSON.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "tests/unit/draft_fixture.h"
#include "themes/media_probe.h"
#include "themes/theme_request.h"

namespace themetest {

/// What the fake media source reports for a file name (the last path part).
struct FakeMedia {
  double seconds = 0; ///< 0 for a still picture
  int width = 1280;
  int height = 720;
};

inline std::map<std::string, FakeMedia>& FakeTable() {
  static std::map<std::string, FakeMedia> table;
  return table;
}

inline int32_t FakeMediaInfo(const char* path, int64_t* durationUs, OrmaMediaPropertyBlock* audio,
                             OrmaMediaPropertyBlock* video) {
  std::string name(path ? path : "");
  size_t cut = name.find_last_of("\\/");
  if (cut != std::string::npos) name = name.substr(cut + 1);
  auto it = FakeTable().find(name);
  if (it == FakeTable().end()) return -20;
  if (durationUs) *durationUs = static_cast<int64_t>(it->second.seconds * 1000000.0);
  if (audio) *audio = OrmaMediaPropertyBlock{};
  if (video) {
    *video = OrmaMediaPropertyBlock{};
    video->present = 1;
    video->width = it->second.width;
    video->height = it->second.height;
    if (it->second.seconds > 0) std::snprintf(video->name, sizeof video->name, "h264");
  }
  return 1;
}

struct RequestDeleter {
  void operator()(ThemeRequest* record) const { FreeThemeRequest(record); }
};
using Request = std::unique_ptr<ThemeRequest, RequestDeleter>;

class ThemeTest : public ::testing::Test {
protected:
  void SetUp() override {
    FakeTable().clear();
    themes::SetMediaInfoFunction(FakeMediaInfo);
    setenv("ORMADRAFT_THEMES", folder_.Join("lib").c_str(), 1);
    setenv("ORMADRAFT_DRAFTS", folder_.Join("drafts").c_str(), 1);
  }
  void TearDown() override {
    themes::SetMediaInfoFunction(nullptr);
    unsetenv("ORMADRAFT_THEMES");
    unsetenv("ORMADRAFT_DRAFTS");
  }

  /// A theme draft at lib/FOLDER/config.json.
  std::string WriteTheme(const std::string& folder, const std::string& json) {
    return folder_.Write("lib/" + folder + "/config.json", json);
  }

  /// A request for theme `id` with these media (names in the request's
  /// folder, registered with the fake source) and any further members.
  std::string WriteRequest(const std::string& id, const std::vector<std::string>& media,
                           const std::string& more = "") {
    std::string medias;
    for (const std::string& name : media) {
      // Sizes are only asked of files that exist.
      if (FakeTable().count(name)) folder_.Write("req/" + name, "");
      medias += std::string(medias.empty() ? "" : ", ") + R"({"path": ")" + name + R"("})";
    }
    return folder_.Write("req/request.json", R"({"ver": 1, "type": "TemplateThemes", "id": ")" + id +
                                                 R"(", "outputPath": "out/v.mp4", "medias": [)" + medias +
                                                 "]" + more + "}");
  }

  Request Load(const std::string& requestPath) {
    testing::internal::CaptureStdout();
    Request record(LoadThemeRequest(requestPath.c_str()));
    printed_ = testing::internal::GetCapturedStdout();
    return record;
  }

  /// The draft the request wrote, parsed.
  drafttest::Json Written(const ThemeRequest* record) {
    return drafttest::Parse(drafttest::ReadFile(record->draftPath));
  }

  drafttest::TempFolder folder_;
  std::string printed_;
};

/// A scene of one media item; `more` adds members to the item.
inline std::string Scene(const std::string& path, double trimEnd, const std::string& more = "") {
  return R"({"media": [{"path": ")" + path + R"(", "trimTimeStart": 0, "trimTimeEnd": )" +
         std::to_string(trimEnd) +
         R"(, "showRectF": {"x": 0, "y": 0, "width": 1, "height": 1},
            "cropRect": {"x": 0, "y": 0, "width": 1, "height": 1})" +
         more + "}]}";
}

/// A "mediaInfo" element.
inline std::string Slot(const std::string& path, double from, double to) {
  return R"({"path": ")" + path + R"(", "timelineFrom": )" + std::to_string(from) + R"(, "timelineTo": )" +
         std::to_string(to) + "}";
}

/// A theme draft: canvas 1280x720, the slots, the scenes and further members.
inline std::string Theme(double duration, const std::vector<std::string>& slots,
                         const std::vector<std::string>& scenes, const std::string& more = "") {
  auto join = [](const std::vector<std::string>& parts) {
    std::string all;
    for (const std::string& p : parts)
      all += (all.empty() ? "" : ", ") + p;
    return all;
  };
  return R"({"ver": 5, "name": "theme", "duration": )" + std::to_string(duration) +
         R"(, "size": {"width": 1280, "height": 720}, "mediaInfo": [)" + join(slots) + R"(], "scenes": [)" +
         join(scenes) + "]" + more + "}";
}

inline int Size(const cJSON* array) { return cJSON_GetArraySize(array); }
inline const cJSON* At(const cJSON* array, int i) { return cJSON_GetArrayItem(array, i); }
inline const cJSON* Get(const cJSON* object, const char* key) { return cJSON_GetObjectItem(object, key); }
inline double Num(const cJSON* object, const char* key) {
  const cJSON* item = Get(object, key);
  return item ? item->valuedouble : -12345;
}
inline std::string Str(const cJSON* object, const char* key) {
  const cJSON* item = Get(object, key);
  return cJSON_IsString(item) ? item->valuestring : "<none>";
}
/// The name of the last member of an object.
inline std::string LastKey(const cJSON* object) {
  const cJSON* child = object ? object->child : nullptr;
  while (child && child->next)
    child = child->next;
  return child && child->string ? child->string : "";
}
/// The item of scene `s`.
inline const cJSON* Item(const cJSON* draft, int s) {
  return At(Get(At(Get(draft, "scenes"), s), "media"), 0);
}

} // namespace themetest

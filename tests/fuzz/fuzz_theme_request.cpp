// libFuzzer target: a theme request and its theme draft on arbitrary bytes,
// through the whole of LoadThemeRequest (request reader, theme lookup, media
// lists, media-group file, scene replacement, retiming, the new draft).
//
// The input holds up to three parts separated by a line "#####": the
// request, the theme's config.json and a media-group file "group.json"
// (missing parts get a small sample). Media are answered by name, without
// files: names with "clip" are 3.5 s clips, "long" 61 s, "png"/"jpg" pictures;
// others cannot be opened. The request's "outputPath" is set to a folder
// inside the work folder, so that no input makes folders elsewhere.
#include <cjson/cJSON.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include "tests/fuzz/fuzz_support.h"
#include "themes/media_probe.h"
#include "themes/theme_request.h"

namespace fs = std::filesystem;

namespace {

const char* kTheme = R"({"duration": 6, "size": {"width": 640, "height": 360},
  "mediaInfo": [{"path": "p1.mp4", "timelineFrom": 0, "timelineTo": 3}],
  "scenes": [{"media": [{"path": "p1.mp4", "trimTimeStart": 0, "trimTimeEnd": 3}]},
             {"media": [{"path": "end.mp4", "trimTimeEnd": 3, "replaceType": 3}]}],
  "specialEffects": [{"timelineFrom": 1, "timelineTo": 2}]})";
const char* kGroup = R"({"medias": [{"path": "a_clip.mp4"}], "isMute": 0, "volume": 0.5})";

int32_t FakeMediaInfo(const char* path, int64_t* durationUs, OrmaMediaPropertyBlock* audio,
                      OrmaMediaPropertyBlock* video) {
  std::string name(path ? path : "");
  int64_t duration = 0;
  if (name.find("clip") != std::string::npos)
    duration = 3500000;
  else if (name.find("long") != std::string::npos)
    duration = 61000000;
  else if (name.find("png") == std::string::npos && name.find("jpg") == std::string::npos)
    return -20;
  if (durationUs) *durationUs = duration;
  if (audio) *audio = OrmaMediaPropertyBlock{};
  if (video) {
    *video = OrmaMediaPropertyBlock{};
    video->width = duration ? 640 : 800;
    video->height = duration ? 360 : 600;
    if (duration) std::strcpy(video->name, "h264");
  }
  return 1;
}

const std::string& WorkFolder() {
  static std::string folder = [] {
    std::string work = fuzz::ScratchFolder("theme");
    const char* made = work.c_str();
    setenv("ORMADRAFT_THEMES", (work + "/lib").c_str(), 1);
    setenv("ORMADRAFT_DRAFTS", (work + "/drafts").c_str(), 1);
    fs::create_directories(work + "/lib/Fuzz_theme");
    fs::create_directories(work + "/lib/grp_fuzz/the_theme");
    if (chdir(made) != 0) std::abort(); // a relative media-group path names the work folder's file
    themes::SetMediaInfoFunction(FakeMediaInfo);
    // The run's console lines would only slow the fuzzer down; its own
    // report goes to the error stream.
    if (!std::freopen("/dev/null", "w", stdout)) std::abort();
    return work;
  }();
  return folder;
}

void WriteFile(const std::string& path, const std::string& text) {
  FILE* f = std::fopen(path.c_str(), "wb");
  if (!f) std::abort();
  if (!text.empty()) std::fwrite(text.data(), 1, text.size(), f);
  std::fclose(f);
}

// The request with its "outputPath" kept inside the work folder.
std::string Contained(const std::string& request) {
  cJSON* tree = cJSON_ParseWithLength(request.data(), request.size());
  if (!tree) return request;
  if (cJSON_IsString(cJSON_GetObjectItem(tree, "outputPath")))
    cJSON_ReplaceItemInObject(tree, "outputPath", cJSON_CreateString("out/v.mp4"));
  char* printed = cJSON_PrintUnformatted(tree);
  std::string result = printed ? printed : request;
  cJSON_free(printed);
  cJSON_Delete(tree);
  return result;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string& work = WorkFolder();
  std::string input(reinterpret_cast<const char*>(data), size);
  std::string parts[3] = {"", kTheme, kGroup};
  for (int i = 0; i < 3; ++i) {
    size_t cut = input.find("\n#####\n");
    parts[i] = input.substr(0, cut);
    if (cut == std::string::npos) break;
    input = input.substr(cut + 7);
  }
  WriteFile(work + "/request.json", Contained(parts[0]));
  WriteFile(work + "/lib/Fuzz_theme/config.json", parts[1]);
  WriteFile(work + "/lib/grp_fuzz/the_theme/config.json", parts[1]);
  WriteFile(work + "/group.json", parts[2]);

  FreeThemeRequest(LoadThemeRequest((work + "/request.json").c_str()));

  // Only the inputs stay; the library is rewritten by the next input anyway.
  std::error_code ec;
  for (const auto& entry : fs::directory_iterator(work, ec)) {
    const std::string name = entry.path().filename().string();
    if (name != "lib" && name != "request.json" && name != "group.json") fs::remove_all(entry.path(), ec);
  }
  return 0;
}

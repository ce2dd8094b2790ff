// Reading a theme request: its version and type, the video to produce, and
// the theme it names, looked up in the theme library (theme_library.h).
//
// The request is refused (0) when it cannot be read or parsed, when "ver",
// "type", "outputPath" or "id" is missing, when "type" is not exactly
// "TemplateThemes", when "outputPath" or "id" is not a string, or when no
// theme matches the id.
#include <cjson/cJSON.h>

#include <memory>
#include <string>

#include "draft/json_read.h"
#include "platform/platform.h"
#include "themes/theme_library.h"
#include "themes/theme_request.h"
#include "themes/theme_text.h"

namespace {

struct TreeCloser {
  void operator()(cJSON* tree) const { cJSON_Delete(tree); }
};

// The video file of the request: an absolute path with its separators made
// the system's, or a relative one joined to the request's folder as it is
// written.
std::string OutputPathOf(const char* requestPath, const char* value) {
  std::string path(value);
  if (themes::IsAbsolute(path)) {
    for (char& c : path)
      if (platform::IsSeparator(c)) c = platform::kSeparator;
    return path;
  }
  return themes::Join(themes::FolderOf(requestPath), path);
}

// The folder of the video, without the file name and trailing separators.
std::string OutputFolder(const std::string& outputPath) {
  std::string folder = themes::FolderOf(outputPath);
  while (folder.size() > 1 && platform::IsSeparator(folder.back()))
    folder.pop_back();
  return folder;
}

bool Opens(const std::string& path) {
  if (!platform::IsRegularFile(path.c_str())) return false;
  FILE* f = platform::OpenFile(path.c_str(), "rb");
  if (!f) return false;
  std::fclose(f);
  return true;
}

} // namespace

int ReadThemeRequestWhy(ThemeRequest* record, const char* requestPath, std::string* why) {
  std::string ignored;
  if (!why) why = &ignored;
  if (!record || !requestPath) return 0;
  std::string text;
  if (!platform::ReadWholeFile(requestPath, &text)) return 0;
  std::unique_ptr<cJSON, TreeCloser> tree(cJSON_ParseWithLength(text.c_str(), text.size()));
  if (!tree) return 0;
  const cJSON* root = tree.get();

  const cJSON* ver = cJSON_GetObjectItem(root, "ver");
  const cJSON* type = cJSON_GetObjectItem(root, "type");
  if (type) draftjson::CopyTextZeroFilled(record->type, sizeof(record->type), draftjson::StringOf(type));
  if (!ver) {
    *why = "\"ver\" is missing";
    return 0;
  }
  record->ver = draftjson::RealView(ver);
  if (!type) return 0;
  draftjson::CopyTextZeroFilled(record->themeRoot, sizeof(record->themeRoot),
                                themes::ThemeLibraryFolder(platform::ProgramPath()).c_str());
  if (std::string(record->type) != "TemplateThemes") return 0;

  const char* output = themes::StringOf(root, "outputPath");
  if (!output) {
    *why = "\"outputPath\" is missing or not a text";
    return 0;
  }
  const std::string outputPath = OutputPathOf(requestPath, output);
  if (outputPath.size() >= sizeof(record->outputPath)) {
    *why = "\"outputPath\" is too long";
    return 0;
  }
  draftjson::CopyTextZeroFilled(record->outputPath, sizeof(record->outputPath), outputPath.c_str());
  const std::string outputFolder = OutputFolder(outputPath);
  if (!outputFolder.empty()) themes::EnsureFolderReported(outputFolder);

  const char* id = themes::StringOf(root, "id");
  if (!id) {
    *why = "\"id\" is missing or not a text";
    return 0;
  }
  std::string group, item;
  bool refused = false;
  const std::string config = themes::FindThemeConfig(record->themeRoot, id, &group, &item, &refused);
  if (refused) {
    *why = "\"id\" is empty";
    return 0;
  }
  draftjson::CopyTextZeroFilled(record->idGroup, sizeof(record->idGroup), group.c_str());
  draftjson::CopyTextZeroFilled(record->idItem, sizeof(record->idItem), item.c_str());
  if (config.size() >= sizeof(record->themeConfigPath)) return 0;
  draftjson::CopyTextZeroFilled(record->themeConfigPath, sizeof(record->themeConfigPath), config.c_str());
  if (config.empty()) {
    *why = std::string("no theme \"") + id + "\" in the theme library " + record->themeRoot;
    return 0;
  }
  if (!Opens(config)) {
    *why = "the theme draft cannot be opened: " + config;
    return 0;
  }
  return 1;
}

int ReadThemeRequest(ThemeRequest* record, const char* requestPath) {
  return ReadThemeRequestWhy(record, requestPath, nullptr);
}

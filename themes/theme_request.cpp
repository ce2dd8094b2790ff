// LoadThemeRequest: the whole of a theme run up to the new draft. It reads
// the request and finds the theme (request_reader.cpp), reads the theme's
// placeholders and the caller's media (media_list.cpp), fills a copy of the
// theme draft (media_replace.cpp, retime.cpp) and writes it as
// config_temp_TICKS.json into the drafts folder (theme_library.h), which the
// run driver then exports like any draft. The theme library is only read.
#include "themes/theme_request.h"

#include <cjson/cJSON.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "draft/json_read.h"
#include "draft/record_lists.h"
#include "platform/diagnostic.h"
#include "platform/log_line.h"
#include "platform/platform.h"
#include "themes/media_replace.h"
#include "themes/theme_library.h"
#include "themes/theme_text.h"

int ReadThemeRequestWhy(ThemeRequest* record, const char* requestPath, std::string* why);

void FreeThemeRequest(ThemeRequest* record) {
  if (!record) return;
  FreeMediaInfo(record->themeMedia);
  FreeMediaInfo(record->userMedia);
  FreeMediaList(record->userMediaRecords);
  FreeEffects(record->retimeEffects);
  FreeStickers(record->retimeStickers);
  FreeCaptions(record->retimeCaptions);
  FreeOverlays(record->retimeOverlays);
  FreeAudioTracks(record->retimeMusics);
  std::free(record);
}

namespace {

struct RequestFree {
  void operator()(ThemeRequest* record) const { FreeThemeRequest(record); }
};
using Request = std::unique_ptr<ThemeRequest, RequestFree>;

struct TreeCloser {
  void operator()(cJSON* tree) const { cJSON_Delete(tree); }
};

// A request named by a bare or relative path is taken from the current
// folder, so that the caller's media keep working from the drafts folder.
std::string AbsoluteRequestPath(const char* path) {
  if (themes::IsAbsolute(path)) return path;
  std::error_code error;
  const std::string current = std::filesystem::current_path(error).string();
  // Joined with the system's separator: Windows gives the current folder
  // with "\", and the request's folder is later found at its last "\".
  return error || current.empty() ? std::string(path) : current + platform::kSeparator + path;
}

// Why a request that says it is one was not used, for its author; other
// files given as the one argument are drafts and pass silently.
void Report(const ThemeRequest* record, const std::string& why) {
  if (std::string(record->type) == "TemplateThemes" && !why.empty()) {
    LogLine("theme request %s not used: %s\n", record->requestPath, why.c_str());
    // The run goes on with the file as a draft, which then fails to load:
    // the person needs this line to know why.
    Diagnostic("theme request %s not used: %s", record->requestPath, why.c_str());
  }
}

// The system's conversion to local time, as the replaceable function has it.
std::tm* SystemLocalTime(const std::time_t* now, std::tm* local) {
#if defined(_WIN32)
  return localtime_s(local, now) == 0 ? local : nullptr;
#else
  return localtime_r(now, local);
#endif
}

LocalTimeFunction gLocalTime = SystemLocalTime;

bool LocalStamp(char* stamp, size_t size) {
  std::time_t now = std::time(nullptr);
  std::tm local{};
  if (!gLocalTime(&now, &local)) return false;
  return std::strftime(stamp, size, "_%Y_%m_%d_%H_%M_%S", &local) > 0;
}

// Writes the printed draft as config_temp_TICKS.json; "" on failure.
std::string WriteDraft(const char* printed, uint32_t ticks) {
  std::string folder = themes::DraftsFolder(platform::ProgramPath());
  std::vector<std::string> name = themes::SplitTextBy("config_temp.json", ".");
  std::string path = folder + name[0] + "_" + std::to_string(static_cast<long long>(ticks)) + "." + name[1];
  FILE* file = folder.empty() ? nullptr : platform::OpenFile(path.c_str(), "w");
  if (!file) {
    const int error = errno;
    std::fprintf(stderr, "Error opening file.\n");
    Diagnostic("the new draft %s cannot be written (%s)",
               folder.empty() ? "(no drafts folder)" : path.c_str(),
               folder.empty() ? "no drafts folder can be made; set ORMADRAFT_DRAFTS" : std::strerror(error));
    return std::string();
  }
  bool ok = std::fputs(printed, file) >= 0 && std::fputs("\n", file) >= 0;
  ok = std::fclose(file) == 0 && ok;
  if (!ok) {
    LogLine("the new draft could not be written: %s\n", path.c_str());
    platform::RemoveFile(path.c_str());
    return std::string();
  }
  return path;
}

} // namespace

void SetLocalTimeFunction(LocalTimeFunction function) { gLocalTime = function ? function : SystemLocalTime; }

ThemeRequest* LoadThemeRequest(const char* requestPath) {
  const uint32_t ticks = platform::TimeGetTime();
  if (!requestPath || !*requestPath) return nullptr;
  Request record(NewRecord<ThemeRequest>());
  if (!record) return nullptr;
  const std::string path = AbsoluteRequestPath(requestPath);
  if (path.size() >= sizeof(record->requestPath)) return nullptr;
  draftjson::CopyTextZeroFilled(record->requestPath, sizeof(record->requestPath), path.c_str());

  std::string why;
  if (ReadThemeRequestWhy(record.get(), record->requestPath, &why) < 1) {
    Report(record.get(), why);
    return nullptr;
  }
  std::string config(record->themeConfigPath);
  for (char& c : config)
    if (platform::IsSeparator(c)) c = platform::kSeparator;

  if (!LocalStamp(record->stamp, sizeof(record->stamp))) {
    std::printf("localtime function failed");
    return nullptr;
  }

  record->themeMedia = LoadMediaList(record.get(), config.c_str(), 0, nullptr);
  record->userMedia = LoadMediaList(record.get(), record->requestPath, 1, "medias");

  std::string text;
  std::unique_ptr<cJSON, TreeCloser> tree;
  if (platform::ReadWholeFile(config.c_str(), &text))
    tree.reset(cJSON_ParseWithLength(text.c_str(), text.size()));
  if (!tree) {
    Report(record.get(), "the theme draft is not JSON: " + config);
    return nullptr;
  }
  if (StampMediaPaths(record.get(), tree.get()) < 1) {
    Report(record.get(),
           "the theme draft lacks \"mediaInfo\", \"scenes\", a scene's \"media\" or a \"path\": " + config);
    return nullptr;
  }
  if (!record->userMedia) {
    Report(record.get(), "no usable \"medias\"");
    return nullptr;
  }
  if (!record->themeMedia) {
    Report(record.get(), "the theme draft has no placeholders: " + config);
    return nullptr;
  }
  if (ApplyThemeMedia(record.get(), tree.get()) < 1) {
    Report(record.get(), "the theme could not be filled: " + config);
    return nullptr;
  }

  std::unique_ptr<char, void (*)(void*)> printed(cJSON_Print(tree.get()), std::free);
  tree.reset();
  if (!printed) return nullptr;
  const std::string draft = WriteDraft(printed.get(), ticks);
  if (draft.empty() || draft.size() >= sizeof(record->draftPath)) return nullptr;
  draftjson::CopyTextZeroFilled(record->draftPath, sizeof(record->draftPath), draft.c_str());
  return record.release();
}

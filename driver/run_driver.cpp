#include "driver/run_driver.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "draft/draft.h"
#include "driver/program_info.h"
#include "export/export_draft.h"
#include "export/export_message.h"
#include "platform/codepage.h"
#include "platform/diagnostic.h"
#include "platform/interrupt.h"
#include "platform/log_line.h"
#include "platform/platform.h"
#include "platform/text_number.h"
#include "preview/preview_command.h"
#include "themes/theme_request.h"

namespace {

// Seconds from the command line as microseconds, truncated toward zero;
// text that is not a number reads 0 and out-of-range values saturate.
int64_t SecondsArgToMicros(const char* text) {
  double us = std::atof(text) * 1000000.0;
  if (std::isnan(us)) return 0;
  if (us >= 9.2e18) return INT64_MAX;
  if (us <= -9.2e18) return INT64_MIN;
  return static_cast<int64_t>(us);
}

// A copy that the caller frees with free(), as AnsiToUtf8's result.
char* CopyOf(const char* text) {
  const size_t size = std::strlen(text) + 1;
  char* copy = static_cast<char*>(std::malloc(size));
  if (copy) std::memcpy(copy, text, size);
  return copy;
}

void PrintUsage() {
  LogLine("%s",
          platform::LocaleText("无效格式，请设置 json 文件，例如: OrmaDraft.exe d://draft.json \n").c_str());
  LogLine("%s",
          platform::LocaleText("无效格式，请设置 json 文件，例如: OrmaDraft.exe d://draft.json output.json\n")
              .c_str());
}

// The failure on standard error: the result, the export's message and its
// cause (the core library's reason after it, where a call of it failed).
void SayWhyTheExportFailed(int32_t result, const char* message) {
  const ExportFailureCause& cause = FailureCause();
  std::string why = cause.where;
  if (cause.libraryReason) {
    const std::string library = LibraryCause();
    if (!library.empty()) why = why.empty() ? library : why + ": " + library;
  }
  std::string text = message;
  if (!why.empty()) text = text.empty() ? why : text + " (" + why + ")";
  if (text.empty()) text = "no reason was given";
  Diagnostic("export failed, errorcode:%d: %s", result, text.c_str());
}

// The end of a run stopped by a signal before its export began: the files
// the run made go, and the usual last line says so.
int EndInterrupted(const std::string& workingCopy, const ThemeRequest* theme) {
  if (!workingCopy.empty()) platform::RemoveFile(workingCopy.c_str());
  if (theme && theme->draftPath[0]) platform::RemoveFile(theme->draftPath);
  Diagnostic("export failed, errorcode:%d: Export interrupted (stopped by %s)", kInterruptedExport,
             interrupt::SignalName(interrupt::Signal()));
  LogLine("export failed, errorcode:%d\n\n", kInterruptedExport);
  std::fflush(stdout);
  return 1;
}

} // namespace

int RunDriver(int argc, char** argv) {
  // "--help" and "--version" as the one argument are answered before a run starts.
  if (int status = 0; argc == 2 && RunInfoOption(argv[1], &status)) return status;
  char draftPath[2048] = {0};
  char exportPath[2048] = {0};
  char message[2048] = {0};
  char toDelete[2048] = {0};
  int64_t limitStart = 0;
  int64_t limitEnd = 0;
  uint8_t templateMode = 0;
  // When the run started: the progress lines and the result line count from here.
  const uint64_t startTicks = platform::TickCount64();

  // The preview command lives until the process ends: the pipe thread and the
  // export share it. Holding it here keeps it reachable for leak checkers.
  static std::unique_ptr<PreviewCommand> previewHolder;
  previewHolder.reset(parsePreviewCommand(argc, argv));
  PreviewCommand* preview = previewHolder.get();
  platform::RaisePriority();
  // An export stops cleanly on SIGINT, SIGTERM or SIGHUP; a preview keeps
  // ending at once, as its caller expects.
  if (!(preview && preview->hWnd != 0)) interrupt::Install();

  // The theme request, like the preview command, lives until the process ends.
  static std::unique_ptr<ThemeRequest, void (*)(ThemeRequest*)> themeHolder(nullptr, FreeThemeRequest);
  ThemeRequest* theme = nullptr;
  if (argc == 2 || (preview && preview->hWnd != 0)) {
    // The request's path in UTF-8, as every path inside the program: the
    // caller's relative media and "outputPath" are joined to its folder and
    // then handed to the core library.
    std::unique_ptr<char, void (*)(void*)> request(AnsiToUtf8(argv[1]), std::free);
    themeHolder.reset(LoadThemeRequest(request.get()));
    theme = themeHolder.get();
    if (theme && theme->draftPath[0]) {
      std::printf("load templateThems json success! themes json path:%s \n",
                  ConsoleText(theme->draftPath).c_str());
      templateMode = 1;
      platform::CopyText(draftPath, sizeof(draftPath), theme->draftPath);
    } else {
      LogLine("draft json path:%s\n", argv[1]);
      platform::CopyText(draftPath, sizeof(draftPath), argv[1]);
    }
  } else if (argc == 3) {
    LogLine("draft path:%s\n", argv[1]);
    LogLine("export path:%s\n", argv[2]);
    platform::CopyText(draftPath, sizeof(draftPath), argv[1]);
    platform::CopyText(exportPath, sizeof(exportPath), argv[2]);
  } else if (argc == 5) {
    platform::CopyText(draftPath, sizeof(draftPath), argv[1]);
    platform::CopyText(exportPath, sizeof(exportPath), argv[2]);
    limitStart = SecondsArgToMicros(argv[3]);
    limitEnd = SecondsArgToMicros(argv[4]);
  } else {
    PrintUsage();
    return 1;
  }

  // A theme's new draft is named from the program's own path, in UTF-8
  // already; only the command line's paths are in the ANSI code page.
  char* draftUtf8 = templateMode ? CopyOf(draftPath) : AnsiToUtf8(draftPath);
  char* exportUtf8 = exportPath[0] ? AnsiToUtf8(exportPath) : nullptr;

  // A draft named without any folder lies in the current one. Its folder is
  // what relative media, resources and the default output are joined to, so
  // the loader is given "./name" rather than a path with no folder at all.
  std::string draftArgument(draftUtf8);
  if (!templateMode && !draftArgument.empty() && draftArgument.find_first_of("\\/") == std::string::npos)
    draftArgument = std::string(".") + platform::kSeparator + draftArgument;

  // A signal while the theme was filled: its new draft goes.
  if (interrupt::Requested()) {
    std::free(draftUtf8);
    std::free(exportUtf8);
    return EndInterrupted("", theme);
  }

  DraftDocument* document = loadDraft(draftArgument.c_str(), exportUtf8, templateMode);
  if (interrupt::Requested()) {
    const std::string workingCopy = document ? document->draftPath : "";
    freeDraft(document);
    std::free(draftUtf8);
    std::free(exportUtf8);
    return EndInterrupted(workingCopy, theme);
  }
  if (!document) {
    LogLine("json load fail\n");
    std::fflush(stdout);
    std::free(draftUtf8);
    std::free(exportUtf8);
    return 0;
  }
  LogLine("json load success\n");
  std::fflush(stdout);

  if (theme) {
    if (theme->themeConfigPath[0]) {
      std::string folder(theme->themeConfigPath);
      size_t cut = folder.find_last_of("\\/");
      if (cut != std::string::npos) folder.resize(cut);
      platform::CopyText(document->resourceDir, sizeof(document->resourceDir), folder.c_str());
    }
    if (theme->outputPath[0])
      platform::CopyText(document->outputPath, sizeof(document->outputPath), theme->outputPath);
  }
  if (exportUtf8) platform::CopyText(document->exportPath, sizeof(document->exportPath), exportUtf8);
  document->exportStart = limitStart;
  document->exportEnd = limitEnd;
  if (preview && preview->hWnd != 0) {
    document->previewWindow = preview->hWnd;
    document->previewMode = 1;
    document->previewCommand = preview;
  }
  document->startTicks = startTicks;

  int32_t result = ExportDraft(document, message);

  // The working copy is deleted only when its codeset form fits the buffer
  // the run keeps for it.
  std::string workingCopy = templateMode && theme ? draftUtf8 : document->draftPath;
  int capacity = sizeof(toDelete);
  if (Utf8ToAnsi(workingCopy.c_str(), nullptr, toDelete, &capacity) > 0)
    platform::RemoveFile(workingCopy.c_str());

  freeDraft(document);
  std::free(draftUtf8);
  std::free(exportUtf8);

  if (result < 1) {
    SayWhyTheExportFailed(result, message);
    LogLine("export failed, errorcode:%d\n\n", result);
  } else {
    double seconds = static_cast<double>(platform::TickCount64() - startTicks) / 1000.0;
    LogLine("export success! time:%.1f(s)\n", seconds);
  }
  std::fflush(stdout);
  return 1;
}

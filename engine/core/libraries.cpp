#include "engine/core/libraries.h"

extern "C" {
#include <libavutil/buffer.h>
#include <libavutil/error.h>
#include <libavutil/log.h>
}

#if defined(_WIN32)
#include <windows.h>
#endif

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include "engine/core/files.h"
#include "engine/core/log.h"

namespace orma {

namespace {

std::mutex gErrorMutex;
std::string gLastError;
bool gVerbose = false;

void Remember(const char* text) {
  std::string line(text);
  while (!line.empty() && (line.back() == '\n' || line.back() == '\r'))
    line.pop_back();
  if (line.empty()) return;
  std::lock_guard<std::mutex> lock(gErrorMutex);
  gLastError = line;
}

void MltLogCallback(void* service, int level, const char* format, va_list args) {
  (void)service;
  if (level > MLT_LOG_ERROR && !gVerbose) return;
  char buffer[1024];
  std::vsnprintf(buffer, sizeof buffer, format, args);
  if (level <= MLT_LOG_ERROR) Remember(buffer);
  if (gVerbose) std::fprintf(stderr, "[mlt] %s", buffer);
}

void AvLogCallback(void* avcl, int level, const char* format, va_list args) {
  if (level > AV_LOG_ERROR && !gVerbose) return;
  char buffer[1024];
  int prefix = 1;
  av_log_format_line(avcl, level, format, args, buffer, sizeof buffer, &prefix);
  if (level <= AV_LOG_ERROR) Remember(buffer);
  if (gVerbose) std::fprintf(stderr, "[ffmpeg] %s", buffer);
}

// The folder of modules that the build puts beside the core library: links
// to MLT's own module files on Linux, the module DLLs themselves in the
// Windows package.
std::string ModuleFolder() {
  std::string library = LibraryFolder();
  if (library.empty()) return "";
  std::string folder = library + "/orma-mlt-modules";
#if defined(_WIN32)
  const char* const kCoreModule = "/libmltcore.dll";
#else
  const char* const kCoreModule = "/libmltcore.so";
#endif
  // A link left dangling (MLT moved or removed) leaves MLT's own folder.
  std::string error;
  if (ResolvedRegularFile(folder + kCoreModule, &error).empty()) return "";
  return folder;
}

} // namespace

bool HardwareDeviceOpens(AVHWDeviceType type, const char* device) {
#if defined(_WIN32)
  // A Direct3D device loads d3d11 and its relatives, whose start-up brings
  // up the display driver while the system's loader lock is held. Under
  // Wine another thread's first window call then waits for that lock
  // inside the driver's one-time start-up, and the start-up waits for it:
  // the export stalled at progress 0 in 2 of 10 runs with "hw" on. The
  // driver is brought up here first, outside any library's start-up; on
  // Windows this costs one screen DC.
  static std::once_flag display;
  std::call_once(display, [] {
    if (HDC screen = GetDC(nullptr)) ReleaseDC(nullptr, screen);
  });
#endif
  AVBufferRef* ref = nullptr;
  if (av_hwdevice_ctx_create(&ref, type, device, nullptr, 0) < 0) return false;
  av_buffer_unref(&ref); // only tried, not kept
  return true;
}

std::string AvError(int code) {
  char buffer[AV_ERROR_MAX_STRING_SIZE] = {0};
  av_strerror(code, buffer, sizeof buffer);
  return buffer;
}

void QuietLibraries() {
  static std::once_flag once;
  std::call_once(once, [] {
    const char* verbose = std::getenv("ORMA_VERBOSE");
    gVerbose = verbose && *verbose && std::strcmp(verbose, "0") != 0;
    av_log_set_callback(AvLogCallback);
  });
}

bool EnsureMlt() {
  static std::once_flag once;
  static bool ok = false;
  std::call_once(once, [] {
    QuietLibraries();
    mlt_log_set_callback(MltLogCallback);
    std::string folder = ModuleFolder();
    if (gVerbose)
      std::fprintf(stderr, "[mlt] modules from %s\n", folder.empty() ? "MLT's own folder" : folder.c_str());
    mlt_repository repository = mlt_factory_init(folder.empty() ? nullptr : folder.c_str());
    if (!repository) {
      LogText("cannot start the MLT framework");
      return;
    }
    mlt_log_set_level(gVerbose ? MLT_LOG_VERBOSE : MLT_LOG_ERROR);
    mlt_log_set_callback(MltLogCallback);
    av_log_set_callback(AvLogCallback);
    ok = true;
  });
  return ok;
}

std::string LastLibraryError() {
  std::lock_guard<std::mutex> lock(gErrorMutex);
  return gLastError;
}

void ClearLibraryError() {
  std::lock_guard<std::mutex> lock(gErrorMutex);
  gLastError.clear();
}

} // namespace orma

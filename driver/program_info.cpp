// --help and --version: the texts, and how they are told from a draft path.
// The program's version comes from the build (ORMADRAFT_VERSION, the CMake
// project version); MLT's and FFmpeg's from the core library, which reads
// them from the libraries it has loaded.
#include "driver/program_info.h"

#include <cstdio>
#include <cstring>
#include <string>

#include "corelib/orma_core.h"
#include "platform/resource_folders.h"

namespace {

const char kHelp[] =
    "Usage: ormadraft DRAFT.json [EXPORT.json [START END]]\n"
    "       ormadraft DRAFT.json PREVIEW.json\n"
    "       ormadraft REQUEST.json\n"
    "       ormadraft --help | --version\n"
    "\n"
    "Renders a video-editing draft (a JSON document) to a video file.\n"
    "\n"
    "  ormadraft DRAFT.json                        export to video.mp4 beside the draft\n"
    "  ormadraft REQUEST.json                      fill a template theme and export it\n"
    "  ormadraft DRAFT.json EXPORT.json            export with an export settings file\n"
    "  ormadraft DRAFT.json EXPORT.json START END  export only START to END (seconds)\n"
    "  ormadraft DRAFT.json PREVIEW.json           play into a window when PREVIEW.json is a\n"
    "                                              \"ThemesPreview\" command with a non-zero \"hWnd\"\n"
    "  ormadraft --help                            this text\n"
    "  ormadraft --version                         versions of the program, MLT and FFmpeg\n"
    "\n"
    "--help and --version are options only as the one argument; a draft named\n"
    "like them is given with its folder, as in ./--help.\n"
    "\n"
    "Export settings (JSON): \"video\" {\"fps\", \"bitrate\", \"encoder\", \"w\", \"h\"},\n"
    "\"audio\" {\"channels\", \"samples\", \"bitrate\"}, \"hw\" {\"decoder\", \"encoder\"},\n"
    "\"time\" {\"start\", \"end\"}, \"outUrl\".\n"
    "\n"
    "Standard output carries the log lines, \"progress:\" lines and a last line\n"
    "\"export success! time:T(s)\" or \"export failed, errorcode:N\". When standard\n"
    "error is a terminal it shows a progress bar (plain with NO_COLOR or TERM=dumb).\n"
    "\n"
    "Exit status: 1 after an export attempt, successful or not, and for a wrong\n"
    "number of arguments; 0 when the draft could not be loaded, and after --help\n"
    "or --version.\n"
    "\n"
    "Environment: ORMADRAFT_DRIVE_MAP (drive letters to folders, \"D:=/srv/media\"),\n"
    "ORMADRAFT_RESOURCES (the resource folder), ORMADRAFT_THEMES (the theme library),\n"
    "ORMADRAFT_DRAFTS (drafts made from theme requests), NO_COLOR, TERM, ORMA_TRACE (log of\n"
    "core library calls), ORMA_VERBOSE (MLT and FFmpeg messages on standard error),\n"
    "ORMA_FACE_CASCADES (OpenCV's Haar cascades).\n"
    "\n"
    "See ormadraft(1) for the whole manual.\n";

const char* OrUnknown(const char* text) { return text[0] ? text : "unknown"; }

} // namespace

void PrintHelp() {
  std::fputs(kHelp, stdout);
  const std::string resources = platform::ResourceFolder();
  std::printf("Resource folder: %s\n", resources.empty() ? "none found" : resources.c_str());
  std::fflush(stdout);
}

void PrintVersion() {
  OrmaVersionBlock versions{};
  if (OrmaGetVersions(&versions) < 1) versions = OrmaVersionBlock{};
  // The block's texts are terminated by the library; the last byte is kept
  // zero in case a library version does not.
  versions.core[sizeof versions.core - 1] = versions.mlt[sizeof versions.mlt - 1] = '\0';
  versions.ffmpeg[sizeof versions.ffmpeg - 1] = '\0';
  versions.libavformat[sizeof versions.libavformat - 1] = '\0';
  versions.libavcodec[sizeof versions.libavcodec - 1] = '\0';
  std::printf("ormadraft %s\n", ORMADRAFT_VERSION);
  std::printf("libOrmaCore %s\n", OrUnknown(versions.core));
  std::printf("MLT %s\n", OrUnknown(versions.mlt));
  std::printf("FFmpeg %s (libavformat %s, libavcodec %s)\n", OrUnknown(versions.ffmpeg),
              OrUnknown(versions.libavformat), OrUnknown(versions.libavcodec));
  std::fflush(stdout);
}

bool RunInfoOption(const char* argument, int* status) {
  if (!argument) return false;
  if (std::strcmp(argument, "--help") == 0) {
    PrintHelp();
  } else if (std::strcmp(argument, "--version") == 0) {
    PrintVersion();
  } else {
    return false;
  }
  *status = 0;
  return true;
}

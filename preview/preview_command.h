// The preview command: what a "ThemesPreview" command file asks for (the
// window to play into, the control pipe's name) and its reader. The driver
// reads it from the command line and hands it to the document; the pipe
// control thread (pipe_control.h) marks it stopped.
#pragma once

#include <atomic>
#include <cstdint>

/// Preview request read from a "ThemesPreview" command file.
struct PreviewCommand {
  float ver;
  char type[1024];
  char pipeName[1024];
  int32_t loop;
  char key[1024];
  char value[1024];
  std::atomic<int32_t> stopped; ///< written once 0 -> 1 by the pipe thread
  uint64_t hWnd;                ///< window to play into; 0 means none
};

/// Reads argv[2] as a preview command file when argc is 3; null otherwise.
PreviewCommand* parsePreviewCommand(int argc, char** argv);

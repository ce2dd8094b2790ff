// libFuzzer target: the preview's two inputs on arbitrary bytes. The bytes
// are the preview command file ("ThemesPreview", read by
// parsePreviewCommand), and, cut to the receive buffer's size as the
// control pipe cuts them, one message of the control pipe (ExecuteMessage:
// "play", "pause", "seek", "stop"). A command read from them must hold
// terminated texts; a "seek" may name any percentage of any length. The
// preview calls go to the recording double.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "preview/pipe_control.h"
#include "preview/preview_command.h"
#include "tests/fuzz/fuzz_support.h"
#include "tests/support/recording_core.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string& folder = fuzz::ScratchFolder("preview");
  static const bool quiet = [] {
    // ExecuteMessage prints each key; that would only slow the run down.
    return std::freopen("/dev/null", "w", stdout) != nullptr;
  }();
  (void)quiet;
  std::string path = folder + "/preview.json";
  fuzz::WriteFile(path, data, size);

  char program[] = "ormadraft";
  char draft[] = "draft.json"; // the command line: program, draft, preview command file
  char* argv[] = {program, draft, path.data(), nullptr};
  PreviewCommand* command = parsePreviewCommand(3, argv);
  if (command) {
    for (const char* text : {command->type, command->pipeName, command->key, command->value})
      if (!std::memchr(text, 0, 1024)) std::abort();
    if (std::strcmp(command->type, "ThemesPreview") != 0) std::abort();
  } else {
    command = new PreviewCommand{};
  }

  char message[kPipeMessageSize + 1] = {};
  std::memcpy(message, data, size < kPipeMessageSize ? size : kPipeMessageSize);
  recorder::Reset();
  if (message[0]) ExecuteMessage(message, reinterpret_cast<OrmaVideoHandle>(0x1), command, 61000000);
  for (int64_t total : {int64_t{0}, int64_t{-1}, INT64_MAX, INT64_MIN})
    SeekPosition(message, total);
  delete command;
  return 0;
}

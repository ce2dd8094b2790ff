// The fuzz corpus of the preview's inputs (tests/fuzz/corpus-preview-messages,
// crash inputs kept there included), replayed as fuzz_preview_messages runs
// it, so that `make test` and `make asan-test` run it without libFuzzer:
// every file is read as a preview command file and, cut to the pipe's
// receive buffer, as a pipe message. The seeds that are whole commands or
// messages must do what they say.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "preview/pipe_control.h"
#include "preview/preview_command.h"
#include "tests/support/recording_core.h"

namespace {

namespace fs = std::filesystem;

const fs::path kCorpus = fs::path(ORMA_SOURCE_DIR) / "tests" / "fuzz" / "corpus-preview-messages";

std::string ReadBytes(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

// The preview command read from `path`, or null.
PreviewCommand* ReadCommand(const fs::path& path) {
  std::string text = path.string();
  char program[] = "ormadraft";
  char draft[] = "draft.json"; // the command line: program, draft, preview command file
  char* argv[] = {program, draft, text.data(), nullptr};
  return parsePreviewCommand(3, argv);
}

// Runs the file's bytes as one pipe message on `command` against a 20 s
// preview; the calls it made.
std::vector<std::string> RunAsMessage(const std::string& bytes, PreviewCommand* command) {
  char message[kPipeMessageSize + 1] = {};
  std::memcpy(message, bytes.data(), std::min<size_t>(bytes.size(), kPipeMessageSize));
  recorder::Reset();
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  if (message[0]) ExecuteMessage(message, reinterpret_cast<OrmaVideoHandle>(0x1), command, 20000000);
  testing::internal::GetCapturedStdout();
  testing::internal::GetCapturedStderr();
  return recorder::Formatted("OrmaPreview");
}

std::vector<fs::path> CorpusFiles() {
  std::vector<fs::path> files;
  for (const auto& entry : fs::directory_iterator(kCorpus))
    if (entry.is_regular_file()) files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  return files;
}

} // namespace

TEST(PreviewCorpus, EveryFileIsReadAsACommandFileAndAsAPipeMessage) {
  int files = 0;
  for (const fs::path& path : CorpusFiles()) {
    PreviewCommand* command = ReadCommand(path);
    if (command) EXPECT_STREQ(command->type, "ThemesPreview") << path;
    PreviewCommand empty{};
    RunAsMessage(ReadBytes(path), command ? command : &empty);
    delete command;
    ++files;
  }
  EXPECT_GE(files, 8);
}

TEST(PreviewCorpus, TheWholeCommandsAndMessagesDoWhatTheySay) {
  PreviewCommand* command = ReadCommand(kCorpus / "command.json");
  ASSERT_NE(command, nullptr);
  EXPECT_STREQ(command->pipeName, "ormadraft-preview");
  EXPECT_EQ(command->hWnd, 0x3a00007u);
  EXPECT_EQ(command->loop, 1);
  EXPECT_STREQ(command->key, "play");

  std::vector<std::string> calls = RunAsMessage(ReadBytes(kCorpus / "seek-pause.json"), command);
  ASSERT_EQ(calls.size(), 2u);
  EXPECT_EQ(calls[0], "OrmaPreviewSeek(0x1, 10000000)"); // 50 % of 20 s
  EXPECT_EQ(calls[1], "OrmaPreviewPause(0x1)");

  EXPECT_EQ(command->stopped.load(), 0);
  RunAsMessage(ReadBytes(kCorpus / "stop.json"), command);
  EXPECT_EQ(command->stopped.load(), 1);
  delete command;

  // A message cut short is no message: nothing runs.
  PreviewCommand empty{};
  EXPECT_TRUE(RunAsMessage(ReadBytes(kCorpus / "truncated.json"), &empty).empty());
}

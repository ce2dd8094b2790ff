// The fuzz corpora of the program's readers, replayed as their fuzz targets
// run them, so that `make test` and `make asan-test` run them without
// libFuzzer (crash inputs kept there included). Preview inputs
// (tests/fuzz/corpus-preview-messages): every file is read as a preview
// command file and, cut to the pipe's receive buffer, as a pipe message; the
// seeds that are whole commands or messages must do what they say. Caption
// styles (tests/fuzz/corpus-caption-style): every file is the style of a
// piece whose item block the program fills; the shipped styles fill it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "export/captions.h"
#include "preview/pipe_control.h"
#include "preview/preview_command.h"
#include "tests/support/caption_test_support.h"
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
    if (command) {
      EXPECT_STREQ(command->type, "ThemesPreview") << path;
    }
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

TEST(CaptionStyleCorpus, EveryStyleFillsAPieceBlockAndTheShippedOnesTheirSize) {
  captiontest::TempDir dir;
  captiontest::Document document(dir / "d_1.json");
  CaptionRecord* caption = document.AddCaption("style");
  caption->timelineTo = 3.0f;
  CaptionWord* word = captiontest::Document::AddWord(caption, "piece");
  int files = 0;
  for (const auto& entry :
       fs::directory_iterator(fs::path(ORMA_SOURCE_DIR) / "tests/fuzz/corpus-caption-style")) {
    const std::string text = ReadBytes(entry.path());
    dir.Write("style/config.json", text);
    OrmaCaptionItemBlock block;
    std::memset(&block, 0, sizeof block);
    const int32_t result = FillCaptionItemParam(document.get(), caption, word, &block);
    const std::string name = entry.path().filename().string();
    if (name.rfind("malformed-", 0) != 0 && name.rfind("regression-", 0) != 0) {
      EXPECT_EQ(result, 1) << entry.path();
      EXPECT_STREQ(block.text, "piece") << entry.path();
      EXPECT_GT(block.styleWidth, 0) << entry.path();
      EXPECT_GT(block.styleHeight, 0) << entry.path();
    }
    ++files;
  }
  EXPECT_GE(files, 8);
}

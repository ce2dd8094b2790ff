#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "preview/preview_command.h"

namespace {

class PreviewCommandFile : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/ormadraft-preview-XXXXXX";
    folder_ = mkdtemp(pattern);
  }
  void TearDown() override {
    for (PreviewCommand* c : parsed_) delete c;
    std::system(("rm -rf " + folder_).c_str());
  }

  PreviewCommand* Parse(const std::string& json, int argc = 3) {
    std::string path = folder_ + "/command.json";
    FILE* f = std::fopen(path.c_str(), "wb");
    std::fputs(json.c_str(), f);
    std::fclose(f);
    std::string program = "ormadraft", draft = "draft.json";
    char* argv[] = {program.data(), draft.data(), path.data(), nullptr};
    PreviewCommand* command = parsePreviewCommand(argc, argv);
    if (command) parsed_.push_back(command);
    return command;
  }

  std::string folder_;
  std::vector<PreviewCommand*> parsed_;
};

TEST_F(PreviewCommandFile, ReadsEveryField) {
  PreviewCommand* c = Parse(R"({"type": "ThemesPreview", "pipeName": "\\\\.\\pipe\\p", "hWnd": "1A2B",
      "ver": 1.5, "loop": 2.9, "message": {"key": "k", "value": "v"}})");
  ASSERT_NE(c, nullptr);
  EXPECT_STREQ(c->type, "ThemesPreview");
  EXPECT_STREQ(c->pipeName, "\\\\.\\pipe\\p");
  EXPECT_EQ(c->hWnd, 6699u);
  EXPECT_FLOAT_EQ(c->ver, 1.5f);
  EXPECT_EQ(c->loop, 2);
  EXPECT_STREQ(c->key, "k");
  EXPECT_STREQ(c->value, "v");
  EXPECT_EQ(c->stopped.load(), 0);
}

TEST_F(PreviewCommandFile, AcceptsHexWithPrefix) {
  PreviewCommand* c = Parse(R"({"type": "ThemesPreview", "hWnd": "0x1A2B"})");
  ASSERT_NE(c, nullptr);
  EXPECT_EQ(c->hWnd, 6699u);
}

TEST_F(PreviewCommandFile, AbsentWindowIsZero) {
  PreviewCommand* c = Parse(R"({"type": "ThemesPreview"})");
  ASSERT_NE(c, nullptr);
  EXPECT_EQ(c->hWnd, 0u);
}

TEST_F(PreviewCommandFile, TypeValueIsCaseSensitiveButKeyIsNot) {
  EXPECT_EQ(Parse(R"({"type": "themespreview", "hWnd": "1"})"), nullptr);
  EXPECT_NE(Parse(R"({"TYPE": "ThemesPreview", "hWnd": "1"})"), nullptr);
}

TEST_F(PreviewCommandFile, OnlyTheThreeArgumentFormIsRead) {
  EXPECT_EQ(Parse(R"({"type": "ThemesPreview", "hWnd": "1"})", 2), nullptr);
  EXPECT_EQ(Parse(R"({"type": "ThemesPreview", "hWnd": "1"})", 5), nullptr);
}

TEST_F(PreviewCommandFile, MalformedOrMissingFileIsNoCommand) {
  EXPECT_EQ(Parse("{\"type\": "), nullptr);
  std::string program = "p", draft = "d", missing = folder_ + "/none.json";
  char* argv[] = {program.data(), draft.data(), missing.data(), nullptr};
  EXPECT_EQ(parsePreviewCommand(3, argv), nullptr);
}

TEST_F(PreviewCommandFile, NonStringWindowIsIgnored) {
  PreviewCommand* c = Parse(R"({"type": "ThemesPreview", "hWnd": 1234})");
  ASSERT_NE(c, nullptr);
  EXPECT_EQ(c->hWnd, 0u);
}

} // namespace

#include <gtest/gtest.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "driver/run_driver.h"
#include "platform/codepage.h"
#include "platform/platform.h"
#include "tests/support/joined_path.h"
#include "tests/support/recording_core.h"
#include "tests/support/stopping_pipe.h"
#include "tests/unit/draft_fixture.h"

namespace fs = std::filesystem;
using testpath::Joined;

namespace {

const char* kDraft = R"({ "ver": 5, "size": {"width": 320, "height": 180},
  "mediaInfo": [ {"path": "a.png", "timelineFrom": 0, "timelineTo": 1} ],
  "scenes": [ {"media": [ {"path": "a.png", "trimTimeStart": 0, "trimTimeEnd": 1} ]} ] })";

class RunDriverTest : public ::testing::Test {
protected:
  void SetUp() override {
    recorder::Reset();
    char pattern[] = "/tmp/ormadraft-driver-XXXXXX";
    folder_ = mkdtemp(pattern);
  }
  void TearDown() override {
    std::error_code ec;
    fs::remove_all(folder_, ec);
  }

  std::string Write(const std::string& name, const std::string& text) {
    std::string path = folder_ + "/" + name;
    std::ofstream(path, std::ios::binary) << text;
    return path;
  }

  // Runs the driver with these arguments after the program name; returns the
  // exit status and keeps what it printed.
  int Run(std::vector<std::string> args) {
    args.insert(args.begin(), "ormadraft");
    std::vector<char*> argv;
    for (auto& a : args)
      argv.push_back(a.data());
    argv.push_back(nullptr);
    testing::internal::CaptureStdout();
    int status = RunDriver(static_cast<int>(args.size()), argv.data());
    out_ = testing::internal::GetCapturedStdout();
    return status;
  }

  bool Printed(const std::string& text) const { return out_.find(text) != std::string::npos; }
  bool Called(const std::string& call) const {
    for (const auto& c : recorder::Formatted())
      if (c == call) return true;
    return false;
  }
  std::vector<std::string> Listing() const {
    std::vector<std::string> names;
    for (const auto& e : fs::recursive_directory_iterator(folder_))
      names.push_back(e.path().string());
    std::sort(names.begin(), names.end());
    return names;
  }

  std::string folder_;
  std::string out_;
};

TEST_F(RunDriverTest, OneArgumentThatIsNoThemeRequestIsExportedAsDraft) {
  std::string draft = Write("d.json", kDraft);
  EXPECT_EQ(Run({draft}), 1);
  EXPECT_TRUE(Printed("] -- draft json path:" + draft + "\n"));
  // The loader stores the draft's path with the system's separators.
  EXPECT_TRUE(Called("OrmaSetOutPath(h1, \"" + Joined(drafttest::Native(folder_), "video.mp4") + "\")"));
  EXPECT_TRUE(Printed("] -- export success! time:"));
}

TEST_F(RunDriverTest, PreviewCommandWithWindowGoesThroughThemeStep) {
  std::string draft = Write("d.json", kDraft);
  const std::string pipe = TestPipeName(folder_ + "/x");
  std::string preview = Write("p.json", R"({"type": "ThemesPreview", "hWnd": "1A2B", "pipeName": ")" +
                                            PipeNameInJson(pipe) + R"("})");
  StoppingPipe application(pipe);
  testing::internal::CaptureStderr();
  EXPECT_EQ(Run({draft, preview}), 1);
  testing::internal::GetCapturedStderr();
  EXPECT_TRUE(Printed("ExportDraft out!\n"));
  EXPECT_TRUE(Printed("] -- draft json path:" + draft + "\n"));
  EXPECT_FALSE(Printed("export path:"));
  EXPECT_TRUE(Called("OrmaSetPreviewWindowsHwnd(h1, 6699)"));
  EXPECT_FALSE(Called("OrmaSetFrameSize(h1, 320, 180)"));
}

TEST_F(RunDriverTest, PreviewCommandWithWindowZeroIsAnExportSettingsFile) {
  std::string draft = Write("d.json", kDraft);
  std::string preview = Write("p.json", R"({"type": "ThemesPreview", "hWnd": "0"})");
  EXPECT_EQ(Run({draft, preview}), 1);
  EXPECT_TRUE(Printed("] -- draft path:" + draft + "\n"));
  EXPECT_TRUE(Printed("] -- export path:" + preview + "\n"));
  EXPECT_TRUE(Called("OrmaSetFrameSize(h1, 320, 180)"));
}

TEST_F(RunDriverTest, RangeArgumentsAreMicroseconds) {
  std::string draft = Write("d.json", kDraft);
  std::string settings = Write("e.json", "{}");
  Run({draft, settings, "1.5", "3.25"});
  EXPECT_TRUE(Printed("nLimitTimelineStart:1500000 nLimitTimelineEnd:3250000\n"));
  EXPECT_TRUE(Called("OrmaEditSetLimitTime(h1, 1500000, 3250000)"));
  EXPECT_FALSE(Printed("draft path:"));
}

TEST_F(RunDriverTest, RangeWordsReadAsZero) {
  std::string draft = Write("d.json", kDraft);
  std::string settings = Write("e.json", "{}");
  Run({draft, settings, "x", "y"});
  EXPECT_TRUE(Printed("nLimitTimelineStart:0 nLimitTimelineEnd:0\n"));
  for (const auto& name : recorder::CallNames())
    EXPECT_NE(name, "OrmaEditSetLimitTime");
}

TEST_F(RunDriverTest, ThreeArgumentsOrNonePrintUsage) {
  for (auto args : {std::vector<std::string>{}, std::vector<std::string>{"a", "b", "c"}}) {
    recorder::Reset();
    EXPECT_EQ(Run(args), 1);
    EXPECT_TRUE(Printed("OrmaDraft.exe d://draft.json \n"));
    EXPECT_TRUE(Printed("OrmaDraft.exe d://draft.json output.json\n"));
    EXPECT_TRUE(recorder::Calls().empty());
  }
}

TEST_F(RunDriverTest, NonAnsiPathsAreConvertedForLoadingAndDeleting) {
  if (!std::setlocale(LC_CTYPE, "zh_CN.GBK")) GTEST_SKIP() << "zh_CN.GBK is not installed";
  std::string gbkName = "\xB2\xDD\xB8\xE5.json"; // 草稿.json in GBK bytes
  std::string draft = Write(gbkName, kDraft);
  auto before = Listing();
  int status = Run({draft});
  std::setlocale(LC_CTYPE, "C");
  EXPECT_EQ(status, 1);
  EXPECT_TRUE(Printed("] -- json load success\n"));
  EXPECT_TRUE(Printed("] -- export success!"));
  EXPECT_EQ(Listing(), before); // the working copy was found and deleted
}

#if defined(_WIN32)
// The same on Windows, in whichever ANSI code page the run has: the name is
// written in UTF-8 (草稿 under 936, café under 1252) and given in ANSI.
TEST_F(RunDriverTest, ADraftNamedInTheAnsiCodePageIsExportedAndItsWorkingCopyDeleted) {
  const bool gbk = platform::AnsiCodeset() == "CP936";
  const std::string utf8 = folder_ + "\\" + (gbk ? "草稿.json" : "café.json");
  FILE* f = platform::OpenFile(utf8.c_str(), "wb");
  ASSERT_NE(f, nullptr);
  std::fputs(kDraft, f);
  std::fclose(f);
  char ansi[512] = {0};
  int capacity = sizeof(ansi);
  ASSERT_GT(Utf8ToAnsi(utf8.c_str(), nullptr, ansi, &capacity), 0);
  auto before = Listing();
  EXPECT_EQ(Run({ansi}), 1);
  EXPECT_TRUE(Printed("] -- json load success\n")) << out_;
  EXPECT_TRUE(Printed("] -- export success!")) << out_;
  EXPECT_EQ(Listing(), before); // the working copy was found and deleted
}
#endif

TEST_F(RunDriverTest, WorkingCopyIsDeletedAfterTheExport) {
  std::string draft = Write("Project.json", kDraft);
  auto before = Listing();
  Run({draft});
  EXPECT_EQ(Listing(), before);
}

TEST_F(RunDriverTest, LoadFailureEndsWithStatusZeroAndDeletesNothing) {
  std::string draft = Write("bad.json", "{ not json");
  auto before = Listing();
  EXPECT_EQ(Run({draft}), 0);
  EXPECT_TRUE(Printed("] -- json load fail\n"));
  EXPECT_EQ(Listing(), before);
  EXPECT_TRUE(recorder::Calls().empty());
}

TEST_F(RunDriverTest, FailedExportStillEndsWithStatusOne) {
  std::string draft = Write("d.json", kDraft);
  recorder::SetResult("OrmaVirtualVideoCreate", 0);
  EXPECT_EQ(Run({draft}), 1);
  EXPECT_TRUE(Printed("] -- export failed, errorcode:-1515\n\n"));
}

} // namespace

#include <regex>

#include "export/export_draft.h"
#include "platform/platform.h"
#include "tests/unit/export_fixtures.h"

namespace {

// The progress lines of a captured console text.
std::vector<std::string> ProgressLines(const std::string& text) {
  static const std::regex line(R"(\[[0-9:]+/[A-Za-z]+ +[0-9]+ [0-9]+ - [0-9]+\] -- (progress:[^\n]*)\n)");
  std::vector<std::string> found;
  for (auto it = std::sregex_iterator(text.begin(), text.end(), line); it != std::sregex_iterator(); ++it)
    found.push_back((*it)[1]);
  return found;
}

size_t Polls() {
  size_t polls = 0;
  for (const std::string& name : recorder::CallNames())
    polls += name == "OrmaEditProgress";
  return polls;
}

OrmaVideoHandle VirtualVideo() { return OrmaVirtualVideoCreate(); }

} // namespace

TEST(ExportProgress, PrintsOnTheFirstAndEveryFifthPoll) {
  recorder::Reset();
  OrmaVideoHandle vv = VirtualVideo();
  recorder::QueueResults("OrmaEditProgress", {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11});
  testing::internal::CaptureStdout();
  ProgressReporter(vv, platform::TickCount64());
  const std::vector<std::string> lines = ProgressLines(testing::internal::GetCapturedStdout());
  // Polls 1, 6 and 11 print; the twelfth answers the double's 100 and ends
  // the thread without a line of its own.
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_EQ(lines[0].rfind("progress:1.000000 time:", 0), 0u) << lines[0];
  EXPECT_EQ(lines[1].rfind("progress:6.000000 time:", 0), 0u) << lines[1];
  EXPECT_EQ(lines[2].rfind("progress:11.000000 time:", 0), 0u) << lines[2];
  EXPECT_TRUE(std::regex_match(lines[0], std::regex(R"(progress:1\.000000 time:[0-9]+\.[0-9]\(s\))")));
  EXPECT_EQ(Polls(), 12u);
  for (const std::string& call : recorder::Formatted("OrmaEditProgress"))
    EXPECT_EQ(call, "OrmaEditProgress(h1)");
}

TEST(ExportProgress, EndsOnlyWhenProgressReachesNinetyNinePointFive) {
  recorder::Reset();
  OrmaVideoHandle vv = VirtualVideo();
  recorder::QueueResults("OrmaEditProgress", {99, 99, 100, 50});
  testing::internal::CaptureStdout();
  ProgressReporter(vv, platform::TickCount64());
  const std::vector<std::string> lines = ProgressLines(testing::internal::GetCapturedStdout());
  EXPECT_EQ(Polls(), 3u);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].rfind("progress:99.000000 time:", 0), 0u);
}

TEST(ExportProgress, FinishedExportPrintsItsOnlyPoll) {
  recorder::Reset();
  OrmaVideoHandle vv = VirtualVideo();
  testing::internal::CaptureStdout();
  ProgressReporter(vv, platform::TickCount64());
  const std::vector<std::string> lines = ProgressLines(testing::internal::GetCapturedStdout());
  EXPECT_EQ(Polls(), 1u);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].rfind("progress:100.000000 time:", 0), 0u);
}

TEST(ExportProgress, NullHandleDoesNothing) {
  recorder::Reset();
  testing::internal::CaptureStdout();
  ProgressReporter(nullptr, platform::TickCount64());
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_TRUE(recorder::Calls().empty());
}

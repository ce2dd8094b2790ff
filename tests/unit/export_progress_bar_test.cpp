// The export's progress bar: its line for a given state and width, in colour
// and as plain text, and its drawing into a stream by the progress thread,
// with frames counted from the recording double's playback positions.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <regex>
#include <string>

#include "export/export_draft.h"
#include "export/progress_bar.h"
#include "platform/platform.h"
#include "tests/support/recording_core.h"

namespace {

ProgressSnapshot Halfway() {
  ProgressSnapshot s;
  s.percent = 45;
  s.framesDone = 135;
  s.framesTotal = 300;
  s.framesPerSecond = 29.71;
  s.elapsedSeconds = 4.5;
  s.secondsLeft = 5.4;
  return s;
}

// Everything written to a temporary stream.
std::string Contents(FILE* stream) {
  std::fflush(stream);
  std::rewind(stream);
  std::string text;
  char buffer[4096];
  size_t n;
  while ((n = std::fread(buffer, 1, sizeof buffer, stream)) > 0)
    text.append(buffer, n);
  return text;
}

// The drawings of a stream: the texts between carriage returns.
std::vector<std::string> Drawings(const std::string& text) {
  std::vector<std::string> found;
  size_t at = 0;
  while ((at = text.find('\r', at)) != std::string::npos) {
    size_t end = text.find_first_of("\r\n", at + 1);
    found.push_back(text.substr(at + 1, end == std::string::npos ? std::string::npos : end - at - 1));
    at = at + 1;
  }
  return found;
}

} // namespace

TEST(ProgressBarLine, PlainTextShowsPercentBarFramesRateAndTimes) {
  const std::string line = FormatProgressBar(Halfway(), 100, BarStyle::Plain);
  EXPECT_EQ(line, " 45% [#############-----------------]  135/300 frames  29.7 fps  0:04 elapsed  0:05 left");
  EXPECT_EQ(line.find('\x1b'), std::string::npos);
}

TEST(ProgressBarLine, ColourMarksTheDonePartAndShowsTheSameText) {
  const std::string line = FormatProgressBar(Halfway(), 100, BarStyle::Color);
  EXPECT_NE(line.find("\x1b[32m#############\x1b[0m"), std::string::npos) << line;
  const std::string text = std::regex_replace(line, std::regex("\x1b\\[[0-9;]*m"), "");
  EXPECT_EQ(text, FormatProgressBar(Halfway(), 100, BarStyle::Plain));
}

TEST(ProgressBarLine, NeverReachesTheLastColumnOfANarrowTerminal) {
  for (int columns : {80, 60, 50, 40, 30, 20, 10, 5, 1}) {
    const std::string line = FormatProgressBar(Halfway(), columns, BarStyle::Plain);
    EXPECT_LE(static_cast<int>(line.size()), std::max(columns - 1, 0)) << columns << ": " << line;
  }
  // Narrow: the bar goes first, then the frame count; the percentage stays.
  EXPECT_EQ(FormatProgressBar(Halfway(), 60, BarStyle::Plain),
            " 45%  135/300 frames  29.7 fps  0:04 elapsed  0:05 left");
  EXPECT_EQ(FormatProgressBar(Halfway(), 40, BarStyle::Plain), " 45%  29.7 fps  0:04 elapsed  0:05 left");
  EXPECT_EQ(FormatProgressBar(Halfway(), 10, BarStyle::Plain), " 45%");
}

TEST(ProgressBarLine, UnknownRateAndTimeLeftShowDashes) {
  ProgressSnapshot s;
  s.percent = 0;
  const std::string line = FormatProgressBar(s, 120, BarStyle::Plain);
  EXPECT_NE(line.find("  0 frames  -- fps  0:00 elapsed  --:-- left"), std::string::npos) << line;
}

TEST(ProgressBarLine, ClockCountsMinutesAndFromAnHourOnHours) {
  EXPECT_EQ(FormatClock(0), "0:00");
  EXPECT_EQ(FormatClock(59.9), "0:59");
  EXPECT_EQ(FormatClock(754), "12:34");
  EXPECT_EQ(FormatClock(3600 + 62), "1:01:02");
  EXPECT_EQ(FormatClock(-1), "--:--");
}

TEST(ProgressBarStyle, NoColorOrADumbTerminalGivePlainText) {
  ::setenv("TERM", "xterm-256color", 1);
  ::unsetenv("NO_COLOR");
  EXPECT_EQ(BarStyleFromEnvironment(), BarStyle::Color);
  ::setenv("NO_COLOR", "1", 1);
  EXPECT_EQ(BarStyleFromEnvironment(), BarStyle::Plain);
  ::setenv("NO_COLOR", "", 1); // set but empty does not count
  EXPECT_EQ(BarStyleFromEnvironment(), BarStyle::Color);
  ::setenv("TERM", "dumb", 1);
  EXPECT_EQ(BarStyleFromEnvironment(), BarStyle::Plain);
  ::unsetenv("NO_COLOR");
  ::unsetenv("TERM");
}

TEST(ProgressBarDrawing, ThreadDrawsFramesOfTheRangeAndEndsTheLine) {
  recorder::Reset();
  const uint64_t startTicks = platform::TickCount64();
  OrmaVideoHandle vv = OrmaVirtualVideoCreate();
  // A 10 s range from 2 s at 30 fps: 300 frames; positions after frames 0,
  // 60, 150 and 300.
  recorder::QueueResults("OrmaEditProgress", {0, 20, 50, 100});
  recorder::QueueResults("OrmaGetCurrentPlaybackTime", {4000000, 7000000, 12000000});
  FILE* stream = std::tmpfile();
  ASSERT_NE(stream, nullptr);
  ProgressBar bar(stream, 100, BarStyle::Plain, ProgressRange{30, 2000000, 12000000}, startTicks);
  testing::internal::CaptureStdout();
  ProgressReporter(vv, startTicks, &bar);
  const std::string out = testing::internal::GetCapturedStdout();
  const std::string drawn = Contents(stream);
  std::fclose(stream);

  // The first poll prints its line only; polls two and three draw, the last
  // draws the end and the line end.
  const std::vector<std::string> drawings = Drawings(drawn);
  ASSERT_EQ(drawings.size(), 3u) << drawn;
  EXPECT_NE(drawings[0].find(" 20% [######------------------------]  60/300 frames"), std::string::npos)
      << drawings[0];
  EXPECT_NE(drawings[1].find(" 50% [###############---------------]  150/300 frames"), std::string::npos)
      << drawings[1];
  EXPECT_NE(drawings[2].find("100% [##############################]  300/300 frames"), std::string::npos)
      << drawings[2];
  EXPECT_NE(drawings[2].find("0:00 left"), std::string::npos) << drawings[2];
  EXPECT_EQ(drawn.back(), '\n');
  EXPECT_EQ(drawn.find('\x1b'), std::string::npos);
  // Standard output has exactly the lines it has without a bar.
  EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 1) << out;
  EXPECT_NE(out.find("progress:0.000000 time:"), std::string::npos);
}

TEST(ProgressBarDrawing, RedrawsAtMostTenTimesASecond) {
  recorder::Reset();
  OrmaVideoHandle vv = OrmaVirtualVideoCreate();
  FILE* stream = std::tmpfile();
  ASSERT_NE(stream, nullptr);
  ProgressBar bar(stream, 100, BarStyle::Color, ProgressRange{25, 0, 4000000}, platform::TickCount64());
  for (int i = 0; i < 50; ++i)
    bar.Update(vv, 10);
  platform::SleepMs(110);
  bar.Update(vv, 11);
  const std::string drawn = Contents(stream);
  std::fclose(stream);
  EXPECT_EQ(Drawings(drawn).size(), 2u) << drawn;
  // Colour lines clear what a longer line left behind with an escape.
  EXPECT_NE(drawn.find("\x1b[K"), std::string::npos);
}

TEST(ProgressBarDrawing, PlainTextBlanksWhatALongerLineLeft) {
  recorder::Reset();
  const uint64_t startTicks = platform::TickCount64();
  OrmaVideoHandle vv = OrmaVirtualVideoCreate();
  recorder::QueueResults("OrmaGetCurrentPlaybackTime", {40000000, 0});
  FILE* stream = std::tmpfile();
  ASSERT_NE(stream, nullptr);
  ProgressBar bar(stream, 200, BarStyle::Plain, ProgressRange{25, 0, 100000000}, startTicks);
  bar.Update(vv, 40); // "1000/2500 frames"
  platform::SleepMs(110);
  bar.Update(vv, 40); // "0/2500 frames": three characters shorter
  const std::vector<std::string> drawings = Drawings(Contents(stream));
  std::fclose(stream);
  ASSERT_EQ(drawings.size(), 2u);
  EXPECT_EQ(drawings[1].size(), drawings[0].size());
  EXPECT_EQ(drawings[1].substr(drawings[1].size() - 3), "   ");
}

TEST(ProgressBarDrawing, ExportThatStoppedEarlyShowsTheFramesItRendered) {
  recorder::Reset();
  const uint64_t startTicks = platform::TickCount64();
  OrmaVideoHandle vv = OrmaVirtualVideoCreate();
  // The library answers 100 also after a failure; the position tells where
  // the export stopped: 1 s of a 4 s range at 25 fps.
  recorder::QueueResults("OrmaEditProgress", {0, 100});
  recorder::QueueResults("OrmaGetCurrentPlaybackTime", {1000000});
  FILE* stream = std::tmpfile();
  ASSERT_NE(stream, nullptr);
  ProgressBar bar(stream, 100, BarStyle::Plain, ProgressRange{25, 0, 4000000}, startTicks);
  testing::internal::CaptureStdout();
  ProgressReporter(vv, startTicks, &bar);
  testing::internal::GetCapturedStdout();
  const std::vector<std::string> drawings = Drawings(Contents(stream));
  std::fclose(stream);
  ASSERT_EQ(drawings.size(), 1u);
  EXPECT_NE(drawings[0].find("  25/100 frames"), std::string::npos) << drawings[0];
}

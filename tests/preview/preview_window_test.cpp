// ormadraft previews a two-scene draft (red, then blue) in a window of the
// test, steered over the control socket: the times it replies with, the
// pictures the window shows at those times, and the end of the run.
#include <chrono>
#include <cmath>
#include <thread>

#include "tests/preview/preview_fixture.h"

namespace previewtest {
namespace {

using Clock = std::chrono::steady_clock;

void Sleep(double seconds) { std::this_thread::sleep_for(std::chrono::duration<double>(seconds)); }

constexpr double kFrame = 0.04; // 25 frames per second

TEST_F(PreviewTest, PlaytimeAdvancesInRealTimeWhilePlayingAndHoldsWhilePaused) {
  Begin();
  const Reply first = session_->Exchange(kAsk);
  ASSERT_TRUE(first.ok) << first.text << session_->Err();
  EXPECT_EQ(first.totaltime, "4.000000");
  const auto start = Clock::now();
  const Reply before = session_->Exchange(kAsk);
  Sleep(1.0);
  const Reply after = session_->Exchange(kAsk);
  const double wall = std::chrono::duration<double>(Clock::now() - start).count();
  const double rate = (after.play - before.play) / wall;
  EXPECT_GE(rate, 0.8) << before.playtime << " " << after.playtime << " in " << wall << " s";
  EXPECT_LE(rate, 1.2) << before.playtime << " " << after.playtime << " in " << wall << " s";

  const Reply paused = session_->Exchange(Command("pause"));
  Sleep(0.5);
  const Reply later = session_->Exchange(kAsk);
  EXPECT_NEAR(later.play, paused.play, kFrame) << paused.playtime << " then " << later.playtime;

  const Reply stopped = session_->Exchange(Command("stop"));
  EXPECT_TRUE(stopped.ok);
  EXPECT_TRUE(session_->Closed(5));
  EXPECT_EQ(session_->Wait(15), 1) << session_->Out() << session_->Err();
  const std::string out = session_->Out();
  EXPECT_NE(out.find("Client connected to the server.\n"), std::string::npos) << out;
  EXPECT_NE(out.find("Key: pause, Value: \n"), std::string::npos) << out;
  EXPECT_NE(out.find("Key: stop, Value: \n"), std::string::npos) << out;
  EXPECT_NE(out.find("ExportDraft out!\n"), std::string::npos) << out;
  EXPECT_NE(out.find("export success! time:"), std::string::npos) << out;
  EXPECT_NE(session_->Err().find(" pipe thread finish \n"), std::string::npos) << session_->Err();
  // The caller's window stays, without what the engine made inside it.
  EXPECT_TRUE(window_->Exists());
  EXPECT_EQ(window_->Children(), 0);
}

TEST_F(PreviewTest, SeekShowsTheDraftsPictureAtTheNewPositionWithBarsAroundIt) {
  Begin(480, 360);
  session_->Exchange(Command("pause"));
  Reply r = session_->Exchange(Command("seek", "50"));
  EXPECT_NEAR(r.play, 2.0, kFrame) << r.playtime;
  Rgb c = Centre();
  EXPECT_TRUE(Near(c, kBlue)) << ToString(c);
  // 16:9 in 4:3: black bars above and below the picture (45 pixels each).
  c = window_->At(240, 10);
  EXPECT_TRUE(Near(c, kBlack, 10)) << ToString(c);
  c = window_->At(240, 350);
  EXPECT_TRUE(Near(c, kBlack, 10)) << ToString(c);

  r = session_->Exchange(Command("seek", "25"));
  EXPECT_NEAR(r.play, 1.0, kFrame) << r.playtime;
  c = Centre();
  EXPECT_TRUE(Near(c, kRed)) << ToString(c);

  // Seeking while playing shows the new picture too.
  session_->Exchange(Command("play"));
  r = session_->Exchange(Command("seek", "75"));
  EXPECT_NEAR(r.play, 3.0, 2 * kFrame) << r.playtime;
  c = Centre();
  EXPECT_TRUE(Near(c, kBlue)) << ToString(c);

  // Two commands in one message, in order, with one reply.
  r = session_->Exchange(R"({"message": [{"key": "pause", "value": ""}, {"key": "seek", "value": "0"}]})");
  EXPECT_TRUE(r.ok);
  EXPECT_NEAR(r.play, 0.0, kFrame) << r.playtime;
  Sleep(0.3);
  r = session_->Exchange(kAsk);
  EXPECT_NEAR(r.play, 0.0, kFrame) << r.playtime; // still paused
  c = Centre();
  EXPECT_TRUE(Near(c, kRed)) << ToString(c);

  // A message that is a single object runs nothing and is still answered.
  r = session_->Exchange(R"({"message": {"key": "seek", "value": "50"}})");
  EXPECT_TRUE(r.ok);
  EXPECT_NEAR(r.play, 0.0, kFrame) << r.playtime;
  c = Centre();
  EXPECT_TRUE(Near(c, kRed)) << ToString(c);
  session_->Exchange(Command("stop"));
  EXPECT_EQ(session_->Wait(15), 1) << session_->Out() << session_->Err();
}

TEST_F(PreviewTest, ThePictureFollowsTheWindowWhenItIsResized) {
  Begin(480, 270);
  session_->Exchange(Command("pause"));
  session_->Exchange(Command("seek", "50"));
  window_->Resize(640, 240);
  // 16:9 in 640×240: a 427×240 picture with bars left and right.
  Sleep(0.5);
  session_->Exchange(kAsk);
  Rgb c = window_->At(20, 120);
  EXPECT_TRUE(Near(c, kBlack, 10)) << ToString(c);
  c = window_->At(620, 120);
  EXPECT_TRUE(Near(c, kBlack, 10)) << ToString(c);
  c = window_->At(320, 120);
  EXPECT_TRUE(Near(c, kBlue)) << ToString(c);
  c = window_->At(120, 120);
  EXPECT_TRUE(Near(c, kBlue)) << ToString(c);
  session_->Exchange(Command("stop"));
  EXPECT_EQ(session_->Wait(15), 1);
}

TEST_F(PreviewTest, AtTheEndTheLastPictureStaysAndPlayStartsAgainFromTheBeginning) {
  Begin();
  session_->Exchange(Command("seek", "90"));
  Sleep(1.0);
  Reply r = session_->Exchange(kAsk);
  EXPECT_EQ(r.playtime, "4.000000");
  EXPECT_EQ(r.totaltime, "4.000000");
  Sleep(0.3);
  r = session_->Exchange(kAsk);
  EXPECT_EQ(r.playtime, "4.000000"); // paused at the end
  Rgb c = Centre();
  EXPECT_TRUE(Near(c, kBlue)) << ToString(c);

  r = session_->Exchange(Command("play"));
  EXPECT_LT(r.play, 0.3) << r.playtime;
  Sleep(0.3);
  r = session_->Exchange(kAsk);
  EXPECT_GT(r.play, 0.1) << r.playtime;
  c = Centre();
  EXPECT_TRUE(Near(c, kRed)) << ToString(c);
  session_->Exchange(Command("stop"));
  EXPECT_EQ(session_->Wait(15), 1);
}

TEST_F(PreviewTest, AReplyForOneAndAHalfSecondsOfTenCarriesSixDecimals) {
  WriteDraft(5, 10);
  Begin();
  session_->Exchange(Command("pause"));
  const Reply r = session_->Exchange(Command("seek", "15"));
  EXPECT_EQ(r.playtime, "1.500000") << r.text;
  EXPECT_EQ(r.totaltime, "10.000000") << r.text;
  // Printed with cJSON's formatted printer: tabs and new lines.
  EXPECT_EQ(r.text, "{\n\t\"message\":\t[{\n\t\t\t\"key\":\t\"playtime\",\n\t\t\t\"value\":\t\"1.500000\"\n"
                    "\t\t}, {\n\t\t\t\"key\":\t\"totaltime\",\n\t\t\t\"value\":\t\"10.000000\"\n\t\t}]\n}");
  session_->Exchange(Command("stop"));
  EXPECT_EQ(session_->Wait(15), 1);
}

} // namespace
} // namespace previewtest

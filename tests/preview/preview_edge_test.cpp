// How a preview copes with what a calling application should not do: odd
// seek values, long or malformed messages, a socket closed without "stop",
// and a window or display that is not there. None of them may crash the
// program or keep it from being ended.
#include <chrono>
#include <string>
#include <thread>

#include "tests/preview/preview_fixture.h"

namespace previewtest {
namespace {

constexpr double kFrame = 0.04;

TEST_F(PreviewTest, OddSeekValuesAreHeldToTheTimeline) {
  Begin();
  session_->Exchange(Command("pause"));
  Reply r = session_->Exchange(Command("seek", "50"));
  r = session_->Exchange(Command("seek", "abc")); // no number: 0
  EXPECT_NEAR(r.play, 0.0, kFrame) << r.playtime;
  EXPECT_TRUE(Near(Centre(), kRed));
  session_->Exchange(Command("seek", "50"));
  r = session_->Exchange(Command("seek", "-10")); // before the start: the start
  EXPECT_NEAR(r.play, 0.0, kFrame) << r.playtime;
  EXPECT_TRUE(Near(Centre(), kRed));
  r = session_->Exchange(Command("seek", "99999")); // past the end: the end
  EXPECT_EQ(r.playtime, "4.000000");
  EXPECT_TRUE(Near(Centre(), kBlue));
  session_->Exchange(Command("seek", "0"));
  r = session_->Exchange(Command("seek", "100"));
  EXPECT_EQ(r.playtime, "4.000000");
  EXPECT_TRUE(Near(Centre(), kBlue));
  session_->Exchange(Command("stop"));
  EXPECT_EQ(session_->Wait(15), 1);
}

TEST_F(PreviewTest, LongMessagesAndElementsWithoutKeyOrValueAreHandled) {
  Begin();
  session_->Exchange(Command("pause"));
  // 256 bytes or more: cut at 256, which leaves this one whole.
  Reply r = session_->Exchange(Command("seek", "25") + std::string(300, ' '));
  ASSERT_TRUE(r.ok) << session_->Err();
  EXPECT_NEAR(r.play, 1.0, kFrame) << r.playtime;
  r = session_->Exchange(R"({"message": [{"value": "play"}, {"key": "seek"}, 5]})");
  ASSERT_TRUE(r.ok);
  EXPECT_NEAR(r.play, 0.0, kFrame) << r.playtime; // a seek without value: 0
  session_->Exchange(Command("stop"));
  EXPECT_EQ(session_->Wait(15), 1);
}

// Only "stop" ends a preview by itself: after these the process waits, and
// the application ends it.
void ExpectWaitingUntilTerminated(PreviewSession& session, TestWindow& window, int width, int height) {
  EXPECT_EQ(session.Wait(1.0), -1) << session.Out() << session.Err();
  const Rgb shown = window.At(width / 2, height / 2);
  EXPECT_FALSE(Near(shown, Rgb{255, 255, 255}, 10)) << "the preview stopped showing pictures";
  session.Terminate();
  EXPECT_EQ(session.Wait(5), -2) << "a signal must end a waiting preview";
}

TEST_F(PreviewTest, TextThatIsNotJsonEndsTheControlButNotThePreview) {
  Begin();
  ASSERT_TRUE(session_->Exchange(kAsk).ok);
  ASSERT_TRUE(session_->Send("play it again"));
  EXPECT_FALSE(session_->Exchange(kAsk, 1).ok); // no reply any more
  EXPECT_NE(session_->Err().find("Error before: play it again"), std::string::npos) << session_->Err();
  ExpectWaitingUntilTerminated(*session_, *window_, width_, height_);
}

TEST_F(PreviewTest, AMessageCutInsideItsJsonEndsTheControlButNotThePreview) {
  Begin();
  ASSERT_TRUE(
      session_->Send(R"({"message": [{"key": "pause", "value": ")" + std::string(300, 'x') + R"("}]})"));
  EXPECT_FALSE(session_->Exchange(kAsk, 1).ok);
  EXPECT_NE(session_->Err().find("Error before: "), std::string::npos) << session_->Err();
  ExpectWaitingUntilTerminated(*session_, *window_, width_, height_);
}

TEST_F(PreviewTest, AnApplicationThatClosesTheSocketLeavesAPreviewThatASignalEnds) {
  Begin();
  ASSERT_TRUE(session_->Exchange(kAsk).ok);
  session_->CloseSocket();
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
  EXPECT_NE(session_->Err().find("ReadFile failed: 32\n"), std::string::npos) << session_->Err();
  ExpectWaitingUntilTerminated(*session_, *window_, width_, height_);
}

// No picture can be shown: the preview call fails with one line naming the
// cause, and the control pipe still works until "stop".
void ExpectFailedPreviewStillControlled(PreviewSession& session, const std::string& cause) {
  const Reply r = session.Exchange(kAsk);
  EXPECT_TRUE(r.ok);
  EXPECT_EQ(r.playtime, "0.000000");
  EXPECT_EQ(r.totaltime, "4.000000");
  EXPECT_TRUE(session.Exchange(Command("play")).ok);
  EXPECT_TRUE(session.Exchange(Command("stop")).ok);
  EXPECT_EQ(session.Wait(15), 1);
  const std::string out = session.Out();
  EXPECT_NE(out.find("[OrmaCore] OrmaPreview failed (-41): " + cause), std::string::npos) << out;
  EXPECT_NE(out.find("ExportDraft out!\n"), std::string::npos) << out;
  EXPECT_NE(out.find("export failed, errorcode:-41"), std::string::npos) << out;
}

TEST_F(PreviewTest, WithoutADisplayThePreviewFailsButIsStillControlled) {
  Begin(480, 360, "DISPLAY=");
  ExpectFailedPreviewStillControlled(*session_, "no X display (DISPLAY is not set)");
}

TEST_F(PreviewTest, AWindowThatDoesNotExistFailsThePreviewButItIsStillControlled) {
  Begin(480, 360, "", "0x7ffff0");
  ExpectFailedPreviewStillControlled(*session_, "there is no window 0x7ffff0 on the X display");
}

} // namespace
} // namespace previewtest

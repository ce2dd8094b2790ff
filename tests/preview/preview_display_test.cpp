// How a preview reaches its application and its display: a pipe name whose
// Windows prefix is written in upper case is the same pipe (Windows compares
// pipe names without case), and an X display that goes away during playback
// does not end the program: the control pipe keeps being answered and the
// preview ends as "stop" says.
#include <chrono>
#include <string>
#include <thread>

#include "tests/preview/preview_fixture.h"

namespace previewtest {
namespace {

TEST_F(PreviewTest, APipeNameWithItsPrefixInUpperCaseReachesTheApplication) {
  pipePrefix_ = "\\\\.\\PIPE\\";
  Begin();
  const Reply r = session_->Exchange(kAsk);
  ASSERT_TRUE(r.ok) << session_->Out() << session_->Err();
  EXPECT_EQ(r.totaltime, "4.000000");
  EXPECT_TRUE(session_->Exchange(Command("stop")).ok);
  EXPECT_EQ(session_->Wait(15), 1);
  EXPECT_NE(session_->Out().find("Client connected to the server.\n"), std::string::npos) << session_->Out();
  EXPECT_EQ(session_->Err().find("CreateFile failed"), std::string::npos) << session_->Err();
}

TEST_F(PreviewTest, APreviewWhoseDisplayGoesAwayKeepsAnsweringAndEndsOnStop) {
  // A display of this test's own, so that the others keep theirs.
  XvfbServer server;
  ASSERT_FALSE(server.display().empty()) << server.error();
  TestWindow window(server.display(), 480, 360);
  ASSERT_TRUE(window.ok());
  const std::string id = window.Id();
  window.Release();
  WriteDraft(2, 30);
  session_ = std::make_unique<PreviewSession>(folder_);
  ASSERT_TRUE(session_->Start(folder_ + "/draft.json", id, server.display()));
  ASSERT_TRUE(session_->Accept()) << session_->Out() << session_->Err();
  Reply r = session_->Exchange(Command("play"));
  ASSERT_TRUE(r.ok) << session_->Err();
  std::this_thread::sleep_for(std::chrono::milliseconds(500));

  server.Kill();
  std::this_thread::sleep_for(std::chrono::milliseconds(700));
  ASSERT_EQ(session_->Wait(0), -1) << "the program ended with its display\n"
                                   << session_->Out() << session_->Err();
  r = session_->Exchange(kAsk);
  ASSERT_TRUE(r.ok) << session_->Out() << session_->Err();
  EXPECT_EQ(r.totaltime, "30.000000");
  // The playback goes on without pictures: its clock still runs.
  const double before = r.play;
  std::this_thread::sleep_for(std::chrono::milliseconds(600));
  r = session_->Exchange(kAsk);
  ASSERT_TRUE(r.ok);
  EXPECT_GT(r.play, before + 0.3) << r.playtime;
  r = session_->Exchange(Command("seek", "50"));
  ASSERT_TRUE(r.ok);
  EXPECT_NEAR(r.play, 15.0, 0.5) << r.playtime;

  EXPECT_TRUE(session_->Exchange(Command("stop")).ok);
  EXPECT_EQ(session_->Wait(15), 1) << session_->Out() << session_->Err();
  const std::string out = session_->Out();
  EXPECT_NE(out.find("preview: the X display was lost"), std::string::npos) << out;
  EXPECT_NE(out.find("ExportDraft out!\n"), std::string::npos) << out;
  EXPECT_NE(out.find("-- export success!"), std::string::npos) << out;
  EXPECT_NE(session_->Err().find(" pipe thread finish \n"), std::string::npos) << session_->Err();
  EXPECT_EQ(session_->Err().find("XIO:"), std::string::npos) << session_->Err();
}

} // namespace
} // namespace previewtest

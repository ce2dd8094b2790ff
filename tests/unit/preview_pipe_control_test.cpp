// The preview's control thread served over a connected control pipe (a
// named pipe on Windows, a socket pair on POSIX), with the recording double
// standing for the core library: which library calls each command makes, the
// seek arithmetic, the reply texts, the console lines, and how the thread
// ends on each failure. The test plays the calling application on one end of
// the pipe; the thread under test serves the other.
#include <gtest/gtest.h>

#include <cjson/cJSON.h>

#include <atomic>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "preview/pipe_control.h"
#include "tests/support/app_pipe.h"
#include "tests/support/recording_core.h"

namespace {

using Strings = std::vector<std::string>;

class ControlThread : public ::testing::Test {
protected:
  void SetUp() override {
    recorder::Reset();
    vv_ = OrmaVirtualVideoCreate(); // "h1"
    ASSERT_TRUE(ConnectedPair(&app_, &served_));
    connected_ = true;
  }
  void TearDown() override {
    if (thread_.joinable()) Stop();
    app_.Close();
    // The thread closes its end itself after "stop", and only then; closing
    // it again could close a handle or descriptor reused since.
    if (connected_ && command_.stopped == 0) preview::ClosePipe(served_);
  }

  void Start() {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    thread_ = std::thread([this] {
      ServeControlPipe(served_, vv_, &command_);
      ended_ = true;
    });
  }
  // Joins the thread (which must be ending) and keeps what it printed.
  void Stop() {
    thread_.join();
    out_ = testing::internal::GetCapturedStdout();
    err_ = testing::internal::GetCapturedStderr();
  }

  void Send(const std::string& text) { ASSERT_TRUE(app_.Send(text)); }
  // The next reply, or "" when the thread closed its end.
  std::string Receive() { return app_.Receive(); }
  // The reply's two values, by key.
  static Strings Values(const std::string& reply) {
    Strings values;
    cJSON* root = cJSON_Parse(reply.c_str());
    const cJSON* list = cJSON_GetObjectItem(root, "message");
    for (const cJSON* e = list ? list->child : nullptr; e; e = e->next)
      values.push_back(std::string(cJSON_GetObjectItem(e, "key")->valuestring) + "=" +
                       cJSON_GetObjectItem(e, "value")->valuestring);
    cJSON_Delete(root);
    return values;
  }
  Strings PreviewCalls() const {
    Strings calls;
    for (const std::string& c : recorder::Formatted("OrmaPreview"))
      calls.push_back(c);
    return calls;
  }

  OrmaVideoHandle vv_ = nullptr;
  PreviewCommand command_{};
  AppPipe app_;
  preview::PipeHandle served_{};
  bool connected_ = false;
  std::thread thread_;
  std::atomic<bool> ended_{false};
  std::string out_, err_;
};

TEST(PlaybackReply, IsPrintedWithTabsAndSixDecimals) {
  char* text = BuildPlaybackReply(1.5f, 10.0f);
  EXPECT_STREQ(text, "{\n\t\"message\":\t[{\n\t\t\t\"key\":\t\"playtime\",\n\t\t\t\"value\":\t\"1.500000\"\n"
                     "\t\t}, {\n\t\t\t\"key\":\t\"totaltime\",\n\t\t\t\"value\":\t\"10.000000\"\n\t\t}]\n}");
  cJSON_free(text);
}

TEST(SeekArithmetic, TakesTheLeadingIntegerAsAPercentageOfTheTotal) {
  EXPECT_EQ(SeekPosition("50", 10000000), 5000000);
  EXPECT_EQ(SeekPosition("100", 10000000), 10000000);
  EXPECT_EQ(SeekPosition("-10", 10000000), -1000000);
  EXPECT_EQ(SeekPosition("37.9", 10000000), 3700000);
  EXPECT_EQ(SeekPosition("33", 1000001), 330000); // 33000033 / 100, truncated
  EXPECT_EQ(SeekPosition("abc", 10000000), 0);
  EXPECT_EQ(SeekPosition("", 10000000), 0);
  EXPECT_EQ(SeekPosition("99999", 10000000), 9999900000);
}

TEST(SeekArithmetic, HoldsAnOversizedPercentageToTheIntRangeInsteadOfOverflowing) {
  EXPECT_EQ(SeekPosition("99999999999999", 100), 2147483647);
  EXPECT_EQ(SeekPosition("2147483647", INT64_MAX / 2), INT64_MAX);
  EXPECT_EQ(SeekPosition("-2147483648", INT64_MAX / 2), INT64_MIN);
}

TEST_F(ControlThread, AnswersEveryMessageWithThePositionAndTheTotalReadBeforeIt) {
  recorder::QueueResults("OrmaGetTotalPlaybackTime", {10000000, 20000000});
  recorder::SetResult("OrmaGetCurrentPlaybackTime", 1500000);
  Start();
  Send(R"({"message": [{"key": "seek", "value": "50"}]})");
  EXPECT_EQ(Values(Receive()), (Strings{"playtime=1.500000", "totaltime=10.000000"}));
  Send(R"({"message": [{"key": "seek", "value": "50"}]})");
  EXPECT_EQ(Values(Receive()), (Strings{"playtime=1.500000", "totaltime=20.000000"}));
  Send(R"({"message": [{"key": "stop", "value": ""}]})");
  Receive();
  Stop();
  EXPECT_EQ(PreviewCalls(), (Strings{"OrmaPreviewSeek(h1, 5000000)", "OrmaPreviewSeek(h1, 10000000)",
                                     "OrmaPreviewStop(h1)"}));
}

TEST_F(ControlThread, RunsEachCommandWithItsOwnLibraryCallInArrayOrder) {
  recorder::SetResult("OrmaGetTotalPlaybackTime", 10000000);
  Start();
  Send(R"({"message": [{"key": "pause", "value": ""}, {"key": "seek", "value": "0"}]})");
  EXPECT_FALSE(Receive().empty());
  Send(R"({"message": [{"key": "play", "value": "x"}, {"key": "Play", "value": ""},
                      {"key": "rewind", "value": "1"}]})");
  EXPECT_FALSE(Receive().empty());
  Send(R"({"MESSAGE": [{"key": "stop", "value": ""}]})");
  EXPECT_FALSE(Receive().empty());
  Stop();
  EXPECT_EQ(PreviewCalls(), (Strings{"OrmaPreviewPause(h1)", "OrmaPreviewSeek(h1, 0)",
                                     "OrmaPreviewConintue(h1)", "OrmaPreviewStop(h1)"}));
  EXPECT_EQ(out_, "Client connected to the server.\nKey: pause, Value: \nKey: seek, Value: 0\n"
                  "Key: play, Value: x\nKey: Play, Value: \nKey: rewind, Value: 1\nKey: stop, Value: \n");
}

TEST_F(ControlThread, StopSendsTheLastReplyThenClosesThePipeAndSetsStopped) {
  Start();
  Send(R"({"message": [{"key": "stop", "value": ""}]})");
  EXPECT_EQ(Values(Receive()).size(), 2u);
  EXPECT_EQ(Receive(), ""); // the thread closed its end
  Stop();
  EXPECT_EQ(command_.stopped, 1);
  EXPECT_EQ(err_, " pipe thread finish \n");
}

TEST_F(ControlThread, AMessageThatIsASingleObjectRunsNothingAndIsStillAnswered) {
  Start();
  Send(R"({"message": {"key": "pause", "value": ""}})");
  EXPECT_EQ(Values(Receive()).size(), 2u);
  Send(R"({"message": []})");
  EXPECT_EQ(Values(Receive()).size(), 2u);
  Send(R"({"message": [{"key": "stop"}]})");
  Receive();
  Stop();
  EXPECT_EQ(PreviewCalls(), Strings{"OrmaPreviewStop(h1)"});
}

TEST_F(ControlThread, ElementsWithoutAKeyAreSkippedAndAMissingValueReadsAsEmpty) {
  recorder::SetResult("OrmaGetTotalPlaybackTime", 10000000);
  Start();
  Send(R"({"message": [{"value": "pause"}, {"key": 5, "value": "1"}, "seek", 7,
                       {"key": "seek"}, {"key": "seek", "value": 40}]})");
  EXPECT_EQ(Values(Receive()).size(), 2u);
  Send(R"({"message": [{"key": "stop", "value": ""}]})");
  Receive();
  Stop();
  EXPECT_EQ(PreviewCalls(),
            (Strings{"OrmaPreviewSeek(h1, 0)", "OrmaPreviewSeek(h1, 0)", "OrmaPreviewStop(h1)"}));
}

TEST_F(ControlThread, BadSeekValuesArePassedOnAsComputed) {
  recorder::SetResult("OrmaGetTotalPlaybackTime", 10000000);
  Start();
  Send(R"({"message": [{"key": "seek", "value": "abc"}, {"key": "seek", "value": "-10"},
                       {"key": "seek", "value": "100"}, {"key": "seek", "value": "99999"}]})");
  EXPECT_EQ(Values(Receive()).size(), 2u);
  Send(R"({"message": [{"key": "stop", "value": ""}]})");
  Receive();
  Stop();
  EXPECT_EQ(PreviewCalls(), (Strings{"OrmaPreviewSeek(h1, 0)", "OrmaPreviewSeek(h1, -1000000)",
                                     "OrmaPreviewSeek(h1, 10000000)", "OrmaPreviewSeek(h1, 9999900000)",
                                     "OrmaPreviewStop(h1)"}));
}

TEST_F(ControlThread, TextThatIsNotJsonEndsTheThreadWithoutReplyOrStop) {
  Start();
  Send("play please");
  Stop(); // the thread ends by itself
  EXPECT_EQ(err_, "Error before: play please\n");
  EXPECT_EQ(command_.stopped, 0);
  EXPECT_TRUE(PreviewCalls().empty());
}

#if !defined(_WIN32)
TEST_F(ControlThread, AMessageOf256BytesOrMoreIsCutAtTheBuffer) {
  recorder::SetResult("OrmaGetTotalPlaybackTime", 10000000);
  Start();
  // Its JSON ends early: the blanks after it are cut off and never matter.
  Send(R"({"message": [{"key": "seek", "value": "50"}]})" + std::string(400, ' '));
  EXPECT_EQ(Values(Receive()).size(), 2u);
  // A shorter message after the long one is read on its own.
  Send(R"({"message": []})");
  EXPECT_EQ(Values(Receive()).size(), 2u);
  // Its JSON runs past 256 bytes: what is left is not JSON.
  Send(R"({"message": [{"key": "pause", "value": ")" + std::string(300, 'x') + R"("}]})");
  Stop();
  EXPECT_EQ(err_.rfind("Error before: ", 0), 0u);
  EXPECT_EQ(PreviewCalls(), Strings{"OrmaPreviewSeek(h1, 5000000)"});
}
#else
// The program reads the named pipe in its default byte mode, 256 bytes at a
// time: what a longer message holds beyond them is the next text read.
TEST_F(ControlThread, AMessageOf256BytesOrMoreIsReadInPiecesOfTheBuffer) {
  recorder::SetResult("OrmaGetTotalPlaybackTime", 10000000);
  Start();
  // Its JSON ends early; the first 256 bytes are a message with blanks after
  // it, the rest is blanks only, which is not JSON and ends the thread.
  Send(R"({"message": [{"key": "seek", "value": "50"}]})" + std::string(400, ' '));
  EXPECT_EQ(Values(Receive()).size(), 2u);
  Stop();
  EXPECT_EQ(err_.rfind("Error before: ", 0), 0u);
  EXPECT_EQ(PreviewCalls(), Strings{"OrmaPreviewSeek(h1, 5000000)"});
}
#endif

TEST_F(ControlThread, AnEmptyMessageIsAnsweredAndAClosedPipeEndsTheThread) {
  Start();
  Send("");
  EXPECT_EQ(Values(Receive()).size(), 2u);
  app_.Close();
  Stop();
  EXPECT_EQ(err_, "ReadFile failed: " + std::to_string(AppPipe::kClosedError) + "\n");
  EXPECT_EQ(command_.stopped, 0);
}

TEST_F(ControlThread, AReplyThatCannotBeWrittenEndsTheThreadWithItsError) {
  // The message is there to be read, but the thread's end can no longer send.
  Send(R"({"message": [{"key": "pause", "value": ""}]})");
#if defined(_WIN32)
  // A named pipe has no half-close: the application closes its end, which
  // leaves the message it wrote readable and makes writes fail.
  app_.Close();
  const std::string error = "232"; // ERROR_NO_DATA, "The pipe is being closed."
#else
  ASSERT_EQ(shutdown(served_, SHUT_WR), 0);
  const std::string error = "32"; // EPIPE
#endif
  Start();
  Stop();
  EXPECT_EQ(out_, "Client connected to the server.\nKey: pause, Value: \n");
  EXPECT_EQ(err_, "WriteFile failed: " + error + "\n");
  EXPECT_EQ(PreviewCalls(), Strings{"OrmaPreviewPause(h1)"});
  EXPECT_EQ(command_.stopped, 0);
}

TEST_F(ControlThread, APipeThatCannotBeClosedAfterStopIsReportedAndTheThreadStillFinishes) {
  Start();
  Send(R"({"message": [{"key": "stop", "value": ""}]})");
  EXPECT_EQ(Values(Receive()).size(), 2u);
  // The thread waits 100 ms after its reply before it closes its end; closed
  // here first, its own close fails.
#if defined(_WIN32)
  ASSERT_TRUE(CloseHandle(served_));
  const std::string error = "6"; // ERROR_INVALID_HANDLE
#else
  ASSERT_EQ(close(served_), 0);
  const std::string error = "9"; // EBADF
#endif
  Stop();
  EXPECT_EQ(err_, "CloseHandle failed: " + error + "\n pipe thread finish \n");
  EXPECT_EQ(command_.stopped, 1);
}

} // namespace

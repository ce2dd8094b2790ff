// The preview as the export runs it: the pipe name mapping, connecting to the
// application's pipe (and failing to), and the wait for "stop" with the
// line that ends it. The application is played by a test thread that hosts
// the pipe (tests/support/app_pipe.h: a message-mode named pipe on Windows,
// a SOCK_SEQPACKET socket on POSIX); the core library is the recording
// double.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "preview/control_pipe.h"
#include "preview/pipe_control.h"
#include "preview/preview_run.h"
#include "tests/support/app_pipe.h"
#include "tests/support/recording_core.h"

namespace fs = std::filesystem;

namespace {

class PreviewRun : public ::testing::Test {
protected:
  void SetUp() override {
    recorder::Reset();
    char pattern[] = "/tmp/ormadraft-pipe-XXXXXX";
    folder_ = mkdtemp(pattern);
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    if (runtime) savedRuntime_ = runtime;
    hadRuntime_ = runtime != nullptr;
    setenv("XDG_RUNTIME_DIR", folder_.c_str(), 1);
    document_.previewCommand = &command_;
  }
  void TearDown() override {
    if (hadRuntime_)
      setenv("XDG_RUNTIME_DIR", savedRuntime_.c_str(), 1);
    else
      unsetenv("XDG_RUNTIME_DIR");
    std::error_code ec;
    fs::remove_all(folder_, ec);
  }

  std::string folder_, savedRuntime_;
  bool hadRuntime_ = false;
  PreviewCommand command_{};
  DraftDocument document_{};
};

#if defined(_WIN32)
TEST_F(PreviewRun, APipeNameIsOpenedAsItIsWritten) {
  EXPECT_EQ(preview::PipePath("\\\\.\\pipe\\orma_1"), "\\\\.\\pipe\\orma_1");
  EXPECT_EQ(preview::PipePath("relative name"), "relative name");
}

// Windows itself compares pipe names without case, so the program passes
// the name on as it is and "\\.\PIPE\" reaches a pipe made as "\\.\pipe\".
TEST_F(PreviewRun, TheWindowsPipePrefixIsRecognisedInAnyCase) {
  const std::string name = TestPipeName("");
  AppPipe app;
  ASSERT_TRUE(app.Host(name));
  std::string upper = name;
  upper.replace(upper.find("pipe"), 4, "PIPE");
  preview::PipeHandle served{};
  ASSERT_EQ(preview::ConnectPipe(upper.c_str(), &served), 0);
  EXPECT_TRUE(app.Accept());
  EXPECT_EQ(preview::ClosePipe(served), 0);
}
#else
TEST_F(PreviewRun, AWindowsPipeNameBecomesASocketInTheRuntimeFolder) {
  EXPECT_EQ(preview::PipePath("\\\\.\\pipe\\orma_1"), folder_ + "/orma_1");
  unsetenv("XDG_RUNTIME_DIR");
  EXPECT_EQ(preview::PipePath("\\\\.\\pipe\\orma_1"), "/tmp/orma_1");
  EXPECT_EQ(preview::PipePath("/run/app/control"), "/run/app/control");
  EXPECT_EQ(preview::PipePath("relative name"), "relative name");
}

TEST_F(PreviewRun, TheWindowsPipePrefixIsRecognisedInAnyCase) {
  EXPECT_EQ(preview::PipePath("\\\\.\\PIPE\\orma_1"), folder_ + "/orma_1");
  EXPECT_EQ(preview::PipePath("\\\\.\\Pipe\\Orma_1"), folder_ + "/Orma_1"); // the name keeps its case
  EXPECT_EQ(preview::PipePath("\\\\.\\pipes\\orma_1"), "\\\\.\\pipes\\orma_1");
}
#endif

TEST_F(PreviewRun, APipeThatDoesNotExistEndsTheControlThreadWithItsError) {
  std::snprintf(command_.pipeName, sizeof(command_.pipeName), "\\\\.\\pipe\\nobody");
  testing::internal::CaptureStderr();
  PipeControlThread(OrmaVirtualVideoCreate(), &document_);
  // ENOENT, or ERROR_FILE_NOT_FOUND on Windows
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "CreateFile failed: 2\n");
  EXPECT_EQ(command_.stopped, 0);
}

TEST_F(PreviewRun, PlaysUntilStopThenPrintsTheEndLineAndReturnsThePreviewResult) {
  AppPipe app;
  ASSERT_TRUE(app.Host("\\\\.\\pipe\\app pipe"));
  std::snprintf(command_.pipeName, sizeof(command_.pipeName), "\\\\.\\pipe\\app pipe");
  recorder::SetResult("OrmaPreview", 7);
  OrmaVideoHandle vv = OrmaVirtualVideoCreate();
  std::string reply;
  std::thread application([&] {
    if (!app.Accept()) return;
    // An application stops a preview it has seen play: the stop is sent
    // once the core library was asked to play (on a loaded machine the
    // control thread can otherwise get there first).
    for (int i = 0; i < 500 && recorder::Formatted("OrmaPreview").empty(); ++i)
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    app.Send(R"({"message": [{"key": "stop", "value": ""}]})");
    reply = app.Receive();
    app.Close();
  });
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  const int32_t result = RunPreview(&document_, vv);
  const std::string out = testing::internal::GetCapturedStdout();
  testing::internal::GetCapturedStderr();
  application.join();
  EXPECT_EQ(result, 7);
  EXPECT_EQ(out, "Client connected to the server.\nKey: stop, Value: \nExportDraft out!\n");
  EXPECT_NE(reply.find("\"totaltime\""), std::string::npos);
  EXPECT_EQ(command_.stopped, 1);
  std::vector<std::string> names;
  for (const std::string& c : recorder::Formatted("OrmaPreview"))
    names.push_back(c);
  EXPECT_EQ(names, (std::vector<std::string>{"OrmaPreview(h1)", "OrmaPreviewStop(h1)"}));
}

} // namespace

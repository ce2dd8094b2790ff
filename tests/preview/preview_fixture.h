// Shared set-up of the preview end-to-end tests: one Xvfb display for the
// whole suite, a folder per test holding two still pictures (red and blue,
// 320×180) and a draft made of them, a window of the test's size, and the
// session that plays the draft into it. Begin() starts the program and
// waits until it has connected.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "tests/preview/preview_session.h"
#include "tests/preview/x_display.h"

namespace previewtest {

inline const Rgb kRed{255, 0, 0};
inline const Rgb kBlue{0, 0, 255};
inline const Rgb kBlack{0, 0, 0};

/// An empty command list: asks for the reply and nothing else.
inline const char kAsk[] = R"({"message": []})";
std::string Command(const std::string& key, const std::string& value = "");

class PreviewTest : public ::testing::Test {
protected:
  static void SetUpTestSuite();
  static void TearDownTestSuite();
  void SetUp() override;
  void TearDown() override;

  /// A 16:9 draft: red from 0 to `redEnd` seconds, then blue up to `end`.
  void WriteDraft(double redEnd, double end);
  /// Starts the program on the draft into a window of this size.
  void Begin(int width = 480, int height = 360, const std::string& environment = "",
             const std::string& windowId = "");
  /// The colour at the window's centre, once the picture there has settled.
  Rgb Centre();

  static std::unique_ptr<XvfbServer> xvfb_;
  std::string pipePrefix_ = "\\\\.\\pipe\\"; ///< of the pipe name in the command file
  std::string folder_;
  std::unique_ptr<TestWindow> window_;
  std::unique_ptr<PreviewSession> session_;
  int width_ = 0, height_ = 0;
};

} // namespace previewtest

// The preview tests' shared set-up (preview_fixture.h).
#include "tests/preview/preview_fixture.h"

#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <thread>

namespace previewtest {

std::unique_ptr<XvfbServer> PreviewTest::xvfb_;

std::string Command(const std::string& key, const std::string& value) {
  return R"({"message": [{"key": ")" + key + R"(", "value": ")" + value + R"("}]})";
}

void PreviewTest::SetUpTestSuite() { xvfb_ = std::make_unique<XvfbServer>(); }
void PreviewTest::TearDownTestSuite() { xvfb_.reset(); }

void PreviewTest::SetUp() {
  ASSERT_FALSE(xvfb_->display().empty()) << xvfb_->error();
  char pattern[] = "/tmp/ormadraft preview-XXXXXX";
  folder_ = mkdtemp(pattern);
  for (const char* colour : {"red", "blue"}) {
    const std::string command = "cd '" + folder_ + "' && ffmpeg -v error -y -f lavfi -i color=c=" + colour +
                                ":s=320x180 -frames:v 1 " + colour + ".png";
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
  }
  WriteDraft(1.6, 4);
}

void PreviewTest::TearDown() {
  session_.reset();
  window_.reset();
  std::system(("rm -rf '" + folder_ + "'").c_str());
}

void PreviewTest::WriteDraft(double redEnd, double end) {
  auto scene = [](const char* path, double from, double to) {
    return R"({"media": [{"path": ")" + std::string(path) + R"(", "trimTimeStart": 0, "trimTimeEnd": )" +
           std::to_string(to - from) + R"(, "timelineFrom": )" + std::to_string(from) +
           R"(, "timelineTo": )" + std::to_string(to) + R"(, "speed": 1, "alpha": 1, "volume": 1}]})";
  };
  auto slot = [](const char* path, double from, double to) {
    return R"({"path": ")" + std::string(path) + R"(", "timelineFrom": )" + std::to_string(from) +
           R"(, "timelineTo": )" + std::to_string(to) + R"(, "replaceType": 1})";
  };
  std::ofstream(folder_ + "/draft.json")
      << R"({"ver": 5, "name": "preview", "size": {"width": 320, "height": 180},
    "mediaInfo": [)"
      << slot("red.png", 0, redEnd) << ", " << slot("blue.png", redEnd, end) << R"(], "scenes": [)"
      << scene("red.png", 0, redEnd) << ", " << scene("blue.png", redEnd, end) << "]}";
}

void PreviewTest::Begin(int width, int height, const std::string& environment, const std::string& windowId) {
  width_ = width;
  height_ = height;
  window_ = std::make_unique<TestWindow>(xvfb_->display(), width, height);
  ASSERT_TRUE(window_->ok());
  session_ = std::make_unique<PreviewSession>(folder_, "orma_preview", pipePrefix_);
  ASSERT_TRUE(session_->Start(folder_ + "/draft.json", windowId.empty() ? window_->Id() : windowId,
                              xvfb_->display(), environment));
  ASSERT_TRUE(session_->Accept()) << session_->Out() << session_->Err();
}

Rgb PreviewTest::Centre() {
  // A picture is shown within 200 ms of the reply that follows its command.
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  return window_->At(width_ / 2, height_ / 2);
}

} // namespace previewtest

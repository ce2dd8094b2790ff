// Shared by the engine tests: a fresh folder per test, the generated media,
// and short ways to build and export a virtual video through the API.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "corelib/orma_core.h"
#include "tests/engine/decoded_video.h"

constexpr int64_t kSecond = 1000000;

class EngineTest : public ::testing::Test {
protected:
  void SetUp() override;
  void TearDown() override;

  /// A file of the generated test media.
  static std::string Media(const std::string& name);
  /// A path in this test's own folder.
  std::string Path(const std::string& name) const { return folder_ + "/" + name; }
  const std::string& folder() const { return folder_; }

  /// A 320x180 video at `fps` writing to out.mp4 in the test folder.
  OrmaVideoHandle NewVideo(double fps = 25.0, const std::string& out = "out.mp4");
  /// A main scene [from, to) seconds holding one media item (or none).
  OrmaSceneHandle AddScene(OrmaVideoHandle vv, double from, double to, const std::string& media = "",
                           OrmaMediaHandle* mediaOut = nullptr);

  /// Runs OrmaEditMedia while polling the progress every few milliseconds.
  int32_t Export(OrmaVideoHandle vv);
  std::vector<int> progress; ///< every value OrmaEditProgress returned during the last Export

  DecodedVideo Decode(const std::string& name = "out.mp4") const { return DecodeVideo(Path(name)); }

private:
  std::string folder_;
};

/// Whole-rectangle helper: left, top, right, bottom.
struct Rect4 {
  float v[4];
};

/// A key frame at `seconds` of the item's own time, every field 0 (not
/// animated); with `show` (canvas pixels), that show rectangle at full
/// opacity.
OrmaKeyFrameBlock KeyFrame(double seconds, const Rect4* show = nullptr);

/// What a shell command prints on standard output (and on standard error
/// where it redirects it there); `status` gets its exit status (-1 when it
/// did not exit).
std::string CommandOutput(const std::string& command, int* status = nullptr);

bool FileExists(const std::string& path);
std::string ReadFile(const std::string& path);
void WriteFile(const std::string& path, const std::string& text);

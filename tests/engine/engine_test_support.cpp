#include "tests/engine/engine_test_support.h"

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

void EngineTest::SetUp() {
  char templ[] = "/tmp/orma-engine-test-XXXXXX";
  const char* made = mkdtemp(templ);
  ASSERT_NE(made, nullptr);
  folder_ = made;
  ASSERT_TRUE(FileExists(Media(".complete"))) << "test media missing in " << ORMA_TEST_MEDIA;
}

void EngineTest::TearDown() {
  std::error_code ec;
  if (!folder_.empty()) std::filesystem::remove_all(folder_, ec);
}

std::string EngineTest::Media(const std::string& name) { return std::string(ORMA_TEST_MEDIA) + "/" + name; }

OrmaVideoHandle EngineTest::NewVideo(double fps, const std::string& out) {
  OrmaVideoHandle vv = OrmaVirtualVideoCreate();
  EXPECT_NE(vv, nullptr);
  EXPECT_EQ(OrmaSetFrameSize(vv, 320, 180), 1);
  EXPECT_EQ(OrmaSetOutPath(vv, Path(out).c_str()), 1);
  EXPECT_EQ(OrmaSetFPS(vv, fps), 1);
  EXPECT_EQ(OrmaSetVideoBitrate(vv, 800), 1);
  return vv;
}

OrmaSceneHandle EngineTest::AddScene(OrmaVideoHandle vv, double from, double to, const std::string& media,
                                     OrmaMediaHandle* mediaOut) {
  OrmaSceneHandle scene =
      OrmaCreateScene(static_cast<int64_t>(from * kSecond), static_cast<int64_t>(to * kSecond));
  EXPECT_NE(scene, nullptr);
  EXPECT_EQ(OrmaAddScene(vv, scene), 1);
  if (!media.empty()) {
    OrmaMediaHandle m = OrmaSceneCreateMedia(Media(media).c_str());
    EXPECT_NE(m, nullptr) << media;
    EXPECT_EQ(OrmaSceneAddMediaHandle(scene, m), 1);
    if (mediaOut) *mediaOut = m;
  }
  return scene;
}

int32_t EngineTest::Export(OrmaVideoHandle vv) {
  progress.clear();
  std::atomic<bool> done{false};
  std::thread poll([&] {
    while (!done) {
      progress.push_back(OrmaEditProgress(vv));
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
  });
  int32_t result = OrmaEditMedia(vv);
  done = true;
  poll.join();
  progress.push_back(OrmaEditProgress(vv));
  return result;
}

OrmaKeyFrameBlock KeyFrame(double seconds, const Rect4* show) {
  OrmaKeyFrameBlock k;
  std::memset(&k, 0, sizeof k);
  k.atTimeUs = static_cast<int64_t>(seconds * kSecond);
  if (show) {
    std::memcpy(k.showRect, show->v, sizeof show->v);
    k.opacity = 1.0f;
  }
  return k;
}

std::string CommandOutput(const std::string& command, int* status) {
  std::string output;
  if (status) *status = -1;
  FILE* pipe = popen(command.c_str(), "r");
  if (!pipe) return output;
  char buffer[4096];
  size_t n;
  while ((n = fread(buffer, 1, sizeof buffer, pipe)) > 0)
    output.append(buffer, n);
  int result = pclose(pipe);
  if (status && WIFEXITED(result)) *status = WEXITSTATUS(result);
  return output;
}

bool FileExists(const std::string& path) {
  struct stat st;
  return stat(path.c_str(), &st) == 0;
}

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

void WriteFile(const std::string& path, const std::string& text) {
  std::ofstream out(path, std::ios::binary);
  out << text;
}

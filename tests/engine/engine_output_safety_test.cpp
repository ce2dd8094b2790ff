// Nothing half-written: an export writes its video beside the output path
// and moves it into place only when complete, so a killed export, a full disk
// or any failure leaves the previous file at the output path untouched (or no
// file where there was none); temporaries of killed exports are removed by
// the next export to the same place.
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <random>
#include <thread>

#include "tests/engine/program_run.h"

extern char** environ;

namespace {

namespace fs = std::filesystem;

class OutputSafety : public ProgramTest {
protected:
  // Four seconds, red then blue, written to `out`.
  void WriteFourSeconds(const std::string& out) {
    WriteDraft(ClosedScene("red.mp4", 0, 2) + "," + ClosedScene("blue.mp4", 2, 4),
               Slot("red.mp4", 0, 2) + "," + Slot("blue.mp4", 2, 4));
    WriteSettings(R"(, "outUrl": ")" + out + R"(")");
  }

  // Starts the program on the test's draft; its output goes to a file.
  pid_t Start() {
    pid_t pid = -1;
#ifdef ORMADRAFT_EXE
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, Path("console.txt").c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                     0644);
    posix_spawn_file_actions_adddup2(&actions, 1, 2);
    std::string draft = Path("draft.json"), settings = Path("export.json");
    char* argv[] = {const_cast<char*>(ORMADRAFT_EXE), draft.data(), settings.data(), nullptr};
    if (posix_spawn(&pid, ORMADRAFT_EXE, &actions, nullptr, argv, environ) != 0) pid = -1;
    posix_spawn_file_actions_destroy(&actions);
#endif
    return pid;
  }

  static int Wait(pid_t pid) {
    int status = 0;
    waitpid(pid, &status, 0);
    return status;
  }

  // Names in the test folder that are temporaries of out.mp4.
  std::vector<std::string> Temporaries() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder())) {
      std::string name = entry.path().filename();
      if (name.rfind(".out.mp4.", 0) == 0) names.push_back(name);
    }
    return names;
  }
};

TEST_F(OutputSafety, StaleTemporariesOfEndedProcessesAreRemovedByTheNextExport) {
  // 999999999 is beyond any process id; process 1 always runs.
  WriteFile(Path(".out.mp4.999999999.part.mp4"), "half a video");
  WriteFile(Path(".out.mp4.1.part.mp4"), "another export's video");
  WriteFile(Path(".other.mp4.999999999.part.mp4"), "a temporary of another output");
  WriteFourSeconds(Path("out.mp4"));
  ProgramRun run = Ormadraft();
  EXPECT_NE(run.output.find("export success!"), std::string::npos) << run.output;
  EXPECT_NE(run.output.find(".out.mp4.999999999.part.mp4, left by an export that did not end"),
            std::string::npos)
      << run.output;
  EXPECT_FALSE(FileExists(Path(".out.mp4.999999999.part.mp4")));
  EXPECT_TRUE(FileExists(Path(".out.mp4.1.part.mp4")));
  EXPECT_TRUE(FileExists(Path(".other.mp4.999999999.part.mp4")));
  DecodedVideo v = Decode("out.mp4");
  ASSERT_TRUE(v.ok) << v.error;
  EXPECT_EQ(v.FrameCount(), 100);
}

TEST_F(OutputSafety, ExportsKilledAtRandomMomentsLeaveThePreviousFileOrACompleteVideo) {
  WriteFourSeconds(Path("out.mp4"));
  // How long a whole export takes here, so that the kills fall across it.
  auto begin = std::chrono::steady_clock::now();
  ASSERT_EQ(WEXITSTATUS(Wait(Start())), 1);
  const double whole = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
  ASSERT_TRUE(Decode("out.mp4").ok);
  const std::string previous = "the previous video, kept whole";

  const unsigned seed = static_cast<unsigned>(std::random_device{}());
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> moment(0.0, whole * 1.1);
  int finished = 0;
  for (int kill = 0; kill < 20; ++kill) {
    // Half of the runs have a previous file at the output path, half none.
    const bool hadFile = kill % 2 == 0;
    std::remove(Path("out.mp4").c_str());
    if (hadFile) WriteFile(Path("out.mp4"), previous);
    const double at = moment(random);
    pid_t pid = Start();
    ASSERT_GT(pid, 0);
    std::this_thread::sleep_for(std::chrono::duration<double>(at));
    ::kill(pid, SIGKILL);
    int status = Wait(pid);
    SCOPED_TRACE("kill " + std::to_string(kill) + " at " + std::to_string(at) + " s");
    if (WIFEXITED(status)) ++finished; // it ended before the kill came
    if (FileExists(Path("out.mp4")) && ReadFile(Path("out.mp4")) != previous) {
      // Only a complete video ever reaches the output path.
      DecodedVideo v = Decode("out.mp4");
      ASSERT_TRUE(v.ok) << v.error;
      EXPECT_EQ(v.FrameCount(), 100);
    } else if (!hadFile) {
      EXPECT_FALSE(FileExists(Path("out.mp4")));
    }
  }
  RecordProperty("finished_before_kill", finished);
  // The next export removes what the killed ones left.
  ASSERT_EQ(WEXITSTATUS(Wait(Start())), 1);
  EXPECT_TRUE(Temporaries().empty()) << Temporaries().front();
  EXPECT_EQ(Decode("out.mp4").FrameCount(), 100);
}

TEST_F(OutputSafety, AFullDiskFailsClearlyAndKeepsThePreviousFile) {
  const std::string disk = Path("small disk");
  fs::create_directory(disk);
  if (mount("tmpfs", disk.c_str(), "tmpfs", 0, "size=64k") != 0)
    GTEST_SKIP() << "cannot mount a small tmpfs here (" << std::strerror(errno) << ")";
  struct Unmount {
    std::string path;
    ~Unmount() { umount(path.c_str()); }
  } unmount{disk};
  const std::string out = disk + "/out.mp4";
  WriteFile(out, "the previous video");
  WriteFourSeconds(out);
  ProgramRun run = Ormadraft();
  EXPECT_NE(run.output.find("export failed, errorcode:"), std::string::npos) << run.output;
  EXPECT_NE(run.output.find("No space left on device"), std::string::npos) << run.output;
  EXPECT_EQ(ReadFile(out), "the previous video");
  size_t files = 0;
  for (const auto& entry : fs::directory_iterator(disk)) {
    (void)entry;
    ++files;
  }
  EXPECT_EQ(files, 1u); // no temporary left behind
}

} // namespace

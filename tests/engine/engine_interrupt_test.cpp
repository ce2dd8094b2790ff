// An interrupted export cleans up after itself: SIGINT, SIGTERM or SIGHUP at
// any moment of a run (reading the draft, building the timeline, encoding)
// stops it, removes the temporary video and the draft's working copy, and
// ends with "export failed, errorcode:-2300" as the last line of standard
// output and status 1; a run the signal came too late for ends as usual with
// a complete video. A second signal ends the program at once, by that signal.
//
// The program is started with the three signals blocked, as a parent may
// start it: they are delivered once the program takes them, so a moment
// before that is a moment of the run like any other rather than a kill.
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <random>
#include <set>
#include <thread>

#include "tests/engine/program_run.h"

extern char** environ;

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

const int kSignals[] = {SIGINT, SIGTERM, SIGHUP};

class Interrupt : public ProgramTest {
protected:
  void SetUp() override {
    ProgramTest::SetUp();
    // Four seconds, red then blue, written to out.mp4.
    WriteDraft(ClosedScene("red.mp4", 0, 2) + "," + ClosedScene("blue.mp4", 2, 4),
               Slot("red.mp4", 0, 2) + "," + Slot("blue.mp4", 2, 4));
    WriteSettings(R"(, "outUrl": ")" + Path("out.mp4") + R"(")");
    for (const auto& entry : fs::directory_iterator(folder()))
      before_.insert(entry.path().filename().string());
  }

  // Starts the program on the test's draft, standard output to out.txt and
  // standard error to err.txt.
  pid_t Start() {
    pid_t pid = -1;
#ifdef ORMADRAFT_EXE
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, Path("out.txt").c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                     0644);
    posix_spawn_file_actions_addopen(&actions, 2, Path("err.txt").c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                     0644);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t signals;
    sigemptyset(&signals);
    for (int s : kSignals)
      sigaddset(&signals, s);
    posix_spawnattr_setsigmask(&attributes, &signals);
    posix_spawnattr_setsigdefault(&attributes, &signals);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    std::string draft = Path("draft.json"), settings = Path("export.json");
    char* argv[] = {const_cast<char*>(ORMADRAFT_EXE), draft.data(), settings.data(), nullptr};
    if (posix_spawn(&pid, ORMADRAFT_EXE, &actions, &attributes, argv, environ) != 0) pid = -1;
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
#endif
    return pid;
  }

  static int Wait(pid_t pid) {
    int status = 0;
    waitpid(pid, &status, 0);
    return status;
  }

  // Names in the test folder that were not there before a run, other than
  // its console files and the video.
  std::vector<std::string> LeftBehind() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder())) {
      const std::string name = entry.path().filename().string();
      if (!before_.count(name) && name != "out.txt" && name != "err.txt" && name != "out.mp4")
        names.push_back(name);
    }
    return names;
  }

  // The last line of standard output that is not empty.
  std::string LastLine() const {
    std::string text = ReadFile(Path("out.txt"));
    while (!text.empty() && text.back() == '\n')
      text.pop_back();
    const size_t cut = text.rfind('\n');
    return cut == std::string::npos ? text : text.substr(cut + 1);
  }

  static std::string Name(int signal) {
    return signal == SIGINT ? "SIGINT" : signal == SIGTERM ? "SIGTERM" : "SIGHUP";
  }

private:
  std::set<std::string> before_;
};

TEST_F(Interrupt, ExportsSignalledAtRandomMomentsRemoveTheirFilesAndEndWithTheirOwnCode) {
  // How long a whole run takes here, so that the signals fall across it.
  const auto begin = Clock::now();
  ASSERT_EQ(WEXITSTATUS(Wait(Start())), 1);
  const double whole = std::chrono::duration<double>(Clock::now() - begin).count();
  ASSERT_NE(LastLine().find("export success!"), std::string::npos) << LastLine();
  ASSERT_EQ(Decode("out.mp4").FrameCount(), 100);

  const unsigned seed = static_cast<unsigned>(std::random_device{}());
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> moment(0.0, whole * 1.1);
  int interrupted = 0;
  for (int run = 0; run < 12; ++run) {
    std::remove(Path("out.mp4").c_str());
    const int signal = kSignals[run % 3];
    const double at = moment(random);
    SCOPED_TRACE("run " + std::to_string(run) + ": " + Name(signal) + " at " + std::to_string(at) + " s");
    const pid_t pid = Start();
    ASSERT_GT(pid, 0);
    std::this_thread::sleep_for(std::chrono::duration<double>(at));
    ::kill(pid, signal);
    const int status = Wait(pid);
    const std::string errors = ReadFile(Path("err.txt"));
    ASSERT_TRUE(WIFEXITED(status)) << "one signal must not kill the program\n" << errors;
    EXPECT_EQ(WEXITSTATUS(status), 1);
    EXPECT_TRUE(LeftBehind().empty()) << LeftBehind().front() << " was left behind";
    if (LastLine().find("export success!") != std::string::npos) {
      // The signal came after the video was complete.
      EXPECT_EQ(Decode("out.mp4").FrameCount(), 100);
      continue;
    }
    ++interrupted;
    EXPECT_NE(LastLine().find("] -- export failed, errorcode:-2300"), std::string::npos) << LastLine();
    EXPECT_NE(errors.find("ormadraft: interrupted; stopping the export"), std::string::npos) << errors;
    EXPECT_NE(
        errors.find("export failed, errorcode:-2300: Export interrupted (stopped by " + Name(signal) + ")"),
        std::string::npos)
        << errors;
    EXPECT_FALSE(FileExists(Path("out.mp4"))) << "an interrupted export writes no video";
  }
  RecordProperty("interrupted", interrupted);
  EXPECT_GT(interrupted, 0);
}

TEST_F(Interrupt, ASecondSignalEndsTheProgramAtOnce) {
  const pid_t pid = Start();
  ASSERT_GT(pid, 0);
  // Once it encodes (a progress line is out), two different signals, which
  // cannot merge into one pending signal. Which of them the program takes
  // first is up to the kernel (threads take pending signals in any order):
  // the other one ends it.
  const auto deadline = Clock::now() + std::chrono::seconds(60);
  while (ReadFile(Path("out.txt")).find("progress:") == std::string::npos && Clock::now() < deadline)
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  ::kill(pid, SIGINT);
  ::kill(pid, SIGTERM);
  const int status = Wait(pid);
  ASSERT_TRUE(WIFSIGNALED(status)) << "exited with " << WEXITSTATUS(status) << "\n"
                                   << ReadFile(Path("out.txt"));
  EXPECT_TRUE(WTERMSIG(status) == SIGINT || WTERMSIG(status) == SIGTERM) << "ended by " << WTERMSIG(status);
  EXPECT_EQ(ReadFile(Path("out.txt")).find("export failed"), std::string::npos);
}

} // namespace

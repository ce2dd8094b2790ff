#include "tests/engine/program_run.h"

#include <cstdio>
#include <sstream>

std::string Seconds(double value) {
  std::ostringstream out;
  out.imbue(std::locale::classic());
  out << value;
  return out.str();
}

void ProgramTest::SetUp() {
  EngineTest::SetUp();
#ifndef ORMADRAFT_EXE
  GTEST_SKIP() << "the ormadraft program is not part of this build";
#endif
  for (const char* name : {"red.mp4", "blue.mp4", "green.mp4", "halves.png", "yellow.jpg", "tone.mp3"})
    WriteFile(Path(name), ReadFile(Media(name)));
}

ProgramRun ProgramTest::Run(const std::string& arguments, const std::string& cwd,
                            const std::string& environment) {
  ProgramRun run;
#ifdef ORMADRAFT_EXE
  std::string command = "cd " + Quoted(cwd.empty() ? folder() : cwd) + " && " + environment + " " +
                        Quoted(ORMADRAFT_EXE) + " " + arguments + " 2>&1";
  run.output = CommandOutput(command, &run.status);
#endif
  return run;
}

ProgramRun ProgramTest::Ormadraft(const std::string& environment, const std::string& extra) {
  return Run(Quoted(Path("draft.json")) + " " + Quoted(Path("export.json")) + " " + extra, "", environment);
}

std::string ProgramTest::Scene(const std::string& media, double from, double to, const std::string& more) {
  // The extra keys come first: a key written twice reads as its first.
  return R"({"media": [{"path": ")" + media + "\"" + more + R"(, "trimTimeStart": 0, "trimTimeEnd": )" +
         Seconds(to - from) + R"(, "timelineFrom": )" + Seconds(from) + R"(, "timelineTo": )" + Seconds(to) +
         R"(, "speed": 1, "alpha": 1, "volume": 1}])";
}

std::string ProgramTest::Slot(const std::string& media, double from, double to) {
  return R"({"path": ")" + media + R"(", "timelineFrom": )" + Seconds(from) + R"(, "timelineTo": )" +
         Seconds(to) + R"(, "replaceType": 1})";
}

void ProgramTest::WriteDraft(const std::string& scenes, const std::string& mediaInfo,
                             const std::string& root) {
  WriteFile(Path("draft.json"), R"({"ver": 5, "name": "test", "size": {"width": 320, "height": 180},
    "mediaInfo": [)" + mediaInfo + R"(], "scenes": [)" +
                                    scenes + "]" + root + "}");
}

void ProgramTest::WriteSettings(const std::string& more) {
  WriteFile(Path("export.json"), R"({"video": {"fps": 25, "bitrate": 800, "encoder": "libx264"},
    "audio": {"channels": 2, "samples": 44100, "bitrate": 128})" +
                                     more + "}");
}

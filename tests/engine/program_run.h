// Engine tests that run the whole program: ormadraft reads a draft and its
// export settings from a test's own folder and the core library writes the
// video, which the test then decodes. The fixture writes small drafts (scenes
// of the generated colour clips on a 320x180 canvas) and runs the program
// from any folder with any arguments.
#pragma once

#include <string>

#include "tests/engine/engine_test_support.h"

struct ProgramRun {
  int status = -1;
  std::string output;
};

class ProgramTest : public EngineTest {
protected:
  void SetUp() override;

  /// Runs ormadraft with `arguments` (already quoted) in `cwd` (the test's
  /// folder when empty), with `environment` put before the command.
  ProgramRun Run(const std::string& arguments, const std::string& cwd = "",
                 const std::string& environment = "");
  /// Runs the program on draft.json and export.json of the test's folder.
  ProgramRun Ormadraft(const std::string& environment = "", const std::string& extra = "");

  /// A scene object (without its closing brace, so that scene keys can be
  /// added) of one media item shown over [from, to) s, with `more` keys
  /// (", "-led), which take precedence over the defaults.
  static std::string Scene(const std::string& media, double from, double to, const std::string& more = "");
  /// The scene of `Scene`, closed.
  static std::string ClosedScene(const std::string& media, double from, double to,
                                 const std::string& more = "") {
    return Scene(media, from, to, more) + "}";
  }
  /// A mediaInfo entry matching a scene of `Scene`.
  static std::string Slot(const std::string& media, double from, double to);
  /// draft.json with the scenes and media slots given, `root` keys added.
  void WriteDraft(const std::string& scenes, const std::string& mediaInfo, const std::string& root = "");
  /// export.json: 25 fps H.264 with sound, `more` keys added to the root.
  void WriteSettings(const std::string& more);

  static std::string Transitions() { return std::string(ORMA_SOURCE_DIR) + "/resources/transitions/"; }
  /// The text as one shell word (single quotes, a quote inside escaped).
  static std::string Quoted(const std::string& text) {
    std::string quoted = "'";
    for (char c : text)
      quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
  }
};

/// Seconds as JSON text with "." whatever the locale.
std::string Seconds(double value);

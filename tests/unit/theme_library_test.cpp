// Where the theme library and the folder of new drafts are found: the
// environment first, then the folders beside an installed or a built program.
#include <cstdlib>
#include <filesystem>
#include <optional>

#include "tests/unit/draft_fixture.h"
#include "themes/theme_library.h"

namespace fs = std::filesystem;

namespace {

using drafttest::Native;

class ThemeLibraryTest : public ::testing::Test {
protected:
  void SetUp() override {
    for (const char* name : {"ORMADRAFT_THEMES", "ORMADRAFT_DRAFTS", "XDG_CACHE_HOME", "HOME"}) {
      const char* value = std::getenv(name);
      saved_.emplace_back(name, value ? std::optional<std::string>(value) : std::nullopt);
      if (std::string(name) != "HOME") unsetenv(name);
    }
    program_ = folder_.Join("usr/bin/ormadraft");
    fs::create_directories(folder_.Join("usr/bin"));
  }
  void TearDown() override {
    for (const auto& [name, value] : saved_) {
      if (value)
        setenv(name.c_str(), value->c_str(), 1);
      else
        unsetenv(name.c_str());
    }
  }
  void Make(const std::string& relative) { fs::create_directories(folder_.Join(relative)); }

  drafttest::TempFolder folder_;
  std::string program_;
  std::vector<std::pair<std::string, std::optional<std::string>>> saved_;
};

TEST_F(ThemeLibraryTest, TheLibraryIsSearchedBesideTheInstalledAndTheBuiltProgram) {
  // Nothing there: the folder beside the program's folder, as it would be on Windows.
  EXPECT_EQ(themes::ThemeLibraryFolder(program_), folder_.Join("usr") + Native("/TemplateThemes/"));
  Make("usr/resources/TemplateThemes"); // a build folder of the source tree
  EXPECT_EQ(themes::ThemeLibraryFolder(program_), folder_.Join("usr") + Native("/resources/TemplateThemes/"));
  Make("usr/share/ormadraft/TemplateThemes"); // installed
  EXPECT_EQ(themes::ThemeLibraryFolder(program_),
            folder_.Join("usr") + Native("/share/ormadraft/TemplateThemes/"));
  Make("usr/TemplateThemes");
  EXPECT_EQ(themes::ThemeLibraryFolder(program_), folder_.Join("usr") + Native("/TemplateThemes/"));
  setenv("ORMADRAFT_THEMES", folder_.Join("mine").c_str(), 1);
  EXPECT_EQ(themes::ThemeLibraryFolder(program_), folder_.Join("mine") + Native("/"));
}

TEST_F(ThemeLibraryTest, NewDraftsGoBesideTheProgramAndAreAnnounced) {
  testing::internal::CaptureStdout();
  EXPECT_EQ(themes::DraftsFolder(program_), folder_.Join("usr/bin") + Native("/draft/"));
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "Directory created: " + folder_.Join("usr/bin") + Native("/draft/") + "\n");
  EXPECT_TRUE(fs::is_directory(folder_.Join("usr/bin/draft")));
  testing::internal::CaptureStdout();
  EXPECT_EQ(themes::DraftsFolder(program_), folder_.Join("usr/bin") + Native("/draft/"));
  EXPECT_EQ(testing::internal::GetCapturedStdout(), ""); // only a folder that was made is announced
}

TEST_F(ThemeLibraryTest, NewDraftsGoToTheCacheWhenTheProgramFolderCannotTakeThem) {
  folder_.Write("usr/bin/draft", "a file where the folder would be");
  setenv("XDG_CACHE_HOME", folder_.Join("cache").c_str(), 1);
  testing::internal::CaptureStdout();
  EXPECT_EQ(themes::DraftsFolder(program_), folder_.Join("cache") + Native("/ormadraft/draft/"));
  testing::internal::GetCapturedStdout();
  EXPECT_TRUE(fs::is_directory(folder_.Join("cache/ormadraft/draft")));
  unsetenv("XDG_CACHE_HOME");
  setenv("HOME", folder_.Join("home").c_str(), 1);
  testing::internal::CaptureStdout();
  EXPECT_EQ(themes::DraftsFolder(program_), folder_.Join("home") + Native("/.cache/ormadraft/draft/"));
  testing::internal::GetCapturedStdout();
}

TEST_F(ThemeLibraryTest, AnInstalledProgramKeepsItsDraftsInTheCacheThoughItCouldWriteBesideItself) {
  Make("usr/share/ormadraft/TemplateThemes");
  EXPECT_TRUE(themes::IsInstalledProgram(program_));
  setenv("XDG_CACHE_HOME", folder_.Join("cache").c_str(), 1);
  testing::internal::CaptureStdout();
  EXPECT_EQ(themes::DraftsFolder(program_), folder_.Join("cache") + Native("/ormadraft/draft/"));
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "Directory created: " + folder_.Join("cache") + Native("/ormadraft/draft/") + "\n");
  EXPECT_FALSE(fs::exists(folder_.Join("usr/bin/draft")));
  unsetenv("XDG_CACHE_HOME");
  setenv("HOME", folder_.Join("home").c_str(), 1);
  testing::internal::CaptureStdout();
  EXPECT_EQ(themes::DraftsFolder(program_), folder_.Join("home") + Native("/.cache/ormadraft/draft/"));
  testing::internal::GetCapturedStdout();
  EXPECT_FALSE(fs::exists(folder_.Join("usr/bin/draft")));
}

TEST_F(ThemeLibraryTest, ABuildFolderOrAPortableCopyKeepsItsDraftsBesideTheProgram) {
  // Resources beside the program mark a build folder or a portable copy,
  // even inside a prefix that has share/ormadraft.
  Make("usr/share/ormadraft");
  Make("usr/bin/resources");
  EXPECT_FALSE(themes::IsInstalledProgram(program_));
  testing::internal::CaptureStdout();
  EXPECT_EQ(themes::DraftsFolder(program_), folder_.Join("usr/bin") + Native("/draft/"));
  testing::internal::GetCapturedStdout();
  fs::remove_all(folder_.Join("usr/bin/resources"));
  fs::remove_all(folder_.Join("usr/share"));
  EXPECT_FALSE(themes::IsInstalledProgram(program_)); // a copy with TemplateThemes beside its folder
}

TEST_F(ThemeLibraryTest, ARelativeLibraryVariableIsMadeAbsoluteAgainstTheCurrentFolder) {
  const fs::path before = fs::current_path();
  fs::current_path(folder_.Join(""));
  // The folder as the system names it once it is the current one (Wine
  // names /tmp/... Z:\tmp\...).
  const std::string current = fs::current_path().string();
  setenv("ORMADRAFT_THEMES", "lib/themes", 1);
  const std::string library = themes::ThemeLibraryFolder(program_);
  fs::current_path(before);
  EXPECT_EQ(library, current + platform::kSeparator + "lib/themes" + platform::kSeparator);
}

TEST_F(ThemeLibraryTest, TheDraftsVariableOverridesBoth) {
  setenv("ORMADRAFT_DRAFTS", folder_.Join("my drafts").c_str(), 1);
  testing::internal::CaptureStdout();
  EXPECT_EQ(themes::DraftsFolder(program_), folder_.Join("my drafts") + Native("/"));
  testing::internal::GetCapturedStdout();
  EXPECT_FALSE(fs::exists(folder_.Join("usr/bin/draft")));
}

TEST_F(ThemeLibraryTest, ListingsLeaveOutNamesOfFiveCharactersOrFewer) {
  for (const char* name : {"abcde", "abcdef", "1_b", "x_summer"})
    Make(std::string("lib/") + name);
  folder_.Write("lib/notes.txt", "");
  EXPECT_EQ(themes::ListFolder(folder_.Join("lib")),
            (std::vector<std::string>{"abcdef", "notes.txt", "x_summer"}));
}

} // namespace

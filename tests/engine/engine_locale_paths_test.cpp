// The locale and path matrix end to end: a draft, its media and its output
// in folders whose names hold spaces, "%", quotes, a leading "-", CJK text
// or make a path of about 1000 bytes, exported under the C, en_US.UTF-8 and
// zh_CN.GBK locales with German number formatting, through the program and
// the core library; the video is decoded each time.
#include <cctype>
#include <cstdlib>
#include <filesystem>

#include "tests/engine/program_run.h"

namespace {

namespace fs = std::filesystem;

struct Case {
  const char* name;
  const char* locale; ///< LC_CTYPE
  const char* folder; ///< relative to the test folder ("" for the long path)
};

class LocalePaths : public ProgramTest, public ::testing::WithParamInterface<Case> {};

// "en_US.UTF-8" is listed by locale -a as "en_US.utf8".
bool Installed(std::string locale) {
  if (locale == "C") return true;
  std::string listed;
  for (char ch : locale)
    if (ch != '-') listed += static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
  return std::system(("locale -a 2>/dev/null | grep -qix '" + listed + "'").c_str()) == 0;
}

TEST_P(LocalePaths, ADraftInAnOddlyNamedFolderExportsItsVideo) {
  const Case& c = GetParam();
  if (!Installed(c.locale)) GTEST_SKIP() << c.locale << " is not installed";
  std::string sub = c.folder;
  if (sub.empty()) { // a path of about 1000 bytes: nested folders of 200 bytes
    std::string part(200, 'p');
    size_t room = 1000 - folder().size() - 12;
    while (sub.size() + part.size() + 1 < room)
      sub += (sub.empty() ? "" : "/") + part;
    sub += "/" + std::string(room - sub.size() - 1, 'q');
  }
  const std::string dir = Path(sub);
  fs::create_directories(dir);
  for (const char* media : {"red.mp4", "blue.mp4"})
    fs::copy_file(Path(media), dir + "/" + media, fs::copy_options::overwrite_existing);
  WriteDraft(ClosedScene("red.mp4", 0, 1) + "," + ClosedScene("blue.mp4", 1, 2),
             Slot("red.mp4", 0, 1) + "," + Slot("blue.mp4", 1, 2));
  WriteSettings(R"(, "video": {"fps": 25.0})");
  fs::rename(Path("draft.json"), dir + "/draft.json");
  fs::rename(Path("export.json"), dir + "/export.json");
  const std::string environment =
      std::string("env LC_ALL= LANG= LC_CTYPE=") + c.locale + " LC_NUMERIC=de_DE.UTF-8";
  ProgramRun run = Run(Quoted(dir + "/draft.json") + " " + Quoted(dir + "/export.json"), dir, environment);
  EXPECT_NE(run.output.find("export success!"), std::string::npos) << run.output;
  DecodedVideo v = DecodeVideo(dir + "/video.mp4");
  ASSERT_TRUE(v.ok) << v.error << run.output;
  EXPECT_EQ(v.FrameCount(), 50);
  EXPECT_PRED2(Close, v.At(10, 0.5, 0.5), (Rgb{255, 0, 0}));
  EXPECT_PRED2(Close, v.At(40, 0.5, 0.5), (Rgb{0, 0, 255}));
}

INSTANTIATE_TEST_SUITE_P(
    Matrix, LocalePaths,
    ::testing::Values(Case{"CSpaces", "C", "with spaces/and %d %s"}, Case{"CQuotes", "C", "it's \"quoted\""},
                      Case{"CLeadingDash", "C", "-leading dash"}, Case{"CLongPath", "C", ""},
                      Case{"Utf8Cjk", "en_US.UTF-8", "草稿 folder"},
                      Case{"Utf8Percent", "en_US.UTF-8", "100% -x"},
                      Case{"GbkSpaces", "zh_CN.GBK", "gbk with spaces %s"},
                      Case{"GbkLongPath", "zh_CN.GBK", ""}),
    [](const ::testing::TestParamInfo<Case>& info) { return std::string(info.param.name); });

} // namespace

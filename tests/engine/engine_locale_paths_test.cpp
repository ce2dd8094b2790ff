// The locale and path matrix end to end: a draft, its media and its output
// in folders whose names hold spaces, "%", quotes, a leading "-", CJK text
// or make a path of about 1000 bytes, exported under the C, en_US.UTF-8 and
// zh_CN.GBK locales with German number formatting, through the program and
// the core library; the video is decoded each time. Under GBK the CJK names
// are on disk in GBK bytes, as a GBK user's files are, while the draft and
// the export settings name them in UTF-8.
#include <iconv.h>

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

class GbkPaths : public ProgramTest {
protected:
  // The UTF-8 text in GBK bytes.
  static std::string Gbk(const std::string& utf8) {
    iconv_t cd = iconv_open("GBK", "UTF-8");
    if (cd == reinterpret_cast<iconv_t>(-1)) return {};
    std::string out(utf8.size() * 2 + 4, '\0');
    char* in = const_cast<char*>(utf8.data());
    size_t inLeft = utf8.size();
    char* to = out.data();
    size_t toLeft = out.size();
    size_t done = iconv(cd, &in, &inLeft, &to, &toLeft);
    iconv_close(cd);
    if (done == static_cast<size_t>(-1)) return {};
    out.resize(out.size() - toLeft);
    return out;
  }
};

TEST_F(GbkPaths, CjkFoldersInGbkBytesHoldTheDraftTheMediaAndTheOutput) {
  if (!Installed("zh_CN.GBK")) GTEST_SKIP() << "zh_CN.GBK is not installed";
  const std::string draftName = "草稿 \"引号\" 目录";
  const std::string mediaName = "素材 100% 媒体";
  const std::string outputName = "-成片 输出";
  ASSERT_FALSE(Gbk(draftName).empty());
  // On disk: GBK bytes, which are not UTF-8.
  const std::string draftDir = Path(Gbk(draftName));
  const std::string mediaDir = Path(Gbk(mediaName));
  fs::create_directories(draftDir);
  fs::create_directories(mediaDir);
  fs::create_directories(Path(Gbk(outputName)));
  fs::copy_file(Path("red.mp4"), mediaDir + "/" + Gbk("红色.mp4"));
  fs::copy_file(Path("blue.mp4"), mediaDir + "/" + Gbk("蓝色.mp4"));
  // In the draft and the settings: UTF-8, one media path absolute and one
  // relative to the draft's folder.
  const std::string red = Path(mediaName + "/红色.mp4");
  const std::string blue = "../" + mediaName + "/蓝色.mp4";
  WriteDraft(ClosedScene(red, 0, 1) + "," + ClosedScene(blue, 1, 2),
             Slot(red, 0, 1) + "," + Slot(blue, 1, 2));
  WriteSettings(R"(, "video": {"fps": 25.0}, "outUrl": ")" + Path(outputName + "/视频 %d.mp4") + "\"");
  fs::rename(Path("draft.json"), draftDir + "/" + Gbk("草稿.json"));
  fs::rename(Path("export.json"), draftDir + "/" + Gbk("导出.json"));
  const auto before = std::distance(fs::directory_iterator(draftDir), fs::directory_iterator());

  // The command line in GBK bytes, as a GBK shell passes it.
  ProgramRun run =
      Run(Quoted(draftDir + "/" + Gbk("草稿.json")) + " " + Quoted(draftDir + "/" + Gbk("导出.json")),
          mediaDir, "env LC_ALL= LANG= LC_CTYPE=zh_CN.GBK LC_NUMERIC=de_DE.UTF-8");
  EXPECT_NE(run.output.find("export success!"), std::string::npos) << run.output;
  DecodedVideo v = DecodeVideo(Path(Gbk(outputName) + "/" + Gbk("视频 %d.mp4")));
  ASSERT_TRUE(v.ok) << v.error << run.output;
  EXPECT_EQ(v.FrameCount(), 50);
  EXPECT_PRED2(Close, v.At(10, 0.5, 0.5), (Rgb{255, 0, 0}));
  EXPECT_PRED2(Close, v.At(40, 0.5, 0.5), (Rgb{0, 0, 255}));
  // The working copy beside the draft was written and deleted in GBK bytes.
  EXPECT_EQ(std::distance(fs::directory_iterator(draftDir), fs::directory_iterator()), before);
  EXPECT_FALSE(fs::exists(Path(outputName))) << "an output folder named in UTF-8 bytes was made";
}

} // namespace

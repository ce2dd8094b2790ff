#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <cstring>

#include "platform/codepage.h"
#include "platform/diagnostic.h"
#include "platform/platform.h"

namespace {

// Drive letters are mapped to folders on POSIX only; Windows opens drive
// paths as they are.
#if !defined(_WIN32)
class DriveMap : public ::testing::Test {
protected:
  void SetUp() override { setenv("ORMADRAFT_DRIVE_MAP", "D:=/srv/media;e:=/mnt/e/", 1); }
  void TearDown() override { unsetenv("ORMADRAFT_DRIVE_MAP"); }
};

TEST_F(DriveMap, MapsDrivePathToFolder) {
  EXPECT_EQ(platform::NativePath("D:\\work\\a.json"), "/srv/media/work/a.json");
  EXPECT_EQ(platform::NativePath("d:/work/a.json"), "/srv/media/work/a.json");
}

TEST_F(DriveMap, MapsLowerCaseEntryAndTrimsTrailingSlash) {
  EXPECT_EQ(platform::NativePath("E:\\x"), "/mnt/e/x");
}

TEST_F(DriveMap, ReportsUnmappedDriveByName) {
  std::string error;
  EXPECT_EQ(platform::NativePath("F:\\clips\\a.mp4", &error), "");
  EXPECT_NE(error.find("F:\\clips\\a.mp4"), std::string::npos);
  EXPECT_EQ(platform::OpenFile("F:\\clips\\a.mp4", "rb"), nullptr);
}

TEST(PlatformPaths, BackslashIsASeparator) {
  EXPECT_EQ(platform::NativePath("media\\clips\\a.mp4"), "media/clips/a.mp4");
}
#else
TEST(PlatformPaths, WindowsTakesDrivePathsAsTheyAre) {
  std::string error = "unset";
  EXPECT_EQ(platform::NativePath("D:\\work\\a.json", &error), "D:\\work\\a.json");
  EXPECT_EQ(error, "");
  EXPECT_EQ(platform::NativePath("media\\clips\\a.mp4"), "media\\clips\\a.mp4");
}
#endif

TEST(PlatformPaths, AbsoluteByDriveNetworkOrRoot) {
  EXPECT_TRUE(platform::IsAbsolutePath("C:\\a"));
  EXPECT_TRUE(platform::IsAbsolutePath("C:/a"));
  EXPECT_TRUE(platform::IsAbsolutePath("\\\\server\\share"));
  EXPECT_TRUE(platform::IsAbsolutePath("/srv/a"));
  EXPECT_FALSE(platform::IsAbsolutePath("C:"));
  EXPECT_FALSE(platform::IsAbsolutePath("C:a"));
  EXPECT_FALSE(platform::IsAbsolutePath("\\"));
  EXPECT_FALSE(platform::IsAbsolutePath("media/a.png"));
  EXPECT_FALSE(platform::IsAbsolutePath(""));
}

TEST(PlatformClock, TickCountsAdvance) {
  uint64_t a = platform::TickCount64();
  platform::SleepMs(20);
  uint64_t b = platform::TickCount64();
#if defined(_WIN32)
  // GetTickCount64 advances in steps of the system timer (about 16 ms).
  EXPECT_GE(b - a, 4u);
#else
  EXPECT_GE(b - a, 19u);
#endif
}

TEST(PlatformFiles, ReadWholeFileRefusesAFolder) {
  std::string contents;
  EXPECT_FALSE(platform::ReadWholeFile("/tmp", &contents));
  EXPECT_FALSE(platform::ReadWholeFile("/nonexistent/file.json", &contents));
}

// Runs a block under a locale's LC_CTYPE and restores "C" afterwards.
class CtypeLocale {
public:
  explicit CtypeLocale(const char* name) { ok_ = std::setlocale(LC_CTYPE, name) != nullptr; }
  ~CtypeLocale() { std::setlocale(LC_CTYPE, "C"); }
  bool ok() const { return ok_; }

private:
  bool ok_;
};

TEST(CodePage, GbkLocaleConvertsBothWays) {
  CtypeLocale gbk("zh_CN.GBK");
  if (!gbk.ok()) GTEST_SKIP() << "zh_CN.GBK is not installed";
  const char gbkBytes[] = "\xB2\xDD\xB8\xE5.json"; // 草稿.json
  char* utf8 = AnsiToUtf8(gbkBytes);
  EXPECT_STREQ(utf8, "草稿.json");
  char back[64] = {0};
  int capacity = sizeof(back);
  EXPECT_EQ(Utf8ToAnsi(utf8, nullptr, back, &capacity), 10);
  EXPECT_STREQ(back, gbkBytes);
  std::free(utf8);
  EXPECT_EQ(platform::LocaleText("："), "\xA3\xBA");
}

#if defined(_WIN32)
// The ANSI code page is the system's, not the C library's locale: the test
// runs once per code page (ORMA_EXPECTED_ACP names the one the run set up).
TEST(CodePage, TheAnsiCodePageIsTheSystemsAndConvertsBothWays) {
  const char* expected = std::getenv("ORMA_EXPECTED_ACP");
  if (expected) EXPECT_EQ(platform::AnsiCodeset(), std::string("CP") + expected);
  // 草稿.json in GBK, é in 1252: whichever the code page is.
  const bool gbk = platform::AnsiCodeset() == "CP936";
  const char* ansi = gbk ? "\xB2\xDD\xB8\xE5.json" : "caf\xE9.json";
  const char* text = gbk ? "草稿.json" : "café.json";
  char* utf8 = AnsiToUtf8(ansi);
  EXPECT_STREQ(utf8, text);
  char back[64] = {0};
  int capacity = sizeof(back);
  EXPECT_EQ(Utf8ToAnsi(utf8, nullptr, back, &capacity), static_cast<int>(std::strlen(ansi)) + 1);
  EXPECT_STREQ(back, ansi);
  std::free(utf8);
  // The program's own Chinese texts are GBK bytes whatever the code page.
  EXPECT_EQ(platform::LocaleText("："), "\xA3\xBA");
}

// A console shows the ANSI code page: the names in the lines on standard
// error come out in it, as those on standard output do; a name that is not
// UTF-8 (as the command line gave it) is written unchanged.
TEST(CodePage, DiagnosticLinesAreWrittenInTheAnsiCodePage) {
  const bool gbk = platform::AnsiCodeset() == "CP936";
  testing::internal::CaptureStderr();
  Diagnostic("draft %s: cannot be read", gbk ? "草稿.json" : "café.json");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            gbk ? "ormadraft: draft \xB2\xDD\xB8\xE5.json: cannot be read\n"
                : "ormadraft: draft caf\xE9.json: cannot be read\n");
  testing::internal::CaptureStderr();
  Diagnostic("draft %s: cannot be read", "\xB2\xDD\xFF.json");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "ormadraft: draft \xB2\xDD\xFF.json: cannot be read\n");
}
#else
TEST(CodePage, Utf8LocaleKeepsText) {
  CtypeLocale utf8("C.UTF-8");
  ASSERT_TRUE(utf8.ok());
  char* out = AnsiToUtf8("草稿.json");
  EXPECT_STREQ(out, "草稿.json");
  std::free(out);
  EXPECT_EQ(platform::LocaleText("："), "：");
}
#endif

TEST(CodePage, Utf8ToAnsiReportsTheSizeItNeeds) {
  std::string longText(2100, 'a');
  char out[2048];
  int capacity = sizeof(out);
  EXPECT_EQ(Utf8ToAnsi(longText.c_str(), nullptr, out, &capacity), 0);
  EXPECT_EQ(capacity, 2101);
  capacity = 2101;
  std::string big(2101, '\0');
  EXPECT_EQ(Utf8ToAnsi(longText.c_str(), nullptr, big.data(), &capacity), 2101);
}

TEST(CodePage, FileExistsNeedsAPath) {
  EXPECT_EQ(FileExists(nullptr), 0);
  EXPECT_EQ(FileExists(""), 0);
  EXPECT_EQ(FileExists("/nonexistent/x"), 0);
  EXPECT_EQ(FileExists("/tmp"), 1);
}

} // namespace

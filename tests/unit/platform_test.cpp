// The platform module: paths, clocks, code pages and the file-system calls,
// each checked on the system the tests run on (under Wine once per ANSI code
// page for the Windows build).
#include <gtest/gtest.h>

#include <atomic>
#include <cinttypes>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

#include "platform/codepage.h"
#include "platform/diagnostic.h"
#include "platform/per_thread.h"
#include "platform/platform.h"
#include "tests/unit/draft_fixture.h"

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

// Names outside the ANSI code page: Chinese is not in 1252, Korean is in
// neither 1252 nor 936. Paths inside the program are UTF-8.
const std::string kChineseFolder = "草稿素材";

// Wine keeps file names in the codeset of its host's locale: under
// zh_CN.GBK (the 936 run) a Korean name cannot be made at all, as it can on
// Windows, so that run names its file in Chinese.
std::string KoreanOrChineseFile() {
#if defined(_WIN32)
  const bool wine = GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
  if (wine && platform::AnsiCodeset() == "CP936") return "视频.json";
#endif
  return "영상.json";
}

// Writes a file through the platform's own opening (the tests' std::ofstream
// would take a narrow name in the ANSI code page on Windows).
bool WriteText(const std::string& path, const char* text) {
  FILE* f = platform::OpenFile(path.c_str(), "wb");
  if (!f) return false;
  bool ok = std::fputs(text, f) >= 0;
  return std::fclose(f) == 0 && ok;
}

TEST(PlatformFiles, AFolderAndAFileNamedOutsideTheAnsiCodePageWorkInEveryFileCall) {
  drafttest::TempFolder scratch;
  const std::string folder = scratch.path() + platform::kSeparator + kChineseFolder;
  const std::string name = KoreanOrChineseFile();
  const std::string file = folder + platform::kSeparator + name;
  ASSERT_TRUE(platform::MakeDirectory(folder.c_str()));
  EXPECT_TRUE(platform::Exists(folder.c_str()));
  EXPECT_TRUE(platform::IsDirectory(folder.c_str()));
  EXPECT_FALSE(platform::IsRegularFile(folder.c_str()));
  EXPECT_TRUE(platform::CanWriteIn(folder.c_str()));
  ASSERT_TRUE(WriteText(file, "{}"));
  EXPECT_TRUE(platform::Exists(file.c_str()));
  EXPECT_TRUE(platform::IsRegularFile(file.c_str()));
  EXPECT_FALSE(platform::IsDirectory(file.c_str()));
  EXPECT_EQ(FileExists(file.c_str()), 1);
  std::string text;
  EXPECT_TRUE(platform::ReadWholeFile(file.c_str(), &text));
  EXPECT_EQ(text, "{}");
  EXPECT_EQ(platform::ListDirectory(scratch.path().c_str()), std::vector<std::string>{kChineseFolder});
  EXPECT_EQ(platform::ListDirectory(folder.c_str()), std::vector<std::string>{name});
#if defined(_WIN32)
  // The names on disk are the names themselves, not their bytes read in
  // the ANSI code page.
  const std::wstring onDisk = std::wstring(scratch.path().begin(), scratch.path().end()) + L"\\草稿素材\\" +
                              (name == "视频.json" ? L"视频.json" : L"영상.json");
  EXPECT_NE(GetFileAttributesW(onDisk.c_str()), INVALID_FILE_ATTRIBUTES);
#endif
  EXPECT_TRUE(platform::RemoveFile(file.c_str()));
  EXPECT_FALSE(platform::Exists(file.c_str()));
  EXPECT_FALSE(platform::IsRegularFile(file.c_str()));
  EXPECT_EQ(FileExists(file.c_str()), 0);
  EXPECT_TRUE(platform::ListDirectory(folder.c_str()).empty());
}

// Byte order, not the letter order NTFS keeps: "C" comes before "a". Names
// that differ only in case are one name on Windows, so none are used.
TEST(PlatformFiles, AFolderListingIsSortedByTheBytesOfItsNames) {
  drafttest::TempFolder scratch;
  for (const std::string& name : std::vector<std::string>{"b.json", "C.json", kChineseFolder, "a.json"})
    ASSERT_TRUE(WriteText(scratch.path() + platform::kSeparator + name, ""));
  EXPECT_EQ(platform::ListDirectory(scratch.path().c_str()),
            (std::vector<std::string>{"C.json", "a.json", "b.json", kChineseFolder}));
}

#if defined(_WIN32)
// The command line's paths are in the ANSI code page; one handed on without
// conversion (a theme request's path) still names the same file.
TEST(PlatformFiles, APathStillInTheAnsiCodePageNamesTheSameFile) {
  drafttest::TempFolder scratch;
  const bool gbk = platform::AnsiCodeset() == "CP936";
  const std::string name = gbk ? kChineseFolder : "café";
  const std::string utf8 = scratch.path() + platform::kSeparator + name;
  ASSERT_TRUE(platform::MakeDirectory(utf8.c_str()));
  char ansi[256] = {0};
  int capacity = sizeof(ansi);
  ASSERT_GT(Utf8ToAnsi(utf8.c_str(), nullptr, ansi, &capacity), 0);
  ASSERT_NE(std::string(ansi), utf8);
  EXPECT_TRUE(platform::IsDirectory(ansi));
  EXPECT_TRUE(platform::Exists(ansi));
}

TEST(PlatformFiles, TheProgramsPathIsTheRunningProgramInUtf8) {
  const std::string program = platform::ProgramPath();
  EXPECT_TRUE(platform::IsRegularFile(program.c_str())) << program;
  EXPECT_NE(program.find("program_tests.exe"), std::string::npos) << program;
}
#endif

// Sizes and 64-bit numbers print in their C99 forms on both systems (the
// Windows program prints through MinGW-w64's own printf, not the Microsoft
// C runtime's, which knows neither %zu nor %jd).
TEST(PlatformDiagnostic, SizesAndWideIntegersPrintTheSameOnEverySystem) {
  testing::internal::CaptureStderr();
  Diagnostic("draft path of %zu bytes; %jd, %lld, %" PRIu64 " and %s", sizeof(DraftDocument::draftPath),
             static_cast<intmax_t>(-9000000000), -42LL, static_cast<uint64_t>(18446744073709551615u), "end");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "ormadraft: draft path of 1024 bytes; -9000000000, -42, 18446744073709551615 and end\n");
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
  if (expected) {
    EXPECT_EQ(platform::AnsiCodeset(), std::string("CP") + expected);
  }
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

// A per-thread object that owns memory, counting how many were made and
// destroyed.
std::atomic<int> gMade{0}, gDestroyed{0};
struct Counted {
  Counted() : data(4096, 7) { ++gMade; }
  ~Counted() {
    // A destructor run on released storage reads a broken vector here.
    EXPECT_EQ(data.size(), 4096u);
    ++gDestroyed;
  }
  std::vector<int> data;
};
Counted& FirstPlace() {
  return platform::PerThread<Counted>([] {});
}
Counted& SecondPlace() {
  return platform::PerThread<Counted>([] {});
}

TEST(PerThread, EachThreadAndPlaceHasItsOwnObjectDestroyedOnceWhenTheThreadEnds) {
  gMade = gDestroyed = 0;
  for (int round = 0; round < 16; ++round) {
    std::vector<std::thread> threads;
    std::vector<Counted*> firsts(4), seconds(4);
    std::atomic<int> holding{0};
    for (int t = 0; t < 4; ++t)
      threads.emplace_back([t, &firsts, &seconds, &holding] {
        Counted& a = FirstPlace();
        a.data[0] = t;
        EXPECT_EQ(&FirstPlace(), &a) << "the same place gives the same object on one thread";
        EXPECT_EQ(FirstPlace().data[0], t);
        firsts[t] = &a;
        seconds[t] = &SecondPlace();
        // All four hold their objects at once, so no address is reused.
        ++holding;
        while (holding.load() < 4)
          std::this_thread::yield();
      });
    for (auto& thread : threads)
      thread.join();
    for (int t = 0; t < 4; ++t) {
      EXPECT_NE(firsts[t], seconds[t]) << "two places keep two objects";
      for (int u = 0; u < t; ++u)
        EXPECT_NE(firsts[t], firsts[u]) << "each thread has its own";
    }
  }
  EXPECT_EQ(gMade.load(), 16 * 4 * 2);
  EXPECT_EQ(gDestroyed.load(), 16 * 4 * 2) << "each object is destroyed as its thread ends";
}

} // namespace

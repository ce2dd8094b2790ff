#include "export/export_settings.h"

#include <climits>

#include "tests/unit/export_fixtures.h"

using exporttest::ScratchFolder;

namespace {

class ExportSettingsFile : public ::testing::Test {
protected:
  // Reads `json` as an export settings file over the defaults.
  ExportSettings Read(const std::string& json, bool expectParsed = true) {
    ExportSettings settings = DefaultExportSettings();
    const std::string path = folder.Write("out.json", json);
    EXPECT_EQ(ReadExportSettings(path.c_str(), &settings, &start, &end), expectParsed);
    return settings;
  }

  ScratchFolder folder;
  int64_t start = 11; // the command line's range, in microseconds
  int64_t end = 22;
};

void ExpectDefaults(const ExportSettings& s) {
  EXPECT_STREQ(s.videoCodec, "libx264");
  EXPECT_EQ(s.fps, 25.0);
  EXPECT_EQ(s.videoBitrate, 3000);
  EXPECT_EQ(s.audioChannels, 2);
  EXPECT_EQ(s.audioSamples, 44100);
  EXPECT_EQ(s.audioBitrate, 128);
  EXPECT_STREQ(s.audioCodec, "");
  EXPECT_EQ(s.hwDecoder, 0);
  EXPECT_EQ(s.hwEncoder, 0);
  EXPECT_STREQ(s.outUrl, "");
}

} // namespace

TEST(ExportSettings, DefaultsAreTheDocumentedOnes) { ExpectDefaults(DefaultExportSettings()); }

TEST_F(ExportSettingsFile, FpsOfZeroOrAboveOneHundredTwentyKeepsTwentyFive) {
  EXPECT_EQ(Read(R"({"video": {"fps": 0}})").fps, 25.0);
  EXPECT_EQ(Read(R"({"video": {"fps": 150}})").fps, 25.0);
  EXPECT_EQ(Read(R"({"video": {"fps": -30}})").fps, 25.0);
  EXPECT_EQ(Read(R"({"video": {"fps": 120.01}})").fps, 25.0);
}

TEST_F(ExportSettingsFile, FpsOfOneHundredTwentyIsUsed) {
  EXPECT_EQ(Read(R"({"video": {"fps": 120}})").fps, 120.0);
  EXPECT_EQ(Read(R"({"video": {"fps": 29.97}})").fps, 29.97);
}

TEST_F(ExportSettingsFile, AudioWithoutVideoKeepsAudioDefaults) {
  ExportSettings s = Read(R"({"audio": {"channels": 1, "samples": 48000, "bitrate": 320}})");
  EXPECT_EQ(s.audioChannels, 2);
  EXPECT_EQ(s.audioSamples, 44100);
  EXPECT_EQ(s.audioBitrate, 128);
}

TEST_F(ExportSettingsFile, AudioBesideVideoIsRead) {
  ExportSettings s = Read(R"({"video": {}, "audio": {"channels": 6, "samples": 48000, "bitrate": 320}})");
  EXPECT_EQ(s.audioChannels, 6);
  EXPECT_EQ(s.audioSamples, 48000);
  EXPECT_EQ(s.audioBitrate, 320);
}

TEST_F(ExportSettingsFile, NegativeAudioBitrateIsStored) {
  EXPECT_EQ(Read(R"({"video": {}, "audio": {"bitrate": -5}})").audioBitrate, -5);
  EXPECT_EQ(Read(R"({"video": {}, "audio": {"bitrate": 0}})").audioBitrate, 128);
}

TEST_F(ExportSettingsFile, SevenChannelsKeepTwo) {
  EXPECT_EQ(Read(R"({"video": {}, "audio": {"channels": 7}})").audioChannels, 2);
  EXPECT_EQ(Read(R"({"video": {}, "audio": {"channels": 0}})").audioChannels, 2);
  EXPECT_EQ(Read(R"({"video": {}, "audio": {"channels": 1}})").audioChannels, 1);
}

TEST_F(ExportSettingsFile, ZeroOrNegativeSamplesGiveTheDefaultRate) {
  EXPECT_EQ(Read(R"({"video": {}, "audio": {"samples": 0}})").audioSamples, 44100);
  EXPECT_EQ(Read(R"({"video": {}, "audio": {"samples": -8000}})").audioSamples, 44100);
}

TEST_F(ExportSettingsFile, VideoBitrateIsKeptOnlyWhenPositive) {
  EXPECT_EQ(Read(R"({"video": {"bitrate": 0}})").videoBitrate, 3000);
  EXPECT_EQ(Read(R"({"video": {"bitrate": -1}})").videoBitrate, 3000);
  EXPECT_EQ(Read(R"({"video": {"bitrate": 8000}})").videoBitrate, 8000);
}

TEST_F(ExportSettingsFile, VideoEncoderIsAlsoTheAudioCodec) {
  ExportSettings s = Read(R"({"video": {"encoder": "libx265"}})");
  EXPECT_STREQ(s.videoCodec, "libx265");
  EXPECT_STREQ(s.audioCodec, "libx265");
}

TEST_F(ExportSettingsFile, AudioEncoderKeyIsNeverRead) {
  ExportSettings s = Read(R"({"video": {"fps": 30}, "audio": {"encoder": "aac"}})");
  EXPECT_STREQ(s.videoCodec, "libx264");
  EXPECT_STREQ(s.audioCodec, "");
}

TEST_F(ExportSettingsFile, EmptyOrNonStringEncoderLeavesBothCodecs) {
  for (const char* json : {R"({"video": {"encoder": ""}})", R"({"video": {"encoder": 264}})"}) {
    ExportSettings s = Read(json);
    EXPECT_STREQ(s.videoCodec, "libx264") << json;
    EXPECT_STREQ(s.audioCodec, "") << json;
  }
}

TEST_F(ExportSettingsFile, OverlongEncoderIsCutToItsBuffer) {
  const std::string name(300, 'x');
  ExportSettings s = Read(R"({"video": {"encoder": ")" + name + R"("}})");
  EXPECT_EQ(std::string(s.videoCodec), std::string(127, 'x'));
  EXPECT_EQ(std::string(s.audioCodec), std::string(127, 'x'));
}

TEST_F(ExportSettingsFile, KeysAreLookedUpWithoutRegardToCase) {
  ExportSettings s = Read(R"({"Video": {"FPS": 50, "Encoder": "mpeg4"}, "AUDIO": {"Channels": 1},
                              "Hw": {"Decoder": 1}, "OUTURL": "/v/out.mp4", "Time": {"START": 1}})");
  EXPECT_EQ(s.fps, 50.0);
  EXPECT_STREQ(s.videoCodec, "mpeg4");
  EXPECT_EQ(s.audioChannels, 1);
  EXPECT_EQ(s.hwDecoder, 1);
  EXPECT_STREQ(s.outUrl, "/v/out.mp4");
  EXPECT_EQ(start, 1000000);
}

TEST_F(ExportSettingsFile, HardwareFlagsTakeAnyValue) {
  ExportSettings s = Read(R"({"hw": {"decoder": -3, "encoder": 7}})");
  EXPECT_EQ(s.hwDecoder, -3);
  EXPECT_EQ(s.hwEncoder, 7);
}

TEST_F(ExportSettingsFile, TimeKeysOverwriteTheCommandLineRange) {
  Read(R"({"time": {"start": 1.5, "end": 12.25}})");
  EXPECT_EQ(start, 1500000);
  EXPECT_EQ(end, 12250000);
}

TEST_F(ExportSettingsFile, EachTimeKeyOverwritesOnlyItsOwnEnd) {
  Read(R"({"time": {"end": 3}})");
  EXPECT_EQ(start, 11);
  EXPECT_EQ(end, 3000000);
  Read(R"({"time": {"start": 0}})");
  EXPECT_EQ(start, 0);
  EXPECT_EQ(end, 3000000);
}

TEST_F(ExportSettingsFile, TimeIsTruncatedTowardZeroAndSaturates) {
  Read(R"({"time": {"start": -0.0000019, "end": 1e300}})");
  EXPECT_EQ(start, -1);
  EXPECT_EQ(end, INT64_MAX);
}

TEST_F(ExportSettingsFile, OutUrlTakesAnyString) {
  EXPECT_STREQ(Read(R"({"outUrl": "D:\\videos\\a b.mp4"})").outUrl, "D:\\videos\\a b.mp4");
  EXPECT_STREQ(Read(R"({"outUrl": 5})").outUrl, "");
}

TEST_F(ExportSettingsFile, MalformedFileLeavesEverythingAsItWas) {
  ExpectDefaults(Read(R"({"video": {"fps": 30}, )", false));
  EXPECT_EQ(start, 11);
  EXPECT_EQ(end, 22);
}

TEST_F(ExportSettingsFile, MissingFileLeavesEverythingAsItWas) {
  ExportSettings s = DefaultExportSettings();
  EXPECT_FALSE(ReadExportSettings(folder.Join("absent.json").c_str(), &s, &start, &end));
  ExpectDefaults(s);
  EXPECT_FALSE(ReadExportSettings(folder.path().c_str(), &s, &start, &end)); // a folder
  ExpectDefaults(s);
  EXPECT_EQ(start, 11);
}

TEST_F(ExportSettingsFile, WholeNumbersAreReadAsIntegers) {
  ExportSettings s = Read(R"({"video": {"bitrate": 2500.9}, "audio": {"channels": 2.7}})");
  EXPECT_EQ(s.videoBitrate, 2500);
  EXPECT_EQ(s.audioChannels, 2);
}

TEST_F(ExportSettingsFile, StreamsAreBothUnlessTheFileNamesPictureOrSoundAlone) {
  EXPECT_EQ(DefaultExportSettings().streams, ORMA_STREAMS_BOTH);
  EXPECT_EQ(Read(R"({"outUrl": "a.mp4"})").streams, ORMA_STREAMS_BOTH);
  EXPECT_EQ(Read(R"({"streams": "both"})").streams, ORMA_STREAMS_BOTH);
  EXPECT_EQ(Read(R"({"streams": "video"})").streams, ORMA_STREAMS_VIDEO);
  EXPECT_EQ(Read(R"({"Streams": "AUDIO"})").streams, ORMA_STREAMS_SOUND);
}

TEST_F(ExportSettingsFile, UnknownStreamsValueIsMarkedAndNamedWithTheFile) {
  for (const char* json : {R"({"streams": "sound"})", R"({"streams": 2})", R"({"streams": ""})"}) {
    testing::internal::CaptureStdout();
    const ExportSettings s = Read(json);
    const std::string console = testing::internal::GetCapturedStdout();
    EXPECT_EQ(s.streams, 0) << json;
    EXPECT_NE(console.find(folder.Join("out.json") + ": \"streams\" is "), std::string::npos) << console;
    EXPECT_NE(console.find("it must be \"both\", \"video\" or \"audio\""), std::string::npos) << console;
  }
}

#include "export/export_draft.h"

#include "preview/preview_command.h"
#include "tests/support/joined_path.h"
#include "tests/support/stopping_pipe.h"
#include "tests/unit/export_fixtures.h"

using exporttest::Arena;
using exporttest::ScratchFolder;
using exporttest::SetText;
using testpath::Joined;
using Lines = std::vector<std::string>;

namespace {

class ExportPipeline : public ::testing::Test {
protected:
  void SetUp() override {
    recorder::Reset();
    document = arena.New<DraftDocument>();
    document->ver = 5;
    document->width = 1920;
    document->height = 1080;
    SetText(document->draftPath, folder.Join("d_123.json"));
    // A slot that no test item matches; scenes use explicit spans or fall back.
    document->mediaInfo = arena.New<MediaInfoEntry>();
    SetText(document->mediaInfo->path, "unmatched.mp4");
  }

  template <typename T> T* Append(T** head) {
    while (*head)
      head = &(*head)->next;
    return *head = arena.New<T>();
  }

  // A scene whose first item gives its span explicitly (seconds).
  SceneRecord* AddScene(float from, float to, const char* path = "a.mp4") {
    SceneRecord* scene = Append(&document->scenes);
    MediaRecord* item = AddMedia(scene, path, to - from);
    item->timelineFrom = from;
    item->timelineTo = to;
    return scene;
  }

  // A plain item: only its volume (1.0 when the draft omits it) and its trim.
  MediaRecord* AddMedia(SceneRecord* scene, const char* path, float trimEnd) {
    MediaRecord* item = Append(&scene->media);
    SetText(item->path, path);
    item->volume = 1.0f;
    item->trimTimeEnd = trimEnd;
    item->timelineFrom = -1;
    return item;
  }

  BackgroundRecord* Background(SceneRecord* scene) {
    return scene->background = arena.New<BackgroundRecord>();
  }

  TransitionRecord* Transition(SceneRecord* scene, const std::string& folderPath, float duration) {
    scene->transition = arena.New<TransitionRecord>();
    SetText(scene->transition->folderPath, folderPath);
    scene->transition->duration = duration;
    return scene->transition;
  }

  void SettingsFile(const std::string& json) {
    SetText(document->exportPath, folder.Write("settings.json", json));
  }

  int32_t Export() {
    testing::internal::CaptureStdout();
    const int32_t result = ExportDraft(document, message);
    console = testing::internal::GetCapturedStdout();
    return result;
  }

  // The calls of the pipeline itself: without attributes and progress polls.
  static Lines Pipeline() {
    Lines lines;
    for (const recorder::Call& c : recorder::Calls()) {
      const std::string& n = c.name;
      const bool attribute = n.rfind("OrmaSetMedia", 0) == 0 || n.rfind("OrmaGetMedia", 0) == 0 ||
                             n.rfind("OrmaMediaAdd", 0) == 0 || n.rfind("OrmaAddMediaMask", 0) == 0 ||
                             n.rfind("OrmaUpdateMediaMask", 0) == 0;
      if (!attribute && n != "OrmaEditProgress") lines.push_back(recorder::Format(c));
    }
    return lines;
  }

  static Lines Named(const std::string& name) {
    Lines lines;
    for (const recorder::Call& c : recorder::Calls())
      if (c.name == name) lines.push_back(recorder::Format(c));
    return lines;
  }

  static bool Called(const std::string& name) { return !Named(name).empty(); }

  // A path the program joins to the draft's folder, piece by piece, quoted.
  template <typename... More> std::string Quoted(const std::string& name, const More&... more) const {
    return "\"" + Joined(folder.path(), name, more...) + "\"";
  }

  ScratchFolder folder;
  Arena arena;
  DraftDocument* document = nullptr;
  char message[kExportMessageSize] = {};
  std::string console;
};

// The attribute calls of a plain item (see AddMedia) with the given trim end.
Lines PlainAttributes(const std::string& handle, const std::string& trimEndUs) {
  return {"OrmaSetMediaFlip(" + handle + ", 0)",
          "OrmaSetMediaTimeLine(" + handle + ", 0, " + trimEndUs + ")",
          "OrmaSetMediaCutTime(" + handle + ", 0, " + trimEndUs + ")",
          "OrmaSetMediaAudioFactor(" + handle + ", 1)",
          "OrmaSetMediaAudioEffect(" + handle + ", 0)",
          "OrmaSetMediaAudioNsLevel(" + handle + ", 0)",
          "OrmaSetMediaSharp(" + handle + ", 0)",
          "OrmaSetMediaSaturation(" + handle + ", 0)",
          "OrmaSetMediaContrast(" + handle + ", 0)",
          "OrmaSetMediaBright(" + handle + ", 0)",
          "OrmaSetMediaWhiteBalance(" + handle + ", 0)",
          "OrmaSetMediaTransparency(" + handle + ", 0)",
          "OrmaSetMediaAnimationAngle(" + handle + ", 0)",
          "OrmaSetMediaClip(" + handle + ", {0,0,0,0})",
          "OrmaSetMediaShowRect(" + handle + ", {0,0,0,0})",
          "OrmaSetMediaPlaySpeed(" + handle + ", 0)"};
}

void Extend(Lines* lines, const Lines& more) { lines->insert(lines->end(), more.begin(), more.end()); }

// A path as the text of a JSON string: a Windows folder's "\\" escaped.
std::string JsonText(const std::string& path) {
  std::string text;
  for (char c : path) {
    if (c == '\\') text += '\\';
    text += c;
  }
  return text;
}

} // namespace

TEST_F(ExportPipeline, FullExportCallsTheLibraryInOrder) {
  const std::string out = folder.Join("out.mp4");
  SettingsFile(R"({"video": {"fps": 30, "bitrate": 5000, "encoder": "libx265", "w": 1280, "h": 720},
                   "audio": {"channels": 1, "samples": 48000, "bitrate": 192, "encoder": "aac"},
                   "hw": {"decoder": 1, "encoder": 2}, "time": {"start": 1, "end": 9},
                   "outUrl": ")" +
               JsonText(out) + R"("})");
  document->videoW = 1280;
  document->videoH = 720;
  folder.Write("trans/one/config.json", "{}");
  folder.Write("trans/two/file/config.json", "{}");
  folder.Write("trans/three/Preview.PNG", "png");
  folder.Write("trans/three/notes.txt", "txt");

  // Scene 1: explicit span 0..3 s, three items, a colour background.
  SceneRecord* first = AddScene(0, 3, "a.mp4");
  AddMedia(first, "/abs/b.mp4", 3);
  AddMedia(first, "sub\\c.mp4", 3);
  Background(first)->color = {0, 0, 0, 1};
  Transition(first, "trans/one", 0.5f);
  // Scene 2: matched against its media slot, which starts where scene 1 ends.
  SceneRecord* second = Append(&document->scenes);
  AddMedia(second, "d.mp4", 2);
  MediaInfoEntry* slot = Append(&document->mediaInfo);
  SetText(slot->path, "d.mp4");
  slot->timelineFrom = 3;
  slot->timelineTo = 5;
  SetText(Background(second)->imagePath, "bg.png");
  Transition(second, "trans/two", 1.0f);
  // Scene 3: a replaceable item without a slot takes its trimmed length.
  SceneRecord* third = Append(&document->scenes);
  AddMedia(third, "e.mp4", 1)->replaceType = 1;
  Background(third)->blurIntensity = 0.4f;
  Transition(third, folder.Join("trans/three"), 0.25f);
  recorder::SetResult("OrmaEditMedia", 7);

  EXPECT_EQ(Export(), 7);
  EXPECT_STREQ(message, "");

  Lines expected = {
      "OrmaVirtualVideoCreate()",
      "OrmaSetFrameSize(h1, 1280, 720)",
      "OrmaSetOutPath(h1, \"" + out + "\")",
      "OrmaSetVideoCodec(h1, \"libx265\")",
      "OrmaSetFPS(h1, 30)",
      "OrmaSetVideoBitrate(h1, 5000)",
      "OrmaSetAudioChannels(h1, 1)",
      "OrmaSetAudioSamples(h1, 48000)",
      "OrmaSetAudioBitrate(h1, 192)",
      "OrmaSetAudioCodec(h1, \"libx265\")",
      "OrmaEnableHWDecoder(h1, 1)",
      "OrmaEnableHWEncoder(h1, 2)",
      "OrmaCreateScene(0, 3000000)",
      "OrmaAddScene(h1, h2)",
      "OrmaSceneCreateMedia(" + Quoted("a.mp4") + ")",
      "OrmaSceneAddMediaHandle(h2, h3)",
  };
  Extend(&expected, PlainAttributes("h3", "3000000"));
  Extend(&expected, {"OrmaSetSceneBackGroundColor(h2, {0,0,0,1})", "OrmaSceneCreateMedia(\"/abs/b.mp4\")",
                     "OrmaSceneAddMediaHandle(h2, h4)"});
  Extend(&expected, PlainAttributes("h4", "3000000"));
  Extend(&expected,
         {"OrmaSetSceneBackGroundColor(h2, {0,0,0,1})", "OrmaSceneCreateMedia(" + Quoted("sub\\c.mp4") + ")",
          "OrmaSceneAddMediaHandle(h2, h5)"});
  Extend(&expected, PlainAttributes("h5", "3000000"));
  Extend(&expected, {"OrmaSetSceneBackGroundColor(h2, {0,0,0,1})", "OrmaSetSceneTransitionMode(h1, h2, 3)",
                     "OrmaSetSceneTransition(h1, h2, " + Quoted("trans/one", "config.json") + ", 500000)",
                     "OrmaCreateScene(3000000, 5000000)", "OrmaAddScene(h1, h6)",
                     "OrmaSceneCreateMedia(" + Quoted("d.mp4") + ")", "OrmaSceneAddMediaHandle(h6, h7)"});
  Extend(&expected, PlainAttributes("h7", "2000000"));
  Extend(&expected,
         {"OrmaSetSceneBackGroundImage(h6, " + Quoted("bg.png") + ")",
          "OrmaSetSceneTransitionMode(h1, h6, 3)",
          "OrmaSetSceneTransition(h1, h6, " + Quoted("trans/two", "file", "config.json") + ", 1000000)",
          "OrmaCreateScene(5000000, 6000000)", "OrmaAddScene(h1, h8)",
          "OrmaSceneCreateMedia(" + Quoted("e.mp4") + ")", "OrmaSceneAddMediaHandle(h8, h9)"});
  Extend(&expected, PlainAttributes("h9", "1000000"));
  Extend(&expected,
         {"OrmaSetSceneBackGroundGaussBlur(h8, 0.400000006)", "OrmaSetSceneTransitionMode(h1, h8, 3)",
          "OrmaSetSceneTransition(h1, h8, \"" + Joined(folder.Join("trans/three"), "Preview.PNG") +
              "\", 250000)",
          "OrmaEditSetLimitTime(h1, 1000000, 9000000)", "OrmaEditMediaUseAgentProcess(h1)",
          "OrmaEditMedia(h1)"});

  Lines actual;
  for (const recorder::Call& c : recorder::Calls())
    if (c.name != "OrmaEditProgress") actual.push_back(recorder::Format(c));
  EXPECT_EQ(actual, expected);
  EXPECT_FALSE(Named("OrmaEditProgress").empty());
  EXPECT_NE(console.find("nLimitTimelineStart:1000000 nLimitTimelineEnd:9000000\n"), std::string::npos)
      << console;
  EXPECT_EQ(console.substr(console.size() - 17), "ExportDraft out!\n");
  // The file's range is written back into the document.
  EXPECT_EQ(document->exportStart, 1000000);
  EXPECT_EQ(document->exportEnd, 9000000);
}

TEST_F(ExportPipeline, DefaultSettingsSetCodecAndRatesButNoAudioCodecNorHardware) {
  AddScene(0, 2);
  EXPECT_EQ(Export(), 1);
  const Lines pipeline = Pipeline();
  const Lines head(pipeline.begin(), pipeline.begin() + 9);
  EXPECT_EQ(head,
            (Lines{"OrmaVirtualVideoCreate()", "OrmaSetFrameSize(h1, 1920, 1080)",
                   "OrmaSetOutPath(h1, " + Quoted("video.mp4") + ")", "OrmaSetVideoCodec(h1, \"libx264\")",
                   "OrmaSetFPS(h1, 25)", "OrmaSetVideoBitrate(h1, 3000)", "OrmaSetAudioChannels(h1, 2)",
                   "OrmaSetAudioSamples(h1, 44100)", "OrmaSetAudioBitrate(h1, 128)"}));
  EXPECT_EQ(pipeline[9], "OrmaCreateScene(0, 2000000)");
  EXPECT_FALSE(Called("OrmaSetAudioCodec"));
  EXPECT_FALSE(Called("OrmaEnableHWDecoder"));
  EXPECT_FALSE(Called("OrmaEnableHWEncoder"));
  EXPECT_FALSE(Called("OrmaEditSetLimitTime"));
  EXPECT_NE(console.find("nLimitTimelineStart:0 nLimitTimelineEnd:0\n"), std::string::npos);
}

TEST_F(ExportPipeline, NegativeAudioBitrateIsNotPassedToTheLibrary) {
  AddScene(0, 2);
  SettingsFile(R"({"video": {}, "audio": {"bitrate": -5, "channels": 7, "samples": 0}})");
  EXPECT_EQ(Export(), 1);
  EXPECT_FALSE(Called("OrmaSetAudioBitrate"));
  EXPECT_EQ(Named("OrmaSetAudioChannels"), Lines{"OrmaSetAudioChannels(h1, 2)"});
  EXPECT_EQ(Named("OrmaSetAudioSamples"), Lines{"OrmaSetAudioSamples(h1, 44100)"});
}

TEST_F(ExportPipeline, FpsOutsideItsRangeKeepsTwentyFive) {
  AddScene(0, 2);
  for (const char* json : {R"({"video": {"fps": 0}})", R"({"video": {"fps": 150}})"}) {
    recorder::Reset();
    SettingsFile(json);
    EXPECT_EQ(Export(), 1);
    EXPECT_EQ(Named("OrmaSetFPS"), Lines{"OrmaSetFPS(h1, 25)"}) << json;
  }
  recorder::Reset();
  SettingsFile(R"({"video": {"fps": 120}})");
  EXPECT_EQ(Export(), 1);
  EXPECT_EQ(Named("OrmaSetFPS"), Lines{"OrmaSetFPS(h1, 120)"});
}

TEST_F(ExportPipeline, AudioWithoutVideoLeavesTheAudioDefaults) {
  AddScene(0, 2);
  SettingsFile(R"({"audio": {"channels": 1, "samples": 22050, "bitrate": 64}})");
  EXPECT_EQ(Export(), 1);
  EXPECT_EQ(Named("OrmaSetAudioChannels"), Lines{"OrmaSetAudioChannels(h1, 2)"});
  EXPECT_EQ(Named("OrmaSetAudioSamples"), Lines{"OrmaSetAudioSamples(h1, 44100)"});
  EXPECT_EQ(Named("OrmaSetAudioBitrate"), Lines{"OrmaSetAudioBitrate(h1, 128)"});
}

TEST_F(ExportPipeline, UncheckedSettingCallsDoNotStopTheExport) {
  AddScene(0, 2);
  SettingsFile(R"({"video": {"encoder": "mpeg4"}, "hw": {"decoder": 3, "encoder": -1}})");
  for (const char* name : {"OrmaSetVideoCodec", "OrmaSetFPS", "OrmaSetVideoBitrate", "OrmaSetAudioChannels",
                           "OrmaSetAudioSamples", "OrmaSetAudioBitrate", "OrmaSetAudioCodec",
                           "OrmaEnableHWDecoder", "OrmaEnableHWEncoder"})
    recorder::SetResult(name, -1);
  EXPECT_EQ(Export(), 1);
  EXPECT_EQ(Named("OrmaSetAudioCodec"), Lines{"OrmaSetAudioCodec(h1, \"mpeg4\")"});
  EXPECT_EQ(Named("OrmaEnableHWDecoder"), Lines{"OrmaEnableHWDecoder(h1, 3)"});
  EXPECT_EQ(Named("OrmaEnableHWEncoder"), Lines{"OrmaEnableHWEncoder(h1, -1)"});
}

TEST_F(ExportPipeline, OutputSizeOverridesTheCanvasOnlyWhenBothArePositive) {
  AddScene(0, 2);
  document->videoW = 1280;
  document->videoH = 0;
  document->width = 1919.9f;
  EXPECT_EQ(Export(), 1);
  EXPECT_EQ(Named("OrmaSetFrameSize"), Lines{"OrmaSetFrameSize(h1, 1919, 1080)"});
  recorder::Reset();
  document->videoH = 720.5f;
  EXPECT_EQ(Export(), 1);
  EXPECT_EQ(Named("OrmaSetFrameSize"), Lines{"OrmaSetFrameSize(h1, 1280, 720)"});
}

TEST_F(ExportPipeline, MissingOutUrlWritesVideoBesideTheWorkingDraft) {
  AddScene(0, 2);
  SetText(document->draftPath, "C:\\p\\d_123.json");
  EXPECT_EQ(Export(), 1);
  EXPECT_EQ(Named("OrmaSetOutPath"), Lines{"OrmaSetOutPath(h1, \"" + Joined("C:\\p", "video.mp4") + "\")"});

  recorder::Reset();
  SetText(document->draftPath, folder.Join("d_123.json"));
  SettingsFile(R"({"video": {"fps": 30}})");
  SetText(document->outputPath, "/elsewhere/theme.mp4"); // only used without a settings file
  EXPECT_EQ(Export(), 1);
  EXPECT_EQ(Named("OrmaSetOutPath"), Lines{"OrmaSetOutPath(h1, " + Quoted("video.mp4") + ")"});
}

TEST_F(ExportPipeline, DraftPathWithoutFolderIsTakenWhole) {
  AddScene(0, 2);
  SetText(document->draftPath, "d_123.json");
  EXPECT_EQ(Export(), 1);
  EXPECT_EQ(Named("OrmaSetOutPath"),
            Lines{"OrmaSetOutPath(h1, \"" + Joined("d_123.json", "video.mp4") + "\")"});
  EXPECT_EQ(Named("OrmaSceneCreateMedia"),
            Lines{"OrmaSceneCreateMedia(\"" + Joined("d_123.json", "a.mp4") + "\")"});
}

TEST_F(ExportPipeline, ThemeOutputPathIsUsedWithoutASettingsFile) {
  AddScene(0, 2);
  SetText(document->outputPath, "/videos/theme.mp4");
  EXPECT_EQ(Export(), 1);
  EXPECT_EQ(Named("OrmaSetOutPath"), Lines{"OrmaSetOutPath(h1, \"/videos/theme.mp4\")"});
}

TEST_F(ExportPipeline, UnreadableSettingsFileLeavesTheDefaults) {
  AddScene(0, 2);
  SetText(document->exportPath, folder.Join("absent.json"));
  document->exportEnd = 4000000;
  EXPECT_EQ(Export(), 1);
  EXPECT_EQ(Named("OrmaSetFPS"), Lines{"OrmaSetFPS(h1, 25)"});
  EXPECT_EQ(Named("OrmaSetOutPath"), Lines{"OrmaSetOutPath(h1, " + Quoted("video.mp4") + ")"});
  EXPECT_EQ(Named("OrmaEditSetLimitTime"), Lines{"OrmaEditSetLimitTime(h1, 0, 4000000)"});
}

TEST_F(ExportPipeline, SettingsFileRangeTakesPrecedenceOverTheCommandLine) {
  AddScene(0, 2);
  document->exportStart = 5000000;
  document->exportEnd = 8000000;
  SettingsFile(R"({"time": {"start": 0.5}})");
  EXPECT_EQ(Export(), 1);
  EXPECT_EQ(Named("OrmaEditSetLimitTime"), Lines{"OrmaEditSetLimitTime(h1, 500000, 8000000)"});
  EXPECT_NE(console.find("nLimitTimelineStart:500000 nLimitTimelineEnd:8000000\n"), std::string::npos);
}

TEST_F(ExportPipeline, AReversedOrNegativeRangeEndsTheExportWithoutEncoding) {
  const int64_t ranges[][2] = {{800000, 300000}, {1000000, 1000000}, {-1, 0}, {0, -5}};
  for (const auto& range : ranges) {
    recorder::Reset();
    console.clear();
    std::memset(message, 0, sizeof message);
    AddScene(0, 2);
    document->exportStart = range[0];
    document->exportEnd = range[1];
    EXPECT_EQ(Export(), kEmptyExportRange) << range[0] << ".." << range[1];
    EXPECT_STREQ(message, "Export range is empty");
    EXPECT_FALSE(Called("OrmaEditSetLimitTime"));
    EXPECT_FALSE(Called("OrmaEditMedia"));
    EXPECT_NE(console.find("selects no time"), std::string::npos) << console;
    document->scenes = nullptr;
  }
}

TEST_F(ExportPipeline, ARangeFromTheSettingsFileIsCheckedToo) {
  AddScene(0, 2);
  SettingsFile(R"({"time": {"start": 3.0, "end": 1.0}})");
  EXPECT_EQ(Export(), kEmptyExportRange);
  EXPECT_FALSE(Called("OrmaEditMedia"));
}

TEST_F(ExportPipeline, SecondSceneStartsWhereTheExplicitSpanEnded) {
  AddScene(0.5f, 2.5f);
  SceneRecord* second = Append(&document->scenes);
  AddMedia(second, "b.mp4", 1.25f)->replaceType = 1;
  EXPECT_EQ(Export(), 1);
  EXPECT_EQ(Named("OrmaCreateScene"),
            (Lines{"OrmaCreateScene(500000, 2500000)", "OrmaCreateScene(2500000, 3750000)"}));
}

TEST_F(ExportPipeline, FixedItemWithoutSpanOrSlotFailsWithMinus1694) {
  SceneRecord* scene = Append(&document->scenes);
  AddMedia(scene, "a.mp4", 2); // timelineFrom -1, replaceType 0, no matching slot
  EXPECT_EQ(Export(), kNoSceneSpan);
  EXPECT_STREQ(message, "Scene or MediaInfo  timeline is error");
  EXPECT_FALSE(Called("OrmaCreateScene"));
  EXPECT_FALSE(Called("OrmaEditMedia"));
}

TEST_F(ExportPipeline, SceneWithThreeItemsSetsItsBackgroundThreeTimes) {
  SceneRecord* scene = AddScene(0, 2);
  AddMedia(scene, "b.mp4", 2);
  AddMedia(scene, "c.mp4", 2);
  Background(scene)->blurIntensity = 0.5f;
  EXPECT_EQ(Export(), 1);
  EXPECT_EQ(Named("OrmaSetSceneBackGroundGaussBlur"), Lines(3, "OrmaSetSceneBackGroundGaussBlur(h2, 0.5)"));
  // Each follows its own item's attributes.
  const Lines pipeline = Pipeline();
  Lines afterMedia;
  for (size_t i = 1; i < pipeline.size(); ++i)
    if (pipeline[i].rfind("OrmaSetSceneBackGround", 0) == 0)
      afterMedia.push_back(pipeline[i - 1].substr(0, 24));
  EXPECT_EQ(afterMedia, Lines(3, "OrmaSceneAddMediaHandle("));
}

TEST_F(ExportPipeline, SceneWithoutBackgroundGetsNoBackgroundCall) {
  AddScene(0, 2);
  EXPECT_EQ(Export(), 1);
  for (const std::string& line : Pipeline())
    EXPECT_EQ(line.find("BackGround"), std::string::npos) << line;
}

TEST_F(ExportPipeline, BackgroundImageWinsAndIsJoinedToTheDraftFolder) {
  SceneRecord* scene = AddScene(0, 2);
  BackgroundRecord* background = Background(scene);
  SetText(background->imagePath, "images/bg.png");
  background->color = {1, 1, 1, 1};
  background->blurIntensity = 1;
  EXPECT_EQ(Export(), 1);
  EXPECT_EQ(Named("OrmaSetSceneBackGroundImage"),
            Lines{"OrmaSetSceneBackGroundImage(h2, " + Quoted("images/bg.png") + ")"});
  EXPECT_FALSE(Called("OrmaSetSceneBackGroundColor"));
  EXPECT_FALSE(Called("OrmaSetSceneBackGroundGaussBlur"));
}

TEST_F(ExportPipeline, AnyPositiveColourComponentGivesAColourBackground) {
  SceneRecord* scene = AddScene(0, 2);
  BackgroundRecord* background = Background(scene);
  background->type = 2; // not consulted
  background->color = {-1, 0, 0, 0.5f};
  background->blurIntensity = 1;
  EXPECT_EQ(Export(), 1);
  EXPECT_EQ(Named("OrmaSetSceneBackGroundColor"), Lines{"OrmaSetSceneBackGroundColor(h2, {-1,0,0,0.5})"});
  EXPECT_FALSE(Called("OrmaSetSceneBackGroundGaussBlur"));
}

TEST_F(ExportPipeline, BackgroundImageAndBlurFailOnlyOnANegativeResult) {
  SceneRecord* scene = AddScene(0, 2);
  SetText(Background(scene)->imagePath, "bg.png");
  recorder::SetResult("OrmaSetSceneBackGroundImage", 0);
  EXPECT_EQ(Export(), 1);
  recorder::Reset();
  recorder::SetResult("OrmaSetSceneBackGroundImage", -4);
  EXPECT_EQ(Export(), -4);
  EXPECT_STREQ(message, "OrmaSetSceneBackGroundImage failed! ret:-4");

  scene->background->imagePath[0] = '\0';
  std::memset(message, 0, sizeof(message));
  recorder::Reset();
  recorder::SetResult("OrmaSetSceneBackGroundGaussBlur", 0);
  EXPECT_EQ(Export(), 1);
  recorder::Reset();
  recorder::SetResult("OrmaSetSceneBackGroundGaussBlur", -2);
  EXPECT_EQ(Export(), -2);
  EXPECT_STREQ(message, "OrmaSetSceneBackGroundGaussBlur failed! ret:-2");
  EXPECT_FALSE(Called("OrmaEditMedia"));
}

TEST_F(ExportPipeline, BackgroundColourFailsOnZeroAsWell) {
  SceneRecord* scene = AddScene(0, 2);
  Background(scene)->color = {0.2f, 0, 0, 0};
  recorder::SetResult("OrmaSetSceneBackGroundColor", 0);
  EXPECT_EQ(Export(), 0);
  EXPECT_STREQ(message, "OrmaSetSceneBackGroundColor failed! ret:0");
  EXPECT_FALSE(Called("OrmaEditMedia"));
}

TEST_F(ExportPipeline, MediaPathsAreJoinedToTheDraftFolderUnlessAbsolute) {
  SceneRecord* scene = AddScene(0, 2, "clips\\a.mp4");
  AddMedia(scene, "/srv/b.mp4", 2);
  AddMedia(scene, "D:\\media\\c.mp4", 2);
  AddMedia(scene, "d:/media/d.mp4", 2);
  AddMedia(scene, "\\\\server\\share\\e.mp4", 2);
  AddMedia(scene, "C:f.mp4", 2); // drive-relative is not absolute
  EXPECT_EQ(Export(), 1);
  EXPECT_EQ(
      Named("OrmaSceneCreateMedia"),
      (Lines{"OrmaSceneCreateMedia(" + Quoted("clips\\a.mp4") + ")", "OrmaSceneCreateMedia(\"/srv/b.mp4\")",
             "OrmaSceneCreateMedia(\"D:\\media\\c.mp4\")", "OrmaSceneCreateMedia(\"d:/media/d.mp4\")",
             "OrmaSceneCreateMedia(\"\\\\server\\share\\e.mp4\")",
             "OrmaSceneCreateMedia(" + Quoted("C:f.mp4") + ")"}));
}

TEST_F(ExportPipeline, TransitionConfigInTheFolderComesFirst) {
  folder.Write("t/config.json", "{}");
  folder.Write("t/file/config.json", "{}");
  folder.Write("t/picture.png", "png");
  Transition(AddScene(0, 2), "t", 0.5f);
  EXPECT_EQ(Export(), 1);
  EXPECT_EQ(Named("OrmaSetSceneTransition"),
            Lines{"OrmaSetSceneTransition(h1, h2, " + Quoted("t", "config.json") + ", 500000)"});
}

TEST_F(ExportPipeline, TransitionConfigUnderFileComesSecond) {
  folder.Write("t/file/config.json", "{}");
  folder.Write("t/picture.png", "png");
  Transition(AddScene(0, 2), "t", 0.5f);
  EXPECT_EQ(Export(), 1);
  EXPECT_EQ(Named("OrmaSetSceneTransition"),
            Lines{"OrmaSetSceneTransition(h1, h2, " + Quoted("t", "file", "config.json") + ", 500000)"});
}

TEST_F(ExportPipeline, TransitionFolderWithPreviewPngGivesThatPicture) {
  folder.Write("t/Preview.PNG", "png");
  folder.Write("t/0.png", "png");      // five characters: never listed, though it sorts first
  folder.Write("t/Notes.txt", "text"); // listed before the picture, not a picture
  Transition(AddScene(0, 2), "t", 0.5f);
  EXPECT_EQ(Export(), 1);
  EXPECT_EQ(Named("OrmaSetSceneTransition"),
            Lines{"OrmaSetSceneTransition(h1, h2, " + Quoted("t", "Preview.PNG") + ", 500000)"});
}

TEST_F(ExportPipeline, PictureTestIsASubstringOfTheLowerCasedName) {
  folder.Write("t/frame.JPEG.bak", "x");
  folder.Write("t/zz_last.bmp", "x");
  Transition(AddScene(0, 2), "t", 0.5f);
  EXPECT_EQ(Export(), 1);
  EXPECT_EQ(Named("OrmaSetSceneTransition"),
            Lines{"OrmaSetSceneTransition(h1, h2, " + Quoted("t", "frame.JPEG.bak") + ", 500000)"});
}

TEST_F(ExportPipeline, TransitionNamingAFileListsItsFolder) {
  folder.Write("t/zzzzzz.png", "png");
  folder.Write("t/aaaaaa.jpg", "jpg");
  Transition(AddScene(0, 2), "t/zzzzzz.png", 0.5f);
  EXPECT_EQ(Export(), 1);
  EXPECT_EQ(Named("OrmaSetSceneTransition"),
            Lines{"OrmaSetSceneTransition(h1, h2, " + Quoted("t", "aaaaaa.jpg") + ", 500000)"});
}

TEST_F(ExportPipeline, TransitionFolderWithoutPictureFallsBackToFileConfig) {
  folder.Write("t/readme.txt", "text");
  Transition(AddScene(0, 2), "t", 1.5f);
  EXPECT_EQ(Export(), 1);
  EXPECT_EQ(Named("OrmaSetSceneTransition"),
            Lines{"OrmaSetSceneTransition(h1, h2, " + Quoted("t", "file", "config.json") + ", 1500000)"});
}

TEST_F(ExportPipeline, MissingTransitionResourceEndsTheExportWithZero) {
  SceneRecord* first = AddScene(0, 2);
  Transition(first, "transitions/gone", 0.5f);
  AddScene(2, 4);
  EXPECT_EQ(Export(), 0);
  EXPECT_STREQ(message, "");
  EXPECT_EQ(Named("OrmaCreateScene").size(), 1u);
  EXPECT_FALSE(Called("OrmaSetSceneTransitionMode"));
  EXPECT_FALSE(Called("OrmaEditMedia"));
  EXPECT_EQ(console.find("ExportDraft out!"), std::string::npos);
}

TEST_F(ExportPipeline, SceneWithoutTransitionFolderGetsNoTransition) {
  Transition(AddScene(0, 2), "", 0.5f);
  EXPECT_EQ(Export(), 1);
  EXPECT_FALSE(Called("OrmaSetSceneTransitionMode"));
  EXPECT_FALSE(Called("OrmaSetSceneTransition"));
}

TEST_F(ExportPipeline, RefusedTransitionModeEndsTheExport) {
  folder.Write("t/config.json", "{}");
  Transition(AddScene(0, 2), "t", 0.5f);
  recorder::SetResult("OrmaSetSceneTransitionMode", 0);
  EXPECT_EQ(Export(), 0);
  EXPECT_STREQ(message, "Set scene transition mode fail");
  EXPECT_FALSE(Called("OrmaSetSceneTransition"));
}

TEST_F(ExportPipeline, RefusedTransitionIsLoggedAndTheExportGoesOn) {
  folder.Write("t/config.json", "{}");
  Transition(AddScene(0, 2), "t", 0.5f);
  AddScene(2, 3);
  recorder::SetResult("OrmaSetSceneTransition", -2);
  EXPECT_EQ(Export(), 1);
  EXPECT_STREQ(message, "");
  EXPECT_NE(console.find("] -- OrmaSetSceneTransition failed:-2\n"), std::string::npos) << console;
  EXPECT_EQ(Named("OrmaCreateScene").size(), 2u);
  EXPECT_TRUE(Called("OrmaEditMedia"));
}

TEST_F(ExportPipeline, NullOrPathlessDocumentFailsWithMinus1499) {
  EXPECT_EQ(ExportDraft(nullptr, message), kNoDraftPath);
  EXPECT_STREQ(message, "JsonPath is null");
  std::memset(message, 0, sizeof(message));
  AddScene(0, 2);
  document->draftPath[0] = '\0';
  EXPECT_EQ(Export(), kNoDraftPath);
  EXPECT_STREQ(message, "JsonPath is null");
  EXPECT_TRUE(recorder::Calls().empty());
}

TEST_F(ExportPipeline, MissingScenesOrMediaInfoFailsWithMinus1507) {
  EXPECT_EQ(Export(), kNoScenesOrMediaInfo);
  EXPECT_STREQ(message, "Scenes or MediaInfo is null");
  AddScene(0, 2);
  document->mediaInfo = nullptr;
  EXPECT_EQ(Export(), kNoScenesOrMediaInfo);
  EXPECT_TRUE(recorder::Calls().empty());
}

TEST_F(ExportPipeline, VirtualVideoThatCannotBeCreatedFailsWithMinus1515) {
  AddScene(0, 2);
  recorder::SetResult("OrmaVirtualVideoCreate", 0);
  EXPECT_EQ(Export(), kCreateVideoFailed);
  EXPECT_STREQ(message, "Create virtual video fail");
  EXPECT_EQ(recorder::CallNames(), Lines{"OrmaVirtualVideoCreate"});
}

TEST_F(ExportPipeline, SceneThatCannotBeCreatedFailsWithMinus1703) {
  AddScene(0, 2);
  recorder::SetResult("OrmaCreateScene", 0);
  EXPECT_EQ(Export(), kCreateSceneFailed);
  EXPECT_STREQ(message, "Create scene fail");
  EXPECT_EQ(recorder::CallNames().back(), "OrmaCreateScene");
}

TEST_F(ExportPipeline, MediaThatCannotBeCreatedFailsWithMinus1735) {
  AddScene(0, 2);
  recorder::SetResult("OrmaSceneCreateMedia", 0);
  EXPECT_EQ(Export(), kSceneMediaFailed);
  EXPECT_STREQ(message, "Scene media path is null");
  EXPECT_EQ(recorder::CallNames().back(), "OrmaSceneCreateMedia");
}

// Rows of the result table that return the failing library call's own result.
TEST_F(ExportPipeline, FailingLibraryCallsReturnTheirOwnResult) {
  struct Row {
    const char* call;
    const char* message;
  };
  const Row rows[] = {
      {"OrmaSetFrameSize", "Set frame size fail"},
      {"OrmaSetOutPath", "Set out path fail"},
      {"OrmaAddScene", "Add scene fail"},
      {"OrmaSceneAddMediaHandle", "Add media to scene fail"},
      {"OrmaSetMediaFlip", "Set media attribute fail"},
      {"OrmaSetMediaPlaySpeed", "Set media attribute fail"},
  };
  AddScene(0, 2);
  for (const Row& row : rows) {
    for (int64_t failure : {0, -17}) {
      recorder::Reset();
      std::memset(message, 0, sizeof(message));
      recorder::SetResult(row.call, failure);
      EXPECT_EQ(Export(), failure) << row.call;
      EXPECT_STREQ(message, row.message) << row.call;
      EXPECT_EQ(recorder::CallNames().back(), row.call);
      EXPECT_FALSE(Called("OrmaEditMedia")) << row.call;
    }
  }
}

TEST_F(ExportPipeline, FailedAttributeCodeIsReturnedAsItIs) {
  SceneRecord* scene = AddScene(0, 2);
  scene->media->specialEffects = arena.New<EffectRecord>(); // spans 0..0
  EXPECT_EQ(Export(), -606);
  EXPECT_STREQ(message, "Set media attribute fail");
}

TEST_F(ExportPipeline, FailedEditStillJoinsTheReporterAndSaysItIsOut) {
  AddScene(0, 2);
  recorder::SetResult("OrmaEditMedia", -13);
  recorder::QueueResults("OrmaEditProgress", {40});
  EXPECT_EQ(Export(), -13);
  EXPECT_STREQ(message, "Edit media fail");
  EXPECT_EQ(Named("OrmaEditProgress").size(), 2u); // the reporter ran until 100
  EXPECT_EQ(console.substr(console.size() - 17), "ExportDraft out!\n");
  const Lines pipeline = Pipeline();
  EXPECT_EQ(Lines(pipeline.end() - 2, pipeline.end()),
            (Lines{"OrmaEditMediaUseAgentProcess(h1)", "OrmaEditMedia(h1)"}));
}

TEST_F(ExportPipeline, SuccessReturnsTheEditResultWithoutMessage) {
  AddScene(0, 2);
  recorder::SetResult("OrmaEditMedia", 42);
  EXPECT_EQ(Export(), 42);
  EXPECT_STREQ(message, "");
  EXPECT_NE(console.find("progress:100.000000 time:"), std::string::npos);
}

TEST_F(ExportPipeline, PreviewModeSetsUpTheWindowInsteadOfTheOutput) {
  AddScene(0, 2);
  document->previewMode = 1;
  document->previewWindow = 0x1234;
  SettingsFile(R"({"video": {"fps": 30}, "outUrl": "/v/out.mp4"})");
  // The application hosts the control pipe and stops the preview at once.
  PreviewCommand command{};
  const std::string pipe = TestPipeName(folder.Join("control"));
  SetText(command.pipeName, pipe);
  document->previewCommand = &command;
  StoppingPipe application(pipe);
  recorder::SetResult("OrmaPreview", 5);
  testing::internal::CaptureStderr();
  EXPECT_EQ(Export(), 5);
  testing::internal::GetCapturedStderr();
  EXPECT_NE(application.Reply().find("\"totaltime\""), std::string::npos);
  EXPECT_STREQ(message, "");
  EXPECT_NE(console.find("ExportDraft out!\n"), std::string::npos);
  EXPECT_TRUE(Called("OrmaPreview"));
  EXPECT_TRUE(Called("OrmaPreviewStop"));
  const Lines pipeline = Pipeline();
  EXPECT_EQ(Lines(pipeline.begin(), pipeline.begin() + 6),
            (Lines{"OrmaVirtualVideoCreate()", "OrmaSetDisplayRatio(h1, 1.77777779)",
                   "OrmaSetPreviewWindowsHwnd(h1, 4660)", "OrmaPreviewInit(h1)",
                   "OrmaCreateScene(0, 2000000)", "OrmaAddScene(h1, h2)"}));
  for (const char* call : {"OrmaSetFrameSize", "OrmaSetOutPath", "OrmaSetVideoCodec", "OrmaSetFPS",
                           "OrmaEditMedia", "OrmaEditProgress"})
    EXPECT_FALSE(Called(call)) << call;
}

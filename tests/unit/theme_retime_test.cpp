// Retiming a filled theme draft: elements cut at the new end, repeated every
// old length when the draft grew (the middle only for stickers, captions and
// overlays), musics following the media-group file's mute and volume, and
// theme-relative paths made absolute.
#include "tests/unit/theme_fixture.h"

using namespace themetest;

namespace {

class ThemeRetimeTest : public ThemeTest {
protected:
  // A 10 s one-placeholder theme with these extra members, filled with one
  // clip of `seconds`.
  drafttest::Json Fill(double seconds, const std::string& more, const std::vector<std::string>& extra = {}) {
    WriteTheme("Sample", Theme(10, {Slot("p1.mp4", 0, 10)}, {Scene("p1.mp4", 10)}, more));
    FakeTable()["a.mp4"] = {seconds};
    std::vector<std::string> media = {"a.mp4"};
    media.insert(media.end(), extra.begin(), extra.end());
    record_ = Load(WriteRequest("Sample", media));
    EXPECT_NE(record_, nullptr) << printed_;
    return record_ ? Written(record_.get()) : drafttest::Json();
  }
  static std::vector<std::pair<double, double>> Times(const cJSON* array) {
    std::vector<std::pair<double, double>> times;
    const cJSON* e = nullptr;
    cJSON_ArrayForEach(e, array) times.emplace_back(Num(e, "timelineFrom"), Num(e, "timelineTo"));
    return times;
  }
  themetest::Request record_;
};

using Spans = std::vector<std::pair<double, double>>;

const std::string kEffects = R"(, "specialEffects": [
    {"folderPath": "fx/glitch", "timelineFrom": 2, "timelineTo": 4},
    {"folderPath": "/abs/fx", "timelineFrom": 8, "timelineTo": 10}])";

TEST_F(ThemeRetimeTest, ATenSecondThemeFilledToTwentyFiveRepeatsEffectsEveryTenSeconds) {
  drafttest::Json draft = Fill(25, kEffects);
  ASSERT_TRUE(draft);
  EXPECT_EQ(Num(draft.get(), "duration"), 25);
  EXPECT_EQ(Times(Get(draft.get(), "specialEffects")),
            (Spans{{2, 4}, {8, 10}, {12, 14}, {22, 24}, {18, 20}}));
  const cJSON* effects = Get(draft.get(), "specialEffects");
  EXPECT_EQ(Str(At(effects, 0), "folderPath"),
            folder_.Join("lib") + drafttest::Native("//Sample/") + "fx/glitch");
  EXPECT_EQ(Str(At(effects, 1), "folderPath"), "/abs/fx");
  EXPECT_EQ(Str(At(effects, 3), "folderPath"),
            folder_.Join("lib") + drafttest::Native("//Sample/") + "fx/glitch");
}

TEST_F(ThemeRetimeTest, AThemeShortenedToSixSecondsCutsButNeverDeletes) {
  drafttest::Json draft = Fill(6, R"(, "specialEffects": [{"timelineFrom": 4, "timelineTo": 9},
      {"timelineFrom": 7, "timelineTo": 9}, {"timelineFrom": 1, "timelineTo": 2}])");
  ASSERT_TRUE(draft);
  EXPECT_EQ(Times(Get(draft.get(), "specialEffects")), (Spans{{4, 6}, {7, 6}, {1, 2}}));
  EXPECT_EQ(LastKey(At(Get(draft.get(), "specialEffects"), 0)), "timelineTo");
}

TEST_F(ThemeRetimeTest, PipListEffectsAreRetimedWhenTheDraftHasNoEffectArray) {
  drafttest::Json draft = Fill(25, R"(, "pipList": [{"pipType": 1, "timelineFrom": 2, "timelineTo": 4},
      {"pipType": 2, "timelineFrom": 2, "timelineTo": 4}])");
  ASSERT_TRUE(draft);
  EXPECT_EQ(Times(Get(draft.get(), "pipList")), (Spans{{2, 4}, {2, 4}, {12, 14}, {22, 24}}));
  EXPECT_EQ(Num(At(Get(draft.get(), "pipList"), 3), "pipType"), 1);
}

TEST_F(ThemeRetimeTest, PipListStickersAndCaptionsAreRetimedWhenTheDraftHasNeitherArray) {
  drafttest::Json draft = Fill(25, R"(, "pipList": [
      {"pipType": 4, "imageFolderPath": "st/heart", "timelineFrom": 3, "timelineTo": 4},
      {"pipType": 3, "folderPath": "cap/plain", "timelineFrom": 1, "timelineTo": 2,
       "showRectF": {"x": 0.1, "y": 0.8, "width": 0.8, "height": 0.1}},
      {"pipType": 0, "timelineFrom": 5, "timelineTo": 6, "media": {"path": "ov.png"}},
      {"pipType": 4, "imageFolderPath": "st/late", "timelineFrom": 8, "timelineTo": 30}])");
  ASSERT_TRUE(draft);
  const cJSON* pips = Get(draft.get(), "pipList");
  // Cut at the new end; stickers (type 4) and captions (type 3) repeated
  // every 10 s; overlays (type 0) have no such fallback and stay alone.
  EXPECT_EQ(Times(pips), (Spans{{3, 4}, {1, 2}, {5, 6}, {8, 25}, {13, 14}, {23, 24}, {11, 12}, {21, 22}}));
  EXPECT_EQ(Num(At(pips, 4), "pipType"), 4);
  EXPECT_EQ(Num(At(pips, 6), "pipType"), 3);
  const std::string theme = folder_.Join("lib") + drafttest::Native("//Sample/");
  EXPECT_EQ(Str(At(pips, 0), "imageFolderPath"), theme + "st/heart");
  EXPECT_EQ(Str(At(pips, 5), "imageFolderPath"), theme + "st/heart");
  EXPECT_EQ(Str(At(pips, 1), "folderPath"), theme + "cap/plain");
  EXPECT_EQ(Str(Get(At(pips, 2), "media"), "path"), "ov.png");
}

TEST_F(ThemeRetimeTest, AMutedRequestSilencesEveryMusic) {
  const std::string group = folder_.Write("group.json", R"({"medias": [{"path": "a.mp4"}], "isMute": 1})");
  drafttest::Json draft = Fill(10, R"(, "musics": [{"path": "m1.m4a", "timelineFrom": 0, "timelineTo": 10,
      "volume": 0.5}, {"path": "m2.m4a", "timelineFrom": 2, "timelineTo": 5, "volume": 0.8}])",
                               {group});
  ASSERT_TRUE(draft);
  const cJSON* musics = Get(draft.get(), "musics");
  ASSERT_EQ(Size(musics), 2);
  EXPECT_EQ(Num(At(musics, 0), "volume"), 0);
  EXPECT_EQ(Num(At(musics, 1), "volume"), 0);
  EXPECT_EQ(Str(At(musics, 0), "path"), folder_.Join("lib") + drafttest::Native("//Sample/") + "m1.m4a");
}

TEST_F(ThemeRetimeTest, MusicTakesTheGroupVolumeAndWithoutAGroupFileTheRequestsZero) {
  const std::string music = R"(, "musics": [{"path": "m1.m4a", "timelineFrom": 0, "timelineTo": 10,
      "volume": 0.5}, {"path": "m2.m4a", "timelineFrom": 0, "timelineTo": 5}])";
  // No media-group file: the request's volume stays 0 and every music gets it.
  drafttest::Json draft = Fill(10, music);
  ASSERT_TRUE(draft);
  EXPECT_EQ(record_->volume, 0.0f);
  EXPECT_EQ(Num(At(Get(draft.get(), "musics"), 0), "volume"), 0);
  EXPECT_EQ(Num(At(Get(draft.get(), "musics"), 1), "volume"), 0);
  EXPECT_EQ(LastKey(At(Get(draft.get(), "musics"), 1)), "volume");
  const std::string group = folder_.Write("group.json", R"({"medias": [], "volume": 0.25})");
  draft = Fill(10, music, {group});
  ASSERT_TRUE(draft);
  EXPECT_EQ(Num(At(Get(draft.get(), "musics"), 0), "volume"), 0.25);
}

TEST_F(ThemeRetimeTest, AGroupFileWithoutVolumeGivesEveryMusicTheFullVolume) {
  const std::string group = folder_.Write("group.json", R"({"medias": [{"path": "a.mp4"}]})");
  drafttest::Json draft = Fill(10, R"(, "musics": [{"path": "m1.m4a", "timelineFrom": 0, "timelineTo": 10,
      "volume": 0.5}])",
                               {group});
  ASSERT_TRUE(draft);
  EXPECT_EQ(record_->volume, 1.0f);
  EXPECT_FALSE(record_->isMute);
  EXPECT_EQ(Num(At(Get(draft.get(), "musics"), 0), "volume"), 1);
}

TEST_F(ThemeRetimeTest, MusicIsRepeatedByItsPathUntilTheNewEnd) {
  drafttest::Json draft =
      Fill(25, R"(, "musics": [{"path": "m1.m4a", "timelineFrom": 0, "timelineTo": 10}])");
  ASSERT_TRUE(draft);
  EXPECT_EQ(Times(Get(draft.get(), "musics")), (Spans{{0, 10}, {10, 20}, {20, 25}}));
}

TEST_F(ThemeRetimeTest, StickersCaptionsAndOverlaysRepeatOnlyBetweenTheFixedScenes) {
  // Intro 2 s, one 3 s placeholder, outro 1 s: a 6 s theme whose middle is
  // 3 s long, filled with three 3 s clips to 12 s (outro from 11 s).
  WriteTheme("Sample",
             Theme(6, {Slot("p1.mp4", 2, 5)},
                   {Scene("intro.mp4", 2, R"(, "replaceType": 3)"), Scene("p1.mp4", 3),
                    Scene("outro.mp4", 1, R"(, "replaceType": 3)")},
                   R"(, "stickers": [{"imageFolderPath": "st/heart", "timelineFrom": 2, "timelineTo": 5}],
       "subtitleExs": [{"folderPath": "cap/plain", "timelineFrom": 2.5, "timelineTo": 4,
                        "showRectF": {"x": 0.1, "y": 0.8, "width": 0.8, "height": 0.1},
                        "wordItem": [{"text": "hi", "animates": [{"folderPath": "anim/in"}]}]}],
       "overlays": [{"timelineFrom": 3, "timelineTo": 4, "media": {"path": "ov.png", "trimTimeEnd": 1}}],
       "logoOverlay": {"path": "logo.png"})"));
  for (const char* name : {"a.mp4", "b.mp4", "c.mp4"})
    FakeTable()[name] = {3};
  themetest::Request record = Load(WriteRequest("Sample", {"a.mp4", "b.mp4", "c.mp4"}));
  ASSERT_NE(record, nullptr) << printed_;
  drafttest::Json draft = Written(record.get());
  EXPECT_EQ(Num(draft.get(), "duration"), 12);
  EXPECT_EQ(Times(Get(draft.get(), "stickers")), (Spans{{2, 5}, {5, 8}, {8, 11}}));
  EXPECT_EQ(Times(Get(draft.get(), "subtitleExs")), (Spans{{2.5, 4}, {5.5, 7}, {8.5, 10}}));
  EXPECT_EQ(Times(Get(draft.get(), "overlays")), (Spans{{3, 4}, {6, 7}, {9, 10}}));
  const std::string theme = folder_.Join("lib") + drafttest::Native("//Sample/");
  EXPECT_EQ(Str(At(Get(draft.get(), "stickers"), 2), "imageFolderPath"), theme + "st/heart");
  const cJSON* caption = At(Get(draft.get(), "subtitleExs"), 1);
  EXPECT_EQ(Str(caption, "folderPath"), theme + "cap/plain");
  EXPECT_EQ(Str(At(Get(At(Get(caption, "wordItem"), 0), "animates"), 0), "folderPath"), theme + "anim/in");
  EXPECT_EQ(Str(Get(At(Get(draft.get(), "overlays"), 0), "media"), "path"), theme + "ov.png");
  EXPECT_EQ(Str(Get(draft.get(), "logoOverlay"), "path"), theme + "logo.png");
}

TEST_F(ThemeRetimeTest, ACaptionIsRepeatedOnlyWhereItsRectangleMatches) {
  drafttest::Json draft = Fill(20, R"(, "subtitleExs": [
      {"timelineFrom": 1, "timelineTo": 2, "showRectF": {"x": 0.1, "y": 0.1, "width": 0.2, "height": 0.2}},
      {"timelineFrom": 1, "timelineTo": 2, "showRectF": {"x": 0.5, "y": 0.5, "width": 0.2, "height": 0.2}}])");
  ASSERT_TRUE(draft);
  const cJSON* captions = Get(draft.get(), "subtitleExs");
  ASSERT_EQ(Size(captions), 4);
  EXPECT_EQ(Num(Get(At(captions, 2), "showRectF"), "x"), 0.1);
  EXPECT_EQ(Num(Get(At(captions, 3), "showRectF"), "x"), 0.5);
  EXPECT_EQ(Num(At(captions, 3), "timelineFrom"), 11);
}

// A 3 s theme of one placeholder filled with three 3 s clips: 9 s, period 3 s.
class SameSpanTest : public ThemeRetimeTest {
protected:
  drafttest::Json FillThree(const std::string& more) {
    WriteTheme("Sample", Theme(3, {Slot("p1.mp4", 0, 3)}, {Scene("p1.mp4", 3)}, more));
    for (const char* name : {"a.mp4", "b.mp4", "c.mp4"})
      FakeTable()[name] = {3};
    record_ = Load(WriteRequest("Sample", {"a.mp4", "b.mp4", "c.mp4"}));
    EXPECT_NE(record_, nullptr) << printed_;
    return record_ ? Written(record_.get()) : drafttest::Json();
  }
  // The spans of the elements whose `key` (inside `owner` when given) ends with `name`.
  static Spans SpansOf(const cJSON* array, const char* key, const std::string& name, const char* owner = "") {
    Spans spans;
    const cJSON* e = nullptr;
    cJSON_ArrayForEach(e, array) {
      const std::string value = Str(*owner ? Get(e, owner) : e, key);
      if (value.size() >= name.size() && value.compare(value.size() - name.size(), name.size(), name) == 0)
        spans.emplace_back(Num(e, "timelineFrom"), Num(e, "timelineTo"));
    }
    return spans;
  }
};

TEST_F(SameSpanTest, TwoStickersOverTheSameSpanAreEachRepeatedOncePerPeriod) {
  drafttest::Json draft = FillThree(R"(, "stickers": [
      {"imageFolderPath": "st/red", "timelineFrom": 0, "timelineTo": 3},
      {"imageFolderPath": "st/green", "timelineFrom": 0, "timelineTo": 3}])");
  ASSERT_TRUE(draft);
  const cJSON* stickers = Get(draft.get(), "stickers");
  EXPECT_EQ(Size(stickers), 6);
  EXPECT_EQ(SpansOf(stickers, "imageFolderPath", "st/red"), (Spans{{0, 3}, {3, 6}, {6, 9}}));
  EXPECT_EQ(SpansOf(stickers, "imageFolderPath", "st/green"), (Spans{{0, 3}, {3, 6}, {6, 9}}));
}

TEST_F(SameSpanTest, TwoPipListStickersOverTheSameSpanAreEachRepeatedOncePerPeriod) {
  drafttest::Json draft = FillThree(R"(, "pipList": [
      {"pipType": 4, "imageFolderPath": "st/red", "timelineFrom": 0, "timelineTo": 3},
      {"pipType": 1, "folderPath": "fx/one", "timelineFrom": 0, "timelineTo": 3},
      {"pipType": 4, "imageFolderPath": "st/green", "timelineFrom": 0, "timelineTo": 3}])");
  ASSERT_TRUE(draft);
  const cJSON* pips = Get(draft.get(), "pipList");
  EXPECT_EQ(SpansOf(pips, "imageFolderPath", "st/red"), (Spans{{0, 3}, {3, 6}, {6, 9}}));
  EXPECT_EQ(SpansOf(pips, "imageFolderPath", "st/green"), (Spans{{0, 3}, {3, 6}, {6, 9}}));
  EXPECT_EQ(SpansOf(pips, "folderPath", "fx/one"), (Spans{{0, 3}, {3, 6}, {6, 9}}));
}

TEST_F(SameSpanTest, TwoOverlaysOverTheSameSpanAreEachRepeatedOncePerPeriod) {
  drafttest::Json draft = FillThree(R"(, "overlays": [
      {"timelineFrom": 1, "timelineTo": 2, "media": {"path": "one.png", "trimTimeEnd": 1}},
      {"timelineFrom": 1, "timelineTo": 2, "media": {"path": "two.png", "trimTimeEnd": 1}}])");
  ASSERT_TRUE(draft);
  const cJSON* overlays = Get(draft.get(), "overlays");
  EXPECT_EQ(Size(overlays), 6);
  EXPECT_EQ(SpansOf(overlays, "path", "one.png", "media"), (Spans{{1, 2}, {4, 5}, {7, 8}}));
  EXPECT_EQ(SpansOf(overlays, "path", "two.png", "media"), (Spans{{1, 2}, {4, 5}, {7, 8}}));
}

TEST_F(SameSpanTest, TwoEffectsOverTheSameSpanKeepTheMatchingByTimes) {
  // Effects are matched by their times alone: both records find the first
  // effect, which is repeated for each of them, and the second is not.
  drafttest::Json draft = FillThree(R"(, "specialEffects": [
      {"folderPath": "fx/one", "timelineFrom": 0, "timelineTo": 3},
      {"folderPath": "fx/two", "timelineFrom": 0, "timelineTo": 3}])");
  ASSERT_TRUE(draft);
  const cJSON* effects = Get(draft.get(), "specialEffects");
  EXPECT_EQ(SpansOf(effects, "folderPath", "fx/one"), (Spans{{0, 3}, {3, 6}, {6, 9}, {3, 6}, {6, 9}}));
  EXPECT_EQ(SpansOf(effects, "folderPath", "fx/two"), (Spans{{0, 3}}));
}

} // namespace

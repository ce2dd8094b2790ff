// Media replacement in a theme draft: placeholder scenes deleted or repeated
// to fit the caller's media, fixed items (a closing one stays last whatever
// its length), the placeholder length rule, the stamp, the fit into the
// placeholder's frame, the media-group file, and resource paths made
// absolute once against a theme library named by a relative path.
#include <filesystem>

#include "tests/unit/theme_fixture.h"

using namespace themetest;
namespace fs = std::filesystem;

namespace {

class ThemeMediaTest : public ThemeTest {
protected:
  drafttest::Json Fill(const std::string& theme, const std::vector<std::string>& media,
                       const std::string& more = "") {
    WriteTheme("Sample", theme);
    record_ = Load(WriteRequest("Sample", media, more));
    EXPECT_NE(record_, nullptr) << printed_;
    return record_ ? Written(record_.get()) : drafttest::Json();
  }
  std::string User(const std::string& name) { return folder_.Join("req") + drafttest::Native("/" + name); }
  themetest::Request record_;
};

const std::string kIntro = R"(, "replaceType": 3)";

TEST_F(ThemeMediaTest, ThreePlaceholdersAndOneMediumDeleteTheLastTwoScenes) {
  FakeTable()["a.mp4"] = {7};
  drafttest::Json draft = Fill(Theme(9, {Slot("p1.mp4", 0, 3), Slot("p2.mp4", 3, 6), Slot("p3.mp4", 6, 9)},
                                     {Scene("p1.mp4", 3), Scene("p2.mp4", 3), Scene("p3.mp4", 3)}),
                               {"a.mp4"});
  ASSERT_TRUE(draft);
  ASSERT_EQ(Size(Get(draft.get(), "scenes")), 1);
  EXPECT_EQ(Str(Item(draft.get(), 0), "path"), User("a.mp4"));
  EXPECT_EQ(Num(Item(draft.get(), 0), "trimTimeEnd"), 7);
  const cJSON* info = Get(draft.get(), "mediaInfo");
  ASSERT_EQ(Size(info), 1);
  EXPECT_EQ(Str(At(info, 0), "path"), User("a.mp4"));
  EXPECT_EQ(Num(At(info, 0), "timelineFrom"), 0);
  EXPECT_EQ(Num(At(info, 0), "timelineTo"), 7);
  EXPECT_EQ(Num(draft.get(), "duration"), 7);
}

TEST_F(ThemeMediaTest, OnePlaceholderAndThreeMediaCopyItsSceneTwice) {
  FakeTable()["a.mp4"] = {4};
  FakeTable()["b.mp4"] = {2.9};
  FakeTable()["c.png"] = {0};
  drafttest::Json draft =
      Fill(Theme(3, {Slot("p1.mp4", 0, 3)}, {Scene("p1.mp4", 3)}), {"a.mp4", "b.mp4", "c.png"});
  ASSERT_TRUE(draft);
  ASSERT_EQ(Size(Get(draft.get(), "scenes")), 3);
  const char* names[] = {"a.mp4", "b.mp4", "c.png"};
  const double lengths[] = {4, 2, 3};
  const double starts[] = {0, 4, 6};
  const cJSON* info = Get(draft.get(), "mediaInfo");
  ASSERT_EQ(Size(info), 3);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(Str(Item(draft.get(), i), "path"), User(names[i])) << i;
    EXPECT_EQ(Num(Item(draft.get(), i), "trimTimeEnd"), lengths[i]) << i;
    EXPECT_EQ(Str(At(info, i), "path"), User(names[i])) << i;
    EXPECT_EQ(Num(At(info, i), "timelineFrom"), starts[i]) << i;
    EXPECT_EQ(Num(At(info, i), "timelineTo"), starts[i] + lengths[i]) << i;
  }
  EXPECT_EQ(Num(draft.get(), "duration"), 9);
}

TEST_F(ThemeMediaTest, PlaceholderScenesRepeatInOrderAfterAllAreUsed) {
  for (const char* name : {"a.mp4", "b.mp4", "c.mp4", "d.mp4", "e.mp4"})
    FakeTable()[name] = {2};
  drafttest::Json draft = Fill(
      Theme(6, {Slot("p1.mp4", 0, 3), Slot("p2.mp4", 3, 6)},
            {Scene("p1.mp4", 3, R"(, "identifier": "one")"), Scene("p2.mp4", 3, R"(, "identifier": "two")")}),
      {"a.mp4", "b.mp4", "c.mp4", "d.mp4", "e.mp4"});
  ASSERT_TRUE(draft);
  ASSERT_EQ(Size(Get(draft.get(), "scenes")), 5);
  const char* identifiers[] = {"one", "two", "one", "two", "one"};
  const char* names[] = {"a.mp4", "b.mp4", "c.mp4", "d.mp4", "e.mp4"};
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(Str(Item(draft.get(), i), "identifier"), identifiers[i]) << i;
    EXPECT_EQ(Str(Item(draft.get(), i), "path"), User(names[i])) << i;
  }
}

TEST_F(ThemeMediaTest, AFixedIntroDelaysTheMediaAndFixedScenesStayInPlace) {
  FakeTable()["a.mp4"] = {4};
  FakeTable()["b.mp4"] = {3};
  drafttest::Json draft =
      Fill(Theme(6.5, {Slot("p1.mp4", 2, 5)},
                 {Scene("intro.mp4", 2, kIntro), Scene("p1.mp4", 3), Scene("outro.mp4", 1.5, kIntro)}),
           {"a.mp4", "b.mp4"});
  ASSERT_TRUE(draft);
  const cJSON* scenes = Get(draft.get(), "scenes");
  ASSERT_EQ(Size(scenes), 4);
  const std::string theme = folder_.Join("lib") + drafttest::Native("//Sample/");
  EXPECT_EQ(Str(Item(draft.get(), 0), "path"), theme + "intro.mp4"); // absolute, never stamped
  EXPECT_EQ(Str(Item(draft.get(), 1), "path"), User("a.mp4"));
  EXPECT_EQ(Str(Item(draft.get(), 2), "path"), User("b.mp4"));
  EXPECT_EQ(Str(Item(draft.get(), 3), "path"), theme + "outro.mp4"); // the closing scene stays last
  const cJSON* info = Get(draft.get(), "mediaInfo");
  EXPECT_EQ(Num(At(info, 0), "timelineFrom"), 2);
  EXPECT_EQ(Num(At(info, 0), "timelineTo"), 6);
  EXPECT_EQ(Num(At(info, 1), "timelineFrom"), 6);
  EXPECT_EQ(Num(At(info, 1), "timelineTo"), 9);
  EXPECT_EQ(Num(draft.get(), "duration"), 10.5);
  EXPECT_EQ(record_->headLength, 2.0f);
  EXPECT_EQ(record_->tailLength, 1.5f);
}

TEST_F(ThemeMediaTest, AFixedSceneIsNeverDeleted) {
  FakeTable()["a.mp4"] = {3};
  drafttest::Json draft = Fill(Theme(8, {Slot("p1.mp4", 2, 5), Slot("p2.mp4", 5, 8)},
                                     {Scene("intro.mp4", 2, kIntro), Scene("p1.mp4", 3), Scene("p2.mp4", 3)}),
                               {"a.mp4"});
  ASSERT_TRUE(draft);
  ASSERT_EQ(Size(Get(draft.get(), "scenes")), 2);
  EXPECT_EQ(Num(Item(draft.get(), 0), "replaceType"), 3);
  EXPECT_EQ(Str(Item(draft.get(), 1), "path"), User("a.mp4"));
}

TEST_F(ThemeMediaTest, APlaceholderWhoseTrimDiffersByATenthIsNotRecognised) {
  FakeTable()["a.mp4"] = {3};
  FakeTable()["b.mp4"] = {3};
  drafttest::Json draft = Fill(Theme(6.2, {Slot("p1.mp4", 0, 3), Slot("p2.mp4", 3, 6)},
                                     {Scene("p1.mp4", 3.05), Scene("p2.mp4", 3.15)}),
                               {"a.mp4", "b.mp4"});
  ASSERT_TRUE(draft);
  EXPECT_EQ(Str(Item(draft.get(), 0), "path"), User("a.mp4")); // 0.05 s apart: the placeholder
  EXPECT_EQ(Str(Item(draft.get(), 1), "path"), "p2" + std::string(record_->stamp) + ".mp4"); // 0.15 s: not
  EXPECT_EQ(Num(Item(draft.get(), 1), "trimTimeEnd"), 3.15);
}

TEST_F(ThemeMediaTest, AnUnrecognisedPlaceholderSceneCannotBeDeleted) {
  FakeTable()["a.mp4"] = {3};
  drafttest::Json draft =
      Fill(Theme(6, {Slot("p1.mp4", 0, 3), Slot("p2.mp4", 3, 6)}, {Scene("p1.mp4", 3), Scene("p2.mp4", 3.2)}),
           {"a.mp4"});
  ASSERT_TRUE(draft);
  EXPECT_NE(printed_.find("-------------------------------------\nerror : deleteSceneMediaObject fail 477! \n"
                          "-------------------------------------\n"),
            std::string::npos)
      << printed_;
  EXPECT_EQ(Size(Get(draft.get(), "scenes")), 2);
  EXPECT_EQ(Size(Get(draft.get(), "mediaInfo")), 1);
}

TEST_F(ThemeMediaTest, PlaceholderPathsAreStampedAndInnerDotsDropped) {
  FakeTable()["a.mp4"] = {3};
  drafttest::Json draft =
      Fill(Theme(6, {Slot("p1.mp4", 0, 3), Slot("x.y.png", 3, 6)}, {Scene("p1.mp4", 3), Scene("x.y.png", 3)}),
           {"a.mp4", "gone.mp4"});
  ASSERT_TRUE(draft);
  const std::string stamp = record_->stamp;
  ASSERT_EQ(stamp.size(), 20u) << stamp; // _YYYY_MM_DD_HH_MM_SS
  ASSERT_NE(record_->themeMedia, nullptr);
  EXPECT_EQ(std::string(record_->themeMedia->path), "p1" + stamp + ".mp4");
  ASSERT_NE(record_->themeMedia->next, nullptr);
  EXPECT_EQ(std::string(record_->themeMedia->next->path), "xy" + stamp + ".png");
  // The medium that could not be opened still takes its placeholder, as
  // written and without time, where the export then names it.
  EXPECT_EQ(Str(Item(draft.get(), 1), "path"), "gone.mp4");
  EXPECT_EQ(Num(Item(draft.get(), 1), "trimTimeEnd"), 0);
}

TEST_F(ThemeMediaTest, ChangedMembersStandLastInTheirObjects) {
  FakeTable()["a.mp4"] = {3};
  drafttest::Json draft =
      Fill(Theme(3, {R"({"path": "p1.mp4", "timelineFrom": 0, "timelineTo": 3, "groupId": 0})"},
                 {Scene("p1.mp4", 3, R"(, "speed": 1)")}),
           {"a.mp4"});
  ASSERT_TRUE(draft);
  EXPECT_EQ(LastKey(draft.get()), "duration");
  const cJSON* element = At(Get(draft.get(), "mediaInfo"), 0);
  EXPECT_EQ(LastKey(element), "timelineTo");
  EXPECT_EQ(std::string(element->child->string), "groupId"); // path and times moved behind it
  const cJSON* item = Item(draft.get(), 0);
  EXPECT_EQ(LastKey(item), "trimTimeEnd");
  EXPECT_EQ(std::string(item->child->string), "speed"); // path, trims and rectangles moved behind it
}

TEST_F(ThemeMediaTest, AWiderMediumIsCroppedCentredToThePlaceholderFrame) {
  FakeTable()["wide.mp4"] = {3, 1920, 540}; // 32:9 into a 16:9 frame
  FakeTable()["tall.mp4"] = {3, 720, 1280};
  drafttest::Json draft = Fill(Theme(6, {Slot("p1.mp4", 0, 3), Slot("p2.mp4", 3, 6)},
                                     {Scene("p1.mp4", 3),
                                      R"({"media": [{"path": "p2.mp4", "trimTimeStart": 0, "trimTimeEnd": 3,
                      "showRectF": {"x": 0.5, "y": 0, "width": 0.5, "height": 1}}]})"}),
                               {"wide.mp4", "tall.mp4"});
  ASSERT_TRUE(draft);
  const cJSON* crop = Get(Item(draft.get(), 0), "cropRect");
  EXPECT_NEAR(Num(crop, "x"), 0.25, 1e-9);
  EXPECT_NEAR(Num(crop, "width"), 0.5, 1e-9);
  EXPECT_NEAR(Num(crop, "y"), 0, 1e-9);
  EXPECT_NEAR(Num(crop, "height"), 1, 1e-9);
  // A half-canvas frame (8:9) showing a 9:16 medium: strips off top and bottom.
  crop = Get(Item(draft.get(), 1), "cropRect");
  EXPECT_NEAR(Num(crop, "x"), 0, 1e-9);
  EXPECT_NEAR(Num(crop, "height"), (720.0 / 1280.0) / (640.0 / 720.0), 1e-9);
  EXPECT_NEAR(Num(crop, "y"), (1 - (720.0 / 1280.0) / (640.0 / 720.0)) / 2, 1e-9);
  const cJSON* show = Get(Item(draft.get(), 1), "showRectF");
  EXPECT_EQ(Num(show, "x"), 0.5);
  EXPECT_EQ(Num(show, "width"), 0.5);
}

TEST_F(ThemeMediaTest, TheMediaGroupFileGivesTrimsRectanglesAndVolume) {
  FakeTable()["a.mp4"] = {10};
  const std::string group = folder_.Write("group.json", R"({"medias": [{"path": "a.mp4", "trimTimeStart": 1.5,
      "trimTimeEnd": 4.5, "volume": 0, "rotate": 90,
      "cropRect": {"x": 0.1, "y": 0.2, "width": 0.5, "height": 0.6}}], "isMute": 0, "volume": 0.4})");
  drafttest::Json draft = Fill(Theme(3, {Slot("p1.mp4", 0, 3)}, {Scene("p1.mp4", 3)}), {"a.mp4", group});
  ASSERT_TRUE(draft);
  const cJSON* item = Item(draft.get(), 0);
  EXPECT_EQ(Num(item, "trimTimeStart"), 1.5);
  EXPECT_EQ(Num(item, "trimTimeEnd"), 4.5);
  EXPECT_EQ(Num(item, "volume"), 0);
  EXPECT_EQ(Num(item, "rotate"), 90);
  EXPECT_NEAR(Num(Get(item, "cropRect"), "x"), 0.1, 1e-6);
  EXPECT_NEAR(Num(Get(item, "cropRect"), "height"), 0.6, 1e-6);
  const cJSON* info = At(Get(draft.get(), "mediaInfo"), 0);
  EXPECT_EQ(Num(info, "timelineFrom"), 0);
  EXPECT_EQ(Num(info, "timelineTo"), 3); // the record's own length
  EXPECT_EQ(Num(draft.get(), "duration"), 3);
  EXPECT_FLOAT_EQ(record_->volume, 0.4f);
}

TEST_F(ThemeMediaTest, AClosingFixedSceneWithoutLengthStaysLastAndItsMissingEndPrintsBlock655) {
  FakeTable()["a.mp4"] = {3};
  FakeTable()["b.mp4"] = {3};
  // The closing scene's fixed item has no trims at all.
  drafttest::Json draft =
      Fill(Theme(3, {Slot("p1.mp4", 0, 3)},
                 {Scene("p1.mp4", 3),
                  R"({"identifier": "outro", "media": [{"path": "outro.png", "replaceType": 3}]})"}),
           {"a.mp4", "b.mp4"});
  ASSERT_TRUE(draft) << printed_;
  const cJSON* scenes = Get(draft.get(), "scenes");
  ASSERT_EQ(Size(scenes), 3);
  EXPECT_EQ(Str(At(scenes, 2), "identifier"), "outro");
  EXPECT_NE(printed_.find("-------------------------------------\nerror : cJSON_GetObjectItem fail 655! \n"
                          "-------------------------------------\n"),
            std::string::npos)
      << printed_;
  EXPECT_EQ(Num(draft.get(), "duration"), 6); // the item without an end counts nothing
}

TEST_F(ThemeMediaTest, AClosingFixedSceneOfZeroLengthStaysLast) {
  FakeTable()["a.mp4"] = {3};
  FakeTable()["b.mp4"] = {3};
  drafttest::Json draft =
      Fill(Theme(3, {Slot("p1.mp4", 0, 3)},
                 {Scene("p1.mp4", 3), Scene("outro.png", 0, R"(, "replaceType": 3, "identifier": "outro")")}),
           {"a.mp4", "b.mp4"});
  ASSERT_TRUE(draft) << printed_;
  const cJSON* scenes = Get(draft.get(), "scenes");
  ASSERT_EQ(Size(scenes), 3);
  EXPECT_EQ(Str(Item(draft.get(), 2), "identifier"), "outro");
  EXPECT_EQ(Str(Item(draft.get(), 1), "path"), User("b.mp4"));
}

TEST_F(ThemeMediaTest, ARelativeThemeLibraryGivesAbsoluteResourcePathsMadeOnce) {
  FakeTable()["a.mp4"] = {3};
  FakeTable()["b.mp4"] = {3};
  FakeTable()["c.mp4"] = {3};
  WriteTheme("Sample", Theme(6, {Slot("p1.mp4", 0, 3), Slot("p2.mp4", 3, 6)},
                             {Scene("p1.mp4", 3), Scene("p2.mp4", 3)}));
  // Scene transitions and an item's mask, relative to the theme's folder.
  std::string theme = drafttest::ReadFile(folder_.Join("lib/Sample/config.json"));
  const std::string item = R"({"media": [{"path": "p1.mp4")";
  theme.replace(theme.find(item), item.size(),
                R"({"transition": {"folderPath": "fx/t1", "duration": 1}, "media": [{"path": "p1.mp4",
                   "maskObject": {"folderPath": "masks/round"})");
  WriteTheme("Sample", theme);
  const std::string request = WriteRequest("Sample", {"a.mp4", "b.mp4", "c.mp4"});
  const fs::path before = fs::current_path();
  fs::current_path(folder_.Join(""));
  // The folder as the system names it once it is the current one (Wine
  // names /tmp/... Z:\tmp\...).
  const std::string current = fs::current_path().string();
  setenv("ORMADRAFT_THEMES", "lib", 1);
  record_ = Load(request);
  fs::current_path(before);
  ASSERT_NE(record_, nullptr) << printed_;
  drafttest::Json draft = Written(record_.get());
  // The library's folder ends in a separator, and the theme's name is
  // joined to it with one more.
  const char sep = platform::kSeparator;
  const std::string folder = current + sep + "lib" + sep + sep + "Sample" + sep;
  const cJSON* scenes = Get(draft.get(), "scenes");
  ASSERT_EQ(Size(scenes), 3);
  for (int s : {0, 2}) { // the first scene and its copy
    EXPECT_EQ(Str(Get(At(scenes, s), "transition"), "folderPath"), folder + "fx/t1") << s;
    EXPECT_EQ(Str(Get(Item(draft.get(), s), "maskObject"), "folderPath"), folder + "masks/round") << s;
  }
  EXPECT_EQ(std::string(record_->themeConfigPath), folder + "config.json");
}

} // namespace

// Tonings, custom filters, mosaics and special effects.
#include "draft/draft.h"
#include "draft/record_lists.h"
#include "tests/unit/draft_fixture.h"

using namespace drafttest;

namespace {

template <typename T, void (*Free)(T*)> struct Owned {
  T* head = nullptr;
  ~Owned() { Free(head); }
};
using Tonings = Owned<ToningRecord, FreeTonings>;
using Filters = Owned<FilterRecord, FreeCustomFilters>;
using Mosaics = Owned<MosaicRecord, FreeMosaics>;
using Effects = Owned<EffectRecord, FreeEffects>;

} // namespace

TEST(DraftTonings, EmptyToningsFallBackToPipListWithThePositionAsLevel) {
  Json root = Parse(R"({"tonings": [], "pipList": [{"pipType": 0}, {"pipType": 2, "contrast": 0.3}]})");
  Tonings tonings{readTonings(root.get())};
  ASSERT_EQ(Count(tonings.head), 1);
  EXPECT_EQ(tonings.head->level, 2);
  EXPECT_FLOAT_EQ(tonings.head->levels.contrast, 0.3f);
}

TEST(DraftTonings, PipListElementWithoutPipTypeIsKeptAsAToning) {
  Json root = Parse(R"({"pipList": [{"pipType": 1}, {"brightness": 0.5}, {"pipType": 2}]})");
  Tonings tonings{readTonings(root.get())};
  ASSERT_EQ(Count(tonings.head), 2);
  EXPECT_EQ(tonings.head->level, 2);
  EXPECT_FLOAT_EQ(tonings.head->levels.brightness, 0.5f);
  EXPECT_EQ(tonings.head->next->level, 3);
}

TEST(DraftTonings, EveryKeyIsReadAndTagStaysFractional) {
  Json root = Parse(R"({"tonings": [{"pipType": 7, "timelineFrom": 1, "timelineTo": 2, "tag": 3.9,
      "vignette": 0.1, "sharpness": 0.2, "saturation": 0.3, "contrast": 0.4, "brightness": 0.5,
      "whiteBalance": 0.6, "tint": 0.7, "highlight": 0.8, "shadows": 0.9, "graininess": 1.0,
      "lightSensation": 1.1, "fade": 1.2}]})");
  Tonings tonings{readTonings(root.get())};
  ASSERT_EQ(Count(tonings.head), 1);
  const ToningRecord& t = *tonings.head;
  EXPECT_EQ(t.level, 1);
  EXPECT_FLOAT_EQ(t.timelineFrom, 1.0f);
  EXPECT_FLOAT_EQ(t.timelineTo, 2.0f);
  EXPECT_FLOAT_EQ(t.tag, 3.9f);
  EXPECT_FLOAT_EQ(t.levels.vignette, 0.1f);
  EXPECT_FLOAT_EQ(t.levels.sharpness, 0.2f);
  EXPECT_FLOAT_EQ(t.levels.saturation, 0.3f);
  EXPECT_FLOAT_EQ(t.levels.contrast, 0.4f);
  EXPECT_FLOAT_EQ(t.levels.brightness, 0.5f);
  EXPECT_FLOAT_EQ(t.levels.whiteBalance, 0.6f);
  EXPECT_FLOAT_EQ(t.levels.tint, 0.7f);
  EXPECT_FLOAT_EQ(t.levels.highlight, 0.8f);
  EXPECT_FLOAT_EQ(t.levels.shadows, 0.9f);
  EXPECT_FLOAT_EQ(t.levels.graininess, 1.0f);
  EXPECT_FLOAT_EQ(t.levels.lightSensation, 1.1f);
  EXPECT_FLOAT_EQ(t.levels.fade, 1.2f);
}

TEST(DraftTonings, NoSourceGivesNone) {
  Json root = Parse(R"({"tonings": {}, "customFilters": []})");
  EXPECT_EQ(readTonings(root.get()), nullptr);
  EXPECT_EQ(readCustomFilters(root.get()), nullptr);
  EXPECT_EQ(readSpecialEffects(root.get()), nullptr);
  EXPECT_EQ(readMosaics(root.get()), nullptr);
  EXPECT_EQ(readTonings(nullptr), nullptr);
}

TEST(DraftCustomFilters, EmptyNameStaysEmptyAndTagIsTruncated) {
  Json root = Parse(R"({"customFilters": [{"name": "", "tag": 3.9, "lookUpFilterPath": "luts/warm.png",
      "lookUpFilterIntensity": 0.75, "networkCategoryId": "c", "networkResourceId": "",
      "timelineFrom": 2, "timelineTo": 5}]})");
  Filters filters{readCustomFilters(root.get())};
  ASSERT_EQ(Count(filters.head), 1);
  const FilterRecord& f = *filters.head;
  EXPECT_STREQ(f.name, "");
  EXPECT_EQ(f.tag, 3);
  EXPECT_STREQ(f.lookUpFilterPath, "luts/warm.png");
  EXPECT_FLOAT_EQ(f.lookUpFilterIntensity, 0.75f);
  EXPECT_STREQ(f.networkCategoryId, "c");
  EXPECT_STREQ(f.networkResourceId, "");
  EXPECT_FLOAT_EQ(f.timelineFrom, 2.0f);
  EXPECT_FLOAT_EQ(f.timelineTo, 5.0f);
  EXPECT_EQ(f.level, 1);
}

TEST(DraftCustomFilters, PipListKeepsTypeSevenAndSkipsUntypedElements) {
  Json root = Parse(R"({"pipList": [{"name": "untyped"}, {"pipType": 2}, {"pipType": 7, "name": "lut"}]})");
  Filters filters{readCustomFilters(root.get())};
  ASSERT_EQ(Count(filters.head), 1);
  EXPECT_EQ(filters.head->level, 3);
  EXPECT_STREQ(filters.head->name, "lut");
}

TEST(DraftCustomFilters, LongNamesAreTruncatedToTheirBuffers) {
  std::string name(3000, 'x');
  Json root = Parse(R"({"customFilters": [{"name": ")" + name + R"("}]})");
  Filters filters{readCustomFilters(root.get())};
  EXPECT_EQ(std::string(filters.head->name), std::string(2047, 'x'));
}

TEST(DraftMosaics, SixPointsKeepTheFirstFour) {
  Json root = Parse(R"({"mosaics": [{"pointsArray": [{"x": 1, "y": 2}, {"x": 3, "y": 4}, {"x": 5, "y": 6},
      {"x": 7, "y": 8}, {"x": 9, "y": 10}, {"x": 11, "y": 12}], "intensity": 0.5, "type": 2,
      "timelineFrom": 1, "timelineTo": 2}]})");
  Mosaics mosaics{readMosaics(root.get())};
  ASSERT_EQ(Count(mosaics.head), 1);
  const MosaicRecord& m = *mosaics.head;
  EXPECT_FLOAT_EQ(m.points[0].x, 1.0f);
  EXPECT_FLOAT_EQ(m.points[1].y, 4.0f);
  EXPECT_FLOAT_EQ(m.points[2].x, 5.0f);
  EXPECT_FLOAT_EQ(m.points[3].x, 7.0f);
  EXPECT_FLOAT_EQ(m.points[3].y, 8.0f);
  EXPECT_FLOAT_EQ(m.intensity, 0.5f);
  EXPECT_EQ(m.type, 2);
  EXPECT_FLOAT_EQ(m.timelineFrom, 1.0f);
  EXPECT_FLOAT_EQ(m.timelineTo, 2.0f);
}

TEST(DraftMosaics, TwoPointsLeaveTheOthersAtZero) {
  Json root = Parse(R"({"mosaics": [{"pointsArray": [{"x": 1, "y": 2}, {"x": 3, "y": 4}]}]})");
  Mosaics mosaics{readMosaics(root.get())};
  ASSERT_NE(mosaics.head, nullptr);
  EXPECT_FLOAT_EQ(mosaics.head->points[1].x, 3.0f);
  for (int i = 2; i < 4; ++i) {
    EXPECT_FLOAT_EQ(mosaics.head->points[i].x, 0.0f);
    EXPECT_FLOAT_EQ(mosaics.head->points[i].y, 0.0f);
  }
}

TEST(DraftMosaics, LevelStaysZeroWithAPipListAndMosaicsAreNeverTakenFromIt) {
  TempFolder folder;
  std::string path = folder.Write("d.json", R"({"mediaInfo": [], "scenes": [{"media": [{"path": "a"}]}],
      "mosaics": [{"type": 1}, {"type": 0}], "pipList": [{"pipType": 5}, {"pipType": 1}]})");
  Document document(loadDraft(path.c_str(), nullptr, 0));
  ASSERT_NE(document, nullptr);
  ASSERT_EQ(Count(document->mosaics), 2);
  for (MosaicRecord* m = document->mosaics; m; m = m->next)
    EXPECT_EQ(m->level, 0);
  ASSERT_EQ(Count(document->specialEffects), 1);
  EXPECT_EQ(document->specialEffects->level, 2);
  Json pipOnly = Parse(R"({"pipList": [{"pipType": 5, "type": 1}]})");
  EXPECT_EQ(readMosaics(pipOnly.get()), nullptr);
}

TEST(DraftSpecialEffects, EveryKeyIsReadInArrayOrder) {
  Json root = Parse(R"({"specialEffects": [
      {"folderPath": "fx/snow", "networkResourceId": "r", "networkCategoryId": "c", "timelineFrom": 1,
       "timelineTo": 4, "nApplyRange": 2},
      {"folderPath": 5}]})");
  Effects effects{readSpecialEffects(root.get())};
  ASSERT_EQ(Count(effects.head), 2);
  const EffectRecord& e = *effects.head;
  EXPECT_EQ(e.level, 1);
  EXPECT_STREQ(e.folderPath, "fx/snow");
  EXPECT_STREQ(e.networkResourceId, "r");
  EXPECT_STREQ(e.networkCategoryId, "c");
  EXPECT_FLOAT_EQ(e.timelineFrom, 1.0f);
  EXPECT_FLOAT_EQ(e.timelineTo, 4.0f);
  EXPECT_EQ(e.nApplyRange, 2);
  EXPECT_EQ(effects.head->next->level, 2);
  EXPECT_STREQ(effects.head->next->folderPath, "");
}

TEST(DraftSpecialEffects, PipListKeepsTypeOneAndSkipsUntypedElements) {
  Json root = Parse(R"({"specialEffects": "none", "pipList": [{"folderPath": "untyped"}, {"pipType": 1,
      "folderPath": "fx"}, {"pipType": 2}, {"pipType": 1}]})");
  Effects effects{readSpecialEffects(root.get())};
  ASSERT_EQ(Count(effects.head), 2);
  EXPECT_EQ(effects.head->level, 2);
  EXPECT_STREQ(effects.head->folderPath, "fx");
  EXPECT_EQ(effects.head->next->level, 4);
}

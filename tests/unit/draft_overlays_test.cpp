// Picture-in-picture overlays and the logo.
#include "draft/draft.h"
#include "draft/record_lists.h"
#include "tests/unit/draft_fixture.h"

using namespace drafttest;

namespace {

struct Overlays {
  OverlayRecord* head = nullptr;
  ~Overlays() { FreeOverlays(head); }
};

struct Logo {
  LogoRecord* record = nullptr;
  ~Logo() { FreeMediaList(record); }
};

} // namespace

TEST(DraftLogo, EmptyPathGivesNoLogo) {
  Json root = Parse(R"({"logoOverlay": {"path": "", "alpha": 1}})");
  EXPECT_EQ(readLogo(root.get()), nullptr);
  Json wrongType = Parse(R"({"logoOverlay": {"path": 7}})");
  EXPECT_EQ(readLogo(wrongType.get()), nullptr);
  Json absent = Parse(R"({"logo": {"path": "x.png"}})");
  EXPECT_EQ(readLogo(absent.get()), nullptr);
}

TEST(DraftLogo, OnlyPathOpacityRotationAndRectanglesAreRead) {
  Json root = Parse(R"({"logoOverlay": {"path": "brand/logo.png", "alpha": 0.8, "rotate": 12, "volume": 1,
      "speed": 2, "level": 9, "showRectF": {"x": 0.7, "y": 0.05, "width": 0.25, "height": 0.1},
      "cropRect": {"x": 0, "y": 0, "width": 1, "height": 1}, "filterPath": "lut.png"}})");
  Logo logo{readLogo(root.get())};
  ASSERT_NE(logo.record, nullptr);
  const LogoRecord& l = *logo.record;
  EXPECT_STREQ(l.path, "brand/logo.png");
  EXPECT_FLOAT_EQ(l.alpha, 0.8f);
  EXPECT_FLOAT_EQ(l.rotate, 12.0f);
  EXPECT_FLOAT_EQ(l.showRect.left, 0.7f);
  EXPECT_FLOAT_EQ(l.showRect.right, 0.95f);
  EXPECT_FLOAT_EQ(l.showRect.bottom, 0.15f);
  EXPECT_FLOAT_EQ(l.cropRect.right, 1.0f);
  EXPECT_FLOAT_EQ(l.cropRect.bottom, 1.0f);
  EXPECT_FLOAT_EQ(l.volume, 0.0f);
  EXPECT_FLOAT_EQ(l.speed, 0.0f);
  EXPECT_EQ(l.level, 0);
  EXPECT_EQ(l.filter, nullptr);
  EXPECT_EQ(l.next, nullptr);
}

TEST(DraftOverlays, OverlayWithoutMediaIsStillListed) {
  Json root = Parse(R"({"overlays": [{"identifier": "pip-1"}, {"media": {"path": "b.png"}}]})");
  Overlays overlays{readOverlays(root.get())};
  ASSERT_EQ(Count(overlays.head), 2);
  EXPECT_STREQ(overlays.head->identifier, "pip-1");
  EXPECT_EQ(overlays.head->media, nullptr);
  ASSERT_EQ(Count(overlays.head->next->media), 1);
  EXPECT_STREQ(overlays.head->next->media->path, "b.png");
}

TEST(DraftOverlays, PipListOverlayAfterACaptionHasLevelTwoAndKeepsIt) {
  TempFolder folder;
  std::string path = folder.Write("d.json", R"({"mediaInfo": [], "scenes": [{"media": [{"path": "a"}]}],
      "pipList": [{"pipType": 3, "wordItem": []}, {"pipType": 0, "media": {"path": "pip.mp4"}}]})");
  Document document(loadDraft(path.c_str(), nullptr, 0));
  ASSERT_NE(document, nullptr);
  ASSERT_EQ(Count(document->overlays), 1);
  EXPECT_EQ(document->overlays->level, 2);
  EXPECT_STREQ(document->overlays->media->path, "pip.mp4");
}

TEST(DraftOverlays, EveryKeyIsReadAndTheMediaIsOneRecord) {
  Json root = Parse(R"({"overlays": [{"identifier": "o", "fRailLevelY": 2.5, "groupId": 3.9,
      "timelineFrom": 1, "timelineTo": 6,
      "media": {"path": "pip.mp4", "volume": 0.5, "filterPath": "lut.png", "level": 4,
                "maskObject": {"folderPath": "mask"}, "specialEffects": [{"folderPath": "fx"}]}}]})");
  Overlays overlays{readOverlays(root.get())};
  ASSERT_EQ(Count(overlays.head), 1);
  const OverlayRecord& o = *overlays.head;
  EXPECT_EQ(o.level, 1);
  EXPECT_STREQ(o.identifier, "o");
  EXPECT_FLOAT_EQ(o.fRailLevelY, 2.5f);
  EXPECT_EQ(o.groupId, 3);
  EXPECT_FLOAT_EQ(o.timelineFrom, 1.0f);
  EXPECT_FLOAT_EQ(o.timelineTo, 6.0f);
  ASSERT_EQ(Count(o.media), 1);
  EXPECT_FLOAT_EQ(o.media->volume, 0.5f);
  EXPECT_EQ(o.media->level, 4);
  ASSERT_NE(o.media->filter, nullptr);
  EXPECT_STREQ(o.media->filter->filterPath, "lut.png");
  ASSERT_NE(o.media->maskObject, nullptr);
  EXPECT_STREQ(o.media->maskObject->folderPath, "mask");
  ASSERT_EQ(Count(o.media->specialEffects), 1);
  EXPECT_STREQ(o.media->specialEffects->folderPath, "fx");
}

TEST(DraftOverlays, PipListElementsWithoutPipTypeAreSkipped) {
  Json root = Parse(R"({"overlays": [], "pipList": [{"media": {"path": "untyped"}}, {"pipType": 0}]})");
  Overlays overlays{readOverlays(root.get())};
  ASSERT_EQ(Count(overlays.head), 1);
  EXPECT_EQ(overlays.head->level, 2);
}

TEST(DraftOverlays, NoSourceGivesNone) {
  Json root = Parse(R"({"overlays": []})");
  EXPECT_EQ(readOverlays(root.get()), nullptr);
  EXPECT_EQ(readOverlays(nullptr), nullptr);
}

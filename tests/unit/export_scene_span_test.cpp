#include "export/export_draft.h"

#include "tests/unit/export_fixtures.h"

using exporttest::Arena;
using exporttest::SetText;

namespace {

class SceneSpanTest : public ::testing::Test {
protected:
  MediaRecord* AddMedia(SceneRecord* scene, const char* path, float trimStart, float trimEnd) {
    MediaRecord* item = Append(&scene->media);
    SetText(item->path, path);
    item->trimTimeStart = trimStart;
    item->trimTimeEnd = trimEnd;
    item->timelineFrom = -1; // no explicit span
    item->volume = 1;
    return item;
  }
  MediaInfoEntry* AddSlot(const char* path, float from, float to) {
    MediaInfoEntry* entry = Append(&slots);
    SetText(entry->path, path);
    entry->timelineFrom = from;
    entry->timelineTo = to;
    return entry;
  }
  int Span(float position) { return SceneSpan(scene, slots, position, &start, &end); }

  template <typename T> T* Append(T** head) {
    while (*head)
      head = &(*head)->next;
    return *head = arena.New<T>();
  }

  Arena arena;
  SceneRecord* scene = arena.New<SceneRecord>();
  MediaInfoEntry* slots = nullptr;
  float start = -5;
  float end = -5;
};

} // namespace

TEST_F(SceneSpanTest, SceneWithoutMediaReturnsTheCodeOfAMissingMedium) {
  EXPECT_EQ(SceneSpan(nullptr, nullptr, 0, &start, &end), kSceneWithoutMedia);
  EXPECT_EQ(Span(0), kSceneWithoutMedia);
}

TEST_F(SceneSpanTest, ExplicitSpanOfTheFirstItemIsUsedAsItStands) {
  MediaRecord* item = AddMedia(scene, "a.mp4", 0, 10);
  item->timelineFrom = 0.0f;
  item->timelineTo = 2.5f;
  EXPECT_EQ(Span(7000000), 1);
  EXPECT_EQ(start, 0.0f);
  EXPECT_EQ(end, 2500000.0f);
}

TEST_F(SceneSpanTest, ExplicitSpanNeedsAPositiveEnd) {
  MediaRecord* item = AddMedia(scene, "a.mp4", 0, 3);
  item->timelineFrom = 0.0f;
  item->timelineTo = 0.0f;
  item->replaceType = 1;
  EXPECT_EQ(Span(1000000), 1);
  EXPECT_EQ(start, 1000000.0f); // fell back to the trimmed length
  EXPECT_EQ(end, 4000000.0f);
}

TEST_F(SceneSpanTest, MatchingSlotGivesPositionToTheSlotsEnd) {
  AddSlot("other.mp4", 0, 3);
  AddSlot("a.mp4", 2, 5);
  AddMedia(scene, "a.mp4", 1, 4);
  EXPECT_EQ(Span(2000000), 1);
  EXPECT_EQ(start, 2000000.0f);
  EXPECT_EQ(end, 5000000.0f);
}

TEST_F(SceneSpanTest, SlotMustMatchPathByteForByte) {
  AddSlot("A.mp4", 0, 3);
  AddMedia(scene, "a.mp4", 0, 3);
  EXPECT_EQ(Span(0), kSceneWithoutSlot);
  EXPECT_EQ(start, 0.0f);
  EXPECT_EQ(end, 0.0f);
}

TEST_F(SceneSpanTest, LengthsAreComparedAtThreeDecimalsWithinATenth) {
  // 3.1f is 3.0999999, cut to 3.099: within a tenth of 3.0.
  AddSlot("a.mp4", 0, 3.1f);
  AddMedia(scene, "a.mp4", 0, 3.0f);
  EXPECT_EQ(Span(0), 1);
  EXPECT_EQ(end, 3.1f * 1000000.0f);

  slots->timelineTo = 3.2f;
  EXPECT_EQ(Span(0), kSceneWithoutSlot);
}

TEST_F(SceneSpanTest, SpeedDividesTheItemLengthBeforeMatching) {
  AddSlot("a.mp4", 0, 2);
  AddMedia(scene, "a.mp4", 0, 4)->speed = 2.0f;
  EXPECT_EQ(Span(0), 1);
  EXPECT_EQ(end, 2000000.0f);
}

TEST_F(SceneSpanTest, SlotMustStartWithinATenthOfThePosition) {
  AddSlot("a.mp4", 1.0f, 4.0f);
  AddMedia(scene, "a.mp4", 0, 3);
  EXPECT_EQ(Span(1099000), 1);
  EXPECT_EQ(start, 1099000.0f);
  EXPECT_EQ(Span(1100001), kSceneWithoutSlot);
  EXPECT_EQ(Span(900001), 1);
}

TEST_F(SceneSpanTest, WalkIsNotRestartedForTheNextItem) {
  AddSlot("b.mp4", 0, 2); // would fit the second item, but lies before the first match
  AddSlot("a.mp4", 0, 2);
  MediaRecord* first = AddMedia(scene, "a.mp4", 0, 2);
  first->replaceType = 1;
  AddMedia(scene, "b.mp4", 0, 2);
  EXPECT_EQ(Span(0), 1);
  // Fallback: the first match's end plus both trimmed lengths plus the position.
  EXPECT_EQ(start, 0.0f);
  EXPECT_EQ(end, 2000000.0f + 4000000.0f);
}

TEST_F(SceneSpanTest, NextItemMaySearchFromTheSlotThatMatchedLast) {
  AddSlot("a.mp4", 0, 2);
  AddSlot("b.mp4", 0, 3);
  AddMedia(scene, "a.mp4", 0, 2);
  AddMedia(scene, "b.mp4", 0, 3);
  EXPECT_EQ(Span(0), 1);
  EXPECT_EQ(end, 3000000.0f);
}

TEST_F(SceneSpanTest, UnmatchedReplaceableItemsTakeTheirTrimmedLengths) {
  AddSlot("x.mp4", 0, 9);
  MediaRecord* first = AddMedia(scene, "a.mp4", 1, 3);
  first->replaceType = 2;
  first->speed = 4.0f; // not applied in the fallback
  AddMedia(scene, "b.mp4", 0, 0.5f);
  EXPECT_EQ(Span(1000000), 1);
  EXPECT_EQ(start, 1000000.0f);
  EXPECT_EQ(end, 2000000.0f + 500000.0f + 1000000.0f);
}

TEST_F(SceneSpanTest, UnmatchedFixedFirstItemReturnsTheCodeOfAMissingSlot) {
  AddMedia(scene, "a.mp4", 0, 3);
  AddMedia(scene, "b.mp4", 0, 3)->replaceType = 1; // only the first item counts
  EXPECT_EQ(Span(500000), kSceneWithoutSlot);
  EXPECT_EQ(start, 500000.0f);
}

// The twelve colour and light levels that a media item, each of its key
// frames and a toning carry: one struct (ColorLevels) in all three records,
// read by one table of keys, at the very offsets the records always had them.
#include <gtest/gtest.h>

#include <cjson/cJSON.h>

#include <cstddef>
#include <memory>

#include "draft/json_read.h"
#include "draft/records.h"

namespace {

std::unique_ptr<cJSON, void (*)(cJSON*)> Parse(const char* text) { return {cJSON_Parse(text), cJSON_Delete}; }

} // namespace

TEST(DraftColorLevels, TheLevelsKeepTheirPlaceInEveryRecord) {
  EXPECT_EQ(offsetof(MediaKeyFrame, levels.vignette), 4u);
  EXPECT_EQ(offsetof(MediaKeyFrame, levels.fade), 48u);
  EXPECT_EQ(sizeof(MediaKeyFrame), 120u);
  EXPECT_EQ(offsetof(MediaRecord, levels.vignette), 1140u);
  EXPECT_EQ(offsetof(MediaRecord, levels.fade), 1184u);
  EXPECT_EQ(offsetof(MediaRecord, alpha), 1188u);
  EXPECT_EQ(sizeof(MediaRecord), 1312u);
  EXPECT_EQ(offsetof(ToningRecord, levels.vignette), 16u);
  EXPECT_EQ(offsetof(ToningRecord, levels.fade), 60u);
  EXPECT_EQ(sizeof(ToningRecord), 72u);
}

TEST(DraftColorLevels, EveryKeyFillsItsOwnLevelAndAMissingKeyLeavesItsLevelAlone) {
  auto item = Parse(R"({"vignette": 1, "sharpness": 2, "saturation": 3, "contrast": 4, "brightness": 5,
      "whiteBalance": 6, "tint": 7, "highlight": 8, "shadows": 9, "graininess": 10, "lightSensation": 11})");
  ColorLevels levels{};
  levels.fade = -1;
  draftjson::ReadColorLevels(item.get(), &levels);
  EXPECT_FLOAT_EQ(levels.vignette, 1);
  EXPECT_FLOAT_EQ(levels.sharpness, 2);
  EXPECT_FLOAT_EQ(levels.saturation, 3);
  EXPECT_FLOAT_EQ(levels.contrast, 4);
  EXPECT_FLOAT_EQ(levels.brightness, 5);
  EXPECT_FLOAT_EQ(levels.whiteBalance, 6);
  EXPECT_FLOAT_EQ(levels.tint, 7);
  EXPECT_FLOAT_EQ(levels.highlight, 8);
  EXPECT_FLOAT_EQ(levels.shadows, 9);
  EXPECT_FLOAT_EQ(levels.graininess, 10);
  EXPECT_FLOAT_EQ(levels.lightSensation, 11);
  EXPECT_FLOAT_EQ(levels.fade, -1); // absent: untouched
}

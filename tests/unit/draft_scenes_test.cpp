// Scenes of the main track and the media reader.
#include <climits>
#include <cmath>

#include "draft/draft.h"
#include "draft/record_lists.h"
#include "tests/unit/draft_fixture.h"

using namespace drafttest;

namespace {

struct MediaList {
  MediaRecord* head = nullptr;
  ~MediaList() { FreeMediaList(head); }
};

struct SceneList {
  SceneRecord* head = nullptr;
  ~SceneList() { FreeScenes(head); }
};

} // namespace

TEST(DraftScenes, ShowRectIsStoredAsEdges) {
  Json item = Parse(R"({"m": [{"showRectF": {"x": 0.25, "y": 0.1, "width": 0.5, "height": 0.8}}]})");
  MediaList media{readMedia(item.get(), 0, "m")};
  ASSERT_NE(media.head, nullptr);
  EXPECT_FLOAT_EQ(media.head->showRect.left, 0.25f);
  EXPECT_FLOAT_EQ(media.head->showRect.top, 0.1f);
  EXPECT_FLOAT_EQ(media.head->showRect.right, 0.75f);
  EXPECT_FLOAT_EQ(media.head->showRect.bottom, 0.9f);
}

TEST(DraftScenes, RectWithoutXHasTheWidthAsRightEdge) {
  Json item = Parse(R"({"m": [{"cropRect": {"y": 0.5, "width": 0.3, "height": 0.25}}]})");
  MediaList media{readMedia(item.get(), 0, "m")};
  ASSERT_NE(media.head, nullptr);
  EXPECT_FLOAT_EQ(media.head->cropRect.left, 0.0f);
  EXPECT_FLOAT_EQ(media.head->cropRect.right, 0.3f);
  EXPECT_FLOAT_EQ(media.head->cropRect.bottom, 0.75f);
}

TEST(DraftMedia, MissingVolumeWithMuteOneGivesSilence) {
  Json item =
      Parse(R"({"m": [{"isMute": 1}, {"volume": 0.4, "isMute": 2}, {}, {"volume": 0.4, "isMute": 1}]})");
  MediaList media{readMedia(item.get(), 0, "m")};
  ASSERT_EQ(Count(media.head), 4);
  EXPECT_FLOAT_EQ(media.head->volume, 0.0f);
  EXPECT_FLOAT_EQ(media.head->next->volume, 0.4f);
  EXPECT_FLOAT_EQ(media.head->next->next->volume, 1.0f);
  EXPECT_FLOAT_EQ(media.head->next->next->next->volume, 0.0f);
}

TEST(DraftMedia, VolumeOfTheWrongTypeReadsZero) {
  Json item = Parse(R"({"m": [{"volume": "0.5"}, {"volume": null}]})");
  MediaList media{readMedia(item.get(), 0, "m")};
  ASSERT_EQ(Count(media.head), 2);
  EXPECT_FLOAT_EQ(media.head->volume, 0.0f);
  EXPECT_FLOAT_EQ(media.head->next->volume, 0.0f);
}

TEST(DraftMedia, DoubleViewOfTrueIsZeroWhileItsIntViewIsOne) {
  Json item =
      Parse(R"({"m": [{"isReverse": 1.9, "reverseType": -2.7}, {"isReverse": true, "isMute": true}]})");
  MediaList media{readMedia(item.get(), 0, "m")};
  ASSERT_EQ(Count(media.head), 2);
  EXPECT_EQ(media.head->isReverse, 1);
  EXPECT_EQ(media.head->reverseType, -2);
  EXPECT_EQ(media.head->next->isReverse, 0);
  EXPECT_FLOAT_EQ(media.head->next->volume, 0.0f);
}

TEST(DraftMedia, HugeNumbersSaturateInsteadOfOverflowing) {
  Json item = Parse(R"({"m": [{"isReverse": 1e300, "reverseType": -1e300, "autoSegment": 1e999,
                               "replaceType": 3e9, "level": 1e12, "denoiseLevel": -4e9, "speed": 1e300,
                               "animates": [{"blur": {"blurType": 1e200}}],
                               "maskObject": {"animates": [{"atTime": 1e30}, {"atTime": -1e30}]}}]})");
  MediaList media{readMedia(item.get(), 0, "m")};
  ASSERT_NE(media.head, nullptr);
  MediaRecord* m = media.head;
  EXPECT_EQ(m->isReverse, INT_MAX);
  EXPECT_EQ(m->reverseType, INT_MIN);
  EXPECT_EQ(m->autoSegment, INT_MAX);
  EXPECT_EQ(m->replaceType, INT_MAX);
  EXPECT_EQ(m->level, INT_MAX);
  EXPECT_EQ(m->denoiseLevel, INT_MIN);
  EXPECT_TRUE(std::isinf(m->speed));
  EXPECT_EQ(m->keyFrames->blur->blurType, INT_MAX);
  EXPECT_EQ(m->maskObject->keyFrames->atTime, INT64_MAX);
  EXPECT_EQ(m->maskObject->keyFrames->next->atTime, INT64_MIN);
}

TEST(DraftMedia, MaskWithAnimatesIgnoresTheShapeKeysAtItsOwnLevel) {
  Json item = Parse(R"({"m": [{"maskObject": {
      "folderPath": "masks/round", "maskImagePath": "mask.png",
      "sizeF": {"width": 9, "height": 9}, "centerF": {"x": 9, "y": 9}, "degrees": 9,
      "animates": [{"atTime": 2, "sizeF": {"width": 0.5, "height": 0.25}, "degrees": 30}]}}]})");
  MediaList media{readMedia(item.get(), 0, "m")};
  ASSERT_NE(media.head, nullptr);
  MaskObject* mask = media.head->maskObject;
  ASSERT_NE(mask, nullptr);
  EXPECT_STREQ(mask->folderPath, "masks/round");
  EXPECT_STREQ(mask->maskImagePath, "mask.png");
  EXPECT_FLOAT_EQ(mask->shape.size.width, 0.0f);
  EXPECT_FLOAT_EQ(mask->shape.centerF.x, 0.0f);
  EXPECT_FLOAT_EQ(mask->shape.degrees, 0.0f);
  ASSERT_EQ(Count(mask->keyFrames), 1);
  EXPECT_EQ(mask->keyFrames->atTime, 2);
  EXPECT_FLOAT_EQ(mask->keyFrames->shape.size.width, 0.5f);
  EXPECT_FLOAT_EQ(mask->keyFrames->shape.degrees, 30.0f);
}

TEST(DraftMedia, MaskWithoutAnimatesReadsItsShape) {
  Json item = Parse(R"({"m": [{"maskObject": {
      "sizeF": {"width": 0.4, "height": 0.3}, "degrees": 45, "distance": 0.1, "invert": 1,
      "featherStep": 0.2, "edgeSize": 3, "edgeColor": {"red": 1, "green": 0.5, "blue": 0.25, "alpha": 0.75},
      "centerF": {"x": 0.5, "y": 0.6}, "topLeft": {"x": 1, "y": 2}, "topRight": {"x": 3, "y": 4},
      "bottomRight": {"x": 5, "y": 6}, "bottomLeft": {"x": 7, "y": 8}, "cornerRadius": 0.05}}]})");
  MediaList media{readMedia(item.get(), 0, "m")};
  ASSERT_NE(media.head, nullptr);
  const MaskShape& s = media.head->maskObject->shape;
  EXPECT_FLOAT_EQ(s.size.width, 0.4f);
  EXPECT_FLOAT_EQ(s.size.height, 0.3f);
  EXPECT_FLOAT_EQ(s.degrees, 45.0f);
  EXPECT_FLOAT_EQ(s.distance, 0.1f);
  EXPECT_EQ(s.invert, 1);
  EXPECT_FLOAT_EQ(s.featherStep, 0.2f);
  EXPECT_FLOAT_EQ(s.edgeSize, 3.0f);
  EXPECT_FLOAT_EQ(s.edgeColor.red, 1.0f);
  EXPECT_FLOAT_EQ(s.edgeColor.green, 0.5f);
  EXPECT_FLOAT_EQ(s.edgeColor.blue, 0.25f);
  EXPECT_FLOAT_EQ(s.edgeColor.alpha, 0.75f);
  EXPECT_FLOAT_EQ(s.centerF.x, 0.5f);
  EXPECT_FLOAT_EQ(s.centerF.y, 0.6f);
  EXPECT_FLOAT_EQ(s.topLeft.y, 2.0f);
  EXPECT_FLOAT_EQ(s.topRight.x, 3.0f);
  EXPECT_FLOAT_EQ(s.bottomRight.y, 6.0f);
  EXPECT_FLOAT_EQ(s.bottomLeft.x, 7.0f);
  EXPECT_FLOAT_EQ(s.cornerRadius, 0.05f);
  EXPECT_EQ(media.head->maskObject->keyFrames, nullptr);
}

TEST(DraftMedia, MaskKeyFrameTimeIsTruncatedWhileMediaKeyFrameTimeIsKept) {
  Json item =
      Parse(R"({"m": [{"animates": [{"atTime": 1.5}], "maskObject": {"animates": [{"atTime": 1.5}]}}]})");
  MediaList media{readMedia(item.get(), 0, "m")};
  ASSERT_NE(media.head, nullptr);
  ASSERT_NE(media.head->keyFrames, nullptr);
  EXPECT_FLOAT_EQ(media.head->keyFrames->atTime, 1.5f);
  ASSERT_NE(media.head->maskObject->keyFrames, nullptr);
  EXPECT_EQ(media.head->maskObject->keyFrames->atTime, 1);
}

TEST(DraftMedia, FilterMaskAndEffectsOfEveryItemLandOnTheFirstItem) {
  Json item = Parse(R"({"media": [
      {"path": "a.mp4", "filterPath": "lut/first.png", "filterType": 11, "filterIntensity": 0.5,
       "maskObject": {"animates": [{"atTime": 1}]}, "specialEffects": [{"folderPath": "fx1"}]},
      {"path": "b.mp4", "filterPath": "lut/second.png", "filterType": 12,
       "maskObject": {"animates": [{"atTime": 2}, {"atTime": 3}]},
       "specialEffects": [{"folderPath": "fx2"}, {"folderPath": "fx3"}]},
      {"path": "c.mp4", "filterPath": ""}]})");
  MediaList media{readMedia(item.get(), 0, "media")};
  ASSERT_EQ(Count(media.head), 3);
  MediaRecord* first = media.head;
  ASSERT_NE(first->filter, nullptr);
  EXPECT_STREQ(first->filter->filterPath, "lut/second.png");
  EXPECT_EQ(first->filter->filterType, 12);
  EXPECT_FLOAT_EQ(first->filter->filterIntensity, 0.5f);
  ASSERT_EQ(Count(first->maskObject->keyFrames), 3);
  EXPECT_EQ(first->maskObject->keyFrames->next->next->atTime, 3);
  ASSERT_EQ(Count(first->specialEffects), 2);
  EXPECT_STREQ(first->specialEffects->folderPath, "fx2");
  for (MediaRecord* later = first->next; later; later = later->next) {
    EXPECT_EQ(later->filter, nullptr);
    EXPECT_EQ(later->maskObject, nullptr);
    EXPECT_EQ(later->specialEffects, nullptr);
  }
}

TEST(DraftMedia, EmptyFilterPathLeavesAnEmptyFilter) {
  Json item = Parse(R"({"m": [{"filterPath": "", "filterType": 11, "filterNetworkResourceId": "r"}]})");
  MediaList media{readMedia(item.get(), 0, "m")};
  ASSERT_NE(media.head->filter, nullptr);
  EXPECT_STREQ(media.head->filter->filterPath, "");
  EXPECT_EQ(media.head->filter->filterType, 0);
  EXPECT_STREQ(media.head->filter->filterNetworkResourceId, "");
}

TEST(DraftMedia, EveryScalarKeyIsRead) {
  Json item = Parse(R"({"m": [{
      "path": "clips/a.mp4", "isHorizontalMirror": 1, "isVerticalMirror": 2, "timelineFrom": 1.5,
      "timelineTo": 4.5, "trimTimeStart": 0.5, "trimTimeEnd": 3.5, "curveSpeedType": 3,
      "audioFadeOutDuration": 0.7, "audioFadeInDuration": 0.3, "audioFilterType": 2.9, "pitch": 1.1,
      "denoiseLevel": 3.99, "volume": 0.8, "blurIntensity": 0.2, "beautyBlurIntensity": 0.11,
      "beautyBrightIntensity": 0.12, "beautyToneIntensity": 0.13, "beautyThinFaceIntensity": 0.14,
      "beautyBigEyeIntensity": 0.15, "cutoutAlphaLower": 0.21, "cutoutEdgeSize": 0.22,
      "cutoutAlphaUpper": 0.23, "cutoutFactor": 0.24,
      "cutoutColor": {"red": 0.1, "green": 0.2, "blue": 0.3, "alpha": 0.4},
      "vignette": 1, "sharpness": 2, "saturation": 3, "contrast": 4, "brightness": 5,
      "whiteBalance": 6, "tint": 7, "highlight": 8, "shadows": 9, "graininess": 10,
      "lightSensation": 11, "fade": 12, "alpha": 0.9, "rotate": 90, "blendType": 2.5, "speed": 2,
      "autoSegment": 1, "replaceType": 3, "level": 7, "transitionDuration": 0.6}]})");
  MediaList media{readMedia(item.get(), 0, "m")};
  ASSERT_NE(media.head, nullptr);
  const MediaRecord& m = *media.head;
  EXPECT_STREQ(m.path, "clips/a.mp4");
  EXPECT_EQ(m.isHorizontalMirror, 1);
  EXPECT_EQ(m.isVerticalMirror, 2);
  EXPECT_FLOAT_EQ(m.timelineFrom, 1.5f);
  EXPECT_FLOAT_EQ(m.timelineTo, 4.5f);
  EXPECT_FLOAT_EQ(m.trimTimeStart, 0.5f);
  EXPECT_FLOAT_EQ(m.trimTimeEnd, 3.5f);
  EXPECT_EQ(m.curveSpeedType, 3);
  EXPECT_FLOAT_EQ(m.audioFadeOutDuration, 0.7f);
  EXPECT_FLOAT_EQ(m.audioFadeInDuration, 0.3f);
  EXPECT_EQ(m.audioFilterType, 2);
  EXPECT_FLOAT_EQ(m.pitch, 1.1f);
  EXPECT_EQ(m.denoiseLevel, 3);
  EXPECT_FLOAT_EQ(m.volume, 0.8f);
  EXPECT_FLOAT_EQ(m.blurIntensity, 0.2f);
  EXPECT_FLOAT_EQ(m.beautyBlurIntensity, 0.11f);
  EXPECT_FLOAT_EQ(m.beautyBrightIntensity, 0.12f);
  EXPECT_FLOAT_EQ(m.beautyToneIntensity, 0.13f);
  EXPECT_FLOAT_EQ(m.beautyThinFaceIntensity, 0.14f);
  EXPECT_FLOAT_EQ(m.beautyBigEyeIntensity, 0.15f);
  EXPECT_FLOAT_EQ(m.cutoutAlphaLower, 0.21f);
  EXPECT_FLOAT_EQ(m.cutoutEdgeSize, 0.22f);
  EXPECT_FLOAT_EQ(m.cutoutAlphaUpper, 0.23f);
  EXPECT_FLOAT_EQ(m.cutoutFactor, 0.24f);
  EXPECT_FLOAT_EQ(m.cutoutColor.red, 0.1f);
  EXPECT_FLOAT_EQ(m.cutoutColor.alpha, 0.4f);
  EXPECT_FLOAT_EQ(m.levels.vignette, 1);
  EXPECT_FLOAT_EQ(m.levels.sharpness, 2);
  EXPECT_FLOAT_EQ(m.levels.saturation, 3);
  EXPECT_FLOAT_EQ(m.levels.contrast, 4);
  EXPECT_FLOAT_EQ(m.levels.brightness, 5);
  EXPECT_FLOAT_EQ(m.levels.whiteBalance, 6);
  EXPECT_FLOAT_EQ(m.levels.tint, 7);
  EXPECT_FLOAT_EQ(m.levels.highlight, 8);
  EXPECT_FLOAT_EQ(m.levels.shadows, 9);
  EXPECT_FLOAT_EQ(m.levels.graininess, 10);
  EXPECT_FLOAT_EQ(m.levels.lightSensation, 11);
  EXPECT_FLOAT_EQ(m.levels.fade, 12);
  EXPECT_FLOAT_EQ(m.alpha, 0.9f);
  EXPECT_FLOAT_EQ(m.rotate, 90.0f);
  EXPECT_FLOAT_EQ(m.blendType, 2.5f);
  EXPECT_FLOAT_EQ(m.speed, 2.0f);
  EXPECT_EQ(m.autoSegment, 1);
  EXPECT_EQ(m.replaceType, 3);
  EXPECT_EQ(m.level, 7);
  EXPECT_FLOAT_EQ(m.transitionDuration, 0.6f);
  EXPECT_EQ(m.blur, nullptr);
  EXPECT_EQ(m.filter, nullptr);
  EXPECT_EQ(m.maskObject, nullptr);
}

TEST(DraftMedia, BlurAnimationsAndKeyFramesAreRead) {
  Json item = Parse(R"({"m": [{
      "blur": {"radius": 4, "intensity": 0.5, "blurType": 2.9, "centerPoint": {"x": 0.25, "y": 0.75}},
      "customAnimations": [{"cycleDuration": 1.5, "type": 2.7, "networkCategoryId": "%s%n%d",
                            "networkResourceId": "r1", "duration": 0.8, "folderPath": "anim/in"}, {}],
      "animates": [{"atTime": 0.5, "vignette": 1, "fade": 13, "blurIntensity": 0.3,
                    "blur": {"blurType": 2.9, "radius": 1}, "cropRect": {"x": 0.1, "width": 0.5},
                    "showRectF": {"x": 0.2, "y": 0.2, "width": 0.6, "height": 0.6},
                    "rotate": 15, "fillScale": 1.2, "opacity": 0.7, "type": 1.5}]}]})");
  MediaList media{readMedia(item.get(), 0, "m")};
  ASSERT_NE(media.head, nullptr);
  const MediaRecord& m = *media.head;
  ASSERT_NE(m.blur, nullptr);
  EXPECT_FLOAT_EQ(m.blur->radius, 4.0f);
  EXPECT_FLOAT_EQ(m.blur->intensity, 0.5f);
  EXPECT_EQ(m.blur->blurType, 2);
  EXPECT_FLOAT_EQ(m.blur->centerPoint[0], 0.25f);
  EXPECT_FLOAT_EQ(m.blur->centerPoint[1], 0.75f);
  ASSERT_EQ(Count(m.customAnimations), 2);
  EXPECT_FLOAT_EQ(m.customAnimations->cycleDuration, 1.5f);
  EXPECT_EQ(m.customAnimations->type, 2);
  EXPECT_STREQ(m.customAnimations->networkCategoryId, "%s%n%d");
  EXPECT_STREQ(m.customAnimations->networkResourceId, "r1");
  EXPECT_FLOAT_EQ(m.customAnimations->duration, 0.8f);
  EXPECT_STREQ(m.customAnimations->folderPath, "anim/in");
  ASSERT_EQ(Count(m.keyFrames), 1);
  const MediaKeyFrame& k = *m.keyFrames;
  EXPECT_FLOAT_EQ(k.levels.vignette, 1.0f);
  EXPECT_FLOAT_EQ(k.levels.fade, 13.0f);
  EXPECT_FLOAT_EQ(k.blurIntensity, 0.3f);
  ASSERT_NE(k.blur, nullptr);
  EXPECT_EQ(k.blur->blurType, 2);
  EXPECT_FLOAT_EQ(k.cropRect.right, 0.6f);
  EXPECT_FLOAT_EQ(k.showRect.bottom, 0.8f);
  EXPECT_FLOAT_EQ(k.rotate, 15.0f);
  EXPECT_FLOAT_EQ(k.fillScale, 1.2f);
  EXPECT_FLOAT_EQ(k.opacity, 0.7f);
  EXPECT_FLOAT_EQ(k.type, 1.5f);
}

TEST(DraftMedia, BlurTypeOfAMediaItemUsesTheIntViewAndOfAKeyFrameTheDoubleView) {
  Json item = Parse(R"({"m": [{"blur": {"blurType": true}, "animates": [{"blur": {"blurType": true}}]}]})");
  MediaList media{readMedia(item.get(), 0, "m")};
  ASSERT_NE(media.head, nullptr);
  EXPECT_EQ(media.head->blur->blurType, 1);
  EXPECT_EQ(media.head->keyFrames->blur->blurType, 0);
}

TEST(DraftMedia, SingleObjectModeGivesOneRecord) {
  Json item = Parse(R"({"media": {"path": "pip.png", "filterPath": "lut.png", "maskObject": {}}})");
  MediaList media{readMedia(item.get(), 1, "media")};
  ASSERT_EQ(Count(media.head), 1);
  EXPECT_STREQ(media.head->path, "pip.png");
  ASSERT_NE(media.head->filter, nullptr);
  EXPECT_STREQ(media.head->filter->filterPath, "lut.png");
  EXPECT_NE(media.head->maskObject, nullptr);
}

TEST(DraftMedia, AbsentKeyOrEmptyArrayGivesNone) {
  Json item = Parse(R"({"empty": [], "number": 3})");
  EXPECT_EQ(readMedia(item.get(), 0, "absent"), nullptr);
  EXPECT_EQ(readMedia(item.get(), 0, "empty"), nullptr);
  EXPECT_EQ(readMedia(item.get(), 0, "number"), nullptr);
  EXPECT_EQ(readMedia(item.get(), 1, "absent"), nullptr);
  EXPECT_EQ(readMedia(nullptr, 0, "m"), nullptr);
}

TEST(DraftScenes, SceneBackgroundAndTransitionAreRead) {
  Json root = Parse(R"({"scenes": [
      {"identifier": "scene-1", "isDefault": 1, "groupId": 4,
       "background": {"type": 2, "blurIntensity": 0.4, "imagePath": "bg.png",
                      "color": {"red": 10, "green": 20, "blue": 30, "alpha": 1}},
       "media": [{"path": "a.mp4"}],
       "transition": {"type": 3, "networkCategoryId": "cat", "networkResourceId": "",
                      "duration": 0.5, "folderPath": "transitions/fade"}},
      {"media": [{"path": "b.mp4"}, {"path": "c.mp4"}]}]})");
  SceneList scenes{readScenes(root.get())};
  ASSERT_EQ(Count(scenes.head), 2);
  const SceneRecord& s = *scenes.head;
  EXPECT_STREQ(s.identifier, "scene-1");
  EXPECT_EQ(s.isDefault, 1);
  EXPECT_EQ(s.groupId, 4);
  ASSERT_NE(s.background, nullptr);
  EXPECT_EQ(s.background->type, 2);
  EXPECT_FLOAT_EQ(s.background->blurIntensity, 0.4f);
  EXPECT_STREQ(s.background->imagePath, "bg.png");
  EXPECT_FLOAT_EQ(s.background->color.green, 20.0f);
  ASSERT_NE(s.transition, nullptr);
  EXPECT_EQ(s.transition->type, 3);
  EXPECT_STREQ(s.transition->networkCategoryId, "cat");
  EXPECT_STREQ(s.transition->networkResourceId, "");
  EXPECT_FLOAT_EQ(s.transition->duration, 0.5f);
  EXPECT_STREQ(s.transition->folderPath, "transitions/fade");
  EXPECT_EQ(Count(s.media), 1);
  const SceneRecord& second = *s.next;
  EXPECT_EQ(second.background, nullptr);
  EXPECT_EQ(second.transition, nullptr);
  EXPECT_EQ(Count(second.media), 2);
}

TEST(DraftScenes, NoScenesGivesNone) {
  Json absent = Parse("{}");
  EXPECT_EQ(readScenes(absent.get()), nullptr);
  Json empty = Parse(R"({"scenes": []})");
  EXPECT_EQ(readScenes(empty.get()), nullptr);
  Json wrongType = Parse(R"({"scenes": {"media": []}})");
  EXPECT_EQ(readScenes(wrongType.get()), nullptr);
  EXPECT_EQ(readScenes(nullptr), nullptr);
}

TEST(DraftScenes, ElementsOfTheWrongTypeGiveZeroScenes) {
  Json root = Parse(R"({"scenes": [1, "x", null, [], {"media": "m"}]})");
  SceneList scenes{readScenes(root.get())};
  ASSERT_EQ(Count(scenes.head), 5);
  for (SceneRecord* s = scenes.head; s; s = s->next) {
    EXPECT_STREQ(s->identifier, "");
    EXPECT_EQ(s->media, nullptr);
  }
}

TEST(DraftScenes, ManyItemsAreReadInOrder) {
  std::string text = R"({"m": [)";
  for (int i = 0; i < 20000; ++i)
    text += (i ? "," : "") + std::string(R"({"level": )") + std::to_string(i) + "}";
  text += "]}";
  Json item = Parse(text);
  MediaList media{readMedia(item.get(), 0, "m")};
  int expected = 0;
  for (MediaRecord* m = media.head; m; m = m->next)
    EXPECT_EQ(m->level, expected++);
  EXPECT_EQ(expected, 20000);
}

#include "export/media_attributes.h"

#include <cmath>
#include <cstring>
#include <limits>

#include "tests/support/joined_path.h"
#include "tests/unit/export_fixtures.h"

using exporttest::Arena;
using exporttest::SetText;
using recorder::Calls;
using recorder::Formatted;
using testpath::Joined;
using Lines = std::vector<std::string>;

namespace {

class MediaAttributes : public ::testing::Test {
protected:
  void SetUp() override {
    document = arena.New<DraftDocument>();
    document->ver = 5;
    document->width = 1000;
    document->height = 500;
    SetText(document->draftPath, "/drafts/work/d_1.json");
    Restart();
    item = arena.New<MediaRecord>();
    item->volume = 1.0f;
  }

  // A fresh recording with the item's media handle as h1; its creation is the
  // first call, which the helpers below leave out.
  void Restart() {
    recorder::Reset();
    media = OrmaSceneCreateMedia("clip.mp4");
  }

  static std::vector<recorder::Call> AllCalls() {
    std::vector<recorder::Call> calls = Calls();
    calls.erase(calls.begin());
    return calls;
  }
  static Lines All() {
    Lines lines;
    for (const recorder::Call& c : AllCalls())
      lines.push_back(recorder::Format(c));
    return lines;
  }
  static Lines Names() {
    Lines names;
    for (const recorder::Call& c : AllCalls())
      names.push_back(c.name);
    return names;
  }

  int32_t Apply(int32_t applyBlendMode = 0) {
    return ApplyMediaAttributes(document, media, item, applyBlendMode);
  }

  // Calls of one name, formatted.
  static Lines Named(const std::string& name) {
    Lines out;
    for (const std::string& line : Formatted(name))
      if (line.compare(0, name.size() + 1, name + "(") == 0) out.push_back(line);
    return out;
  }

  static recorder::Call Only(const std::string& name) {
    std::vector<recorder::Call> found;
    for (const recorder::Call& c : AllCalls())
      if (c.name == name) found.push_back(c);
    EXPECT_EQ(found.size(), 1u) << name;
    return found.empty() ? recorder::Call{} : found[0];
  }

  Arena arena;
  DraftDocument* document = nullptr;
  MediaRecord* item = nullptr;
  OrmaMediaHandle media = nullptr;
};

template <typename T> T At(const std::vector<uint8_t>& bytes, size_t offset) {
  T value{};
  EXPECT_LE(offset + sizeof(T), bytes.size());
  if (offset + sizeof(T) <= bytes.size()) std::memcpy(&value, bytes.data() + offset, sizeof(T));
  return value;
}

bool AllZero(const std::vector<uint8_t>& bytes, size_t from, size_t to) {
  for (size_t i = from; i < to; ++i)
    if (bytes[i] != 0) return false;
  return true;
}

} // namespace

TEST_F(MediaAttributes, NullRecordReturnsMinus126WithoutCalls) {
  EXPECT_EQ(ApplyMediaAttributes(document, media, nullptr, 0), -126);
  EXPECT_TRUE(AllCalls().empty());
}

TEST_F(MediaAttributes, PlainItemSendsTheUnconditionalCallsInOrder) {
  item->trimTimeStart = 1.0f;
  item->trimTimeEnd = 4.0f;
  item->alpha = 1.0f;
  item->speed = 1.0f;
  item->cropRect = {0, 0, 1, 1};
  item->showRect = {0.25f, 0.1f, 0.75f, 0.9f};
  EXPECT_EQ(Apply(), 1);
  EXPECT_EQ(All(), (Lines{
                       "OrmaSetMediaFlip(h1, 0)",
                       "OrmaSetMediaTimeLine(h1, 0, 3000000)",
                       "OrmaSetMediaCutTime(h1, 1000000, 4000000)",
                       "OrmaSetMediaAudioFactor(h1, 1)",
                       "OrmaSetMediaAudioEffect(h1, 0)",
                       "OrmaSetMediaAudioNsLevel(h1, 0)",
                       "OrmaSetMediaSharp(h1, 0)",
                       "OrmaSetMediaSaturation(h1, 0)",
                       "OrmaSetMediaContrast(h1, 0)",
                       "OrmaSetMediaBright(h1, 0)",
                       "OrmaSetMediaWhiteBalance(h1, 0)",
                       "OrmaSetMediaTransparency(h1, 1)",
                       "OrmaSetMediaAnimationAngle(h1, 0)",
                       "OrmaSetMediaClip(h1, {0,0,1,1})",
                       "OrmaSetMediaShowRect(h1, {0.25,0.100000001,0.75,0.899999976})",
                       "OrmaSetMediaPlaySpeed(h1, 1)",
                   }));
}

TEST_F(MediaAttributes, AllZeroPictureFieldsOfOldDraftSendNeutralLevels) {
  document->ver = 4;
  EXPECT_EQ(Apply(), 1);
  EXPECT_EQ(Named("OrmaSetMediaSharp"), Lines{"OrmaSetMediaSharp(h1, 50)"});
  EXPECT_EQ(Named("OrmaSetMediaSaturation"), Lines{"OrmaSetMediaSaturation(h1, -100)"});
  EXPECT_EQ(Named("OrmaSetMediaContrast"), Lines{"OrmaSetMediaContrast(h1, -100)"});
  EXPECT_EQ(Named("OrmaSetMediaBright"), Lines{"OrmaSetMediaBright(h1, 0)"});
  EXPECT_EQ(Named("OrmaSetMediaWhiteBalance"), Lines{"OrmaSetMediaWhiteBalance(h1, 0)"});
}

TEST_F(MediaAttributes, NewDraftLevelsScaleSharpnessByAQuarter) {
  item->levels.sharpness = 2.0f;
  item->levels.saturation = 0.37f;
  item->levels.contrast = -0.2f;
  item->levels.brightness = 0.5f;
  item->levels.whiteBalance = -0.33f;
  EXPECT_EQ(Apply(), 1);
  EXPECT_EQ(Named("OrmaSetMediaSharp"), Lines{"OrmaSetMediaSharp(h1, 50)"});
  EXPECT_EQ(Named("OrmaSetMediaSaturation"), Lines{"OrmaSetMediaSaturation(h1, 37)"});
  EXPECT_EQ(Named("OrmaSetMediaContrast"), Lines{"OrmaSetMediaContrast(h1, -20)"});
  EXPECT_EQ(Named("OrmaSetMediaBright"), Lines{"OrmaSetMediaBright(h1, 127)"});
  EXPECT_EQ(Named("OrmaSetMediaWhiteBalance"), Lines{"OrmaSetMediaWhiteBalance(h1, -33)"});
}

TEST_F(MediaAttributes, OldDraftLevelsMoveTheNeutralPoints) {
  document->ver = 4;
  item->levels.sharpness = 4.0f;  // top of -4..4 -> 100
  item->levels.saturation = 1.5f; // neutral 1.0
  item->levels.contrast = 2.5f;   // raised contrast is compressed by three: 1.5 / 3 -> 50
  EXPECT_EQ(Apply(), 1);
  EXPECT_EQ(Named("OrmaSetMediaSharp"), Lines{"OrmaSetMediaSharp(h1, 100)"});
  EXPECT_EQ(Named("OrmaSetMediaSaturation"), Lines{"OrmaSetMediaSaturation(h1, 50)"});
  EXPECT_EQ(Named("OrmaSetMediaContrast"), Lines{"OrmaSetMediaContrast(h1, 50)"});
}

TEST_F(MediaAttributes, OldDraftLoweredContrastIsNotCompressed) {
  document->ver = 3;
  item->levels.contrast = 0.5f;
  item->levels.sharpness = -4.0f;
  EXPECT_EQ(Apply(), 1);
  EXPECT_EQ(Named("OrmaSetMediaContrast"), Lines{"OrmaSetMediaContrast(h1, -50)"});
  EXPECT_EQ(Named("OrmaSetMediaSharp"), Lines{"OrmaSetMediaSharp(h1, 0)"});
}

TEST_F(MediaAttributes, VersionFiveIsTheFirstNewFormat) {
  item->levels.saturation = 1.0f;
  document->ver = 5;
  EXPECT_EQ(Apply(), 1);
  EXPECT_EQ(Named("OrmaSetMediaSaturation"), Lines{"OrmaSetMediaSaturation(h1, 100)"});
  Restart();
  document->ver = 4;
  EXPECT_EQ(Apply(), 1);
  EXPECT_EQ(Named("OrmaSetMediaSaturation"), Lines{"OrmaSetMediaSaturation(h1, 0)"});
}

TEST_F(MediaAttributes, FlipModeAddsHorizontalOneAndVerticalTwo) {
  const int expected[4] = {0, 1, 2, 3};
  for (int mode = 0; mode < 4; ++mode) {
    Restart();
    item->isHorizontalMirror = (mode & 1) ? 7 : 0;
    item->isVerticalMirror = (mode & 2) ? -1 : 0;
    EXPECT_EQ(Apply(), 1);
    EXPECT_EQ(Named("OrmaSetMediaFlip"),
              Lines{"OrmaSetMediaFlip(h1, " + std::to_string(expected[mode]) + ")"});
  }
}

TEST_F(MediaAttributes, SpeedDividesTheTimelineDuration) {
  item->trimTimeStart = 1.0f;
  item->trimTimeEnd = 4.0f;
  item->speed = 2.0f;
  EXPECT_EQ(Apply(), 1);
  EXPECT_EQ(Named("OrmaSetMediaTimeLine"), Lines{"OrmaSetMediaTimeLine(h1, 0, 1500000)"});
  EXPECT_EQ(Named("OrmaSetMediaCutTime"), Lines{"OrmaSetMediaCutTime(h1, 1000000, 4000000)"});
  EXPECT_EQ(Named("OrmaSetMediaPlaySpeed"), Lines{"OrmaSetMediaPlaySpeed(h1, 2)"});
}

TEST_F(MediaAttributes, ZeroSpeedLeavesDurationUndividedAndIsPassedAsZero) {
  item->trimTimeEnd = 2.5f;
  item->speed = 0.0f;
  EXPECT_EQ(Apply(), 1);
  EXPECT_EQ(Named("OrmaSetMediaTimeLine"), Lines{"OrmaSetMediaTimeLine(h1, 0, 2500000)"});
  EXPECT_EQ(Named("OrmaSetMediaPlaySpeed"), Lines{"OrmaSetMediaPlaySpeed(h1, 0)"});
}

TEST_F(MediaAttributes, SecondsBecomeMicrosecondsInFloatPrecision) {
  // 4.1f is 4.0999999; its float product with 1e6 rounds to 4100000.
  item->trimTimeStart = 0.1f;
  item->trimTimeEnd = 4.1f;
  EXPECT_EQ(Apply(), 1);
  EXPECT_EQ(Named("OrmaSetMediaCutTime"), Lines{"OrmaSetMediaCutTime(h1, 100000, 4100000)"});
}

TEST_F(MediaAttributes, FadeTimesGoFadeInFirstAndOnlyWhenOneIsPositive) {
  EXPECT_EQ(Apply(), 1);
  EXPECT_TRUE(Named("OrmaSetMediaAudioFadeTime").empty());
  Restart();
  item->audioFadeOutDuration = 1.5f;
  item->audioFadeInDuration = 0.0f;
  EXPECT_EQ(Apply(), 1);
  EXPECT_EQ(Named("OrmaSetMediaAudioFadeTime"), Lines{"OrmaSetMediaAudioFadeTime(h1, 0, 1500000)"});
  Restart();
  item->audioFadeInDuration = 0.25f;
  EXPECT_EQ(Apply(), 1);
  EXPECT_EQ(Named("OrmaSetMediaAudioFadeTime"), Lines{"OrmaSetMediaAudioFadeTime(h1, 250000, 1500000)"});
}

TEST_F(MediaAttributes, MutedItemSendsVolumeZeroAndAudioFilterType) {
  item->volume = 0.0f;
  item->audioFilterType = 3;
  EXPECT_EQ(Apply(), 1);
  EXPECT_EQ(Named("OrmaSetMediaAudioFactor"), Lines{"OrmaSetMediaAudioFactor(h1, 0)"});
  EXPECT_EQ(Named("OrmaSetMediaAudioEffect"), Lines{"OrmaSetMediaAudioEffect(h1, 3)"});
}

TEST_F(MediaAttributes, NonZeroDenoiseLevelIsSentTwiceTheSecondTimeLast) {
  item->denoiseLevel = 2;
  item->blendType = 1.0f; // chroma key comes before the second call
  item->specialEffects = arena.New<EffectRecord>();
  item->specialEffects->timelineTo = 1.0f;
  SetText(item->specialEffects->folderPath, "fx");
  EXPECT_EQ(Apply(), 1);
  EXPECT_EQ(Named("OrmaSetMediaAudioNsLevel"),
            (Lines{"OrmaSetMediaAudioNsLevel(h1, 2)", "OrmaSetMediaAudioNsLevel(h1, 2)"}));
  std::vector<std::string> names = Names();
  EXPECT_EQ(names[5], "OrmaSetMediaAudioNsLevel");
  EXPECT_EQ(names.back(), "OrmaSetMediaAudioNsLevel");
  EXPECT_EQ(names[names.size() - 2], "OrmaSetMediaSpecialEffect");
}

TEST_F(MediaAttributes, ZeroDenoiseLevelIsSentOnce) {
  EXPECT_EQ(Apply(), 1);
  EXPECT_EQ(Named("OrmaSetMediaAudioNsLevel"), Lines{"OrmaSetMediaAudioNsLevel(h1, 0)"});
}

TEST_F(MediaAttributes, LookUpTableOfTypeElevenIsResolvedAgainstTheDraftFolder) {
  item->filter = arena.New<MediaFilter>();
  item->filter->filterType = 11;
  item->filter->filterIntensity = 0.8f;
  SetText(item->filter->filterPath, "luts/warm.cube");
  EXPECT_EQ(Apply(), 1);
  EXPECT_EQ(Named("OrmaSetMediaLUT"),
            Lines{"OrmaSetMediaLUT(h1, \"" + Joined("/drafts/work", "luts/warm.cube") + "\", 0.800000012)"});
  // It follows the noise suppression and precedes the picture levels.
  EXPECT_EQ(Names()[6], "OrmaSetMediaLUT");
}

TEST_F(MediaAttributes, FilterOfTypeTenOrTwelveSendsNoLookUpTable) {
  item->filter = arena.New<MediaFilter>();
  SetText(item->filter->filterPath, "luts/warm.cube");
  for (int type : {10, 12, 0}) {
    Restart();
    item->filter->filterType = type;
    EXPECT_EQ(Apply(), 1);
    EXPECT_TRUE(Named("OrmaSetMediaLUT").empty()) << type;
  }
}

TEST_F(MediaAttributes, AbsoluteResourcePathIsUsedAsItStands) {
  item->filter = arena.New<MediaFilter>();
  item->filter->filterType = 11;
  for (const char* path :
       {"C:\\luts\\100%d.cube", "d:/luts/a%s.cube", "\\\\server\\luts\\a.cube", "/srv/a%%.cube"}) {
    Restart();
    SetText(item->filter->filterPath, path);
    EXPECT_EQ(Apply(), 1);
    EXPECT_EQ(Named("OrmaSetMediaLUT"), Lines{"OrmaSetMediaLUT(h1, \"" + std::string(path) + "\", 0)"});
  }
}

TEST_F(MediaAttributes, BlurIntensitySwitchesDisplayModeOnly) {
  item->blurIntensity = 0.7f;
  EXPECT_EQ(Apply(), 1);
  EXPECT_EQ(Named("OrmaSetMediaDisplayMode"), Lines{"OrmaSetMediaDisplayMode(h1, 1)"});
  EXPECT_TRUE(Named("OrmaSetMediaBlur").empty());
}

TEST_F(MediaAttributes, BlurBlockCarriesTheBlurParameters) {
  item->blur = arena.New<BlurParams>();
  item->blur->blurType = 2;
  item->blur->intensity = 0.5f;
  item->blur->centerPoint[0] = 0.25f;
  item->blur->centerPoint[1] = 0.75f;
  item->blur->radius = 0.125f;
  EXPECT_EQ(Apply(), 1);
  recorder::Call call = Only("OrmaSetMediaBlur");
  ASSERT_EQ(call.blocks.size(), 1u);
  const std::vector<uint8_t>& b = call.blocks[0];
  ASSERT_EQ(b.size(), 4116u);
  EXPECT_EQ(At<int32_t>(b, 0), 2);
  EXPECT_EQ(At<float>(b, 4), 0.5f);
  EXPECT_EQ(At<float>(b, 8), 0.25f);
  EXPECT_EQ(At<float>(b, 12), 0.75f);
  EXPECT_EQ(At<float>(b, 16), 0.125f);
  EXPECT_TRUE(AllZero(b, 20, 4116));
  EXPECT_TRUE(Named("OrmaSetMediaDisplayMode").empty());
}

TEST_F(MediaAttributes, BeautyLevelsGoWhenNotZeroEvenNegativeOrNaN) {
  item->beautyBlurIntensity = -0.5f;
  item->beautyBrightIntensity = std::numeric_limits<float>::quiet_NaN();
  item->beautyToneIntensity = 0.0f;
  EXPECT_EQ(Apply(), 1);
  EXPECT_EQ(Formatted("OrmaSetMediaBeauty"),
            (Lines{"OrmaSetMediaBeautyBlurIntensity(h1, -50)", "OrmaSetMediaBeautyBrightIntensity(h1, 0)"}));
}

TEST_F(MediaAttributes, BigEyeWithoutThinFaceSendsBothWhenAFaceIsFound) {
  item->beautyBigEyeIntensity = 0.3f;
  item->beautyThinFaceIntensity = 0.0f;
  EXPECT_EQ(Apply(), 1);
  EXPECT_EQ(Named("OrmaGetMediaFaceCount"), Lines{"OrmaGetMediaFaceCount(h1, &0)"});
  EXPECT_EQ(Named("OrmaSetMediaBigEyeIntensity"), Lines{"OrmaSetMediaBigEyeIntensity(h1, 30)"});
  EXPECT_EQ(Named("OrmaSetMediaThinFaceIntensity"), Lines{"OrmaSetMediaThinFaceIntensity(h1, 0)"});
}

TEST_F(MediaAttributes, NoFaceSkipsFaceShapingWithoutFailing) {
  item->beautyBigEyeIntensity = 0.3f;
  item->beautyThinFaceIntensity = 0.4f;
  for (int64_t faceResult : {0, -3}) {
    Restart();
    recorder::SetResult("OrmaGetMediaFaceCount", faceResult);
    EXPECT_EQ(Apply(), 1);
    EXPECT_EQ(Named("OrmaGetMediaFaceCount").size(), 1u);
    EXPECT_TRUE(Named("OrmaSetMediaBigEyeIntensity").empty());
    EXPECT_TRUE(Named("OrmaSetMediaThinFaceIntensity").empty());
  }
}

TEST_F(MediaAttributes, FaceCountIsAskedOnlyForPositiveShaping) {
  item->beautyBigEyeIntensity = -0.3f;
  item->beautyThinFaceIntensity = 0.0f;
  EXPECT_EQ(Apply(), 1);
  EXPECT_TRUE(Named("OrmaGetMediaFaceCount").empty());
  Restart();
  item->beautyThinFaceIntensity = 0.2f;
  EXPECT_EQ(Apply(), 1);
  EXPECT_EQ(Named("OrmaSetMediaBigEyeIntensity"), Lines{"OrmaSetMediaBigEyeIntensity(h1, -30)"});
  EXPECT_EQ(Named("OrmaSetMediaThinFaceIntensity"), Lines{"OrmaSetMediaThinFaceIntensity(h1, 20)"});
}

TEST_F(MediaAttributes, NegativeShadowsSendNothingWhileNegativeHighlightIsSent) {
  item->levels.shadows = -0.2f;
  item->levels.highlight = -0.2f;
  item->levels.lightSensation = -0.3f;
  item->levels.tint = -0.1f;
  item->levels.graininess = -0.5f;
  item->levels.fade = -0.5f;
  item->levels.vignette = -0.5f;
  EXPECT_EQ(Apply(), 1);
  EXPECT_TRUE(Named("OrmaSetMediaShadow").empty());
  EXPECT_EQ(Named("OrmaSetMediaHighlight"), Lines{"OrmaSetMediaHighlight(h1, -20)"});
  EXPECT_EQ(Named("OrmaSetMediaLightSensation"), Lines{"OrmaSetMediaLightSensation(h1, -30)"});
  EXPECT_EQ(Named("OrmaSetMediaTint"), Lines{"OrmaSetMediaTint(h1, -10)"});
  EXPECT_TRUE(Named("OrmaSetMediaGraininess").empty());
  EXPECT_TRUE(Named("OrmaSetMediaFade").empty());
  EXPECT_TRUE(Named("OrmaSetMediaVignette").empty());
}

TEST_F(MediaAttributes, PositiveAdjustmentsGoInTheirFixedOrder) {
  item->levels.vignette = 0.1f;
  item->levels.tint = 0.2f;
  item->levels.highlight = 0.3f;
  item->levels.shadows = 0.4f;
  item->levels.graininess = 0.5f;
  item->levels.lightSensation = 0.6f;
  item->levels.fade = 0.7f;
  EXPECT_EQ(Apply(), 1);
  Lines levels;
  for (const std::string& line : Formatted("OrmaSetMedia")) {
    if (line.find("Vignette") != std::string::npos || line.find("Sharp") != std::string::npos ||
        line.find("Saturation") != std::string::npos || line.find("Contrast") != std::string::npos ||
        line.find("Bright") != std::string::npos || line.find("WhiteBalance") != std::string::npos ||
        line.find("Tint") != std::string::npos || line.find("Highlight") != std::string::npos ||
        line.find("Shadow") != std::string::npos || line.find("Graininess") != std::string::npos ||
        line.find("LightSensation") != std::string::npos || line.find("Fade(") != std::string::npos)
      levels.push_back(line);
  }
  EXPECT_EQ(levels, (Lines{
                        "OrmaSetMediaVignette(h1, 10)",
                        "OrmaSetMediaSharp(h1, 0)",
                        "OrmaSetMediaSaturation(h1, 0)",
                        "OrmaSetMediaContrast(h1, 0)",
                        "OrmaSetMediaBright(h1, 0)",
                        "OrmaSetMediaWhiteBalance(h1, 0)",
                        "OrmaSetMediaTint(h1, 20)",
                        "OrmaSetMediaHighlight(h1, 30)",
                        "OrmaSetMediaShadow(h1, 40)",
                        "OrmaSetMediaGraininess(h1, 50)",
                        "OrmaSetMediaLightSensation(h1, 60)",
                        "OrmaSetMediaFade(h1, 70)",
                    }));
}

TEST_F(MediaAttributes, HugeOrNaNValuesSaturateInsteadOfOverflowing) {
  item->rotate = 1e20f;
  item->levels.brightness = -1e30f;
  item->levels.sharpness = std::numeric_limits<float>::quiet_NaN();
  item->trimTimeEnd = std::numeric_limits<float>::infinity();
  EXPECT_EQ(Apply(), 1);
  EXPECT_EQ(Named("OrmaSetMediaAnimationAngle"), Lines{"OrmaSetMediaAnimationAngle(h1, 2147483647)"});
  EXPECT_EQ(Named("OrmaSetMediaBright"), Lines{"OrmaSetMediaBright(h1, -2147483648)"});
  EXPECT_EQ(Named("OrmaSetMediaSharp"), Lines{"OrmaSetMediaSharp(h1, 0)"});
  EXPECT_EQ(Named("OrmaSetMediaCutTime"), Lines{"OrmaSetMediaCutTime(h1, 0, 9223372036854775807)"});
}

TEST_F(MediaAttributes, OpacityAndRotationAreAlwaysSent) {
  item->alpha = 0.5f;
  item->rotate = -45.9f;
  EXPECT_EQ(Apply(), 1);
  EXPECT_EQ(Named("OrmaSetMediaTransparency"), Lines{"OrmaSetMediaTransparency(h1, 0.5)"});
  EXPECT_EQ(Named("OrmaSetMediaAnimationAngle"), Lines{"OrmaSetMediaAnimationAngle(h1, -45)"});
}

TEST_F(MediaAttributes, OverlayWithBlendTypeOneGetsBlendModeAndChromaKey) {
  item->blendType = 1.0f;
  item->cutoutColor = {0.0f, 1.0f, 0.5f, 0.25f};
  item->cutoutFactor = 40.9f;
  item->cutoutAlphaLower = 10.5f;
  item->cutoutAlphaUpper = 90.2f;
  item->cutoutEdgeSize = 3.7f;
  EXPECT_EQ(Apply(1), 1);
  EXPECT_EQ(Named("OrmaSetMediaBlendMode"), Lines{"OrmaSetMediaBlendMode(h1, 1)"});
  EXPECT_EQ(Named("OrmaSetMediaChromaKey"),
            Lines{"OrmaSetMediaChromaKey(h1, 1, 0, 255, 127, 40, 10, 90, 3)"});
}

TEST_F(MediaAttributes, SceneItemWithBlendTypeOneGetsTheChromaKeyOnly) {
  item->blendType = 1.0f;
  EXPECT_EQ(Apply(0), 1);
  EXPECT_TRUE(Named("OrmaSetMediaBlendMode").empty());
  EXPECT_EQ(Named("OrmaSetMediaChromaKey"), Lines{"OrmaSetMediaChromaKey(h1, 1, 0, 0, 0, 0, 0, 0, 0)"});
}

TEST_F(MediaAttributes, OtherBlendTypesGetNoChromaKey) {
  item->blendType = 2.9f;
  EXPECT_EQ(Apply(1), 1);
  EXPECT_EQ(Named("OrmaSetMediaBlendMode"), Lines{"OrmaSetMediaBlendMode(h1, 2)"});
  EXPECT_TRUE(Named("OrmaSetMediaChromaKey").empty());
  Restart();
  item->blendType = 1.0001f;
  EXPECT_EQ(Apply(1), 1);
  EXPECT_TRUE(Named("OrmaSetMediaChromaKey").empty());
}

TEST_F(MediaAttributes, ItemRectanglesAreNotScaledToTheCanvas) {
  item->cropRect = {0.1f, 0.2f, 0.9f, 0.8f};
  item->showRect = {0.0f, 0.5f, 1.0f, 1.5f};
  EXPECT_EQ(Apply(), 1);
  EXPECT_EQ(Named("OrmaSetMediaClip"),
            Lines{"OrmaSetMediaClip(h1, {0.100000001,0.200000003,0.899999976,0.800000012})"});
  EXPECT_EQ(Named("OrmaSetMediaShowRect"), Lines{"OrmaSetMediaShowRect(h1, {0,0.5,1,1.5})"});
}

TEST_F(MediaAttributes, OutAnimationEndsWithTheTrimmedSourceWhateverTheSpeed) {
  item->trimTimeStart = 1.0f;
  item->trimTimeEnd = 4.0f;
  item->speed = 2.0f;
  AnimationRecord* out = item->customAnimations = arena.New<AnimationRecord>();
  out->type = 1;
  out->duration = 0.5f;
  SetText(out->folderPath, "anim/out");
  EXPECT_EQ(Apply(), 1);
  EXPECT_EQ(Named("OrmaSetMediaAnimation"),
            Lines{"OrmaSetMediaAnimation(h1, \"" + Joined("/drafts/work", "anim/out", "config.json") +
                  "\", 1, 2500000, 500000)"});
}

TEST_F(MediaAttributes, AnimationsGoInListOrderAndLoopsGetTheirCycle) {
  AnimationRecord* in = item->customAnimations = arena.New<AnimationRecord>();
  in->type = 0;
  in->duration = 0.75f;
  SetText(in->folderPath, "C:\\anims\\in");
  AnimationRecord* loop = in->next = arena.New<AnimationRecord>();
  loop->type = 2;
  loop->duration = 3.0f;
  loop->cycleDuration = 1.25f;
  SetText(loop->folderPath, "loop");
  EXPECT_EQ(Apply(), 1);
  EXPECT_EQ(
      Formatted("OrmaSetMediaAnimation"),
      (Lines{"OrmaSetMediaAnimationAngle(h1, 0)",
             "OrmaSetMediaAnimation(h1, \"" + Joined("C:\\anims\\in", "config.json") + "\", 0, 0, 750000)",
             "OrmaSetMediaAnimation(h1, \"" + Joined("/drafts/work", "loop", "config.json") +
                 "\", 2, 0, 3000000)",
             "OrmaSetMediaAnimationCycleDuration(h1, 1250000)"}));
}

TEST_F(MediaAttributes, KeyFrameBlockHoldsEveryFieldAtItsOffset) {
  MediaKeyFrame* frame = item->keyFrames = arena.New<MediaKeyFrame>();
  frame->atTime = 1.5f;
  frame->rotate = 30.5f;
  frame->showRect = {0.1f, 0.2f, 0.5f, 0.6f};
  frame->cropRect = {0.0f, 0.25f, 1.0f, 0.75f};
  frame->opacity = 0.8f;
  frame->levels.brightness = 0.5f;
  frame->levels.contrast = 0.3f;
  frame->levels.saturation = -0.4f;
  frame->levels.whiteBalance = 0.11f;
  frame->levels.sharpness = 2.0f;
  frame->levels.vignette = 0.12f;
  frame->levels.tint = -0.13f;
  frame->levels.shadows = 0.14f;
  frame->levels.graininess = 0.15f;
  frame->levels.highlight = -0.16f;
  frame->levels.lightSensation = 0.17f;
  frame->levels.fade = 0.18f;
  frame->blurIntensity = 0.9f; // not passed
  frame->fillScale = 2.0f;     // not passed
  frame->type = 3.9f;
  frame->blur = arena.New<BlurParams>();
  frame->blur->blurType = 1;
  frame->blur->intensity = 0.6f;
  frame->blur->centerPoint[0] = 0.3f;
  frame->blur->centerPoint[1] = 0.7f;
  frame->blur->radius = 0.2f;
  EXPECT_EQ(Apply(), 1);

  recorder::Call call = Only("OrmaMediaAddKeyFrameAnimation");
  ASSERT_EQ(call.blocks.size(), 1u);
  const std::vector<uint8_t>& b = call.blocks[0];
  ASSERT_EQ(b.size(), 4228u);
  EXPECT_EQ(At<int64_t>(b, 0), 1500000);
  EXPECT_EQ(At<float>(b, 8), 30.5f);
  EXPECT_EQ(At<float>(b, 12), 0.1f * 1000);
  EXPECT_EQ(At<float>(b, 16), 0.2f * 500);
  EXPECT_EQ(At<float>(b, 20), 0.5f * 1000);
  EXPECT_EQ(At<float>(b, 24), 0.6f * 500);
  EXPECT_EQ(At<float>(b, 28), 0.0f);
  EXPECT_EQ(At<float>(b, 32), 125.0f);
  EXPECT_EQ(At<float>(b, 36), 1000.0f);
  EXPECT_EQ(At<float>(b, 40), 375.0f);
  EXPECT_EQ(At<float>(b, 44), 0.8f);
  EXPECT_EQ(At<int32_t>(b, 48), 127);
  EXPECT_EQ(At<int32_t>(b, 52), 30);
  EXPECT_EQ(At<int32_t>(b, 56), -40);
  EXPECT_EQ(At<int32_t>(b, 60), 11);
  EXPECT_EQ(At<int32_t>(b, 64), 50);
  EXPECT_EQ(At<int32_t>(b, 68), 12);
  EXPECT_EQ(At<int32_t>(b, 72), 0);
  EXPECT_EQ(At<int32_t>(b, 76), -13);
  EXPECT_EQ(At<int32_t>(b, 80), 14);
  EXPECT_EQ(At<int32_t>(b, 84), 15);
  EXPECT_EQ(At<int32_t>(b, 88), -16);
  EXPECT_EQ(At<int32_t>(b, 92), 17);
  EXPECT_EQ(At<int32_t>(b, 96), 18);
  EXPECT_EQ(At<int32_t>(b, 100), 1);
  EXPECT_EQ(At<float>(b, 104), 0.6f);
  EXPECT_EQ(At<float>(b, 108), 0.3f);
  EXPECT_EQ(At<float>(b, 112), 0.7f);
  EXPECT_EQ(At<float>(b, 116), 0.2f);
  EXPECT_TRUE(AllZero(b, 120, 4224));
  EXPECT_EQ(At<int32_t>(b, 4224), 3);
}

TEST_F(MediaAttributes, OldDraftKeyFrameUsesTheOldLevels) {
  document->ver = 4;
  item->keyFrames = arena.New<MediaKeyFrame>();
  EXPECT_EQ(Apply(), 1);
  const std::vector<uint8_t> b = Only("OrmaMediaAddKeyFrameAnimation").blocks.at(0);
  EXPECT_EQ(At<int32_t>(b, 52), -100); // contrast
  EXPECT_EQ(At<int32_t>(b, 56), -100); // saturation
  EXPECT_EQ(At<int32_t>(b, 64), 50);   // sharpness
  EXPECT_TRUE(AllZero(b, 100, 4228));  // no blur, type 0
}

TEST_F(MediaAttributes, KeyFramesGoInListOrderAfterTheAnimations) {
  item->customAnimations = arena.New<AnimationRecord>();
  item->keyFrames = arena.New<MediaKeyFrame>();
  item->keyFrames->atTime = 2.0f;
  item->keyFrames->next = arena.New<MediaKeyFrame>();
  item->keyFrames->next->atTime = 1.0f;
  EXPECT_EQ(Apply(), 1);
  std::vector<int64_t> times;
  std::vector<std::string> names = Names();
  for (const recorder::Call& c : AllCalls())
    if (c.name == "OrmaMediaAddKeyFrameAnimation") times.push_back(At<int64_t>(c.blocks.at(0), 0));
  EXPECT_EQ(times, (std::vector<int64_t>{2000000, 1000000}));
  EXPECT_EQ(names[names.size() - 3], "OrmaSetMediaAnimation");
}

TEST_F(MediaAttributes, RefusedKeyFrameReturnsMinus508) {
  item->keyFrames = arena.New<MediaKeyFrame>();
  item->keyFrames->next = arena.New<MediaKeyFrame>();
  recorder::QueueResults("OrmaMediaAddKeyFrameAnimation", {0});
  EXPECT_EQ(Apply(), -508);
  EXPECT_EQ(Names().back(), "OrmaMediaAddKeyFrameAnimation");
  EXPECT_EQ(Named("OrmaMediaAddKeyFrameAnimation").size(), 1u);
}

TEST_F(MediaAttributes, KeyFrameResultOtherThanZeroCountsAsSuccess) {
  item->keyFrames = arena.New<MediaKeyFrame>();
  recorder::SetResult("OrmaMediaAddKeyFrameAnimation", -1);
  EXPECT_EQ(Apply(), 1);
}

TEST_F(MediaAttributes, MaskWithImagePathIgnoresFolderShapeAndKeyFrames) {
  MaskObject* mask = item->maskObject = arena.New<MaskObject>();
  SetText(mask->maskImagePath, "masks/wipe.mp4");
  SetText(mask->folderPath, "masks/circle");
  mask->shape.size = {0.5f, 0.5f};
  mask->keyFrames = arena.New<MaskKeyFrame>();
  EXPECT_EQ(Apply(), 1);
  EXPECT_EQ(Named("OrmaSetMediaMaskVideo"),
            Lines{"OrmaSetMediaMaskVideo(h1, \"" + Joined("/drafts/work", "masks/wipe.mp4") + "\")"});
  EXPECT_TRUE(Named("OrmaAddMediaMaskFromConfig").empty());
  EXPECT_TRUE(Named("OrmaMediaAddMaskKeyFrameAnimation").empty());
  EXPECT_TRUE(Named("OrmaUpdateMediaMaskParam").empty());
}

namespace {

// A shape whose every field differs; `base` shifts the values.
MaskShape DistinctShape(float base) {
  MaskShape s{};
  s.size = {base + 0.5f, base + 0.25f};
  s.degrees = base + 45.0f;
  s.distance = base + 0.1f;
  s.invert = 1;
  s.featherStep = base + 0.2f;
  s.edgeSize = base + 3.0f;
  s.edgeColor = {base + 0.11f, base + 0.12f, base + 0.13f, base + 0.14f};
  s.centerF = {base + 0.55f, base + 0.6f};
  s.topLeft = {base + 0.01f, base + 0.02f};
  s.topRight = {base + 0.03f, base + 0.04f};
  s.bottomRight = {base + 0.05f, base + 0.06f};
  s.bottomLeft = {base + 0.07f, base + 0.08f};
  s.cornerRadius = base + 9.0f;
  return s;
}

// The 88 bytes of a mask shape block at `offset`, field by field.
void ExpectShapeBlock(const std::vector<uint8_t>& b, size_t offset, const MaskShape& s) {
  const std::pair<size_t, float> floats[] = {
      {0, s.size.width},      {4, s.size.height},      {8, s.degrees},        {12, s.distance},
      {20, s.featherStep},    {24, s.edgeSize},        {28, s.edgeColor.red}, {32, s.edgeColor.green},
      {36, s.edgeColor.blue}, {40, s.edgeColor.alpha}, {44, s.centerF.x},     {48, s.centerF.y},
      {52, s.topLeft.x},      {56, s.topLeft.y},       {60, s.topRight.x},    {64, s.topRight.y},
      {68, s.bottomRight.x},  {72, s.bottomRight.y},   {76, s.bottomLeft.x},  {80, s.bottomLeft.y},
      {84, s.cornerRadius}};
  for (const auto& [at, value] : floats)
    EXPECT_EQ(At<float>(b, offset + at), value) << "offset " << at;
  EXPECT_EQ(At<int32_t>(b, offset + 16), s.invert);
}

} // namespace

TEST_F(MediaAttributes, MaskWithoutKeyFramesSendsItsShapeAsItStands) {
  MaskObject* mask = item->maskObject = arena.New<MaskObject>();
  SetText(mask->folderPath, "masks/circle");
  mask->shape = DistinctShape(0);
  EXPECT_EQ(Apply(), 1);
  EXPECT_EQ(Named("OrmaAddMediaMaskFromConfig"),
            Lines{"OrmaAddMediaMaskFromConfig(h1, \"" +
                  Joined("/drafts/work", "masks/circle", "config.json") + "\")"});
  recorder::Call call = Only("OrmaUpdateMediaMaskParam");
  EXPECT_EQ(call.args.at(1), "h2"); // the mask handle
  const std::vector<uint8_t>& b = call.blocks.at(0);
  ASSERT_EQ(b.size(), 88u);
  ExpectShapeBlock(b, 0, mask->shape);
  EXPECT_TRUE(Named("OrmaMediaAddMaskKeyFrameAnimation").empty());
}

TEST_F(MediaAttributes, MaskKeyFrameTimeIsWholeSecondsTimesMillion) {
  MaskObject* mask = item->maskObject = arena.New<MaskObject>();
  SetText(mask->folderPath, "masks/circle");
  mask->shape = DistinctShape(7); // not sent when there are key frames
  MaskKeyFrame* first = mask->keyFrames = arena.New<MaskKeyFrame>();
  first->atTime = 2; // a draft's 2.7 is held as 2
  first->shape = DistinctShape(1);
  MaskKeyFrame* second = first->next = arena.New<MaskKeyFrame>();
  second->atTime = 4;
  second->shape = DistinctShape(2);
  EXPECT_EQ(Apply(), 1);
  std::vector<recorder::Call> frames;
  for (const recorder::Call& c : AllCalls())
    if (c.name == "OrmaMediaAddMaskKeyFrameAnimation") frames.push_back(c);
  ASSERT_EQ(frames.size(), 2u);
  EXPECT_EQ(frames[0].args.at(1), "h2");
  const std::vector<uint8_t>& b = frames[0].blocks.at(0);
  ASSERT_EQ(b.size(), 96u);
  EXPECT_EQ(At<int64_t>(b, 0), 2000000);
  ExpectShapeBlock(b, 8, first->shape);
  EXPECT_EQ(At<int64_t>(frames[1].blocks.at(0), 0), 4000000);
  ExpectShapeBlock(frames[1].blocks.at(0), 8, second->shape);
  EXPECT_TRUE(Named("OrmaUpdateMediaMaskParam").empty());
}

TEST_F(MediaAttributes, HugeMaskKeyFrameTimeSaturates) {
  MaskObject* mask = item->maskObject = arena.New<MaskObject>();
  mask->keyFrames = arena.New<MaskKeyFrame>();
  mask->keyFrames->atTime = std::numeric_limits<int64_t>::max() / 10;
  EXPECT_EQ(Apply(), 1);
  EXPECT_EQ(At<int64_t>(Only("OrmaMediaAddMaskKeyFrameAnimation").blocks.at(0), 0),
            std::numeric_limits<int64_t>::max());
}

TEST_F(MediaAttributes, MaskConfigThatDoesNotLoadReturnsMinus554) {
  item->maskObject = arena.New<MaskObject>();
  recorder::SetResult("OrmaAddMediaMaskFromConfig", 0);
  EXPECT_EQ(Apply(), -554);
  EXPECT_EQ(Names().back(), "OrmaAddMediaMaskFromConfig");
}

TEST_F(MediaAttributes, RefusedMaskKeyFrameReturnsMinus566) {
  item->maskObject = arena.New<MaskObject>();
  item->maskObject->keyFrames = arena.New<MaskKeyFrame>();
  item->maskObject->keyFrames->next = arena.New<MaskKeyFrame>();
  recorder::QueueResults("OrmaMediaAddMaskKeyFrameAnimation", {5, 0});
  EXPECT_EQ(Apply(), -566);
  EXPECT_EQ(Named("OrmaMediaAddMaskKeyFrameAnimation").size(), 2u);
  EXPECT_EQ(Names().back(), "OrmaMediaAddMaskKeyFrameAnimation");
}

TEST_F(MediaAttributes, ItemEffectStartsAtZeroAndLastsItsSpan) {
  EffectRecord* effect = item->specialEffects = arena.New<EffectRecord>();
  effect->timelineFrom = 1.5f;
  effect->timelineTo = 4.0f;
  SetText(effect->folderPath, "effects/shake");
  EffectRecord* second = effect->next = arena.New<EffectRecord>();
  second->timelineTo = 0.5f;
  SetText(second->folderPath, "/abs/fx");
  EXPECT_EQ(Apply(), 1);
  EXPECT_EQ(
      Named("OrmaSetMediaSpecialEffect"),
      (Lines{"OrmaSetMediaSpecialEffect(h1, \"" + Joined("/drafts/work", "effects/shake", "config.json") +
                 "\", 0, 2500000)",
             "OrmaSetMediaSpecialEffect(h1, \"" + Joined("/abs/fx", "config.json") + "\", 0, 500000)"}));
}

TEST_F(MediaAttributes, ItemEffectFromZeroToZeroFailsWithMinus606) {
  item->specialEffects = arena.New<EffectRecord>();
  EXPECT_EQ(Apply(), -606);
  EXPECT_TRUE(Named("OrmaSetMediaSpecialEffect").empty());
  EXPECT_EQ(Names().back(), "OrmaSetMediaPlaySpeed");
}

TEST_F(MediaAttributes, ItemEffectStartingBeforeZeroFailsWithMinus606) {
  EffectRecord* effect = item->specialEffects = arena.New<EffectRecord>();
  effect->timelineTo = 1.0f;
  effect->next = arena.New<EffectRecord>();
  effect->next->timelineFrom = -0.5f;
  effect->next->timelineTo = 1.0f;
  EXPECT_EQ(Apply(), -606);
  EXPECT_EQ(Named("OrmaSetMediaSpecialEffect").size(), 1u);
}

// Every checked call, in order, for an item that makes them all; a failing
// result is returned as it is and nothing after it runs.
TEST_F(MediaAttributes, EveryCheckedCallStopsTheRoutineWithItsResult) {
  item->audioFadeInDuration = 1.0f;
  item->denoiseLevel = 1;
  item->filter = arena.New<MediaFilter>();
  item->filter->filterType = 11;
  item->blurIntensity = 1.0f;
  item->blur = arena.New<BlurParams>();
  item->beautyBlurIntensity = item->beautyBrightIntensity = item->beautyToneIntensity = 0.1f;
  item->beautyBigEyeIntensity = item->beautyThinFaceIntensity = 0.1f;
  item->levels.vignette = item->levels.tint = item->levels.highlight = item->levels.shadows = 0.1f;
  item->levels.graininess = item->levels.lightSensation = item->levels.fade = 0.1f;
  item->blendType = 1.0f;
  item->customAnimations = arena.New<AnimationRecord>();
  item->customAnimations->type = 2;
  item->maskObject = arena.New<MaskObject>();
  item->specialEffects = arena.New<EffectRecord>();
  item->specialEffects->timelineTo = 1.0f;
  const Lines checked = {"OrmaSetMediaFlip",
                         "OrmaSetMediaTimeLine",
                         "OrmaSetMediaCutTime",
                         "OrmaSetMediaAudioFactor",
                         "OrmaSetMediaAudioFadeTime",
                         "OrmaSetMediaAudioEffect",
                         "OrmaSetMediaAudioNsLevel",
                         "OrmaSetMediaLUT",
                         "OrmaSetMediaDisplayMode",
                         "OrmaSetMediaBlur",
                         "OrmaSetMediaBeautyBlurIntensity",
                         "OrmaSetMediaBeautyBrightIntensity",
                         "OrmaSetMediaBeautyToneIntensity",
                         "OrmaGetMediaFaceCount",
                         "OrmaSetMediaBigEyeIntensity",
                         "OrmaSetMediaThinFaceIntensity",
                         "OrmaSetMediaVignette",
                         "OrmaSetMediaSharp",
                         "OrmaSetMediaSaturation",
                         "OrmaSetMediaContrast",
                         "OrmaSetMediaBright",
                         "OrmaSetMediaWhiteBalance",
                         "OrmaSetMediaTint",
                         "OrmaSetMediaHighlight",
                         "OrmaSetMediaShadow",
                         "OrmaSetMediaGraininess",
                         "OrmaSetMediaLightSensation",
                         "OrmaSetMediaFade",
                         "OrmaSetMediaTransparency",
                         "OrmaSetMediaAnimationAngle",
                         "OrmaSetMediaBlendMode",
                         "OrmaSetMediaClip",
                         "OrmaSetMediaShowRect",
                         "OrmaSetMediaPlaySpeed",
                         "OrmaSetMediaAnimation",
                         "OrmaSetMediaAnimationCycleDuration",
                         "OrmaAddMediaMaskFromConfig",
                         "OrmaUpdateMediaMaskParam",
                         "OrmaSetMediaChromaKey",
                         "OrmaSetMediaSpecialEffect",
                         "OrmaSetMediaAudioNsLevel"};

  EXPECT_EQ(Apply(1), 1);
  EXPECT_EQ(Names(), checked);

  for (size_t i = 0; i < checked.size(); ++i) {
    const std::string& name = checked[i];
    if (name == "OrmaGetMediaFaceCount" || name == "OrmaAddMediaMaskFromConfig")
      continue; // not plain status calls
    Restart();
    const int64_t failure = -static_cast<int64_t>(i) - 10;
    if (name == "OrmaSetMediaAudioNsLevel" && i > 10) {
      recorder::QueueResults(name, {1, failure}); // the second, last call
    } else {
      recorder::SetResult(name, failure);
    }
    EXPECT_EQ(Apply(1), failure) << name;
    std::vector<std::string> names = Names();
    EXPECT_EQ(names.size(), i + 1) << name;
    EXPECT_EQ(names.back(), name);

    Restart();
    if (name == "OrmaSetMediaAudioNsLevel" && i > 10) {
      recorder::QueueResults(name, {1, 0});
    } else {
      recorder::SetResult(name, 0);
    }
    EXPECT_EQ(Apply(1), 0) << name << " returning 0";
  }
}

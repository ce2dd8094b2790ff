// The keys of the draft: for each record of draft/records.h, the table of
// the keys read into it one by one, each with its view (draft/json_read.h),
// in the order the records are declared. The readers (draft/NAME.cpp) read a
// record's table with ReadFields and keep only what is more than a key and a
// view: lists, "pipList" filtering, defaults, values worked out from several
// keys. A new draft key is a field in its record and a row here.
//
// A table's order is the order the keys are read in; it matters only for the
// order of the log lines of texts cut to their fields.
#pragma once

#include "draft/json_read.h"
#include "draft/records.h"

namespace draftjson {

// The small objects the other records hold.
inline const KeyField<ColorF> kColorKeys[] = {
    {"red", &ColorF::red}, {"green", &ColorF::green}, {"blue", &ColorF::blue}, {"alpha", &ColorF::alpha}};
inline const KeyField<PointF> kPointKeys[] = {{"x", &PointF::x}, {"y", &PointF::y}};
inline const KeyField<SizeF> kSizeKeys[] = {{"width", &SizeF::width}, {"height", &SizeF::height}};
inline const KeyField<PairF> kPairKeys[] = {{"cx", &PairF::cx}, {"cy", &PairF::cy}};

// The twelve colour and light levels of a media item, a key frame and a
// toning (ReadColorLevels).
inline const KeyField<ColorLevels> kColorLevelKeys[] = {
    {"vignette", &ColorLevels::vignette},
    {"sharpness", &ColorLevels::sharpness},
    {"saturation", &ColorLevels::saturation},
    {"contrast", &ColorLevels::contrast},
    {"brightness", &ColorLevels::brightness},
    {"whiteBalance", &ColorLevels::whiteBalance},
    {"tint", &ColorLevels::tint},
    {"highlight", &ColorLevels::highlight},
    {"shadows", &ColorLevels::shadows},
    {"graininess", &ColorLevels::graininess},
    {"lightSensation", &ColorLevels::lightSensation},
    {"fade", &ColorLevels::fade},
};

inline const KeyField<MediaInfoEntry> kMediaInfoKeys[] = {
    {"path", &MediaInfoEntry::path},
    {"timelineFrom", &MediaInfoEntry::timelineFrom},
    {"timelineTo", &MediaInfoEntry::timelineTo},
    {"replaceType", &MediaInfoEntry::replaceType},
    {"groupId", &MediaInfoEntry::groupId},
};

// An entry derived from a scene's media item: its length is that of its trim.
inline const KeyField<MediaInfoEntry> kSceneMediaKeys[] = {
    {"path", &MediaInfoEntry::path},
    {"replaceType", &MediaInfoEntry::replaceType},
    {"groupId", &MediaInfoEntry::groupId},
};

inline const KeyField<AnimationRecord> kAnimationKeys[] = {
    {"cycleDuration", &AnimationRecord::cycleDuration},
    {"type", &AnimationRecord::type, View::kTruncated},
    // The editor's ids and folders are copied as they are; they are never
    // interpreted as printf formats.
    {"networkCategoryId", &AnimationRecord::networkCategoryId},
    {"networkResourceId", &AnimationRecord::networkResourceId},
    {"duration", &AnimationRecord::duration},
    {"folderPath", &AnimationRecord::folderPath},
};

// Blur of a media item reads "blurType" with the int view, that of a key
// frame with the double view truncated.
inline const KeyField<BlurParams> kItemBlurKeys[] = {
    {"radius", &BlurParams::radius},
    {"intensity", &BlurParams::intensity},
    {"blurType", &BlurParams::blurType},
    {"centerPoint", &BlurParams::centerPoint},
};

inline const KeyField<BlurParams> kKeyFrameBlurKeys[] = {
    {"radius", &BlurParams::radius},
    {"intensity", &BlurParams::intensity},
    {"blurType", &BlurParams::blurType, View::kTruncated},
    {"centerPoint", &BlurParams::centerPoint},
};

inline const KeyField<MediaKeyFrame> kMediaKeyFrameKeys[] = {
    {"atTime", &MediaKeyFrame::atTime},     {"blurIntensity", &MediaKeyFrame::blurIntensity},
    {"cropRect", &MediaKeyFrame::cropRect}, {"showRectF", &MediaKeyFrame::showRect},
    {"rotate", &MediaKeyFrame::rotate},     {"fillScale", &MediaKeyFrame::fillScale},
    {"opacity", &MediaKeyFrame::opacity},   {"type", &MediaKeyFrame::type},
};

inline const KeyField<MediaFilter> kMediaFilterKeys[] = {
    {"filterNetworkResourceId", &MediaFilter::filterNetworkResourceId},
    {"filterNetworkCategoryId", &MediaFilter::filterNetworkCategoryId},
    {"filterType", &MediaFilter::filterType},
    {"filterIntensity", &MediaFilter::filterIntensity},
};

inline const KeyField<MaskShape> kMaskShapeKeys[] = {
    {"sizeF", &MaskShape::size},
    {"degrees", &MaskShape::degrees},
    {"distance", &MaskShape::distance},
    {"invert", &MaskShape::invert},
    {"featherStep", &MaskShape::featherStep},
    {"edgeSize", &MaskShape::edgeSize},
    {"edgeColor", &MaskShape::edgeColor},
    {"centerF", &MaskShape::centerF},
    {"topLeft", &MaskShape::topLeft},
    {"topRight", &MaskShape::topRight},
    {"bottomRight", &MaskShape::bottomRight},
    {"bottomLeft", &MaskShape::bottomLeft},
    {"cornerRadius", &MaskShape::cornerRadius},
};

inline const KeyField<EffectRecord> kEffectKeys[] = {
    {"folderPath", &EffectRecord::folderPath},
    {"networkResourceId", &EffectRecord::networkResourceId},
    {"networkCategoryId", &EffectRecord::networkCategoryId},
    {"timelineFrom", &EffectRecord::timelineFrom},
    {"timelineTo", &EffectRecord::timelineTo},
    {"nApplyRange", &EffectRecord::nApplyRange},
};

// The keys of a media item read one by one; its volume, blur, lists and
// the parts kept on the list's first record are read apart.
inline const KeyField<MediaRecord> kMediaKeys[] = {
    {"path", &MediaRecord::path},
    {"isHorizontalMirror", &MediaRecord::isHorizontalMirror},
    {"isVerticalMirror", &MediaRecord::isVerticalMirror},
    {"timelineFrom", &MediaRecord::timelineFrom},
    {"timelineTo", &MediaRecord::timelineTo},
    {"trimTimeStart", &MediaRecord::trimTimeStart},
    {"trimTimeEnd", &MediaRecord::trimTimeEnd},
    {"curveSpeedType", &MediaRecord::curveSpeedType},
    {"audioFadeOutDuration", &MediaRecord::audioFadeOutDuration},
    {"audioFadeInDuration", &MediaRecord::audioFadeInDuration},
    {"audioFilterType", &MediaRecord::audioFilterType, View::kTruncated},
    {"pitch", &MediaRecord::pitch},
    {"denoiseLevel", &MediaRecord::denoiseLevel, View::kTruncated},
    {"volume", &MediaRecord::volume},
    {"blurIntensity", &MediaRecord::blurIntensity},
    {"beautyBlurIntensity", &MediaRecord::beautyBlurIntensity},
    {"beautyBrightIntensity", &MediaRecord::beautyBrightIntensity},
    {"beautyToneIntensity", &MediaRecord::beautyToneIntensity},
    {"beautyThinFaceIntensity", &MediaRecord::beautyThinFaceIntensity},
    {"beautyBigEyeIntensity", &MediaRecord::beautyBigEyeIntensity},
    {"cutoutAlphaLower", &MediaRecord::cutoutAlphaLower},
    {"cutoutEdgeSize", &MediaRecord::cutoutEdgeSize},
    {"cutoutAlphaUpper", &MediaRecord::cutoutAlphaUpper},
    {"cutoutFactor", &MediaRecord::cutoutFactor},
    {"cutoutColor", &MediaRecord::cutoutColor},
    {"alpha", &MediaRecord::alpha},
    {"rotate", &MediaRecord::rotate},
    {"blendType", &MediaRecord::blendType},
    {"speed", &MediaRecord::speed},
    {"isReverse", &MediaRecord::isReverse, View::kTruncated},
    {"reverseType", &MediaRecord::reverseType, View::kTruncated},
    {"autoSegment", &MediaRecord::autoSegment, View::kTruncated},
    {"replaceType", &MediaRecord::replaceType, View::kTruncated},
    {"level", &MediaRecord::level},
    {"transitionDuration", &MediaRecord::transitionDuration},
    {"showRectF", &MediaRecord::showRect},
    {"cropRect", &MediaRecord::cropRect},
};

inline const KeyField<LogoRecord> kLogoKeys[] = {
    {"alpha", &LogoRecord::alpha},
    {"rotate", &LogoRecord::rotate},
    {"showRectF", &LogoRecord::showRect},
    {"cropRect", &LogoRecord::cropRect},
};

inline const KeyField<TransitionRecord> kTransitionKeys[] = {
    {"type", &TransitionRecord::type},
    {"networkCategoryId", &TransitionRecord::networkCategoryId, View::kNonEmpty},
    {"networkResourceId", &TransitionRecord::networkResourceId, View::kNonEmpty},
    {"duration", &TransitionRecord::duration},
    {"folderPath", &TransitionRecord::folderPath, View::kNonEmpty},
};

inline const KeyField<BackgroundRecord> kSceneBackgroundKeys[] = {
    {"type", &BackgroundRecord::type},
    {"blurIntensity", &BackgroundRecord::blurIntensity},
    {"imagePath", &BackgroundRecord::imagePath},
    {"color", &BackgroundRecord::color},
};

inline const KeyField<SceneRecord> kSceneKeys[] = {
    {"identifier", &SceneRecord::identifier},
    {"isDefault", &SceneRecord::isDefault},
    {"groupId", &SceneRecord::groupId},
};

inline const KeyField<CaptionBackground> kCaptionBackgroundKeys[] = {
    {"color", &CaptionBackground::color},
    {"roundFactor", &CaptionBackground::roundFactor},
    {"padding", &CaptionBackground::padding},
    {"offset", &CaptionBackground::offset},
};

inline const KeyField<CaptionWord> kWordKeys[] = {
    {"shadowDistance", &CaptionWord::shadowDistance},
    {"fontPath", &CaptionWord::fontPath},
    {"flowerPath", &CaptionWord::flowerPath},
    {"isBold", &CaptionWord::isBold},
    {"maskType", &CaptionWord::maskType},
    {"wordSpacing", &CaptionWord::wordSpacing},
    {"lineSpacing", &CaptionWord::lineSpacing},
    {"shadowBlur", &CaptionWord::shadowBlur},
    {"text", &CaptionWord::text},
    {"opacity", &CaptionWord::opacity},
    {"isItalic", &CaptionWord::isItalic},
    {"isUnderline", &CaptionWord::isUnderline},
    {"strokeColor", &CaptionWord::strokeColor},
    {"backgroundColor", &CaptionWord::backgroundColor},
    {"shadowColor", &CaptionWord::shadowColor},
    {"textColor", &CaptionWord::textColor},
    {"isVertical", &CaptionWord::isVertical},
    {"duration", &CaptionWord::duration},
    {"startTime", &CaptionWord::startTime},
    {"flowerCategoryId", &CaptionWord::flowerCategoryId},
    {"textAlignment", &CaptionWord::textAlignment, View::kTruncated},
    {"strokeWidth", &CaptionWord::strokeWidth},
    {"angle", &CaptionWord::angle},
    {"shadowAngle", &CaptionWord::shadowAngle},
};

inline const KeyField<CaptionKeyFrame> kCaptionKeyFrameKeys[] = {
    {"showRectF", &CaptionKeyFrame::showRect},
    {"scale", &CaptionKeyFrame::scale},
    {"alpha", &CaptionKeyFrame::alpha},
    {"rotate", &CaptionKeyFrame::rotate},
};

inline const KeyField<CaptionRecord> kCaptionKeys[] = {
    {"timelineFrom", &CaptionRecord::timelineFrom},
    {"timelineTo", &CaptionRecord::timelineTo},
    {"isEnableTracking", &CaptionRecord::isEnableTracking},
    {"identifier", &CaptionRecord::identifier},
    {"networkResourceId", &CaptionRecord::networkResourceId},
    {"networkCategoryId", &CaptionRecord::networkCategoryId},
    {"groupId", &CaptionRecord::groupId, View::kTruncated},
    {"opacity", &CaptionRecord::opacity},
    {"flipY", &CaptionRecord::flipY, View::kDoubleFlag},
    {"flipX", &CaptionRecord::flipX, View::kDoubleFlag},
    {"scale", &CaptionRecord::scale},
    {"angle", &CaptionRecord::angle},
    {"folderPath", &CaptionRecord::folderPath, View::kNonEmpty},
    {"showRectF", &CaptionRecord::showRect},
};

inline const KeyField<StickerRecord> kStickerKeys[] = {
    {"timelineFrom", &StickerRecord::timelineFrom},
    {"timelineTo", &StickerRecord::timelineTo},
    {"opacity", &StickerRecord::opacity},
    {"scale", &StickerRecord::scale},
    {"blendType", &StickerRecord::blendType, View::kTruncated},
    {"angle", &StickerRecord::angle},
    {"isHorizontalMirror", &StickerRecord::isHorizontalMirror},
    {"isEnableTracking", &StickerRecord::isEnableTracking},
    {"isVerticalMirror", &StickerRecord::isVerticalMirror},
    {"imageFolderPath", &StickerRecord::imageFolderPath, View::kNonEmpty},
    {"networkCategoryId", &StickerRecord::networkCategoryId, View::kNonEmpty},
    {"networkResourceId", &StickerRecord::networkResourceId, View::kNonEmpty},
    {"sizeF", &StickerRecord::size},
    {"centerF", &StickerRecord::center},
};

inline const KeyField<ToningRecord> kToningKeys[] = {
    {"timelineFrom", &ToningRecord::timelineFrom},
    {"timelineTo", &ToningRecord::timelineTo},
    {"tag", &ToningRecord::tag},
};

inline const KeyField<FilterRecord> kCustomFilterKeys[] = {
    {"timelineFrom", &FilterRecord::timelineFrom},
    {"timelineTo", &FilterRecord::timelineTo},
    {"lookUpFilterIntensity", &FilterRecord::lookUpFilterIntensity},
    {"tag", &FilterRecord::tag, View::kTruncated},
    {"name", &FilterRecord::name, View::kNonEmpty},
    {"lookUpFilterPath", &FilterRecord::lookUpFilterPath, View::kNonEmpty},
    {"networkCategoryId", &FilterRecord::networkCategoryId, View::kNonEmpty},
    {"networkResourceId", &FilterRecord::networkResourceId, View::kNonEmpty},
};

inline const KeyField<MosaicRecord> kMosaicKeys[] = {
    {"timelineFrom", &MosaicRecord::timelineFrom},
    {"timelineTo", &MosaicRecord::timelineTo},
    {"intensity", &MosaicRecord::intensity},
    {"type", &MosaicRecord::type},
};

inline const KeyField<OverlayRecord> kOverlayKeys[] = {
    {"identifier", &OverlayRecord::identifier},
    {"fRailLevelY", &OverlayRecord::fRailLevelY},
    {"groupId", &OverlayRecord::groupId, View::kTruncated},
    {"timelineFrom", &OverlayRecord::timelineFrom},
    {"timelineTo", &OverlayRecord::timelineTo},
};

inline const KeyField<AudioTrackRecord> kMusicKeys[] = {
    {"path", &AudioTrackRecord::path},
    {"timelineFrom", &AudioTrackRecord::timelineFrom},
    {"timelineTo", &AudioTrackRecord::timelineTo},
    {"trimTimeStart", &AudioTrackRecord::trimTimeStart},
    {"trimTimeEnd", &AudioTrackRecord::trimTimeEnd},
    {"isFadeInOut", &AudioTrackRecord::isFadeInOut},
    {"denoiseLevel", &AudioTrackRecord::denoiseLevel},
    {"volume", &AudioTrackRecord::volume},
    {"speed", &AudioTrackRecord::speed},
    {"pitch", &AudioTrackRecord::pitch},
    {"audioFilterType", &AudioTrackRecord::audioFilterType},
    {"fadeInDuration", &AudioTrackRecord::fadeInDuration},
    {"fadeOutDuration", &AudioTrackRecord::fadeOutDuration},
    {"captionIdentifier", &AudioTrackRecord::captionIdentifier},
    {"name", &AudioTrackRecord::name},
    {"curveSpeedType", &AudioTrackRecord::curveSpeedType},
};

// A sound effect's fade flag and filter type are read from the double
// view; it has a pitch-keeping speed and the text-to-speech keys of its own.
inline const KeyField<AudioTrackRecord> kSoundEffectKeys[] = {
    {"path", &AudioTrackRecord::path},
    {"name", &AudioTrackRecord::name},
    {"isFadeInOut", &AudioTrackRecord::isFadeInOut, View::kDoubleFlag},
    {"timelineFrom", &AudioTrackRecord::timelineFrom},
    {"timelineTo", &AudioTrackRecord::timelineTo},
    {"trimTimeStart", &AudioTrackRecord::trimTimeStart},
    {"trimTimeEnd", &AudioTrackRecord::trimTimeEnd},
    {"denoiseLevel", &AudioTrackRecord::denoiseLevel},
    {"volume", &AudioTrackRecord::volume},
    {"speed", &AudioTrackRecord::speed},
    {"speedHoldPitch", &AudioTrackRecord::speedHoldPitch},
    {"pitch", &AudioTrackRecord::pitch},
    {"audioFilterType", &AudioTrackRecord::audioFilterType, View::kTruncated},
    {"fadeInDuration", &AudioTrackRecord::fadeInDuration},
    {"fadeOutDuration", &AudioTrackRecord::fadeOutDuration},
    {"tts_id", &AudioTrackRecord::tts_id},
    {"type", &AudioTrackRecord::type},
    {"tts_name", &AudioTrackRecord::tts_name},
    {"emotion_code", &AudioTrackRecord::emotion_code},
};

inline const KeyField<DraftDocument> kRootKeys[] = {
    {"ver", &DraftDocument::ver},
    {"name", &DraftDocument::name},
    {"description", &DraftDocument::description},
    {"creationTime", &DraftDocument::creationTime},
    {"cover", &DraftDocument::cover},
    {"coverPath", &DraftDocument::coverPath},
    {"picture_need", &DraftDocument::picture_need},
    {"video_need", &DraftDocument::video_need},
    {"text_need", &DraftDocument::text_need},
    // Whole seconds: the integer view is taken on purpose.
    {"duration", &DraftDocument::duration, View::kIntView},
    {"draft", &DraftDocument::draft},
    {"isHasEndScene", &DraftDocument::isHasEndScene},
};

} // namespace draftjson

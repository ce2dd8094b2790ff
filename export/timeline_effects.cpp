#include "export/timeline_effects.h"

#include <cstdio>
#include <string>

#include "export/convert.h"
#include "export/export_draft.h"
#include "export/export_message.h"
#include "export/resource_path.h"
#include "platform/log_line.h"

namespace {

void ApplyLevel(void* handle, int32_t level) {
  if (level > 0) OrmaUpdateEffectLevel(handle, level);
}

// Regions are passed as left, top, right, bottom taken from the corners the
// editor writes clockwise from the top left.
int32_t AddMosaics(const DraftDocument* document, OrmaVideoHandle vv, char* message) {
  for (const MosaicRecord* mosaic = document->mosaics; mosaic; mosaic = mosaic->next) {
    const float region[4] = {mosaic->points[0].x, mosaic->points[0].y, mosaic->points[1].x,
                             mosaic->points[3].y};
    const int64_t from = convert::SecondsToUs(mosaic->timelineFrom);
    const int64_t to = convert::SecondsToUs(mosaic->timelineTo);
    switch (mosaic->type) {
    case 0:
      if (!OrmaAddMosaic(vv, region, mosaic->intensity, from, to)) {
        SetMessage(message, "Add mosaic fail");
        return kAddMosaicFailed;
      }
      break;
    case 1:
      if (!OrmaAddGaussBlur(vv, region, mosaic->intensity, from, to)) {
        SetMessage(message, "Add gauss blur fail");
        return kAddGaussBlurFailed;
      }
      break;
    case 2:
      if (!OrmaAddDeLogo(vv, region, from, to)) {
        SetMessage(message, "Add delogo fail");
        return kAddDeLogoFailed;
      }
      break;
    default:
      return kUnknownMosaicType;
    }
  }
  return 1;
}

// A look-up picture that the library cannot load only loses that filter.
void AddCustomFilters(const DraftDocument* document, OrmaVideoHandle vv) {
  for (const FilterRecord* filter = document->customFilters; filter; filter = filter->next) {
    const std::string path = ResolveResourcePath(document, filter->lookUpFilterPath);
    OrmaEffectHandle lut =
        OrmaAddLUT(vv, path.c_str(), filter->lookUpFilterIntensity,
                   convert::SecondsToUs(filter->timelineFrom), convert::SecondsToUs(filter->timelineTo));
    if (!lut) {
      LogLine("Add lookup failed\n");
      continue;
    }
    ApplyLevel(lut, filter->level);
  }
}

OrmaAudioHandle AddAudio(const DraftDocument* document, OrmaVideoHandle vv, const AudioTrackRecord* track) {
  const std::string path = ResolveResourcePath(document, track->path);
  return OrmaAddAudioMedia(
      vv, path.c_str(), static_cast<double>(track->volume), convert::SecondsToUs(track->trimTimeStart),
      convert::SecondsToUs(track->trimTimeEnd), convert::SecondsToUs(track->timelineFrom),
      convert::SecondsToUs(track->timelineTo));
}

// The volume is given to the library only when the track is created.
int32_t AddMusics(const DraftDocument* document, OrmaVideoHandle vv, char* message) {
  for (const AudioTrackRecord* music = document->musics; music; music = music->next) {
    OrmaAudioHandle audio = AddAudio(document, vv, music);
    if (!audio) return Fail(message, kAddMusicFailed, "Add audio media fail");
    int32_t result = OrmaSetAudioMediaCutTime(audio, convert::SecondsToUs(music->trimTimeStart),
                                              convert::SecondsToUs(music->trimTimeEnd));
    if (result < 1) return Fail(message, result, "Set audio media cut time fail");
    result = OrmaSetAudioMediaFadeTime(audio, convert::SecondsToUs(music->fadeInDuration),
                                       convert::SecondsToUs(music->fadeOutDuration));
    if (result < 1) return Fail(message, result, "Set audio media fade time fail");
    result = OrmaSetAudioMediaPlaySpeed(audio, static_cast<double>(music->speed));
    if (result < 1) return Fail(message, result, "Set audio media play speed fail");
    result = OrmaSetAudioMediaEffect(audio, convert::ToInt32(music->audioFilterType));
    if (result <= 0) return Fail(message, result, "Set audio media effect fail");
    result = OrmaSetAudioMediaNsLevel(audio, convert::ToInt32(music->denoiseLevel));
    if (result <= 0) return Fail(message, result, "Set audio media denoise level fail");
  }
  return 1;
}

// Sound effects set the noise level before the speed and get their volume a
// second time as a factor; a refused factor reports the play-speed text, as
// the editor's own exporter does.
int32_t AddSoundEffects(const DraftDocument* document, OrmaVideoHandle vv, char* message) {
  for (const AudioTrackRecord* sound = document->soundEffects; sound; sound = sound->next) {
    OrmaAudioHandle audio = AddAudio(document, vv, sound);
    if (!audio) return Fail(message, kAddSoundEffectFailed, "Add audio media fail");
    int32_t result = OrmaSetAudioMediaCutTime(audio, convert::SecondsToUs(sound->trimTimeStart),
                                              convert::SecondsToUs(sound->trimTimeEnd));
    if (result < 1) return Fail(message, result, "Set audio media cut time fail");
    result = OrmaSetAudioMediaFadeTime(audio, convert::SecondsToUs(sound->fadeInDuration),
                                       convert::SecondsToUs(sound->fadeOutDuration));
    if (result < 1) return Fail(message, result, "Set audio media fade time fail");
    result = OrmaSetAudioMediaNsLevel(audio, convert::ToInt32(sound->denoiseLevel));
    if (result <= 0) return Fail(message, result, "Set audio media denoise level fail");
    result = OrmaSetAudioMediaPlaySpeed(audio, static_cast<double>(sound->speed));
    if (result < 1) return Fail(message, result, "Set audio media play speed fail");
    result = OrmaSetAudioMediaVolFactor(audio, static_cast<double>(sound->volume));
    if (result < 1) return Fail(message, result, "Set audio media play speed fail");
    result = OrmaSetAudioMediaEffect(audio, convert::ToInt32(sound->audioFilterType));
    if (result <= 0) return Fail(message, result, "Set audio media effect fail");
  }
  return 1;
}

int32_t AddTonings(const DraftDocument* document, OrmaVideoHandle vv, char* message) {
  for (const ToningRecord* toning = document->tonings; toning; toning = toning->next) {
    const OrmaAdjustmentBlock block = ToningAdjustment(toning, document->ver);
    OrmaEffectHandle adjustment = OrmaAddFilterAdjustment(
        vv, &block, convert::SecondsToUs(toning->timelineFrom), convert::SecondsToUs(toning->timelineTo));
    if (!adjustment) return Fail(message, kAddAdjustmentFailed, "Add adjustment fail");
    ApplyLevel(adjustment, toning->level);
  }
  return 1;
}

// An effect that the library cannot load only loses that effect; a span
// that does not lie after 0 is a broken draft and ends the export.
int32_t AddSpecialEffects(const DraftDocument* document, OrmaVideoHandle vv, char* message) {
  for (const EffectRecord* effect = document->specialEffects; effect; effect = effect->next) {
    const float from = effect->timelineFrom * 1000000.0f;
    const float to = effect->timelineTo * 1000000.0f;
    if (from < 0 || to <= 0) return Fail(message, kSpecialEffectSpanInvalid, "Effect timeline is invalid");
    const std::string config = ResolveResourcePath(document, effect->folderPath, true);
    OrmaEffectHandle handle = OrmaAddSpecialEffect(vv, config.c_str(), effect->nApplyRange,
                                                   convert::ToInt64(from), convert::ToInt64(to));
    if (!handle) {
      LogLine("OrmaAddSpecialEffect failed\n");
      continue;
    }
    ApplyLevel(handle, effect->level);
  }
  return 1;
}

} // namespace

OrmaAdjustmentBlock ToningAdjustment(const ToningRecord* toning, int32_t draftVersion) {
  OrmaAdjustmentBlock block{};
  const double saturation = toning->levels.saturation;
  const double contrast = toning->levels.contrast;
  const double sharpness = toning->levels.sharpness;
  block.brightness = static_cast<float>(toning->levels.brightness * 255.0);
  if (static_cast<double>(draftVersion) > 4.0) {
    block.saturation = static_cast<float>(saturation * 100.0);
    block.contrast = static_cast<float>(contrast * 100.0);
    block.sharpness = static_cast<float>(sharpness * 0.25 * 100.0);
  } else {
    block.saturation = static_cast<float>((saturation - 1.0) * 100.0);
    double c = contrast - 1.0;
    if (contrast > 1.0) c = c / 3.0;
    block.contrast = static_cast<float>(c * 100.0);
    block.sharpness = static_cast<float>((sharpness + 4.0) * 0.125 * 100.0);
  }
  block.vignette = static_cast<float>(toning->levels.vignette * 100.0);
  block.whiteBalance = static_cast<float>(toning->levels.whiteBalance * 100.0);
  block.tint = static_cast<float>(toning->levels.tint * 100.0);
  block.shadows = static_cast<float>(toning->levels.shadows * 100.0);
  block.graininess = static_cast<float>(toning->levels.graininess * 100.0);
  block.highlight = static_cast<float>(toning->levels.highlight * 100.0);
  block.lightSensation = static_cast<float>(toning->levels.lightSensation * 100.0);
  block.fade = static_cast<float>(toning->levels.fade * 100.0);
  return block;
}

int32_t AddTimelineEffects(DraftDocument* document, OrmaVideoHandle vv, char* message) {
  if (!document) return 1;
  int32_t result = AddMosaics(document, vv, message);
  if (result < 1) return result;
  AddCustomFilters(document, vv);
  result = AddMusics(document, vv, message);
  if (result < 1) return result;
  result = AddSoundEffects(document, vv, message);
  if (result < 1) return result;
  result = AddTonings(document, vv, message);
  if (result < 1) return result;
  return AddSpecialEffects(document, vv, message);
}

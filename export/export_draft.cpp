#include "export/export_draft.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <thread>

#include "draft/draft.h"
#include "export/captions.h"
#include "export/convert.h"
#include "export/export_message.h"
#include "export/export_settings.h"
#include "export/media_attributes.h"
#include "export/overlays_logo.h"
#include "export/progress_bar.h"
#include "export/scene_paths.h"
#include "export/stickers.h"
#include "export/timeline_effects.h"
#include "platform/diagnostic.h"
#include "platform/interrupt.h"
#include "platform/log_line.h"
#include "platform/platform.h"
#include "preview/preview_run.h"

namespace {

// The three background failures carry the library's result.
int32_t FailWithResult(char* message, int32_t result, const char* call, std::string where) {
  FailureCause() = ExportFailureCause{std::move(where), true};
  std::snprintf(message, kExportMessageSize, "%s failed! ret:%d", call, result);
  return result;
}

// The library writes 4:2:0 video, whose sides are even: an odd side loses
// its last column or row. Said here, where it is known where the size came
// from.
void NoteOddFrameSize(int32_t width, int32_t height, const std::string& from) {
  if (width % 2 == 0 && height % 2 == 0) return;
  Diagnostic("frame size %dx%d, from %s, is written as %dx%d: the sides of the video must be even", width,
             height, from.c_str(), width & ~1, height & ~1);
}

// Seconds as the cause lines give them: at most three decimals.
std::string SecondsText(double seconds) {
  char text[64];
  std::snprintf(text, sizeof text, "%.3f", seconds);
  std::string trimmed(text);
  while (trimmed.size() > 1 && trimmed.back() == '0')
    trimmed.pop_back();
  if (!trimmed.empty() && trimmed.back() == '.') trimmed.pop_back();
  return trimmed;
}

std::string Quoted(const char* text) { return std::string("\"") + text + "\""; }

// "scene 2" or "scene 2, medium 1 "b.mp4"": where in the draft a failure is.
std::string ScenePlace(int scene, int item = 0, const MediaRecord* media = nullptr) {
  std::string place = "scene " + std::to_string(scene);
  if (item > 0 && media) place += ", medium " + std::to_string(item) + " " + Quoted(media->path);
  return place;
}

// Why a scene has no span: it gives none of its own and no replaceable slot
// of the draft matches it.
std::string NoSpanCause(const SceneRecord* record, int index, float position) {
  const MediaRecord* first = record->media;
  if (!first) return ScenePlace(index) + " has no media";
  return ScenePlace(index, 1, first) + " gives no \"timelineFrom\"/\"timelineTo\" (" +
         SecondsText(first->timelineFrom) + ", " + SecondsText(first->timelineTo) +
         ") and no \"mediaInfo\" entry of that path and of its length (" +
         SecondsText(first->trimTimeEnd - first->trimTimeStart) + " s trimmed) starts at " +
         SecondsText(position / 1e6) + " s, where the scene would start; its \"replaceType\" is 0";
}

// Length cut to three decimals, as the editor compares its media slots.
double CutToMillis(double seconds) { return std::trunc(seconds * 1000) / 1000; }

bool IsEmpty(const char* text) { return !text || !text[0]; }

// Output file and encoder settings. Only the output path is checked; the
// codec, rate and hardware calls are made in a fixed order and their results
// ignored.
int32_t ApplyOutputSettings(OrmaVideoHandle vv, const ExportSettings& settings, char* message) {
  const int32_t result = OrmaSetOutPath(vv, settings.outUrl);
  if (result <= 0)
    return FailInLibrary(message, result, "Set out path fail", "output " + Quoted(settings.outUrl));
  if (settings.videoCodec[0]) OrmaSetVideoCodec(vv, settings.videoCodec);
  if (settings.fps > 0) OrmaSetFPS(vv, settings.fps);
  if (settings.videoBitrate > 0) OrmaSetVideoBitrate(vv, settings.videoBitrate);
  if (settings.audioChannels > 0) OrmaSetAudioChannels(vv, settings.audioChannels);
  if (settings.audioSamples > 0) OrmaSetAudioSamples(vv, settings.audioSamples);
  if (settings.audioBitrate > 0) OrmaSetAudioBitrate(vv, settings.audioBitrate);
  // The audio codec takes the video encoder's name.
  if (settings.audioCodec[0]) OrmaSetAudioCodec(vv, settings.videoCodec);
  if (settings.hwDecoder != 0) OrmaEnableHWDecoder(vv, settings.hwDecoder);
  if (settings.hwEncoder != 0) OrmaEnableHWEncoder(vv, settings.hwEncoder);
  // Only a picture-only or sound-only export says which streams it writes;
  // unlike the calls above, a refusal here ends the export, since writing
  // both streams instead would spoil a farm's join.
  if (settings.streams != ORMA_STREAMS_BOTH) {
    const int32_t streams = OrmaSetOutputStreams(vv, settings.streams);
    if (streams <= 0)
      return FailInLibrary(message, streams, "Set output streams fail",
                           "\"streams\" " + std::to_string(streams));
  }
  return 1;
}

// Set again after every media item of the scene. Image and blur fail only on
// a negative result, the colour on 0 as well.
int32_t ApplyBackground(const DraftDocument* document, OrmaSceneHandle scene,
                        const BackgroundRecord& background, int index, char* message) {
  const std::string place = ScenePlace(index) + ", \"background\"";
  if (background.imagePath[0]) {
    // A relative picture lies beside the draft, like the media.
    const std::string path = ResolveMediaPath(document, background.imagePath);
    const int32_t result = OrmaSetSceneBackGroundImage(scene, path.c_str());
    return result < 0 ? FailWithResult(message, result, "OrmaSetSceneBackGroundImage",
                                       place + " \"imagePath\" " + Quoted(background.imagePath))
                      : 1;
  }
  const ColorF& color = background.color;
  if (color.red > 0 || color.green > 0 || color.blue > 0 || color.alpha > 0) {
    const float rgba[4] = {color.red, color.green, color.blue, color.alpha};
    const int32_t result = OrmaSetSceneBackGroundColor(scene, rgba);
    return result <= 0 ? FailWithResult(message, result, "OrmaSetSceneBackGroundColor", place + " \"color\"")
                       : 1;
  }
  const int32_t result = OrmaSetSceneBackGroundGaussBlur(scene, background.blurIntensity);
  return result < 0 ? FailWithResult(message, result, "OrmaSetSceneBackGroundGaussBlur",
                                     place + " \"blurIntensity\" " + SecondsText(background.blurIntensity))
                    : 1;
}

// 1 on success; 0 when the resource is missing (the export ends without a
// message); otherwise the failing result with its message.
int32_t ApplyTransition(const DraftDocument* document, OrmaVideoHandle vv, OrmaSceneHandle scene,
                        const TransitionRecord& transition, int index, char* message) {
  std::string path;
  if (!FindTransitionResource(document, transition.folderPath, &path)) {
    // No message, as for the editor's own program; the cause is still said.
    FailureCause() = ExportFailureCause{
        ScenePlace(index) + ", \"transition\" \"folderPath\" " + Quoted(transition.folderPath) + ": " +
            ResolveMediaPath(document, transition.folderPath) + " does not exist",
        false};
    return 0;
  }
  const int32_t result = OrmaSetSceneTransitionMode(vv, scene, ORMA_TRANSITION_CENTRED);
  if (result < 1)
    return FailInLibrary(message, result, "Set scene transition mode fail",
                         ScenePlace(index) + ", \"transition\"");
  const int32_t set =
      OrmaSetSceneTransition(vv, scene, path.c_str(), convert::SecondsToUs(transition.duration));
  if (set < 1) LogLine("OrmaSetSceneTransition failed:%d\n", set);
  return 1;
}

int32_t BuildScene(const DraftDocument* document, OrmaVideoHandle vv, const SceneRecord* record, int index,
                   float* position, char* message) {
  float start = 0;
  float end = 0;
  if (SceneSpan(record, document->mediaInfo, *position, &start, &end) <= 0)
    return FailBecause(message, kNoSceneSpan, "Scene or MediaInfo  timeline is error",
                       NoSpanCause(record, index, *position));
  *position = end; // the next scene starts where this one ends

  OrmaSceneHandle scene = OrmaCreateScene(convert::ToInt64(start), convert::ToInt64(end));
  if (!scene)
    return FailInLibrary(message, kCreateSceneFailed, "Create scene fail",
                         ScenePlace(index) + " from " + SecondsText(start / 1e6) + " s to " +
                             SecondsText(end / 1e6) + " s");
  int32_t result = OrmaAddScene(vv, scene);
  if (result <= 0) return FailInLibrary(message, result, "Add scene fail", ScenePlace(index));

  int number = 0;
  for (const MediaRecord* item = record->media; item; item = item->next) {
    const std::string place = ScenePlace(index, ++number, item);
    const std::string path = ResolveMediaPath(document, item->path);
    OrmaMediaHandle media = OrmaSceneCreateMedia(path.c_str());
    if (!media) return FailInLibrary(message, kSceneMediaFailed, "Scene media path is null", place);
    result = OrmaSceneAddMediaHandle(scene, media);
    if (result <= 0) return FailInLibrary(message, result, "Add media to scene fail", place);
    result = ApplyMediaAttributes(document, media, item, 0);
    if (result <= 0) return FailInLibrary(message, result, "Set media attribute fail", place);
    if (record->background) {
      result = ApplyBackground(document, scene, *record->background, index, message);
      if (result <= 0) return result;
    }
  }

  if (record->transition && record->transition->folderPath[0]) {
    return ApplyTransition(document, vv, scene, *record->transition, index, message);
  }
  return 1;
}

// The stages after the scenes return the failing call's result with their
// message; the library says why.
int32_t StageFailed(int32_t result) {
  if (FailureCause().where.empty()) FailureCause().libraryReason = true;
  return result;
}

int32_t Interrupted(char* message) {
  return FailBecause(message, kInterruptedExport, "Export interrupted",
                     std::string("stopped by ") + interrupt::SignalName(interrupt::Signal()));
}

} // namespace

int SceneSpan(const SceneRecord* scene, const MediaInfoEntry* mediaInfo, float position, float* outStart,
              float* outEnd) {
  if (!scene || !scene->media) return kSceneWithoutMedia;
  *outStart = 0;
  *outEnd = 0;
  const MediaRecord* first = scene->media;
  if (first->timelineFrom >= 0 && first->timelineTo > 0) {
    *outStart = first->timelineFrom * 1000000.0f;
    *outEnd = first->timelineTo * 1000000.0f;
    return 1;
  }

  // Each media item must match a slot of the replaceable media list; the walk
  // goes on from the last match for the next item.
  const MediaInfoEntry* entry = mediaInfo;
  for (const MediaRecord* item = scene->media; item; item = item->next) {
    double length = CutToMillis(static_cast<double>(item->trimTimeEnd - item->trimTimeStart));
    if (item->speed > 0) length /= item->speed;
    for (; entry; entry = entry->next) {
      const double entryLength = CutToMillis(static_cast<double>(entry->timelineTo - entry->timelineFrom));
      const float entryStart = entry->timelineFrom * 1000000.0f;
      if (std::fabs(entryLength - length) < 0.1 && std::strcmp(entry->path, item->path) == 0 &&
          std::fabs(static_cast<double>(entryStart) - position) < 100000) {
        *outStart = position;
        *outEnd = entry->timelineTo * 1000000.0f;
        break;
      }
    }
    if (!entry) break;
  }
  if (entry) return 1;

  // No slot fits: a replaceable item takes its trimmed source lengths.
  *outStart = position;
  if (first->replaceType == 0) return kSceneWithoutSlot;
  for (const MediaRecord* item = scene->media; item; item = item->next)
    *outEnd += (item->trimTimeEnd - item->trimTimeStart) * 1000000.0f;
  *outEnd += position;
  return 1;
}

void ProgressReporter(OrmaVideoHandle vv, uint64_t startTicks, ProgressBar* bar) {
  if (!vv) return;
  // The bar is first drawn on the second poll: by then the export's own
  // lines on standard output, which may share the terminal, are out.
  bool firstPoll = true;
  bool stopAsked = false;
  for (int polls = 0;; ++polls) {
    const float percent = static_cast<float>(OrmaEditProgress(vv));
    // The library stops the export after the frame it is on and removes
    // its temporary file; its progress then reaches 100 as for any end.
    if (!stopAsked && interrupt::Requested()) {
      OrmaEditCancel(vv);
      stopAsked = true;
    }
    if (polls % 5 == 0) {
      if (bar) bar->Erase();
      const uint64_t elapsed = platform::TickCount64() - startTicks;
      LogLine("progress:%f time:%.1f(s)\n", static_cast<double>(percent),
              static_cast<double>(elapsed) / 1000.0);
      std::fflush(stdout);
      polls = 0;
    }
    if (percent >= 99.5f) {
      // A stopped export ends at 100 too; its bar is not drawn full.
      if (bar && stopAsked)
        bar->Erase();
      else if (bar)
        bar->Finish(vv, percent);
      return;
    }
    if (bar && !firstPoll) bar->Update(vv, percent);
    firstPoll = false;
    platform::SleepMs(100);
  }
}

int32_t ExportDraft(DraftDocument* document, char* message) {
  ExportSettings settings = DefaultExportSettings();
  FailureCause() = ExportFailureCause{};
  if (!document || !document->draftPath[0]) return Fail(message, kNoDraftPath, "JsonPath is null");
  if (!document->scenes || !document->mediaInfo)
    return FailBecause(message, kNoScenesOrMediaInfo, "Scenes or MediaInfo is null",
                       std::string("the draft has no ") +
                           (document->scenes ? "\"mediaInfo\"" : "\"scenes\""));

  // The virtual video belongs to the library from here on; it is never released.
  OrmaVideoHandle vv = OrmaVirtualVideoCreate();
  if (!vv) return FailInLibrary(message, kCreateVideoFailed, "Create virtual video fail", "");

  const bool preview = document->previewMode != 0;
  if (preview) {
    OrmaSetDisplayRatio(vv, document->width / document->height);
    OrmaSetPreviewWindowsHwnd(vv, document->previewWindow);
    OrmaPreviewInit(vv);
  } else {
    const bool outputSize = document->videoW > 0 && document->videoH > 0;
    const int32_t width = convert::ToInt32(outputSize ? document->videoW : document->width);
    const int32_t height = convert::ToInt32(outputSize ? document->videoH : document->height);
    const std::string from =
        outputSize ? "\"video\" \"w\" and \"h\" of the export settings " + Quoted(document->exportPath)
                   : std::string("the draft's \"size\"");
    const int32_t result = OrmaSetFrameSize(vv, width, height);
    if (result <= 0)
      return FailInLibrary(message, result, "Set frame size fail",
                           std::to_string(width) + "x" + std::to_string(height) + ", from " + from);
    NoteOddFrameSize(width, height, from);
  }

  // Why the settings file was not read, if it was not: said once the video's
  // path is known, since that is what a typo in the file's name changes most.
  std::string settingsUnread;
  if (!IsEmpty(document->exportPath)) {
    ReadExportSettings(document->exportPath, &settings, &document->exportStart, &document->exportEnd,
                       &settingsUnread);
    if (settings.streams == 0)
      return FailBecause(message, kUnknownExportStreams, "Export streams unknown",
                         "export settings " + Quoted(document->exportPath) +
                             ": \"streams\" must be \"both\", \"video\" or \"audio\"");
  } else if (!IsEmpty(document->outputPath)) {
    platform::CopyText(settings.outUrl, document->outputPath);
  }

  if (!preview) {
    if (!settings.outUrl[0]) {
      platform::CopyText(settings.outUrl, DefaultOutputPath(document).c_str());
    }
    if (!settingsUnread.empty())
      Diagnostic("export settings %s %s; every setting keeps its default and the video goes to %s",
                 document->exportPath, settingsUnread.c_str(), settings.outUrl);
    const int32_t result = ApplyOutputSettings(vv, settings, message);
    if (result <= 0) return result;
  }

  float position = 0;
  int index = 0;
  for (const SceneRecord* scene = document->scenes; scene; scene = scene->next) {
    const int32_t result = BuildScene(document, vv, scene, ++index, &position, message);
    if (result <= 0) return result;
    if (interrupt::Requested()) return Interrupted(message);
  }

  // ---- Later stages, in this order, each ending the export on failure ----
  //   mosaics, blur and delogo regions; custom look-up filters; music tracks,
  //   then sound effects; tonings as adjustments; special effects;
  //   picture-in-picture overlays; stickers; captions; the logo.
  {
    int32_t result = AddTimelineEffects(document, vv, message);
    if (result < 1) return StageFailed(result);
    result = AddOverlays(document, vv, message);
    if (result < 1) return StageFailed(result);
    // Stickers and captions print their own failures and never end the export.
    AddStickers(document, vv);
    AddCaptions(document, vv);
    // The logo comes last so that it spans everything built before it.
    result = AddLogo(document, vv, message);
    if (result < 1) return StageFailed(result);
  }
  // ---- end of later stages ----

  // The preview plays the timeline into the caller's window until the
  // control pipe says "stop"; its result is that of the preview call.
  if (preview) return RunPreview(document, vv);

  // A range that selects no time (an end at or before its start, or a
  // negative bound) ends the export here: the library would refuse the range
  // and export the whole timeline instead.
  if (document->exportStart < 0 || document->exportEnd < 0 ||
      (document->exportEnd > 0 && document->exportEnd <= document->exportStart)) {
    LogLine("export range %lld..%lld us selects no time\n", static_cast<long long>(document->exportStart),
            static_cast<long long>(document->exportEnd));
    return FailBecause(message, kEmptyExportRange, "Export range is empty",
                       "the range from " + SecondsText(document->exportStart / 1e6) + " s to " +
                           SecondsText(document->exportEnd / 1e6) +
                           " s (the command line's, or \"time\" of the export settings) selects no time");
  }
  if (interrupt::Requested()) return Interrupted(message);

  // Made here, with the timeline complete, so that it knows the range's length.
  const std::unique_ptr<ProgressBar> bar = ProgressBar::ForStandardError(
      vv, settings.fps, document->exportStart, document->exportEnd, document->startTicks);
  std::thread progress(ProgressReporter, vv, document->startTicks, bar.get());
  std::printf("nLimitTimelineStart:%lld nLimitTimelineEnd:%lld\n",
              static_cast<long long>(document->exportStart), static_cast<long long>(document->exportEnd));
  if (document->exportStart > 0 || document->exportEnd > 0) {
    OrmaEditSetLimitTime(vv, document->exportStart, document->exportEnd);
  }
  OrmaEditMediaUseAgentProcess(vv);
  // The core library holds its own copy of everything from here on.
  if (document->ownsRecords) releaseDraftRecords(document);
  int32_t result = OrmaEditMedia(vv); // blocks until the export has ended
  // A video written whole before the stop took effect is a success.
  if (result <= 0 && interrupt::Requested())
    result = Interrupted(message);
  else if (result <= 0)
    FailInLibrary(message, result, "Edit media fail", "writing " + Quoted(settings.outUrl));
  // The reporter ends only at 99.5 %, so a stopped export keeps this waiting
  // until the library's progress gets there.
  progress.join();
  std::printf("ExportDraft out!\n");
  std::fflush(stdout);
  return result;
}

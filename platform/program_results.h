// The program's own result codes: what an export returns, and prints in its
// last line ("export failed, errorcode:N"), when the program itself gives up
// on a draft rather than passing on a failing call's result. Each code names
// one place where the export stops; the numbers are fixed (users and scripts
// read them from the result line), so a new failure gets a new constant here
// and never reuses one. The codes the core library returns are its own
// (OrmaResult in corelib/orma_core.h).
//
// The export (export/) returns them and the driver prints them; the header
// stands in platform/, the lowest layer, so that every layer above and the
// tests can name them.
#pragma once

#include <cstdint>

/// The draft document has no path ("JsonPath is null").
inline constexpr int32_t kNoDraftPath = -1499;
/// The draft has no "scenes" or no "mediaInfo" ("Scenes or MediaInfo is null").
inline constexpr int32_t kNoScenesOrMediaInfo = -1507;
/// The library made no virtual video ("Create virtual video fail").
inline constexpr int32_t kCreateVideoFailed = -1515;
/// The export settings' "streams" is none of the three ("Export streams unknown").
inline constexpr int32_t kUnknownExportStreams = -1520;
/// A scene has no span on the main track ("Scene or MediaInfo  timeline is error").
inline constexpr int32_t kNoSceneSpan = -1694;
/// The library made no scene ("Create scene fail").
inline constexpr int32_t kCreateSceneFailed = -1703;
/// The library refused a scene's media file ("Scene media path is null").
inline constexpr int32_t kSceneMediaFailed = -1735;
/// A mosaic region of type 0 was refused ("Add mosaic fail").
inline constexpr int32_t kAddMosaicFailed = -1929;
/// A mosaic region of type 1 was refused ("Add gauss blur fail").
inline constexpr int32_t kAddGaussBlurFailed = -1938;
/// A mosaic region of type 2 was refused ("Add delogo fail").
inline constexpr int32_t kAddDeLogoFailed = -1947;
/// A mosaic region of a type other than 0, 1 and 2.
inline constexpr int32_t kUnknownMosaicType = -1951;
/// A music track was refused ("Add audio media fail").
inline constexpr int32_t kAddMusicFailed = -1961;
/// A sound effect was refused ("Add audio media fail").
inline constexpr int32_t kAddSoundEffectFailed = -2079;
/// A toning's adjustment was refused ("Add adjustment fail").
inline constexpr int32_t kAddAdjustmentFailed = -2175;
/// A special effect's span starts before 0 or ends at 0 ("Effect timeline is invalid").
inline constexpr int32_t kSpecialEffectSpanInvalid = -2201;
/// The library made no picture-in-picture scene for an overlay
/// ("PIP create fail,timeline is invalid").
inline constexpr int32_t kCreateOverlaySceneFailed = -2246;
/// An export range that selects no time (an end at or before its start, or a
/// negative bound), from the command line or the settings file.
inline constexpr int32_t kEmptyExportRange = -2261;
/// The library refused an overlay's media file ("Add media to PIP fail").
inline constexpr int32_t kOverlayMediaFailed = -2274;
/// An export stopped by SIGINT, SIGTERM or SIGHUP (platform/interrupt.h).
inline constexpr int32_t kInterruptedExport = -2300;
/// The library made no picture-in-picture scene for the logo
/// ("(logo)PIP create fail,timeline is invalid").
inline constexpr int32_t kCreateLogoSceneFailed = -2513;
/// The library refused the logo's picture ("(logo)Add media to PIP fail! path:…").
inline constexpr int32_t kLogoMediaFailed = -2541;

/// What SceneSpan returns for a scene without media.
inline constexpr int32_t kSceneWithoutMedia = -29;
/// What SceneSpan returns when no slot of the replaceable media fits the scene.
inline constexpr int32_t kSceneWithoutSlot = -97;

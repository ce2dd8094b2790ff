// Music and sound effects on the timeline, mixed with the scenes' sound.
#include <cmath>
#include <string>

#include "tests/engine/engine_test_support.h"

namespace {

class EngineTimelineSound : public EngineTest {
protected:
  // tone.mp3: two seconds of 440 Hz at the ffmpeg sine's level (RMS 0.088).
  OrmaAudioHandle AddAudio(OrmaVideoHandle vv, double from, double to, double trimStart, double trimEnd,
                           double volume = 1.0, const std::string& media = "tone.mp3") {
    OrmaAudioHandle a =
        OrmaAddAudioMedia(vv, Media(media).c_str(), volume, Us(trimStart), Us(trimEnd), Us(from), Us(to));
    EXPECT_NE(a, nullptr);
    return a;
  }
  static int64_t Us(double seconds) { return static_cast<int64_t>(std::llround(seconds * kSecond)); }

  // Frequency of the sound between two times, from its upward zero crossings.
  static double Frequency(const DecodedVideo& v, double from, double to) {
    size_t a = static_cast<size_t>(from * v.sampleRate), b = static_cast<size_t>(to * v.sampleRate);
    int crossings = 0;
    size_t first = 0, last = 0;
    for (size_t i = a + 1; i < b && i < v.mono.size(); ++i)
      if (v.mono[i - 1] < 0 && v.mono[i] >= 0) {
        if (!crossings) first = i;
        last = i;
        ++crossings;
      }
    return crossings > 1 ? (crossings - 1) * static_cast<double>(v.sampleRate) / (last - first) : 0.0;
  }
};

TEST_F(EngineTimelineSound, MusicIsSilentBeforeItsStartPresentDuringAndFadedAtItsFade) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 3, "green.mp4"); // no sound of its own
  OrmaAudioHandle music = AddAudio(vv, 1, 3, 0, 2);
  ASSERT_EQ(OrmaSetAudioMediaFadeTime(music, 0, Us(0.8)), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  ASSERT_TRUE(v.ok) << v.error;
  EXPECT_LT(v.Rms(0.05, 0.95), 0.005);                 // before its start
  EXPECT_NEAR(v.Rms(1.1, 2.1), 0.088, 0.015);          // at its volume
  EXPECT_LT(v.Rms(2.75, 2.95), 0.5 * v.Rms(1.1, 2.1)); // fading out
  EXPECT_GT(v.Rms(2.25, 2.4), v.Rms(2.75, 2.95));
  EXPECT_NEAR(Frequency(v, 1.2, 2.0), 440.0, 5.0);
}

TEST_F(EngineTimelineSound, MusicFadesInAndFollowsItsVolume) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 2, "green.mp4");
  OrmaAudioHandle music = AddAudio(vv, 0, 2, 0, 2, 0.5);
  ASSERT_EQ(OrmaSetAudioMediaFadeTime(music, Us(1.0), 0), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  EXPECT_LT(v.Rms(0.0, 0.2), 0.35 * v.Rms(1.3, 1.8));
  EXPECT_NEAR(v.Rms(1.3, 1.8), 0.044, 0.01); // half of the tone's level
}

TEST_F(EngineTimelineSound, MusicIsCutFromItsTrimStart) {
  // redgreen-like check with sound: the second half of a 440 Hz then 880 Hz
  // source (blue.mp4 is 880 Hz) is taken by the trim.
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 1, "green.mp4");
  AddAudio(vv, 0, 1, 1.0, 2.0, 1.0, "blue.mp4");
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  EXPECT_NEAR(Frequency(v, 0.1, 0.9), 880.0, 10.0);
  EXPECT_GT(v.Rms(0.1, 0.9), 0.05);
}

TEST_F(EngineTimelineSound, SoundEffectSpeedChangesItsDurationNotItsPitch) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 2, "green.mp4");
  OrmaAudioHandle effect = AddAudio(vv, 0, 2, 0, 2);
  ASSERT_EQ(OrmaSetAudioMediaPlaySpeed(effect, 2.0), 1);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  // Two seconds of source at twice the speed last one second.
  EXPECT_GT(v.Rms(0.1, 0.9), 0.06);
  EXPECT_LT(v.Rms(1.1, 1.9), 0.005);
  EXPECT_NEAR(Frequency(v, 0.1, 0.9), 440.0, 10.0);
}

TEST_F(EngineTimelineSound, VoiceEffectChangesThePitch) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 1, "green.mp4");
  OrmaAudioHandle effect = AddAudio(vv, 0, 1, 0, 1);
  ASSERT_EQ(OrmaSetAudioMediaEffect(effect, 3), 1); // chipmunk: 1.5 times
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  EXPECT_NEAR(Frequency(v, 0.1, 0.8), 660.0, 15.0);
}

TEST_F(EngineTimelineSound, AMixOfTenLoudTracksDoesNotClip) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 2, "red.mp4"); // with its own tone
  for (int i = 0; i < 10; ++i)
    AddAudio(vv, 0, 2, 0, 2, 4.0); // ten times the tone, four times as loud
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  // At most the limiter's ceiling (0.891) plus the lossy coding's overshoot.
  EXPECT_GT(v.peak, 0.5f);
  EXPECT_LT(v.peak, 0.97f);
  EXPECT_GT(v.Rms(0.5, 1.5), 0.4); // loud, not silenced
}

TEST_F(EngineTimelineSound, MusicAndTheScenesSoundAreMixed) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 2, "blue.mp4"); // 880 Hz
  AddAudio(vv, 1, 2, 0, 1);       // 440 Hz in the second second
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  EXPECT_NEAR(v.Rms(0.1, 0.9), 0.088, 0.015);
  // Two tones of equal level: the sum has about 1.41 times the level.
  EXPECT_NEAR(v.Rms(1.1, 1.9), 0.125, 0.02);
}

TEST_F(EngineTimelineSound, MusicDoesNotLengthenTheVideo) {
  OrmaVideoHandle vv = NewVideo();
  AddScene(vv, 0, 1, "green.mp4");
  AddAudio(vv, 0, 4, 0, 2);
  EXPECT_EQ(OrmaGetTotalPlaybackTime(vv), kSecond);
  ASSERT_EQ(Export(vv), 1);
  DecodedVideo v = Decode();
  EXPECT_EQ(v.FrameCount(), 25);
  EXPECT_NEAR(v.Rms(0.1, 0.9), 0.088, 0.015);
}

} // namespace

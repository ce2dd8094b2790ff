// Music and sound effects.
#include "draft/draft.h"
#include "draft/record_lists.h"
#include "tests/unit/draft_fixture.h"

using namespace drafttest;

namespace {

struct Tracks {
  AudioTrackRecord* head = nullptr;
  ~Tracks() { FreeAudioTracks(head); }
};

} // namespace

TEST(DraftAudio, FadeFlagTrueCountsForMusicButNotForSoundEffects) {
  Json root = Parse(R"({"musics": [{"isFadeInOut": true}, {"isFadeInOut": 1}],
                        "soundEffects": [{"isFadeInOut": true}, {"isFadeInOut": 1}, {"isFadeInOut": 0.5}]})");
  Tracks musics{readMusics(root.get())};
  Tracks sounds{readSoundEffects(root.get())};
  ASSERT_EQ(Count(musics.head), 2);
  EXPECT_EQ(musics.head->isFadeInOut, 1);
  EXPECT_EQ(musics.head->next->isFadeInOut, 1);
  ASSERT_EQ(Count(sounds.head), 3);
  EXPECT_EQ(sounds.head->isFadeInOut, 0);
  EXPECT_EQ(sounds.head->next->isFadeInOut, 1);
  EXPECT_EQ(sounds.head->next->next->isFadeInOut, 1);
}

TEST(DraftAudio, MusicWithoutVolumeIsSilent) {
  Json root = Parse(R"({"musics": [{"path": "m.mp3"}], "soundEffects": [{"path": "s.wav"}]})");
  Tracks musics{readMusics(root.get())};
  Tracks sounds{readSoundEffects(root.get())};
  EXPECT_FLOAT_EQ(musics.head->volume, 0.0f);
  EXPECT_FLOAT_EQ(sounds.head->volume, 0.0f);
}

TEST(DraftAudio, FilterTypeIsKeptForMusicAndTruncatedForSoundEffects) {
  Json root = Parse(R"({"musics": [{"audioFilterType": 2.7}], "soundEffects": [{"audioFilterType": 2.7},
                                                                              {"audioFilterType": -1e300}]})");
  Tracks musics{readMusics(root.get())};
  Tracks sounds{readSoundEffects(root.get())};
  EXPECT_FLOAT_EQ(musics.head->audioFilterType, 2.7f);
  EXPECT_FLOAT_EQ(sounds.head->audioFilterType, 2.0f);
  EXPECT_FLOAT_EQ(sounds.head->next->audioFilterType, static_cast<float>(INT32_MIN));
}

TEST(DraftAudio, EveryMusicKeyIsRead) {
  Json root = Parse(R"({"musics": [{"path": "music/a.mp3", "timelineFrom": 1, "timelineTo": 9,
      "trimTimeStart": 2, "trimTimeEnd": 10, "isFadeInOut": 1, "denoiseLevel": 0.5, "volume": 0.8,
      "speed": 1.25, "pitch": 0.9, "fadeInDuration": 0.3, "fadeOutDuration": 0.4,
      "captionIdentifier": "cap-7", "name": "Song", "curveSpeedType": 2, "speedHoldPitch": 1,
      "tts_id": 5, "type": "tts", "tts_name": "n", "emotion_code": "e"}]})");
  Tracks musics{readMusics(root.get())};
  ASSERT_EQ(Count(musics.head), 1);
  const AudioTrackRecord& m = *musics.head;
  EXPECT_STREQ(m.path, "music/a.mp3");
  EXPECT_FLOAT_EQ(m.timelineFrom, 1.0f);
  EXPECT_FLOAT_EQ(m.timelineTo, 9.0f);
  EXPECT_FLOAT_EQ(m.trimTimeStart, 2.0f);
  EXPECT_FLOAT_EQ(m.trimTimeEnd, 10.0f);
  EXPECT_EQ(m.isFadeInOut, 1);
  EXPECT_FLOAT_EQ(m.denoiseLevel, 0.5f);
  EXPECT_FLOAT_EQ(m.volume, 0.8f);
  EXPECT_FLOAT_EQ(m.speed, 1.25f);
  EXPECT_FLOAT_EQ(m.pitch, 0.9f);
  EXPECT_FLOAT_EQ(m.fadeInDuration, 0.3f);
  EXPECT_FLOAT_EQ(m.fadeOutDuration, 0.4f);
  EXPECT_STREQ(m.captionIdentifier, "cap-7");
  EXPECT_STREQ(m.name, "Song");
  EXPECT_EQ(m.curveSpeedType, 2);
  // Keys of sound effects only are not read for music.
  EXPECT_FLOAT_EQ(m.speedHoldPitch, 0.0f);
  EXPECT_EQ(m.tts_id, 0);
  EXPECT_STREQ(m.type, "");
  EXPECT_STREQ(m.tts_name, "");
  EXPECT_STREQ(m.emotion_code, "");
}

TEST(DraftAudio, EverySoundEffectKeyIsRead) {
  Json root = Parse(R"({"soundEffects": [{"path": "sfx/b.wav", "name": "Ding", "timelineFrom": 1,
      "timelineTo": 2, "trimTimeStart": 0.5, "trimTimeEnd": 1.5, "denoiseLevel": 1, "volume": 0.7,
      "speed": 2, "speedHoldPitch": 1, "pitch": 1.1, "fadeInDuration": 0.1, "fadeOutDuration": 0.2,
      "tts_id": 42, "type": "tts", "tts_name": "Voice", "emotion_code": "happy",
      "captionIdentifier": "cap", "curveSpeedType": 3}, {}]})");
  Tracks sounds{readSoundEffects(root.get())};
  ASSERT_EQ(Count(sounds.head), 2);
  const AudioTrackRecord& s = *sounds.head;
  EXPECT_STREQ(s.path, "sfx/b.wav");
  EXPECT_STREQ(s.name, "Ding");
  EXPECT_FLOAT_EQ(s.timelineFrom, 1.0f);
  EXPECT_FLOAT_EQ(s.timelineTo, 2.0f);
  EXPECT_FLOAT_EQ(s.trimTimeStart, 0.5f);
  EXPECT_FLOAT_EQ(s.trimTimeEnd, 1.5f);
  EXPECT_FLOAT_EQ(s.denoiseLevel, 1.0f);
  EXPECT_FLOAT_EQ(s.volume, 0.7f);
  EXPECT_FLOAT_EQ(s.speed, 2.0f);
  EXPECT_FLOAT_EQ(s.speedHoldPitch, 1.0f);
  EXPECT_FLOAT_EQ(s.pitch, 1.1f);
  EXPECT_FLOAT_EQ(s.fadeInDuration, 0.1f);
  EXPECT_FLOAT_EQ(s.fadeOutDuration, 0.2f);
  EXPECT_EQ(s.tts_id, 42);
  EXPECT_STREQ(s.type, "tts");
  EXPECT_STREQ(s.tts_name, "Voice");
  EXPECT_STREQ(s.emotion_code, "happy");
  EXPECT_STREQ(s.captionIdentifier, "");
  EXPECT_EQ(s.curveSpeedType, 0);
}

TEST(DraftAudio, AbsentOrEmptyArraysGiveNone) {
  Json root = Parse(R"({"musics": [], "soundEffects": {"path": "x"}})");
  EXPECT_EQ(readMusics(root.get()), nullptr);
  EXPECT_EQ(readSoundEffects(root.get()), nullptr);
  EXPECT_EQ(readMusics(nullptr), nullptr);
  EXPECT_EQ(readSoundEffects(nullptr), nullptr);
}

TEST(DraftAudio, LoadedDocumentKeepsBothListsApart) {
  TempFolder folder;
  std::string path = folder.Write("d.json", R"({"mediaInfo": [], "scenes": [{"media": [{"path": "a"}]}],
      "musics": [{"path": "m1"}, {"path": "m2"}], "soundEffects": [{"path": "s1"}]})");
  Document document(loadDraft(path.c_str(), nullptr, 0));
  ASSERT_NE(document, nullptr);
  ASSERT_EQ(Count(document->musics), 2);
  EXPECT_STREQ(document->musics->next->path, "m2");
  ASSERT_EQ(Count(document->soundEffects), 1);
  EXPECT_STREQ(document->soundEffects->path, "s1");
}

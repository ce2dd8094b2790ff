// The three sample themes of resources/TemplateThemes filled with 1 to 10
// media of mixed lengths (pictures, clips shorter and longer than the
// placeholders, with and without a media-group file that trims), each fill's
// written draft read back: every cut between two scenes has a transition,
// every timed element (caption, sticker, overlay, effect, toning, music) and
// the copies the fill made of it cover one unbroken span that lasts to the
// end of the video (nothing blinks off and on, nothing drops out before the
// end), and each music is one element from the start to the end (it never
// restarts).
#include <algorithm>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "tests/unit/theme_fixture.h"

using namespace themetest;

namespace {

struct Span {
  double from, to;
};

class SampleThemeFills : public ThemeTest {
protected:
  void SetUp() override {
    ThemeTest::SetUp();
    setenv("ORMADRAFT_THEMES", (std::string(ORMA_SOURCE_DIR) + "/resources/TemplateThemes").c_str(), 1);
    FakeTable()["photo.png"] = {0, 1200, 900};   // counts 3 s
    FakeTable()["long.mp4"] = {7.4, 1920, 1080}; // 7 s, longer than any placeholder
    FakeTable()["short.mp4"] = {2.9, 640, 360};  // 2 s
    FakeTable()["tiny.mp4"] = {1.2, 720, 1280};  // 1 s
    FakeTable()["four.mp4"] = {4, 1280, 720};    // as long as the family placeholders
  }

  // The element without its times: copies of one theme element print alike.
  static std::string Identity(const std::string& kind, const cJSON* element) {
    drafttest::Json copy(cJSON_Duplicate(element, true));
    cJSON_DeleteItemFromObjectCaseSensitive(copy.get(), "timelineFrom");
    cJSON_DeleteItemFromObjectCaseSensitive(copy.get(), "timelineTo");
    char* text = cJSON_PrintUnformatted(copy.get());
    std::string identity = kind + ":" + (text ? text : "");
    cJSON_free(text);
    return identity;
  }

  // Every timed element of the draft by identity, with the spans of it and
  // its copies.
  static std::map<std::string, std::vector<Span>> Elements(const cJSON* draft) {
    std::map<std::string, std::vector<Span>> spans;
    for (const char* kind : {"subtitleExs", "stickers", "overlays", "specialEffects", "musics", "pipList"}) {
      const cJSON* element = nullptr;
      cJSON_ArrayForEach(element, Get(draft, kind)) {
        spans[Identity(kind, element)].push_back({Num(element, "timelineFrom"), Num(element, "timelineTo")});
      }
    }
    return spans;
  }

  // Fills theme `id` with these media and checks the written draft; `what`
  // names the fill in failures.
  void CheckFill(const std::string& id, const std::vector<std::string>& media, const std::string& more,
                 const std::string& what) {
    Request record = Load(WriteRequest(id, media, more));
    ASSERT_NE(record, nullptr) << what << ": " << printed_;
    drafttest::Json draft = Written(record.get());
    ASSERT_NE(draft, nullptr) << what;
    const double end = Num(draft.get(), "duration");
    ASSERT_GT(end, 0) << what;

    const cJSON* scenes = Get(draft.get(), "scenes");
    for (int i = 0; i + 1 < Size(scenes); ++i) {
      const cJSON* transition = Get(At(scenes, i), "transition");
      std::string folder = Str(transition, "folderPath");
      EXPECT_NE(folder, "<none>") << what << ": no transition at the cut after scene " << i;
      if (folder == "<none>") continue;
      std::replace(folder.begin(), folder.end(), '\\', '/');
      EXPECT_TRUE(std::filesystem::exists(folder + "/config.json")) << what << ": " << folder;
    }

    const auto elements = Elements(draft.get());
    EXPECT_FALSE(elements.empty()) << what;
    for (auto [identity, spans] : elements) {
      std::sort(spans.begin(), spans.end(), [](const Span& a, const Span& b) { return a.from < b.from; });
      const std::string name = what + ", " + identity.substr(0, 80);
      EXPECT_LT(spans.front().from, end) << name << ": never shown";
      for (size_t k = 1; k < spans.size(); ++k) {
        EXPECT_NEAR(spans[k].from, spans[k - 1].to, 1e-3)
            << name << ": copy " << k << " does not join the one before (" << spans[k - 1].from << "–"
            << spans[k - 1].to << " then " << spans[k].from << "–" << spans[k].to << ")";
      }
      EXPECT_GE(spans.back().to, end - 1e-3)
          << name << ": ends at " << spans.back().to << ", before the end of the video at " << end;
      if (identity.rfind("musics:", 0) == 0) {
        EXPECT_EQ(spans.size(), 1u) << name << ": the music restarts";
        EXPECT_EQ(spans.front().from, 0) << name;
      }
    }
    const cJSON* music = nullptr;
    cJSON_ArrayForEach(music, Get(draft.get(), "musics")) {
      EXPECT_GE(Num(music, "trimTimeEnd") - Num(music, "trimTimeStart"), end)
          << what << ": the music is shorter than the video";
    }
  }

  void CheckAllCounts(const std::string& id) {
    const std::vector<std::string> mixed = {"photo.png", "long.mp4", "short.mp4", "tiny.mp4", "four.mp4"};
    for (int count = 1; count <= 10; ++count) {
      std::vector<std::string> media, pictures, longs;
      for (int i = 0; i < count; ++i) {
        media.push_back(mixed[i % mixed.size()]);
        pictures.push_back("photo.png");
        longs.push_back("long.mp4");
      }
      const std::string n = std::to_string(count);
      CheckFill(id, media, "", id + " with " + n + " mixed media");
      CheckFill(id, pictures, "", id + " with " + n + " pictures");
      CheckFill(id, longs, "", id + " with " + n + " long clips");
      // A media-group file (one record per medium) that trims the first
      // medium to 2.5 s and the second to 1.5 s, and gives the music a volume.
      std::string records;
      for (int i = 0; i < count; ++i) {
        records += i == 0   ? R"({"path": "long.mp4", "trimTimeStart": 1, "trimTimeEnd": 3.5})"
                   : i == 1 ? R"(, {"path": "long.mp4", "trimTimeStart": 0, "trimTimeEnd": 1.5})"
                            : R"(, {"path": "long.mp4"})";
      }
      const std::string group =
          folder_.Write("group.json", R"({"volume": 0.4, "medias": [)" + records + "]}");
      std::vector<std::string> grouped = longs;
      grouped.push_back(group);
      CheckFill(id, grouped, "", id + " with " + n + " long clips and a media-group file");
    }
  }
};

TEST_F(SampleThemeFills, TravelSummerFilledWithOneToTenMediaNeverBlinksAndKeepsATransitionAtEveryCut) {
  CheckAllCounts("travel-summer");
}

TEST_F(SampleThemeFills, TheSlideshowFilledWithOneToTenMediaNeverBlinksAndKeepsATransitionAtEveryCut) {
  CheckAllCounts("Slideshow");
}

TEST_F(SampleThemeFills, FamilyLayersFilledWithOneToTenMediaNeverBlinksAndKeepsATransitionAtEveryCut) {
  CheckAllCounts("family-layers");
}

} // namespace

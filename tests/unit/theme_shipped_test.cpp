// The sample themes of resources/TemplateThemes: each is found by its id and
// filled with one, three and five media, and every resource folder the new
// draft names (transitions, captions, stickers, effects, animations) exists
// once made absolute, so the themes work from the drafts folder.
#include <algorithm>
#include <filesystem>

#include "tests/unit/theme_fixture.h"

using namespace themetest;

namespace {

class ShippedThemes : public ThemeTest {
protected:
  void SetUp() override {
    ThemeTest::SetUp();
    setenv("ORMADRAFT_THEMES", (std::string(ORMA_SOURCE_DIR) + "/resources/TemplateThemes").c_str(), 1);
    FakeTable()["a.mp4"] = {2.9, 640, 360};
    FakeTable()["b.mp4"] = {7, 1920, 1080};
    FakeTable()["c.png"] = {0, 600, 800};
  }

  // Every string member named like a resource folder, anywhere in the tree.
  static void Folders(const cJSON* node, std::vector<std::string>* out) {
    for (const cJSON* child = node ? node->child : nullptr; child; child = child->next) {
      if (cJSON_IsString(child) && child->string &&
          (std::string(child->string) == "folderPath" || std::string(child->string) == "imageFolderPath"))
        out->push_back(child->valuestring);
      Folders(child, out);
    }
  }

  void Check(const std::string& id, int scenesForFive) {
    const std::vector<std::string> media = {"a.mp4", "b.mp4", "c.png", "a.mp4", "b.mp4"};
    for (size_t count : {1u, 3u, 5u}) {
      Request record = Load(WriteRequest(id, std::vector<std::string>(media.begin(), media.begin() + count)));
      ASSERT_NE(record, nullptr) << id << ": " << printed_;
      drafttest::Json draft = Written(record.get());
      std::vector<std::string> folders;
      Folders(draft.get(), &folders);
      EXPECT_FALSE(folders.empty()) << id;
      for (std::string folder : folders) {
        std::replace(folder.begin(), folder.end(), '\\', '/');
        EXPECT_TRUE(std::filesystem::exists(folder + "/config.json")) << id << ": " << folder;
      }
      if (count == 5) {
        EXPECT_EQ(Size(Get(draft.get(), "scenes")), scenesForFive) << id;
      }
      EXPECT_EQ(Size(Get(draft.get(), "mediaInfo")), static_cast<int>(count)) << id;
    }
  }
};

TEST_F(ShippedThemes, TravelSummerIsFoundByItsTwoPartIdAndKeepsItsIntroAndOutro) {
  Check("travel-summer", 7);
}
TEST_F(ShippedThemes, TheSlideshowIsFoundByItsFolderName) { Check("Slideshow", 5); }
TEST_F(ShippedThemes, FamilyLayersIsFoundInItsGroupFolder) { Check("family-layers", 5); }

} // namespace

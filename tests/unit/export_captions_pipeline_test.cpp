// Stickers and captions inside the whole export: where they come in the
// timeline build and that their failures leave the export's result alone.
#include <gtest/gtest.h>

#include <algorithm>

#include "export/export_draft.h"
#include "tests/support/caption_test_support.h"
#include "tests/support/joined_path.h"
#include "tests/unit/export_fixtures.h"

namespace {

using captiontest::Document;
using testpath::Joined;

class ExportCaptionsPipeline : public testing::Test {
protected:
  void SetUp() override {
    recorder::Reset();
    ASSERT_FALSE(dir_.path().empty());
    dir_.Write("style/config.json", R"({"width": 400, "height": 200, "textWidth": 300, "textHeight": 100})");
    // One scene with an explicit span, enough for the timeline to exist.
    SceneRecord* scene = arena_.New<SceneRecord>();
    MediaRecord* item = arena_.New<MediaRecord>();
    exporttest::SetText(item->path, "a.mp4");
    item->timelineFrom = 0;
    item->timelineTo = 4;
    item->trimTimeEnd = 4;
    scene->media = item;
    document_->scenes = scene;
    document_->mediaInfo = arena_.New<MediaInfoEntry>();
    exporttest::SetText(document_->mediaInfo->path, "unmatched.mp4");

    // An overlay before them and the logo after them.
    OverlayRecord* overlay = arena_.New<OverlayRecord>();
    overlay->timelineTo = 2;
    overlay->media = arena_.New<MediaRecord>();
    exporttest::SetText(overlay->media->path, "pip.png");
    document_->overlays = overlay;
    document_->logo = arena_.New<MediaRecord>();
    exporttest::SetText(document_->logo->path, "logo.png");

    StickerRecord* sticker = document_.AddSticker("st/heart", 2);
    sticker->timelineTo = 1;
    CaptionRecord* caption = document_.AddCaption("style", 0, 3);
    caption->timelineTo = 2;
    Document::AddWord(caption, "hello");
    Document::AddKeyFrame(caption)->scale = 1;
  }

  int32_t Export() {
    testing::internal::CaptureStdout();
    const int32_t r = ExportDraft(document_.get(), message_);
    console_ = testing::internal::GetCapturedStdout();
    return r;
  }

  static size_t FirstIndex(const std::string& name) {
    const std::vector<std::string> names = recorder::CallNames();
    return static_cast<size_t>(std::find(names.begin(), names.end(), name) - names.begin());
  }

  static size_t LastIndex(const std::string& name) {
    const std::vector<std::string> names = recorder::CallNames();
    auto it = std::find(names.rbegin(), names.rend(), name);
    return it == names.rend() ? names.size() : static_cast<size_t>(names.rend() - it - 1);
  }

  captiontest::CtypeLocale utf8_{"C.UTF-8"};
  captiontest::TempDir dir_;
  Document document_{dir_ / "d_1.json", 1920, 1080};
  exporttest::Arena arena_;
  char message_[kExportMessageSize] = {};
  std::string console_;
};

TEST_F(ExportCaptionsPipeline, StickersThenCaptionsComeAfterTheOverlaysAndBeforeTheLogo) {
  recorder::SetResult("OrmaEditMedia", 5);
  EXPECT_EQ(Export(), 5);
  const std::vector<std::string> creates = recorder::Formatted("OrmaCreateCaptionFromConfigure");
  ASSERT_EQ(creates.size(), 2u);
  EXPECT_EQ(creates[0],
            "OrmaCreateCaptionFromConfigure(\"" + Joined(dir_.path(), "st/heart", "config.json") + "\", 2)");
  EXPECT_EQ(creates[1],
            "OrmaCreateCaptionFromConfigure(\"" + Joined(dir_.path(), "style", "config.json") + "\", 0)");
  // Overlay, stickers, captions, logo: the overlay's picture-in-picture
  // scene comes first, the logo's is created after the last caption call.
  EXPECT_LT(FirstIndex("OrmaCreatePIPScene"), FirstIndex("OrmaCreateCaptionFromConfigure"));
  EXPECT_EQ(recorder::Formatted("OrmaCreatePIPScene").size(), 2u);
  EXPECT_GT(LastIndex("OrmaCreatePIPScene"), LastIndex("OrmaCreateCaptionKeyFrameAniamtion"));
  EXPECT_LT(LastIndex("OrmaCreateCaptionKeyFrameAniamtion"), FirstIndex("OrmaEditMediaUseAgentProcess"));
  // The sticker's settings are all made before the caption is created.
  EXPECT_LT(FirstIndex("OrmaSetCaptionAngle"), LastIndex("OrmaCreateCaptionFromConfigure"));
  EXPECT_EQ(recorder::Formatted("OrmaAddCaption"),
            (std::vector<std::string>{"OrmaAddCaption(h1, h6)", "OrmaAddCaption(h1, h7)"}));
}

TEST_F(ExportCaptionsPipeline, StickerAndCaptionCreateFailuresLeaveTheExportResultAlone) {
  recorder::SetResult("OrmaCreateCaptionFromConfigure", 0);
  recorder::SetResult("OrmaEditMedia", 9);
  EXPECT_EQ(Export(), 9);
  EXPECT_STREQ(message_, "");
  EXPECT_EQ(recorder::Formatted("OrmaCreateCaptionFromConfigure").size(), 2u);
  EXPECT_TRUE(recorder::Formatted("OrmaAddCaption").empty());
  const std::string failed = "OrmaCreateCaptionFromConfigure failed line:";
  const size_t first = console_.find(failed);
  ASSERT_NE(first, std::string::npos) << console_;
  EXPECT_NE(console_.find(failed, first + 1), std::string::npos) << console_;
}

TEST_F(ExportCaptionsPipeline, StickerAndCaptionSettingFailuresLeaveTheExportResultAlone) {
  recorder::SetResult("OrmaUpdateCaptionTimeline", -2);
  recorder::SetResult("OrmaEditMedia", 9);
  EXPECT_EQ(Export(), 9);
  EXPECT_STREQ(message_, "");
  EXPECT_NE(console_.find("UpdateStickerParam error " + captiontest::kColonPrinted + "-2 line:"),
            std::string::npos);
  EXPECT_NE(console_.find("UpdateCaptionParam error " + captiontest::kColonPrinted + "-2 line:"),
            std::string::npos);
  EXPECT_LT(FirstIndex("OrmaEditMedia"), recorder::Calls().size());
}

} // namespace

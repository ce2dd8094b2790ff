// The core library's resource readers on damaged files: the resource part of
// the malformed-input corpus (tests/malformed, made by its make_corpus.py)
// and the seed corpora of the fuzz targets that read resources
// (tests/fuzz/corpus-*, crash inputs kept there included), replayed here so
// that `make test` runs them without libFuzzer. Every file is either read or
// refused with a message that begins with its path; none may crash. The
// seeds made from shipped resources (every file not named "malformed-*" or
// "regression-*") must be read.
//
// Each file is copied into one scratch folder that also holds the files a
// resource may name, as the fuzz targets have them: sticker frames, an
// animated PNG, WebP and GIF, a luma map, a word art and a stand-in font.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "engine/look/animation.h"
#include "engine/look/lut_file.h"
#include "engine/look/mask_shape.h"
#include "engine/look/special_effect.h"
#include "engine/look/sticker.h"
#include "engine/render/transitions.h"
#include "engine/text/caption_style.h"
#include "engine/text/word_art.h"

namespace {

namespace fs = std::filesystem;

const fs::path kSource = ORMA_SOURCE_DIR;

std::string ReadBytes(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

void WriteBytes(const fs::path& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

/// A reader: true when it read the file, else false with *error.
using Reader = std::function<bool(const std::string& path, size_t size, std::string* error)>;

bool ReadTransition(const std::string& path, size_t, std::string* error) {
  orma::TransitionStyle style;
  return orma::LoadTransitionStyle(path.c_str(), &style, error);
}

bool ReadAnimation(const std::string& path, size_t, std::string* error) {
  auto clip = orma::AnimationClip::Load(path, error);
  if (clip) clip->At(0.5f);
  return clip != nullptr;
}

bool ReadMask(const std::string& path, size_t, std::string* error) {
  orma::MaskConfig mask;
  if (!orma::LoadMaskConfig(path, &mask, error)) return false;
  orma::MaskRaster raster;
  orma::RenderMask(mask, orma::EffectiveShape(mask, OrmaMaskShapeBlock{}), 16, 12, &raster);
  return true;
}

bool ReadEffect(const std::string& path, size_t, std::string* error) {
  auto effect = orma::SpecialEffect::Load(path, error);
  if (!effect) return false;
  orma::Picture picture(18, 10, true);
  orma::FillAlpha(picture.view());
  effect->Apply(picture.view(), orma::EffectClock{1.0, 2.0, 25}, 709);
  return true;
}

bool ReadSticker(const std::string& path, size_t, std::string* error) {
  auto sheet = orma::LoadStickerSheet(path, error);
  if (!sheet) return false;
  orma::StickerFrames frames;
  if (sheet->frames.size() <= 6 && orma::LoadStickerFrames(*sheet, &frames, error)) {
    EXPECT_GT(frames.totalUs, 0) << path;
    EXPECT_LT(frames.FrameAt(frames.totalUs / 2), frames.sprites.size()) << path;
  }
  return true;
}

bool ReadWordArt(const std::string& path, size_t, std::string* error) {
  return orma::LoadWordArt(path, error) != nullptr;
}

// As fuzz_caption_style reads it: a template caption when the file's length
// is odd.
bool ReadCaptionStyle(const std::string& path, size_t size, std::string* error) {
  auto style = orma::LoadCaptionStyle(path, static_cast<int>(size % 2), error);
  if (style)
    for (const orma::StyleItem& item : style->items)
      orma::StyleItemBlock(*style, item);
  return style != nullptr;
}

bool ReadLut(const std::string& path, size_t, std::string* error) {
  orma::Lut3D lut;
  return orma::LoadLutFile(path, &lut, error);
}

struct Kind {
  const char* name;
  const char* malformed; ///< folder under tests/malformed, or null
  const char* corpus;    ///< folder under tests/fuzz, or null
  const char* fileName;  ///< the name a file is read under ("" keeps the extension)
  Reader read;
  bool kindByte = false; ///< the fuzz corpus's first byte picks the extension (fuzz_lut_file)
};

const Kind kKinds[] = {
    {"transitions", "transitions", "corpus-transition-config", "config.json", ReadTransition},
    {"animations", "animations", "corpus-animation-config", "config.json", ReadAnimation},
    {"masks", "masks", "corpus-mask-config", "config.json", ReadMask},
    {"effects", "effects", "corpus-effect-config", "config.json", ReadEffect},
    {"stickers", "stickers", "corpus-sticker-config", "config.json", ReadSticker},
    {"word art", "word-art", "corpus-word-art", "wordart-under-test.json", ReadWordArt},
    {"caption styles", "captions", "corpus-caption-style", "config.json", ReadCaptionStyle},
    {"cube tables", "luts-cube", nullptr, "", ReadLut},
    {"3dl tables", "luts-3dl", nullptr, "", ReadLut},
    {"look-up tables", nullptr, "corpus-lut-file", "", ReadLut, true},
};

class MalformedResources : public testing::Test {
protected:
  void SetUp() override {
    std::string pattern = (fs::temp_directory_path() / "ormadraft-malformed-resources-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    folder_ = pattern;
    for (const char* resource :
         {"stickers/heart/frame01.png", "stickers/heart/frame02.png", "stickers/ball/ball.png",
          "stickers/pulse/pulse.webp", "stickers/wave/wave.gif", "transitions/luma-blinds/blinds.png",
          "captions/gradient/wordart.json"})
      fs::copy_file(kSource / "resources" / resource, folder_ / fs::path(resource).filename());
    WriteBytes(folder_ / "font.ttf", "not read, only found");
  }
  void TearDown() override { fs::remove_all(folder_); }

  /// Reads every file of `dir` as `kind` does; counts what was refused.
  void ReplayFolder(const Kind& kind, const fs::path& dir, bool seeds, int* files, int* refused) {
    std::vector<fs::path> paths;
    for (const auto& entry : fs::directory_iterator(dir))
      if (entry.is_regular_file()) paths.push_back(entry.path());
    std::sort(paths.begin(), paths.end());
    for (const fs::path& source : paths) {
      std::string bytes = ReadBytes(source);
      std::string name = kind.fileName;
      if (kind.kindByte) {
        static const char* const kExtensions[] = {"cube", "3dl", "png"};
        if (bytes.empty()) continue;
        name = std::string("table.") + kExtensions[static_cast<unsigned char>(bytes[0]) % 3];
        bytes.erase(0, 1);
      } else if (name.empty()) {
        name = "table" + source.extension().string();
      }
      const std::string path = (folder_ / name).string();
      WriteBytes(path, bytes);
      std::string error;
      const bool read = kind.read(path, bytes.size(), &error);
      fs::remove(path);
      ++*files;
      const std::string file = source.filename().string();
      if (read) continue;
      ++*refused;
      EXPECT_EQ(error.rfind(path, 0), 0u) << source << " was refused without naming the file: " << error;
      const bool mayFail = file.rfind("malformed-", 0) == 0 || file.rfind("regression-", 0) == 0;
      if (seeds && !mayFail) ADD_FAILURE() << source << " is a seed made from a shipped resource: " << error;
    }
  }

  fs::path folder_;
};

TEST_F(MalformedResources, EveryDamagedResourceIsReadOrRefusedNamingItsFile) {
  int total = 0;
  for (const Kind& kind : kKinds) {
    if (!kind.malformed) continue;
    int files = 0, refused = 0;
    ReplayFolder(kind, kSource / "tests" / "malformed" / kind.malformed, false, &files, &refused);
    EXPECT_GE(files, 10) << kind.name;
    // The damage is real: most files of every kind are refused.
    EXPECT_GT(refused * 2, files) << kind.name << ": only " << refused << " of " << files << " refused";
    total += files;
  }
  EXPECT_GE(total, 150);
}

TEST_F(MalformedResources, EveryFuzzSeedIsReadOrRefusedAndTheShippedOnesAreRead) {
  for (const Kind& kind : kKinds) {
    if (!kind.corpus) continue;
    int files = 0, refused = 0;
    ReplayFolder(kind, kSource / "tests" / "fuzz" / kind.corpus, true, &files, &refused);
    EXPECT_GE(files, 5) << kind.name;
  }
}

// fuzz_sticker_config's timing check failed on this: at 1e-20 frames per
// second the second frame's start time was beyond an int64 and came out
// negative.
TEST_F(MalformedResources, StickerRatesSlowerThanAFrameEveryHundredSecondsAreRefused) {
  const std::string path = (folder_ / "config.json").string();
  WriteBytes(path, R"({"frames": ["frame01.png", "frame02.png"], "fps": 1e-20})");
  std::string error;
  EXPECT_EQ(orma::LoadStickerSheet(path, &error), nullptr);
  EXPECT_EQ(error, path + ": \"fps\" must be 0 (the default) or from 0.01 to 240");

  WriteBytes(path, R"({"frames": ["frame01.png", "frame02.png"], "fps": 0.01})");
  auto sheet = orma::LoadStickerSheet(path, &error);
  ASSERT_NE(sheet, nullptr) << error;
  orma::StickerFrames frames;
  ASSERT_TRUE(orma::LoadStickerFrames(*sheet, &frames, &error)) << error;
  EXPECT_EQ(frames.startUs, (std::vector<int64_t>{0, 100000000}));
  EXPECT_EQ(frames.totalUs, 200000000);
  EXPECT_EQ(frames.FrameAt(150000000), 1u);
}

} // namespace

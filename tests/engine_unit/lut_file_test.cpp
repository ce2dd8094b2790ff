#include <gtest/gtest.h>

#include <sys/resource.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "engine/look/lut_file.h"

using namespace orma;

namespace {
std::string Cube(int size, const std::string& extra = "") {
  std::string text = "# a comment\nTITLE \"t\"\nLUT_3D_SIZE " + std::to_string(size) + "\n" + extra;
  for (int b = 0; b < size; ++b)
    for (int g = 0; g < size; ++g)
      for (int r = 0; r < size; ++r)
        text += std::to_string(r / double(size - 1)) + " " + std::to_string(g / double(size - 1)) + " " +
                std::to_string(b / double(size - 1)) + "\n";
  return text;
}
} // namespace

TEST(LutFile, CubeIsReadRedFastest) {
  Lut3D lut;
  std::string error;
  ASSERT_TRUE(ParseCubeLut(Cube(3), "a.cube", &lut, &error)) << error;
  EXPECT_EQ(lut.size, 3);
  ASSERT_EQ(lut.rgb.size(), 27u * 3);
  // Entry (r 1, g 0, b 0) is the second one.
  EXPECT_FLOAT_EQ(lut.rgb[3], 0.5f);
  EXPECT_FLOAT_EQ(lut.rgb[4], 0.0f);
  float in[3] = {0.25f, 0.6f, 0.9f}, out[3];
  lut.Sample(in, out);
  EXPECT_NEAR(out[0], 0.25f, 1e-5);
  EXPECT_NEAR(out[1], 0.6f, 1e-5);
  EXPECT_NEAR(out[2], 0.9f, 1e-5);
}

TEST(LutFile, CubeDomainRescalesTheInput) {
  Lut3D lut;
  std::string error;
  ASSERT_TRUE(ParseCubeLut(Cube(2, "DOMAIN_MIN 0 0 0\nDOMAIN_MAX 2 2 2\n"), "a.cube", &lut, &error)) << error;
  float in[3] = {1, 1, 1}, out[3];
  lut.Sample(in, out);
  EXPECT_NEAR(out[0], 0.5f, 1e-5);
}

TEST(LutFile, CubeFaultsNameTheFileAndLine) {
  Lut3D lut;
  std::string error;
  EXPECT_FALSE(ParseCubeLut("0 0 0\n", "a.cube", &lut, &error));
  EXPECT_NE(error.find("a.cube: line 1"), std::string::npos) << error;
  EXPECT_FALSE(ParseCubeLut("LUT_3D_SIZE 2\n0 0 0\n1 1 1\n", "a.cube", &lut, &error));
  EXPECT_NE(error.find("2 entries instead of 8"), std::string::npos) << error;
  EXPECT_FALSE(ParseCubeLut("LUT_1D_SIZE 16\n", "a.cube", &lut, &error));
  EXPECT_NE(error.find("one-dimensional"), std::string::npos) << error;
  EXPECT_FALSE(ParseCubeLut("LUT_3D_SIZE 2\n0 0 x\n", "a.cube", &lut, &error));
  EXPECT_FALSE(ParseCubeLut("LUT_3D_SIZE 1000\n", "a.cube", &lut, &error));
  EXPECT_FALSE(ParseCubeLut(Cube(2) + "0 0 0\n", "a.cube", &lut, &error));
  EXPECT_NE(error.find("more entries"), std::string::npos) << error;
}

// Found by fuzz_lut_file: an entry beyond a float's range was kept as an
// infinity, and sampling next to it gave NaN.
TEST(LutFile, CubeValuesBeyondAFloatAreRefused) {
  Lut3D lut;
  std::string error;
  std::string table = Cube(2);
  table.replace(table.find("0.000000 0.000000 0.000000"), 26, "-1e39 0 0");
  EXPECT_FALSE(ParseCubeLut(table, "a.cube", &lut, &error));
  EXPECT_NE(error.find("a.cube: line 4: expected three numbers"), std::string::npos) << error;
  EXPECT_FALSE(ParseCubeLut("DOMAIN_MIN -1e39 0 0\n" + Cube(2), "a.cube", &lut, &error));
  EXPECT_NE(error.find("DOMAIN_MIN needs three numbers"), std::string::npos) << error;
}

TEST(LutFile, ThreeDlIsReadBlueFastestWithItsDepth) {
  // Size 2 from the mesh line; entries in blue-fastest order, 12-bit.
  std::string text = "0 1023\n";
  for (int r = 0; r < 2; ++r)
    for (int g = 0; g < 2; ++g)
      for (int b = 0; b < 2; ++b)
        text +=
            std::to_string(r * 4095) + " " + std::to_string(g * 4095) + " " + std::to_string(b * 2048) + "\n";
  Lut3D lut;
  std::string error;
  ASSERT_TRUE(Parse3dlLut(text, "a.3dl", &lut, &error)) << error;
  ASSERT_EQ(lut.size, 2);
  float in[3] = {1, 0, 1}, out[3];
  lut.Sample(in, out);
  EXPECT_NEAR(out[0], 1.0f, 1e-5);
  EXPECT_NEAR(out[1], 0.0f, 1e-5);
  EXPECT_NEAR(out[2], 2048 / 4095.0f, 1e-5);
}

TEST(LutFile, ThreeDlWithoutMeshTakesItsSizeFromTheCount) {
  std::string text;
  for (int i = 0; i < 8; ++i)
    text += "0 0 1023\n";
  Lut3D lut;
  std::string error;
  ASSERT_TRUE(Parse3dlLut(text, "a.3dl", &lut, &error)) << error;
  EXPECT_EQ(lut.size, 2);
  EXPECT_FLOAT_EQ(lut.rgb[2], 1.0f);
  EXPECT_FALSE(Parse3dlLut("0 0 0\n0 0 0\n0 0 0\n", "a.3dl", &lut, &error));
  EXPECT_FALSE(Parse3dlLut("0 1023\n0 0 1.5\n", "a.3dl", &lut, &error));
}

TEST(LutFile, HaldPictureOfLevelTwo) {
  // Level 2: an 8x8 picture holding a 4^3 table, red fastest.
  std::vector<uint8_t> rgba(8 * 8 * 4);
  for (int i = 0; i < 64; ++i) {
    rgba[i * 4 + 0] = static_cast<uint8_t>((i % 4) * 85);
    rgba[i * 4 + 1] = static_cast<uint8_t>(((i / 4) % 4) * 85);
    rgba[i * 4 + 2] = static_cast<uint8_t>((i / 16) * 85);
    rgba[i * 4 + 3] = 255;
  }
  Lut3D lut;
  std::string error;
  ASSERT_TRUE(HaldLut(rgba.data(), 8, 8, "h.png", &lut, &error)) << error;
  EXPECT_EQ(lut.size, 4);
  float in[3] = {0.2f, 0.7f, 1.0f}, out[3];
  lut.Sample(in, out);
  EXPECT_NEAR(out[0], 0.2f, 1e-3);
  EXPECT_NEAR(out[1], 0.7f, 1e-3);
  EXPECT_NEAR(out[2], 1.0f, 1e-3);
  EXPECT_FALSE(HaldLut(rgba.data(), 8, 4, "h.png", &lut, &error));
  EXPECT_FALSE(HaldLut(rgba.data(), 6, 6, "h.png", &lut, &error));
}

TEST(LutFile, UnknownExtensionIsRefused) {
  Lut3D lut;
  std::string error;
  EXPECT_FALSE(LoadLutFile("/nonexistent/table.txt", &lut, &error));
  EXPECT_NE(error.find("not a look-up table"), std::string::npos);
  EXPECT_FALSE(LoadLutFile("/nonexistent/table.cube", &lut, &error));
  EXPECT_NE(error.find("cannot be read"), std::string::npos);
}

// A picture that cannot be a HALD CLUT is refused from its probed size: an
// 8192x8192 PNG (a few hundred KB) is not decoded to RGBA, which alone would
// take 256 MB. (The probe itself still decodes it once, about 200 MB.)
TEST(LutFile, HaldPictureOfTheWrongSizeIsNotDecodedToRgba) {
  const std::string path = (std::filesystem::temp_directory_path() / "ormadraft-big-hald.png").string();
  const std::string command =
      "ffmpeg -v error -y -f lavfi -i color=black:s=8192x8192 -frames:v 1 '" + path + "'";
  ASSERT_EQ(std::system(command.c_str()), 0) << command;
  rusage before{}, after{};
  getrusage(RUSAGE_SELF, &before);
  Lut3D lut;
  std::string error;
  EXPECT_FALSE(LoadLutFile(path, &lut, &error));
  getrusage(RUSAGE_SELF, &after);
  std::remove(path.c_str());
  EXPECT_NE(error.find(path + ": not a square HALD CLUT"), std::string::npos) << error;
  EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 256 * 1024) << "kilobytes more at the peak";
}

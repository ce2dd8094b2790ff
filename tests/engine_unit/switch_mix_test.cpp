#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "engine/picture/image.h"
#include "engine/picture/mix.h"
#include "engine/render/transitions.h"

using namespace orma;

namespace {

void FillPlanes(Yuv& img, uint32_t seed) {
  for (int k = 0; k < 3; ++k) {
    int w = k ? (img.w + 1) / 2 : img.w, h = k ? (img.h + 1) / 2 : img.h;
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x) {
        seed = seed * 1664525u + 1013904223u;
        img.p[k][y * img.s[k] + x] = static_cast<uint8_t>(seed >> 24);
      }
  }
}

} // namespace

TEST(SwitchRamp, AHardEdgeSwitchesTheCodesBelowTheProgress) {
  MaskTransition hard(std::vector<uint8_t>(4, 0), 2, 2, 0.0f);
  for (float p : {0.0f, 0.25f, 0.5f, 1.0f}) {
    SwitchRamp ramp = hard.RampAt(p);
    for (int l = 0; l < 256; ++l)
      ASSERT_EQ(ramp.Weight(l), l / 255.0f < p ? 256 : 0) << "progress " << p << ", code " << l;
  }
}

TEST(SwitchRamp, ASoftEdgeRampsOverItsWidth) {
  const float s = 0.2f;
  MaskTransition soft(std::vector<uint8_t>(4, 0), 2, 2, s);
  for (float p : {0.0f, 0.3f, 0.5f, 1.0f}) {
    SwitchRamp ramp = soft.RampAt(p);
    for (int l = 0; l < 256; ++l) {
      float v = std::clamp((p * (1.0f + s) - l / 255.0f) / s, 0.0f, 1.0f);
      ASSERT_NEAR(ramp.Weight(l), v * 256.0f, 1.0f) << "progress " << p << ", code " << l;
    }
  }
  EXPECT_EQ(soft.RampAt(0.0f).Weight(0), 0);
  EXPECT_EQ(soft.RampAt(1.0f).Weight(255), 256);
}

// Every sample is mixed by the weight of its switch order: luma by its own
// pixel's, chroma by the pixel at the top left of its block.
TEST(SwitchMix, EverySampleTakesTheWeightOfItsOrder) {
  const int w = 9, h = 7, cw = 5, ch = 4;
  Picture a(w, h, false), b(w, h, false), dst(w, h, false);
  FillPlanes(a.view(), 1);
  FillPlanes(b.view(), 2);
  std::vector<uint8_t> order(w * h);
  for (int i = 0; i < w * h; ++i)
    order[i] = static_cast<uint8_t>(i * 37);
  MaskTransition t(order, w, h, 0.3f);
  t.Render(dst.view(), a.view(), b.view(), 0.45f);
  SwitchRamp ramp = t.RampAt(0.45f);
  auto mixed = [&](int k, int x, int y, int code) {
    int pa = a.view().p[k][y * a.view().s[k] + x], pb = b.view().p[k][y * b.view().s[k] + x];
    return pa + (((pb - pa) * ramp.Weight(code) + 128) >> 8);
  };
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x)
      ASSERT_EQ(dst.view().p[0][y * dst.view().s[0] + x], mixed(0, x, y, order[y * w + x])) << x << "," << y;
  for (int k = 1; k <= 2; ++k)
    for (int y = 0; y < ch; ++y)
      for (int x = 0; x < cw; ++x) {
        int code = order[std::min(2 * y, h - 1) * w + std::min(2 * x, w - 1)];
        ASSERT_EQ(dst.view().p[k][y * dst.view().s[k] + x], mixed(k, x, y, code))
            << "plane " << k << " at " << x << "," << y;
      }
}

#include <gtest/gtest.h>

#include <cstring>

#include "engine/core/config_fields.h"
#include "engine/look/special_effect.h"
#include "tests/engine_unit/picture_util.h"

using namespace orma;
using testpic::Rgb8;

namespace {

std::unique_ptr<SpecialEffect> Effect(const std::string& json) {
  std::string error;
  auto e = SpecialEffect::Parse(json, "fx/config.json", &error);
  EXPECT_NE(e, nullptr) << error;
  return e;
}

EffectClock At(double seconds, double span = 2.0, int64_t frame = 0) {
  EffectClock c;
  c.seconds = seconds;
  c.span = span;
  c.frame = frame;
  return c;
}

// Left half red, right half blue.
void Halves(Picture& p) {
  testpic::FillRgb(p.view(), 1, 0, 0);
  testpic::FillRgb(p.view(), 0, 0, 1, p.view().w / 2, 0, p.view().w, p.view().h);
}

} // namespace

TEST(SpecialEffect, GrayscaleAndSepiaToneTheColours) {
  Picture p(16, 16, false);
  testpic::FillRgb(p.view(), 1, 0, 0);
  Effect(R"({"filters": [{"filter": "grayscale"}]})")->Apply(p.view(), At(0), 601);
  Rgb8 c = testpic::At(p.view(), 4, 4);
  EXPECT_LE(std::max({c.r, c.g, c.b}) - std::min({c.r, c.g, c.b}), 4) << testpic::Text(c);
  Effect(R"({"filters": [{"filter": "sepia"}]})")->Apply(p.view(), At(0), 601);
  c = testpic::At(p.view(), 4, 4);
  EXPECT_GT(c.r, c.b + 20) << testpic::Text(c);
}

TEST(SpecialEffect, KeyedAmountFollowsTheSpanOrTheCycle) {
  auto flash = Effect(
      R"({"filters": [{"filter": "flash", "amount": [{"at": 0, "value": 1}, {"at": 1, "value": 0}]}]})");
  auto cycled = Effect(
      R"({"filters": [{"filter": "flash", "cycle": 0.5, "amount": [{"at": 0, "value": 1}, {"at": 1, "value": 0}]}]})");
  Picture a(8, 8, false), b(8, 8, false), c(8, 8, false);
  for (Picture* p : {&a, &b, &c})
    testpic::FillRgb(p->view(), 0, 0, 0);
  flash->Apply(a.view(), At(0.0), 601);
  flash->Apply(b.view(), At(1.0), 601);  // half-way through a 2 s span
  cycled->Apply(c.view(), At(1.0), 601); // the start of the third cycle
  EXPECT_GE(a.view().p[0][0], 234);
  EXPECT_NEAR(b.view().p[0][0], 16 + (235 - 16) / 2, 2);
  EXPECT_GE(c.view().p[0][0], 234);
}

TEST(SpecialEffect, MirrorShowsOneHalfTwice) {
  Picture p(32, 16, false);
  Halves(p);
  Effect(R"({"filters": [{"filter": "mirror", "mode": "left"}]})")->Apply(p.view(), At(0), 601);
  EXPECT_TRUE(testpic::Near(testpic::At(p.view(), 28, 8), Rgb8{255, 0, 0}, 4));
  Halves(p);
  Effect(R"({"filters": [{"filter": "mirror", "mode": "right"}]})")->Apply(p.view(), At(0), 601);
  EXPECT_TRUE(testpic::Near(testpic::At(p.view(), 3, 8), Rgb8{0, 0, 255}, 4));
}

TEST(SpecialEffect, ZoomEnlargesAboutItsCentre) {
  Picture p(64, 32, false);
  Halves(p);
  Effect(R"({"filters": [{"filter": "zoom", "scale": 4, "x": 0.25}]})")->Apply(p.view(), At(0), 601);
  // Around x = 16 (red) enlarged four times: all red.
  EXPECT_TRUE(testpic::Near(testpic::At(p.view(), 2, 16), Rgb8{255, 0, 0}, 6));
  EXPECT_TRUE(testpic::Near(testpic::At(p.view(), 60, 16), Rgb8{255, 0, 0}, 6));
}

TEST(SpecialEffect, ShakeMovesThePictureDifferentlyOverTime) {
  Picture a(64, 32, false), b(64, 32, false);
  Halves(a);
  Halves(b);
  auto shake = Effect(R"({"filters": [{"filter": "shake", "amount": 0.1, "frequency": 10}]})");
  shake->Apply(a.view(), At(0.05), 601);
  shake->Apply(b.view(), At(0.55), 601);
  EXPECT_NE(std::memcmp(a.view().p[0] + 16 * a.view().s[0], b.view().p[0] + 16 * b.view().s[0], 64), 0);
}

TEST(SpecialEffect, RgbSplitMovesTheColourDifferencesApart) {
  Picture p(64, 16, false);
  testpic::FillRgb(p.view(), 0.5f, 0.5f, 0.5f);
  testpic::FillRgb(p.view(), 1, 1, 1, 24, 0, 40, 16);
  Effect(R"({"filters": [{"filter": "rgbSplit", "amount": 1}]})")->Apply(p.view(), At(0), 601);
  // Beyond the white bar's right edge a red fringe, beyond its left a blue one.
  Rgb8 right = testpic::At(p.view(), 42, 8), left = testpic::At(p.view(), 21, 8);
  EXPECT_GT(right.r, right.b + 10) << testpic::Text(right);
  EXPECT_GT(left.b, left.r + 10) << testpic::Text(left);
}

TEST(SpecialEffect, InvertAndAdjustAndTheRest) {
  Picture p(32, 32, false);
  testpic::FillRgb(p.view(), 1, 0, 0);
  Effect(R"({"filters": [{"filter": "invert"}]})")->Apply(p.view(), At(0), 601);
  EXPECT_TRUE(testpic::Near(testpic::At(p.view(), 4, 4), Rgb8{0, 255, 255}, 8));
  testpic::FillRgb(p.view(), 0.5f, 0.5f, 0.5f);
  Effect(R"({"filters": [{"filter": "adjust", "brightness": 128}]})")->Apply(p.view(), At(0), 601);
  EXPECT_GT(testpic::At(p.view(), 4, 4).g, 170);
  // Filters that only need to run: grain, vignette, blur, flicker,
  // scratches and glitch leave a picture of the same size.
  auto all =
      Effect(R"({"filters": [{"filter": "grain"}, {"filter": "vignette"}, {"filter": "blur", "amount": 0.5},
      {"filter": "flicker"}, {"filter": "scratches"}, {"filter": "glitch"}]})");
  EXPECT_EQ(all->size(), 6u);
  all->Apply(p.view(), At(0.3, 2, 7), 601);
}

TEST(SpecialEffect, FaultsNameTheFileAndTheFilter) {
  std::string error;
  EXPECT_EQ(SpecialEffect::Parse(R"({"filters": []})", "fx/config.json", &error), nullptr);
  EXPECT_NE(error.find("\"filters\""), std::string::npos) << error;
  EXPECT_EQ(SpecialEffect::Parse(R"({"filters": [{"filter": "sparkle"}]})", "fx/config.json", &error),
            nullptr);
  EXPECT_NE(error.find("fx/config.json filters[0]: \"filter\" must be one of"), std::string::npos) << error;
  EXPECT_EQ(
      SpecialEffect::Parse(R"({"filters": [{"filter": "flash", "amount": 2}]})", "fx/config.json", &error),
      nullptr);
  EXPECT_NE(error.find("\"amount\" must be from 0 to 1"), std::string::npos) << error;
  EXPECT_EQ(SpecialEffect::Parse(R"({"filters": [{"filter": "mirror", "mode": "diagonal"}]})",
                                 "fx/config.json", &error),
            nullptr);
}

TEST(KeyedNumberField, ReadsANumberOrKeysWithEasing) {
  struct Params {
    KeyedNumber amount{0.5f};
  };
  const FieldSpec<Params> table[] = {{"amount", &Params::amount, Range(0, 10)}};
  std::string error;
  Params p;
  std::unique_ptr<cJSON, void (*)(cJSON*)> plain(cJSON_Parse(R"({"amount": 3})"), cJSON_Delete);
  ASSERT_TRUE(ReadFields(plain.get(), table, &p, "x.json", &error)) << error;
  EXPECT_FLOAT_EQ(p.amount.value, 3.0f);
  EXPECT_TRUE(p.amount.keys.empty());
  std::unique_ptr<cJSON, void (*)(cJSON*)> keyed(
      cJSON_Parse(R"({"amount": [{"at": 0, "value": 1, "easing": "EASEOUT"}, {"at": 1, "value": 2}]})"),
      cJSON_Delete);
  ASSERT_TRUE(ReadFields(keyed.get(), table, &p, "x.json", &error)) << error;
  ASSERT_EQ(p.amount.keys.size(), 2u);
  EXPECT_EQ(p.amount.keys[0].easing, "easeOut");
  EXPECT_EQ(p.amount.keys[1].easing, "linear");
  for (const char* bad :
       {R"({"amount": [{"at": 0}]})", R"({"amount": [{"at": 0.5, "value": 1}, {"at": 0.2, "value": 1}]})",
        R"({"amount": [{"at": 0, "value": 11}]})", R"({"amount": [{"at": 0, "value": 1, "easing": "x"}]})",
        R"({"amount": "high"})", R"({"amount": []})"}) {
    std::unique_ptr<cJSON, void (*)(cJSON*)> j(cJSON_Parse(bad), cJSON_Delete);
    EXPECT_FALSE(ReadFields(j.get(), table, &p, "x.json", &error)) << bad;
    EXPECT_NE(error.find("x.json: \"amount"), std::string::npos) << error;
  }
}

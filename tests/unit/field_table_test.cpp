// The field-table row and its walk shared by the engine's resource readers
// and the draft's readers (platform/field_table.h), and the draft's views
// read through it (draft/json_read.h): each view on each member type reads
// what the one-key readers read.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "draft/json_read.h"
#include "platform/field_table.h"
#include "tests/unit/draft_fixture.h"

using namespace drafttest;

namespace {

struct Pair {
  float first = 0;
  int32_t second = 0;
};

enum class Mark { kPlain, kOther };

using PairRow = platform::FieldRow<Pair, Mark, float, int32_t>;

} // namespace

TEST(FieldTable, VisitsEveryRowInOrderWithItsItemOrNullForAnAbsentKey) {
  Json root = Parse(R"({"SECOND": 7})");
  const PairRow rows[] = {{"first", &Pair::first}, {"second", &Pair::second, Mark::kOther}};
  Pair pair;
  std::vector<std::string> seen;
  bool all = platform::VisitFields(
      root.get(), rows, &pair, [&](const PairRow& row, const cJSON* item, auto& member) {
        seen.push_back(std::string(row.name) + (item ? "=" + std::to_string(item->valueint) : " absent") +
                       (row.rule == Mark::kOther ? " other" : ""));
        if (item) member = static_cast<std::remove_reference_t<decltype(member)>>(item->valueint);
        return true;
      });
  EXPECT_TRUE(all);
  EXPECT_EQ(seen, (std::vector<std::string>{"first absent", "second=7 other"}));
  EXPECT_EQ(pair.second, 7);
  EXPECT_EQ(pair.first, 0.0f);
}

TEST(FieldTable, StopsAtTheFirstRowWhoseVisitFails) {
  Json root = Parse(R"({"first": 1, "second": 2})");
  const PairRow rows[] = {{"first", &Pair::first}, {"second", &Pair::second}};
  Pair pair;
  int visits = 0;
  bool all = platform::VisitFields(root.get(), rows, &pair, [&](const PairRow&, const cJSON*, auto&) {
    ++visits;
    return false;
  });
  EXPECT_FALSE(all);
  EXPECT_EQ(visits, 1);
}

TEST(FieldTable, ANullObjectGivesEveryRowNoItem) {
  const PairRow rows[] = {{"first", &Pair::first}, {"second", &Pair::second}};
  Pair pair;
  int absent = 0;
  platform::VisitFields(nullptr, rows, &pair, [&](const PairRow&, const cJSON* item, auto&) {
    absent += item == nullptr;
    return true;
  });
  EXPECT_EQ(absent, 2);
}

namespace {

struct Everything {
  float real;
  float intView;
  float truncatedReal;
  int32_t integer;
  int32_t truncated;
  int32_t doubleFlag;
  bool flag;
  bool doubleFlagBool;
  char text[1024];
  char nonEmpty[2048];
  ColorF color;
  PointF point;
  float pointArray[2];
  SizeF size;
  PairF pair;
  RectF rect;
};

const draftjson::KeyField<Everything> kEverything[] = {
    {"real", &Everything::real},
    {"intView", &Everything::intView, draftjson::View::kIntView},
    {"truncatedReal", &Everything::truncatedReal, draftjson::View::kTruncated},
    {"integer", &Everything::integer},
    {"truncated", &Everything::truncated, draftjson::View::kTruncated},
    {"doubleFlag", &Everything::doubleFlag, draftjson::View::kDoubleFlag},
    {"flag", &Everything::flag},
    {"doubleFlagBool", &Everything::doubleFlagBool, draftjson::View::kDoubleFlag},
    {"text", &Everything::text},
    {"nonEmpty", &Everything::nonEmpty, draftjson::View::kNonEmpty},
    {"color", &Everything::color},
    {"point", &Everything::point},
    {"pointArray", &Everything::pointArray},
    {"size", &Everything::size},
    {"pair", &Everything::pair},
    {"rect", &Everything::rect},
};

} // namespace

TEST(DraftKeyFields, EachViewReadsItsMemberAsTheDraftRulesSay) {
  Json root =
      Parse(R"({"real": 2.75, "intView": 2.75, "truncatedReal": -2.75, "integer": 3.9, "truncated": 1e12,
                        "doubleFlag": 0.25, "flag": 0.25, "doubleFlagBool": 0.25, "text": "words",
                        "nonEmpty": "kept", "color": {"red": 0.5, "alpha": 1}, "point": {"x": 1, "y": 2},
                        "pointArray": {"y": 4}, "size": {"width": 5, "height": 6}, "pair": {"cx": 7, "cy": 8},
                        "rect": {"x": 0.25, "y": 0.5, "width": 0.5, "height": 0.25}})");
  Everything out{};
  out.color.green = 9;
  out.pointArray[0] = 3;
  draftjson::ReadFields(root.get(), kEverything, &out);
  EXPECT_FLOAT_EQ(out.real, 2.75f);
  EXPECT_FLOAT_EQ(out.intView, 2.0f);
  EXPECT_FLOAT_EQ(out.truncatedReal, -2.0f);
  EXPECT_EQ(out.integer, 3);
  EXPECT_EQ(out.truncated, INT32_MAX);
  EXPECT_EQ(out.doubleFlag, 1);
  EXPECT_FALSE(out.flag); // the int view of 0.25 is 0
  EXPECT_TRUE(out.doubleFlagBool);
  EXPECT_STREQ(out.text, "words");
  EXPECT_STREQ(out.nonEmpty, "kept");
  EXPECT_FLOAT_EQ(out.color.red, 0.5f);
  EXPECT_FLOAT_EQ(out.color.green, 9.0f); // absent: untouched
  EXPECT_FLOAT_EQ(out.color.alpha, 1.0f);
  EXPECT_FLOAT_EQ(out.point.x, 1.0f);
  EXPECT_FLOAT_EQ(out.point.y, 2.0f);
  EXPECT_FLOAT_EQ(out.pointArray[0], 3.0f);
  EXPECT_FLOAT_EQ(out.pointArray[1], 4.0f);
  EXPECT_FLOAT_EQ(out.size.width, 5.0f);
  EXPECT_FLOAT_EQ(out.size.height, 6.0f);
  EXPECT_FLOAT_EQ(out.pair.cx, 7.0f);
  EXPECT_FLOAT_EQ(out.pair.cy, 8.0f);
  EXPECT_FLOAT_EQ(out.rect.left, 0.25f);
  EXPECT_FLOAT_EQ(out.rect.right, 0.75f);
  EXPECT_FLOAT_EQ(out.rect.bottom, 0.75f);
}

TEST(DraftKeyFields, AbsentKeysAndTextsOfTheWrongKindLeaveTheirMembers) {
  Json root = Parse(R"({"text": 5, "nonEmpty": "", "integer": "7", "flag": true})");
  Everything out{};
  std::strcpy(out.text, "before");
  std::strcpy(out.nonEmpty, "before");
  out.real = 1.5f;
  out.integer = 4;
  draftjson::ReadFields(root.get(), kEverything, &out);
  EXPECT_STREQ(out.text, "before");
  EXPECT_STREQ(out.nonEmpty, "before");
  EXPECT_FLOAT_EQ(out.real, 1.5f);
  EXPECT_EQ(out.integer, 0); // present, not a number: the int view reads 0
  EXPECT_TRUE(out.flag);
}

TEST(DraftKeyFields, ADoubleFlagIntoAnIntegerIsZeroForZero) {
  Json root = Parse(R"({"doubleFlag": 0})");
  Everything out{};
  out.doubleFlag = 5;
  draftjson::ReadFields(root.get(), kEverything, &out);
  EXPECT_EQ(out.doubleFlag, 0);
}

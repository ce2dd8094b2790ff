// The reading conventions shared by every reader of the draft.
#include <climits>
#include <cmath>
#include <limits>

#include "draft/json_read.h"
#include "tests/unit/draft_fixture.h"

using namespace drafttest;
using namespace draftjson;

TEST(DraftJsonRead, IntViewTruncatesAndReadsTrueAsOne) {
  Json root = Parse(R"({"a": 2.9, "b": -2.9, "c": true, "d": false, "e": "7", "f": [1], "g": {"x": 1},
                        "h": null, "i": 1e300, "j": -1e300})");
  EXPECT_EQ(IntView(Item(root.get(), "a")), 2);
  EXPECT_EQ(IntView(Item(root.get(), "b")), -2);
  EXPECT_EQ(IntView(Item(root.get(), "c")), 1);
  EXPECT_EQ(IntView(Item(root.get(), "d")), 0);
  EXPECT_EQ(IntView(Item(root.get(), "e")), 0);
  EXPECT_EQ(IntView(Item(root.get(), "f")), 0);
  EXPECT_EQ(IntView(Item(root.get(), "g")), 0);
  EXPECT_EQ(IntView(Item(root.get(), "h")), 0);
  EXPECT_EQ(IntView(Item(root.get(), "i")), INT_MAX);
  EXPECT_EQ(IntView(Item(root.get(), "j")), INT_MIN);
  EXPECT_EQ(IntView(nullptr), 0);
}

TEST(DraftJsonRead, RealViewReadsStringsAndBooleansAsZero) {
  Json root = Parse(R"({"a": 0.5, "b": "0.5", "c": true, "d": 1e300})");
  EXPECT_FLOAT_EQ(RealView(Item(root.get(), "a")), 0.5f);
  EXPECT_FLOAT_EQ(RealView(Item(root.get(), "b")), 0.0f);
  EXPECT_FLOAT_EQ(RealView(Item(root.get(), "c")), 0.0f);
  EXPECT_TRUE(std::isinf(RealView(Item(root.get(), "d"))));
}

TEST(DraftJsonRead, TruncationSaturatesAndMapsNaNToZero) {
  EXPECT_EQ(ToInt32(3.99), 3);
  EXPECT_EQ(ToInt32(-3.99), -3);
  EXPECT_EQ(ToInt32(2147483646.9), 2147483646);
  EXPECT_EQ(ToInt32(2147483647.5), INT32_MAX);
  EXPECT_EQ(ToInt32(-2147483648.9), INT32_MIN);
  EXPECT_EQ(ToInt32(std::numeric_limits<double>::infinity()), INT32_MAX);
  EXPECT_EQ(ToInt32(-std::numeric_limits<double>::infinity()), INT32_MIN);
  EXPECT_EQ(ToInt32(std::nan("")), 0);
  EXPECT_EQ(ToInt64(1.5e6), 1500000);
  EXPECT_EQ(ToInt64(1e19), INT64_MAX);
  EXPECT_EQ(ToInt64(-1e19), INT64_MIN);
  EXPECT_EQ(ToInt64(std::nan("")), 0);
}

TEST(DraftJsonRead, KeysAreFoundWhateverTheirLetterCase) {
  Json root = Parse(R"({"TimeLineFrom": 2.5})");
  float value = 0;
  EXPECT_TRUE(ReadReal(root.get(), "timelineFrom", &value));
  EXPECT_FLOAT_EQ(value, 2.5f);
}

TEST(DraftJsonRead, AbsentKeyLeavesTheFieldUntouched) {
  Json root = Parse(R"({"x": 1})");
  float real = 9;
  int32_t whole = 9;
  char text[8] = "keep";
  EXPECT_FALSE(ReadReal(root.get(), "y", &real));
  EXPECT_FALSE(ReadInt(root.get(), "y", &whole));
  EXPECT_FALSE(ReadText(root.get(), "y", text));
  EXPECT_FLOAT_EQ(real, 9.0f);
  EXPECT_EQ(whole, 9);
  EXPECT_STREQ(text, "keep");
}

TEST(DraftJsonRead, TextIsTruncatedToItsBufferAndNonStringsAreNotCopied) {
  Json root = Parse(R"({"long": "abcdefghijkl", "num": 5, "empty": "", "fmt": "%s%s%n"})");
  char text[8] = "keep";
  EXPECT_FALSE(ReadText(root.get(), "num", text));
  EXPECT_STREQ(text, "keep");
  EXPECT_TRUE(ReadText(root.get(), "long", text));
  EXPECT_STREQ(text, "abcdefg");
  EXPECT_FALSE(ReadTextNonEmpty(root.get(), "empty", text));
  EXPECT_STREQ(text, "abcdefg");
  EXPECT_TRUE(ReadText(root.get(), "empty", text));
  EXPECT_STREQ(text, "");
  for (char c : text)
    EXPECT_EQ(c, '\0');
  EXPECT_TRUE(ReadText(root.get(), "fmt", text));
  EXPECT_STREQ(text, "%s%s%n");
}

TEST(DraftJsonRead, AnOverLongTextIsCutBeforeACharacterThatDoesNotFitAndTheCutIsLogged) {
  std::string accents;
  for (int i = 0; i < 600; ++i)
    accents += "\xC3\xA9"; // é, two bytes
  Json root = Parse(R"({"text": ")" + accents + R"("})");
  char text[1024];
  testing::internal::CaptureStdout();
  EXPECT_TRUE(ReadText(root.get(), "text", text));
  const std::string log = testing::internal::GetCapturedStdout();
  // 1023 bytes would end inside the 512th "é".
  EXPECT_EQ(std::string(text), accents.substr(0, 1022));
  EXPECT_NE(log.find("draft text \"text\" of 1200 bytes cut to 1022, the most the field holds"),
            std::string::npos)
      << log;
  testing::internal::CaptureStdout();
  char roomy[1201];
  EXPECT_TRUE(ReadText(root.get(), "text", roomy));
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "") << "a text that fits is not reported";
}

TEST(DraftJsonRead, RectangleEdgesAreSummedInDoublePrecision) {
  Json root = Parse(R"({"r": {"x": 0.1, "y": 0.2, "width": 16777217, "height": 0.3}})");
  RectF rect{};
  ASSERT_TRUE(ReadRect(root.get(), "r", &rect));
  EXPECT_FLOAT_EQ(rect.right, static_cast<float>(static_cast<double>(0.1f) + 16777217.0));
  EXPECT_FLOAT_EQ(rect.bottom, static_cast<float>(static_cast<double>(0.2f) + 0.3));
}

TEST(DraftJsonRead, SourceIsTheOwnArrayWhenItHasElementsElsePipList) {
  Json own = Parse(R"({"tonings": [{}], "pipList": [{}]})");
  ElementSource source = ChooseSource(own.get(), "tonings");
  EXPECT_EQ(source.array, Item(own.get(), "tonings"));
  EXPECT_FALSE(source.filtered);
  Json fallback = Parse(R"({"tonings": [], "pipList": "not an array"})");
  source = ChooseSource(fallback.get(), "tonings");
  EXPECT_EQ(source.array, Item(fallback.get(), "pipList"));
  EXPECT_TRUE(source.filtered);
  EXPECT_EQ(ElementCount(source.array), 0);
  Json none = Parse(R"({})");
  EXPECT_EQ(ChooseSource(none.get(), "tonings").array, nullptr);
}

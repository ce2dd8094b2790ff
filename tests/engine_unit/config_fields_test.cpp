#include <gtest/gtest.h>

#include "engine/core/config_fields.h"

namespace {

struct Style {
  std::string direction = "left";
  float softness = 0.25f;
  int frames = 3;
  bool reverse = false;
  orma::Rgba color{1, 1, 1, 1};
  std::vector<float> padding;
  std::string name;
};

const orma::FieldSpec<Style> kStyle[] = {
    {"direction", &Style::direction, orma::Choices("left|right|up|down")},
    {"softness", &Style::softness, orma::Range(0, 1)},
    {"frames", &Style::frames, orma::Range(1, 100)},
    {"reverse", &Style::reverse},
    {"color", &Style::color},
    {"padding", &Style::padding, orma::Range(0, 1000)},
    {"name", &Style::name, orma::Range(), true},
};

bool Read(const char* json, Style* style, std::string* error) {
  cJSON* root = cJSON_Parse(json);
  bool ok = orma::ReadFields(root, kStyle, style, "fx/config.json", error);
  cJSON_Delete(root);
  return ok;
}

TEST(ConfigFields, AbsentFieldsKeepTheirDefaults) {
  Style s;
  std::string error;
  ASSERT_TRUE(Read(R"({"name": "a"})", &s, &error)) << error;
  EXPECT_EQ(s.direction, "left");
  EXPECT_FLOAT_EQ(s.softness, 0.25f);
  EXPECT_EQ(s.frames, 3);
}

TEST(ConfigFields, ReadsEveryKind) {
  Style s;
  std::string error;
  ASSERT_TRUE(Read(R"({"name": "a", "Direction": "UP", "softness": 0.5, "frames": 7, "reverse": true,
      "color": "#ff000080", "padding": [1, 2.5]})",
                   &s, &error))
      << error;
  EXPECT_EQ(s.direction, "up");
  EXPECT_FLOAT_EQ(s.softness, 0.5f);
  EXPECT_EQ(s.frames, 7);
  EXPECT_TRUE(s.reverse);
  EXPECT_FLOAT_EQ(s.color[0], 1.0f);
  EXPECT_NEAR(s.color[3], 128 / 255.0f, 1e-6);
  EXPECT_EQ(s.padding, (std::vector<float>{1, 2.5f}));
}

TEST(ConfigFields, MessagesNameTheFileAndTheField) {
  Style s;
  std::string error;
  EXPECT_FALSE(Read(R"({"name": "a", "softness": 2})", &s, &error));
  EXPECT_EQ(error, "fx/config.json: \"softness\" must be from 0 to 1, not 2");
  EXPECT_FALSE(Read(R"({"name": "a", "direction": "sideways"})", &s, &error));
  EXPECT_EQ(error, "fx/config.json: \"direction\" must be one of left,right,up,down, not \"sideways\"");
  EXPECT_FALSE(Read(R"({"name": "a", "frames": 2.5})", &s, &error));
  EXPECT_EQ(error, "fx/config.json: \"frames\" must be a whole number");
  EXPECT_FALSE(Read(R"({"softness": 0})", &s, &error));
  EXPECT_EQ(error, "fx/config.json: \"name\" is required");
  EXPECT_FALSE(Read(R"({"name": "a", "color": [1, 2, 0]})", &s, &error));
  EXPECT_NE(error.find("\"color\" must be a colour"), std::string::npos);
  EXPECT_FALSE(Read(R"({"name": "a", "padding": [1, "x"]})", &s, &error));
  EXPECT_EQ(error, "fx/config.json: \"padding[1]\" must be a number");
  EXPECT_FALSE(Read(R"([1])", &s, &error));
  EXPECT_EQ(error, "fx/config.json: expected an object");
}

TEST(ConfigFields, LoadConfigFileNamesTheProblem) {
  std::string error;
  EXPECT_EQ(orma::LoadConfigFile("/nonexistent/config.json", &error), nullptr);
  EXPECT_EQ(error, "/nonexistent/config.json: cannot be read");
}

} // namespace

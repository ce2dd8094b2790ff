#include "export/export_settings.h"

#include "tests/unit/export_fixtures.h"

TEST(ExportSettings, DefaultsAreTheLibrarysUsualOutput) {
  ExportSettings s = DefaultExportSettings();
  EXPECT_STREQ(s.videoCodec, "libx264");
  EXPECT_EQ(s.fps, 25.0);
}

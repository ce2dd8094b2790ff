#include <gtest/gtest.h>
TEST(ExportStickers, Placeholder) {}

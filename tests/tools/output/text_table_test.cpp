#include "tools/output/text_table.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace norv::tools {
namespace {

TEST(TextTable, ColumnsAreAsWideAsTheirWidestCell) {
  EXPECT_EQ(alignTable({{"size", "fx"}, {"640x480", "1"}, {"1", "1000.5"}}, 2),
            "  size         fx\n"
            "  640x480       1\n"
            "  1        1000.5\n");
}

TEST(TextTable, RowsMayEndEarly) {
  EXPECT_EQ(alignTable({{"a", "b", ""}, {"c"}, {"d", "e", "(note)"}}, 0),
            "a  b\n"
            "c\n"
            "d  e  (note)\n");
}

TEST(TextTable, NothingIsNothing) { EXPECT_EQ(alignTable({}, 2), ""); }

TEST(FormatFixed, ZeroHasNoSign) {
  EXPECT_EQ(formatFixed(-0.0, 3), "0.000");
  EXPECT_EQ(formatFixed(-0.0004, 3), "0.000");
  EXPECT_EQ(formatFixed(-0.0006, 3), "-0.001");
  EXPECT_EQ(formatFixed(12.3456, 2), "12.35");
  EXPECT_EQ(formatFixed(-12.0, 0), "-12");
  EXPECT_EQ(formatFixed(NAN, 2), "nan");
  EXPECT_EQ(formatFixed(std::copysign(NAN, -1.0F), 2), "nan");
  EXPECT_EQ(formatFixed(-INFINITY, 2), "-inf");
}

}  // namespace
}  // namespace norv::tools

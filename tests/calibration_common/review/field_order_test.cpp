#include "calibration_common/review/field_order.h"

#include <gtest/gtest.h>

#include "proto/norv_robot_calibration.pb.h"

namespace norv::internal::review {
namespace {

std::vector<int> order(const std::string& path) {
  return fieldOrder(*calibration::RobotCalibration::descriptor(), path);
}

using Key = std::vector<int>;

TEST(FieldOrderTest, IsTheFieldNumbersAndIndicesOfAPath) {
  EXPECT_EQ(order(""), Key{});
  EXPECT_EQ(order("camera_calibration"), (Key{1, -1}));
  EXPECT_EQ(order("camera_calibration[12]"), (Key{1, 12}));
  EXPECT_EQ(order("camera_calibration[0].intrinsics.radial[2]"), (Key{1, 0, 1, -1, 6, 2}));
  EXPECT_EQ(order("camera_calibration[3].extrinsics.a"), (Key{1, 3, 2, -1, 1, -1}));
}

TEST(FieldOrderTest, TakesUnknownFieldsByTheirNumber) {
  EXPECT_EQ(order("camera_calibration[3].intrinsics.15"), (Key{1, 3, 1, -1, 15, -1}));
  EXPECT_EQ(order("7"), (Key{7, -1}));
}

TEST(FieldOrderTest, EndsWhereThePathLeadsNowhere) {
  EXPECT_EQ(order("nothing.of.this"), Key{});
  EXPECT_EQ(order("camera_calibration[1].name.more"), (Key{1, 1, 3, -1}));
  EXPECT_EQ(order("camera_calibration[].."), (Key{1, -1}));
}

TEST(FieldOrderTest, PutsMessagesAndListsBeforeWhatIsInThem) {
  EXPECT_LT(order("camera_calibration[1]"), order("camera_calibration[1].intrinsics"));
  EXPECT_LT(order("camera_calibration[1].intrinsics.radial"),
            order("camera_calibration[1].intrinsics.radial[0]"));
  EXPECT_LT(order("camera_calibration[1].intrinsics.radial[9]"),
            order("camera_calibration[1].intrinsics.radial[10]"));
  EXPECT_LT(order("camera_calibration[1].name"), order("camera_calibration[2].intrinsics"));
}

}  // namespace
}  // namespace norv::internal::review

#include "tools/convert/message_losses.h"

#include <gmock/gmock.h>
#include <google/protobuf/unknown_field_set.h>
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "proto/norv_robot_calibration.pb.h"
#include "testing/review_findings.h"

namespace norv::tools {
namespace {

using calibration::RobotCalibration;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// The differences after `edit` has changed a copy of the compiled-in cameras.
template <class Edit>
std::vector<std::string> after(const Edit& edit) {
  RobotCalibration copy = testing::defaultRobot();
  edit(&copy);
  return listDifferences(testing::defaultRobot(), copy);
}

template <class Edit>
std::vector<std::string> afterLens(const Edit& edit) {
  return after([&](RobotCalibration* robot) {
    edit(robot->mutable_camera_calibration(0)->mutable_intrinsics());
  });
}

TEST(MessageLosses, NoneInACopy) {
  EXPECT_THAT(after([](auto* /*robot*/) {}), IsEmpty());
}

TEST(MessageLosses, ValuesToTheLastBit) {
  EXPECT_THAT(afterLens([](auto* in) { in->set_fx(std::nextafter(in->fx(), 1)); }),
              ElementsAre("camera_calibration[0].intrinsics.fx"));
  EXPECT_THAT(afterLens([](auto* in) { in->set_skew(-0.0); }),
              ElementsAre("camera_calibration[0].intrinsics.skew"));
  EXPECT_THAT(afterLens([](auto* in) { in->mutable_samples(7)->set_image_x(std::nanf("")); }),
              ElementsAre("camera_calibration[0].intrinsics.samples[7].image_x"));
  EXPECT_THAT(afterLens([](auto* in) { in->set_radial(2, 1); }),
              ElementsAre("camera_calibration[0].intrinsics.radial[2]"));
  EXPECT_THAT(after([](auto* robot) { robot->mutable_camera_calibration(1)->set_name("x"); }),
              ElementsAre("camera_calibration[1].name"));
}

TEST(MessageLosses, WhatIsThereAndWhatIsNot) {
  // The compiled-in skew is 0, which is there.
  EXPECT_THAT(afterLens([](auto* in) { in->clear_skew(); }),
              ElementsAre("camera_calibration[0].intrinsics.skew"));
  EXPECT_THAT(afterLens([](auto* in) { in->add_tangential(0); }),
              ElementsAre("camera_calibration[0].intrinsics.tangential[2]"));
  EXPECT_THAT(after([](auto* robot) { robot->add_camera_calibration(); }),
              ElementsAre("camera_calibration[2]"));
}

TEST(MessageLosses, UnknownFieldsByTheirNumbers) {
  const auto add = [](google::protobuf::Message* message, int number, const char* value) {
    message->GetReflection()->MutableUnknownFields(message)->AddLengthDelimited(number, value);
  };
  RobotCalibration original = testing::defaultRobot();
  add(&original, 100, "a");
  add(&original, 100, "b");
  add(original.mutable_camera_calibration(1)->mutable_extrinsics(), 9, "c");
  EXPECT_THAT(listDifferences(original, original), IsEmpty());
  EXPECT_THAT(listDifferences(original, testing::defaultRobot()),
              ElementsAre("100", "camera_calibration[1].extrinsics.9"));
  RobotCalibration fewer = testing::defaultRobot();
  add(&fewer, 100, "a");
  add(fewer.mutable_camera_calibration(1)->mutable_extrinsics(), 9, "c");
  EXPECT_THAT(listDifferences(original, fewer), ElementsAre("100"));
}

}  // namespace
}  // namespace norv::tools

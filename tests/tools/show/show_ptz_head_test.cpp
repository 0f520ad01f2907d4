// What the verb `show` says of the reach of a pan-tilt head, and of pointing with it, run as the
// user runs it.

#include <gmock/gmock.h>
#include <google/protobuf/text_format.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <string>

#include "testing/example_ptz.h"
#include "testing/random_head.h"
#include "testing/temporary_folder.h"
#include "tests/tools/run_tool.h"
#include "tests/tools/show/plain_ptz.h"

namespace norv {
namespace {

using calibration::PTZCameraParameters;
using nlohmann::json;
using testing::examplePtz;
using ::testing::HasSubstr;
using testing::kRadians;
using ::testing::Not;
using testing::plainPtz;
using testing::storePose;
using testing::TemporaryFolder;
using testing::toolJson;
using testing::toolOutput;
using testing::turnZ;

/// The head turned in its own description: the same poses, the optical axis at this azimuth.
PTZCameraParameters turnedPtz(double azimuth) {
  PTZCameraParameters ptz = examplePtz();
  testing::turnPanFrame(azimuth, ptz.mutable_pan_tilt());
  return ptz;
}

TEST(ShowPtz, ReachOfTheExample) {
  const TemporaryFolder folder;
  const std::string path = folder.write("ptz", examplePtz().SerializeAsString());
  // At the limits of tilt, t = -29.994 and 89.983 degrees, the optical axis passes 12 mm above the
  // tilt axis, which is 25 mm ahead of the pan axis, and so comes to the elevation e that has
  // 5000 sin(e - t) + 25 sin t = 12.
  EXPECT_THAT(toolOutput("show '" + path + "'"), HasSubstr("  azimuth deg  elevation deg\n"
                                                           "  -180                  none\n"
                                                           "  -150 to 150  -29.7 to 89.8\n"
                                                           "  blind cone: none but"));
  const json reach = toolJson("show '" + path + "'")["reach"];
  EXPECT_EQ(reach["distance_metres"], 5);
  EXPECT_NEAR(reach["centre"][2].get<double>(), 1.26, 1e-7);
  ASSERT_EQ(reach["directions"].size(), 36U);
  EXPECT_EQ(reach["directions"][0]["azimuth_degrees"], -180);
  EXPECT_EQ(reach["directions"][0]["elevations_degrees"], json::array());
  const json& ahead = reach["directions"][18];
  EXPECT_EQ(ahead["azimuth_degrees"], 0);
  ASSERT_EQ(ahead["elevations_degrees"].size(), 1U);
  const double tilt = -1047 * static_cast<double>(0.0005F);
  // The 2 mm by which the optical axis passes the pan axis count by their square.
  EXPECT_NEAR(ahead["elevations_degrees"][0][0].get<double>() * kRadians,
              tilt + std::asin((0.012 - 0.025 * std::sin(tilt)) / 5), 2e-6);
  EXPECT_EQ(reach["blind_cone_degrees"], (json{0, 0}));
}

TEST(ShowPtz, BlindConeOfASkewHead) {
  PTZCameraParameters ptz = plainPtz();
  Eigen::Matrix4d skew = Eigen::Matrix4d::Identity();
  skew.topLeftCorner<3, 3>() =
      Eigen::AngleAxisd(30 * kRadians, Eigen::Vector3d::UnitX()).toRotationMatrix();
  calibration::PanTiltSystemParameters* head = ptz.mutable_pan_tilt();
  storePose(skew * testing::readPose(head->pan_to_tilt()), head->mutable_pan_to_tilt());
  const TemporaryFolder folder;
  const std::string path = folder.write("ptz", ptz.SerializeAsString());
  EXPECT_THAT(
      toolOutput("show '" + path + "'"),
      HasSubstr("  blind cone: whatever the motors do, the optical axis stays 30.00 deg away from\n"
                "    the pan frame's z, and 30.00 deg from the opposite direction\n"));
  const json cone = toolJson("show '" + path + "'")["reach"]["blind_cone_degrees"];
  EXPECT_NEAR(cone[0].get<double>(), 30, 1e-9);
  EXPECT_NEAR(cone[1].get<double>(), 30, 1e-9);
}

TEST(ShowPtz, ReachOfHeadsThatHaveNone) {
  PTZCameraParameters ptz = examplePtz();
  const TemporaryFolder folder;
  const auto show = [&] { return "show '" + folder.write("ptz", ptz.SerializeAsString()) + "'"; };
  storePose({1, 0, 0, -25, 0, 1, 0, 0, 0, 0, 1, 0}, ptz.mutable_pan_tilt()->mutable_pan_to_tilt());
  EXPECT_THAT(toolOutput(show()), HasSubstr("\nreach (docs/pan_tilt_heads.md)\n"
                                            "  nothing can be centred, five metres away\n\n"));
  EXPECT_EQ(toolJson(show())["reach"]["centre"], (json{nullptr, nullptr, nullptr}));
  ptz.mutable_pan_tilt()->mutable_pan_to_tilt()->set_a(0, 2);
  EXPECT_THAT(toolOutput(show()), Not(HasSubstr("reach (docs")));
  EXPECT_TRUE(toolJson(show())["reach"].is_null());
}

TEST(ShowPtz, HeadThatPointingDoesNotServe) {
  const TemporaryFolder folder;
  const std::string path = folder.write("ptz", turnedPtz(60 * kRadians).SerializeAsString());
  const std::string text = toolOutput("show '" + path + "'");
  EXPECT_THAT(text,
              HasSubstr("azimuth 60.00 deg,\n    elevation 0.00 deg, 2.00 mm from the pan axis\n"));
  EXPECT_THAT(text, HasSubstr("  note: the optical axis at zero tilt has the azimuth 60 deg in the "
                              "pan frame,\n    60 deg from 0 or 180 deg, more than 0.05 deg:"));
  EXPECT_THAT(text, Not(HasSubstr("this head is served")));
  EXPECT_THAT(text, HasSubstr("\nthe same head in a frame that pointing serves, every pose as it "
                              "was:\n\npan_tilt {\n  base_to_pan {\n"));
}

TEST(ShowPtz, BlockToPasteIsTheSameHeadInAServedFrame) {
  const TemporaryFolder folder;
  for (const double azimuth : {30.0, 90.0, -135.0, 179.0}) {
    const PTZCameraParameters ptz = turnedPtz(azimuth * kRadians);
    const std::string path = folder.write("ptz", ptz.SerializeAsString());
    const std::string text = toolOutput("show '" + path + "'");
    const std::size_t begin = text.find("\npan_tilt {") + 1;
    const std::string block = text.substr(begin, text.find("\n\n", begin) + 1 - begin);
    EXPECT_EQ(toolJson("show '" + path + "'")["better_pan_tilt"], block);

    PTZCameraParameters pasted;
    ASSERT_TRUE(google::protobuf::TextFormat::ParseFromString(block, &pasted));
    *pasted.mutable_intrinsics() = ptz.intrinsics();
    // turnedPtz turned the example head, whose azimuth is 0. Stored to 12 decimals.
    for (int i = 0; i < 12; ++i) {
      EXPECT_NEAR(pasted.pan_tilt().base_to_pan().a(i), examplePtz().pan_tilt().base_to_pan().a(i),
                  1e-9);
      EXPECT_NEAR(pasted.pan_tilt().pan_to_tilt().a(i), examplePtz().pan_tilt().pan_to_tilt().a(i),
                  1e-9);
      EXPECT_EQ(pasted.pan_tilt().tilt_to_camera().a(i),
                examplePtz().pan_tilt().tilt_to_camera().a(i));
    }
    EXPECT_EQ(pasted.pan_tilt().max_tilt(), 3141);
    const std::string again = folder.write("pasted.txt", pasted.DebugString());
    EXPECT_THAT(toolOutput("show '" + again + "'"), HasSubstr("  this head is served"));
  }
}

TEST(ShowPtz, HeadWithItsZeroOfTiltElsewhere) {
  // The camera looks up by 60 degrees at zero tilt.
  PTZCameraParameters ptz = examplePtz();
  calibration::PanTiltSystemParameters* head = ptz.mutable_pan_tilt();
  storePose(testing::readPose(head->tilt_to_camera()) * turnZ(60 * kRadians),
            head->mutable_tilt_to_camera());
  const TemporaryFolder folder;
  const std::string text =
      toolOutput("show '" + folder.write("ptz", ptz.SerializeAsString()) + "'");
  EXPECT_THAT(text, HasSubstr("elevation 60.00 deg"));
  EXPECT_THAT(text, HasSubstr("  targets from -8.2 to 90.0 deg of elevation are found\n"
                              "  note: the optical axis at zero tilt has the elevation 60 deg in "
                              "the pan frame,\n    outside 0 to 30 deg"));
  EXPECT_THAT(text, HasSubstr("every pose as it was (zero tilt\nmoved by -60.00 deg):\n"));
}

TEST(ShowPtz, WhatElsePointingCannotDo) {
  PTZCameraParameters ptz = examplePtz();
  ptz.mutable_pan_tilt()->mutable_tilt_to_camera()->set_a(3, 4);
  const TemporaryFolder folder;
  EXPECT_EQ(toolJson("show '" + folder.write("a", ptz.SerializeAsString()) + "'")["pointing_notes"],
            (json{"the optical axis passes the pan axis at 4 mm, more than 3.16228 mm: a target "
                  "exactly on the pan axis is missed"}));
  ptz = examplePtz();
  ptz.mutable_pan_tilt()->clear_tilt_scale();
  EXPECT_EQ(toolJson("show '" + folder.write("b", ptz.SerializeAsString()) + "'")["pointing_notes"],
            (json{"tilt_scale is missing and counts as 0: nothing can be pointed at"}));
  // A tilt axis 2 degrees out of level; what follows it is turned back.
  ptz = examplePtz();
  calibration::PanTiltSystemParameters* head = ptz.mutable_pan_tilt();
  Eigen::Matrix4d roll = Eigen::Matrix4d::Identity();
  roll.topLeftCorner<3, 3>() =
      Eigen::AngleAxisd(2 * kRadians, Eigen::Vector3d::UnitX()).toRotationMatrix();
  storePose(roll * testing::readPose(head->pan_to_tilt()), head->mutable_pan_to_tilt());
  storePose(testing::readPose(head->tilt_to_camera()) * roll.inverse(),
            head->mutable_tilt_to_camera());
  const json document = toolJson("show '" + folder.write("c", ptz.SerializeAsString()) + "'");
  EXPECT_NEAR(document["tilt_axis_error_degrees"].get<double>(), 2, 1e-9);
  EXPECT_EQ(document["pointing_notes"],
            (json{"the tilt axis is 2 deg from square to the pan axis and the optical axis, more "
                  "than 1 deg: pointing misses part of the targets"}));
}

/// What `show` says against pointing with a head.
json pointingNotes(const PTZCameraParameters& ptz) {
  const TemporaryFolder folder;
  const std::string path = folder.write("ptz", ptz.SerializeAsString());
  const std::string text = toolOutput("show '" + path + "'");
  EXPECT_THAT(text, Not(HasSubstr("this head is served")));
  EXPECT_THAT(text, Not(HasSubstr("nan deg from square")));
  return toolJson("show '" + path + "'")["pointing_notes"];
}

TEST(ShowPtz, PosesThatAreNoRotations) {
  PTZCameraParameters scaled = examplePtz();
  for (const int i : {0, 5, 10}) {
    scaled.mutable_pan_tilt()->mutable_base_to_pan()->set_a(i, 2);
  }
  EXPECT_EQ(pointingNotes(scaled),
            json::array({"base_to_pan.a: the rotation R misses R R^T = 1 by 3, more than 0.01"}));
  PTZCameraParameters singular = examplePtz();
  for (int i = 0; i < 3; ++i) {
    singular.mutable_pan_tilt()->mutable_tilt_to_camera()->set_a(i, 0);
  }
  EXPECT_EQ(
      pointingNotes(singular),
      json::array({"tilt_to_camera.a: the rotation R misses R R^T = 1 by 1, more than 0.01"}));
  PTZCameraParameters mirrored = examplePtz();
  for (int i = 0; i < 3; ++i) {
    auto* pose = mirrored.mutable_pan_tilt()->mutable_pan_to_tilt();
    pose->set_a(i, -pose->a(i));
  }
  EXPECT_EQ(pointingNotes(mirrored),
            json::array({"pan_to_tilt.a: the rotation has the determinant -1, below 0, and so "
                         "mirrors what is seen"}));
}

TEST(ShowPtz, MotorsThatCannotWork) {
  PTZCameraParameters ptz = examplePtz();
  ptz.mutable_pan_tilt()->set_min_pan(100);
  ptz.mutable_pan_tilt()->set_max_pan(-100);
  EXPECT_EQ(pointingNotes(ptz), json::array({"min_pan is 100, above max_pan, -100"}));
  ptz = examplePtz();
  ptz.mutable_pan_tilt()->set_tilt_scale(std::nanf(""));
  ptz.mutable_pan_tilt()->set_pan_offset(std::numeric_limits<float>::infinity());
  EXPECT_EQ(pointingNotes(ptz),
            json::array({"tilt_scale is nan, where the radians per step are needed, finite and not "
                         "0",
                         "pan_offset is inf, where a finite number up to 3.40282e+38 is needed"}));
}

TEST(ShowPtz, OpticalAxisAlongThePanAxis) {
  PTZCameraParameters ptz = examplePtz();
  for (auto* pose : {ptz.mutable_pan_tilt()->mutable_pan_to_tilt(),
                     ptz.mutable_pan_tilt()->mutable_tilt_to_camera()}) {
    pose->Clear();
    for (const double a : {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0}) pose->add_a(a);
  }
  const TemporaryFolder folder;
  const std::string path = folder.write("ptz", ptz.SerializeAsString());
  EXPECT_THAT(
      toolOutput("show '" + path + "'"),
      HasSubstr("\n  tilt axis: not known, since the optical axis runs along the pan axis\n"));
  EXPECT_EQ(pointingNotes(ptz).size(), 2U);
}

}  // namespace
}  // namespace norv

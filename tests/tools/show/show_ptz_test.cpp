// The verb `show` on a pan-tilt-zoom camera, run as the user runs it.

#include <gmock/gmock.h>
#include <google/protobuf/text_format.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>

#include "testing/example_ptz.h"
#include "testing/random_head.h"
#include "testing/temporary_folder.h"
#include "testing/tree_calibrations.h"
#include "tests/tools/run_tool.h"

namespace norv {
namespace {

using calibration::PTZCameraParameters;
using nlohmann::json;
using ::testing::EndsWith;
using testing::examplePtz;
using testing::expectToolRefuses;
using ::testing::HasSubstr;
using testing::kRadians;
using ::testing::Not;
using ::testing::StartsWith;
using testing::storePose;
using testing::TemporaryFolder;
using testing::toolJson;
using testing::toolOutput;
using testing::turnZ;

/// Two lens samples without distortion, 90 and 53.13 degrees across, and the example head without
/// upper limits.
PTZCameraParameters plainPtz() {
  PTZCameraParameters ptz = examplePtz();
  calibration::PTZIntrinsicsTable* lens = ptz.mutable_intrinsics();
  *lens = testing::pinholeLens();
  lens->mutable_samples()->DeleteSubrange(2, lens->samples_size() - 2);
  lens->mutable_samples(0)->set_focal_length(960);
  lens->mutable_samples(1)->set_focal_length(1920);
  ptz.mutable_pan_tilt()->clear_max_pan();
  ptz.mutable_pan_tilt()->clear_max_tilt();
  ptz.mutable_pan_tilt()->set_home_tilt(1000);
  return ptz;
}

/// The head turned in its own description: the same poses, the optical axis at this azimuth.
PTZCameraParameters turnedPtz(double azimuth) {
  PTZCameraParameters ptz = examplePtz();
  testing::turnPanFrame(azimuth, ptz.mutable_pan_tilt());
  return ptz;
}

TEST(ShowPtz, WholeText) {
  const TemporaryFolder folder;
  const std::string path = folder.write("ptz.txt", plainPtz().DebugString());
  // 2 atan(540 / 960) = 58.72 degrees, 2 atan(0.5) = 53.13, 2 atan(540 / 1920) = 31.42; 5934 steps
  // of 0.0005 rad are 170.00 degrees, 1047 are 29.99, 1000 are 28.65.
  EXPECT_EQ(toolOutput("show '" + path + "'"),
            path +
                ": pan-tilt-zoom camera\n"
                "\n"
                "lens, image 1920x1080, zoom position 0 and every 1000 steps\n"
                "  zoom  factor  focal px       view deg   cx   cy\n"
                "  0      1.000       960  90.00 x 58.72  960  540\n"
                "  1000   2.000      1920  53.13 x 31.42  960  540\n"
                "\n"
                "  zoom  k1  k4  p1  p2\n"
                "  0      0   0   0   0\n"
                "  1000   0   0   0   0\n"
                "  the lens is known before the last sample, zoom position 1000, only\n"
                "\n"
                "head\n"
                "  base to pan     1  0   0    -0.1 m\n"
                "                  0  1   0       0 m\n"
                "                  0  0   1    -1.2 m\n"
                "  pan to tilt     1  0   0  -0.025 m\n"
                "                  0  0  -1    0.06 m\n"
                "                  0  1   0       0 m\n"
                "  tilt to camera  0  0  -1   0.002 m\n"
                "                  0  1   0   0.012 m\n"
                "                  1  0   0   -0.03 m\n"
                "\n"
                "  motor                    pan                tilt\n"
                "  step              0.0005 rad          0.0005 rad\n"
                "  zero                       0                   0\n"
                "  lowest   -5934 (-170.00 deg)  -1047 (-29.99 deg)\n"
                "  highest                 none                none\n"
                "  home                    none    1000 (28.65 deg)\n"
                "\n"
                "reach (docs/pan_tilt_heads.md)\n"
                "  what can be centred, 5 m from (0.100, 0.000, 1.260) m\n"
                "  azimuth deg  elevation deg\n"
                "  -180 to 150  -90.0 to 90.0\n"
                "  blind cone: none but by the limits of the motors\n"
                "\n"
                "pointing (docs/pan_tilt_heads.md)\n"
                "  optical axis at zero tilt, in the pan frame: azimuth 0.00 deg,\n"
                "    elevation 0.00 deg, 2.00 mm from the pan axis\n"
                "  tilt axis: 0.00 deg from square to the pan axis and the optical axis\n"
                "  targets from -90.0 to 90.0 deg of elevation are found\n"
                "  this head is served, targets on the pan axis included\n"
                "\n"
                "camera-parameters validate finds no error and no warning\n");
}

TEST(ShowPtz, BinaryAndTextShowTheSame) {
  const TemporaryFolder folder;
  const std::string text = folder.write("text", examplePtz().DebugString());
  const std::string binary = folder.write("binary", examplePtz().SerializeAsString());
  json of_text = toolJson("show '" + text + "'");
  json of_binary = toolJson("show '" + binary + "'");
  EXPECT_EQ(of_text["source"], text);
  EXPECT_EQ(of_binary["source"], binary);
  of_text.erase("source");
  of_binary.erase("source");
  EXPECT_EQ(of_text, of_binary);
}

TEST(ShowPtz, JsonForPrograms) {
  const TemporaryFolder folder;
  const json document =
      toolJson("show '" + folder.write("ptz", plainPtz().SerializeAsString()) + "' --kind ptz");
  EXPECT_EQ(document["image_size"], (json{1920, 1080}));
  EXPECT_EQ(document["zoom_interval"], 1000);
  EXPECT_EQ(document["samples"].size(), 2U);
  const json& sample = document["samples"][1];
  EXPECT_EQ(sample["zoom"], 1000);
  EXPECT_EQ(sample["zoom_factor"], 2);
  EXPECT_EQ(sample["principal_point"], (json{960, 540}));
  EXPECT_NEAR(sample["view_degrees"][0].get<double>(), 2 * std::atan(0.5) / kRadians, 1e-5);
  EXPECT_EQ(document["notes"], json::array());
  EXPECT_EQ(document["pan_to_tilt"][1][2], -1);
  EXPECT_EQ(document["pan_range"], (json{-5934, nullptr}));
  EXPECT_EQ(document["tilt_range"], (json{-1047, nullptr}));
  EXPECT_EQ(document["home"], (json{nullptr, 1000}));
  EXPECT_EQ(document["optical_axis_azimuth_degrees"], 0);
  EXPECT_EQ(document["optical_axis_elevation_degrees"], 0);
  EXPECT_NEAR(document["optical_axis_from_pan_axis_metres"].get<double>(), 0.002, 1e-12);
  EXPECT_EQ(document["tilt_axis_error_degrees"], 0);
  EXPECT_EQ(document["pointing_notes"], json::array());
  EXPECT_TRUE(document["better_pan_tilt"].is_null());
}

TEST(ShowPtz, ZoomRange) {
  PTZCameraParameters ptz = plainPtz();
  const TemporaryFolder folder;
  const auto show = [&](const char* more) {
    return "show '" + folder.write("ptz", ptz.SerializeAsString()) + "'" + more;
  };
  EXPECT_EQ(toolJson(show(""))["zoom_range"], (json{nullptr, nullptr}));
  ptz.mutable_intrinsics()->set_max_zoom(900);
  EXPECT_THAT(toolOutput(show("")), HasSubstr("\n  the zoom motor goes to 900\n"));
  ptz.mutable_intrinsics()->set_min_zoom(50);
  EXPECT_THAT(toolOutput(show("")), HasSubstr("\n  the zoom motor goes from 50 to 900\n"));
  EXPECT_EQ(toolJson(show(""))["zoom_range"], (json{50, 900}));
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

TEST(ShowPtz, ViewThroughADistortedLens) {
  // Inverting (1 + k1 s) / (1 + k4 s) for a point 1 away from the axis: at k1 = -0.1 and k4 = 0.2,
  // r = 1 is seen at 0.9 / 1.2 = 0.75 focal lengths, so that 960 px are 45 degrees at f = 1280.
  PTZCameraParameters ptz = plainPtz();
  for (auto& sample : *ptz.mutable_intrinsics()->mutable_samples()) {
    sample.set_focal_length(1280);
    sample.set_k1(-0.1);
    sample.set_k4(0.2);
  }
  const TemporaryFolder folder;
  const json document = toolJson("show '" + folder.write("ptz", ptz.SerializeAsString()) + "'");
  EXPECT_NEAR(document["samples"][0]["view_degrees"][0].get<double>(), 90, 1e-5);
}

TEST(ShowPtz, ViewThatTheLensDoesNotReach) {
  PTZCameraParameters ptz = plainPtz();
  ptz.mutable_intrinsics()->mutable_samples(0)->set_k1(-1);
  const TemporaryFolder folder;
  const json document = toolJson("show '" + folder.write("ptz", ptz.SerializeAsString()) + "'");
  EXPECT_TRUE(document["samples"][0]["view_degrees"][0].is_null());
}

TEST(ShowPtz, TablesThatAreNotAsTheLibraryTakesThem) {
  PTZCameraParameters ptz = plainPtz();
  ptz.mutable_intrinsics()->mutable_samples(1)->set_zoom(900);
  ptz.mutable_intrinsics()->mutable_samples(1)->set_focal_length(960);
  const TemporaryFolder folder;
  EXPECT_EQ(toolJson("show '" + folder.write("a", ptz.SerializeAsString()) + "'")["notes"],
            (json{"samples[1].zoom: the sample is at zoom position 900, where zoom_start and "
                  "zoom_interval say 1000 within 0.5",
                  "samples[1].focal_length is 960, not above the 960 of the sample before"}));
  // Of a warning only the number is shown.
  ptz.mutable_intrinsics()->mutable_samples()->RemoveLast();
  const json one = toolJson("show '" + folder.write("b", ptz.SerializeAsString()) + "'");
  EXPECT_EQ(one["notes"], json::array());
  EXPECT_EQ(one["errors"], 0);
  EXPECT_EQ(one["warnings"], 1);
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

TEST(ShowPtz, ValuesThatAreNotFinite) {
  PTZCameraParameters ptz = examplePtz();
  ptz.mutable_intrinsics()->mutable_samples(3)->set_focal_length(std::nan(""));
  ptz.mutable_pan_tilt()->mutable_pan_to_tilt()->set_a(0, std::numeric_limits<double>::infinity());
  const TemporaryFolder folder;
  const std::string path = folder.write("ptz", ptz.SerializeAsString());
  const json document = toolJson("show '" + path + "'");
  EXPECT_TRUE(document["samples"][3]["focal_length"].is_null());
  EXPECT_TRUE(document["optical_axis_azimuth_degrees"].is_null());
  EXPECT_TRUE(document["better_pan_tilt"].is_null());
  EXPECT_THAT(
      toolOutput("show '" + path + "'"),
      EndsWith("\npointing (docs/pan_tilt_heads.md)\n"
               "  note: pan_to_tilt.a[0] is inf, where a finite number up to 3.40282e+38 is\n"
               "    needed\n"
               "\n"
               "2 errors, 0 warnings; camera-parameters validate says which\n"));
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

TEST(ShowPtz, LensesThatCannotBe) {
  PTZCameraParameters ptz = plainPtz();
  ptz.mutable_intrinsics()->set_image_height(0);
  ptz.mutable_intrinsics()->mutable_samples(0)->set_focal_length(0);
  ptz.mutable_intrinsics()->mutable_samples(1)->set_k4(std::nan(""));
  const TemporaryFolder folder;
  const std::string path = folder.write("ptz", ptz.SerializeAsString());
  EXPECT_EQ(
      toolJson("show '" + path + "'")["notes"],
      json::array({"image_height is 0, below 1", "samples[0].focal_length is 0, not above 0",
                   "samples[1].k4 is nan, where a finite number up to 3.40282e+38 is needed"}));
  EXPECT_THAT(toolOutput("show '" + path + "'"),
              HasSubstr("\n  note: image_height is 0, below 1\n"));
}

TEST(ShowPtz, DigitsReadBackAsTheSameNumber) {
  PTZCameraParameters ptz = plainPtz();
  ptz.mutable_intrinsics()->mutable_samples(0)->set_k1(-0.000298123456);
  ptz.mutable_intrinsics()->mutable_samples(0)->set_p1(0.1234567891234567);
  ptz.mutable_pan_tilt()->set_pan_scale(0.000123456789F);
  const TemporaryFolder folder;
  const std::string path = folder.write("ptz", ptz.SerializeAsString());
  const std::string text = toolOutput("show '" + path + "'");
  EXPECT_THAT(text, HasSubstr("  0     -0.000298123456   0  0.123456789   0\n"));
  const std::size_t at = text.find("\n  step ");
  ASSERT_NE(at, std::string::npos);
  EXPECT_EQ(std::strtof(text.c_str() + at + 8, nullptr), 0.000123456789F);
  const json document = toolJson("show '" + path + "'");
  EXPECT_EQ(document["samples"][0]["p1"], 0.1234567891234567);
  EXPECT_EQ(document["tilt_to_camera"][2][3], -0.03);
  EXPECT_EQ(document["radians_per_step"][1], 0.0005);
  EXPECT_EQ(document["radians_per_step"][0].get<float>(), 0.000123456789F);
}

TEST(ShowPtz, AnyHeadFitsATerminal) {
  std::mt19937_64 random(1);
  const TemporaryFolder folder;
  for (int i = 0; i < 20; ++i) {
    PTZCameraParameters ptz = examplePtz();
    *ptz.mutable_pan_tilt() = testing::randomHead(&random);
    ptz.mutable_pan_tilt()->set_min_pan(-123456);
    ptz.mutable_pan_tilt()->set_max_tilt(123456);
    const std::string path = folder.write("ptz", ptz.SerializeAsString());
    const std::string text = toolOutput("show '" + path + "'");
    testing::expectFitsTerminal(text.substr(text.find('\n')));
  }
}

TEST(ShowPtz, CalibrationsThatAreRefused) {
  const TemporaryFolder folder;
  PTZCameraParameters ptz = examplePtz();
  ptz.mutable_intrinsics()->clear_samples();
  std::string path = folder.write("samples", ptz.SerializeAsString());
  expectToolRefuses("show '" + path + "'",
                    path + ": intrinsics.samples: there are no lens samples");
  ptz = examplePtz();
  ptz.mutable_pan_tilt()->mutable_pan_to_tilt()->mutable_a()->Truncate(11);
  path = folder.write("pose", ptz.SerializeAsString());
  expectToolRefuses("show '" + path + "'",
                    path + ": pan_tilt.pan_to_tilt.a: holds 11 values, at least 12 are needed");
  path = folder.write("text",
                      "intrinsics {\n  samples { zoom: 0 }\n}\n"
                      "pan_tilt {\n  base_to_pan { a: [1, 2] }\n}\n");
  expectToolRefuses("show '" + path + "'",
                    path + ":5:17: pan_tilt.base_to_pan.a: holds 2 values, at least 12 are needed");
  path = folder.write("field", "intrinsics {\n  samples { zoom: 0 fokal: 1 }\n}\n");
  expectToolRefuses("show '" + path + "'",
                    path +
                        ":2:21: intrinsics.samples[0].fokal: Message type "
                        "\"norv.calibration.PTZIntrinsicsItem\" has no field named \"fokal\".");
}

TEST(ShowPtz, OptionsOfFixedCamerasDoNotFit) {
  const TemporaryFolder folder;
  const std::string path = folder.write("ptz", examplePtz().SerializeAsString());
  for (const char* option : {" --camera x", " --size 640x480"}) {
    expectToolRefuses("show '" + path + "'" + option,
                      path + ": --camera and --size are for calibrations of fixed cameras");
  }
  testing::expectBadUsage("show --kind lens '" + path + "'");
}

TEST(ShowPtz, ExampleCalibration) {
  const std::string path = testing::kCalibrations + "example_ptz_cal.txt";
  const std::string text = toolOutput("show '" + path + "'");
  EXPECT_THAT(text, StartsWith(path + ": pan-tilt-zoom camera\n"));
  EXPECT_THAT(text, HasSubstr("\n  this head is served, targets on the pan axis included\n"));
  EXPECT_THAT(text, Not(HasSubstr("note:")));
  const json document = toolJson("show '" + path + "'");
  // What the file's comments say of the lens: 20 times as long at 10000, 3.7 degrees across.
  EXPECT_NEAR(document["samples"][10]["zoom_factor"].get<double>(), 20, 1e-12);
  EXPECT_NEAR(document["samples"][10]["view_degrees"][0].get<double>(), 3.7, 0.05);
}

}  // namespace
}  // namespace norv

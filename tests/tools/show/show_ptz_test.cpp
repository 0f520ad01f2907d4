// The verb `show` on a pan-tilt-zoom camera, run as the user runs it.

#include <gmock/gmock.h>
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
#include "tests/tools/show/plain_ptz.h"

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
using testing::plainPtz;
using ::testing::StartsWith;
using testing::TemporaryFolder;
using testing::toolJson;
using testing::toolOutput;

/// Of the plain camera.
constexpr char kReachAndPointing[] =
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
    "\n";

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
                "\n" +
                kReachAndPointing + "camera-parameters validate finds no error and no warning\n");
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

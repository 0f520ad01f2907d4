// The verb `view`, run as the user runs it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <nlohmann/json.hpp>
#include <string>

#include "testing/calibration_edits.h"
#include "testing/calibration_messages.h"
#include "testing/example_ptz.h"
#include "testing/temporary_folder.h"
#include "testing/tree_calibrations.h"
#include "tests/tools/run_tool.h"
#include "tests/tools/view/view_example.h"

namespace norv {
namespace {

using calibration::CameraCalibration;
using nlohmann::json;
using testing::expectFitsTerminal;
using ::testing::HasSubstr;
using testing::pinholeCamera;
using testing::robotOf;
using testing::storePose;
using testing::toolJson;
using testing::toolOutput;
using testing::toolRefusal;
using testing::toolRefusalJson;

constexpr double kDegrees = 180 / 3.14159265358979323846;

// ------------------------------------------------------------------------------------- figures

TEST_F(ViewCommand, OfAPinholeCameraIsTheCameraItself) {
  // Sides of 4:3 at f = 1000: tan of half the width is 0.75, of the height 0.5625, of the
  // diagonal 0.9375.
  CameraCalibration camera = pinholeCamera("lab", 1500, 1125);
  camera.mutable_extrinsics()->set_a(3, 1500);
  camera.mutable_extrinsics()->set_a(7, -250);
  const std::string path = write("plain.bin", robotOf({camera}));
  EXPECT_EQ(toolOutput("view " + path),
            path +
                "\n\n"
                "lab at 1500x1125\n"
                "  centre on the robot (-1.5000, 0.2500, 0.0000) m\n"
                "  camera from robot\n"
                "    1  0  0    1.5 m\n"
                "    0  1  0  -0.25 m\n"
                "    0  0  1      0 m\n"
                "        from the corner  from the first pixel's centre\n"
                "  fx               1000                           1000\n"
                "  fy               1000                           1000\n"
                "  skew                0                              0\n"
                "  cx                750                          749.5\n"
                "  cy              562.5                            562\n"
                "  k1 0, k2 0, p1 0, p2 0\n"
                "  k3 0, k4 0, k5 0, k6 0\n"
                "  the lens has no end: each ray has a pixel of its own\n"
                "  every pixel has a ray\n"
                "  field of view, deg: 73.74 wide, 58.72 high, 86.30 from corner to corner\n"
                "\n"
                "straightened, alpha 0, 1500x1125\n"
                "        from the corner  from the first pixel's centre\n"
                "  fx               1000                           1000\n"
                "  fy               1000                           1000\n"
                "  skew                0                              0\n"
                "  cx                750                          749.5\n"
                "  cy              562.5                            562\n"
                "size without scaling: 1500x1125 at alpha 0, 1500x1125 at alpha 1\n"
                "\n"
                "camera-parameters validate finds no error and no warning\n");
}

TEST_F(ViewCommand, SaysWhereALensEnds) {
  const json view = toolJson("view " + writeFolding());
  // The fold of r - r^3 / 2, and where it is imaged.
  const double radius = std::sqrt(2.0 / 3);
  EXPECT_NEAR(view["valid_radius"], radius, 1e-6);
  EXPECT_NEAR(view["valid_half_angle_degrees"], std::atan(radius) * kDegrees, 1e-4);
  EXPECT_NEAR(view["nearest_pixel_without_ray"], 600 * radius * 2 / 3, 1);
  EXPECT_GT(view["coverage"], 0.9);
  EXPECT_LT(view["coverage"], 1);
  EXPECT_TRUE(view["field_of_view_degrees"]["diagonal"].is_null());
  const std::string text = toolOutput("view " + writeFolding());
  EXPECT_THAT(text, HasSubstr("  the lens ends 39.23 deg from the axis, at r = 0.8165\n"));
  EXPECT_THAT(text, HasSubstr(" % of the pixels have a ray; the nearest without is 326."));
  EXPECT_THAT(text, HasSubstr(" high, - from corner to corner\n"));
}

TEST_F(ViewCommand, OfAPictureThatTheSensorRectified) {
  const json view = toolJson("view --camera head_camera --size 640x480");
  EXPECT_EQ(view["rectified_by_sensor"], true);
  EXPECT_EQ(view["delivered"], true);
  EXPECT_NEAR(view["camera_matrix"][0][0], 324, 0.01);
  EXPECT_EQ(toolJson("view --camera head_camera --size 1280x960")["rectified_by_sensor"], false);
}

TEST_F(ViewCommand, OfAPictureThatWasScaledAfterwards) {
  const std::string arguments = "view --camera head_camera --size 640x480 --resized 320x240";
  const json view = toolJson(arguments);
  EXPECT_EQ(view["size"], (json{320, 240}));
  EXPECT_EQ(view["delivered"], false);
  EXPECT_EQ(view["rectified_by_sensor"], true);
  EXPECT_NEAR(view["camera_matrix"][0][0], 162, 0.01);
  EXPECT_NEAR(view["camera_matrix"][0][2], 160, 0.01);
  EXPECT_NEAR(view["camera_matrix_from_first_pixel"][0][2], 159.5, 0.01);
  EXPECT_THAT(toolOutput(arguments),
              HasSubstr("head_camera at 320x240\n"
                        "  made from a picture that the camera delivers\n"
                        "  the sensor has taken most of the lens out of this picture\n"));
}

TEST_F(ViewCommand, StraightensAsItIsAsked) {
  const std::string navigation = "view --camera navigation_camera --size 640x480 ";
  const auto focal = [&](const std::string& options) -> double {
    return toolJson(navigation + options)["straightened"]["camera_matrix"][0][0];
  };
  const double valid = focal("");
  const double between = focal("--alpha 0.5");
  const double whole = focal("--alpha 1");
  EXPECT_LT(whole, between);
  EXPECT_LT(between, valid);
  EXPECT_EQ(focal("--alpha 0"), valid);
  EXPECT_GT(focal("--margin 20"), valid);
  EXPECT_NEAR(focal("--view-size 320x240"), valid / 2, 1e-9);

  const json wide = toolJson(navigation + "--view-size 800x200 --aspect 2")["straightened"];
  EXPECT_EQ(wide["size"], (json{800, 200}));
  EXPECT_NEAR(wide["camera_matrix"][0][0], 2 * wide["camera_matrix"][1][1].get<double>(), 1e-9);

  const json middle = toolJson(navigation + "--centre middle")["straightened"];
  EXPECT_NEAR(middle["camera_matrix"][0][2], 320, 1e-9);
  EXPECT_NEAR(middle["camera_matrix_from_first_pixel"][1][2], 239.5, 1e-9);
}

TEST_F(ViewCommand, OfAPanTiltZoomCamera) {
  const std::string arguments = "view " + kPtz + " --at 500,200,2500";
  const json view = toolJson(arguments);
  EXPECT_TRUE(view["camera"].is_null());
  EXPECT_EQ(view["position"], (json{500, 200, 2500}));
  EXPECT_EQ(view["size"], (json{1920, 1080}));
  EXPECT_EQ(view["errors"], 0);
  EXPECT_EQ(view["warnings"], 0);
  const std::string text = toolOutput(arguments);
  EXPECT_THAT(text, HasSubstr("\n\npan 500, tilt 200, zoom 2500 at 1920x1080\n"));
  expectFitsTerminal(text.substr(text.find('\n') + 1));
  EXPECT_EQ(toolOutput(arguments + " --size 1920x1080"), text);
}

TEST_F(ViewCommand, SaysWhereAPanTiltZoomCameraIsAndWhereItLooks) {
  // At zero angles the camera looks along x with y to its left, at f = 960 for 1920 pixels: 90
  // degrees across. Of the height, 540 / 960, and of the diagonal, sqrt(1 + 0.5625^2).
  calibration::PTZCameraParameters params = testing::examplePtz();
  *params.mutable_pan_tilt() = testing::headWithoutLeverArms();
  storePose({1, 0, 0, -100, 0, 1, 0, 200, 0, 0, 1, -1500},
            params.mutable_pan_tilt()->mutable_base_to_pan());
  *params.mutable_intrinsics() = testing::pinholeLens();
  auto* samples = params.mutable_intrinsics()->mutable_samples();
  samples->DeleteSubrange(2, samples->size() - 2);
  samples->at(0).set_focal_length(960);
  samples->at(1).set_focal_length(1920);
  const std::string path = write("ptz.bin", params);
  EXPECT_EQ(toolOutput("view " + path + " --at 0,0,0"),
            path +
                "\n\n"
                "pan 0, tilt 0, zoom 0 at 1920x1080\n"
                "  centre in the world (0.1000, -0.2000, 1.5000) m\n"
                "  looks along (1.0000, 0.0000, 0.0000)\n"
                "  camera from world\n"
                "    0  -1   0  -0.2 m\n"
                "    0   0  -1   1.5 m\n"
                "    1   0   0  -0.1 m\n"
                "        from the corner  from the first pixel's centre\n"
                "  fx                960                            960\n"
                "  fy                960                            960\n"
                "  skew                0                              0\n"
                "  cx                960                          959.5\n"
                "  cy                540                          539.5\n"
                "  k1 0, k2 0, p1 0, p2 0\n"
                "  k3 0, k4 0, k5 0, k6 0\n"
                "  the lens has no end: each ray has a pixel of its own\n"
                "  every pixel has a ray\n"
                "  field of view, deg: 90.00 wide, 58.72 high, 97.85 from corner to corner\n"
                "\n"
                "straightened, alpha 0, 1920x1080\n"
                "        from the corner  from the first pixel's centre\n"
                "  fx                960                            960\n"
                "  fy                960                            960\n"
                "  skew                0                              0\n"
                "  cx                960                          959.5\n"
                "  cy                540                          539.5\n"
                "size without scaling: 1920x1080 at alpha 0, 1920x1080 at alpha 1\n"
                "\n"
                "camera-parameters validate finds no error and no warning\n");
  // A quarter turn to the right, 3141.6 steps: along -y; and half of one upwards.
  EXPECT_THAT(toolOutput("view " + path + " --at 3142,0,0"),
              HasSubstr("\n  looks along (-0.0002, -1.0000, 0.0000)\n"));
  EXPECT_THAT(toolOutput("view " + path + " --at 0,1571,0"),
              HasSubstr("\n  looks along (0.7070, 0.0000, 0.7072)\n"));
}

TEST_F(ViewCommand, SaysThatALensIsExtrapolated) {
  const std::string text = toolOutput("view " + kPtz + " --at 0,0,-10");
  EXPECT_THAT(text, HasSubstr("\nnote: zoom position -10 is below the first lens sample: the lens "
                              "there is\n  extrapolated\n"));
}

TEST_F(ViewCommand, FitsATerminal) {
  for (const std::string camera : {"head_camera", "navigation_camera"}) {
    for (const std::string size : {"640x480", "1280x960", "1280x720"}) {
      for (const std::string alpha : {"0", "1"}) {
        expectFitsTerminal(
            toolOutput("view --camera " + camera + " --size " + size + " --alpha " + alpha));
      }
    }
  }
}

TEST_F(ViewCommand, HasStatus3WhereThereIsNoStraightenedPicture) {
  const std::string text = toolRefusal("view " + writeFolding() + " --alpha 1");
  EXPECT_THAT(text, HasSubstr("\nstraightened, alpha 1: there is no such view\n"));
  EXPECT_THAT(text,
              HasSubstr("\nnote: there is no view at alpha 1: pixels of the picture's border "
                        "have no ray;\n  --alpha 0 keeps to the part of the lens that has\n"));
  const json view = toolRefusalJson("view " + writeFolding() + " --alpha 1");
  EXPECT_TRUE(view["straightened"].is_null());
  EXPECT_TRUE(view["natural_size_whole_image"].is_null());
  EXPECT_TRUE(view["natural_size_valid_only"].is_array());
  EXPECT_EQ(view["notes"].back(),
            "there is no view at alpha 1: pixels of the picture's border have no ray; --alpha 0 "
            "keeps to the part of the lens that has");

  CameraCalibration camera = pinholeCamera("none", 640, 480);
  camera.mutable_intrinsics()->set_fx(std::nan(""));
  const std::string none = write("none.bin", robotOf({camera}));
  EXPECT_THAT(toolRefusal("view " + none),
              HasSubstr("\nnote: there is no straightened picture of this kind\n"));
}

}  // namespace
}  // namespace norv

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

namespace norv {
namespace {

using calibration::CameraCalibration;
using nlohmann::json;
using testing::expectBadUsage;
using testing::expectFitsTerminal;
using testing::expectToolRefuses;
using ::testing::HasSubstr;
using testing::kCalibrations;
using testing::pinholeCamera;
using testing::ProgramResult;
using testing::robotOf;
using testing::runProgram;
using testing::runTool;
using testing::toolCommand;
using testing::toolJson;
using testing::toolOutput;
using testing::toolRefusal;
using testing::toolRefusalJson;

const std::string kDefault = "compiled-in default calibration";
const std::string kPtz = kCalibrations + "example_ptz_cal.txt";
constexpr double kDegrees = 180 / 3.14159265358979323846;

class ViewCommand : public ::testing::Test {
 protected:
  std::string write(const std::string& name, const google::protobuf::Message& message) const {
    return folder_.write(name, message.SerializeAsString());
  }

  /// One camera of 640 x 480 whose lens folds, k1 = -0.5, which shows no ray in its corners.
  std::string writeFolding() const {
    CameraCalibration camera = pinholeCamera("folding", 640, 480);
    camera.mutable_intrinsics()->set_fx(600);
    camera.mutable_intrinsics()->set_fy(600);
    camera.mutable_intrinsics()->set_radial(0, -0.5);
    return write("folding.bin", robotOf({camera}));
  }

  testing::TemporaryFolder folder_;
};

// ------------------------------------------------------------------------------------- figures

TEST_F(ViewCommand, OfAPinholeCameraIsTheCameraItself) {
  // Sides of 4:3 at f = 1000: tan of half the width is 0.75, of the height 0.5625, of the
  // diagonal 0.9375.
  const std::string path = write("plain.bin", robotOf({pinholeCamera("lab", 1500, 1125)}));
  EXPECT_EQ(toolOutput("view " + path),
            path +
                "\n\n"
                "lab at 1500x1125\n"
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
                "size without scaling: 1500x1125 at alpha 0, 1500x1125 at alpha 1\n");
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
                        "  scaled from a picture that the camera delivers\n"
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
  const std::string text = toolOutput(arguments);
  EXPECT_THAT(text, HasSubstr("\n\npan 500, tilt 200, zoom 2500 at 1920x1080\n"));
  expectFitsTerminal(text.substr(text.find('\n') + 1));
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
  EXPECT_EQ(view["notes"].size(), 1U);

  CameraCalibration camera = pinholeCamera("none", 640, 480);
  camera.mutable_intrinsics()->set_fx(std::nan(""));
  const std::string none = write("none.bin", robotOf({camera}));
  EXPECT_THAT(toolRefusal("view " + none),
              HasSubstr("\nnote: there is no straightened picture of this kind\n"));
}

// ------------------------------------------------------------------------------------ the choice

TEST_F(ViewCommand, NeedsNoChoiceWhereThereIsNone) {
  const json view = toolJson("view " + write("one.bin", robotOf({pinholeCamera("a", 64, 48)})));
  EXPECT_EQ(view["camera"], "a");
  EXPECT_EQ(view["size"], (json{64, 48}));
}

TEST_F(ViewCommand, OfCamerasOfOneNameTakesTheLast) {
  const std::string path =
      write("twice.bin", robotOf({pinholeCamera("a", 64, 48), pinholeCamera("a", 32, 24)}));
  EXPECT_EQ(toolJson("view " + path + " --camera a")["size"], (json{32, 24}));
}

TEST_F(ViewCommand, ReadsStandardInput) {
  const ProgramResult result = runProgram(toolCommand() + "view - < " + writeFolding());
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, HasSubstr("standard input\n\nfolding at 640x480\n"));
}

TEST_F(ViewCommand, SaysWhichChoiceThereIs) {
  expectToolRefuses("view", kDefault +
                                ": there are several cameras: choose one by --camera "
                                "(head_camera, navigation_camera)");
  expectToolRefuses("view --camera head_camera",
                    kDefault +
                        ": head_camera delivers several sizes: choose one by --size (640x480, "
                        "1280x960, 1280x720)");
  expectToolRefuses("view --camera head",
                    kDefault +
                        ": no camera \"head\" (there are: head_camera, navigation_camera); did "
                        "you mean head_camera?");
  expectToolRefuses("view --camera head_camera --size 320x240",
                    kDefault +
                        ": head_camera does not deliver 320x240, only 640x480, 1280x960, "
                        "1280x720; for a picture that was made from one of these, give that one's "
                        "--size, and --resized 320x240");
}

TEST_F(ViewCommand, RefusesWhatHasNoPictures) {
  const std::string base = kCalibrations + "default_base_cal.txt";
  expectToolRefuses("view " + base,
                    base + ": holds the calibration of a mobile base, which has no pictures");
  const std::string empty = folder_.write("empty.txt", "");
  expectToolRefuses("view " + empty, empty + ": holds no camera");
  const std::string flat = write("flat.bin", robotOf({pinholeCamera("flat", 640, 0)}));
  expectToolRefuses("view " + flat, flat + ": the pictures of flat have no pixels: they are 640x0");
  calibration::PTZCameraParameters params = testing::examplePtz();
  params.mutable_intrinsics()->clear_image_height();
  const std::string ptz = write("ptz.bin", params);
  expectToolRefuses("view " + ptz + " --at 0,0,0",
                    ptz + ": the pictures have no pixels: they are 1920x0");
}

TEST_F(ViewCommand, RefusesWhatDoesNotFitTheFile) {
  expectToolRefuses("view " + kPtz,
                    kPtz + ": a pan-tilt-zoom camera needs --at, where its motors are");
  expectToolRefuses("view " + kPtz + " --at 0,0,0 --size 1920x1080",
                    kPtz + ": --camera and --size are for calibrations of fixed cameras");
  expectToolRefuses("view --camera head_camera --at 0,0,0",
                    kDefault + ": --at is for pan-tilt-zoom cameras");
  expectToolRefuses("view " + kPtz + " --at 0,0,11000",
                    kPtz +
                        ": zoom position 11000 is at or beyond the last lens sample, where the "
                        "lens is not known");
  EXPECT_EQ(runTool("view /nonexistent/a.txt").status, 1);
}

TEST_F(ViewCommand, NamesCannotActOnTheTerminal) {
  const std::string path = write("red.bin", robotOf({pinholeCamera("\x1b[31mred", 10, 10)}));
  EXPECT_EQ(toolOutput("view " + path).find('\x1b'), std::string::npos);
}

TEST_F(ViewCommand, RefusesWrongCalls) {
  for (const char* wrong : {"-0.1", "1.1", "nan", "inf", "''", "a", "0,5"}) {
    expectBadUsage(std::string("view --camera head_camera --size 640x480 --alpha ") + wrong);
  }
  for (const char* wrong : {"0", "-1", "nan", "inf", "''"}) {
    expectBadUsage(std::string("view --camera head_camera --size 640x480 --aspect ") + wrong);
  }
  expectBadUsage("view --camera head_camera --size 640x480 --margin -1");
  expectBadUsage("view --camera head_camera --size 640x480 --centre left");
  expectBadUsage("view --camera head_camera --size 640x480 --view-size 0x0");
  expectBadUsage("view --camera head_camera --size 640x480 --resized 10");
  expectBadUsage("view --camera head_camera --size 640");
  expectBadUsage("view --camera ''");
  expectBadUsage("view ''");
  expectBadUsage("view " + kPtz + " --at 1,2");
  expectBadUsage("view a b");
}

}  // namespace
}  // namespace norv

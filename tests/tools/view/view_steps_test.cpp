// The verb `view` on pictures that were processed after the camera delivered them.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <string>

#include "tests/tools/run_tool.h"
#include "tests/tools/view/view_example.h"

namespace norv {
namespace {

using nlohmann::json;
using testing::expectUsage;
using ::testing::HasSubstr;
using testing::pinholeCamera;
using testing::robotOf;
using testing::toolJson;
using testing::toolOutput;

/// fx, fy, cx and cy.
std::array<double, 4> numbersOf(const json& view) {
  const json& k = view["camera_matrix"];
  return {k[0][0], k[1][1], k[0][2], k[1][2]};
}

TEST_F(ViewCommand, OfAPictureThatWasCut) {
  const std::string lab = "view " + write("lab.bin", robotOf({pinholeCamera("lab", 1500, 1126)}));
  const json view = toolJson(lab + " --cropped 100,50,1000x600");
  EXPECT_EQ(numbersOf(view), (std::array<double, 4>{1000, 1000, 650, 513}));
  EXPECT_EQ(view["size"], (json{1000, 600}));
  EXPECT_EQ(view["delivered"], false);
  EXPECT_EQ(toolJson(lab + " --cropped 0,0,1500x1126")["size"], (json{1500, 1126}));
}

TEST_F(ViewCommand, OfAPictureThatWasBinned) {
  const std::string lab = "view " + write("lab.bin", robotOf({pinholeCamera("lab", 1500, 1126)}));
  const json view = toolJson(lab + " --binned 2x4");
  EXPECT_EQ(numbersOf(view), (std::array<double, 4>{500, 250, 375, 140.75}));
  EXPECT_EQ(view["size"], (json{750, 281}));  // two rows are left over
}

TEST_F(ViewCommand, OfAPictureThatWasMirrored) {
  const std::string lab = "view " + write("lab.bin", robotOf({pinholeCamera("lab", 1500, 1126)})) +
                          " --cropped 100,50,1000x600 --flipped ";
  EXPECT_EQ(numbersOf(toolJson(lab + "h")), (std::array<double, 4>{-1000, 1000, 350, 513}));
  EXPECT_EQ(numbersOf(toolJson(lab + "v")), (std::array<double, 4>{1000, -1000, 650, 87}));
  EXPECT_EQ(numbersOf(toolJson(lab + "hv")), (std::array<double, 4>{-1000, -1000, 350, 87}));
}

TEST_F(ViewCommand, TakesTheStepsInOneOrderHoweverTheyAreGiven) {
  // c = (750, 563): cut to (650, 513) of 1000 x 600, summed to (325, 128.25) of 500 x 150, scaled
  // by 2 and 4 to (650, 513) of 1000 x 600, mirrored to (350, 513).
  const std::string lab = "view " + write("lab.bin", robotOf({pinholeCamera("lab", 1500, 1126)}));
  const std::string text =
      toolOutput(lab + " --cropped 100,50,1000x600 --binned 2x4 --resized 1000x600 --flipped h");
  EXPECT_THAT(text, HasSubstr("\nlab at 1000x600\n"
                              "  made from a picture that the camera delivers\n"
                              "  centre on the robot (0.0000, 0.0000, 0.0000) m\n"
                              "  camera from robot\n"
                              "    1  0  0  0 m\n"
                              "    0  1  0  0 m\n"
                              "    0  0  1  0 m\n"
                              "        from the corner  from the first pixel's centre\n"
                              "  fx              -1000                          -1000\n"
                              "  fy               1000                           1000\n"
                              "  skew                0                              0\n"
                              "  cx                350                          349.5\n"
                              "  cy                513                          512.5\n"));
  EXPECT_EQ(
      toolOutput(lab + " --flipped h --resized 1000x600 --binned 2x4 --cropped 100,50,1000x600"),
      text);
}

TEST_F(ViewCommand, OfAPanTiltZoomCamerasPictureThatWasCut) {
  const std::string at = "view " + kPtz + " --at 0,0,2500";
  const json whole = toolJson(at);
  const json part = toolJson(at + " --cropped 960,540,960x540");
  EXPECT_EQ(part["size"], (json{960, 540}));
  // Half a unit in the last place of 961.745 in single precision, as which it is printed: 3.1e-5.
  EXPECT_NEAR(part["camera_matrix"][0][2], whole["camera_matrix"][0][2].get<double>() - 960,
              3.1e-5);
  EXPECT_EQ(part["distortion"], whole["distortion"]);
}

TEST_F(ViewCommand, RefusesStepsThatAPictureDoesNotAllow) {
  const std::string lab = write("lab.bin", robotOf({pinholeCamera("lab", 1500, 1126)}));
  expectUsage("view " + lab + " --cropped 501,0,1000x600",
              lab + ": --cropped 501,0,1000x600 is not within the picture, which is 1500x1126",
              "view");
  expectUsage("view " + lab + " --cropped 0,0,3x3 --binned 4x1",
              lab + ": --binned 4x1 leaves no pixel of the picture, which is 3x3", "view");
  expectUsage("view " + lab + " --cropped 1,2,3", "--cropped: not of the form X,Y,WxH: 1,2,3",
              "view");
  expectUsage("view " + lab + " --binned 2", "--binned: not of the form CxR: 2", "view");
  expectUsage("view " + lab + " --flipped vh", "--flipped: not one of h|v|hv: vh", "view");
}

TEST_F(ViewCommand, HelpHasTheStepsInTheirOrder) {
  EXPECT_THAT(
      testing::runTool("view --help", "COLUMNS=200").output,
      HasSubstr("  --cropped X,Y,WxH           The picture was cut to this rectangle "
                "afterwards: its top left corner and its size, pixels\n"
                "  --binned CxR                Then blocks of so many columns and rows were "
                "summed\n"
                "  --resized WxH               Then it was scaled to this size, pixels, at "
                "most 16384x16384\n"
                "  --flipped h|v|hv            Then it was mirrored left to right, top to "
                "bottom, or both\n"));
}

}  // namespace
}  // namespace norv

#include <gmock/gmock.h>

#include "interop/formats/ros.h"
#include "tests/interop/formats/read_text.h"

namespace norv::interop {
namespace {

using testing::coefficientsOf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::linesOf;
using testing::replaced;
using testing::sampleText;

constexpr testing::TextReader kRos{PeerFormat::kRos};

const std::string kWhole =
    "# Camera intrinsics\n"
    "\n"
    "[image]\n"
    "\n"
    "width\n"
    "640\n"
    "\n"
    "height\n"
    "480\n"
    "\n"
    "[narrow_stereo/left]\n"
    "\n"
    "camera matrix\n"
    "500.50000 0.00000 320.25000 \n"
    "0.00000 501.50000 240.75000 \n"
    "0.00000 0.00000 1.00000 \n"
    "\n"
    "distortion\n"
    "-0.30000 0.10000 0.00100 -0.00050 0.02000 \n"
    "\n"
    "rectification\n"
    "1.00000 0.00000 0.00000 \n"
    "0.00000 1.00000 0.00000 \n"
    "0.00000 0.00000 1.00000 \n"
    "\n"
    "projection\n"
    "500.50000 0.00000 320.25000 0.00000 \n"
    "0.00000 501.50000 240.75000 0.00000 \n"
    "0.00000 0.00000 1.00000 0.00000 \n";

const std::string kLens = "-0.30000 0.10000 0.00100 -0.00050 0.02000";

TEST(RosIni, TakesEveryNumberAsItStands) {
  const PeerFile file = kRos.file(kWhole);
  const PeerCamera& camera = file.cameras[0];
  EXPECT_EQ(camera.name, "narrow_stereo/left");
  EXPECT_TRUE(camera.size == (calibration::PixelSize{640, 480}));
  EXPECT_EQ(camera.fx, 500.5);
  EXPECT_EQ(camera.fy, 501.5);
  EXPECT_EQ(camera.cx, 320.75);
  EXPECT_EQ(camera.cy, 241.25);
  EXPECT_THAT(coefficientsOf(camera), ElementsAre(-0.3, 0.1, 0.001, -0.0005, 0.02, 0, 0, 0));
  EXPECT_THAT(file.not_taken_over, IsEmpty());
  EXPECT_THAT(file.notes, IsEmpty());
  EXPECT_THAT(coefficientsOf(kRos.file(replaced(kWhole, kLens, "1 2 3 4")).cameras[0]),
              ElementsAre(1, 2, 3, 4, 0, 0, 0, 0));
  EXPECT_THAT(coefficientsOf(kRos.file(replaced(kWhole, kLens, "1 2 3 4 5 6 7 8")).cameras[0]),
              ElementsAre(1, 2, 3, 4, 5, 6, 7, 8));
}

TEST(RosIni, ListsWhatIsNotTakenOver) {
  EXPECT_THAT(linesOf(kRos.file(sampleText("ros/ros_plumb_bob.ini")).not_taken_over),
              ElementsAre("narrow_stereo/left.projection: describes the rectified image"));
  const std::string text = replaced(kWhole, "height\n", "gain\n3\nheight\n") +
                           "serial\n12\n[externals]\ntranslation\n1 2 3\n";
  EXPECT_THAT(linesOf(kRos.file(text).not_taken_over),
              ElementsAre("image.gain: is no part of ROS' calibrations",
                          "narrow_stereo/left.serial: is no part of ROS' calibrations",
                          "externals: is a pose, of which ROS does not say whose"));
}

TEST(RosIni, RefusalsHavePlaceAndKey) {
  EXPECT_EQ(kRos.refusal(replaced(kWhole, kLens, "1 2 3")),
            "f:18:1: narrow_stereo/left.distortion: a lens of INI files has 4, 5 or 8 numbers, not "
            "3");
  EXPECT_EQ(kRos.refusal(replaced(kWhole, kLens, "1 2 x 4 5")),
            "f:19:5: narrow_stereo/left.distortion[2]: is not a number: x");
  EXPECT_EQ(kRos.refusal(replaced(kWhole, kLens, "nan 2 3 4 5")),
            "f:19:1: narrow_stereo/left.distortion[0]: is not finite: nan");
  EXPECT_EQ(kRos.refusal(replaced(kWhole, kLens, "1 2 3 4 1e999")),
            "f:19:9: narrow_stereo/left.distortion[4]: exceeds the range of double: 1e999");
  EXPECT_EQ(kRos.refusal(replaced(kWhole, "500.50000 0.00000 320.25000 \n", "500.5 0\n")),
            "f:13:1: narrow_stereo/left.camera matrix: has 8 numbers where 9 are needed");
  EXPECT_EQ(kRos.refusal(replaced(kWhole, "500.50000 0.00000 320.25000 \n", "0 0 1\n")),
            "f:14:1: narrow_stereo/left.camera matrix[0]: is a focal length, which must be above "
            "0: 0");
  EXPECT_EQ(kRos.refusal(replaced(kWhole, "distortion\n", "lens\n")),
            "f:11:1: narrow_stereo/left.distortion: is missing");
  EXPECT_EQ(kRos.refusal(replaced(kWhole, "640\n", "640 480\n")),
            "f:5:1: image.width: has 2 numbers where 1 is needed");
  EXPECT_EQ(kRos.refusal(replaced(kWhole, "640\n", "-640\n")),
            "f:6:1: image.width[0]: is not from 1 to 16777216: -640");
  EXPECT_EQ(kRos.refusal(replaced(kWhole, "[image]", "[picture]")), "f: image: is missing");
  EXPECT_EQ(kRos.refusal("[image]\nwidth\n1\nheight\n1\n"), "f: has no section of a camera");
  EXPECT_EQ(kRos.refusal(kWhole + "[right]\n"), "f:30:1: right: is a second camera");
}

}  // namespace
}  // namespace norv::interop

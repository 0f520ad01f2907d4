#include <gmock/gmock.h>

#include <random>

#include "interop/formats/ros.h"
#include "testing/written_cameras.h"
#include "tests/interop/formats/read_text.h"

namespace norv::interop {
namespace {

using calibration::PixelOrigin;
using norv::testing::hasSameDoubles;
using norv::testing::peerTextOf;
using norv::testing::randomWrittenCamera;
using norv::testing::refusalToWrite;
using norv::testing::writtenBy;
using testing::coefficientsOf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr testing::TextReader kRos{PeerFormat::kRos};

WriteOptions optionsOf(Syntax syntax, PixelOrigin origin = PixelOrigin::kPixelCentre) {
  return {PeerFormat::kRos, syntax, origin};
}

PeerWriting written(const WrittenCamera& camera, const WriteOptions& options) {
  return writtenBy({camera}, options);
}

std::string textOf(const WrittenCamera& camera, const WriteOptions& options) {
  return peerTextOf({camera}, options);
}

std::string refusal(const std::vector<WrittenCamera>& cameras, Syntax syntax = Syntax::kUsual) {
  return refusalToWrite(cameras, optionsOf(syntax));
}

WrittenCamera head() {
  WrittenCamera camera;
  camera.name = "head";
  camera.model = {640, 480, 500.5, 501.5, 0, 320.75, 241.25, {-0.3, 0.1, 0.001, -0.0005, 0.02}};
  return camera;
}

TEST(RosWriting, WritesPlumbBobRectifiedToItself) {
  EXPECT_EQ(textOf(head(), optionsOf(Syntax::kUsual)),
            "# Pixels are counted from the centre of the first pixel, as ROS does.\n"
            "image_width: 640\n"
            "image_height: 480\n"
            "camera_name: \"head\"\n"
            "camera_matrix:\n"
            "  rows: 3\n"
            "  cols: 3\n"
            "  data: [500.5, 0, 320.25, 0, 501.5, 240.75, 0, 0, 1]\n"
            "distortion_model: plumb_bob\n"
            "distortion_coefficients:\n"
            "  rows: 1\n"
            "  cols: 5\n"
            "  data: [-0.3, 0.1, 0.001, -0.0005, 0.02]\n"
            "rectification_matrix:\n"
            "  rows: 3\n"
            "  cols: 3\n"
            "  data: [1, 0, 0, 0, 1, 0, 0, 0, 1]\n"
            "projection_matrix:\n"
            "  rows: 3\n"
            "  cols: 4\n"
            "  data: [500.5, 0, 320.25, 0, 0, 501.5, 240.75, 0, 0, 0, 1, 0]\n");
}

TEST(RosWriting, LensesOfMoreCoefficientsAreRational) {
  for (double calibration::LensDistortion<double>::*const k :
       {&calibration::LensDistortion<double>::k4, &calibration::LensDistortion<double>::k5,
        &calibration::LensDistortion<double>::k6}) {
    WrittenCamera camera = head();
    camera.model.lens.*k = 0.125;
    const std::string text = textOf(camera, optionsOf(Syntax::kUsual));
    EXPECT_NE(text.find("distortion_model: rational_polynomial\n"), std::string::npos);
    EXPECT_EQ(std::get<calibration::LensDistortion<double>>(kRos.file(text).cameras[0].lens).*k,
              0.125);
  }
}

TEST(RosWriting, CountsPixelsFromTheCornerOnDemand) {
  const std::string text = textOf(head(), optionsOf(Syntax::kUsual, PixelOrigin::kImageCorner));
  EXPECT_EQ(text.substr(0, text.find('\n')),
            "# Pixels are counted from the image's corner, unlike ROS.");
  EXPECT_NE(text.find("  data: [500.5, 0, 320.75, 0, 501.5, 241.25, 0, 0, 1]\n"),
            std::string::npos);
}

TEST(RosWriting, IniHasFiveDecimals) {
  WrittenCamera camera = head();
  camera.model.fx = 500.123456789;
  EXPECT_EQ(textOf(camera, optionsOf(Syntax::kIni)),
            "# Camera intrinsics\n"
            "# Pixels are counted from the centre of the first pixel, as ROS does.\n"
            "\n"
            "[image]\n"
            "\n"
            "width\n"
            "640\n"
            "\n"
            "height\n"
            "480\n"
            "\n"
            "[head]\n"
            "\n"
            "camera matrix\n"
            "500.12346 0.00000 320.25000 \n"
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
            "500.12346 0.00000 320.25000 0.00000 \n"
            "0.00000 501.50000 240.75000 0.00000 \n"
            "0.00000 0.00000 1.00000 0.00000 \n");
}

TEST(RosWriting, YamlReadsBackToTheSameDoubles) {
  std::mt19937 random(1);
  for (int i = 0; i < 1000; ++i) {
    const WrittenCamera camera = randomWrittenCamera(i % 2 == 0 ? 8 : 5, &random);
    for (const PixelOrigin origin : {PixelOrigin::kPixelCentre, PixelOrigin::kImageCorner}) {
      ReadOptions reading;
      reading.pixel_origin = origin;
      const PeerFile file = kRos.file(textOf(camera, optionsOf(Syntax::kUsual, origin)), reading);
      EXPECT_THAT(file.not_taken_over, IsEmpty());
      EXPECT_THAT(file.notes, IsEmpty());
      const PeerCamera& read = file.cameras[0];
      EXPECT_EQ(read.name, "left");
      ASSERT_TRUE(hasSameDoubles(read, camera.model, origin)) << i;
    }
  }
}

/// Camera matrix and lens in one list, pixels counted from the first pixel's centre.
std::vector<double> numbersOf(const calibration::CameraModel& model) {
  const auto k = model.lens.toCoefficients();
  std::vector<double> numbers = {model.fx, model.fy, model.skew, model.cx - 0.5, model.cy - 0.5};
  numbers.insert(numbers.end(), k.begin(), k.end());
  return numbers;
}

TEST(RosWriting, IniReadsBackToFiveDecimals) {
  std::mt19937 random(2);
  for (int i = 0; i < 1000; ++i) {
    const WrittenCamera camera = randomWrittenCamera(5, &random);
    const PeerFile file = kRos.file(textOf(camera, optionsOf(Syntax::kIni)));
    const PeerCamera& camera_read = file.cameras[0];
    const auto& lens = std::get<calibration::LensDistortion<double>>(camera_read.lens);
    const std::vector<double> read =
        numbersOf({1, 1, camera_read.fx, camera_read.fy, camera_read.skew, camera_read.cx,
                   camera_read.cy, lens});
    const std::vector<double> wanted = numbersOf(camera.model);
    for (std::size_t k = 0; k < read.size(); ++k) {
      // Half of the last decimal, and the rounding of the larger numbers.
      ASSERT_NEAR(read[k], wanted[k], 0.5000001e-5 + 1e-15 * std::abs(wanted[k]));
    }
    ASSERT_THAT(file.not_taken_over, IsEmpty());
  }
}

TEST(RosWriting, NamesOfOtherCharactersAreReplacedWithANote) {
  WrittenCamera camera = head();
  camera.name = "narrow_stereo/left \"2\"\n";
  PeerWriting writing = written(camera, optionsOf(Syntax::kUsual));
  EXPECT_EQ(kRos.file(writing.files[0].contents).cameras[0].name, "narrow_stereo_left__2__");
  EXPECT_THAT(
      writing.notes,
      ElementsAre("camera narrow_stereo/left \"2\"\\n is called narrow_stereo_left__2__, since "
                  "names of ROS have letters, digits and underscores alone"));
  camera.name = "Zo\xC3\xAB";
  EXPECT_EQ(kRos.file(textOf(camera, optionsOf(Syntax::kIni))).cameras[0].name, "Zo_");
  camera.name = "";
  EXPECT_EQ(kRos.file(textOf(camera, optionsOf(Syntax::kIni))).cameras[0].name, "camera");
  camera.name = "007";
  EXPECT_EQ(kRos.file(textOf(camera, optionsOf(Syntax::kUsual))).cameras[0].name, "007");
  EXPECT_THAT(written(camera, optionsOf(Syntax::kUsual)).notes, IsEmpty());
}

TEST(RosWriting, PosesAreMentioned) {
  WrittenCamera camera = head();
  camera.camera_from_parent = RigidPose{};
  EXPECT_THAT(written(camera, optionsOf(Syntax::kUsual)).notes,
              ElementsAre("ROS' files have no place for the pose of camera head"));
}

TEST(RosWriting, WhatItCannotHoldIsRefused) {
  EXPECT_EQ(refusal({head(), head()}),
            "ROS' files hold one camera each, and there are 2: choose with --camera");
  EXPECT_EQ(refusal({head()}, Syntax::kXml), "ROS' files are YAML or INI");
  EXPECT_EQ(refusal({head()}, Syntax::kJson), "ROS' files are YAML or INI");
  WrittenCamera skewed = head();
  skewed.model.skew = 0.25;
  EXPECT_EQ(refusal({skewed}), "camera head has a skew of 0.25 px, which ROS cannot hold");
  WrittenCamera rational = head();
  rational.model.lens.k6 = 1e-9;
  EXPECT_EQ(refusal({rational}), "");
  EXPECT_EQ(refusal({rational}, Syntax::kIni),
            "camera head has a lens of 8 coefficients, and ROS' INI files have 5: "
            "--distortion-model plumb_bob fits these");
  WrittenCamera image = head();
  image.name = "image";
  EXPECT_EQ(refusal({image}), "");
  EXPECT_EQ(refusal({image}, Syntax::kIni),
            "camera image has the name of another section of ROS' INI files");
}

}  // namespace
}  // namespace norv::interop

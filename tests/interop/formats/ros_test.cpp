#include "interop/formats/ros.h"

#include <gmock/gmock.h>

#include "tests/interop/formats/read_text.h"

namespace norv::interop {
namespace {

using testing::coefficientsOf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::largestError;
using testing::linesOf;
using testing::replaced;
using testing::sampleText;

constexpr testing::TextReader kRos{PeerFormat::kRos};

/// Everything that a camera of ROS 2 can say, without anything unusual.
const std::string kWhole =
    "image_width: 640\n"
    "image_height: 480\n"
    "camera_name: head\n"
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
    "  data: [500.5, 0, 320.25, 0, 0, 501.5, 240.75, 0, 0, 0, 1, 0]\n"
    "binning_x: 1\n"
    "binning_y: 0\n"
    "roi: {x_offset: 0, y_offset: 0, height: 480, width: 640}\n";

/// The same with another list of coefficients.
std::string withLens(const std::string& model, const std::string& cols, const std::string& data) {
  std::string text = replaced(kWhole, "plumb_bob", model);
  text = replaced(text, "  cols: 5", "  cols: " + cols);
  return replaced(text, "-0.3, 0.1, 0.001, -0.0005, 0.02", data);
}

TEST(Ros, SamplesImageAsThePeerComputes) {
  // Measured: at most 4.5e-13 px.
  // Five decimals are all that the sample's numbers have.
  const PeerFile ini = kRos.file(sampleText("ros/ros_plumb_bob.ini"));
  EXPECT_LE(largestError(ini.cameras[0], "ros_plumb_bob.yaml"), 1e-9);
  for (const char* const name :
       {"ros_plumb_bob.yaml", "ros_rational_polynomial.yaml", "ros_equidistant.yaml"}) {
    const PeerFile file = kRos.file(sampleText("ros/" + std::string(name)));
    ASSERT_EQ(file.cameras.size(), 1U) << name;
    EXPECT_LE(largestError(file.cameras[0], name), 1e-9) << name;
  }
}

TEST(Ros, TakesEveryNumberAsItStands) {
  const PeerFile file = kRos.file(kWhole);
  const PeerCamera& camera = file.cameras[0];
  EXPECT_EQ(camera.name, "head");
  EXPECT_TRUE(camera.size == (calibration::PixelSize{640, 480}));
  EXPECT_EQ(camera.fx, 500.5);
  EXPECT_EQ(camera.fy, 501.5);
  EXPECT_EQ(camera.skew, 0);
  EXPECT_EQ(camera.cx, 320.75);  // from the centre of the first pixel to the image's corner
  EXPECT_EQ(camera.cy, 241.25);
  EXPECT_THAT(coefficientsOf(camera), ElementsAre(-0.3, 0.1, 0.001, -0.0005, 0.02, 0, 0, 0));
  EXPECT_FALSE(camera.camera_from_parent);
  EXPECT_EQ(file.parent, "");
  EXPECT_THAT(file.not_taken_over, IsEmpty());
  EXPECT_THAT(file.notes, IsEmpty());
}

TEST(Ros, PixelOriginOfTheUserOverridesTheFormats) {
  ReadOptions options;
  options.pixel_origin = calibration::PixelOrigin::kImageCorner;
  const PeerFile file = kRos.file(kWhole, options);
  EXPECT_EQ(file.cameras[0].cx, 320.25);
  EXPECT_EQ(file.cameras[0].cy, 240.75);
}

TEST(Ros, LensesOfOtherLengths) {
  EXPECT_THAT(coefficientsOf(kRos.file(withLens("plumb_bob", "4", "1, 2, 3, 4")).cameras[0]),
              ElementsAre(1, 2, 3, 4, 0, 0, 0, 0));
  EXPECT_THAT(
      coefficientsOf(
          kRos.file(withLens("rational_polynomial", "8", "1, 2, 3, 4, 5, 6, 7, 8")).cameras[0]),
      ElementsAre(1, 2, 3, 4, 5, 6, 7, 8));
  EXPECT_THAT(coefficientsOf(
                  kRos.file(withLens("rational_polynomial", "10", "1, 2, 3, 4, 5, 6, 7, 8, 0, 0.0"))
                      .cameras[0]),
              ElementsAre(1, 2, 3, 4, 5, 6, 7, 8));
  for (const char* const name : {"equidistant", "fisheye"}) {
    const PeerFile file = kRos.file(withLens(name, "4", "1, 2, 3, 4"));
    const auto* map = std::get_if<RadialMap>(&file.cameras[0].lens);
    ASSERT_NE(map, nullptr);
    EXPECT_EQ(map->kind, RadialKind::kKannalaBrandt);
    EXPECT_THAT(map->parameters, ElementsAre(1, 2, 3, 4));
  }
}

TEST(Ros, CountsOfCoefficientsThatAModelDoesNotHaveAreRefused) {
  EXPECT_EQ(kRos.refusal(withLens("plumb_bob", "8", "1, 2, 3, 4, 5, 6, 7, 8")),
            "f:12:9: distortion_coefficients.data: plumb_bob has 4 or 5 numbers, not 8");
  EXPECT_EQ(kRos.refusal(withLens("plumb_bob", "0", "")),
            "f:12:9: distortion_coefficients.data: plumb_bob has 4 or 5 numbers, not 0");
  EXPECT_EQ(kRos.refusal(withLens("rational_polynomial", "5", "1, 2, 3, 4, 5")),
            "f:12:9: distortion_coefficients.data: rational_polynomial has 8 numbers, not 5");
  EXPECT_EQ(kRos.refusal(withLens("rational_polynomial", "9", "1, 2, 3, 4, 5, 6, 7, 8, 9")),
            "f:12:34: distortion_coefficients.data[8]: is 9: beyond 8 numbers, rational_polynomial "
            "is read with zeros alone");
  EXPECT_EQ(kRos.refusal(withLens("equidistant", "5", "1, 2, 3, 4, 0")),
            "f:12:9: distortion_coefficients.data: equidistant has 4 numbers, not 5");
  EXPECT_EQ(kRos.refusal(withLens("fisheye", "1", "1")),
            "f:12:9: distortion_coefficients.data: fisheye has 4 numbers, not 1");
}

TEST(Ros, ColumnsThatDisagreeWithTheDataAreRefused) {
  EXPECT_EQ(kRos.refusal(withLens("rational_polynomial", "3", "1, 2, 3, 4, 5, 6, 7, 8")),
            "f:12:9: distortion_coefficients.data: has 8 numbers where rows x cols are 1 x 3");
  EXPECT_EQ(kRos.refusal(replaced(kWhole, "  rows: 1\n", "  rows: 2\n")),
            "f:10:9: distortion_coefficients.rows: the matrix is 2 x 5, where one row or column is "
            "needed");
  EXPECT_EQ(kRos.refusal(replaced(kWhole, "500.5, 0, 320.25, 0, 501.5,", "500.5, 0, 320.25,")),
            "f:7:9: camera_matrix.data: has 7 numbers where rows x cols are 3 x 3");
  EXPECT_EQ(kRos.refusal(replaced(kWhole, "  cols: 4", "  cols: 3")),
            "f:18:9: projection_matrix.rows: the matrix is 3 x 3, where 3 x 4 is needed");
  EXPECT_EQ(kRos.refusal(replaced(kWhole, "  cols: 4", "  cols: -1")),
            "f:19:9: projection_matrix.cols: is not from 0 to 1000: -1");
}

TEST(Ros, ModelUnderAnotherKeyIsReadWithANote) {
  const PeerFile file = kRos.file(replaced(kWhole, "distortion_model", "camera_model"));
  EXPECT_THAT(coefficientsOf(file.cameras[0]),
              ElementsAre(-0.3, 0.1, 0.001, -0.0005, 0.02, 0, 0, 0));
  EXPECT_THAT(file.notes, ElementsAre("camera_model: is read as distortion_model, the key that ROS "
                                      "knows"));
  EXPECT_THAT(file.not_taken_over, IsEmpty());
}

TEST(Ros, ModelsThatAreMissingOrUnknownAreRefused) {
  EXPECT_EQ(kRos.refusal(replaced(kWhole, "distortion_model", "lens_model")),
            "f:1:1: distortion_model: is missing");
  EXPECT_EQ(kRos.refusal(replaced(kWhole, "plumb_bob", "radtan")),
            "f:8:19: distortion_model: is no lens model that is read, which are plumb_bob, "
            "rational_polynomial, equidistant and fisheye: radtan");
}

TEST(Ros, WhatDescribesTheRectifiedImageIsListed) {
  EXPECT_THAT(linesOf(kRos.file(sampleText("ros/ros_plumb_bob.yaml")).not_taken_over),
              ElementsAre("projection_matrix: describes the rectified image"));
  const std::string turned =
      replaced(kWhole, "[1, 0, 0, 0, 1, 0, 0, 0, 1]", "[0.6, 0.8, 0, -0.8, 0.6, 0, 0, 0, 1]");
  EXPECT_THAT(linesOf(kRos.file(turned).not_taken_over),
              ElementsAre("rectification_matrix: describes the rectified image"));
  // The same matrix as K but for one number.
  const std::string shifted = replaced(kWhole, "240.75, 0, 0, 0, 1, 0]", "240.75, -9, 0, 0, 1, 0]");
  EXPECT_THAT(linesOf(kRos.file(shifted).not_taken_over),
              ElementsAre("projection_matrix: describes the rectified image"));
  const std::string flagged = replaced(kWhole, "width: 640}", "width: 640, do_rectify: true}");
  EXPECT_THAT(linesOf(kRos.file(flagged).not_taken_over),
              ElementsAre("roi.do_rectify: describes the rectified image"));
  const std::string unflagged = replaced(kWhole, "width: 640}", "width: 640, do_rectify: false}");
  EXPECT_THAT(kRos.file(unflagged).not_taken_over, IsEmpty());
}

TEST(Ros, OtherKeysAreListed) {
  const std::string text = replaced(kWhole, "  rows: 1\n", "  rows: 1\n  dt: d\n") + "serial: 12\n";
  EXPECT_THAT(linesOf(kRos.file(text).not_taken_over),
              ElementsAre("distortion_coefficients.dt: is no part of a matrix",
                          "serial: is no part of ROS' calibrations"));
}

TEST(Ros, SkewIsTakenWithANote) {
  const std::string text = replaced(kWhole, "  data: [500.5, 0, 320.25, 0, 501.5, 240.75, 0, 0, 1]",
                                    "  data: [500.5, 0.25, 320.25, 0, 501.5, 240.75, 0, 0, 1]");
  const PeerFile file = kRos.file(text);
  EXPECT_EQ(file.cameras[0].skew, 0.25);
  EXPECT_THAT(file.notes, ElementsAre("camera_matrix: the skew of 0.25 px is taken over; ROS "
                                      "itself ignores it"));
  // P is no longer [K 0].
  EXPECT_EQ(file.not_taken_over.size(), 1U);
}

TEST(Ros, SmallerPicturesAreRefusedUnlessTheUserSaysOtherwise) {
  ReadOptions full;
  full.full_frame = true;
  const std::string binned = replaced(kWhole, "binning_x: 1", "binning_x: 2");
  EXPECT_EQ(kRos.refusal(binned),
            "f:21:12: binning_x: 2 pixels are one; --full-frame takes "
            "camera_matrix for that of the full frame");
  EXPECT_THAT(kRos.file(binned, full).notes,
              ElementsAre("binning_x: 2 pixels are one; camera_matrix is taken for that of the "
                          "full frame"));
  EXPECT_EQ(kRos.refusal(replaced(kWhole, "binning_y: 0", "binning_y: 3")),
            "f:22:12: binning_y: 3 pixels are one; --full-frame takes camera_matrix for that of "
            "the full frame");
  const std::string cut = replaced(kWhole, "x_offset: 0", "x_offset: 8");
  EXPECT_EQ(kRos.refusal(cut),
            "f:23:6: roi: is a part of the picture; --full-frame takes "
            "camera_matrix for that of the full frame");
  EXPECT_THAT(kRos.file(cut, full).notes,
              ElementsAre("roi: is a part of the picture; camera_matrix is taken for that of the "
                          "full frame"));
  EXPECT_EQ(kRos.file(cut, full).cameras[0].cx, 320.75);
  EXPECT_EQ(kRos.refusal(replaced(kWhole, "height: 480, width: 640", "height: 0, width: 0")), "");
  EXPECT_NE(kRos.refusal(replaced(kWhole, "height: 480, width: 640", "height: 480, width: 320")),
            "");
}

TEST(Ros, NumbersThatAreNoneOfACameraAreRefused) {
  const std::string head = "  data: [500.5, 0, 320.25, 0, 501.5, 240.75, 0, 0, 1]";
  EXPECT_EQ(kRos.refusal(replaced(kWhole, head, "  data: [0, 0, 1, 0, 1, 1, 0, 0, 1]")),
            "f:7:10: camera_matrix.data[0]: is a focal length, which must be above 0: 0");
  EXPECT_EQ(kRos.refusal(replaced(kWhole, head, "  data: [1, 0, 1, 0, -2, 1, 0, 0, 1]")),
            "f:7:22: camera_matrix.data[4]: is a focal length, which must be above 0: -2");
  EXPECT_EQ(kRos.refusal(replaced(kWhole, head, "  data: [1, 0, 1, 0.5, 1, 1, 0, 0, 1]")),
            "f:7:19: camera_matrix.data[3]: is 0.5, which is 0 in a camera matrix");
  EXPECT_EQ(kRos.refusal(replaced(kWhole, head, "  data: [1, 0, 1, 0, 1, 1, 0, 0, 2]")),
            "f:7:34: camera_matrix.data[8]: is 2, which is 1 in a camera matrix");
  EXPECT_EQ(kRos.refusal(replaced(kWhole, head, "  data: [.nan, 0, 1, 0, 1, 1, 0, 0, 1]")),
            "f:7:10: camera_matrix.data[0]: is not finite: .nan");
  EXPECT_EQ(kRos.refusal(replaced(kWhole, "-0.0005", "1e999")),
            "f:12:28: distortion_coefficients.data[3]: exceeds the range of double: 1e999");
  EXPECT_EQ(kRos.refusal(replaced(kWhole, "image_width: 640", "image_width: 0")),
            "f:1:14: image_width: is not from 1 to 16777216: 0");
  EXPECT_EQ(kRos.refusal(replaced(kWhole, "image_height: 480", "image_height: 480.5")),
            "f:2:15: image_height: is not a whole number: 480.5");
  EXPECT_EQ(kRos.refusal(replaced(kWhole, "image_width: 640\n", "")),
            "f:1:1: image_width: is missing");
  EXPECT_EQ(kRos.refusal(replaced(kWhole, "camera_name: head", "camera_name: [a]")),
            "f:3:14: camera_name: is not a word");
  EXPECT_EQ(kRos.refusal(kWhole + "binning_x: 1\n"), "f:24:1: binning_x: stands there twice");
  EXPECT_EQ(kRos.refusal("- 1\n"), "f:1:1: is not a map of keys and values");
}

TEST(Ros, NameMayBeMissing) {
  EXPECT_EQ(kRos.file(replaced(kWhole, "camera_name: head\n", "")).cameras[0].name, "");
  EXPECT_EQ(kRos.file(replaced(kWhole, "camera_name: head", "camera_name:")).cameras[0].name, "");
}

}  // namespace
}  // namespace norv::interop

#include "interop/formats/opencv.h"

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

constexpr testing::TextReader kOpenCv{PeerFormat::kOpenCv};

std::string matrix(const std::string& key, const std::string& rows, const std::string& cols,
                   const std::string& data) {
  return key + ": !!opencv-matrix\n   rows: " + rows + "\n   cols: " + cols +
         "\n   dt: d\n   data: [" + data + "]\n";
}

const std::string kSize = "%YAML:1.0\n---\nimage_width: 640\nimage_height: 480\n";
const std::string kMatrix = "500.5, 0., 320.25, 0., 501.5, 240.75, 0., 0., 1.";

/// A camera with a lens of these coefficients, standing.
std::string withLens(int count, const std::string& data) {
  return kSize + matrix("camera_matrix", "3", "3", kMatrix) +
         matrix("distortion_coefficients", std::to_string(count), "1", data);
}

const std::string kWhole = withLens(5, "-0.3, 0.1, 0.001, -0.0005, 0.02");

TEST(OpenCv, SamplesImageAsThePeerComputes) {
  // Measured: at most 4.6e-13 px.
  for (const char* const name : {"opencv4.yml", "opencv5.yml", "opencv5.xml", "opencv8.yml",
                                 "opencv8.json", "opencv12.yml"}) {
    const PeerFile file = kOpenCv.file(sampleText("opencv/" + std::string(name)));
    ASSERT_EQ(file.cameras.size(), 1U) << name;
    EXPECT_LE(largestError(file.cameras[0], name), 1e-9) << name;
    EXPECT_TRUE(file.cameras[0].size == (calibration::PixelSize{1280, 960}));
    EXPECT_EQ(file.cameras[0].name, "");
    EXPECT_THAT(linesOf(file.not_taken_over),
                ElementsAre("avg_reprojection_error: says how well the calibration fits"));
  }
}

TEST(OpenCv, FourteenCoefficientsAreThoseOfItsSample) {
  const PeerFile file = kOpenCv.file(sampleText("opencv/opencv14.yml"));
  const auto* lens = std::get_if<ExtendedLens>(&file.cameras[0].lens);
  ASSERT_NE(lens, nullptr);
  EXPECT_THAT(lens->rational.toCoefficients(),
              ElementsAre(0.3, -0.1, 0.001, -0.0005, 0.02, 0.6, 0.05, 0.01));
  EXPECT_EQ(lens->s1, 1e-4);
  EXPECT_EQ(lens->s2, 2e-4);
  EXPECT_EQ(lens->s3, 3e-4);
  EXPECT_EQ(lens->s4, 4e-4);
  EXPECT_EQ(lens->tau_x, 0.01);
  EXPECT_EQ(lens->tau_y, 0.02);
}

TEST(OpenCv, TakesEveryNumberAsItStands) {
  const PeerFile file = kOpenCv.file(kWhole);
  const PeerCamera& camera = file.cameras[0];
  EXPECT_EQ(camera.fx, 500.5);
  EXPECT_EQ(camera.fy, 501.5);
  EXPECT_EQ(camera.skew, 0);
  EXPECT_EQ(camera.cx, 320.75);
  EXPECT_EQ(camera.cy, 241.25);
  EXPECT_THAT(coefficientsOf(camera), ElementsAre(-0.3, 0.1, 0.001, -0.0005, 0.02, 0, 0, 0));
  EXPECT_FALSE(camera.camera_from_parent);
  EXPECT_THAT(file.not_taken_over, IsEmpty());
  EXPECT_THAT(file.notes, IsEmpty());
}

TEST(OpenCv, PixelOriginOfTheUserLeavesThePrincipalPointAsItIs) {
  ReadOptions options;
  options.pixel_origin = calibration::PixelOrigin::kImageCorner;
  const PeerFile file = kOpenCv.file(kWhole, options);
  EXPECT_EQ(file.cameras[0].cx, 320.25);
  EXPECT_EQ(file.cameras[0].cy, 240.75);
}

TEST(OpenCv, OtherNamesOfTheSameKeys) {
  for (const char* const k : {"cameraMatrix", "K", "mtx"}) {
    for (const char* const d : {"distCoeffs", "D", "dist_coeffs", "dist_coeff", "dist"}) {
      const std::string text =
          replaced(replaced(kWhole, "camera_matrix", k), "distortion_coefficients", d);
      EXPECT_EQ(kOpenCv.file(text).cameras[0].fx, 500.5);
      EXPECT_THAT(kOpenCv.file(text).not_taken_over, IsEmpty());
    }
  }
  const std::string both = kWhole + matrix("K", "3", "3", "1, 0, 2, 0, 3, 4, 0, 0, 1");
  EXPECT_EQ(kOpenCv.file(both).cameras[0].fx, 500.5);
  EXPECT_THAT(linesOf(kOpenCv.file(both).not_taken_over), ElementsAre("K: is no part of a camera"));
}

TEST(OpenCv, LensesOfAllLengthsEitherWay) {
  const std::string lying =
      kSize + matrix("K", "3", "3", kMatrix) + matrix("D", "1", "4", "1, 2, 3, 4");
  EXPECT_THAT(coefficientsOf(kOpenCv.file(lying).cameras[0]), ElementsAre(1, 2, 3, 4, 0, 0, 0, 0));
  EXPECT_THAT(coefficientsOf(kOpenCv.file(withLens(8, "1, 2, 3, 4, 5, 6, 7, 8")).cameras[0]),
              ElementsAre(1, 2, 3, 4, 5, 6, 7, 8));
  EXPECT_THAT(coefficientsOf(
                  kOpenCv.file(withLens(12, "1, 2, 3, 4, 5, 6, 7, 8, 0., 0, 0, -0.")).cameras[0]),
              ElementsAre(1, 2, 3, 4, 5, 6, 7, 8));
  EXPECT_THAT(
      coefficientsOf(
          kOpenCv.file(withLens(14, "1, 2, 3, 4, 5, 6, 7, 8, 0, 0, 0, 0, 0, 0")).cameras[0]),
      ElementsAre(1, 2, 3, 4, 5, 6, 7, 8));
  const PeerFile tilted = kOpenCv.file(withLens(14, "1, 2, 3, 4, 5, 6, 7, 8, 0, 0, 0, 0, 0, 9"));
  EXPECT_EQ(std::get<ExtendedLens>(tilted.cameras[0].lens).tau_y, 9);
}

TEST(OpenCv, FisheyeLensesAreEquidistant) {
  const PeerFile file = kOpenCv.file(withLens(4, "1, 2, 3, 4") + "fisheye_model: 1\n");
  const auto* map = std::get_if<RadialMap>(&file.cameras[0].lens);
  ASSERT_NE(map, nullptr);
  EXPECT_EQ(map->kind, RadialKind::kKannalaBrandt);
  EXPECT_THAT(map->parameters, ElementsAre(1, 2, 3, 4));
  EXPECT_THAT(
      coefficientsOf(kOpenCv.file(withLens(4, "1, 2, 3, 4") + "fisheye_model: 0\n").cameras[0]),
      ElementsAre(1, 2, 3, 4, 0, 0, 0, 0));
  EXPECT_EQ(
      kOpenCv.refusal(kWhole + "fisheye_model: 1\n"),
      "f:14:10: distortion_coefficients.data: has 5 coefficients, where a fisheye lens has 4");
  EXPECT_EQ(kOpenCv.refusal(kWhole + "fisheye_model: 2\n"),
            "f:15:16: fisheye_model: is not from 0 to 1: 2");
}

TEST(OpenCv, StereoFilesHoldTwoCameras) {
  const std::string pair = kSize + matrix("M1", "3", "3", kMatrix) +
                           matrix("D1", "1", "4", "1, 2, 3, 4") +
                           matrix("M2", "3", "3", "7, 0, 2, 0, 3, 4, 0, 0, 1") +
                           matrix("D2", "1", "4", "5, 6, 7, 8") + "R: 1\nP1: 2\n";
  const PeerFile both = kOpenCv.file(pair);
  ASSERT_EQ(both.cameras.size(), 2U);
  EXPECT_EQ(both.cameras[0].name, "camera1");
  EXPECT_EQ(both.cameras[1].name, "camera2");
  EXPECT_EQ(both.cameras[0].fx, 500.5);
  EXPECT_EQ(both.cameras[1].fx, 7);
  EXPECT_THAT(coefficientsOf(both.cameras[1]), ElementsAre(5, 6, 7, 8, 0, 0, 0, 0));
  EXPECT_THAT(
      linesOf(both.not_taken_over),
      ElementsAre("R: is a pose, of boards or between cameras", "P1: describes rectified images"));
  ReadOptions second;
  second.node = 2;
  const PeerFile one = kOpenCv.file(pair, second);
  ASSERT_EQ(one.cameras.size(), 1U);
  EXPECT_EQ(one.cameras[0].name, "camera2");
  EXPECT_THAT(
      linesOf(one.not_taken_over),
      ElementsAre("M1: is of another camera of the file, which --node takes",
                  "D1: is of another camera of the file, which --node takes",
                  "R: is a pose, of boards or between cameras", "P1: describes rectified images"));
  EXPECT_EQ(kOpenCv.refusal(kWhole, second), "f:3:1: M2: is missing");
}

TEST(OpenCv, FourCoefficientsMayHaveBeenMeantForAFisheye) {
  const std::string k = kSize + matrix("K", "3", "3", kMatrix);
  EXPECT_THAT(kOpenCv.file(k + matrix("D", "4", "1", "1, 2, 3, 4")).notes,
              ElementsAre("D: four coefficients are taken for k1, k2, p1 and p2; they are those of "
                          "a fisheye lens where the file says fisheye_model: 1"));
  for (const char* const word : {"0", "1"}) {
    const std::string said = std::string("fisheye_model: ") + word + "\n";
    EXPECT_THAT(kOpenCv.file(k + said + matrix("D", "4", "1", "1, 2, 3, 4")).notes, IsEmpty());
  }
  EXPECT_THAT(kOpenCv.file(k + matrix("D", "5", "1", "1, 2, 3, 4, 5")).notes, IsEmpty());
}

TEST(OpenCv, OtherNamesOfAPair) {
  const std::string first = matrix("K1", "3", "3", kMatrix) + matrix("D1", "1", "4", "1, 2, 3, 4");
  const std::string second = matrix("cameraMatrix2", "3", "3", "7, 0, 2, 0, 3, 4, 0, 0, 1") +
                             matrix("distCoeffs2", "1", "4", "5, 6, 7, 8");
  const PeerFile both = kOpenCv.file(kSize + first + second);
  ASSERT_EQ(both.cameras.size(), 2U);
  EXPECT_EQ(both.cameras[0].fx, 500.5);
  EXPECT_EQ(both.cameras[1].fx, 7);
  EXPECT_THAT(both.not_taken_over, IsEmpty());
}

TEST(OpenCv, SizeIsReadOrToldAndNeverGuessed) {
  const std::string none = replaced(kWhole, "image_width: 640\nimage_height: 480\n", "");
  EXPECT_EQ(kOpenCv.refusal(none),
            "f: image_width: is missing, as image_height and image_size "
            "are; --size WxH tells them");
  ReadOptions told;
  told.size = calibration::PixelSize{320, 240};
  EXPECT_TRUE(kOpenCv.file(none, told).cameras[0].size == *told.size);
  EXPECT_THAT(kOpenCv.file(none, told).notes, IsEmpty());
  const PeerFile both = kOpenCv.file(kWhole, told);
  EXPECT_TRUE(both.cameras[0].size == (calibration::PixelSize{640, 480}));
  EXPECT_THAT(both.notes,
              ElementsAre("the size is the file's, 640x480, and not 320x240 of --size"));
  told.size = calibration::PixelSize{640, 480};
  EXPECT_THAT(kOpenCv.file(kWhole, told).notes, IsEmpty());
  EXPECT_TRUE(kOpenCv.file(none + "image_size: [ 800, 600 ]\n").cameras[0].size ==
              (calibration::PixelSize{800, 600}));
  // As Python's bindings write a pair.
  EXPECT_TRUE(kOpenCv.file(none + matrix("image_size", "2", "1", "800, 600")).cameras[0].size ==
              (calibration::PixelSize{800, 600}));
  EXPECT_EQ(kOpenCv.refusal(none + "image_size: [ 800 ]\n"),
            "f:13:13: image_size: has 1 numbers where 2 are needed");
  EXPECT_EQ(kOpenCv.refusal(none + "image_size: [ 800, 0 ]\n"),
            "f:13:20: image_size[1]: is not from 1 to 16777216: 0");
  EXPECT_EQ(kOpenCv.refusal(kWhole + "image_size: [ 640, 481 ]\n"),
            "f:15:13: image_size: is not image_width and image_height");
  EXPECT_EQ(kOpenCv.refusal(kWhole + "image_size: [ 640, 480 ]\n"), "");
  EXPECT_EQ(kOpenCv.refusal(replaced(kWhole, "image_width: 640\n", "")),
            "f:3:1: image_width: is missing");
  EXPECT_EQ(kOpenCv.refusal(replaced(kWhole, "image_height: 480\n", "")),
            "f:3:1: image_height: is missing");
}

TEST(OpenCv, OtherKeysAreListedWithReasons) {
  const std::string text = replaced(kWhole, "   cols: 1\n", "   cols: 1\n   step: 4\n") +
                           "extrinsic_parameters: 1\nper_view_reprojection_errors: 1\n"
                           "image_points: 1\nflags: 2\nsquare_size: 3\nserial: 12\n";
  EXPECT_THAT(linesOf(kOpenCv.file(text).not_taken_over),
              ElementsAre("distortion_coefficients.step: is no part of a matrix",
                          "extrinsic_parameters: is a pose, of boards or between cameras",
                          "per_view_reprojection_errors: says how well the calibration fits",
                          "image_points: has points of the calibration",
                          "flags: says how the calibration was made",
                          "square_size: says how the calibration was made",
                          "serial: is no part of a camera"));
}

TEST(OpenCv, SkewIsTakenWithANote) {
  const PeerFile file = kOpenCv.file(replaced(kWhole, "500.5, 0.,", "500.5, 0.25,"));
  EXPECT_EQ(file.cameras[0].skew, 0.25);
  EXPECT_THAT(file.notes, ElementsAre("camera_matrix: the skew of 0.25 px is taken over; OpenCV "
                                      "itself ignores it"));
}

TEST(OpenCv, MatricesThatAreNoneOfACameraAreRefused) {
  EXPECT_EQ(kOpenCv.refusal(withLens(6, "1, 2, 3, 4, 5, 6")),
            "f:14:10: distortion_coefficients.data: has 6 coefficients, where OpenCV has 4, 5, 8, "
            "12 or 14");
  EXPECT_EQ(kOpenCv.refusal(withLens(0, "")),
            "f:14:10: distortion_coefficients.data: has 0 coefficients, where OpenCV has 4, 5, 8, "
            "12 or 14");
  EXPECT_EQ(kOpenCv.refusal(withLens(4, "1, 2, 3, 4, 5")),
            "f:14:10: distortion_coefficients.data: has 5 numbers where rows x cols are 4 x 1");
  EXPECT_EQ(kOpenCv.refusal(kSize + matrix("K", "2", "3", "1, 2, 3, 4, 5, 6") +
                            matrix("D", "1", "4", "1, 2, 3, 4")),
            "f:6:10: K.rows: the matrix is 2 x 3, where 3 x 3 is needed");
  EXPECT_EQ(
      kOpenCv.refusal(kSize + matrix("K", "3", "3", kMatrix) + matrix("D", "2", "2", "1, 2, 3, 4")),
      "f:11:10: D.rows: the matrix is 2 x 2, where one row or column is needed");
  EXPECT_EQ(kOpenCv.refusal(replaced(kWhole, "240.75, 0., 0., 1.", "240.75, 0., 2., 1.")),
            "f:9:53: camera_matrix.data[7]: is 2, which is 0 in a camera matrix");
  EXPECT_EQ(kOpenCv.refusal(replaced(kWhole, "240.75, 0., 0., 1.", "240.75, 0., 0., 0.")),
            "f:9:57: camera_matrix.data[8]: is 0, which is 1 in a camera matrix");
  EXPECT_EQ(kOpenCv.refusal(replaced(kWhole, "501.5", "-501.5")),
            "f:9:34: camera_matrix.data[4]: is a focal length, which must be above 0: -501.5");
  EXPECT_EQ(kOpenCv.refusal(replaced(kWhole, "500.5", ".Nan")),
            "f:9:11: camera_matrix.data[0]: is not finite: .Nan");
  EXPECT_EQ(kOpenCv.refusal(replaced(kWhole, "0.02", "-.Inf")),
            "f:14:38: distortion_coefficients.data[4]: is not finite: -.Inf");
  EXPECT_EQ(kOpenCv.refusal(replaced(kWhole, "0.02", "1e999")),
            "f:14:38: distortion_coefficients.data[4]: exceeds the range of double: 1e999");
}

TEST(OpenCv, NumbersOfSinglePrecisionAreReadAsTheyAreWritten) {
  const std::string text =
      replaced(kWhole, "   dt: d\n   data: [500.5", "   dt: f\n   data: [500.10001");
  EXPECT_EQ(kOpenCv.file(text).cameras[0].fx, 500.10001);
  EXPECT_EQ(kOpenCv.refusal(replaced(kWhole, "   dt: d\n   data: [500.5", "   dt: u\n   data: [5")),
            "f:8:8: camera_matrix.dt: is u, where d or f is needed");
  EXPECT_EQ(
      kOpenCv.refusal(replaced(kWhole, "   dt: d\n   data: [500.5", "   dt: \"2d\"\n   data: [5")),
      "f:8:8: camera_matrix.dt: is 2d, where d or f is needed");
  EXPECT_EQ(kOpenCv.refusal(replaced(kWhole, "   dt: d\n   data: [500.5", "   data: [5")),
            "f:5:16: camera_matrix.dt: is missing");
}

TEST(OpenCv, MissingKeysAreRefused) {
  EXPECT_EQ(kOpenCv.refusal(replaced(kWhole, "camera_matrix", "matrix")),
            "f:3:1: camera_matrix: is missing");
  EXPECT_EQ(kOpenCv.refusal(replaced(kWhole, "distortion_coefficients", "lens")),
            "f:3:1: distortion_coefficients: is missing");
  EXPECT_EQ(kOpenCv.refusal(kSize + matrix("M2", "3", "3", kMatrix)), "f:3:1: D2: is missing");
  EXPECT_EQ(kOpenCv.refusal(kWhole + "image_width: 640\n"),
            "f:15:1: image_width: stands there twice");
  EXPECT_EQ(kOpenCv.refusal("%YAML:1.0\n---\n- 1\n"), "f:3:1: is not a map of keys and values");
}

TEST(OpenCv, XmlIsReadAsTheSameTree) {
  const std::string text = sampleText("opencv/opencv5.xml");
  const PeerFile file = kOpenCv.file(text);
  const PeerFile yaml = kOpenCv.file(sampleText("opencv/opencv5.yml"));
  EXPECT_EQ(coefficientsOf(file.cameras[0]), coefficientsOf(yaml.cameras[0]));
  EXPECT_EQ(file.cameras[0].cx, yaml.cameras[0].cx);
  EXPECT_EQ(kOpenCv.refusal(replaced(text, "<image_width>1280</image_width>\n", "")),
            "f:2:1: image_width: is missing");
  EXPECT_EQ(
      kOpenCv.refusal(replaced(text, "6.4050000000000000e+02 0.", "6.4050000000000000e+02 x")),
      "f:10:54: camera_matrix.data[3]: is not a number: x");
  EXPECT_EQ(kOpenCv.refusal(replaced(text, "4.8025000000000000e+02 0.", "nan 0.")),
            "f:11:28: camera_matrix.data[5]: is not finite: nan");
  EXPECT_EQ(kOpenCv.refusal(replaced(text, "<image_height>960", "<image_height>9e999")),
            "f:4:15: image_height: exceeds the range of double: 9e999");
  EXPECT_EQ(kOpenCv.refusal(replaced(text, "<camera_matrix type_id=\"opencv-matrix\">",
                                     "<camera_matrix type_id=\"opencv-sparse-matrix\">")),
            "f:5:1: camera_matrix.type_id: is opencv-sparse-matrix, where opencv-matrix is needed");
  EXPECT_EQ(kOpenCv.refusal("<opencv></opencv>"), "f: opencv_storage: is missing");
}

TEST(OpenCv, CommentsInJsonCountForNothing) {
  // Where and how OpenCV writes the flags of a calibration.
  const std::string text =
      replaced(sampleText("opencv/opencv8.json"), ",\n    \"camera_matrix\"",
               "\n    // flags: \"+zero_tangent_dist\n    ,\n    \"camera_matrix\"");
  const PeerFile file = kOpenCv.file(text);
  EXPECT_LE(largestError(file.cameras[0], "opencv8.json"), 1e-9);
  EXPECT_EQ(detectFormat(text), PeerFormat::kOpenCv);
  EXPECT_EQ(
      kOpenCv.refusal(replaced(text, "\"cols\": 1,", "\"cols\": 1, /* as OpenCV */ \"cols\": 1,")),
      "f:18:36: cols: stands there twice");
}

TEST(OpenCv, JsonIsReadAsTheSameTree) {
  const std::string text = sampleText("opencv/opencv8.json");
  const PeerFile file = kOpenCv.file(text);
  EXPECT_EQ(coefficientsOf(file.cameras[0]),
            coefficientsOf(kOpenCv.file(sampleText("opencv/opencv8.yml")).cameras[0]));
  EXPECT_EQ(kOpenCv.refusal(replaced(text, "\"image_width\": 1280", "\"image_width\": \"1280\"")),
            "f:2:20: image_width: is not a number, but a text");
  EXPECT_EQ(kOpenCv.refusal(replaced(text, "1.0 ]", "null ]")),
            "f:11:18: camera_matrix.data[8]: is not a number");
}

}  // namespace
}  // namespace norv::interop

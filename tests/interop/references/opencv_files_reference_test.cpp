/// Files that OpenCV writes now, read by us.

#include <gmock/gmock.h>

#include <opencv2/calib3d.hpp>
#include <opencv2/core.hpp>

#include "interop/calibration_export.h"
#include "interop/calibration_import.h"
#include "tests/interop/references/drawn_cameras.h"

namespace norv::interop {
namespace {

using testing::DrawnCamera;
using ::testing::ElementsAre;

constexpr double kHalf = 0.5;
constexpr std::array<const char*, 3> kSyntaxes = {".yml", ".xml", ".json"};

/// What a file's keys are called, how it says the picture's size, and how its vectors lie.
struct Style {
  const char* matrix;
  const char* lens;
  bool has_list_of_sides;
  bool has_rows;
};
constexpr std::array<Style, 3> kStyles = {{
    {"camera_matrix", "distortion_coefficients", false, false},
    {"cameraMatrix", "distCoeffs", true, true},
    {"K", "D", true, false},
}};

cv::Mat matrixOf(const DrawnCamera& camera) {
  return (cv::Mat_<double>(3, 3) << camera.fx, 0, camera.cx, 0, camera.fy, camera.cy, 0, 0, 1);
}

/// A column, or a row.
cv::Mat vectorOf(const std::vector<double>& numbers, bool is_row = false) {
  const cv::Mat column = cv::Mat(numbers, true);
  return is_row ? column.t() : column;
}

/// The text that `write` makes of a file of that syntax.
template <class Write>
std::string textBy(const std::string& syntax, const Write& write) {
  cv::FileStorage storage(syntax, cv::FileStorage::WRITE | cv::FileStorage::MEMORY);
  write(&storage);
  return storage.releaseAndGetString();
}

void writeSize(const DrawnCamera& camera, bool as_list, cv::FileStorage* storage) {
  if (as_list) {
    *storage << "image_size" << cv::Size(camera.size.width, camera.size.height);
  } else {
    *storage << "image_width" << camera.size.width << "image_height" << camera.size.height;
  }
}

std::string textOf(const DrawnCamera& camera, const std::string& syntax, const Style& style,
                   bool is_fisheye = false) {
  return textBy(syntax, [&](cv::FileStorage* storage) {
    writeSize(camera, style.has_list_of_sides, storage);
    if (is_fisheye) *storage << "fisheye_model" << 1;
    *storage << style.matrix << matrixOf(camera);
    *storage << style.lens << vectorOf(camera.coefficients, style.has_rows);
  });
}

std::vector<cv::Point3d> cvPoints(const std::vector<Eigen::Vector3d>& points) {
  std::vector<cv::Point3d> result;
  for (const Eigen::Vector3d& p : points) result.emplace_back(p.x(), p.y(), p.z());
  return result;
}

/// What OpenCV gives for the points.
std::vector<Eigen::Vector2d> pixelsByOpenCv(const DrawnCamera& camera, bool is_fisheye,
                                            const std::vector<Eigen::Vector3d>& points) {
  std::vector<cv::Point2d> pixels;
  const cv::Mat k = matrixOf(camera);
  const cv::Mat d = vectorOf(camera.coefficients);
  if (is_fisheye) {
    cv::fisheye::projectPoints(cvPoints(points), pixels, cv::Vec3d(), cv::Vec3d(), k, d);
  } else {
    cv::projectPoints(cvPoints(points), cv::Vec3d(), cv::Vec3d(), k, d, pixels);
  }
  std::vector<Eigen::Vector2d> result;
  for (const cv::Point2d& p : pixels) result.emplace_back(p.x, p.y);
  return result;
}

PeerFile read(const std::string& text, const ReadOptions& options = {}) {
  return testing::mustRead(readCameras({"f", text}, PeerFormat::kOpenCv, options));
}

/// The doubles of the message that a text is imported to, its format being found out.
PeerCamera imported(const std::string& text) {
  const auto outcome = importCameras({{"f", text}}, {});
  if (const auto* problem = std::get_if<FormatProblem>(&outcome)) {
    ADD_FAILURE() << describe(*problem);
    return {};
  }
  const ImportedCamera& camera = std::get<ImportOutcome>(outcome).cameras.at(0);
  EXPECT_FALSE(camera.deviation.has_value());
  const auto m = std::get<WrittenCamera>(fullFrameCamera(camera.calibration)).model;
  return {
      camera.calibration.name(), {m.width, m.height}, m.fx, m.fy, m.skew, m.cx, m.cy, m.lens, {}};
}

/// Five cameras of a lens in every syntax and style.
void expectReads(std::size_t coefficients, bool is_fisheye, unsigned seed) {
  const std::vector<Eigen::Vector3d> points = testing::gridOfPoints();
  std::mt19937 random(seed);
  double largest = 0;
  for (int i = 0; i < 5; ++i) {
    for (const Style& style : kStyles) {
      const DrawnCamera drawn = testing::drawCamera(coefficients, &random);
      const auto pixels = pixelsByOpenCv(drawn, is_fisheye, points);
      for (const char* const syntax : kSyntaxes) {
        const std::string text = textOf(drawn, syntax, style, is_fisheye);
        const PeerFile file = read(text);
        ASSERT_EQ(file.cameras.size(), 1U) << text;
        EXPECT_TRUE(file.not_taken_over.empty());
        // Without a word four coefficients may have been meant for a fisheye.
        EXPECT_EQ(file.notes.size(), coefficients == 4 && !is_fisheye ? 1U : 0U);
        testing::expectDrawn(file.cameras[0], drawn, kHalf);
        const bool is_ours = coefficients <= 8 && !is_fisheye;
        const PeerCamera camera = is_ours ? imported(text) : file.cameras[0];
        testing::expectDrawn(camera, drawn, kHalf);
        largest = std::fmax(largest, testing::largestDistance(camera, points, pixels, kHalf));
      }
    }
  }
  // 1.1e-12 measured.
  EXPECT_LT(largest, 1e-9);
}

TEST(OpenCvFilesReference, ReadsLensesOfFourCoefficients) { expectReads(4, false, 71); }
TEST(OpenCvFilesReference, ReadsLensesOfFiveCoefficients) { expectReads(5, false, 72); }
TEST(OpenCvFilesReference, ReadsLensesOfEightCoefficients) { expectReads(8, false, 73); }
TEST(OpenCvFilesReference, ReadsLensesWithThinPrisms) { expectReads(12, false, 74); }
TEST(OpenCvFilesReference, ReadsLensesWithTiltedSensors) { expectReads(14, false, 75); }
TEST(OpenCvFilesReference, ReadsFisheyeLenses) { expectReads(4, true, 76); }

TEST(OpenCvFilesReference, ReadsBothCamerasOfAPair) {
  std::mt19937 random(77);
  const DrawnCamera left = testing::drawCamera(5, &random);
  DrawnCamera right = testing::drawCamera(14, &random);
  right.size = left.size;
  for (const char* const syntax : kSyntaxes) {
    const std::string text = textBy(syntax, [&](cv::FileStorage* storage) {
      *storage << "M1" << matrixOf(left) << "D1" << vectorOf(left.coefficients, true);
      *storage << "M2" << matrixOf(right) << "D2" << vectorOf(right.coefficients, true);
    });
    ReadOptions options;
    options.size = left.size;
    const PeerFile file = read(text, options);
    ASSERT_EQ(file.cameras.size(), 2U) << text;
    testing::expectDrawn(file.cameras[0], left, kHalf);
    testing::expectDrawn(file.cameras[1], right, kHalf);
  }
}

TEST(OpenCvFilesReference, ReadsSinglePrecision) {
  std::mt19937 random(78);
  const DrawnCamera drawn = testing::drawCamera(8, &random);
  for (const char* const syntax : kSyntaxes) {
    const std::string text = textBy(syntax, [&](cv::FileStorage* storage) {
      writeSize(drawn, false, storage);
      *storage << "camera_matrix" << cv::Mat_<float>(matrixOf(drawn));
      *storage << "distortion_coefficients" << cv::Mat_<float>(vectorOf(drawn.coefficients));
    });
    const PeerFile file = read(text);
    ASSERT_EQ(file.cameras.size(), 1U) << text;
    const PeerCamera& camera = file.cameras[0];
    EXPECT_EQ(static_cast<float>(camera.fx), static_cast<float>(drawn.fx));
    EXPECT_EQ(static_cast<float>(camera.cy - kHalf), static_cast<float>(drawn.cy));
    const std::vector<double> coefficients = testing::allCoefficients(camera.lens);
    for (std::size_t i = 0; i < coefficients.size(); ++i) {
      EXPECT_EQ(static_cast<float>(coefficients[i]), static_cast<float>(drawn.coefficients[i]));
    }
  }
}

/// What OpenCV's program for calibrating a camera writes beside the camera.
void writeRecord(cv::FileStorage* storage) {
  *storage << "calibration_time"
           << "Thu 01 Jan 1970 12:00:00 AM UTC";
  *storage << "nr_of_frames" << 2 << "board_width" << 9 << "board_height" << 6;
  *storage << "square_size" << 0.025F;
  storage->writeComment("flags: +fix_aspectRatio +zero_tangent_dist", 0);
  *storage << "flags" << 10;
  *storage << "avg_reprojection_error" << 0.123;
  *storage << "per_view_reprojection_errors" << cv::Mat_<float>(2, 1, 0.1F);
  storage->writeComment("a set of 6-tuples (rotation vector + translation vector) for each view");
  *storage << "extrinsic_parameters" << cv::Mat_<double>(2, 6, 0.25);
  *storage << "image_points" << cv::Mat(2, 3, CV_32FC2, cv::Scalar(1, 2));
  *storage << "grid_points" << std::vector<cv::Point3f>(2, {1, 2, 3});
}

TEST(OpenCvFilesReference, ReadsWhatItsCalibrationWrites) {
  std::mt19937 random(79);
  const DrawnCamera drawn = testing::drawCamera(5, &random);
  for (const char* const syntax : kSyntaxes) {
    const std::string text = textBy(syntax, [&](cv::FileStorage* storage) {
      writeRecord(storage);
      writeSize(drawn, false, storage);
      *storage << "fisheye_model" << 0;
      *storage << "camera_matrix" << matrixOf(drawn);
      *storage << "distortion_coefficients" << vectorOf(drawn.coefficients);
    });
    const PeerFile file = read(text);
    ASSERT_EQ(file.cameras.size(), 1U) << text;
    testing::expectDrawn(file.cameras[0], drawn, kHalf);
    std::vector<std::string> keys;
    for (const NotTakenOver& one : file.not_taken_over) keys.push_back(one.key);
    EXPECT_THAT(keys, ElementsAre("calibration_time", "nr_of_frames", "board_width", "board_height",
                                  "square_size", "flags", "avg_reprojection_error",
                                  "per_view_reprojection_errors", "extrinsic_parameters",
                                  "image_points", "grid_points"));
  }
}

}  // namespace
}  // namespace norv::interop

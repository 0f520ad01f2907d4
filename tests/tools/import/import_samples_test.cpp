// The samples that other programs' own writers made, imported as the user does it: the pixels that
// those programs compute (tests/data/interop/expected.json) come out of what was written.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <Eigen/Core>
#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <regex>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/tools/import/import_example.h"

namespace norv {
namespace {

using calibration::CameraCalibration;
using testing::contentsOf;
using ::testing::HasSubstr;
using testing::kSamples;
using testing::PeerFiles;
using testing::ProgramResult;
using testing::quoted;
using testing::readRobot;
using testing::runTool;

/// A camera of a sample: its file, what expected.json calls that, its index there, and its name
/// once imported; further words for the tool.
struct Sample {
  const char* file;
  const char* expected;
  std::size_t index;
  const char* name;
  const char* words = "";
};

nlohmann::json expectedJson() {
  return nlohmann::json::parse(contentsOf(kSamples + "expected.json"));
}

std::vector<Eigen::Vector3d> pointsOf(const nlohmann::json& rows) {
  std::vector<Eigen::Vector3d> points;
  for (const auto& row : rows) points.emplace_back(row.at(0), row.at(1), row.at(2));
  return points;
}

/// The pixel of a point of the camera's frame by the formula of docs/conventions.md.
Eigen::Vector2d project(const calibration::CameraIntrinsics& k, const Eigen::Vector3d& point) {
  const double x = point.x() / point.z();
  const double y = point.y() / point.z();
  const double s = x * x + y * y;
  const double factor = (1 + s * (k.radial(0) + s * (k.radial(1) + s * k.radial(2)))) /
                        (1 + s * (k.radial(3) + s * (k.radial(4) + s * k.radial(5))));
  const double p1 = k.tangential(0);
  const double p2 = k.tangential(1);
  const double xd = x * factor + 2 * p1 * x * y + p2 * (s + 2 * x * x);
  const double yd = y * factor + p1 * (s + 2 * y * y) + 2 * p2 * x * y;
  return {k.fx() * xd + k.skew() * yd + k.cx(), k.fy() * yd + k.cy()};
}

/// How far the camera's pixels are from the expected ones.
double largestMiss(const CameraCalibration& camera, const Sample& sample) {
  const nlohmann::json expected = expectedJson();
  const nlohmann::json entry = expected.at("files").at(sample.expected).at(sample.index);
  const auto points = pointsOf(expected.at("points_camera"));
  double miss = 0;
  for (std::size_t i = 0; i < points.size(); ++i) {
    const auto& peer = entry.at("pixels").at(i);
    const double u = peer.at(0).get<double>() + entry.at("offset").at(0).get<double>();
    const double v = peer.at(1).get<double>() + entry.at("offset").at(1).get<double>();
    miss = std::max(miss, (project(camera.intrinsics(), points[i]) - Eigen::Vector2d(u, v)).norm());
  }
  return miss;
}

CameraCalibration cameraNamed(const std::string& path, const std::string& name) {
  const calibration::RobotCalibration robot = readRobot(path);
  for (const CameraCalibration& camera : robot.camera_calibration()) {
    if (camera.name() == name) return camera;
  }
  throw std::runtime_error(path + " holds no camera " + name);
}

/// The camera of the calibration that is written, and what the tool says.
CameraCalibration importSample(const PeerFiles& files, const Sample& sample,
                               ProgramResult* result) {
  *result = runTool(files.import(quoted(kSamples + sample.file) + " " + sample.words));
  EXPECT_EQ(result->status, 0) << result->errors;
  return cameraNamed(files.output, sample.name);
}

TEST(ImportSamples, LensesThatAreTheSameGiveTheirPixels) {
  const PeerFiles files;
  for (const Sample& sample : std::vector<Sample>{
           {"opencv/opencv4.yml", "opencv4.yml", 0, "opencv4"},
           {"opencv/opencv5.yml", "opencv5.yml", 0, "opencv5"},
           {"opencv/opencv5.xml", "opencv5.xml", 0, "opencv5"},
           {"opencv/opencv8.yml", "opencv8.yml", 0, "opencv8"},
           {"opencv/opencv8.json", "opencv8.json", 0, "opencv8"},
           {"ros/ros_plumb_bob.yaml", "ros_plumb_bob.yaml", 0, "narrow_stereo/left"},
           {"ros/ros_rational_polynomial.yaml", "ros_rational_polynomial.yaml", 0,
            "narrow_stereo/left"},
           {"mrcal/mrcal_PINHOLE.cameramodel", "mrcal_PINHOLE.cameramodel", 0, "mrcal_PINHOLE"},
           {"mrcal/mrcal_OPENCV4.cameramodel", "mrcal_OPENCV4.cameramodel", 0, "mrcal_OPENCV4"},
           {"mrcal/mrcal_OPENCV5.cameramodel", "mrcal_OPENCV5.cameramodel", 0, "mrcal_OPENCV5"},
           {"mrcal/mrcal_OPENCV8.cameramodel", "mrcal_OPENCV8.cameramodel", 0, "mrcal_OPENCV8"},
           {"basalt/basalt_calib.json", "basalt_calib.json", 0, "basalt_calib"},
           {"kalibr/kalibr_camchain_imucam.yaml", "kalibr_camchain_imucam.yaml", 0, "cam0"},
           {"colmap/cameras.txt", "colmap/cameras.txt", 0, "camera1"},
           {"colmap/cameras.txt", "colmap/cameras.txt", 1, "camera2"},
           {"colmap/cameras.txt", "colmap/cameras.txt", 2, "camera3"}}) {
    ProgramResult result;
    const CameraCalibration camera = importSample(files, sample, &result);
    EXPECT_THAT(result.output, HasSubstr("\n  " + std::string(sample.name) + ": exact at "));
    EXPECT_LE(largestMiss(camera, sample), 1e-9) << sample.file;  // measured: 4.6e-13
  }
}

/// What is printed of a camera: the largest distance.
double printedError(const std::string& report, const std::string& name) {
  std::smatch found;
  const std::regex words("\n  " + name +
                         ": max ([0-9.e-]+) px, rms [0-9.e-]+ px at [0-9]+x[0-9]+[;,]");
  EXPECT_TRUE(std::regex_search(report, found, words)) << report;
  return found.empty() ? std::nan("") : std::stod(found[1]);
}

struct FittedSample {
  Sample sample;
  double most;  ///< pixels
};

TEST(ImportSamples, LensesOfOtherKindsMissByWhatIsPrinted) {
  const PeerFiles files;
  for (const FittedSample& fitted : std::vector<FittedSample>{
           {{"kalibr/kalibr_camchain_imucam.yaml", "kalibr_camchain_imucam.yaml", 1, "cam1"}, 3e-4},
           {{"colmap/cameras.txt", "colmap/cameras.txt", 3, "camera4"}, 2e-6},
           {{"mrcal/mrcal_STEREOGRAPHIC.cameramodel", "mrcal_STEREOGRAPHIC.cameramodel", 0,
             "mrcal_STEREOGRAPHIC"},
            1e-6}}) {
    ProgramResult result;
    const CameraCalibration camera = importSample(files, fitted.sample, &result);
    const double printed = printedError(result.output, fitted.sample.name);
    EXPECT_LE(printed, fitted.most) << fitted.sample.file;
    EXPECT_GT(printed, 0) << fitted.sample.file;
    EXPECT_LE(largestMiss(camera, fitted.sample), fitted.most) << fitted.sample.file;
  }
}

TEST(ImportSamples, LensesThatNoneOfOursIsNearAreRefused) {
  const PeerFiles files;
  for (const std::string sample : {"ros/ros_equidistant.yaml", "opencv/opencv12.yml",
                                   "opencv/opencv14.yml", "mrcal/mrcal_OPENCV12.cameramodel"}) {
    for (const std::string words : {"", " --force"}) {
      files.folder.write("output", testing::kOtherFile);
      const ProgramResult result = runTool(files.import(quoted(kSamples + sample) + words));
      EXPECT_EQ(result.status, 1) << sample;
      EXPECT_EQ(result.output, "") << sample;
      EXPECT_EQ(contentsOf(files.output), testing::kOtherFile) << sample;
    }
  }
  const Sample tilted = {"opencv/opencv14.yml", "opencv14.yml", 0, "opencv14", "--max-error 5"};
  ProgramResult result;
  const CameraCalibration camera = importSample(files, tilted, &result);
  const double printed = printedError(result.output, "opencv14");
  EXPECT_LE(printed, 5);
  EXPECT_GT(printed, 0.1);
  EXPECT_LE(largestMiss(camera, tilted), printed);
}

/// How far the written pose puts the points of another frame from those of the camera's, metres.
double poseMiss(const CameraCalibration& camera, const nlohmann::json& from_rows) {
  const auto from = pointsOf(from_rows);
  const auto to = pointsOf(expectedJson().at("points_camera"));
  double miss = 0;
  for (std::size_t i = 0; i < from.size(); ++i) {
    Eigen::Vector3d moved;
    for (int r = 0; r < 3; ++r) {
      const auto a = [&](int c) { return camera.extrinsics().a(4 * r + c); };
      moved[r] = a(0) * from[i].x() + a(1) * from[i].y() + a(2) * from[i].z() + a(3) / 1000;
    }
    miss = std::max(miss, (moved - to.at(i)).norm());
  }
  return miss;
}

void expectPose(const Sample& sample, const char* frame) {
  const PeerFiles files;
  ProgramResult result;
  const CameraCalibration camera = importSample(files, sample, &result);
  const nlohmann::json entry = expectedJson().at("files").at(sample.expected).at(sample.index);
  EXPECT_LE(poseMiss(camera, entry.at(frame)), 1e-9) << sample.file;
}

TEST(ImportSamples, PosesMapTheirFramesPoints) {
  constexpr const char* kParent = "--parent robot";
  expectPose(
      {"kalibr/kalibr_camchain_imucam.yaml", "kalibr_camchain_imucam.yaml", 0, "cam0", kParent},
      "points_imu");
  expectPose(
      {"kalibr/kalibr_camchain_imucam.yaml", "kalibr_camchain_imucam.yaml", 1, "cam1", kParent},
      "points_imu");
  expectPose({"basalt/basalt_calib.json", "basalt_calib.json", 0, "basalt_calib", kParent},
             "points_imu");
  for (const char* lens : {"PINHOLE", "OPENCV4", "OPENCV5", "OPENCV8"}) {
    const std::string name = std::string("mrcal_") + lens;
    const std::string file = "mrcal/" + name + ".cameramodel";
    const std::string expected = name + ".cameramodel";
    expectPose({file.c_str(), expected.c_str(), 0, name.c_str(), kParent}, "points_reference");
  }
  expectPose({"colmap", "colmap/images.txt", 0, "head", "--parent robot --scale 1"},
             "points_world");
}

TEST(ImportSamples, HalfAPixel) {
  const PeerFiles files;
  const std::string file = kSamples + "opencv/opencv5.yml";
  ProgramResult result = runTool(files.import(quoted(file)));
  EXPECT_THAT(result.output, HasSubstr(testing::reportOf(file, "opencv")));
  EXPECT_EQ(cameraNamed(files.output, "opencv5").intrinsics().cx(), 641);
  EXPECT_EQ(cameraNamed(files.output, "opencv5").intrinsics().cy(), 480.75);
  result = runTool(files.import(quoted(file) + " --pixel-origin corner"));
  EXPECT_THAT(result.output, HasSubstr(file + ": format opencv, pixels counted from the image's "
                                              "corner: cx and cy as they are\n"));
  EXPECT_EQ(cameraNamed(files.output, "opencv5").intrinsics().cx(), 640.5);
  EXPECT_EQ(cameraNamed(files.output, "opencv5").intrinsics().cy(), 480.25);
}

/// The key's line of a sample is not taken over; with --strict nothing is written, and the last
/// line names the keys.
void expectNamed(const std::string& path, const std::string& words,
                 const std::vector<std::string>& keys) {
  const PeerFiles files;
  const ProgramResult lenient = runTool(files.import(quoted(path) + words));
  EXPECT_EQ(lenient.status, 0) << lenient.errors;
  std::string names;
  for (const std::string& key : keys) {
    EXPECT_THAT(lenient.errors, HasSubstr("not taken over: " + path + ": " + key + " ("));
    names += (names.empty() ? "" : ", ") + path + ": " + key;
  }
  files.folder.write("output", testing::kOtherFile);
  const ProgramResult strict = runTool(files.import(quoted(path) + words + " --strict"));
  EXPECT_EQ(strict.status, 1) << path;
  EXPECT_EQ(strict.output, "") << path;
  EXPECT_THAT(strict.errors, ::testing::EndsWith("\ncamera-parameters: " + files.output +
                                                 ": not written, since not everything is taken "
                                                 "over: " +
                                                 names + "\n"));
  EXPECT_EQ(contentsOf(files.output), testing::kOtherFile);
}

TEST(ImportSamples, StrictNamesEveryKeyThatIsLeftOut) {
  const PeerFiles files;
  std::string optimised = testing::mrcalFile();
  optimised.replace(optimised.rfind('}'), 1,
                    ", 'optimization_inputs': b'x', 'icam_intrinsics': 0, "
                    "'valid_intrinsics_region': [[0, 0], [1, 1]] }");
  expectNamed(files.folder.write("optimised.cameramodel", optimised), " --parent robot",
              {"optimization_inputs", "icam_intrinsics", "valid_intrinsics_region"});
  expectNamed(kSamples + "opencv/opencv5.yml", "", {"avg_reprojection_error"});
  expectNamed(kSamples + "ros/ros_plumb_bob.yaml", "", {"projection_matrix"});
  expectNamed(kSamples + "basalt/basalt_calib.json", " --parent robot",
              {"value0.calib_accel_bias", "value0.calib_gyro_bias", "value0.imu_update_rate",
               "value0.accel_noise_std", "value0.gyro_noise_std", "value0.accel_bias_std",
               "value0.gyro_bias_std", "value0.cam_time_offset_ns", "value0.vignette"});
}

}  // namespace
}  // namespace norv

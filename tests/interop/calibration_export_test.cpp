#include "interop/calibration_export.h"

#include <gtest/gtest.h>

#include <Eigen/SVD>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "interop/calibration_import.h"
#include "proto/norv_robot_calibration.pb.h"
#include "testing/tree_calibrations.h"

namespace norv::interop {
namespace {

using calibration::CameraCalibration;
using calibration::RobotCalibration;

/// The compiled-in cameras.
RobotCalibration defaultCameras() {
  return testing::treeCalibration<RobotCalibration>("default_head_cal.txt");
}

WrittenCamera fullFrame(const CameraCalibration& camera) {
  const auto written = fullFrameCamera(camera);
  const auto* reason = std::get_if<std::string>(&written);
  EXPECT_EQ(reason == nullptr ? "" : *reason, "");
  return reason == nullptr ? std::get<WrittenCamera>(written) : WrittenCamera();
}

WrittenCamera headCamera() { return fullFrame(defaultCameras().camera_calibration(0)); }

/// What is written is read as users do.
ImportOutcome importBack(const ExportOutcome& exported) {
  std::vector<SourceFile> files;
  for (const WrittenFile& file : exported.writing.files) {
    if (file.name != "points3D.txt") files.push_back({file.name, file.contents});
  }
  ImportOptions options;
  options.parent_is_robot = true;
  options.reading.metres_per_unit = 1;
  const auto outcome = importCameras(files, options);
  const auto* problem = std::get_if<FormatProblem>(&outcome);
  EXPECT_EQ(problem == nullptr ? "" : describe(*problem), "");
  return problem == nullptr ? std::get<ImportOutcome>(outcome) : ImportOutcome();
}

void expectWithinUlp(double a, double b) {
  EXPECT_LE(std::abs(a - b), std::nextafter(std::abs(b), 1e300) - std::abs(b)) << a << " " << b;
}

void expectSameIntrinsics(const calibration::CameraIntrinsics& a,
                          const calibration::CameraIntrinsics& b) {
  EXPECT_EQ(a.fx(), b.fx());
  EXPECT_EQ(a.fy(), b.fy());
  EXPECT_EQ(a.skew(), b.skew());
  expectWithinUlp(a.cx(), b.cx());
  expectWithinUlp(a.cy(), b.cy());
  EXPECT_EQ(a.width(), b.width());
  EXPECT_EQ(a.height(), b.height());
  for (int i = 0; i < 6; ++i) EXPECT_EQ(a.radial(i), b.radial(i)) << i;
  for (int i = 0; i < 2; ++i) EXPECT_EQ(a.tangential(i), b.tangential(i)) << i;
}

/// The rotation next to that of a pose, whose elements have nine digits in the compiled-in ones:
/// formats that hold quaternions or vectors hold nothing else.
Eigen::Matrix3d nearestRotation(const calibration::CameraExtrinsics& pose) {
  Eigen::Matrix3d rotation;
  for (int i = 0; i < 9; ++i) rotation(i / 3, i % 3) = pose.a(4 * (i / 3) + i % 3);
  const Eigen::JacobiSVD<Eigen::Matrix3d> svd(rotation, Eigen::ComputeFullU | Eigen::ComputeFullV);
  const Eigen::Matrix3d nearest = svd.matrixU() * svd.matrixV().transpose();
  EXPECT_LT((nearest - rotation).cwiseAbs().maxCoeff(), 5e-10);
  return nearest;
}

void expectSamePose(const calibration::CameraExtrinsics& a,
                    const calibration::CameraExtrinsics& b) {
  const Eigen::Matrix3d rotation = nearestRotation(b);
  const double length = Eigen::Vector3d(b.a(3), b.a(7), b.a(11)).norm();
  for (int i = 0; i < 12; ++i) {
    const bool is_shift = i % 4 == 3;
    const double wanted = is_shift ? b.a(i) : rotation(i / 4, i % 4);
    EXPECT_NEAR(a.a(i), wanted, 1e-12 * (is_shift ? length : 1)) << i;
  }
}

struct RoundTrip {
  const char* name;
  PeerFormat format;
  Syntax syntax;
  bool has_poses;
};

class ExportRoundTrip : public ::testing::TestWithParam<RoundTrip> {};

TEST_P(ExportRoundTrip, TheCompiledInCamerasComeBackAsTheyWere) {
  const RobotCalibration robot = defaultCameras();
  ASSERT_EQ(robot.camera_calibration_size(), 2);
  for (const CameraCalibration& camera : robot.camera_calibration()) {
    ExportOptions options;
    options.writing.format = GetParam().format;
    options.writing.syntax = GetParam().syntax;
    const auto outcome = exportCameras({fullFrame(camera)}, options);
    const auto* reason = std::get_if<std::string>(&outcome);
    ASSERT_EQ(reason == nullptr ? "" : *reason, "");
    const auto& exported = std::get<ExportOutcome>(outcome);
    EXPECT_TRUE(exported.cameras.at(0).is_exact);
    EXPECT_EQ(exported.cameras[0].deviation.max, 0);
    const ImportOutcome back = importBack(exported);
    ASSERT_EQ(back.cameras.size(), 1U);
    EXPECT_EQ(back.files.at(0).format, GetParam().format);
    expectSameIntrinsics(back.cameras[0].calibration.intrinsics(), camera.intrinsics());
    EXPECT_EQ(back.cameras[0].pose_source == PoseSource::kFile, GetParam().has_poses);
    if (GetParam().has_poses) {
      expectSamePose(back.cameras[0].calibration.extrinsics(), camera.extrinsics());
    }
  }
}

INSTANTIATE_TEST_SUITE_P(
    Formats, ExportRoundTrip,
    ::testing::Values(RoundTrip{"ros", PeerFormat::kRos, Syntax::kUsual, false},
                      RoundTrip{"opencv_yaml", PeerFormat::kOpenCv, Syntax::kUsual, false},
                      RoundTrip{"opencv_xml", PeerFormat::kOpenCv, Syntax::kXml, false},
                      RoundTrip{"opencv_json", PeerFormat::kOpenCv, Syntax::kJson, false},
                      RoundTrip{"mrcal", PeerFormat::kMrcal, Syntax::kUsual, true},
                      RoundTrip{"colmap", PeerFormat::kColmap, Syntax::kUsual, true},
                      RoundTrip{"basalt", PeerFormat::kBasalt, Syntax::kUsual, true}),
    [](const auto& test) { return test.param.name; });

TEST(ExportCameras, RefusesALensOfFewerCoefficientsAndMeasuresIt) {
  ExportOptions options;
  options.writing.format = PeerFormat::kKalibr;
  const auto refused = exportCameras({headCamera()}, options);
  ASSERT_TRUE(std::holds_alternative<std::string>(refused));
  EXPECT_EQ(
      std::get<std::string>(refused).rfind("camera head_camera would be written with max 4.", 0),
      0U)
      << std::get<std::string>(refused);
  options.max_error = 10;
  const auto four = exportCameras({headCamera()}, options);
  ASSERT_TRUE(std::holds_alternative<ExportOutcome>(four));
  EXPECT_NEAR(std::get<ExportOutcome>(four).cameras.at(0).deviation.max, 4.8, 0.05 * 4.8);
  EXPECT_FALSE(std::get<ExportOutcome>(four).cameras[0].is_exact);

  options.writing.format = PeerFormat::kRos;
  options.coefficients = 5;
  const auto five = exportCameras({headCamera()}, options);
  ASSERT_TRUE(std::holds_alternative<ExportOutcome>(five));
  EXPECT_NEAR(std::get<ExportOutcome>(five).cameras.at(0).deviation.max, 0.94, 0.05 * 0.94);
}

TEST(ExportCameras, WritesPosesOfTheStatedParent) {
  WrittenCamera camera = headCamera();
  camera.camera_from_parent = RigidPose{rotationFromVector({-1, 0.5, 2}), {0.25, -0.5, 1.5}};
  ExportOptions options;
  options.writing.format = PeerFormat::kMrcal;
  options.parent_from_robot = {rotationFromVector({0.1, 0.2, 0.3}), {1, 2, 3}};
  const auto outcome = exportCameras({camera}, options);
  ASSERT_TRUE(std::holds_alternative<ExportOutcome>(outcome));
  ImportOptions import;
  import.parent_from_robot = options.parent_from_robot;
  const auto& file = std::get<ExportOutcome>(outcome).writing.files.at(0);
  const auto back = importCameras({{file.name, file.contents}}, import);
  ASSERT_TRUE(std::holds_alternative<ImportOutcome>(back));
  const auto& extrinsics = std::get<ImportOutcome>(back).cameras.at(0).calibration.extrinsics();
  const RigidPose& wanted = *camera.camera_from_parent;
  for (int r = 0; r < 3; ++r) {
    for (int c = 0; c < 3; ++c) EXPECT_NEAR(extrinsics.a(4 * r + c), wanted.rotation(r, c), 4e-15);
    EXPECT_NEAR(extrinsics.a(4 * r + 3), 1000 * wanted.translation[r], 1e-11);
  }
  // The camera's centre in the parent's frame is that of the robot's frame, moved.
  const RigidPose parent_from_camera =
      inverse(*std::get<ImportOutcome>(back).cameras[0].source.camera_from_parent);
  const RigidPose robot_from_camera = inverse(*camera.camera_from_parent);
  const Eigen::Vector3d expected =
      options.parent_from_robot.rotation * robot_from_camera.translation +
      options.parent_from_robot.translation;
  EXPECT_LT((parent_from_camera.translation - expected).norm(), 1e-14 * 8);
}

TEST(ExportCameras, MeasuresWhatTheDigitsOfAFormatLose) {
  WrittenCamera camera = headCamera();
  camera.model.lens = {-0.123456789, 0.0123456789, 0, 0, 0.00123456789, 0, 0, 0};
  ExportOptions options;
  options.writing.format = PeerFormat::kRos;
  options.writing.syntax = Syntax::kIni;
  const auto outcome = exportCameras({camera}, options);
  ASSERT_TRUE(std::holds_alternative<ExportOutcome>(outcome)) << std::get<std::string>(outcome);
  const auto& exported = std::get<ExportOutcome>(outcome).cameras.at(0);
  EXPECT_FALSE(exported.is_exact);
  // At a corner, r^2 = 1.2: k1 is off by up to 5e-6, so 720 px * 1.1 * 1.2 * 5e-6 = 5e-3 px, k2 and
  // k3 alike.
  EXPECT_GT(exported.deviation.max, 1e-5);
  EXPECT_LT(exported.deviation.max, 0.02);
}

TEST(FullFrameCamera, SaysWhatIsMissing) {
  const CameraCalibration good = defaultCameras().camera_calibration(0);
  const auto reasonFor = [&](const auto& spoil) {
    CameraCalibration camera = good;
    spoil(&camera);
    const auto written = fullFrameCamera(camera);
    const auto* reason = std::get_if<std::string>(&written);
    return reason == nullptr ? "" : *reason;
  };
  const std::string camera = "camera head_camera ";
  EXPECT_EQ(reasonFor([](auto* c) { c->mutable_intrinsics()->mutable_radial()->RemoveLast(); }),
            camera + "has fewer than 6 radial coefficients");
  EXPECT_EQ(reasonFor([](auto* c) { c->mutable_intrinsics()->clear_tangential(); }),
            camera + "has fewer than 2 tangential coefficients");
  EXPECT_EQ(reasonFor([](auto* c) { c->mutable_intrinsics()->set_height(0); }),
            camera + "has no picture size above 0");
  EXPECT_EQ(reasonFor([](auto* c) { c->mutable_intrinsics()->set_fy(-1); }),
            camera + "has a focal length that is not above 0");
  EXPECT_EQ(reasonFor([](auto* c) { c->mutable_extrinsics()->mutable_a()->RemoveLast(); }),
            camera + "has a pose of fewer than 12 values");
  EXPECT_EQ(reasonFor([](auto* c) {
              c->mutable_intrinsics()->set_cx(std::numeric_limits<double>::infinity());
            }),
            camera + "has a number that is not finite");
  EXPECT_EQ(reasonFor([](auto* c) {
              c->mutable_extrinsics()->set_a(3, std::numeric_limits<double>::quiet_NaN());
            }),
            camera + "has a number that is not finite");
  EXPECT_EQ(reasonFor([](auto* c) { c->clear_extrinsics(); }), "");
}

}  // namespace
}  // namespace norv::interop

/// Camera models that mrcal writes now, read by us; and ours, read by mrcal.

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "testing/run_program.h"
#include "testing/temporary_folder.h"
#include "testing/written_cameras.h"
#include "tests/interop/references/drawn_cameras.h"

namespace norv::interop {
namespace {

using nlohmann::json;
using norv::testing::TemporaryFolder;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr double kHalf = 0.5;

/// What mrcal reads of the models in the folder, having written them where the verb is "write".
json byMrcal(const std::string& verb, const TemporaryFolder& folder) {
  json points;
  for (const Eigen::Vector3d& p : testing::gridOfPoints()) points.push_back({p.x(), p.y(), p.z()});
  folder.write("points.json", points.dump());
  const auto result = norv::testing::runProgram(CAMERA_PARAMETERS_MRCAL_MODELS " " + verb + " '" +
                                                folder.path() + "'");
  EXPECT_EQ(result.status, 0) << result.errors;
  return json::parse(result.output, nullptr, false);
}

std::vector<Eigen::Vector2d> pixelsOf(const json& rows) {
  std::vector<Eigen::Vector2d> pixels;
  for (const json& row : rows) pixels.emplace_back(row.at(0), row.at(1));
  return pixels;
}

testing::DrawnCamera drawnOf(const json& model) {
  const auto k = model.at("intrinsics").get<std::vector<double>>();
  return {{model.at("imagersize").at(0), model.at("imagersize").at(1)},
          k.at(0),
          k.at(1),
          k.at(2),
          k.at(3),
          {k.begin() + 4, k.end()}};
}

PeerFile read(const TemporaryFolder& folder, const std::string& name) {
  const std::string text = norv::testing::contentsOf(folder.path(name));
  EXPECT_EQ(detectFormat(text), PeerFormat::kMrcal);
  return testing::mustRead(readCameras({name, text}, PeerFormat::kMrcal, {}));
}

TEST(MrcalFilesReference, ReadsItsModels) {
  const TemporaryFolder folder;
  const json models = byMrcal("write", folder);
  ASSERT_EQ(models.size(), 30U);
  const std::vector<Eigen::Vector3d> points = testing::gridOfPoints();
  double largest = 0;
  double largest_of_poses = 0;
  for (const auto& [name, model] : models.items()) {
    const PeerFile file = read(folder, name);
    ASSERT_EQ(file.cameras.size(), 1U) << name;
    EXPECT_TRUE(file.notes.empty());
    EXPECT_EQ(file.parent, "reference");
    const PeerCamera& camera = file.cameras[0];
    testing::expectDrawn(camera, drawnOf(model), kHalf);
    largest = std::fmax(
        largest, testing::largestDistance(camera, points, pixelsOf(model.at("pixels")), kHalf));
    const auto reference = norv::testing::pointsOf(model.at("points_reference"));
    ASSERT_EQ(reference.size(), points.size());
    ASSERT_TRUE(camera.camera_from_parent.has_value());
    largest_of_poses =
        std::fmax(largest_of_poses,
                  norv::testing::largestMiss(*camera.camera_from_parent, reference, points));
  }
  // 9e-13 px and 1.1e-14 m measured.
  EXPECT_LT(largest, 1e-9);
  EXPECT_LT(largest_of_poses, 1e-12);
}

TEST(MrcalFilesReference, TellsWhatElseItsModelsHold) {
  const TemporaryFolder folder;
  byMrcal("write", folder);
  const auto keys = [&](const std::string& name) {
    std::vector<std::string> list;
    for (const NotTakenOver& one : read(folder, name).not_taken_over) list.push_back(one.key);
    return list;
  };
  EXPECT_THAT(keys("LENSMODEL_OPENCV8-0.cameramodel"), IsEmpty());
  EXPECT_THAT(keys("LENSMODEL_OPENCV8-1.cameramodel"), ElementsAre("valid_intrinsics_region"));
  EXPECT_THAT(keys("LENSMODEL_OPENCV8-2.cameramodel"),
              ElementsAre("icam_intrinsics", "optimization_inputs"));
}

TEST(MrcalFilesReference, ReadsOurModels) {
  const TemporaryFolder folder;
  WriteOptions options;
  options.format = PeerFormat::kMrcal;
  std::mt19937 random(82);
  std::vector<WrittenCamera> cameras;
  for (const int coefficients : {0, 4, 5, 8}) {
    for (int i = 0; i < 20; ++i) {
      cameras.push_back(norv::testing::randomWrittenCamera(coefficients, &random));
      folder.write(std::to_string(cameras.size() - 1) + ".cameramodel",
                   norv::testing::peerTextOf({cameras.back()}, options));
    }
  }
  const json models = byMrcal("read", folder);
  ASSERT_EQ(models.size(), cameras.size());
  double largest_of_poses = 0;
  for (std::size_t i = 0; i < cameras.size(); ++i) {
    const json& model = models.at(std::to_string(i) + ".cameramodel");
    const calibration::CameraModel& written = cameras[i].model;
    testing::DrawnCamera camera = drawnOf(model);
    EXPECT_EQ(camera.size, (calibration::PixelSize{written.width, written.height}));
    EXPECT_EQ(camera.fx, written.fx);
    EXPECT_EQ(camera.fy, written.fy);
    EXPECT_EQ(camera.cx, written.cx - kHalf);
    EXPECT_EQ(camera.cy, written.cy - kHalf);
    camera.coefficients.resize(8);
    const auto coefficients = written.lens.toCoefficients();
    EXPECT_THAT(camera.coefficients, ::testing::ElementsAreArray(coefficients));
    const RigidPose& pose = cameras[i].camera_from_parent.value();
    const auto rt = model.at("rt_fromref").get<std::vector<double>>();
    EXPECT_EQ(Eigen::Vector3d(rt.at(3), rt.at(4), rt.at(5)), pose.translation);
    largest_of_poses = std::fmax(
        largest_of_poses,
        norv::testing::largestMiss(pose, norv::testing::pointsOf(model.at("points_reference")),
                                   testing::gridOfPoints()));
  }
  // 1.2e-14 m measured.
  EXPECT_LT(largest_of_poses, 1e-12);
}

TEST(MrcalFilesReference, ProjectsByOurModels) {
  const TemporaryFolder folder;
  WriteOptions options;
  options.format = PeerFormat::kMrcal;
  std::mt19937 random(83);
  std::vector<PeerCamera> cameras;
  for (const std::size_t coefficients : {0U, 4U, 5U, 8U}) {
    const testing::BothCameras camera = testing::drawBoth(coefficients, &random);
    folder.write(std::to_string(cameras.size()) + ".cameramodel",
                 norv::testing::peerTextOf({camera.written}, options));
    cameras.push_back(camera.peer);
  }
  const json models = byMrcal("read", folder);
  double largest = 0;
  for (std::size_t i = 0; i < cameras.size(); ++i) {
    const json& model = models.at(std::to_string(i) + ".cameramodel");
    largest = std::fmax(largest, testing::largestDistance(cameras[i], testing::gridOfPoints(),
                                                          pixelsOf(model.at("pixels")), kHalf));
  }
  // 5e-13 px measured.
  EXPECT_LT(largest, 1e-9);
}

}  // namespace
}  // namespace norv::interop

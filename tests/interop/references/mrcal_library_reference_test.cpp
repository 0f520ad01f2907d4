/// Camera models that mrcal's library writes now, read by us; and ours, read by that library, which
/// has another parser than mrcal's module of Python.

extern "C" {
#include <mrcal/mrcal.h>
}

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <memory>

#include "testing/temporary_folder.h"
#include "testing/written_cameras.h"
#include "tests/interop/references/drawn_cameras.h"

namespace norv::interop {
namespace {

constexpr double kHalf = 0.5;

struct FreeModel {
  void operator()(mrcal_cameramodel_t* model) const { mrcal_free_cameramodel(&model); }
};
using Model = std::unique_ptr<mrcal_cameramodel_t, FreeModel>;

/// The model that the library reads of what we write; null, with a failure, where it does not.
Model readByMrcal(const WrittenCamera& camera) {
  WriteOptions options;
  options.format = PeerFormat::kMrcal;
  const std::string text = norv::testing::peerTextOf({camera}, options);
  Model model(mrcal_read_cameramodel_string(text.c_str(), 0));
  EXPECT_NE(model, nullptr) << text;
  return model;
}

/// fx, fy, cx, cy and eight coefficients.
std::vector<double> intrinsicsOf(const mrcal_cameramodel_t& model) {
  const int count = mrcal_lensmodel_num_params(&model.lensmodel);
  std::vector<double> numbers(model.intrinsics, model.intrinsics + count);
  numbers.resize(12);
  return numbers;
}

TEST(MrcalLibraryReference, GivesBackOurDoubles) {
  std::mt19937 random(97);
  for (const int coefficients : {0, 4, 5, 8}) {
    for (int i = 0; i < 100; ++i) {
      const WrittenCamera camera = norv::testing::randomWrittenCamera(coefficients, &random);
      const calibration::CameraModel& written = camera.model;
      const Model model = readByMrcal(camera);
      ASSERT_NE(model, nullptr);
      EXPECT_EQ(model->imagersize[0], static_cast<unsigned>(written.width));
      EXPECT_EQ(model->imagersize[1], static_cast<unsigned>(written.height));
      const auto k = written.lens.toCoefficients();
      std::vector<double> expected = {written.fx, written.fy, written.cx - kHalf,
                                      written.cy - kHalf};
      expected.insert(expected.end(), k.begin(), k.end());
      EXPECT_EQ(intrinsicsOf(*model), expected);
      const RigidPose& pose = camera.camera_from_parent.value();
      const double* const rt = model->rt_cam_ref;
      EXPECT_EQ(Eigen::Vector3d(rt[3], rt[4], rt[5]), pose.translation);
    }
  }
}

/// Where the library projects the points of the camera's frame.
std::vector<Eigen::Vector2d> pixelsByMrcal(const mrcal_cameramodel_t& model,
                                           const std::vector<Eigen::Vector3d>& points) {
  std::vector<Eigen::Vector2d> pixels;
  for (const Eigen::Vector3d& p : points) {
    mrcal_point3_t point;
    point.x = p.x();
    point.y = p.y();
    point.z = p.z();
    mrcal_point2_t pixel;
    EXPECT_TRUE(
        mrcal_project(&pixel, nullptr, nullptr, &point, 1, &model.lensmodel, model.intrinsics));
    pixels.emplace_back(pixel.x, pixel.y);
  }
  return pixels;
}

TEST(MrcalLibraryReference, ProjectsByOurModels) {
  const std::vector<Eigen::Vector3d> points = testing::gridOfPoints();
  std::mt19937 random(98);
  double largest = 0;
  for (const std::size_t coefficients : {0U, 4U, 5U, 8U}) {
    const testing::BothCameras camera = testing::drawBoth(coefficients, &random);
    const Model model = readByMrcal(camera.written);
    ASSERT_NE(model, nullptr);
    largest = std::fmax(largest, testing::largestDistance(camera.peer, points,
                                                          pixelsByMrcal(*model, points), kHalf));
  }
  // 5e-13 px measured.
  EXPECT_LT(largest, 1e-9);
}

TEST(MrcalLibraryReference, ReadsItsModels) {
  const norv::testing::TemporaryFolder folder;
  const std::string path = folder.path("model");
  std::mt19937 random(99);
  for (const std::size_t coefficients : {0U, 4U, 5U, 8U}) {
    const Model model = readByMrcal(testing::drawBoth(coefficients, &random).written);
    ASSERT_NE(model, nullptr);
    ASSERT_TRUE(mrcal_write_cameramodel_file(path.c_str(), model.get()));
    const PeerFile file = testing::mustRead(
        readCameras({path, norv::testing::contentsOf(path)}, PeerFormat::kMrcal, {}));
    ASSERT_EQ(file.cameras.size(), 1U);
    EXPECT_TRUE(file.not_taken_over.empty());
    // The library writes six decimals.
    const auto rounded = [](double number) { return std::stod(fmt::format("{:.6f}", number)); };
    testing::DrawnCamera expected;
    expected.size = {static_cast<int>(model->imagersize[0]),
                     static_cast<int>(model->imagersize[1])};
    std::vector<double> numbers = intrinsicsOf(*model);
    for (double& number : numbers) number = rounded(number);
    expected.fx = numbers[0];
    expected.fy = numbers[1];
    expected.cx = numbers[2];
    expected.cy = numbers[3];
    expected.coefficients.assign(numbers.begin() + 4, numbers.end());
    testing::expectDrawn(file.cameras[0], expected, kHalf);
  }
}

}  // namespace
}  // namespace norv::interop

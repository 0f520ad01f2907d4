// The forms for many points at once against those for one: the same answer to the last bit.

#include <gtest/gtest.h>

#include <cstddef>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "support/camera_projection.h"
#include "testing/lenses.h"
#include "testing/same_bits.h"

namespace norv {
namespace {

using testing::kLenses;
using testing::NamedLens;

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kPrincipalPoint[] = {322.5F, 238.25F};
constexpr float kFocalLengths[] = {601.5F, 598.75F};

Matrix3x3_f cameraMatrix() {
  Matrix3x3_f k;
  k << kFocalLengths[0], 0.5F, kPrincipalPoint[0],  //
      0, kFocalLengths[1], kPrincipalPoint[1],      //
      0, 0, 1;
  return k;
}

CameraTransform examplePose() {
  Matrix4x4_f m;
  m << 0.36F, 0.48F, -0.8F, 0.3F,  //
      -0.8F, 0.6F, 0, -0.2F,       //
      0.48F, 0.64F, 0.6F, 0.7F,    //
      0, 0, 0, 1;
  CameraTransform pose;
  pose.setTransform(m, CameraTransform::kForward);
  return pose;
}

void expectSameBits(const Vector2_f& a, const Vector2_f& b) {
  EXPECT_TRUE(testing::sameBits(a, b)) << a.transpose() << " and " << b.transpose();
}

class BatchTest : public ::testing::TestWithParam<NamedLens> {
 protected:
  static const float* distortion() { return GetParam().coefficients.data(); }
  static std::vector<float> distortionVector() {
    return {GetParam().coefficients.begin(), GetParam().coefficients.end()};
  }
};

INSTANTIATE_TEST_SUITE_P(Lenses, BatchTest, ::testing::ValuesIn(kLenses), [](const auto& lens) {
  std::string name = lens.param.name;
  for (char& c : name) {
    if (c == ' ' || c == '-') c = '_';
  }
  return name;
});

TEST_P(BatchTest, ProjectsAsOneByOne) {
  std::mt19937 random(1);
  std::uniform_real_distribution<float> coordinate(-3, 3);
  std::vector<Vector3_f> points;
  for (int i = 0; i < 1001; ++i) {
    const float x = coordinate(random);
    const float y = coordinate(random);
    points.emplace_back(x, y, coordinate(random));
  }
  points[10] = {kNaN, 0, 1};
  points[13] = {0, kInfinity, 1};
  points[20] = examplePose().getCameraCenter();
  std::vector<Vector2_f> pixels(points.size());
  projectPoints(examplePose(), distortionVector(), cameraMatrix(), points.data(), points.size(),
                pixels.data());
  for (std::size_t i = 0; i < points.size(); ++i) {
    expectSameBits(pixels[i],
                   project3dToCamera(examplePose(), distortionVector(), cameraMatrix(), points[i]));
  }
}

TEST_P(BatchTest, RectifiesAsOneByOne) {
  std::mt19937 random(2);
  std::uniform_real_distribution<float> coordinate(-400, 1000);
  std::vector<Vector2_f> pixels;
  for (int i = 0; i < 1001; ++i) {
    const float x = coordinate(random);
    pixels.emplace_back(x, coordinate(random));
  }
  pixels[10] = {kNaN, 0};
  pixels[13] = {0, kInfinity};
  pixels[20] = {kPrincipalPoint[0], kPrincipalPoint[1]};
  std::vector<Vector2_f> points(pixels.size());
  calibration::rectifyPoints(distortion(), kPrincipalPoint, kFocalLengths, pixels.data(),
                             pixels.size(), points.data());
  std::vector<Vector2_f> in_place = pixels;
  calibration::rectifyPoints(distortion(), kPrincipalPoint, kFocalLengths, in_place.data(),
                             in_place.size(), in_place.data());
  for (std::size_t i = 0; i < pixels.size(); ++i) {
    expectSameBits(points[i], calibration::rectifyPoint(distortion(), kPrincipalPoint,
                                                        kFocalLengths, pixels[i]));
    expectSameBits(points[i], in_place[i]);
  }
}

/// Few are rectified one by one, more by loops that are prepared.
TEST_P(BatchTest, RectifiesAsOneByOneWhateverTheNumber) {
  std::mt19937 random(3);
  std::uniform_real_distribution<float> coordinate(-400, 1000);
  std::vector<Vector2_f> pixels;
  for (int i = 0; i < 300; ++i) {
    const float x = coordinate(random);
    pixels.emplace_back(x, coordinate(random));
  }
  for (const std::size_t count :
       {1U, 7U, 30U, 31U, 32U, 33U, 34U, 35U, 63U, 255U, 256U, 257U, 300U}) {
    std::vector<Vector2_f> points(count);
    calibration::rectifyPoints(distortion(), kPrincipalPoint, kFocalLengths, pixels.data(), count,
                               points.data());
    std::vector<Vector2_f> in_place(pixels.begin(), pixels.begin() + static_cast<int>(count));
    calibration::rectifyPoints(distortion(), kPrincipalPoint, kFocalLengths, in_place.data(), count,
                               in_place.data());
    for (std::size_t i = 0; i < count; ++i) {
      expectSameBits(points[i], calibration::rectifyPoint(distortion(), kPrincipalPoint,
                                                          kFocalLengths, pixels[i]));
      expectSameBits(points[i], in_place[i]);
    }
  }
}

/// What is no camera gives NaN for few pixels and for many.
TEST(BatchProjectionTest, RectifiesNothingWithoutACamera) {
  const std::vector<Vector2_f> pixels(50, Vector2_f(330, 250));
  for (const float bad : {0.0F, kNaN, kInfinity}) {
    const float focal_lengths[] = {600, bad};
    for (const std::size_t count : {std::size_t{5}, pixels.size()}) {
      std::vector<Vector2_f> points(count);
      calibration::rectifyPoints(kLenses[1].coefficients.data(), kPrincipalPoint, focal_lengths,
                                 pixels.data(), count, points.data());
      for (const Vector2_f& point : points) EXPECT_TRUE(point.array().isNaN().all()) << bad;
    }
  }
}

TEST(BatchProjectionTest, WritesAsManyAsThereAre) {
  const std::vector<Vector3_f> points(4, Vector3_f(0.1F, 0.2F, 1));
  for (std::size_t count = 0; count <= points.size(); ++count) {
    std::vector<Vector2_f> pixels(points.size() + 1, Vector2_f(-1, -1));
    projectPoints(examplePose(), {}, cameraMatrix(), points.data(), count, pixels.data());
    std::vector<Vector2_f> rays(points.size() + 1, Vector2_f(-1, -1));
    calibration::rectifyPoints(kLenses[1].coefficients.data(), kPrincipalPoint, kFocalLengths,
                               pixels.data(), count, rays.data());
    for (std::size_t i = 0; i < pixels.size(); ++i) {
      EXPECT_EQ(pixels[i] == Vector2_f(-1, -1), i >= count);
      EXPECT_EQ(rays[i] == Vector2_f(-1, -1), i >= count);
    }
  }
}

}  // namespace
}  // namespace norv

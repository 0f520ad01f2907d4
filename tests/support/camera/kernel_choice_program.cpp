// Prints which loops this process has chosen, and what they compute, for kernel_choice_test.

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <random>
#include <vector>

#include "support/camera/kernels.h"
#include "support/rectification.h"
#include "testing/difficult_points.h"

namespace {

using namespace norv;

/// FNV-1a, of bytes.
template <class T>
std::uint64_t hashOf(const std::vector<T>& all) {
  std::uint64_t hash = 0xcbf29ce484222325;
  const auto* const bytes = reinterpret_cast<const unsigned char*>(all.data());
  for (std::size_t i = 0; i < all.size() * sizeof(T); ++i) {
    hash = (hash ^ bytes[i]) * 0x100000001b3;
  }
  return hash;
}

template <class T>
void print(const char* what, const std::vector<T>& all) {
  std::printf("%s %016llx\n", what, static_cast<unsigned long long>(hashOf(all)));
}

void run(const testing::NamedLens& lens, std::mt19937* random) {
  const calibration::CameraModel camera = testing::randomCamera(lens, random);
  const auto points = testing::difficultPoints(lens, 777, random);
  const std::size_t count = points.size();
  std::vector<double> at(2 * count);
  std::vector<calibration::PointStatus> statuses(count);
  std::vector<calibration::ProjectionJacobian> by_point(count);
  std::vector<calibration::RectificationJacobian> by_pixel(count);
  projectPoints(camera, {points.data()->data(), 3}, count, {at.data(), 2},
                {statuses.data(), by_point.data()});
  print("pixels", at);
  print("statuses", statuses);
  print("by point", by_point);
  rectifyPoints(camera, {at.data(), 2}, count, {at.data(), 2}, {statuses.data(), by_pixel.data()});
  print("rays", at);
  print("by pixel", by_pixel);
  const calibration::RectifiedView view{123, 45, 60, 50, 61, 20, Eigen::Matrix3d::Identity()};
  std::vector<float> x(123 * 45);
  std::vector<float> y(123 * 45);
  makeRectifyMap(camera, view, x.data(), y.data());
  print("map", x);
  print("map", y);
  std::vector<std::int16_t> xy(2 * 123 * 45);
  std::vector<std::uint16_t> fraction(123 * 45);
  makeFixedPointRectifyMap(camera, view, xy.data(), fraction.data());
  print("fixed", xy);
  print("fixed", fraction);
}

}  // namespace

int main() {
  std::printf("%s\n", internal::kernels().name);
  std::mt19937 random(97);
  for (const testing::NamedLens& lens : testing::kLenses) run(lens, &random);
  return 0;
}

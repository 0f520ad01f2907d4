/// Many points at once against one at a time: the same to the last bit, however many there are, how
/// they lie in memory and how many threads compute.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>
#include <thread>
#include <vector>

#include "support/point_projection.h"
#include "testing/difficult_points.h"
#include "testing/same_bits.h"

namespace norv::calibration {
namespace {

using testing::NamedLens;
using testing::sameBits;

constexpr auto kUntouched = static_cast<PointStatus>(99);

std::vector<std::size_t> sizes() {
  std::vector<std::size_t> all = {255, 256, 257, 1000};
  for (std::size_t i = 0; i <= 70; ++i) all.push_back(i);
  return all;
}

/// One direction of the projection, so that tests can be written for both.
struct Project {
  using Given = Eigen::Vector3d;
  using Jacobian = ProjectionJacobian;
  using Extras = ProjectionExtras;
  static constexpr auto kOne = &projectPoint;
  static constexpr auto kMany = &projectPoints;
  static std::vector<Given> difficult(const CameraModel&, const NamedLens& lens, std::size_t count,
                                      std::mt19937* random) {
    return testing::difficultPoints(lens, count, random);
  }
};

struct Rectify {
  using Given = Eigen::Vector2d;
  using Jacobian = RectificationJacobian;
  using Extras = RectificationExtras;
  static constexpr auto kOne = &rectifyPixel;
  static constexpr auto kMany = &rectifyPoints;
  static std::vector<Given> difficult(const CameraModel& camera, const NamedLens&,
                                      std::size_t count, std::mt19937* random) {
    return testing::difficultPixels(camera, count, random);
  }
};

/// What became of a list of points, one by one.
template <class Way>
struct Answers {
  Answers(const CameraModel& camera, const std::vector<typename Way::Given>& given)
      : at(given.size()), statuses(given.size()), jacobians(given.size()) {
    for (std::size_t i = 0; i < given.size(); ++i) {
      statuses[i] = Way::kOne(camera, given[i], &at[i], &jacobians[i]);
    }
  }

  std::size_t notOk(std::size_t count) const {
    const auto end = statuses.begin() + static_cast<std::ptrdiff_t>(count);
    return count - static_cast<std::size_t>(std::count(statuses.begin(), end, PointStatus::kOk));
  }

  std::vector<Eigen::Vector2d> at;
  std::vector<PointStatus> statuses;
  std::vector<typename Way::Jacobian> jacobians;
};

template <class T>
bool sameMemory(const T& a, const T& b) {
  return std::memcmp(&a, &b, sizeof(T)) == 0;
}

template <class Way>
class PointBatches : public ::testing::Test {
 protected:
  PointBatches() : lenses_(testing::tableAndRandomLenses(20, &random_)) {}

  std::mt19937 random_{41};
  std::vector<NamedLens> lenses_;
};

using Ways = ::testing::Types<Project, Rectify>;
TYPED_TEST_SUITE(PointBatches, Ways, );

/// The given coordinates in a row.
template <class Given>
PointArray<const double> rowOf(const std::vector<Given>& given) {
  return {given.data()->data(), Given::RowsAtCompileTime};
}

TYPED_TEST(PointBatches, OfEverySize) {
  for (const NamedLens& lens : this->lenses_) {
    const CameraModel camera = testing::randomCamera(lens, &this->random_);
    const auto given = TypeParam::difficult(camera, lens, 1000, &this->random_);
    const Answers<TypeParam> expected(camera, given);
    for (const std::size_t count : sizes()) {
      std::vector<Eigen::Vector2d> at(count + 1, {-7, -7});
      std::vector<PointStatus> statuses(count + 1, kUntouched);
      std::vector<typename TypeParam::Jacobian> jacobians(count + 1);
      std::memset(static_cast<void*>(&jacobians[count]), 7, sizeof(jacobians[count]));
      const auto untouched = jacobians[count];
      EXPECT_EQ(TypeParam::kMany(camera, rowOf(given), count, {at.data()->data(), 2},
                                 {statuses.data(), jacobians.data()}, 1),
                expected.notOk(count));
      for (std::size_t i = 0; i < count; ++i) {
        ASSERT_TRUE(sameBits(at[i], expected.at[i])) << lens << " " << i << " of " << count;
        ASSERT_EQ(statuses[i], expected.statuses[i]) << lens << " " << i << " of " << count;
        ASSERT_TRUE(sameMemory(jacobians[i], expected.jacobians[i]))
            << lens << " " << i << " of " << count << ": " << given[i].transpose();
      }
      EXPECT_EQ(at[count], Eigen::Vector2d(-7, -7));
      EXPECT_EQ(statuses[count], kUntouched);
      EXPECT_TRUE(sameMemory(jacobians[count], untouched));
    }
  }
}

TYPED_TEST(PointBatches, WithoutTheExtras) {
  for (const NamedLens& lens : this->lenses_) {
    const CameraModel camera = testing::randomCamera(lens, &this->random_);
    const auto given = TypeParam::difficult(camera, lens, 1000, &this->random_);
    const Answers<TypeParam> expected(camera, given);
    for (const std::size_t count : {std::size_t{20}, std::size_t{500}}) {
      std::vector<Eigen::Vector2d> at(count);
      std::vector<PointStatus> statuses(count);
      std::vector<typename TypeParam::Jacobian> jacobians(count);
      const PointArray<double> out{at.data()->data(), 2};
      EXPECT_EQ(TypeParam::kMany(camera, rowOf(given), count, out, {}, 1), expected.notOk(count));
      TypeParam::kMany(camera, rowOf(given), count, out, {statuses.data(), nullptr}, 1);
      TypeParam::kMany(camera, rowOf(given), count, out, {nullptr, jacobians.data()}, 1);
      for (std::size_t i = 0; i < count; ++i) {
        ASSERT_TRUE(sameBits(at[i], expected.at[i])) << lens;
        ASSERT_EQ(statuses[i], expected.statuses[i]) << lens;
        ASSERT_TRUE(sameMemory(jacobians[i], expected.jacobians[i])) << lens;
      }
    }
  }
}

/// A way to lay points out in memory: `begin` leaves room for strides that go backwards.
struct Layout {
  std::ptrdiff_t stride;
  std::ptrdiff_t coordinate_stride;
  std::ptrdiff_t begin;
};

template <int kCoordinates>
std::vector<Layout> layouts(std::ptrdiff_t count) {
  return {{kCoordinates, 1, 0}, {kCoordinates, 1, 1},   {7, 1, 0},          {7, 2, 3},
          {1, count, 0},        {1, count + 5, 2},      {-3, 1, 3 * count}, {-1, count, count - 1},
          {5, -1, 2},           {-4, -1, 4 * count + 2}};
}

TYPED_TEST(PointBatches, HoweverTheyLieInMemory) {
  constexpr std::size_t kCount = 300;
  constexpr int kGiven = TypeParam::Given::RowsAtCompileTime;
  const NamedLens& lens = testing::lensNamed("folding barrel");
  const CameraModel camera = testing::randomCamera(lens, &this->random_);
  const auto given = TypeParam::difficult(camera, lens, kCount, &this->random_);
  const Answers<TypeParam> expected(camera, given);
  for (const Layout& in : layouts<kGiven>(kCount)) {
    std::vector<double> memory(10 * kCount);
    const PointArray<double> points{memory.data() + in.begin, in.stride, in.coordinate_stride};
    for (std::size_t i = 0; i < kCount; ++i) {
      for (int c = 0; c < kGiven; ++c) points.at(i, c) = given[i][c];
    }
    for (const Layout& out : layouts<2>(kCount)) {
      std::vector<double> written(10 * kCount, -7);
      const PointArray<double> at{written.data() + out.begin, out.stride, out.coordinate_stride};
      std::vector<typename TypeParam::Jacobian> jacobians(kCount);
      TypeParam::kMany(camera, {points.data, points.stride, points.coordinate_stride}, kCount, at,
                       {nullptr, jacobians.data()}, 1);
      for (std::size_t i = 0; i < kCount; ++i) {
        ASSERT_TRUE(sameBits(Eigen::Vector2d(at.at(i, 0), at.at(i, 1)), expected.at[i]))
            << in.stride << " " << in.coordinate_stride << " to " << out.stride << " "
            << out.coordinate_stride << " at " << i;
        ASSERT_TRUE(sameMemory(jacobians[i], expected.jacobians[i]));
      }
      EXPECT_EQ(std::count(written.begin(), written.end(), -7),
                static_cast<std::ptrdiff_t>(8 * kCount));
    }
  }
}

TYPED_TEST(PointBatches, OfOnePointForAll) {
  const CameraModel camera = testing::randomCamera(testing::lensNamed("zoom"), &this->random_);
  const std::vector<typename TypeParam::Given> given(1, TypeParam::Given::Constant(0.75));
  const Answers<TypeParam> expected(camera, given);
  std::vector<Eigen::Vector2d> at(100);
  TypeParam::kMany(camera, {given.data()->data(), 0}, at.size(), {at.data()->data(), 2}, {}, 1);
  for (const Eigen::Vector2d& p : at) EXPECT_TRUE(sameBits(p, expected.at[0]));
}

TYPED_TEST(PointBatches, InTheirOwnPlace) {
  constexpr std::ptrdiff_t kStride = 3;
  for (const NamedLens& lens : this->lenses_) {
    const CameraModel camera = testing::randomCamera(lens, &this->random_);
    const auto given = TypeParam::difficult(camera, lens, 700, &this->random_);
    const Answers<TypeParam> expected(camera, given);
    for (const std::size_t count : {std::size_t{9}, std::size_t{700}}) {
      std::vector<double> memory(kStride * count);
      const PointArray<double> place{memory.data(), kStride};
      for (std::size_t i = 0; i < count; ++i) {
        for (int c = 0; c < given[i].size(); ++c) place.at(i, c) = given[i][c];
      }
      std::vector<typename TypeParam::Jacobian> jacobians(count);
      TypeParam::kMany(camera, {memory.data(), kStride}, count, place, {nullptr, jacobians.data()},
                       1);
      for (std::size_t i = 0; i < count; ++i) {
        ASSERT_TRUE(sameBits(Eigen::Vector2d(place.at(i, 0), place.at(i, 1)), expected.at[i]))
            << lens << " " << i;
        ASSERT_TRUE(sameMemory(jacobians[i], expected.jacobians[i])) << lens << " " << i;
      }
    }
  }
}

TYPED_TEST(PointBatches, ByAnyNumberOfThreads) {
  for (const char* name : {"barrel", "folding barrel", "tangential"}) {
    const NamedLens& lens = testing::lensNamed(name);
    const CameraModel camera = testing::randomCamera(lens, &this->random_);
    const auto given = TypeParam::difficult(camera, lens, 30001, &this->random_);
    std::vector<Eigen::Vector2d> expected(given.size());
    std::vector<PointStatus> expected_statuses(given.size());
    const std::size_t not_ok =
        TypeParam::kMany(camera, rowOf(given), given.size(), {expected.data()->data(), 2},
                         {expected_statuses.data(), nullptr}, 1);
    for (const int threads : {0, 2, 3, 7, 1000000, -1}) {
      std::vector<Eigen::Vector2d> at(given.size());
      std::vector<PointStatus> statuses(given.size());
      EXPECT_EQ(TypeParam::kMany(camera, rowOf(given), given.size(), {at.data()->data(), 2},
                                 {statuses.data(), nullptr}, threads),
                not_ok);
      EXPECT_EQ(statuses, expected_statuses) << threads;
      for (std::size_t i = 0; i < given.size(); ++i) {
        ASSERT_TRUE(sameBits(at[i], expected[i])) << threads << " threads, point " << i;
      }
    }
  }
}

TYPED_TEST(PointBatches, OfSeveralThreadsOfTheCaller) {
  const NamedLens& lens = testing::lensNamed("tangential");
  const CameraModel camera = testing::randomCamera(lens, &this->random_);
  const auto given = TypeParam::difficult(camera, lens, 9000, &this->random_);
  std::vector<std::vector<Eigen::Vector2d>> at(3, std::vector<Eigen::Vector2d>(given.size()));
  std::vector<std::thread> callers;
  for (auto& mine : at) {
    callers.emplace_back([&] {
      TypeParam::kMany(camera, rowOf(given), given.size(), {mine.data()->data(), 2}, {}, 2);
    });
  }
  for (std::thread& caller : callers) caller.join();
  for (std::size_t i = 0; i < given.size(); ++i) {
    ASSERT_TRUE(sameBits(at[0][i], at[1][i]));
    ASSERT_TRUE(sameBits(at[0][i], at[2][i]));
  }
}

}  // namespace
}  // namespace norv::calibration

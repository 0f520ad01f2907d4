// One model of a pan-tilt-zoom camera, shared by threads. Meant for the thread sanitizer as well.

#include <gtest/gtest.h>

#include <Eigen/Core>
#include <cstddef>
#include <memory>
#include <random>
#include <thread>
#include <utility>
#include <vector>

#include "calibration_common/ptz_aiming.h"
#include "calibration_common/ptz_camera_model.h"
#include "calibration_common/ptz_coverage.h"
#include "testing/example_ptz.h"
#include "testing/log_capture.h"
#include "testing/random_head.h"
#include "testing/same_bits.h"

namespace norv::calibration {
namespace {

using testing::ptzModel;
using testing::ScopedLogCapture;
using testing::uniform;

constexpr std::size_t kThreads = 8;

/// Where the head goes for one pixel and for one box, from one position.
struct Answer {
  int pan, tilt, framed_pan, framed_tilt, zoom;
  Vector2_f projected;

  friend bool operator==(const Answer& a, const Answer& b) {
    return a.pan == b.pan && a.tilt == b.tilt && a.framed_pan == b.framed_pan &&
           a.framed_tilt == b.framed_tilt && a.zoom == b.zoom && a.projected == b.projected;
  }
};

Answer answer(const PTZCameraModelConfiguration& configuration, const Vector2_f& pixel) {
  Answer a{};
  EXPECT_TRUE(configuration.getPanTilt(pixel, &a.pan, &a.tilt));
  EXPECT_TRUE(
      configuration.getPanTiltZoom(pixel, {1000, 600}, &a.framed_pan, &a.framed_tilt, &a.zoom));
  a.projected = configuration.project3dToCamera(configuration.getCameraCenter() +
                                                configuration.projectPixelToRay(pixel));
  return a;
}

/// Answers for `count` random positions and pixels, the same ones for the same seed.
std::vector<Answer> answers(const PTZCameraModelPtr& model, unsigned seed, int count) {
  std::mt19937_64 random(seed);
  std::vector<Answer> result;
  for (int i = 0; i < count; ++i) {
    const PTZCameraModelConfiguration configuration(model,
                                                    static_cast<int>(uniform(&random, -4000, 4000)),
                                                    static_cast<int>(uniform(&random, -400, 1700)),
                                                    static_cast<int>(uniform(&random, 0, 10000)));
    result.push_back(answer(configuration, {static_cast<float>(uniform(&random, 0, 1920)),
                                            static_cast<float>(uniform(&random, 0, 1080))}));
  }
  return result;
}

template <class Work>
void inThreads(const Work& work) {
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < kThreads; ++i) threads.emplace_back([&work, i] { work(i); });
  for (std::thread& thread : threads) thread.join();
}

TEST(PTZConcurrency, ThreadsPointWithOneModel) {
  PTZCameraModelPtr model = ptzModel(testing::examplePtz());
  std::vector<std::vector<Answer>> actual(kThreads);
  inThreads(
      [&](std::size_t i) { actual[i] = answers(model, static_cast<unsigned>(110 + i), 200); });
  for (std::size_t i = 0; i < kThreads; ++i) {
    EXPECT_TRUE(actual[i] == answers(model, static_cast<unsigned>(110 + i), 200)) << i;
  }
  // All configurations have given the model back.
  EXPECT_EQ(model.use_count(), 1);
}

void expectSameBits(const std::vector<double>& actual, const std::vector<double>& expected) {
  ASSERT_EQ(actual.size(), expected.size());
  for (std::size_t i = 0; i < actual.size(); ++i) {
    EXPECT_EQ(testing::bitsOf(actual[i]), testing::bitsOf(expected[i])) << i;
  }
}

/// All numbers of `solveAll` for `count` random targets, the same ones for the same seed.
std::vector<double> rootsOf(const PanTiltModel& head, unsigned seed, int count) {
  std::mt19937_64 random(seed);
  std::vector<double> numbers;
  for (int i = 0; i < count; ++i) {
    Eigen::Vector3d world;
    for (double& element : world) element = uniform(&random, -3, 3);
    Eigen::Vector2d dev;
    for (double& element : dev) element = uniform(&random, -0.5, 0.5);
    const PanTiltRoots roots = head.solveAll(world, dev);
    numbers.push_back(static_cast<double>(roots.reach));
    for (const PanTiltRoot& root : roots) {
      numbers.insert(numbers.end(), {root.pan, root.tilt, root.range, root.miss, root.sensitivity});
    }
  }
  return numbers;
}

TEST(PTZConcurrency, ThreadsSolveForAllAnglesWithOneHead) {
  const PTZCameraModelPtr model = ptzModel(testing::examplePtz());
  const PanTiltModel& head = model->getPanTiltModel();
  std::vector<std::vector<double>> actual(kThreads);
  inThreads([&](std::size_t i) { actual[i] = rootsOf(head, 120, 300); });
  const std::vector<double> expected = rootsOf(head, 120, 300);
  EXPECT_GT(expected.size(), 300U);
  for (const std::vector<double>& one : actual) expectSameBits(one, expected);
}

/// All numbers of `aim`, and what `canSee` says, for `count` random targets.
std::vector<double> aimsOf(const PTZCameraModel& model, unsigned seed, int count) {
  std::mt19937_64 random(seed);
  std::vector<double> numbers;
  AimRequest request;
  for (int i = 0; i < count; ++i) {
    Eigen::Vector3d world;
    for (double& element : world) element = uniform(&random, -6, 6);
    request.target = PointTarget{world};
    request.zoom = AimZoom::kKeep;
    if (i % 2 == 1) {
      request.target = SphereTarget{world, 0.1};
      request.zoom = AimZoom::kFill;
    }
    const Aim answer = aim(model, request);
    numbers.push_back(static_cast<double>(answer.failure));
    numbers.push_back(canSee(model, world) ? 1 : 0);
    for (const AimPosition& at : answer) {
      numbers.insert(numbers.end(),
                     {static_cast<double>(at.motors.pan), static_cast<double>(at.motors.tilt),
                      static_cast<double>(at.motors.zoom), at.lands.x(), at.lands.y(), at.miss,
                      at.low.x(), at.high.y()});
    }
  }
  return numbers;
}

TEST(PTZConcurrency, ThreadsAimWithOneModel) {
  const PTZCameraModelPtr model = ptzModel(testing::examplePtz());
  std::vector<std::vector<double>> actual(kThreads);
  inThreads([&](std::size_t i) { actual[i] = aimsOf(*model, 121, 100); });
  const std::vector<double> expected = aimsOf(*model, 121, 100);
  EXPECT_GT(expected.size(), 900U);
  for (const std::vector<double>& one : actual) expectSameBits(one, expected);
}

TEST(PTZConcurrency, ThreadsPointWithOneConfiguration) {
  const PTZCameraModelConfiguration configuration(ptzModel(testing::examplePtz()), 100, 200, 3456);
  const Answer expected = answer(configuration, {300, 200});
  std::vector<char> same(kThreads, 0);
  inThreads([&](std::size_t i) {
    bool all = true;
    for (int trial = 0; trial < 200; ++trial)
      all = all && answer(configuration, {300, 200}) == expected;
    same[i] = all ? 1 : 0;
  });
  EXPECT_EQ(same, std::vector<char>(kThreads, 1));
}

TEST(PTZConcurrency, ThreadsLogWhilePointing) {
  const PTZCameraModelPtr model = ptzModel(testing::examplePtz());
  constexpr int kCount = 20;
  ScopedLogCapture capture;
  const auto alone = answers(model, 111, kCount);
  const std::size_t lines = capture.take().size();
  EXPECT_GT(lines, 20U * kCount);
  std::vector<std::vector<Answer>> actual(kThreads);
  inThreads([&](std::size_t i) { actual[i] = answers(model, 111, kCount); });
  for (const auto& one : actual) EXPECT_TRUE(one == alone);
  EXPECT_EQ(capture.take().size(), kThreads * lines);
}

TEST(PTZConcurrency, TheLastConfigurationReleasesTheModel) {
  PTZCameraModelPtr model = ptzModel(testing::examplePtz());
  const std::weak_ptr<const PTZCameraModel> watched = model;
  std::vector<PTZCameraModelConfiguration> configurations(kThreads, {model, 0, 0, 0});
  model.reset();
  inThreads([&](std::size_t i) {
    const PTZCameraModelConfiguration moved = std::move(configurations[i]);
    EXPECT_TRUE(moved.getModel()->isValid());
  });
  configurations.clear();
  EXPECT_TRUE(watched.expired());
}

}  // namespace
}  // namespace norv::calibration

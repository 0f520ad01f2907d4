// Pointing a pan-tilt-zoom camera allocates nothing while its log statements are disabled.

#include <gtest/gtest.h>

#include <Eigen/Cholesky>
#include <Eigen/Core>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

#include "calibration_common/ptz_camera_model.h"
#include "support/logging.h"
#include "testing/allocation_count.h"
#include "testing/example_ptz.h"

namespace norv::calibration {
namespace {

using testing::allocationCount;
using testing::examplePtz;
using testing::kCountsMalloc;
using testing::ptzModel;

/// Switches all logging off, for the length of a scope.
class Quiet {
 public:
  Quiet() { setLogLevel(nullptr, 0); }
  Quiet(const Quiet&) = delete;
  Quiet& operator=(const Quiet&) = delete;
  ~Quiet() { setLogLevel(nullptr, kLogWarning); }
};

/// How often `work` allocates.
template <class Work>
int allocationsOf(const Work& work) {
  const int before = allocationCount();
  work();
  return allocationCount() - before;
}

// -------------------------------------------------------------------------------------- the guard

TEST(AllocationGuard, SeesOperatorNew) {
  EXPECT_EQ(allocationsOf([] { ::operator delete(::operator new(100)); }), 1);
  EXPECT_EQ(allocationsOf([] {}), 0);
}

TEST(AllocationGuard, SeesTheCLibraryAndEigen) {
  const int expected = kCountsMalloc ? 1 : 0;
  void* volatile memory = nullptr;
  EXPECT_EQ(allocationsOf([&] { memory = std::malloc(10); }), expected);
  EXPECT_EQ(allocationsOf([&] { memory = std::realloc(memory, 10000); }), expected);
  std::free(memory);
  EXPECT_EQ(allocationsOf([&] { memory = std::calloc(3, 4); }), expected);
  std::free(memory);
  // From within a shared library.
  EXPECT_EQ(allocationsOf([&] { memory = ::strdup("text"); }), expected);
  std::free(memory);
  Eigen::MatrixXd normal(2, 2);
  normal << 2, 1, 1, 3;
  double pivot = 0;
  // What the solver would cost, had its matrices no bound: at least the copy that is factorised.
  EXPECT_GE(allocationsOf([&] { pivot = Eigen::LDLT<Eigen::MatrixXd>(normal).vectorD()(0); }),
            expected);
  EXPECT_EQ(pivot, 3);
}

// ------------------------------------------------------------------------------------- the solver

TEST(PTZAllocations, NoneToSolveForPanAndTilt) {
  const PanTiltModel head = testing::headModel(testing::exampleHead());
  const Quiet quiet;
  float pan = 0;
  float tilt = 0;
  bool solved = false;
  EXPECT_EQ(allocationsOf([&] {
              solved = head.computePanTilt({3, -1, 2}, {0.1F, 0}, &pan, &tilt);
            }),
            0);
  EXPECT_TRUE(solved);
}

TEST(PTZAllocations, NoneWhereThereIsNoSolution) {
  const Quiet quiet;
  float pan = 0;
  float tilt = 0;
  bool solved = true;
  // No candidate.
  const PanTiltModel head = testing::headModel(testing::exampleHead());
  const Vector3_f nowhere(std::numeric_limits<float>::quiet_NaN(), 0, 0);
  EXPECT_EQ(allocationsOf([&] { solved = head.computePanTilt(nowhere, {0, 0}, &pan, &tilt); }), 0);
  EXPECT_FALSE(solved);
  // A residual of 0.04 and one of 1.156e-5: the optical axis passes the pan axis, and on it the
  // point, at these distances in millimetres.
  for (const double gap : {200.0, 3.4}) {
    PanTiltSystemParameters params = testing::headWithoutLeverArms();
    params.mutable_tilt_to_camera()->set_a(3, gap);
    const PanTiltModel beside = testing::headModel(params);
    solved = true;
    EXPECT_EQ(allocationsOf([&] {
                solved = beside.computePanTilt({0, 0, 2}, {0, 0}, &pan, &tilt);
              }),
              0);
    EXPECT_FALSE(solved);
  }
}

TEST(PTZAllocations, NoneForAPose) {
  const PanTiltModel head = testing::headModel(testing::exampleHead());
  CameraTransform pose;
  EXPECT_EQ(allocationsOf([&] { pose = head.getFullTransform(100, -200); }), 0);
  EXPECT_TRUE(pose.transform.allFinite());
}

// ------------------------------------------------------------------------------------- the camera

TEST(PTZAllocations, AConfigurationAllocatesItsEightCoefficientsAlone) {
  const PTZCameraModelPtr model = ptzModel(examplePtz());
  const Quiet quiet;
  for (const int zoom : {0, 4321, 11000, 20000}) {
    EXPECT_EQ(allocationsOf([&] { PTZCameraModelConfiguration(model, 100, 200, zoom); }), 1);
  }
}

TEST(PTZAllocations, NoneToPoint) {
  const Quiet quiet;
  PTZCameraParameters params = examplePtz();
  *params.mutable_intrinsics() = testing::pinholeLens();
  const PTZCameraModelConfiguration configuration(ptzModel(params), 100, 200, 4321);
  int pan = 0;
  int tilt = 0;
  int zoom = 0;
  float exact_pan = 0;
  float exact_tilt = 0;
  bool solved = false;
  EXPECT_EQ(allocationsOf([&] { solved = configuration.getPanTilt({300, 900}, &pan, &tilt); }), 0);
  EXPECT_TRUE(solved);
  solved = false;
  EXPECT_EQ(allocationsOf([&] {
              solved = configuration.getPanTilt({3, -1, 2}, {300, 900}, &exact_pan, &exact_tilt);
            }),
            0);
  EXPECT_TRUE(solved);
  // Between two samples, wider than the first and narrower than the last.
  for (const float size : {200.0F, 9000.0F, 0.0F}) {
    solved = false;
    EXPECT_EQ(allocationsOf([&] {
                solved = configuration.getPanTiltZoom({960 - size, 540 - size},
                                                      {960 + size, 540 + size}, &pan, &tilt, &zoom);
              }),
              0);
    EXPECT_TRUE(solved) << size;
  }
  // No ray, hence no candidate.
  const float nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(allocationsOf([&] {
              solved = configuration.getPanTiltZoom({nan, 0}, {0, nan}, &pan, &tilt, &zoom);
            }),
            0);
  EXPECT_FALSE(solved);
}

TEST(PTZAllocations, NoneForTheLens) {
  const Quiet quiet;
  const PTZCameraModelConfiguration configuration(ptzModel(examplePtz()), 100, 200, 4321);
  float sum = 0;
  EXPECT_EQ(allocationsOf([&] {
              sum += configuration.projectPixelToRay({300, 900}).sum();
              sum += configuration.rectifyPoint({0.25F, 0.75F}).sum();
              sum += configuration.project3dToCamera({3, -1, 2}).sum();
              sum += configuration.getCameraCenter().sum();
            }),
            0);
  EXPECT_TRUE(std::isfinite(sum));
}

TEST(PTZAllocations, NoneToConvertZooms) {
  const PTZCameraModelPtr model = ptzModel(examplePtz());
  EXPECT_EQ(allocationsOf([&] {
              EXPECT_EQ(model->zoomXFactorToSteps(20), 10000);
              EXPECT_GT(model->stepsToZoomXFactor(4321), 1);
              EXPECT_EQ(model->getIntrinsicsIndex(4321), 4);
              EXPECT_EQ(model->getIntrinsics(99)->zoom(), 11000);
            }),
            0);
}

}  // namespace
}  // namespace norv::calibration

#pragma once

/// Loops over many points, compiled for each instruction set that there is a use for and chosen by
/// the processor that they run on. All of them compute the same bits: the formulas are those of
/// single points, no product is contracted with a sum, and nothing is summed over points.
///
/// The files that are compiled for a newer instruction set must not share a function with any other
/// file: the linker keeps one copy of each, and an older processor might get to it. So they hold
/// templates of their own lanes and nothing else; a test looks at their symbols.

#include <array>
#include <cstddef>
#include <cstdint>

#include "support/camera/point_formulas.h"
#include "support/camera/prepared_camera.h"
#include "support/point_array.h"

namespace norv::internal {

/// The ray (x0 + i dx, y0 + i dy, z0 + i dz) of column i in a row of a view.
struct RayRow {
  double x0, dx;
  double y0, dy;
  double z0, dz;
  bool is_straight;  ///< z is 1 in every column
};

/// How rays become pixels of a view: rotation and camera matrix, and what is added at the end.
struct ViewFormula {
  double rotation[3][3];
  double fx, fy, cx, cy;
  bool is_straight;  ///< the rotation is none
};

template <class T>
using Points = calibration::PointArray<T>;
using Lens = calibration::LensDistortion<double>;

/// Codes are those of `point_formulas.h`, one for each point; what is undecided is the caller's to
/// decide. Where a loop writes codes, it returns false if all of them are that of `kOk`.
struct Kernels {
  const char* name;

  /// Pixels of points of the parent frame, or of the camera frame where `pose` is null.
  bool (*project)(const PreparedCamera& camera, const PoseRows* pose,
                  const Points<const double>& points, std::size_t count,
                  const Points<double>& pixels, std::uint8_t* codes);
  /// The same without questions.
  void (*projectUnchecked)(const MatrixRows2x3& k, const Lens& lens, const PoseRows& pose,
                           const Points<const float>& points, std::size_t count,
                           const Points<float>& pixels);
  /// Derivatives at points of the camera frame, 32 numbers each (`ProjectionJacobian`).
  void (*projectionJacobians)(const PreparedCamera& camera, const Points<const double>& points,
                              std::size_t count, double* jacobians);

  bool (*rectify)(const PreparedCamera& camera, const Points<const double>& pixels,
                  std::size_t count, const Points<double>& rays, std::uint8_t* codes);
  bool (*rectifyFloats)(const PreparedCamera& camera, const Points<const float>& pixels,
                        std::size_t count, const Points<float>& rays, std::uint8_t* codes);
  /// Derivatives at the answers, 30 numbers each (`RectificationJacobian`).
  void (*rectificationJacobians)(const PreparedCamera& camera, const Points<const double>& rays,
                                 std::size_t count, double* jacobians);

  /// Columns `begin` to `begin + count` of a row of a rectifying map: pixels less 0.5.
  bool (*rectifyRow)(const PreparedCamera& camera, const RayRow& row, std::size_t begin,
                     std::size_t count, float* map_x, float* map_y, std::uint8_t* codes);
  /// Where `count` rays (x, y), side by side, lie in a view, less 0.5; NaN behind it.
  void (*viewRow)(const ViewFormula& view, const double* rays, std::size_t count, float* map_x,
                  float* map_y);
  /// Elements of a map in fixed point: `xy` has two a pixel.
  void (*toFixedPoint)(const float* map_x, const float* map_y, std::size_t count, std::int16_t* xy,
                       std::uint16_t* fraction);
};

extern const Kernels kBaselineKernels;
extern const Kernels kAvx2Kernels;  ///< this and the next where the library has them: x86-64
extern const Kernels kAvx512Kernels;

/// Those that this processor runs, the slowest first; null beyond the last.
std::array<const Kernels*, 3> runnableKernels();

/// The fastest of them, or the one that the environment variable NORV_CPU names when it is first
/// asked: "baseline", "avx2" or "avx512"; empty is as unset. A name that means none of them, or one
/// that the processor does not run, is reported by a warning and has no effect. Thread-safe.
const Kernels& kernels();

}  // namespace norv::internal

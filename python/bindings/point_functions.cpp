#include "python/bindings/point_functions.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

#include "calibration_common/camera_view.h"
#include "python/bindings/numbers.h"
#include "support/camera_projection.h"

namespace norv::python {
namespace {

using calibration::CameraView;
using calibration::PointArray;
using calibration::PointStatus;

static_assert(sizeof(Vector3_f) == 3 * sizeof(float) && sizeof(Vector2_f) == 2 * sizeof(float));

CameraView viewOf(const CameraTransform& pose, const IntrinsicsValue& intrinsics) {
  const Matrix3x3_f& k = intrinsics.matrix;
  calibration::CameraModel model{intrinsics.width, intrinsics.height, k(0, 0), k(1, 1),
                                 k(0, 1),          k(0, 2),           k(1, 2), {}};
  model.lens = calibration::lensFromCoefficients<double>(intrinsics.distortion.data(),
                                                         intrinsics.distortion.size());
  return {model, pose};
}

/// Asks a view for the statuses of points in single precision, a block at a time: what it needs
/// does not grow with their number. `ask(block, count, answers, statuses)` is one of its functions.
template <int kCoordinates, class Ask>
void fillStatuses(const float* numbers, std::size_t count, std::uint8_t* statuses, const Ask& ask) {
  constexpr std::size_t kBlock = 256;
  std::array<double, kBlock * kCoordinates> block;
  std::array<double, kBlock * 2> answers;
  std::array<PointStatus, kBlock> block_statuses;
  for (std::size_t begin = 0; begin < count; begin += kBlock) {
    const std::size_t size = std::min(kBlock, count - begin);
    std::copy_n(numbers + begin * kCoordinates, size * kCoordinates, block.data());
    ask(PointArray<const double>(block.data(), kCoordinates), size,
        PointArray<double>(answers.data(), 2), block_statuses.data());
    std::transform(block_statuses.begin(),
                   block_statuses.begin() + static_cast<std::ptrdiff_t>(size), statuses + begin,
                   [](PointStatus s) { return static_cast<std::uint8_t>(s); });
  }
}

/// The arrays of a call: from points or pixels in, to pixels or rays out.
struct Arrays {
  Points<float> in;
  py::array_t<float> out;
  py::array_t<std::uint8_t> status;
  std::uint8_t* statuses;  ///< null where they are not wanted
};

Arrays takeArrays(const py::handle& input, const char* name, py::ssize_t coordinates,
                  const Results& results) {
  Points<float> in = takePoints<float>(input, name, coordinates);
  auto out = giveArray<float>(results.out, "out", withAxes(in.leading, {2}), {in.given});
  if (results.status.is_none()) return {std::move(in), std::move(out), {}, nullptr};
  auto status = giveArray<std::uint8_t>(results.status, "status", in.leading, {in.given, out});
  std::uint8_t* const statuses = status.mutable_data();
  return {std::move(in), std::move(out), std::move(status), statuses};
}

}  // namespace

py::array_t<float> projectArray(const CameraTransform& pose, const IntrinsicsValue& intrinsics,
                                const py::handle& points, const Results& results) {
  Arrays arrays = takeArrays(points, "points", 3, results);
  const float* const from = arrays.in.data();
  float* const to = arrays.out.mutable_data();
  // Not to the end: to give an array back is to count a reference, which needs the lock.
  withoutLock([&] {
    projectPoints(pose, intrinsics.distortion, intrinsics.matrix,
                  reinterpret_cast<const Vector3_f*>(from), arrays.in.count,
                  reinterpret_cast<Vector2_f*>(to));
    if (arrays.statuses != nullptr) {
      const CameraView view = viewOf(pose, intrinsics);
      fillStatuses<3>(from, arrays.in.count, arrays.statuses,
                      [&](const auto& block, auto count, const auto& answers, auto* codes) {
                        view.projectPoints(block, count, answers, {codes, nullptr});
                      });
    }
  });
  return arrays.out;
}

py::array_t<float> rectifyArray(const IntrinsicsValue& intrinsics, const py::handle& pixels,
                                const Results& results) {
  Arrays arrays = takeArrays(pixels, "pixels", 2, results);
  const float* const from = arrays.in.data();
  float* const to = arrays.out.mutable_data();
  const Matrix3x3_f& k = intrinsics.matrix;
  const float principal_point[] = {k(0, 2), k(1, 2)};
  const float focal_lengths[] = {k(0, 0), k(1, 1)};
  withoutLock([&] {
    calibration::rectifyPoints(intrinsics.distortion.data(), principal_point, focal_lengths,
                               reinterpret_cast<const Vector2_f*>(from), arrays.in.count,
                               reinterpret_cast<Vector2_f*>(to));
    if (arrays.statuses != nullptr) {
      CameraTransform identity;
      identity.setTransform(Matrix4x4_f::Identity(), CameraTransform::kForward);
      const CameraView view = viewOf(identity, intrinsics);
      fillStatuses<2>(from, arrays.in.count, arrays.statuses,
                      [&](const auto& block, auto count, const auto& answers, auto* codes) {
                        view.rectifyPoints(block, count, answers, {codes, nullptr});
                      });
    }
  });
  return arrays.out;
}

namespace {

constexpr const char* kProjectDoc =
    R"doc(Pixels at which a camera sees points: shape (..., 3) in, (..., 2) out, float32.

`points` are in the pose's parent frame, the robot's, in metres; pixels are counted from the image's corner. The depth
is not looked at: a point behind the camera gives the pixel of its mirror image, one in the plane of the optical
centre infinity or NaN. `out` (float32) gets the pixels and is returned; `status` (uint8) gets a `PointStatus` for
each point.

Raises TypeError where `points` holds no real numbers, or `out` or `status` is no array, and ValueError where a shape
or the type of `out` or `status` is wrong.

>>> import camera_parameters as cp, numpy as np
>>> k = cp.Intrinsics(640, 480, [[500, 0, 320], [0, 500, 240], [0, 0, 1]], np.zeros(8))
>>> cp.project(cp.Pose(np.eye(4)), k, [[0, 0, 2], [1, 0, 2]])
array([[320., 240.],
       [570., 240.]], dtype=float32)
)doc";

constexpr const char* kRectifyDoc =
    R"doc(Undistorted points (x/z, y/z) of the rays that are imaged at pixels: (..., 2) in, (..., 2) out, float32.

Pixels are counted from the image's corner; rays are in the camera's frame. NaN where no ray is imaged. The skew of
the camera matrix is left out. `out` (float32) gets the rays and is returned; `status` (uint8) gets a `PointStatus`
for each pixel, of the camera with its skew.

Raises what `project` raises.

>>> import camera_parameters as cp, numpy as np
>>> k = cp.Intrinsics(640, 480, [[500, 0, 320], [0, 500, 240], [0, 0, 1]], np.zeros(8))
>>> cp.rectify(k, [570, 240])
array([0.5, 0. ], dtype=float32)
)doc";

}  // namespace

void bindPointFunctions(py::module_& module) {
  module.def(
      "project",
      [](const CameraTransform& pose, const IntrinsicsValue& intrinsics, const py::handle& points,
         const py::handle& out, const py::handle& status) {
        return projectArray(pose, intrinsics, points, {out, status});
      },
      kProjectDoc, py::arg("pose"), py::arg("intrinsics"), py::arg("points"), py::kw_only(),
      py::arg("out") = py::none(), py::arg("status") = py::none());
  module.def(
      "rectify",
      [](const IntrinsicsValue& intrinsics, const py::handle& pixels, const py::handle& out,
         const py::handle& status) {
        return rectifyArray(intrinsics, pixels, {out, status});
      },
      kRectifyDoc, py::arg("intrinsics"), py::arg("pixels"), py::kw_only(),
      py::arg("out") = py::none(), py::arg("status") = py::none());
}

}  // namespace norv::python

#include "python/bindings/point_functions.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "calibration_common/camera_view.h"
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

std::uint8_t* statusesFor(const py::handle& status, const std::vector<py::ssize_t>& leading,
                          py::array_t<std::uint8_t>* array) {
  if (status.is_none()) return nullptr;
  *array = giveArray<std::uint8_t>(status, "status", leading);
  return array->mutable_data();
}

}  // namespace

py::array_t<float> projectArray(const CameraTransform& pose, const IntrinsicsValue& intrinsics,
                                const py::handle& points, const Results& results) {
  const Points<float> in = takePoints<float>(points, "points", 3);
  auto pixels = giveArray<float>(results.out, "out", withAxes(in.leading, {2}), &in.array);
  py::array_t<std::uint8_t> codes;
  std::uint8_t* const statuses = statusesFor(results.status, in.leading, &codes);
  const float* const from = in.data();
  float* const to = pixels.mutable_data();
  const py::gil_scoped_release released;
  projectPoints(pose, intrinsics.distortion, intrinsics.matrix,
                reinterpret_cast<const Vector3_f*>(from), in.count,
                reinterpret_cast<Vector2_f*>(to));
  if (statuses != nullptr) {
    const CameraView view = viewOf(pose, intrinsics);
    fillStatuses<3>(from, in.count, statuses,
                    [&](const auto& block, auto count, const auto& answers, auto* codes_of) {
                      view.projectPoints(block, count, answers, {codes_of, nullptr});
                    });
  }
  return pixels;
}

py::array_t<float> rectifyArray(const IntrinsicsValue& intrinsics, const py::handle& pixels,
                                const Results& results) {
  const Points<float> in = takePoints<float>(pixels, "pixels", 2);
  auto rays = giveArray<float>(results.out, "out", withAxes(in.leading, {2}), &in.array);
  py::array_t<std::uint8_t> codes;
  std::uint8_t* const statuses = statusesFor(results.status, in.leading, &codes);
  const float* const from = in.data();
  float* const to = rays.mutable_data();
  const Matrix3x3_f& k = intrinsics.matrix;
  const py::gil_scoped_release released;
  const float principal_point[] = {k(0, 2), k(1, 2)};
  const float focal_lengths[] = {k(0, 0), k(1, 1)};
  calibration::rectifyPoints(intrinsics.distortion.data(), principal_point, focal_lengths,
                             reinterpret_cast<const Vector2_f*>(from), in.count,
                             reinterpret_cast<Vector2_f*>(to));
  if (statuses != nullptr) {
    CameraTransform identity;
    identity.setTransform(Matrix4x4_f::Identity(), CameraTransform::kForward);
    const CameraView view = viewOf(identity, intrinsics);
    fillStatuses<2>(from, in.count, statuses,
                    [&](const auto& block, auto count, const auto& answers, auto* codes_of) {
                      view.rectifyPoints(block, count, answers, {codes_of, nullptr});
                    });
  }
  return rays;
}

void bindPointFunctions(py::module_& module) {
  module.def(
      "project",
      [](const CameraTransform& pose, const IntrinsicsValue& intrinsics, const py::handle& points,
         const py::handle& out, const py::handle& status) {
        return projectArray(pose, intrinsics, points, {out, status});
      },
      py::arg("pose"), py::arg("intrinsics"), py::arg("points"), py::kw_only(),
      py::arg("out") = py::none(), py::arg("status") = py::none());
  module.def(
      "rectify",
      [](const IntrinsicsValue& intrinsics, const py::handle& pixels, const py::handle& out,
         const py::handle& status) {
        return rectifyArray(intrinsics, pixels, {out, status});
      },
      py::arg("intrinsics"), py::arg("pixels"), py::kw_only(), py::arg("out") = py::none(),
      py::arg("status") = py::none());
}

}  // namespace norv::python

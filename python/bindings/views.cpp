#include "python/bindings/views.h"

#include <fmt/format.h>

#include <string>

#include "python/bindings/arrays.h"
#include "python/bindings/numbers.h"

namespace norv::python {
namespace {

using calibration::CameraView;
using Intrinsics = calibration::CameraParameters::Intrinsics;

constexpr const char* kClassDoc = R"(A camera at one picture size and in one place, ready to use.

`CameraView(width, height, camera_matrix, distortion=None, pose=None)` makes one of numbers: size in pixels, camera
matrix with rows (fx, skew, cx), (0, fy, cy), (0, 0, 1) in pixels from the image's corner, the lens as k1, k2, p1, p2,
k3, k4, k5, k6, and a `Pose`, the identity if not given. `CameraParameters.view` makes those of a calibration.

Everything is computed in float64. The parent frame is the one that the pose maps from: that of the robot for a fixed
camera, the world for a pan-tilt-zoom camera; metres. Immutable; views compare, copy and pickle by their numbers.
Raises ValueError for sizes below 1, numbers that are not finite and matrices of another form.

>>> import camera_parameters as cp
>>> view = cp.CameraView(640, 480, [[500, 0, 320], [0, 500, 240], [0, 0, 1]])
>>> view.project([0.1, 0, 1])
array([370., 240.])
)";

calibration::CameraModel modelFrom(int width, int height, const py::handle& camera_matrix,
                                   const py::handle& distortion) {
  const auto matrix = takeArray<double>(camera_matrix, "camera_matrix", {3, 3});
  const double* const k = matrix.data();
  for (int i = 0; i < 9; ++i) requireFinite(k[i], "camera_matrix");
  if (k[3] != 0 || k[6] != 0 || k[7] != 0 || k[8] != 1) {
    throw py::value_error("camera_matrix: expected rows (fx, skew, cx), (0, fy, cy), (0, 0, 1)");
  }
  calibration::CameraModel model{width, height, k[0], k[4], k[1], k[2], k[5], {}};
  if (distortion.is_none()) return model;
  const auto lens = takeArray<double>(distortion, "distortion", {8});
  const double* const c = lens.data();
  for (int i = 0; i < 8; ++i) requireFinite(c[i], "distortion");
  model.lens = {c[0], c[1], c[2], c[3], c[4], c[5], c[6], c[7]};
  return model;
}

View makeView(const py::handle& width, const py::handle& height, const py::handle& camera_matrix,
              const py::handle& distortion, const CameraTransform* pose) {
  const auto model = modelFrom(takeLength(width, "width"), takeLength(height, "height"),
                               camera_matrix, distortion);
  CameraTransform place;
  place.setTransform(Matrix4x4_f::Identity(), CameraTransform::kForward);
  if (pose != nullptr) place = *pose;
  return withoutLock([&] { return View(CameraView(model, place)); });
}

std::string listSizes(const calibration::CameraParameters& camera) {
  std::string sizes;
  for (const Intrinsics& entry : camera.getIntrinsicsTable()) {
    sizes += fmt::format("{}{}x{}", sizes.empty() ? "" : ", ", entry.width, entry.height);
  }
  return sizes;
}

}  // namespace

const char* const kViewDoc =
    R"(The camera at one of the sizes that it delivers, pixels, as a `CameraView`.

Raises ValueError for any other size; pictures that were scaled or cut afterwards have the views `resized` and
`cropped` of it. A snapshot: loads and `adjust_using_base_calibration` do not change it.

>>> import camera_parameters as cp
>>> cp.CameraParametersSet()["head_camera"].view(640, 480)
CameraView(640x480, fx=324.0, fy=324.0, cx=320.0, cy=240.0)
)";

View viewOf(const Camera& camera, const py::handle& width, const py::handle& height) {
  const int columns = takeLength(width, "width");
  const int rows = takeLength(height, "height");
  std::string sizes;
  const auto view = camera.lock->read([&] {
    sizes = listSizes(*camera.parameters);
    return camera.parameters->view(columns, rows);
  });
  if (view) return View(*view);
  throw py::value_error(fmt::format("size: {} delivers {}, not {}x{}", camera.name,
                                    sizes.empty() ? "no pictures" : sizes, columns, rows));
}

void bindViews(py::module_& module) {
  bindRectifiedView(module);
  ViewClass view(module, "CameraView", kClassDoc);
  view.def(py::init(&makeView), py::arg("width"), py::arg("height"), py::arg("camera_matrix"),
           py::arg("distortion") = py::none(), py::arg("pose") = py::none());
  bindViewNumbers(module, &view);
  bindProcessedViews(&view);
  bindViewPickling(&view);
  bindViewPoints(module, &view);
  bindViewStraightening(&view);
  bindViewMaps(&view);
}

}  // namespace norv::python

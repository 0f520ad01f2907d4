// How a view's straightened picture is chosen.

#include <fmt/format.h>
#include <pybind11/stl.h>

#include <algorithm>
#include <optional>
#include <string>
#include <utility>

#include "python/bindings/errors.h"
#include "python/bindings/numbers.h"
#include "python/bindings/views.h"

namespace norv::python {
namespace {

namespace py = pybind11;
using calibration::RectifiedView;
using calibration::ViewCentre;
using calibration::ViewOptions;

constexpr const char* kFitDoc =
    R"(A straightened picture of `width` x `height` pixels, as a `RectifiedView`.

With `alpha` 0 it is the largest of which every pixel shows the camera's picture, with 1 the smallest that shows all of
that; between, the rectangles that the two show are interpolated.

`aspect` is |fx / fy| of the view, the camera's own if None. `centre` says where the optical axis lies: "free",
wherever the view is largest, "middle" of the view, or "kept" at the same fraction of it as in the camera's picture.
`margin` is how many pixels of the camera's picture a view with alpha 0 keeps away from its border: with 0.5 bilinear
sampling needs no pixel beyond it. `view_from_camera` is a rotation of the view, the identity if None.

Raises ValueError where an argument is out of range, and CalibrationError where the camera has no such view: a part
of the picture that it has to show has no ray, or lies behind a view that is turned.

>>> import camera_parameters as cp
>>> head = cp.CameraParametersSet()["head_camera"].view(1280, 960)
>>> straight = head.fit_view(1280, 960, 0, margin=0.5)
>>> straight.size
(1280, 960)
)";

constexpr const char* kNaturalDoc =
    R"(Width and height at which a straightened picture keeps the camera's focal lengths, pixels.

`alpha` is as in `fit_view`, which raises the same errors.

>>> import camera_parameters as cp
>>> cp.CameraView(640, 480, [[500, 0, 320], [0, 500, 240], [0, 0, 1]]).natural_view_size(0)
(640, 480)
)";

ViewCentre takeCentre(const std::string& centre) {
  if (centre == "free") return ViewCentre::kFree;
  if (centre == "middle") return ViewCentre::kMiddle;
  if (centre == "kept") return ViewCentre::kKept;
  throw py::value_error(
      fmt::format(R"(centre: expected "free", "middle" or "kept", got "{}")", centre));
}

void requireShare(double alpha) {
  if (alpha >= 0 && alpha <= 1) return;
  throw py::value_error(fmt::format("alpha: expected 0 to 1, got {}", alpha));
}

/// Whatever NaN is, it is refused.
void requireInRange(const ViewOptions& options, int width, int height) {
  if (options.aspect) requireFinite(*options.aspect, "aspect");
  if (options.aspect.value_or(1) <= 0) {
    throw py::value_error(fmt::format("aspect: expected above 0, got {}", *options.aspect));
  }
  const double bound = 0.5 * std::min(width, height);
  if (options.margin >= 0 && options.margin < bound) return;
  throw py::value_error(
      fmt::format("margin: expected 0 or more and below {}, got {}", bound, options.margin));
}

RectifiedView fit(const View& of, const py::handle& width, const py::handle& height, double alpha,
                  std::optional<double> aspect, const std::string& centre, double margin,
                  const py::handle& view_from_camera) {
  const int columns = takeLength(width, "width");
  const int rows = takeLength(height, "height");
  requireShare(alpha);
  ViewOptions options;
  options.aspect = aspect;
  options.centre = takeCentre(centre);
  options.margin = margin;
  if (!view_from_camera.is_none()) options.view_from_camera = takeRotation(view_from_camera);
  requireInRange(options, of.view.width(), of.view.height());
  const auto view = withoutLock([&] { return of.view.fitView(columns, rows, alpha, options); });
  if (view) return *view;
  throwCalibrationError(fmt::format("no straightened picture with alpha {}", alpha));
}

std::pair<int, int> naturalSize(const View& of, double alpha) {
  requireShare(alpha);
  const auto size = withoutLock([&] { return of.view.naturalViewSize(alpha); });
  if (size) return {size->width, size->height};
  throwCalibrationError(fmt::format("no straightened picture with alpha {}", alpha));
}

}  // namespace

void bindViewStraightening(ViewClass* view) {
  view->def("fit_view", &fit, py::arg("width"), py::arg("height"), py::arg("alpha"), py::kw_only(),
            py::arg("aspect") = py::none(), py::arg("centre") = "free", py::arg("margin") = 0.0,
            py::arg("view_from_camera") = py::none(), kFitDoc)
      .def("natural_view_size", &naturalSize, py::arg("alpha"), kNaturalDoc);
}

}  // namespace norv::python

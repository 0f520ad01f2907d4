// Views of pictures that were made from a view's picture afterwards, and views elsewhere.

#include <fmt/format.h>

#include <optional>

#include "python/bindings/numbers.h"
#include "python/bindings/views.h"

namespace norv::python {
namespace {

namespace py = pybind11;
using calibration::CameraView;
using calibration::RectifiedView;

constexpr const char* kResizedDoc =
    R"(The view of the picture scaled to this size, x and y on their own: f' = s f, c' = s c.

Raises ValueError for a width or height below 1.

>>> import camera_parameters as cp
>>> cp.CameraView(640, 480, [[500, 0, 320], [0, 500, 240], [0, 0, 1]]).resized(320, 120)
CameraView(320x120, fx=250.0, fy=125.0, cx=160.0, cy=60.0)
)";

constexpr const char* kCroppedDoc =
    R"(The view of the rectangle with the top left corner (x0, y0), pixels: c' = c - (x0, y0).

Raises ValueError unless the rectangle has pixels and lies in the picture.

>>> import camera_parameters as cp
>>> cp.CameraView(640, 480, [[500, 0, 320], [0, 500, 240], [0, 0, 1]]).cropped(0, 60, 640, 360)
CameraView(640x360, fx=500.0, fy=500.0, cx=320.0, cy=180.0)
)";

constexpr const char* kBinnedDoc =
    R"(The view of the picture whose blocks of `columns` x `rows` pixels were summed.

Columns and rows that are left over are dropped: the scale is exactly 1 / `columns` and 1 / `rows`. Raises ValueError
unless both are 1 or more and a pixel remains.

>>> import camera_parameters as cp
>>> cp.CameraView(641, 480, [[500, 0, 320], [0, 500, 240], [0, 0, 1]]).binned(2, 2)
CameraView(320x240, fx=250.0, fy=250.0, cx=160.0, cy=120.0)
)";

constexpr const char* kFlippedDoc =
    R"(The view of the mirrored picture: f' = -f, c' = size - c, in each direction that is asked for.

>>> import camera_parameters as cp
>>> cp.CameraView(640, 480, [[500, 0, 300], [0, 500, 240], [0, 0, 1]]).flipped(horizontally=True)
CameraView(640x480, fx=-500.0, fy=500.0, cx=340.0, cy=240.0)
)";

constexpr const char* kMovedDoc =
    R"(The view of the same picture taken from another place: of a robot that moves, say.

>>> import camera_parameters as cp
>>> import numpy as np
>>> head = cp.CameraParametersSet()["head_camera"].view(640, 480)
>>> head.moved_to(cp.Pose(np.eye(4))).pose.center.any()
False
)";

constexpr const char* kStraightenedDoc =
    R"(The camera of the straightened picture that a `RectifiedView` describes.

Without lens, at the same place, turned by `view_from_camera`.

>>> import camera_parameters as cp
>>> head = cp.CameraParametersSet()["head_camera"].view(640, 480)
>>> straight = head.straightened(head.fit_view(640, 480, 0))
>>> straight.distortion.any()
False
)";

/// The view that the library made, or ValueError with what was asked for.
View made(const View& from, const std::optional<CameraView>& view, const char* what) {
  if (view) return View(*view);
  throw py::value_error(
      fmt::format("{}: not in a picture of {}x{}", what, from.view.width(), from.view.height()));
}

View resized(const View& of, const py::handle& width, const py::handle& height) {
  const int columns = takeLength(width, "width");
  const int rows = takeLength(height, "height");
  return made(of, withoutLock([&] { return of.view.resized(columns, rows); }), "size");
}

View cropped(const View& of, const py::handle& x0, const py::handle& y0, const py::handle& width,
             const py::handle& height) {
  constexpr int kMax = std::numeric_limits<int>::max();
  const int left = takeWhole(x0, "x0", 0, kMax);
  const int top = takeWhole(y0, "y0", 0, kMax);
  const int columns = takeLength(width, "width");
  const int rows = takeLength(height, "height");
  return made(of, withoutLock([&] { return of.view.cropped(left, top, columns, rows); }),
              fmt::format("{}x{} at ({}, {})", columns, rows, left, top).c_str());
}

View binned(const View& of, const py::handle& columns, const py::handle& rows) {
  const int across = takeLength(columns, "columns");
  const int down = takeLength(rows, "rows");
  return made(of, withoutLock([&] { return of.view.binned(across, down); }),
              fmt::format("a block of {}x{} pixels", across, down).c_str());
}

View flipped(const View& of, bool horizontally, bool vertically) {
  return withoutLock([&] { return View(of.view.flipped(horizontally, vertically)); });
}

View movedTo(const View& of, const CameraTransform& pose) {
  return withoutLock([&] {
    View moved = of;
    moved.view = of.view.movedTo(pose);
    return moved;
  });
}

View straightened(const View& of, const RectifiedView& straight) {
  return withoutLock([&] { return View(of.view.straightened(straight)); });
}

}  // namespace

void bindProcessedViews(ViewClass* view) {
  view->def("resized", &resized, py::arg("width"), py::arg("height"), kResizedDoc)
      .def("cropped", &cropped, py::arg("x0"), py::arg("y0"), py::arg("width"), py::arg("height"),
           kCroppedDoc)
      .def("binned", &binned, py::arg("columns"), py::arg("rows"), kBinnedDoc)
      .def("flipped", &flipped, py::arg("horizontally") = false, py::arg("vertically") = false,
           kFlippedDoc)
      .def("moved_to", &movedTo, py::arg("pose"), kMovedDoc)
      .def("straightened", &straightened, py::arg("view"), kStraightenedDoc);
}

}  // namespace norv::python

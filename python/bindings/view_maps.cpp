// Maps of straightened pictures, as cv2.remap takes them.

#include <cstdint>
#include <utility>

#include "python/bindings/arrays.h"
#include "python/bindings/numbers.h"
#include "python/bindings/views.h"

namespace norv::python {
namespace {

using calibration::RectifiedView;

constexpr const char* kRectifyDoc =
    R"(Where the pixels of a straightened picture lie in the camera's, for `cv2.remap`.

Two float32 arrays of shape (height, width) of the `RectifiedView`, x and y, counted from the centre of the first
pixel as cv2 does (CV_32FC1). NaN where no ray is imaged, which cv2.remap paints with its border's value. With
`two_channels` it is one array of shape (height, width, 2) (CV_32FC2, and None as the second map).
`out` is filled instead of new arrays: a pair, or the one array. `threads` compute at once, 0 meaning as many as the
machine runs; no bit depends on it. Raises ValueError for more than 2^28 pixels. The inverse is `make_undistort_map`.

>>> import camera_parameters as cp
>>> head = cp.CameraParametersSet()["head_camera"].view(640, 480)
>>> map_x, map_y = head.make_rectify_map(head.fit_view(320, 240, 0))
>>> map_x.shape, map_x.dtype.name
((240, 320), 'float32')
)";

constexpr const char* kFixedDoc =
    R"(The same in fixed point, which `cv2.remap` takes faster: bit for bit what `cv2.convertMaps` makes of it.

int16 of shape (height, width, 2), and uint16 of shape (height, width): thirty-seconds of a pixel, 32 y + x
(CV_16SC2 and CV_16UC1). NaN becomes (-32768, -32768) with fraction 0. `out` is a pair of such arrays to be filled.
Raises ValueError for more than 2^28 pixels.

>>> import camera_parameters as cp
>>> head = cp.CameraParametersSet()["head_camera"].view(640, 480)
>>> xy, fraction = head.make_fixed_point_rectify_map(head.fit_view(320, 240, 0))
>>> xy.shape, xy.dtype.name, fraction.shape, fraction.dtype.name
((240, 320, 2), 'int16', (240, 320), 'uint16')
)";

constexpr const char* kUndistortDoc =
    R"(Where the pixels of the camera's picture lie in a straightened one, for drawing into the picture.

Arrays, arguments and errors of `make_rectify_map`, of the camera's height and width. NaN where no ray is imaged or the
ray lies behind the straightened picture.

>>> import camera_parameters as cp
>>> head = cp.CameraParametersSet()["head_camera"].view(640, 480)
>>> map_x, map_y = head.make_undistort_map(head.fit_view(320, 240, 0))
>>> map_x.shape
(480, 640)
)";

using Shape = std::vector<py::ssize_t>;

struct Size {
  int width;
  int height;

  std::size_t pixels() const {
    return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  }
  Shape shape() const { return {height, width}; }
};

/// The two arrays of a caller, or twice None.
std::pair<py::object, py::object> takePair(const py::object& out) {
  if (out.is_none()) return {out, out};
  if (!py::isinstance<py::tuple>(out) && !py::isinstance<py::list>(out)) {
    throw py::type_error("out: expected a pair of arrays");
  }
  const py::sequence pair = out;
  if (pair.size() != 2) throw py::value_error("out: expected a pair of arrays");
  return {pair[0], pair[1]};
}

/// x and y, each on its own, in arrays that `fill(x, y)` fills without the interpreter's lock.
template <class Fill>
py::object fillPair(const Size& size, const py::object& out, const Fill& fill) {
  const auto [out_x, out_y] = takePair(out);
  auto x = giveArray<float>(out_x, "out[0]", size.shape());
  auto y = giveArray<float>(out_y, "out[1]", size.shape(), {x});
  float* const to_x = x.mutable_data();
  float* const to_y = y.mutable_data();
  withoutLock([&] { fill(to_x, to_y); });
  return py::make_tuple(x, y);
}

/// The same side by side in one array.
template <class Fill>
py::object fillChannels(const Size& size, const py::object& out, const Fill& fill) {
  auto xy = giveArray<float>(out, "out", withAxes(size.shape(), {2}));
  float* const to = xy.mutable_data();
  withoutLock([&] {
    std::vector<float> apart(2 * size.pixels());
    float* const x = apart.data();
    float* const y = x + size.pixels();
    fill(x, y);
    for (std::size_t i = 0; i < size.pixels(); ++i) {
      to[2 * i] = x[i];
      to[2 * i + 1] = y[i];
    }
  });
  return std::move(xy);
}

template <class Fill>
py::object fillMap(const Size& size, bool two_channels, const py::object& out, const Fill& fill) {
  requireModestSize(size.width, size.height);
  return two_channels ? fillChannels(size, out, fill) : fillPair(size, out, fill);
}

py::object makeRectifyMap(const View& of, const RectifiedView& view, bool two_channels,
                          const py::object& out, const py::handle& threads) {
  const int workers = takeThreads(threads);
  return fillMap({view.width, view.height}, two_channels, out,
                 [&](float* x, float* y) { of.view.makeRectifyMap(view, x, y, workers); });
}

py::object makeUndistortMap(const View& of, const RectifiedView& view, bool two_channels,
                            const py::object& out, const py::handle& threads) {
  const int workers = takeThreads(threads);
  return fillMap({of.view.width(), of.view.height()}, two_channels, out,
                 [&](float* x, float* y) { of.view.makeUndistortMap(view, x, y, workers); });
}

py::object makeFixedPointRectifyMap(const View& of, const RectifiedView& view,
                                    const py::object& out, const py::handle& threads) {
  const int workers = takeThreads(threads);
  requireModestSize(view.width, view.height);
  const Shape shape = {view.height, view.width};
  const auto [out_xy, out_fraction] = takePair(out);
  auto xy = giveArray<std::int16_t>(out_xy, "out[0]", withAxes(shape, {2}));
  auto fraction = giveArray<std::uint16_t>(out_fraction, "out[1]", shape, {xy});
  std::int16_t* const to_xy = xy.mutable_data();
  std::uint16_t* const to_fraction = fraction.mutable_data();
  withoutLock([&] { of.view.makeFixedPointRectifyMap(view, to_xy, to_fraction, workers); });
  return py::make_tuple(xy, fraction);
}

}  // namespace

void bindViewMaps(ViewClass* view) {
  view->def("make_rectify_map", &makeRectifyMap, py::arg("view"), py::kw_only(),
            py::arg("two_channels") = false, py::arg("out") = py::none(), py::arg("threads") = 1,
            kRectifyDoc)
      .def("make_fixed_point_rectify_map", &makeFixedPointRectifyMap, py::arg("view"),
           py::kw_only(), py::arg("out") = py::none(), py::arg("threads") = 1, kFixedDoc)
      .def("make_undistort_map", &makeUndistortMap, py::arg("view"), py::kw_only(),
           py::arg("two_channels") = false, py::arg("out") = py::none(), py::arg("threads") = 1,
           kUndistortDoc);
}

}  // namespace norv::python

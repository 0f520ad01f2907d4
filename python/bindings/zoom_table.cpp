#include <fmt/format.h>
#include <pybind11/stl.h>

#include <cmath>

#include "python/bindings/arrays.h"
#include "python/bindings/heads.h"
#include "python/bindings/library_call.h"
#include "python/bindings/pickling.h"

namespace norv::python {
namespace {

using calibration::PTZIntrinsicsItem;
using calibration::PTZIntrinsicsTable;

/// One number of every sample.
template <class Get>
py::array_t<double> columnOf(const ZoomTable& zoom, const Get& get) {
  const PTZIntrinsicsTable& table = zoom.table();
  Eigen::VectorXd column(table.samples_size());
  for (int i = 0; i < table.samples_size(); ++i) column[i] = get(table.samples(i));
  return constantArray(column);
}

py::array_t<double> principalPoints(const ZoomTable& zoom) {
  const PTZIntrinsicsTable& table = zoom.table();
  Eigen::MatrixX2d points(table.samples_size(), 2);
  for (int i = 0; i < table.samples_size(); ++i) {
    points.row(i) << table.samples(i).cx(), table.samples(i).cy();
  }
  return constantArray(points);
}

bool isWholeSteps(double steps) {
  return steps == std::trunc(steps) && std::abs(steps) <= std::numeric_limits<int>::max();
}

/// Focal lengths of the cameras at these positions. Those are whole steps.
py::array_t<float> focalLengthsAt(const ZoomTable& zoom, const py::handle& positions) {
  const py::array_t<double> in = takeNumbers<double>(positions, "zoom");
  const std::vector<py::ssize_t> shape(in.shape(), in.shape() + in.ndim());
  const double* const steps = in.data();
  for (py::ssize_t i = 0; i < in.size(); ++i) {
    if (!isWholeSteps(steps[i])) throw py::value_error("zoom: expected whole steps of 32 bits");
  }
  py::array_t<float> focal_lengths(shape);
  float* const out = focal_lengths.mutable_data();
  const LibraryCall call;
  for (py::ssize_t i = 0; i < in.size(); ++i) {
    const calibration::PTZCameraModelConfiguration at(zoom.model, 0, 0, static_cast<int>(steps[i]));
    const float focal_length = at.getIntrinsics()(0, 0);
    out[i] = std::isfinite(focal_length) ? focal_length : std::nanf("");
  }
  return focal_lengths;
}

std::string describe(const ZoomTable& zoom) {
  const PTZIntrinsicsTable& table = zoom.table();
  return fmt::format("PTZIntrinsicsTable({}x{}, {} samples)", table.image_width(),
                     table.image_height(), table.samples_size());
}

using Class = py::class_<ZoomTable>;

void bindStatedNumbers(Class* table) {
  table
      ->def_property_readonly(
          "image_width", [](const ZoomTable& z) { return z.table().image_width(); },
          "Of the image at which the lens was sampled, pixels.")
      .def_property_readonly(
          "image_height", [](const ZoomTable& z) { return z.table().image_height(); },
          "Of the image at which the lens was sampled, pixels.")
      .def_property_readonly(
          "zoom_start", [](const ZoomTable& z) { return z.table().zoom_start(); },
          "Zoom position of the first sample, steps, as it is stated.")
      .def_property_readonly(
          "zoom_interval", [](const ZoomTable& z) { return z.table().zoom_interval(); },
          "Steps from sample to sample, as they are stated.")
      .def_property_readonly(
          "min_zoom",
          [](const ZoomTable& z) {
            return z.table().has_min_zoom() ? std::optional<int>(z.table().min_zoom())
                                            : std::nullopt;
          },
          "Lowest zoom position, steps; None where none is stated.")
      .def_property_readonly(
          "max_zoom",
          [](const ZoomTable& z) {
            return z.table().has_max_zoom() ? std::optional<int>(z.table().max_zoom())
                                            : std::nullopt;
          },
          "Highest zoom position, steps; None where none is stated.");
}

/// A property of a number of each sample.
template <class Get>
void bindColumn(Class* table, const char* name, const char* what, const Get& get) {
  table->def_property_readonly(
      name, [get](const ZoomTable& zoom) { return columnOf(zoom, get); }, what);
}

void bindSamples(Class* table) {
  bindColumn(table, "zoom", "Zoom positions of the samples, steps: (samples,).",
             [](const PTZIntrinsicsItem& s) { return s.zoom(); });
  bindColumn(table, "focal_length", "Focal lengths of the samples, pixels: (samples,).",
             [](const PTZIntrinsicsItem& s) { return s.focal_length(); });
  bindColumn(table, "k1", "Of the radial distortion (1 + k1 r^2) / (1 + k4 r^2): (samples,).",
             [](const PTZIntrinsicsItem& s) { return s.k1(); });
  bindColumn(table, "k4", "Of the radial distortion (1 + k1 r^2) / (1 + k4 r^2): (samples,).",
             [](const PTZIntrinsicsItem& s) { return s.k4(); });
  bindColumn(table, "p1", "Of the tangential distortion: (samples,).",
             [](const PTZIntrinsicsItem& s) { return s.p1(); });
  bindColumn(table, "p2", "Of the tangential distortion: (samples,).",
             [](const PTZIntrinsicsItem& s) { return s.p2(); });
  table->def_property_readonly("principal_point", &principalPoints,
                               "Principal points of the samples, pixels: (samples, 2).");
}

}  // namespace

void bindZoomTable(py::module_& module) {
  Class table(module, "PTZIntrinsicsTable",
              R"(The lens of a pan-tilt-zoom camera at the samples of its zoom.

Arrays have a row for each sample, are copies and read-only.

>>> import camera_parameters as cp
>>> lens = cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt").intrinsics
>>> lens.zoom[:3], lens.focal_length[:3]
(array([   0., 1000., 2000.]), array([1480. , 1859.3, 2354.9]))
)");
  bindStatedNumbers(&table);
  bindSamples(&table);
  table.def("__len__", [](const ZoomTable& zoom) { return zoom.table().samples_size(); })
      .def("focal_lengths_at", &focalLengthsAt, py::arg("zoom"),
           R"(Focal lengths, pixels, at zoom positions (...), whole steps: (...).

Those of the cameras at these positions; NaN where there is no finite lens, as at the last sample and beyond it.
Raises ValueError for positions that are no whole steps.

>>> import camera_parameters as cp
>>> lens = cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt").intrinsics
>>> lens.focal_lengths_at([0, 500, 11000])
array([1480.  , 1669.65,     nan], dtype=float32)
)")
      .def("__repr__", &describe)
      .def(py::pickle([](const ZoomTable& zoom) { return py::make_tuple(Head{zoom.model}); },
                      [](const py::tuple& state) {
                        return ZoomTable{stateAt(state, 0, 1).cast<Head>().model};
                      }));
}

}  // namespace norv::python

// What a view says of itself.

#include <fmt/format.h>
#include <pybind11/stl.h>

#include <string>

#include "python/bindings/arrays.h"
#include "python/bindings/numbers.h"
#include "python/bindings/pickling.h"
#include "python/bindings/views.h"

namespace norv::python {
namespace {

using calibration::FieldsOfView;
using calibration::ImageCoverage;
using calibration::PixelOrigin;

py::array_t<double> cameraMatrix(const View& of) {
  return constantArray(of.view.K(PixelOrigin::kImageCorner));
}

py::array_t<double> cameraMatrixFromFirstPixel(const View& of) {
  return constantArray(of.view.K(PixelOrigin::kPixelCentre));
}

py::array_t<double> distortionOf(const View& of) {
  const std::array<double, 8> coefficients = of.view.distortion();
  return constantArray(Eigen::Map<const Eigen::Matrix<double, 8, 1>>(coefficients.data()));
}

FieldsOfView fieldsOf(const View& of) {
  return withoutLock([&] { return of.view.fieldsOfView(); });
}

ImageCoverage coverageOf(const View& of) {
  requireModestSize(of.view.width(), of.view.height());
  return withoutLock([&] { return of.view.coverage(); });
}

std::string describe(const View& of) {
  const calibration::CameraModel& model = of.view.model();
  return fmt::format("CameraView({}x{}, fx={:.1f}, fy={:.1f}, cx={:.1f}, cy={:.1f})", model.width,
                     model.height, model.fx, model.fy, model.cx, model.cy);
}

constexpr const char* kFieldsDoc =
    R"(Angles between rays of a picture, radians; NaN where a pixel has no ray.

>>> import camera_parameters as cp
>>> cp.CameraView(640, 480, [[320, 0, 320], [0, 320, 240], [0, 0, 1]]).fields_of_view
FieldsOfView(horizontal=1.5708 rad, vertical=1.2870 rad, diagonal=1.7921 rad)
)";

constexpr const char* kCoverageClassDoc = R"(How much of a picture the lens fills.

>>> import camera_parameters as cp
>>> cp.CameraView(640, 480, [[320, 0, 320], [0, 320, 240], [0, 0, 1]]).coverage()
ImageCoverage(share=1, nearest_without_ray=inf)
)";

constexpr const char* kCoverageDoc =
    R"(How much of the picture the lens fills, every pixel's centre asked.

Takes some ten milliseconds for a million pixels. Raises ValueError for pictures of more than 2^28 pixels.

>>> import camera_parameters as cp
>>> cp.CameraParametersSet()["head_camera"].view(640, 480).coverage().share
1.0
)";

void bindFields(const py::handle& module) {
  py::class_<FieldsOfView>(module, "FieldsOfView", kFieldsDoc)
      .def_readonly("horizontal", &FieldsOfView::horizontal,
                    "From the middle of the left border to that of the right one, radians.")
      .def_readonly("vertical", &FieldsOfView::vertical,
                    "From the middle of the upper border to that of the lower one, radians.")
      .def_readonly("diagonal", &FieldsOfView::diagonal,
                    "From the upper left corner to the lower right one, radians.")
      .def("__repr__",
           [](const FieldsOfView& fields) {
             return fmt::format(
                 "FieldsOfView(horizontal={:.4f} rad, vertical={:.4f} rad, diagonal={:.4f} rad)",
                 fields.horizontal, fields.vertical, fields.diagonal);
           })
      .def(py::pickle(
          [](const FieldsOfView& of) {
            return py::make_tuple(of.horizontal, of.vertical, of.diagonal);
          },
          [](const py::tuple& state) {
            return FieldsOfView{takeNumber(stateAt(state, 0, 3), "horizontal"),
                                takeNumber(stateAt(state, 1, 3), "vertical"),
                                takeNumber(stateAt(state, 2, 3), "diagonal")};
          }));
}

void bindCoverage(const py::handle& module) {
  py::class_<ImageCoverage>(module, "ImageCoverage", kCoverageClassDoc)
      .def_readonly("share", &ImageCoverage::share,
                    "Share of the pixels at whose centre a ray is imaged, 0 to 1.")
      .def_readonly("nearest_without_ray", &ImageCoverage::nearest_without_ray,
                    "Distance from the principal point, pixels, of the nearest pixel centre at "
                    "which none is; infinity if there is one at each.")
      .def("__repr__",
           [](const ImageCoverage& coverage) {
             return fmt::format("ImageCoverage(share={:.4g}, nearest_without_ray={:.4g})",
                                coverage.share, coverage.nearest_without_ray);
           })
      .def(py::pickle(
          [](const ImageCoverage& of) { return py::make_tuple(of.share, of.nearest_without_ray); },
          [](const py::tuple& state) {
            return ImageCoverage{takeNumber(stateAt(state, 0, 2), "share"),
                                 takeNumber(stateAt(state, 1, 2), "nearest_without_ray")};
          }));
}

void bindPlainNumbers(ViewClass* view) {
  view->def_property_readonly(
          "width", [](const View& of) { return of.view.width(); }, "Pixels.")
      .def_property_readonly(
          "height", [](const View& of) { return of.view.height(); }, "Pixels.")
      .def_property_readonly(
          "size", [](const View& of) { return std::make_pair(of.view.width(), of.view.height()); },
          "Width and height, pixels.")
      .def_property_readonly(
          "pose", [](const View& of) { return of.view.pose(); },
          "Camera from robot, or from the world for a pan-tilt-zoom camera.")
      .def_property_readonly("camera_matrix", &cameraMatrix,
                             "Rows (fx, skew, cx), (0, fy, cy), (0, 0, 1), float64, read-only, "
                             "pixels from the image's corner.")
      .def_property_readonly("camera_matrix_from_first_pixel", &cameraMatrixFromFirstPixel,
                             "The same with pixels from the centre of the first one, as OpenCV "
                             "counts them: cx and cy are 0.5 less.")
      .def_property_readonly("distortion", &distortionOf,
                             "k1, k2, p1, p2, k3, k4, k5, k6: float64, read-only.")
      .def_readonly("is_from_table", &View::is_from_table,
                    "Whether the camera delivers pictures of this size itself.")
      .def_readonly("is_rectified_by_sensor", &View::is_rectified_by_sensor,
                    "Whether the sensor itself took most of the lens out of the picture.")
      .def("__repr__", &describe);
}

}  // namespace

void bindViewNumbers(py::module_& module, ViewClass* view) {
  bindFields(module);
  bindCoverage(module);
  bindPlainNumbers(view);
  view->def_property_readonly(
          "fields_of_view", &fieldsOf,
          "`FieldsOfView`, radians, by the lens, and not by focal lengths alone.")
      .def_property_readonly(
          "valid_radius",
          [](const View& of) { return withoutLock([&] { return of.view.validRadius(); }); },
          "The largest radius (x/z, y/z) within which the lens images all rays one to one; "
          "infinity if it does everywhere.")
      .def_property_readonly(
          "valid_half_angle",
          [](const View& of) { return withoutLock([&] { return of.view.validHalfAngle(); }); },
          "The same as an angle from the optical axis, radians: pi / 2 if everywhere.")
      .def("coverage", &coverageOf, kCoverageDoc);
}

}  // namespace norv::python

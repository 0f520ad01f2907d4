#pragma once

/// Cameras at one picture size, as the library's CameraView: what they see, and straight pictures.

#include <pybind11/pybind11.h>

#include <utility>

#include "calibration_common/camera_view.h"
#include "python/bindings/cameras.h"
#include "support/rectified_view.h"

namespace norv::python {

/// A view, and where its picture comes from, which the library tells of its own views alone and
/// which pickling has to keep.
struct View {
  explicit View(const calibration::CameraView& of)
      : view(of),
        is_from_table(of.isFromTable()),
        is_rectified_by_sensor(of.isRectifiedBySensor()) {}

  calibration::CameraView view;
  bool is_from_table;
  bool is_rectified_by_sensor;
};

/// `view` of a camera. Throws ValueError, which lists the sizes, where it is none of them.
View viewOf(const Camera& camera, const pybind11::handle& width, const pybind11::handle& height);

/// The rotation of a straightened picture, (3, 3). Throws ValueError where it is none.
Eigen::Matrix3d takeRotation(const pybind11::handle& object);

/// What `viewOf` says to users.
extern const char* const kViewDoc;

/// Adds the classes CameraView, RectifiedView and what these hand out.
void bindViews(pybind11::module_& module);

// The parts of it, each in a file of its name.
using ViewClass = pybind11::class_<View>;
void bindViewNumbers(pybind11::module_& module, ViewClass* view);
void bindProcessedViews(ViewClass* view);
void bindViewPickling(ViewClass* view);
void bindViewPoints(pybind11::module_& module, ViewClass* view);
void bindViewStraightening(ViewClass* view);
void bindViewMaps(ViewClass* view);
void bindRectifiedView(pybind11::module_& module);

}  // namespace norv::python

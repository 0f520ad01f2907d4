#include "calibration_common/adjusted_calibration.h"

#include <optional>

#include "python/bindings/cameras.h"
#include "python/bindings/data.h"
#include "python/bindings/loads.h"

namespace norv::python {
namespace {

namespace py = pybind11;
using calibration::BaseCalibrationData;
using calibration::CameraParametersSet;
using calibration::LoadReport;
using calibration::RobotCalibration;

BaseCalibrationData dataOf(const Base& base) {
  return base.lock->read([&] { return BaseCalibrationData(*base.data); });
}

CameraSet adjustCalibration(const CameraSet& set, const Base& base) {
  const BaseCalibrationData data = dataOf(base);
  const RobotCalibration robot = set.lock->read([&] { return set.cameras->getRobotCalibration(); });
  return {loadedOrThrow([&](LoadReport* report) {
    const std::optional<RobotCalibration> adjusted = calibration::adjustCalibration(robot, data);
    return CameraParametersSet::fromString((adjusted ? *adjusted : robot).SerializeAsString(),
                                           report);
  })};
}

bool wasAdjustedBy(const Camera& camera, const Base& base) {
  const BaseCalibrationData data = dataOf(base);
  return camera.lock->read(
      [&] { return calibration::wasAdjustedBy(camera.parameters->getCalibration(), data); });
}

}  // namespace

void bindAdjusting(py::module_& module) {
  module.def(
      "adjust_calibration", &adjustCalibration, py::arg("cameras"), py::arg("base"),
      R"(A new set with every camera's pose moved by the base's global transform, and a record of that.

The poses are moved and stored as `CameraParametersSet.adjust_using_base_calibration` does it, and the transform is added
to every camera's `adjusted_by`. Nothing is asked of the record: what was moved by this base is moved again
(`was_adjusted_by`). There is no inverse, since poses are rounded.

>>> import camera_parameters as cp
>>> cameras = cp.CameraParametersSet()
>>> moved = cp.adjust_calibration(cameras, cp.BaseCalibrationData())
>>> (moved["head_camera"].pose.center == cameras["head_camera"].pose.center).any()
False
)");
  module.def(
      "was_adjusted_by", &wasAdjustedBy, py::arg("camera"), py::arg("base"),
      R"(Whether a camera's record says that its pose was moved by this base's global transform.

The transform is recognised by its twelve values; where record and base both state a time, these have to be equal, too.
Without a record the answer is False.

>>> import camera_parameters as cp
>>> base = cp.BaseCalibrationData()
>>> cameras = cp.CameraParametersSet()
>>> moved = cp.adjust_calibration(cameras, base)
>>> cp.was_adjusted_by(cameras["head_camera"], base), cp.was_adjusted_by(moved["head_camera"], base)
(False, True)
)");
}

}  // namespace norv::python

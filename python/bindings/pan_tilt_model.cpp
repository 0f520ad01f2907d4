#include "calibration_common/pan_tilt_model.h"

#include <fmt/format.h>

#include <limits>

#include "python/bindings/arrays.h"
#include "python/bindings/heads.h"
#include "python/bindings/numbers.h"
#include "python/bindings/pan_tilt_heads.h"
#include "python/bindings/pan_tilt_words.h"

namespace norv::python {
namespace {

using calibration::PanTiltModel;
using calibration::PanTiltRoots;
using calibration::PanTiltSolution;

Vector3_f narrowPoint(const py::handle& object) {
  const auto numbers = takeArray<float>(object, "world", {3});
  return Eigen::Map<const Vector3_f>(numbers.data());
}

Vector2_f narrowDirection(const py::handle& object) {
  const auto numbers = takeArray<float>(object, "dev", {2});
  return Eigen::Map<const Vector2_f>(numbers.data());
}

PanTiltSolution solve(const PanTilt& pan_tilt, const py::handle& world, const py::handle& dev) {
  const Vector3_f point = narrowPoint(world);
  const Vector2_f direction = narrowDirection(dev);
  return withoutLock([&] { return pan_tilt.head().solve(point, direction); });
}

py::tuple computePanTilt(const PanTilt& pan_tilt, const py::handle& world, const py::handle& dev) {
  const Vector3_f point = narrowPoint(world);
  const Vector2_f direction = narrowDirection(dev);
  float pan = 0;
  float tilt = 0;
  const bool is_solved =
      withoutLock([&] { return pan_tilt.head().computePanTilt(point, direction, &pan, &tilt); });
  if (!is_solved) throwUnsolved(pan_tilt.head().solve(point, direction));
  return py::make_tuple(pan, tilt);
}

/// NaN where the verdict is not "solved".
py::array_t<float> solvePoints(const PanTilt& pan_tilt, const py::handle& worlds,
                               const py::handle& dev) {
  const Points<float> in = takePoints<float>(worlds, "worlds", 3);
  const Vector2_f direction = narrowDirection(dev);
  auto answers = giveArray<float>(py::none(), "out", withAxes(in.leading, {2}));
  const float* const from = in.data();
  float* const to = answers.mutable_data();
  withoutLock([&] {
    constexpr float kNone = std::numeric_limits<float>::quiet_NaN();
    for (std::size_t i = 0; i < in.count; ++i) {
      const PanTiltSolution solution =
          pan_tilt.head().solve(Eigen::Map<const Vector3_f>(from + 3 * i), direction);
      to[2 * i] = solution.solved() ? solution.pan : kNone;
      to[2 * i + 1] = solution.solved() ? solution.tilt : kNone;
    }
  });
  return answers;
}

PanTiltRoots solveAll(const PanTilt& pan_tilt, const py::handle& world, const py::handle& dev,
                      const py::object& tolerance, const py::object& free_pan,
                      const py::object& free_tilt) {
  const auto point = takeArray<double>(world, "world", {3});
  const auto direction = takeArray<double>(dev, "dev", {2});
  const calibration::PanTiltSearch search = {takeNumber(tolerance, "tolerance"),
                                             takeNumber(free_pan, "free_pan"),
                                             takeNumber(free_tilt, "free_tilt")};
  requireFinite(search.tolerance, "tolerance");
  requireFinite(search.free_pan, "free_pan");
  requireFinite(search.free_tilt, "free_tilt");
  return withoutLock([&] {
    return pan_tilt.head().solveAll(Eigen::Map<const Eigen::Vector3d>(point.data()),
                                    Eigen::Map<const Eigen::Vector2d>(direction.data()), search);
  });
}

CameraTransform fullTransform(const PanTilt& pan_tilt, const py::object& pan,
                              const py::object& tilt) {
  const auto pan_steps = static_cast<float>(takeNumber(pan, "pan"));
  const auto tilt_steps = static_cast<float>(takeNumber(tilt, "tilt"));
  return withoutLock([&] { return pan_tilt.head().getFullTransform(pan_steps, tilt_steps); });
}

using Class = py::class_<PanTilt>;

void bindPose(Class* head, const char* name, const char* what,
              const CameraTransform& (PanTiltModel::*get)() const) {
  head->def_property_readonly(
      name, [get](const PanTilt& p) { return constantArray((p.head().*get)().transform); }, what);
}

void bindNumber(Class* head, const char* name, const char* what,
                float (PanTiltModel::*get)() const) {
  head->def_property_readonly(
      name, [get](const PanTilt& p) { return (p.head().*get)(); }, what);
}

void bindChain(Class* head) {
  bindPose(head, "base_to_pan", "(4, 4): from the base into the frame of the pan joint, metres.",
           &PanTiltModel::getBaseToPan);
  bindPose(head, "pan_to_tilt", "(4, 4): from the pan joint's frame into the tilt joint's, metres.",
           &PanTiltModel::getPanToTilt);
  bindPose(head, "tilt_to_camera", "(4, 4): from the tilt joint's frame into the camera's, metres.",
           &PanTiltModel::getTiltToCamera);
  bindNumber(head, "pan_scale", "Radians per step.", &PanTiltModel::getPanScale);
  bindNumber(head, "tilt_scale", "Radians per step.", &PanTiltModel::getTiltScale);
  bindNumber(head, "pan_offset", "Steps at which the angle is zero.", &PanTiltModel::getPanOffset);
  bindNumber(head, "tilt_offset", "Steps at which the angle is zero.",
             &PanTiltModel::getTiltOffset);
  bindNumber(head, "aux_value_1", "Carried along unused.", &PanTiltModel::getAuxValue1);
  bindNumber(head, "aux_value_2", "Carried along unused.", &PanTiltModel::getAuxValue2);
}

void bindFixedOperations(Class* head) {
  head->def("get_full_transform", &fullTransform, py::arg("pan"), py::arg("tilt"),
            R"(Pose of the camera, from the base frame, at two motor positions in steps.

>>> import camera_parameters as cp
>>> head = cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt").pan_tilt_model
>>> head.get_full_transform(0, 0).center.round(4)
array([0.155, 0.002, 1.272], dtype=float32)
)")
      .def(
          "solve", &solve, py::arg("world"), py::arg("dev") = py::make_tuple(0, 0),
          R"(Motor positions at which the point `world`, metres, is seen in the direction `dev` = (x/z, y/z).

A PanTiltSolution, whose verdict says what it is worth: raises nothing. One pair only, of heads that the closed form
serves; `solve_all` has all of every head.

>>> import camera_parameters as cp
>>> head = cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt").pan_tilt_model
>>> head.solve((3, 1, 1.5)).solved, head.solve((float("nan"), 0, 0)).verdict
(True, 'no-candidate')
)")
      .def("compute_pan_tilt", &computePanTilt, py::arg("world"),
           py::arg("dev") = py::make_tuple(0, 0),
           R"(`solve`, as (pan, tilt) in steps, its reasons logged.

Raises NoSolutionError with the verdict as the reason.

>>> import camera_parameters as cp
>>> head = cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt").pan_tilt_model
>>> solution = head.solve((3, 1, 1.5))
>>> head.compute_pan_tilt((3, 1, 1.5)) == (solution.pan, solution.tilt)
True
)")
      .def(
          "solve_points", &solvePoints, py::arg("worlds"), py::arg("dev") = py::make_tuple(0, 0),
          R"(`solve` for points (..., 3): pan and tilt in steps (..., 2), NaN where it is not solved.

Runs without the interpreter's lock.

>>> import camera_parameters as cp
>>> head = cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt").pan_tilt_model
>>> head.solve_points([(3, 1, 1.5), (float("nan"), 0, 0)]).round()
array([[-663.,  150.],
       [  nan,   nan]], dtype=float32)
)");
}

}  // namespace

void bindPanTiltModel(py::module_& module) {
  Class head(
      module, "PanTiltModel",
      R"(A head that turns a camera by two motors; made by `PTZCameraModel.pan_tilt_model`. Immutable.

camera_from_base = tilt_to_camera Rz(tilt) pan_to_tilt Rz(pan) base_to_pan; an angle is (steps - offset) * scale.

>>> import camera_parameters as cp
>>> cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt").pan_tilt_model
PanTiltModel(0.0005 and 0.0005 radians per step)
)");
  bindChain(&head);
  bindFixedOperations(&head);
  head.def(
          "solve_all", &solveAll, py::arg("world"), py::arg("dev") = py::make_tuple(0, 0),
          py::kw_only(), py::arg("tolerance") = 1e-6, py::arg("free_pan") = 0.0,
          py::arg("free_tilt") = 0.0,
          R"(Every pair of angles at which the point `world`, metres, is seen in the direction `dev` = (x/z, y/z).

PanTiltRoots, whose `reach` says why where there are none: raises nothing. For any head whose axes are not parallel.
Where the head comes within `tolerance`, radians, that is a root too; `free_pan` and `free_tilt`, radians, are the
angles for a point that is seen at every pan, or every tilt. A motor position is angle / scale + offset.

>>> import camera_parameters as cp
>>> head = cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt").pan_tilt_model
>>> [round(root.pan, 4) for root in head.solve_all((3, 1, 1.5))]
[-0.3314, 2.8089]
)")
      .def(py::pickle([](const PanTilt& p) { return Head{p.model}; },
                      [](const Head& h) { return PanTilt{h.model}; }))
      .def("__repr__", [](const PanTilt& p) {
        return fmt::format("PanTiltModel({:.6g} and {:.6g} radians per step)",
                           p.head().getPanScale(), p.head().getTiltScale());
      });
  py::reinterpret_borrow<py::class_<Head>>(module.attr("PTZCameraModel"))
      .def_property_readonly(
          "pan_tilt_model", [](const Head& h) { return PanTilt{h.model}; },
          "PanTiltModel: the head's chain, and which angles see a point.");
}

}  // namespace norv::python

#include <fmt/format.h>
#include <pybind11/stl.h>

#include "python/bindings/aim_words.h"
#include "python/bindings/aiming.h"
#include "python/bindings/arrays.h"

namespace norv::python {
namespace {

using calibration::AimPosition;
using calibration::MotorBound;

py::object wordOf(MotorBound bound) {
  const char* const word = boundWord(bound);
  return word == nullptr ? py::object(py::none()) : py::object(py::str(word));
}

std::string describe(const AimPosition& p) {
  return fmt::format("AimPosition(pan={}, tilt={}, zoom={}, miss={:.3g} px{})", p.motors.pan,
                     p.motors.tilt, p.motors.zoom, p.miss, p.isLimited() ? ", limited" : "");
}

/// None where what was asked for is reached.
template <class Get>
py::object obstacleOf(const AimAnswer& answer, const Get& get) {
  if (!answer.verdict.obstacle) return py::none();
  return py::str(get(*answer.verdict.obstacle));
}

const AimPosition& positionAt(const AimAnswer& answer, py::ssize_t index) {
  const auto count = static_cast<py::ssize_t>(answer.aim.size());
  const py::ssize_t i = index < 0 ? index + count : index;
  if (i < 0 || i >= count) throw py::index_error("there are fewer positions");
  return answer.aim[static_cast<std::size_t>(i)];
}

std::string describeAnswer(const AimAnswer& answer) {
  const std::string reason = answer.verdict.obstacle
                                 ? fmt::format(", not reached: {}", answer.verdict.obstacle->word)
                                 : "";
  const std::size_t others = answer.aim.size() - 1;
  return fmt::format("Aim({}{}{})", describe(answer.aim.best()),
                     others > 0 ? fmt::format(", and {} more", others) : "", reason);
}

using PositionClass = py::class_<AimPosition>;

void bindMotors(PositionClass* position) {
  position
      ->def_property_readonly(
          "motors",
          [](const AimPosition& p) {
            return py::make_tuple(p.motors.pan, p.motors.tilt, p.motors.zoom);
          },
          "Pan, tilt and zoom, steps.")
      .def_property_readonly(
          "pan", [](const AimPosition& p) { return p.motors.pan; }, "Steps.")
      .def_property_readonly(
          "tilt", [](const AimPosition& p) { return p.motors.tilt; }, "Steps.")
      .def_property_readonly(
          "zoom", [](const AimPosition& p) { return p.motors.zoom; }, "Steps.")
      .def_property_readonly(
          "travel",
          [](const AimPosition& p) {
            return py::make_tuple(p.pan_travel, p.tilt_travel, p.zoom_travel);
          },
          "How far pan, tilt and zoom go from where they are, steps.")
      .def_property_readonly(
          "pan_bound", [](const AimPosition& p) { return wordOf(p.pan_bound); },
          "The end of its range that binds it: \"lowest\", \"highest\" or None.")
      .def_property_readonly(
          "tilt_bound", [](const AimPosition& p) { return wordOf(p.tilt_bound); },
          "The end of its range that binds it: \"lowest\", \"highest\" or None.")
      .def_property_readonly(
          "zoom_bound", [](const AimPosition& p) { return wordOf(p.zoom_bound); },
          "The end of its range but for which another zoom were chosen: "
          "\"lowest\", \"highest\" or None.")
      .def_property_readonly("is_limited", &AimPosition::isLimited,
                             "Whether an end binds a motor.");
}

void bindSight(PositionClass* position) {
  position
      ->def_readonly("miss", &AimPosition::miss, "How far from its place the target lands, pixels.")
      .def_property_readonly(
          "lands", [](const AimPosition& p) { return constantArray(p.lands); },
          "Pixel at which the target is seen: (2,).")
      .def_property_readonly(
          "wanted", [](const AimPosition& p) { return constantArray(p.wanted); },
          "Pixel at which it was to be: (2,).")
      .def_property_readonly(
          "low", [](const AimPosition& p) { return constantArray(p.low); },
          "Smallest x and y of what the target covers, pixels: (2,).")
      .def_property_readonly(
          "high", [](const AimPosition& p) { return constantArray(p.high); },
          "Largest x and y of what the target covers, pixels: (2,).")
      .def_readonly("is_whole", &AimPosition::is_whole,
                    "Whether all of the target lies before the camera and on its lens.")
      .def_readonly("is_inside", &AimPosition::is_inside,
                    "Whether, besides, all of it lies in the picture.")
      .def_readonly("is_upright", &AimPosition::is_upright,
                    "Whether the camera's down points below the horizon of the base frame.")
      .def("__repr__", &describe);
}

constexpr const char* kAimDoc =
    R"(Positions of the motors that bring a target to its place, the best first: a sequence of AimPosition.

>>> import camera_parameters as cp
>>> head = cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt")
>>> aim = head.aim(at=(500, 200, 2500), point=(3, 1, 1.5))
>>> len(aim), aim.best.motors, aim.reached
(1, (-662, 150, 2500), True)
)";

}  // namespace

void bindAimAnswers(py::module_& module) {
  PositionClass position(module, "AimPosition",
                         R"(A position of the motors, and the target looked at from there.

>>> import camera_parameters as cp
>>> head = cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt")
>>> best = head.aim(at=(500, 200, 2500), pixel=(400, 300), distance=12).best
>>> best.is_whole, best.is_limited, best.miss < 2
(True, False, True)
)");
  bindMotors(&position);
  bindSight(&position);
  py::class_<AimAnswer>(module, "Aim", kAimDoc)
      .def("__len__", [](const AimAnswer& answer) { return answer.aim.size(); })
      .def("__getitem__", &positionAt, py::arg("index"))
      .def_property_readonly(
          "best", [](const AimAnswer& answer) { return answer.aim.best(); },
          "AimPosition: the first one.")
      .def_property_readonly(
          "reached", [](const AimAnswer& answer) { return !answer.verdict.obstacle; },
          "Whether the best position does what was asked for.")
      .def_property_readonly(
          "reason",
          [](const AimAnswer& answer) {
            return obstacleOf(answer, [](const Obstacle& o) { return o.word; });
          },
          "Why it does not: \"limited\", \"missed\", \"not-whole\", \"not-inside\"; else None.")
      .def_property_readonly(
          "note",
          [](const AimAnswer& answer) {
            return obstacleOf(answer, [](const Obstacle& o) { return o.sentence; });
          },
          "The same as a sentence; else None.")
      .def_property_readonly(
          "tolerance_pixels", [](const AimAnswer& answer) { return answer.verdict.tolerance; },
          "How far from its place the target may land, pixels.")
      .def(py::pickle([](const AimAnswer& answer) { return stateOf(answer); }, &answerOfState))
      .def("__repr__", &describeAnswer);
}

}  // namespace norv::python

#include "python/bindings/aiming.h"

#include "calibration_common/head_geometry.h"
#include "python/bindings/errors.h"
#include "python/bindings/numbers.h"

namespace norv::python {
namespace {

using calibration::AimFailure;
using calibration::MotorPositions;
using calibration::PTZCameraModelConfiguration;

[[noreturn]] void refuseModel(const Head& head) {
  const bool turns = calibration::motorsTurn(head.model->getParams().pan_tilt());
  throwNoSolution(turns ? "nothing can be aimed with this camera: its picture has no size, or its "
                          "head no poses"
                        : "nothing can be aimed with this head: a motor does not turn",
                  "invalid-model");
}

AimAnswer aimFrom(const Head& head, const MotorPositions& now, const py::kwargs& arguments) {
  const AimQuestion question = questionOf(now, arguments);
  AimAnswer answer = withoutLock([&] {
    const calibration::Aim aim = calibration::aim(*head.model, question.request);
    return AimAnswer{
        aim, judge(head.model, question.request, {question.strict, question.tolerance}, aim)};
  });
  if (answer.aim.failure == AimFailure::kInvalidModel) refuseModel(head);
  const bool is_refused = answer.aim.empty() || question.strict;
  if (is_refused && answer.verdict.obstacle) {
    throwNoSolution(answer.verdict.obstacle->sentence, answer.verdict.obstacle->word);
  }
  return answer;
}

constexpr const char* kAimDoc =
    R"(Where the motors must go so that something comes to its place in the picture: an Aim.

`at`: pan, tilt and zoom, whole steps, where the motors are now. Keyword arguments:

- the target, one of `pixel=(x, y)` of the present picture at `distance`; `box=(x1, y1, x2, y2)`, opposite corners in
  it, at `distance`; `point=(x, y, z)`, alone or as the centre of a sphere of `radius`; `points` (N, 3). Metres, in the
  head's base frame.
- `place`, where it is wanted: "middle" of the picture (default), "axis", or a pixel (x, y).
- the zoom, one of `fill`, the share in (0, 1] of the picture that it takes up (1 for a box), `fov`, radians across the
  picture, `focal`, pixels; the present one where none is given.
- `choice`, of several positions the first: "nearest" (default), "upright" or "no-flip".
- `tolerance`, pixels: how far from its place the target may land; by default as far as a step of pan and one of tilt
  move it, but 1 at least. `strict`: raise, too, where it lands beyond that or a motor's range bounds the answer.

Positions are whole steps within the range of the motors, the short way round. Raises ValueError for numbers that make
no sense, such as a `fill` of 5, and NoSolutionError where there is
none, with the reason as the command-line tool has it; with `strict` also where `reached` would be False.

>>> import camera_parameters as cp
>>> head = cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt")
>>> head.aim(at=(500, 200, 2500), pixel=(400, 300), distance=12).best.motors
(86, 370, 2500)
>>> try:
...     head.aim(at=(500, 200, 2500), point=(0.1, 0, 1.21))
... except cp.NoSolutionError as error:
...     error.reason
'out-of-reach'
)";

constexpr const char* kHereDoc = R"(`PTZCameraModel.aim` from this position of the motors.

>>> import camera_parameters as cp
>>> now = cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt").configuration(500, 200, 2500)
>>> now.aim(pixel=(400, 300), distance=12).best.motors
(86, 370, 2500)
)";

}  // namespace

void bindAiming(py::module_& module) {
  py::reinterpret_borrow<py::class_<Head>>(module.attr("PTZCameraModel"))
      .def(
          "aim",
          [](const Head& head, const py::object& at, const py::kwargs& arguments) {
            const auto motors = takeMotors(at, "at");
            return aimFrom(head, {motors[0], motors[1], motors[2]}, arguments);
          },
          py::arg("at"), kAimDoc);
  py::reinterpret_borrow<py::class_<PTZCameraModelConfiguration>>(
      module.attr("PTZCameraModelConfiguration"))
      .def(
          "aim",
          [](const PTZCameraModelConfiguration& now, const py::kwargs& arguments) {
            return aimFrom({now.getModel()}, {now.getPan(), now.getTilt(), now.getZoom()},
                           arguments);
          },
          kHereDoc);
}

}  // namespace norv::python

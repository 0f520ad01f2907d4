#include <fmt/format.h>
#include <pybind11/stl.h>

#include <cstddef>
#include <string>
#include <vector>

#include "python/bindings/aiming.h"
#include "python/bindings/arrays.h"
#include "python/bindings/numbers.h"

namespace norv::python {
namespace {

using calibration::AimPosition;
using calibration::AimRequest;
using calibration::MotorPositions;

/// The answers of a track, a row each.
struct AimTrack {
  std::size_t count;
  py::array_t<int> motors;    ///< pan, tilt, zoom; where there is no position, the last one
  py::array_t<double> lands;  ///< NaN where there is none, as is what follows
  py::array_t<double> miss;
  py::array_t<bool> is_limited;  ///< false where there is none
  py::array_t<bool> reached;
  std::vector<std::string> reasons;  ///< empty where it was reached
};

struct Rows {
  int* motors;
  double* lands;
  double* miss;
  bool* is_limited;
  bool* reached;
};

AimTrack emptyTrack(std::size_t count) {
  const auto n = static_cast<py::ssize_t>(count);
  const std::vector<py::ssize_t> column = {n};
  return {count,
          py::array_t<int>(std::vector<py::ssize_t>{n, 3}),
          py::array_t<double>(std::vector<py::ssize_t>{n, 2}),
          py::array_t<double>(column),
          py::array_t<bool>(column),
          py::array_t<bool>(column),
          std::vector<std::string>(count)};
}

void writeRow(std::size_t i, const MotorPositions& motors, const AimPosition* position,
              const Rows& rows) {
  rows.motors[3 * i] = motors.pan;
  rows.motors[3 * i + 1] = motors.tilt;
  rows.motors[3 * i + 2] = motors.zoom;
  const AimPosition none;
  const AimPosition& shown = position == nullptr ? none : *position;
  rows.lands[2 * i] = shown.lands.x();
  rows.lands[2 * i + 1] = shown.lands.y();
  rows.miss[i] = shown.miss;
  rows.is_limited[i] = shown.isLimited();
}

/// Each point is aimed at from where the one before it was aimed at.
void follow(const Head& head, AimQuestion* question, const double* points, AimTrack* track,
            const Rows& rows) {
  AimRequest& request = question->request;
  for (std::size_t i = 0; i < track->count; ++i) {
    request.target = targetAt(*question, Eigen::Map<const Eigen::Vector3d>(points + 3 * i));
    const calibration::Aim aim = calibration::aim(*head.model, request);
    const Verdict verdict =
        judge(head.model, request, {question->strict, question->tolerance}, aim);
    if (!aim.empty()) request.now = aim.best().motors;
    writeRow(i, request.now, aim.empty() ? nullptr : &aim.best(), rows);
    rows.reached[i] = !verdict.obstacle;
    if (verdict.obstacle) track->reasons[i] = verdict.obstacle->word;
  }
}

AimTrack trackOf(const Head& head, const py::object& points, const py::object& at,
                 const py::kwargs& arguments) {
  const auto motors = takeMotors(at, "at");
  AimQuestion question = trackQuestionOf({motors[0], motors[1], motors[2]}, arguments);
  const Points<double> in = takePoints<double>(points, "points", 3);
  if (in.leading.size() != 1) throw py::value_error("points: expected shape (N, 3)");
  AimTrack track = emptyTrack(in.count);
  const Rows rows = {track.motors.mutable_data(), track.lands.mutable_data(),
                     track.miss.mutable_data(), track.is_limited.mutable_data(),
                     track.reached.mutable_data()};
  withoutLock([&] { follow(head, &question, in.data(), &track, rows); });
  return track;
}

py::tuple stateOfTrack(const AimTrack& track) {
  return py::make_tuple(track.motors, track.lands, track.miss, track.is_limited, track.reached,
                        track.reasons);
}

/// One of the state's arrays, as `stateOfTrack` has it.
template <class T>
py::array_t<T> arrayOf(const py::handle& object, const std::vector<py::ssize_t>& shape) {
  const bool is_array = py::isinstance<py::array_t<T>>(object);
  if (is_array) {
    auto array = py::reinterpret_borrow<py::array_t<T>>(object);
    if (std::vector<py::ssize_t>(array.shape(), array.shape() + array.ndim()) == shape) {
      return array;
    }
  }
  throw py::value_error("state: is none of an AimTrack");
}

AimTrack trackOfState(const py::tuple& state) {
  if (state.size() != 6 || !py::isinstance<py::list>(state[5])) {
    throw py::value_error("state: is none of an AimTrack");
  }
  std::vector<std::string> reasons;
  for (const py::handle word : py::reinterpret_borrow<py::list>(state[5])) {
    if (!py::isinstance<py::str>(word)) throw py::value_error("state: is none of an AimTrack");
    reasons.push_back(word.cast<std::string>());
  }
  const auto n = static_cast<py::ssize_t>(reasons.size());
  return {reasons.size(),
          arrayOf<int>(state[0], {n, 3}),
          arrayOf<double>(state[1], {n, 2}),
          arrayOf<double>(state[2], {n}),
          arrayOf<bool>(state[3], {n}),
          arrayOf<bool>(state[4], {n}),
          reasons};
}

py::object column(const AimTrack& track, int index) {
  return track.motors[py::make_tuple(py::ellipsis(), index)];
}

py::list reasonsOf(const AimTrack& track) {
  py::list reasons;
  for (const std::string& word : track.reasons) {
    reasons.append(word.empty() ? py::object(py::none()) : py::object(py::str(word)));
  }
  return reasons;
}

std::string describe(const AimTrack& track) {
  std::size_t reached = 0;
  for (const std::string& word : track.reasons) reached += word.empty() ? 1U : 0U;
  return fmt::format("AimTrack({} points, {} reached)", track.count, reached);
}

constexpr const char* kTrackDoc =
    R"(Aims at points (N, 3), metres, one after the other, each from where the one before it led: an AimTrack.

`at` is where the motors are before the first one; the other arguments are those of `aim`, but for its targets. A
`radius` is that of a sphere around each point. Points that are out of reach, or not finite, raise nothing: they keep
the position of the point before, and `reason` says why. Runs without the interpreter's lock.

>>> import camera_parameters as cp
>>> head = cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt")
>>> track = head.track([(3, 1, 1.5), (3, 0.9, 1.5), (0.1, 0, 1.21)], at=(500, 200, 2500))
>>> track.motors.tolist()
[[-662, 150, 2500], [-599, 152, 2500], [-599, 152, 2500]]
>>> track.reason
[None, None, 'out-of-reach']
)";

}  // namespace

void bindTracking(py::module_& module) {
  py::class_<AimTrack>(module, "AimTrack",
                       R"(Where the motors go while the camera follows points: a row for each.

>>> import camera_parameters as cp
>>> head = cp.PTZCameraModel.from_file("calibration/example_ptz_cal.txt")
>>> head.track([(3, 1, 1.5), (3, 0.9, 1.5)], at=(500, 200, 2500))
AimTrack(2 points, 2 reached)
>>> for pan, tilt, zoom in head.track([(3, 1, 1.5), (3, 0.9, 1.5)], at=(500, 200, 2500)):
...     print(pan, tilt, zoom)
-662 150 2500
-599 152 2500
)")
      .def_readonly("motors", &AimTrack::motors, "Pan, tilt and zoom, steps: (N, 3), int32.")
      .def_property_readonly(
          "pan", [](const AimTrack& t) { return column(t, 0); }, "Steps: (N,).")
      .def_property_readonly(
          "tilt", [](const AimTrack& t) { return column(t, 1); }, "Steps: (N,).")
      .def_property_readonly(
          "zoom", [](const AimTrack& t) { return column(t, 2); }, "Steps: (N,).")
      .def_readonly("lands", &AimTrack::lands,
                    "Pixels at which the targets are seen: (N, 2). NaN where there is no position.")
      .def_readonly("miss", &AimTrack::miss,
                    "How far from its place each lands, pixels: (N,). NaN where there is no "
                    "position.")
      .def_readonly("is_limited", &AimTrack::is_limited,
                    "Whether the end of a motor's range binds it: (N,).")
      .def_readonly("reached", &AimTrack::reached, "Whether the head does what was asked: (N,).")
      .def_property_readonly("reason", &reasonsOf, "Why it does not, as of Aim; else None: a list.")
      .def(py::pickle(&stateOfTrack, &trackOfState))
      .def("__len__", [](const AimTrack& t) { return t.count; })
      .def(
          "__getitem__",
          [](const AimTrack& t, const py::object& index) {
            return py::tuple(t.motors[py::int_(index)].attr("tolist")());
          },
          "Pan, tilt and zoom of a point, steps.", py::arg("index"))
      .def(
          "__iter__",
          [](const AimTrack& t) {
            const py::object tuple = py::type::of(py::tuple());
            return py::module_::import("builtins").attr("map")(tuple, t.motors.attr("tolist")());
          },
          "Iterates over (pan, tilt, zoom) of the points, steps.")
      .def("__repr__", &describe);
  py::reinterpret_borrow<py::class_<Head>>(module.attr("PTZCameraModel"))
      .def("track", &trackOf, py::arg("points"), py::arg("at"), kTrackDoc);
}

}  // namespace norv::python

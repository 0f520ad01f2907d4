#include <pybind11/stl.h>

#include <array>
#include <cstdint>
#include <optional>
#include <tuple>
#include <vector>

#include "python/bindings/aiming.h"

namespace norv::python {
namespace {

using calibration::Aim;
using calibration::AimPosition;
using calibration::MotorBound;

/// Motors, their bounds, miss and eight coordinates, travels, and what is whole, inside, upright.
using PositionState = std::tuple<std::array<int, 3>, std::array<int, 3>, std::array<double, 9>,
                                 std::array<std::int64_t, 3>, std::array<bool, 3>>;
using ObstacleState = std::tuple<std::string, std::string>;
using AnswerState = std::tuple<std::vector<PositionState>, double, std::optional<ObstacleState>>;

PositionState positionState(const AimPosition& p) {
  return {{p.motors.pan, p.motors.tilt, p.motors.zoom},
          {static_cast<int>(p.pan_bound), static_cast<int>(p.tilt_bound),
           static_cast<int>(p.zoom_bound)},
          {p.miss, p.lands.x(), p.lands.y(), p.wanted.x(), p.wanted.y(), p.low.x(), p.low.y(),
           p.high.x(), p.high.y()},
          {p.pan_travel, p.tilt_travel, p.zoom_travel},
          {p.is_whole, p.is_inside, p.is_upright}};
}

MotorBound boundOf(int number) {
  if (number < 0 || number > static_cast<int>(MotorBound::kHighest)) {
    throw py::value_error("state: there is no such bound");
  }
  return static_cast<MotorBound>(number);
}

AimPosition positionOfState(const PositionState& state) {
  const auto& [motors, bounds, numbers, travels, flags] = state;
  AimPosition p;
  p.motors = {motors[0], motors[1], motors[2]};
  p.pan_bound = boundOf(bounds[0]);
  p.tilt_bound = boundOf(bounds[1]);
  p.zoom_bound = boundOf(bounds[2]);
  p.miss = numbers[0];
  p.lands = {numbers[1], numbers[2]};
  p.wanted = {numbers[3], numbers[4]};
  p.low = {numbers[5], numbers[6]};
  p.high = {numbers[7], numbers[8]};
  p.pan_travel = travels[0];
  p.tilt_travel = travels[1];
  p.zoom_travel = travels[2];
  p.is_whole = flags[0];
  p.is_inside = flags[1];
  p.is_upright = flags[2];
  return p;
}

/// Casts fail with RuntimeError otherwise.
AnswerState castState(const py::tuple& state) {
  try {
    return state.cast<AnswerState>();
  } catch (const py::cast_error&) {
    throw py::value_error("state: is none of an Aim");
  }
}

}  // namespace

py::tuple stateOf(const AimAnswer& answer) {
  std::vector<PositionState> positions;
  for (const AimPosition& position : answer.aim) positions.push_back(positionState(position));
  std::optional<ObstacleState> obstacle;
  if (answer.verdict.obstacle) {
    obstacle = ObstacleState(answer.verdict.obstacle->word, answer.verdict.obstacle->sentence);
  }
  return py::cast(AnswerState(positions, answer.verdict.tolerance, obstacle));
}

AimAnswer answerOfState(const py::tuple& state) {
  const auto& [positions, tolerance, obstacle] = castState(state);
  if (positions.empty() || positions.size() > Aim::kMaxCount) {
    throw py::value_error("state: is none of an Aim");
  }
  AimAnswer answer = {};
  answer.aim.failure = calibration::AimFailure::kNone;
  for (const PositionState& position : positions) {
    answer.aim.positions.at(answer.aim.count++) = positionOfState(position);
  }
  answer.verdict.tolerance = tolerance;
  if (obstacle) {
    answer.verdict.obstacle = Obstacle{std::get<0>(*obstacle), std::get<1>(*obstacle)};
  }
  return answer;
}

}  // namespace norv::python

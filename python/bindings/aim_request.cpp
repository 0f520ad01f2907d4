#include "python/bindings/aim_request.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <string>

#include "python/bindings/aim_words.h"
#include "python/bindings/arrays.h"
#include "python/bindings/numbers.h"

namespace norv::python {
namespace {

using calibration::AimPlace;
using calibration::AimRequest;
using calibration::AimZoom;
using Names = std::initializer_list<const char*>;

constexpr Names kTargets = {"pixel", "box", "point", "points"};
constexpr Names kZooms = {"fill", "fov", "focal"};
constexpr Names kRest = {"distance", "radius", "place", "choice", "strict", "tolerance"};

/// The argument, or None where it was not given.
py::object get(const py::kwargs& arguments, const char* name) {
  return arguments.contains(name) ? py::object(arguments[name]) : py::object(py::none());
}

bool has(const py::kwargs& arguments, const char* name) { return !get(arguments, name).is_none(); }

bool isOneOf(const std::string& name, const Names& names) {
  return std::any_of(names.begin(), names.end(), [&](const char* known) { return name == known; });
}

void requireKnown(const py::kwargs& arguments, bool has_target) {
  for (const auto& item : arguments) {
    const auto name = item.first.cast<std::string>();
    const bool is_known =
        isOneOf(name, kZooms) || isOneOf(name, kRest) || (has_target && isOneOf(name, kTargets));
    if (!is_known) throw py::type_error(fmt::format("unexpected argument '{}'", name));
  }
}

std::size_t countOf(const py::kwargs& arguments, const Names& names) {
  return static_cast<std::size_t>(std::count_if(
      names.begin(), names.end(), [&](const char* name) { return has(arguments, name); }));
}

void requireAllFinite(const double* numbers, std::size_t count, const char* name) {
  for (std::size_t i = 0; i < count; ++i) requireFinite(numbers[i], name);
}

double takePositive(const py::kwargs& arguments, const char* name) {
  const double number = takeNumber(get(arguments, name), name);
  requireFinite(number, name);
  if (number > 0) return number;
  throw py::value_error(fmt::format("{}: expected a positive number, got {}", name, number));
}

Eigen::Vector2d takePixel(const py::handle& object, const char* name) {
  const auto numbers = takeArray<double>(object, name, {2});
  requireAllFinite(numbers.data(), 2, name);
  return {numbers.data()[0], numbers.data()[1]};
}

/// A box is four numbers, or two corners.
calibration::BoxTarget takeBox(const py::handle& object, double distance) {
  const auto numbers = takeNumbers<double>(object, "box");
  const bool is_flat = numbers.ndim() == 1 && numbers.shape(0) == 4;
  const bool is_pair = numbers.ndim() == 2 && numbers.shape(0) == 2 && numbers.shape(1) == 2;
  if (!is_flat && !is_pair) {
    throw py::value_error("box: expected (x1, y1, x2, y2) or two opposite corners");
  }
  const double* const b = numbers.data();
  requireAllFinite(b, 4, "box");
  return {{b[0], b[1]}, {b[2], b[3]}, distance};
}

double distanceOf(const py::kwargs& arguments) {
  const bool is_needed = has(arguments, "pixel") || has(arguments, "box");
  if (is_needed != has(arguments, "distance")) {
    throw py::type_error(is_needed ? "pixel and box need distance, in metres"
                                   : "distance goes with pixel or box");
  }
  return is_needed ? takePositive(arguments, "distance") : 0;
}

void setTarget(const py::kwargs& arguments, AimQuestion* question) {
  if (countOf(arguments, kTargets) != 1) {
    throw py::type_error("expected one of pixel, box, point and points");
  }
  const double distance = distanceOf(arguments);
  AimRequest& request = question->request;
  if (question->radius && !has(arguments, "point")) throw py::type_error("radius goes with point");
  if (has(arguments, "pixel")) {
    request.target =
        calibration::PixelTarget{takePixel(get(arguments, "pixel"), "pixel"), distance};
  } else if (has(arguments, "box")) {
    request.target = takeBox(get(arguments, "box"), distance);
  } else if (has(arguments, "point")) {
    const auto numbers = takeArray<double>(get(arguments, "point"), "point", {3});
    requireAllFinite(numbers.data(), 3, "point");
    request.target = targetAt(*question, Eigen::Map<const Eigen::Vector3d>(numbers.data()));
  } else {
    const Points<double> points = takePoints<double>(get(arguments, "points"), "points", 3);
    if (points.count == 0) throw py::value_error("points: expected at least one point");
    requireAllFinite(points.data(), 3 * points.count, "points");
    question->points = points.array;
    request.target = calibration::PointsTarget{{question->points.data(), 3}, points.count};
  }
}

void setPlace(const py::kwargs& arguments, AimRequest* request) {
  const py::object place = get(arguments, "place");
  if (place.is_none()) return;
  if (py::isinstance<py::str>(place)) {
    request->place = placeOf(place.cast<std::string>());
    return;
  }
  request->place = AimPlace::kPixel;
  request->pixel = takePixel(place, "place");
}

/// The share of the picture that the target takes up.
double takeShare(const py::kwargs& arguments) {
  const double share = takePositive(arguments, "fill");
  if (share <= 1) return share;
  throw py::value_error(fmt::format("fill: expected a share up to 1, got {}", share));
}

/// Radians across the picture.
double takeAngle(const py::kwargs& arguments) {
  const double angle = takePositive(arguments, "fov");
  if (angle < EIGEN_PI) return angle;
  throw py::value_error(fmt::format("fov: expected radians below pi, got {}", angle));
}

void setZoom(const py::kwargs& arguments, AimRequest* request) {
  if (countOf(arguments, kZooms) > 1) throw py::type_error("expected one of fill, fov and focal");
  const auto set = [&](AimZoom zoom, double value) {
    request->zoom = zoom;
    request->zoom_value = value;
  };
  if (has(arguments, "box")) request->zoom = AimZoom::kFill;
  if (has(arguments, "fill")) set(AimZoom::kFill, takeShare(arguments));
  if (has(arguments, "fov")) set(AimZoom::kFieldOfView, takeAngle(arguments));
  if (has(arguments, "focal")) set(AimZoom::kFocalLength, takePositive(arguments, "focal"));
}

void setChoice(const py::kwargs& arguments, AimRequest* request) {
  const py::object choice = get(arguments, "choice");
  if (choice.is_none()) return;
  if (!py::isinstance<py::str>(choice)) throw py::type_error("choice: expected a str");
  request->choice = choiceOf(choice.cast<std::string>());
}

void setStrictness(const py::kwargs& arguments, AimQuestion* question) {
  const py::object strict = get(arguments, "strict");
  if (!strict.is_none()) {
    if (!py::isinstance<py::bool_>(strict)) throw py::type_error("strict: expected a bool");
    question->strict = strict.cast<bool>();
  }
  if (!has(arguments, "tolerance")) return;
  const double tolerance = takeNumber(get(arguments, "tolerance"), "tolerance");
  if (!(tolerance >= 0)) throw py::value_error("tolerance: expected a number from 0 on");
  question->tolerance = tolerance;
}

AimQuestion commonQuestion(const calibration::MotorPositions& now, const py::kwargs& arguments) {
  AimQuestion question;
  question.request.now = now;
  setPlace(arguments, &question.request);
  setZoom(arguments, &question.request);
  setChoice(arguments, &question.request);
  setStrictness(arguments, &question);
  if (!has(arguments, "radius")) return question;
  question.radius = takeNumber(get(arguments, "radius"), "radius");
  requireFinite(*question.radius, "radius");
  if (*question.radius < 0) throw py::value_error("radius: expected a number from 0 on");
  return question;
}

}  // namespace

AimQuestion questionOf(const calibration::MotorPositions& now, const py::kwargs& arguments) {
  requireKnown(arguments, true);
  AimQuestion question = commonQuestion(now, arguments);
  setTarget(arguments, &question);
  return question;
}

AimQuestion trackQuestionOf(const calibration::MotorPositions& now, const py::kwargs& arguments) {
  requireKnown(arguments, false);
  if (has(arguments, "distance")) throw py::type_error("distance goes with pixel or box");
  return commonQuestion(now, arguments);
}

calibration::AimTarget targetAt(const AimQuestion& question, const Eigen::Vector3d& point) {
  if (question.radius) return calibration::SphereTarget{point, *question.radius};
  return calibration::PointTarget{point};
}

}  // namespace norv::python

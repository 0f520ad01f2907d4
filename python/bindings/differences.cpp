#include <pybind11/stl.h>

#include <array>
#include <utility>
#include <variant>

#include "calibration_common/calibration_diff.h"
#include "python/bindings/arrays.h"
#include "python/bindings/calibration_source.h"
#include "python/bindings/camera_values.h"
#include "python/bindings/data.h"
#include "python/bindings/errors.h"
#include "python/bindings/findings.h"
#include "python/bindings/library_call.h"
#include "python/bindings/source_arguments.h"

namespace norv::python {
namespace {

using calibration::BaseDifference;
using calibration::CameraDifference;
using calibration::CameraParameters;
using calibration::DiffOptions;
using calibration::DiffProblem;
using calibration::GridDifference;
using calibration::ImageDifference;
using calibration::PixelDifference;
using calibration::PixelSize;
using calibration::PlacedFinding;
using calibration::PoseDifference;
using calibration::PtzDifference;
using calibration::RobotDifference;
using calibration::ValueChange;

using Difference = std::variant<RobotDifference, PtzDifference, BaseDifference>;

/// What keeps two calibrations from being compared.
struct Objection {
  const char* side = "";
  PlacedFinding problem;
};

using Answer = std::variant<Difference, Objection>;

double toDegrees(double radians) { return radians * (180 / 3.14159265358979323846); }

py::tuple sizeTuple(const PixelSize& size) { return py::make_tuple(size.width, size.height); }

py::list sizeList(const std::vector<PixelSize>& sizes) {
  py::list list;
  for (const PixelSize& size : sizes) list.append(sizeTuple(size));
  return list;
}

py::list nameList(const std::vector<std::string>& names) {
  py::list list;
  for (const std::string& name : names) list.append(toText(name));
  return list;
}

py::dict pixelsDict(const PixelDifference& pixels) {
  py::dict dict;
  dict["compared"] = pixels.compared;
  dict["without_ray"] = pixels.without_ray;
  dict["not_imaged"] = pixels.not_imaged;
  dict["max"] = pixels.max;
  dict["median"] = pixels.median;
  dict["rms"] = pixels.rms;
  dict["worst_at"] = py::make_tuple(pixels.worst_u, pixels.worst_v);
  return dict;
}

py::object intrinsicsOf(const CameraParameters::Intrinsics& entry) {
  IntrinsicsValue value;
  value.width = entry.width;
  value.height = entry.height;
  value.matrix << entry.fx, entry.skew, entry.cx, 0, entry.fy, entry.cy, 0, 0, 1;
  value.distortion.assign(entry.distortion.begin(), entry.distortion.end());
  return py::cast(value);
}

py::array_t<double> gridArray(const std::vector<GridDifference>& grid) {
  py::array_t<double> array({static_cast<py::ssize_t>(grid.size()), py::ssize_t{6}});
  double* number = array.mutable_data();
  for (const GridDifference& at : grid) {
    for (const double value : {at.u, at.v, at.du, at.dv, at.du_rotated, at.dv_rotated}) {
      *number++ = value;
    }
  }
  array.attr("flags").attr("writeable") = false;
  return array;
}

py::dict imageDict(const ImageDifference& image) {
  py::dict dict;
  dict["width"] = image.a.width;
  dict["height"] = image.a.height;
  dict["intrinsics_a"] = intrinsicsOf(image.a);
  dict["intrinsics_b"] = intrinsicsOf(image.b);
  dict["as_is"] = pixelsDict(image.as_is);
  dict["rotated"] = pixelsDict(image.rotated);
  const auto& [x, y, z] = image.rotation;
  dict["rotation_degrees"] = py::make_tuple(toDegrees(x), toDegrees(y), toDegrees(z));
  py::list on_robot;
  for (const auto& at : image.on_robot) {
    py::dict figures = pixelsDict(at.pixels);
    figures["distance"] = at.distance;
    on_robot.append(figures);
  }
  dict["on_robot"] = on_robot;
  dict["grid"] = image.grid.empty() ? py::object(py::none()) : gridArray(image.grid);
  return dict;
}

py::dict poseDict(const PoseDifference& pose) {
  py::dict dict;
  dict["angle_degrees"] = toDegrees(pose.angle);
  dict["distance"] = pose.distance;
  dict["movement"] = py::make_tuple(pose.movement[0], pose.movement[1], pose.movement[2]);
  return dict;
}

py::dict dictOf(const RobotDifference& robot) {
  py::list cameras;
  for (const CameraDifference& camera : robot.cameras) {
    py::dict one;
    one["name"] = toText(camera.name);
    one["pose"] = poseDict(camera.pose);
    py::list images;
    for (const ImageDifference& image : camera.images) images.append(imageDict(image));
    one["images"] = images;
    one["sizes_only_in_a"] = sizeList(camera.only_in_a);
    one["sizes_only_in_b"] = sizeList(camera.only_in_b);
    cameras.append(one);
  }
  py::dict dict;
  dict["kind"] = "robot";
  dict["cameras"] = cameras;
  dict["only_in_a"] = nameList(robot.only_in_a);
  dict["only_in_b"] = nameList(robot.only_in_b);
  return dict;
}

py::dict dictOf(const PtzDifference& ptz) {
  py::list zooms;
  for (const auto& at : ptz.zooms) {
    py::dict one;
    one["zoom"] = at.zoom;
    one["image"] = imageDict(at.image);
    zooms.append(one);
  }
  py::list poses;
  for (const auto& at : ptz.poses) {
    py::dict one;
    one["pan"] = at.pan;
    one["tilt"] = at.tilt;
    one["pose"] = poseDict(at.pose);
    poses.append(one);
  }
  py::dict dict;
  dict["kind"] = "ptz";
  dict["size_a"] = sizeTuple(ptz.size_a);
  dict["size_b"] = sizeTuple(ptz.size_b);
  dict["zooms"] = zooms;
  dict["poses"] = poses;
  return dict;
}

py::tuple changeTuple(const ValueChange& change) { return py::make_tuple(change.a, change.b); }

py::dict dictOf(const BaseDifference& base) {
  py::dict dict;
  dict["kind"] = "base";
  dict["global_transform"] = poseDict(base.global_transform);
  dict["gyroscope_gain"] = changeTuple(base.gain);
  dict["wheel_base"] = changeTuple(base.wheel_base);
  dict["base_width"] = changeTuple(base.base_width);
  dict["base_length"] = changeTuple(base.base_length);
  return dict;
}

template <class M>
auto diffAs(const Source& a, const Source& b, const DiffOptions& options, DiffProblem* problem) {
  const auto& message_a = dynamic_cast<const M&>(*a.message);
  const auto& message_b = dynamic_cast<const M&>(*b.message);
  if constexpr (std::is_same_v<M, calibration::BaseCalibrationProto>) {
    return calibration::diffCalibrations(message_a, message_b, problem);
  } else {
    return calibration::diffCalibrations(message_a, message_b, options, problem);
  }
}

/// The difference of two calibrations of one kind.
Answer compare(const Source& a, const Source& b, const DiffOptions& options) {
  DiffProblem problem;
  const auto answer = [&](auto difference) -> Answer {
    if (difference) return Difference(*std::move(difference));
    const Source& wrong = problem.is_in_b ? b : a;
    PlacedFinding finding = parseFinding(problem.problem.field, problem.problem.sentence);
    finding.place = placesOf(wrong, {problem.problem.field}).front();
    return Objection{problem.is_in_b ? "b" : "a", finding};
  };
  if (a.kind == Kind::kRobot) {
    return answer(diffAs<calibration::RobotCalibration>(a, b, options, &problem));
  }
  if (a.kind == Kind::kPtz) {
    return answer(diffAs<calibration::PTZCameraParameters>(a, b, options, &problem));
  }
  return answer(diffAs<calibration::BaseCalibrationProto>(a, b, options, &problem));
}

std::variant<Source, PlacedFinding> readWhole(const SourceArgument& argument) {
  if (!argument.is_object && argument.data.empty()) return parseFinding("", "is empty");
  return argument.read();
}

Answer read(const SourceArgument& argument_a, const SourceArgument& argument_b,
            const DiffOptions& options) {
  auto a = readWhole(argument_a);
  if (const auto* problem = std::get_if<PlacedFinding>(&a)) return Objection{"a", *problem};
  auto b = readWhole(argument_b);
  if (const auto* problem = std::get_if<PlacedFinding>(&b)) return Objection{"b", *problem};
  const Source& source_a = std::get<Source>(a);
  const Source& source_b = std::get<Source>(b);
  if (source_a.kind == source_b.kind) return compare(source_a, source_b, options);
  return Objection{
      "b", parseFinding("", std::string("holds the calibration of ") + describeKind(source_b.kind) +
                                ", and a that of " + describeKind(source_a.kind))};
}

using Argument = std::tuple<py::bytes, std::optional<std::string>, bool>;

SourceArgument argumentOf(const Argument& argument) {
  return sourceArgument(std::get<0>(argument), std::get<1>(argument), std::get<2>(argument));
}

py::dict diff(const Argument& a, const Argument& b, const std::vector<double>& distances,
              const std::optional<std::string>& camera,
              const std::optional<std::pair<int, int>>& size, bool grid) {
  DiffOptions options;
  options.distances = distances;
  options.camera = camera;
  if (size) options.size = PixelSize{size->first, size->second};
  options.keep_grid = grid;
  const SourceArgument argument_a = argumentOf(a);
  const SourceArgument argument_b = argumentOf(b);
  const Answer answer = [&] {
    const LibraryCall call;
    return read(argument_a, argument_b, options);
  }();
  if (const auto* difference = std::get_if<Difference>(&answer)) {
    return std::visit([](const auto& of_kind) { return dictOf(of_kind); }, *difference);
  }
  py::dict objection;
  objection["side"] = std::get<Objection>(answer).side;
  objection["problem"] = findingDict(std::get<Objection>(answer).problem);
  return objection;
}

}  // namespace

void bindDifferences(py::module_& module) {
  module.def("_diff", &diff, py::arg("a"), py::arg("b"), py::arg("distances"), py::arg("camera"),
             py::arg("size"), py::arg("grid"));
}

}  // namespace norv::python

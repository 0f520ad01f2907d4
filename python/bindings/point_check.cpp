#include "python/bindings/point_check.h"

#include "interop/calibration_export.h"
#include "python/bindings/errors.h"
#include "python/bindings/peer_arguments.h"

namespace norv::python {
namespace {

using interop::FormatProblem;
using interop::ObservedPoint;
using interop::ReprojectionError;

py::dict errorDict(const ReprojectionError& error) {
  py::dict dict;
  dict["imaged"] = error.imaged;
  dict["behind"] = error.behind;
  dict["beyond_lens"] = error.beyond_lens;
  dict["rms"] = error.rms;
  dict["max"] = error.max;
  dict["mean"] = py::make_tuple(error.mean.x(), error.mean.y());
  return dict;
}

py::object checkDict(const PointCheck& check) {
  py::list better;
  for (const interop::BetterConvention& one : check.check.better) {
    better.append(py::make_tuple(interop::describe(one.convention), errorDict(one.error)));
  }
  py::dict dict;
  dict["camera"] = toText(check.camera);
  dict["error"] =
      check.has_points ? py::object(errorDict(check.check.error)) : py::object(py::none());
  dict["better"] = better;
  return std::move(dict);
}

}  // namespace

PointTable pointTableOf(const py::handle& given) {
  if (given.is_none()) return {};
  const auto fields = given.cast<py::tuple>();
  const auto origin = takeOrigin(fields[2].cast<std::string>(), "check_origin");
  return {true, {fields[0].cast<std::string>(), fields[1].cast<std::string>()}, origin.value()};
}

PointChecks checkPoints(const std::vector<interop::ImportedCamera>& cameras,
                        const PointTable& table) {
  std::vector<PointCheck> checks;
  if (!table.is_given) return checks;
  std::vector<std::string> names;
  for (const auto& camera : cameras) names.push_back(camera.calibration.name());
  const auto read = interop::readObservedPoints(table.file, names, table.origin);
  if (const auto* problem = std::get_if<FormatProblem>(&read)) return *problem;
  const auto& lists = std::get<std::vector<std::vector<ObservedPoint>>>(read);
  for (std::size_t i = 0; i < cameras.size(); ++i) {
    const auto written = interop::fullFrameCamera(cameras[i].calibration);
    if (const auto* reason = std::get_if<std::string>(&written)) {
      return FormatProblem{cameras[i].source.name, {}, "", *reason};
    }
    checks.push_back({names[i], !lists[i].empty(),
                      checkReprojection(std::get<interop::WrittenCamera>(written), lists[i])});
  }
  return checks;
}

void addPointChecks(const PointChecks& checks, py::dict* dict) {
  if (const auto* problem = std::get_if<FormatProblem>(&checks)) {
    (*dict)["check_problem"] =
        py::make_tuple(toText(problem->file), problem->place.line, problem->place.column,
                       toText(problem->key), toText(problem->sentence));
    return;
  }
  py::list list;
  for (const PointCheck& check : std::get<std::vector<PointCheck>>(checks)) {
    list.append(checkDict(check));
  }
  (*dict)["checks"] = list;
}

}  // namespace norv::python

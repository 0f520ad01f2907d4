#include "python/bindings/errors.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "python/bindings/names.h"
#include "support/file.h"

namespace norv::python {
namespace {

namespace py = pybind11;

py::object errorClass(const char* name) {
  return py::module_::import("camera_parameters._errors").attr(name);
}

/// By the error's own class: OSError makes errors of the class that goes with their number.
[[noreturn]] void raise(const py::object& error) {
  PyErr_SetObject(py::type::handle_of(error).ptr(), error.ptr());
  throw py::error_already_set();
}

py::object orNone(int number) { return number > 0 ? py::object(py::int_(number)) : py::none(); }

py::object orNone(const std::string& text) {
  return text.empty() ? py::object(py::none()) : py::object(toText(text));
}

/// OSError of the class that goes with the number, such as FileNotFoundError; 0 is none.
[[noreturn]] void raiseSystemError(int number, const std::string& sentence,
                                   const std::string& path) {
  const auto type = py::reinterpret_borrow<py::object>(PyExc_OSError);
  // The library's own reasons, such as what is no regular file, have none.
  raise(type(number == 0 ? EINVAL : number, toText(sentence), pathOf(path)));
}

/// The system's number of what it says; 0 where it says no such thing.
int numberOf(const std::string& sentence) {
  constexpr int kNumbers = 134;
  for (int number = 1; number < kNumbers; ++number) {
    if (sentence == std::generic_category().message(number)) return number;
  }
  return 0;
}

/// Why a file cannot be opened as one, by the system's number; 0 where it can be. Does not wait for
/// those who write to a FIFO.
int findObstacle(const std::string& path) {
  const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (file < 0) return errno;
  struct stat status = {};
  const int number = ::fstat(file, &status) != 0 ? errno : 0;
  ::close(file);
  return number == 0 && S_ISDIR(status.st_mode) ? EISDIR : number;
}

/// Throws OSError, or ValueError for what cannot be a path, as `open(path)` does.
void requireOpens(const std::string& path) {
  if (path.rfind(EmbeddedFile::kEmbeddedPrefix, 0) == 0) return;
  if (path.find('\0') != std::string::npos) throw py::value_error("embedded null byte");
  if (const int number = findObstacle(path)) {
    raiseSystemError(number, std::generic_category().message(number), path);
  }
}

/// A brace is no name of a field: text does not begin with one, and JSON does.
py::object hintFor(const std::string& text, int line, int column) {
  if (line != 1 || column != 1 || text.empty() || text.back() != '{') return py::none();
  return py::str("this is JSON, which from_dict(json.load(file)) reads");
}

}  // namespace

py::str toText(const std::string& bytes) {
  PyObject* text = PyUnicode_DecodeUTF8(bytes.data(), static_cast<py::ssize_t>(bytes.size()),
                                        "backslashreplace");
  if (text == nullptr) throw py::error_already_set();
  return py::reinterpret_steal<py::str>(text);
}

void throwLoadProblem(const calibration::LoadReport& report,
                      const std::optional<std::string>& path) {
  if (path) requireOpens(*path);
  const calibration::PlacedFinding placed = report.problem.value_or(calibration::PlacedFinding{});
  const py::object type = errorClass("CalibrationError");
  raise(type(toText(placed.finding.text), path ? py::object(pathOf(*path)) : py::none(),
             orNone(placed.place.line), orNone(placed.place.column), orNone(placed.finding.field),
             hintFor(placed.finding.text, placed.place.line, placed.place.column)));
}

void throwSaveProblem(const calibration::SaveProblem& problem, const std::string& path) {
  if (problem.lost_fields.empty())
    raiseSystemError(numberOf(problem.sentence), problem.sentence, path);
  const py::object type = errorClass("CalibrationError");
  raise(type(toText(problem.sentence), pathOf(path), py::none(), py::none(),
             orNone(problem.lost_fields.front())));
}

void throwTextError(const std::string& text, int line, int column) {
  const py::object type = errorClass("CalibrationError");
  raise(type(toText(text), py::none(), orNone(line), orNone(column), py::none(),
             hintFor(text, line, column)));
}

void throwCalibrationError(const std::string& text, const std::string& field) {
  const py::object type = errorClass("CalibrationError");
  raise(type(toText(text), py::none(), py::none(), py::none(), orNone(field)));
}

void throwNoSolution(const std::string& text, const std::string& reason) {
  const py::object type = errorClass("NoSolutionError");
  raise(type(toText(text), orNone(reason)));
}

}  // namespace norv::python

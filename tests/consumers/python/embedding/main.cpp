// A program that uses the library itself and embeds an interpreter, in which the package uses the
// same copy. It exits with 0 where both see the same camera.

#include <Python.h>
#include <calibration_common/camera_parameters.h>

#include <cstdio>

namespace {

const char* const kScript = R"(
import camera_parameters as cp
camera = cp.CameraParametersSet()["head_camera"]
fx = camera.intrinsics(640, 480).fx
try:
    cp.CameraParametersSet.from_text("camera_calibration {")
    raise AssertionError("loaded")
except cp.CalibrationError:
    pass
)";

}  // namespace

int main() {
  const norv::calibration::CameraParametersSet cameras;
  const double expected = cameras.getCamera("head_camera")->getIntrinsics(640, 480)(0, 0);

  Py_Initialize();
  PyObject* names = PyModule_GetDict(PyImport_AddModule("__main__"));
  PyObject* ran = PyRun_String(kScript, Py_file_input, names, names);
  if (ran == nullptr) {
    PyErr_Print();
    return 1;
  }
  const double found = PyFloat_AsDouble(PyDict_GetItemString(names, "fx"));
  Py_DECREF(ran);
  const bool finished = Py_FinalizeEx() == 0;
  // The log's sink went with the interpreter; the library goes on without.
  norv::calibration::CameraParametersSet after;
  const bool refused = !after.loadFromString("camera_calibration {");
  std::printf("fx %.17g in C++, %.17g in Python\n", expected, found);
  return found == expected && finished && refused ? 0 : 1;
}

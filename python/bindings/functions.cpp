#include "python/bindings/functions.h"

#include <structmember.h>

#include <cstddef>
#include <string>

namespace norv::python {
namespace {

namespace py = pybind11;

/// What is called, and in `attributes` what Python asks of functions: __name__, __doc__ and so on.
struct Function {
  PyObject head;
  vectorcallfunc vectorcall;
  PyObject* called;
  PyObject* attributes;
};

Function* asFunction(PyObject* object) { return reinterpret_cast<Function*>(object); }

PyObject* call(PyObject* self, PyObject* const* arguments, std::size_t count, PyObject* names) {
  return PyObject_Vectorcall(asFunction(self)->called, arguments, count, names);
}

/// Found in an object it is a method of that, found in a class itself.
PyObject* bind(PyObject* self, PyObject* object, PyObject* /*type*/) {
  if (object == nullptr || object == Py_None) return Py_NewRef(self);
  return PyMethod_New(self, object);
}

void destroy(PyObject* self) {
  PyTypeObject* const type = Py_TYPE(self);
  Py_CLEAR(asFunction(self)->called);
  Py_CLEAR(asFunction(self)->attributes);
  type->tp_free(self);
  Py_DECREF(type);
}

PyObject* describe(PyObject* self) {
  PyObject* const attributes = asFunction(self)->attributes;
  return PyUnicode_FromFormat("<function %S.%S>", PyDict_GetItemString(attributes, "__module__"),
                              PyDict_GetItemString(attributes, "__qualname__"));
}

/// Pickles hold the name alone, as those of Python's own functions.
PyObject* reduce(PyObject* self, PyObject* /*none*/) {
  return PyObject_GetAttrString(self, "__qualname__");
}

/// Looked up where it is asked for: nobody else pays for it.
PyObject* signature(PyObject* self, void* /*closure*/) {
  try {
    const py::object name = py::handle(self).attr("__qualname__");
    return py::module_::import("camera_parameters._signatures").attr("of")(name).release().ptr();
  } catch (py::error_already_set& error) {
    error.restore();
    return nullptr;
  }
}

PyTypeObject* makeType() {
  static PyMemberDef members[] = {
      {"__vectorcalloffset__", T_PYSSIZET, offsetof(Function, vectorcall), READONLY, nullptr},
      {"__dictoffset__", T_PYSSIZET, offsetof(Function, attributes), READONLY, nullptr},
      {nullptr, 0, 0, 0, nullptr}};
  static PyMethodDef methods[] = {{"__reduce__", reduce, METH_NOARGS, nullptr},
                                  {nullptr, nullptr, 0, nullptr}};
  static PyGetSetDef properties[] = {{"__signature__", signature, nullptr, nullptr, nullptr},
                                     {nullptr, nullptr, nullptr, nullptr, nullptr}};
  static PyType_Slot slots[] = {{Py_tp_call, reinterpret_cast<void*>(PyVectorcall_Call)},
                                {Py_tp_dealloc, reinterpret_cast<void*>(destroy)},
                                {Py_tp_descr_get, reinterpret_cast<void*>(bind)},
                                {Py_tp_getset, properties},
                                {Py_tp_members, members},
                                {Py_tp_methods, methods},
                                {Py_tp_repr, reinterpret_cast<void*>(describe)},
                                {0, nullptr}};
  static PyType_Spec spec = {
      "camera_parameters._core._function", sizeof(Function), 0,
      Py_TPFLAGS_DEFAULT | Py_TPFLAGS_HAVE_VECTORCALL | Py_TPFLAGS_METHOD_DESCRIPTOR, slots};
  return reinterpret_cast<PyTypeObject*>(PyType_FromSpec(&spec));
}

py::object makeFunction(const py::object& called, const py::str& qualname) {
  static PyTypeObject* const type = makeType();
  if (type == nullptr) throw py::error_already_set();
  PyObject* const object = type->tp_alloc(type, 0);
  if (object == nullptr) throw py::error_already_set();
  const auto function = py::reinterpret_steal<py::object>(object);
  py::dict attributes;
  attributes["__name__"] = called.attr("__name__");
  attributes["__qualname__"] = qualname;
  attributes["__module__"] = "camera_parameters";
  attributes["__doc__"] = called.attr("__doc__");
  asFunction(object)->vectorcall = call;
  asFunction(object)->called = called.inc_ref().ptr();
  asFunction(object)->attributes = attributes.release().ptr();
  return function;
}

void describeMethods(const py::handle& type) {
  const std::string prefix = type.attr("__name__").cast<std::string>() + ".";
  for (const auto& item : py::dict(type.attr("__dict__"))) {
    const py::handle value = item.second;
    const py::str name = prefix + item.first.cast<std::string>();
    if (PyInstanceMethod_Check(value.ptr())) {
      type.attr(item.first) = makeFunction(value.attr("__func__"), name);
    } else if (PyObject_TypeCheck(value.ptr(), &PyStaticMethod_Type)) {
      type.attr(item.first) = py::staticmethod(makeFunction(value.attr("__func__"), name));
    }
  }
}

}  // namespace

void describeFunctions(const py::module_& module) {
  for (const auto& item : py::dict(module.attr("__dict__"))) {
    const auto name = item.first.cast<std::string>();
    if (name.front() == '_') continue;
    if (py::isinstance<py::type>(item.second)) {
      describeMethods(item.second);
    } else if (PyCFunction_Check(item.second.ptr())) {
      module.attr(item.first) =
          makeFunction(py::reinterpret_borrow<py::object>(item.second), py::str(name));
    }
  }
}

}  // namespace norv::python

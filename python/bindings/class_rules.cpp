#include "python/bindings/class_rules.h"

#include <fmt/format.h>

#include <cstddef>
#include <string>
#include <typeinfo>

namespace norv::python {
namespace {

namespace py = pybind11;

/// pybind11 gives an object that no constructor has made memory that nobody has written to:
/// `PTZCameraModel.__new__(PTZCameraModel).image_size` would read from there. It raises instead.
void refuseUnmadeObjects(PyTypeObject* type) {
  py::detail::get_type_info(type)->operator_new = [](std::size_t) -> void* {
    throw py::type_error("the object was not made by its constructor");
  };
}

/// What pickles hold of an object: the call that makes an empty one, and its state.
py::tuple reduce(const py::object& object) {
  const py::type type = py::type::of(object);
  // Of the class itself: since Python 3.11 each object has one.
  if (!type.attr("__dict__").contains("__getstate__")) {
    throw py::type_error(
        fmt::format("cannot pickle {} objects", type.attr("__name__").cast<std::string>()));
  }
  return py::make_tuple(py::module_::import("copyreg").attr("__newobj__"), py::make_tuple(type),
                        object.attr("__getstate__")());
}

/// In protocols 0 and 1 the one of `object` makes an object of the base class that pybind11 has.
void addReduce(const py::type& type) {
  py::setattr(type, "__reduce__",
              py::cpp_function(&reduce, py::name("__reduce__"), py::is_method(type),
                               "What pickles hold of it, in any protocol."));
}

void makeFinal(PyTypeObject* type) {
  type->tp_flags &= ~Py_TPFLAGS_BASETYPE;
  PyType_Modified(type);
}

/// pybind11's base of all classes has no description of what it holds, for want of which a call of
/// it ends the process. Other modules share the class: with a description it only raises TypeError,
/// as classes without constructor do.
void describeBaseOfAll() {
  py::detail::internals& internals = py::detail::get_internals();
  auto* const base = reinterpret_cast<PyTypeObject*>(internals.instance_base);
  auto& known = internals.registered_types_py[base];
  if (!known.empty()) return;
  auto* const info = new py::detail::type_info();  // as long as the class
  info->type = base;
  info->cpptype = &typeid(void);
  info->type_size = sizeof(void*);
  info->type_align = alignof(void*);
  info->holder_size_in_ptrs = 1;
  info->operator_new = &::operator new;
  info->simple_type = true;
  info->simple_ancestors = true;
  info->default_holder = true;
  known.push_back(info);
}

}  // namespace

void finishClasses(const py::module_& module) {
  for (const auto& [name, value] : py::dict(module.attr("__dict__"))) {
    if (!py::isinstance<py::type>(value)) continue;
    auto* const type = reinterpret_cast<PyTypeObject*>(value.ptr());
    if (py::detail::get_type_info(type) == nullptr) continue;
    refuseUnmadeObjects(type);
    addReduce(py::reinterpret_borrow<py::type>(value));
    makeFinal(type);
  }
  describeBaseOfAll();
}

}  // namespace norv::python

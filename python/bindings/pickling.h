#pragma once

#include <pybind11/pybind11.h>

#include <cstddef>

namespace norv::python {

/// Part `index` of a pickled state, which has `size` of them. Throws ValueError for what another
/// version or nobody has written.
inline pybind11::object stateAt(const pybind11::tuple& state, std::size_t index, std::size_t size) {
  if (state.size() != size) throw pybind11::value_error("the pickled state is of no known version");
  return state[index];
}

}  // namespace norv::python

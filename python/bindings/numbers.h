#pragma once

/// Single numbers of callers, checked before they enter the library. All functions need the
/// interpreter's lock, which `withoutLock` gives back.

#include <pybind11/pybind11.h>

#include <array>

#include <cstddef>

#include "python/bindings/library_call.h"

namespace norv::python {

/// Number of pixels up to which the package makes arrays and visits pixels one by one: 16384 x
/// 16384, 2 GiB of float maps. Beyond it a slip of the pen is likelier than a picture.
constexpr std::size_t kMaxPixels = std::size_t{1} << 28;

/// A whole number from `low` to `high`. Throws TypeError for what is none, as Python's `range`
/// does, and ValueError for others, both of which name the argument.
int takeWhole(const pybind11::handle& number, const char* name, int low, int high);

/// A picture's width or height: 1 or more, in the range of int.
int takeLength(const pybind11::handle& number, const char* name);

/// How many threads compute at once: 0, which is as many as the machine runs, to 256.
int takeThreads(const pybind11::handle& number);

/// Throws ValueError, which names the argument, unless `number` is finite.
void requireFinite(double number, const char* name);

/// Throws ValueError where a picture of this size has more than `kMaxPixels`.
void requireModestSize(int width, int height);

/// `action()` without the interpreter's lock.
template <class Action>
auto withoutLock(const Action& action) {
  const LibraryCall call;
  return action();
}

/// A whole number of motor steps. Throws TypeError for what is no whole number (a float is none,
/// and a bool is meant otherwise) and ValueError beyond the range of int; both name the argument.
int takeSteps(const pybind11::handle& object, const char* name);

/// Pan, tilt and zoom: a sequence of three whole numbers.
std::array<int, 3> takeMotors(const pybind11::handle& object, const char* name);

/// A real number. Throws TypeError for what is none and ValueError for whole numbers beyond the
/// range of double; NaN and infinity are numbers.
double takeNumber(const pybind11::handle& object, const char* name);

}  // namespace norv::python

#pragma once

/// What the C++ library computes, as bytes for the Python tests to compare with theirs. Each verb
/// of the program reads its inputs from standard input and writes its results to standard output,
/// both as arrays in the machine's own representation, one after the other.

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace norv::reference {

/// The next `count` numbers of standard input; ends the program where there are fewer.
template <class T>
std::vector<T> read(std::size_t count) {
  std::vector<T> numbers(count);
  if (std::fread(numbers.data(), sizeof(T), count, stdin) != count) std::exit(2);
  return numbers;
}

template <class T>
void write(const T* numbers, std::size_t count) {
  if (std::fwrite(numbers, sizeof(T), count, stdout) != count) std::exit(3);
}

/// In: int32 number n of points, of sizes s; float32 n x 3 points and n x 2 pixels; int32 s x 2
/// sizes. Out, for each camera of the default set in the order of names: float32 pose 16, inverse
/// 16, centre 3; then for each size, float32 camera matrix 9, distortion 8, n x 2 pixels, n x 2
/// rays, each point by its own call.
void writeCameras();

/// In: int32 sizes of a calibration in bytes, of p positions and of n points; the calibration;
/// int32 p x 3 pan, tilt and zoom; float32 n x 3 points and n x 2 pixels. Out, for each position:
/// float32 pose 16, inverse 16, camera matrix 9, distortion 8, n x 2 pixels, n x 3 rays; for each
/// pixel, int32 whether pan and tilt were found, and those; the same with zoom for the box to the
/// next pixel; float32 the same for the point at the pixel. Then for each point float32 whether it
/// was solved, pan, tilt.
void writeHeads();

}  // namespace norv::reference

#include "interop/formats/matrix_fields.h"

#include <fmt/format.h>

#include <cstddef>

namespace norv::interop {
namespace {

/// More numbers are no matrix of a camera.
constexpr int kMaxRows = 1000;

int sideOf(Fields* matrix, const char* key) { return integerOf(matrix->get(key), 0, kMaxRows); }

NumberList dataOf(Fields* matrix, const std::string& key, int rows, int cols) {
  NumberList list = numberListOf(matrix->get("data"));
  list.key = key;
  if (list.numbers.size() != static_cast<std::size_t>(rows) * static_cast<std::size_t>(cols)) {
    refuse(list.list, fmt::format("has {} numbers where rows x cols are {} x {}",
                                  list.numbers.size(), rows, cols));
  }
  return list;
}

void requireNumber(const NumberList& matrix, std::size_t index, double value) {
  if (matrix.numbers[index] == value) return;
  throw FormatError(
      matrix.list.node->items[index].place, fmt::format("{}[{}]", matrix.list.path, index),
      fmt::format("is {}, which is {} in a camera matrix", matrix.numbers[index], value));
}

}  // namespace

NumberList numberListOf(const Field& list) { return {list.path, list, numbersOf(list)}; }

NumberList matrixOf(Fields* matrix, const std::string& key, int rows, int cols) {
  const int has_rows = sideOf(matrix, "rows");
  const int has_cols = sideOf(matrix, "cols");
  if (has_rows != rows || has_cols != cols) {
    refuse(matrix->get("rows"), fmt::format("the matrix is {} x {}, where {} x {} is needed",
                                            has_rows, has_cols, rows, cols));
  }
  return dataOf(matrix, key, rows, cols);
}

NumberList vectorOf(Fields* matrix, const std::string& key) {
  const int rows = sideOf(matrix, "rows");
  const int cols = sideOf(matrix, "cols");
  if (rows > 1 && cols > 1) {
    refuse(matrix->get("rows"),
           fmt::format("the matrix is {} x {}, where one row or column is needed", rows, cols));
  }
  return dataOf(matrix, key, rows, cols);
}

void setCameraMatrix(const NumberList& matrix, calibration::PixelOrigin origin,
                     PeerCamera* camera) {
  const std::vector<double>& k = matrix.numbers;
  camera->fx = focalLengthOf(matrix.list, k, 0);
  camera->fy = focalLengthOf(matrix.list, k, 4);
  for (const std::size_t i : {3U, 6U, 7U}) requireNumber(matrix, i, 0);
  requireNumber(matrix, 8, 1);
  camera->skew = k[1];
  setPrincipalPoint(k[2], k[5], origin, camera);
}

std::string noteOfSkew(const NumberList& matrix, const std::string& peer) {
  return fmt::format("{}: the skew of {} px is taken over; {} itself ignores it", matrix.key,
                     matrix.numbers[1], peer);
}

}  // namespace norv::interop

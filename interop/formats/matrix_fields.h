#pragma once

/// The matrices of files of ROS and OpenCV.

#include <string>
#include <vector>

#include "interop/formats/camera_fields.h"

namespace norv::interop {

/// A list of numbers that is refused, number by number, where it stands.
struct NumberList {
  std::string key;  ///< what it is called as a whole, such as "camera_matrix"
  Field list;       ///< the numbers in the file, such as "camera_matrix.data"
  std::vector<double> numbers;
};

/// The numbers of a list that is called as it stands.
NumberList numberListOf(const Field& list);

/// The matrix {rows, cols, data}, row by row. Refused unless it has that many rows and columns, and
/// as many numbers.
NumberList matrixOf(Fields* matrix, const std::string& key, int rows, int cols);

/// The same of a vector that lies or stands.
NumberList vectorOf(Fields* matrix, const std::string& key);

/// Sets focal lengths, skew and principal point from the nine numbers of a camera matrix. Refused
/// unless the focal lengths are above 0 and the other numbers those of a camera matrix: 0, and 1 at
/// the end.
void setCameraMatrix(const NumberList& matrix, calibration::PixelOrigin origin, PeerCamera* camera);

/// A sentence about a skew that the peer's own programs do not look at.
std::string noteOfSkew(const NumberList& matrix, const std::string& peer);

}  // namespace norv::interop

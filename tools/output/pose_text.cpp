#include "tools/output/pose_text.h"

#include <fmt/format.h>

#include <vector>

#include "tools/output/number_text.h"
#include "tools/output/text_table.h"

namespace norv::tools {

std::string vectorText(const Vector3_f& vector) {
  return fmt::format("({}, {}, {})", formatFixed(vector.x(), 4), formatFixed(vector.y(), 4),
                     formatFixed(vector.z(), 4));
}

std::string poseTable(const Matrix4x4_f& pose) {
  std::vector<std::vector<std::string>> rows;
  for (int r = 0; r < 3; ++r) {
    rows.push_back({""});
    for (int c = 0; c < 4; ++c) rows.back().push_back(shortestText(pose(r, c)));
    rows.back().back() += " m";
  }
  return alignTable(rows, 2);
}

}  // namespace norv::tools

#pragma once

#include <string>

#include "tools/diff/diff_options.h"

namespace norv::tools {

/// The grids of a comparison as comma-separated values (RFC 4180, but with lines that end in a line
/// feed): a header, then a line a pixel. The first column is the camera's name or the zoom
/// position, then follow size, u, v, du, dv, du_rotated, dv_rotated; what there is not is left
/// empty. Bases have the header alone.
std::string diffCsv(const Difference& difference);

}  // namespace norv::tools

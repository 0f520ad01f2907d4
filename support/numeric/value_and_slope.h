#pragma once

namespace norv::internal {

/// A function and its derivative at one place.
struct ValueAndSlope {
  double value;
  double slope;
};

}  // namespace norv::internal

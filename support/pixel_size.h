#pragma once

/// Units, frames, pixel origin: docs/conventions.md.

namespace norv::calibration {

/// Width and height of an image, pixels.
struct PixelSize {
  int width = 0;
  int height = 0;

  friend bool operator==(const PixelSize& a, const PixelSize& b) {
    return a.width == b.width && a.height == b.height;
  }
};

}  // namespace norv::calibration

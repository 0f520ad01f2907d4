#include "interop/peer_format.h"

#include <algorithm>
#include <array>
#include <string>

namespace norv::interop {
namespace {

struct FormatRow {
  PeerFormat format;
  const char* name;
  calibration::PixelOrigin origin;
};

using calibration::PixelOrigin;

constexpr std::array<FormatRow, 6> kFormats = {{
    {PeerFormat::kRos, "ros", PixelOrigin::kPixelCentre},
    {PeerFormat::kKalibr, "kalibr", PixelOrigin::kPixelCentre},
    {PeerFormat::kOpenCv, "opencv", PixelOrigin::kPixelCentre},
    {PeerFormat::kMrcal, "mrcal", PixelOrigin::kPixelCentre},
    {PeerFormat::kColmap, "colmap", PixelOrigin::kImageCorner},
    {PeerFormat::kBasalt, "basalt", PixelOrigin::kPixelCentre},
}};

const FormatRow& rowOf(PeerFormat format) {
  return *std::find_if(kFormats.begin(), kFormats.end(),
                       [format](const FormatRow& row) { return row.format == format; });
}

}  // namespace

const std::vector<PeerFormat>& peerFormats() {
  static const std::vector<PeerFormat> kAll = [] {
    std::vector<PeerFormat> all;
    for (const FormatRow& row : kFormats) all.push_back(row.format);
    return all;
  }();
  return kAll;
}

const char* formatName(PeerFormat format) { return rowOf(format).name; }

std::optional<PeerFormat> formatOfName(std::string_view name) {
  for (const FormatRow& row : kFormats) {
    if (row.name == name) return row.format;
  }
  return std::nullopt;
}

PixelOrigin pixelOriginOf(PeerFormat format) { return rowOf(format).origin; }

double cornerOffset(PixelOrigin origin) { return origin == PixelOrigin::kPixelCentre ? 0.5 : 0; }

}  // namespace norv::interop

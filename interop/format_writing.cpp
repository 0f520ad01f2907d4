#include "interop/formats/basalt.h"
#include "interop/formats/colmap.h"
#include "interop/formats/kalibr.h"
#include "interop/formats/mrcal.h"
#include "interop/formats/opencv.h"
#include "interop/formats/ros.h"
#include "interop/peer_writing.h"

namespace norv::interop {

calibration::PixelOrigin writtenOrigin(const WriteOptions& options) {
  return options.pixel_origin.value_or(pixelOriginOf(options.format));
}

std::variant<PeerWriting, std::string> writeCameras(const std::vector<WrittenCamera>& cameras,
                                                    const WriteOptions& options) {
  if (cameras.empty()) return "there is no camera to write";
  switch (options.format) {
    case PeerFormat::kRos:
      return writeRos(cameras, options);
    case PeerFormat::kKalibr:
      return writeKalibr(cameras, options);
    case PeerFormat::kOpenCv:
      return writeOpenCv(cameras, options);
    case PeerFormat::kMrcal:
      return writeMrcal(cameras, options);
    case PeerFormat::kColmap:
      return writeColmap(cameras, options);
    case PeerFormat::kBasalt:
      return writeBasalt(cameras, options);
  }
  return "this is no format";
}

int coefficientsOf(PeerFormat format) {
  constexpr int kBrown = 4;
  constexpr int kRational = 8;
  return format == PeerFormat::kKalibr ? kBrown : kRational;
}

}  // namespace norv::interop

#include "interop/formats/basalt.h"
#include "interop/formats/colmap.h"
#include "interop/formats/kalibr.h"
#include "interop/formats/mrcal.h"
#include "interop/peer_writing.h"

namespace norv::interop {

std::variant<PeerWriting, std::string> writeCameras(const std::vector<WrittenCamera>& cameras,
                                                    const WriteOptions& options) {
  if (cameras.empty()) return "there is no camera to write";
  switch (options.format) {
    case PeerFormat::kKalibr:
      return writeKalibr(cameras, options);
    case PeerFormat::kMrcal:
      return writeMrcal(cameras, options);
    case PeerFormat::kColmap:
      return writeColmap(cameras, options);
    case PeerFormat::kBasalt:
      return writeBasalt(cameras, options);
    case PeerFormat::kRos:
    case PeerFormat::kOpenCv:
      break;
  }
  return std::string("this format is not written");
}

int coefficientsOf(PeerFormat format) {
  constexpr int kBrown = 4;
  constexpr int kRational = 8;
  return format == PeerFormat::kKalibr ? kBrown : kRational;
}

}  // namespace norv::interop

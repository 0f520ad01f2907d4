#include "interop/peer_reading.h"

#include "interop/formats/basalt.h"
#include "interop/formats/colmap.h"
#include "interop/formats/kalibr.h"
#include "interop/formats/mrcal.h"
#include "interop/formats/opencv.h"
#include "interop/formats/ros.h"

namespace norv::interop {
namespace {

PeerFile read(const SourceFile& file, PeerFormat format, const ReadOptions& options) {
  switch (format) {
    case PeerFormat::kRos:
      return readRos(file, options);
    case PeerFormat::kKalibr:
      return readKalibr(file, options);
    case PeerFormat::kOpenCv:
      return readOpenCv(file, options);
    case PeerFormat::kMrcal:
      return readMrcal(file, options);
    case PeerFormat::kColmap:
      return readColmapCameras(file, options);
    case PeerFormat::kBasalt:
      return readBasalt(file, options);
  }
  throw FormatError({}, "", "is of no format that is read");
}

}  // namespace

PeerReading readCameras(const SourceFile& file, PeerFormat format, const ReadOptions& options) {
  try {
    return read(file, format, options);
  } catch (const FormatError& error) {
    return problemOf(error, file.name, file.contents);
  }
}

}  // namespace norv::interop

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "interop/peer_format.h"
#include "testing/file_contents.h"

namespace norv::interop {
namespace {

namespace fs = std::filesystem;

const fs::path kSamples = fs::path(CAMERA_PARAMETERS_SOURCE_DIR) / "tests/data/interop";

TEST(DetectFormat, TellsAllSamples) {
  int count = 0;
  for (const PeerFormat format : peerFormats()) {
    for (const auto& entry : fs::directory_iterator(kSamples / formatName(format))) {
      const std::string contents = testing::contentsOf(entry.path().string());
      EXPECT_EQ(detectFormat(contents), format) << entry.path();
      EXPECT_EQ(detectFormat("\xEF\xBB\xBF\r\n" + contents), format) << entry.path();
      ++count;
    }
  }
  EXPECT_EQ(count, 21);
}

TEST(DetectFormat, TellsFilesThatHoldLittleOrAreOldAndUnusual) {
  EXPECT_EQ(detectFormat("{'distortion_model': 'DISTORTION_OPENCV8'}"), PeerFormat::kMrcal);
  EXPECT_EQ(detectFormat("1 PINHOLE 640 480 500 500 320 240\n"), PeerFormat::kColmap);
  EXPECT_EQ(detectFormat("1 1 0 0 0 0 0 0 1 left image.png\n\n"), PeerFormat::kColmap);
  EXPECT_EQ(detectFormat("# Camera list with one line of data per camera:\n"), PeerFormat::kColmap);
  EXPECT_EQ(detectFormat("cam12:\n  camera_model: ds\n"), PeerFormat::kKalibr);
  EXPECT_EQ(detectFormat("camera_matrix:\n  rows: 3\n"), PeerFormat::kRos);
  EXPECT_EQ(detectFormat("M1: {rows: 3}\n"), PeerFormat::kOpenCv);
  EXPECT_EQ(detectFormat("{\"camera_matrix\": 1}"), PeerFormat::kOpenCv);
  EXPECT_EQ(detectFormat("{\"T_imu_cam\": []}"), PeerFormat::kBasalt);
}

TEST(DetectFormat, KnowsWhatItDoesNotKnow) {
  for (const char* const text :
       {"", " \n", "camera: 3\n", "{}", "1 2 3\n", "1 pinhole 640 480\n", "<xml/>", "cam:\n"}) {
    EXPECT_EQ(detectFormat(text), std::nullopt) << text;
  }
}

TEST(PeerFormat, NamesAndOrigins) {
  for (const PeerFormat format : peerFormats()) {
    EXPECT_EQ(formatOfName(formatName(format)), format);
    const bool is_corner = format == PeerFormat::kColmap;
    EXPECT_EQ(cornerOffset(pixelOriginOf(format)), is_corner ? 0 : 0.5);
  }
  EXPECT_EQ(peerFormats().size(), 6U);
  EXPECT_EQ(formatOfName("ROS"), std::nullopt);
}

}  // namespace
}  // namespace norv::interop

// How far pixels move on their way through other programs' files, over cameras drawn at random.

#include <gtest/gtest.h>

#include <cctype>
#include <random>
#include <string>

#include "testing/peer_accuracy.h"
#include "tests/interop/fitted_accuracy.h"

namespace norv::interop {
namespace {

constexpr std::size_t kCameras = 1000;

class ExactWays : public ::testing::TestWithParam<norv::testing::PeerWay> {};

TEST_P(ExactWays, FilesAreImportedAsTheirProgramsMeanThem) {
  std::mt19937 random(1);
  const double error = norv::testing::importError(GetParam(), kCameras, &random);
  // Measured: 6.5e-11 px with poses, 0 without.
  EXPECT_LE(error, 1e-9);
}

TEST_P(ExactWays, CamerasComeBackAsTheyWent) {
  std::mt19937 random(2);
  const double error = norv::testing::roundTripError(GetParam(), kCameras, &random);
  if (GetParam().syntax != Syntax::kIni) {
    // Measured: 5.3e-11 px with poses, 0 without.
    EXPECT_LE(error, 1e-9);
    return;
  }
  // Five decimals: half of the last one times a focal length of 1640 px times the powers of 1.95,
  // the largest radius, that k1, k2, k3, p1 and p2 stand with.
  // Measured: 0.47 px.
  EXPECT_GT(error, 1e-6);
  EXPECT_LE(error, 1.4);
}

const auto kNameOf = [](const auto& way) {
  std::string name;
  for (const char c : std::string(way.param.name)) {
    if (std::isalnum(static_cast<unsigned char>(c)) != 0) name += c;
  }
  return name;
};

INSTANTIATE_TEST_SUITE_P(OfAllFormats, ExactWays, ::testing::ValuesIn(norv::testing::peerWays()),
                         kNameOf);

class FittedWays : public ::testing::TestWithParam<testing::FittedWay> {};

TEST_P(FittedWays, TellTheTrueDeviation) {
  std::mt19937 random(3);
  constexpr int kFittedCameras = 6;
  const testing::FittedFigures figures =
      testing::fittedFigures(GetParam(), kFittedCameras, &random);
  EXPECT_GE(figures.fitted, kFittedCameras - 1);
  // Measured over 100 cameras of each lens: 0.7 % and 3.7 %.
  EXPECT_LE(figures.worst_max, 0.05);
  EXPECT_LE(figures.worst_rms, 0.05);
}

INSTANTIATE_TEST_SUITE_P(OfAllLenses, FittedWays, ::testing::ValuesIn(testing::fittedWays()),
                         kNameOf);

}  // namespace
}  // namespace norv::interop

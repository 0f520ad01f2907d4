// Prints, as a Markdown table, how far pixels move on their way through other programs' files.

#include <fmt/format.h>

#include <cstdio>
#include <exception>
#include <random>

#include "testing/peer_accuracy.h"
#include "tests/interop/fitted_accuracy.h"

namespace norv::benchmarks {
namespace {

constexpr std::size_t kCameras = 1000;

void printExactWays() {
  fmt::print("| format | direction | cameras | largest difference, px |\n|---|---|---|---|\n");
  for (const testing::PeerWay& way : testing::peerWays()) {
    std::mt19937 random(1);
    fmt::print("| {} | import | {} | {:.2g} |\n", way.name, kCameras,
               testing::importError(way, kCameras, &random));
    std::mt19937 other(2);
    fmt::print("| {} | export, import | {} | {:.2g} |\n", way.name, kCameras,
               testing::roundTripError(way, kCameras, &other));
  }
}

void printFittedWays() {
  constexpr int kFittedCameras = 100;
  fmt::print(
      "\n| lens | cameras | without a fit | true largest deviations, px | told max beside it | "
      "told "
      "rms beside it |\n|---|---|---|---|---|---|\n");
  for (const auto& way : interop::testing::fittedWays()) {
    std::mt19937 random(3);
    const auto figures = interop::testing::fittedFigures(way, kFittedCameras, &random);
    fmt::print("| {} | {} | {} | {:.2g} to {:.2g} | {:.2g} % | {:.2g} % |\n", way.name,
               figures.fitted, figures.refused, figures.smallest, figures.largest,
               100 * figures.worst_max, 100 * figures.worst_rms);
  }
}

}  // namespace
}  // namespace norv::benchmarks

int main() {
  try {
    norv::benchmarks::printExactWays();
    norv::benchmarks::printFittedWays();
  } catch (const std::exception& error) {
    fmt::print(stderr, "{}\n", error.what());
    return 1;
  }
  return 0;
}

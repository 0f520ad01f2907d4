#include "calibration_common/review/check.h"

namespace norv::internal::review {
namespace {

std::vector<const Check*> collect() {
  std::vector<const Check*> all;
  for (const CheckTable* table : {&messageChecks(), &listChecks(), &cameraChecks(), &imageChecks(),
                                  &pinholeChecks(), &lensChecks(), &poseChecks(), &sampleChecks(),
                                  &zoomChecks(), &motorChecks(), &headChecks(), &baseChecks()}) {
    for (const Check& check : *table) all.push_back(&check);
  }
  return all;
}

}  // namespace

const std::vector<const Check*>& allChecks() {
  static const std::vector<const Check*> all = collect();
  return all;
}

}  // namespace norv::internal::review

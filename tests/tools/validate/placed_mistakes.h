#pragma once

/// Calibrations with one mistake each, and where a review has to find it.

#include <google/protobuf/message.h>

#include <initializer_list>
#include <memory>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace norv::testing {

/// A calibration with one mistake, and the fields at which `check` reports it.
struct Mistake {
  std::string check;
  std::vector<std::string> fields;
  std::shared_ptr<const google::protobuf::Message> message;
};

inline void PrintTo(const Mistake& mistake, std::ostream* out) { *out << mistake.check; }

/// The mistake that `edit` makes in a calibration without any.
template <class Calibration, class Edit>
Mistake mistake(Calibration calibration, const std::string& check, std::vector<std::string> fields,
                const Edit& edit) {
  edit(&calibration);
  return {check, std::move(fields), std::make_shared<Calibration>(std::move(calibration))};
}

/// Mistakes of several kinds, one kind after the other.
inline std::vector<Mistake> joined(std::initializer_list<std::vector<Mistake>> kinds) {
  std::vector<Mistake> all;
  for (const auto& kind : kinds) all.insert(all.end(), kind.begin(), kind.end());
  return all;
}

/// In fixed cameras: their entries, lenses, poses and sample points.
std::vector<Mistake> mistakesInCameras();

/// In zoom lenses and the heads that turn them.
std::vector<Mistake> mistakesInZoomCameras();

std::vector<Mistake> mistakesInBases();

}  // namespace norv::testing

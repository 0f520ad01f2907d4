#include "interop/formats/radial_parameters.h"

#include <cstddef>

namespace norv::interop {
namespace {

constexpr double kPi = 3.14159265358979323846;

double shareOf(const Field& field) {
  const double alpha = numberOf(field);
  if (!(alpha >= 0 && alpha <= 1)) {
    refuse(field, "is alpha, which must be from 0 to 1: " + field.node->text);
  }
  return alpha;
}

double betaOf(const Field& field) {
  const double beta = numberOf(field);
  if (!(beta > 0)) refuse(field, "is beta, which must be above 0: " + field.node->text);
  return beta;
}

double xiOf(const Field& field) {
  const double xi = numberOf(field);
  if (!(xi > -1)) refuse(field, "is xi, which must be above -1: " + field.node->text);
  return xi;
}

double fieldOfViewOf(const Field& field) {
  const double w = numberOf(field);
  if (!(w >= 0 && w < kPi)) {
    refuse(field, "is a field of view, which must be from 0 to below pi: " + field.node->text);
  }
  return w;
}

}  // namespace

RadialMap radialMapOf(RadialKind kind, const std::vector<Field>& parameters) {
  RadialMap map;
  map.kind = kind;
  auto& values = map.parameters;
  switch (kind) {
    case RadialKind::kKannalaBrandt:
      for (std::size_t i = 0; i < parameters.size(); ++i) values.at(i) = numberOf(parameters[i]);
      break;
    case RadialKind::kEnhancedUnified:
      values[0] = shareOf(parameters.at(0));
      values[1] = parameters.size() > 1 ? betaOf(parameters[1]) : 1;
      break;
    case RadialKind::kDoubleSphere:
      values[0] = xiOf(parameters.at(0));
      values[1] = shareOf(parameters.at(1));
      break;
    case RadialKind::kOmni:
      values[0] = xiOf(parameters.at(0));
      break;
    case RadialKind::kFieldOfView:
      values[0] = fieldOfViewOf(parameters.at(0));
      break;
    case RadialKind::kStereographic:
      break;
  }
  return map;
}

}  // namespace norv::interop

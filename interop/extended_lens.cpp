#include "interop/extended_lens.h"

#include "interop/fit/sensor_tilt.h"

namespace norv::interop {

using calibration::NormalizedPoint;

bool isRational(const ExtendedLens& lens) {
  return lens.s1 == 0 && lens.s2 == 0 && lens.s3 == 0 && lens.s4 == 0 && lens.tau_x == 0 &&
         lens.tau_y == 0;
}

NormalizedPoint<double> distort(const ExtendedLens& lens, const NormalizedPoint<double>& p) {
  const double s = p.x * p.x + p.y * p.y;
  NormalizedPoint<double> q = lens.rational.distort(p);
  q.x += s * (lens.s1 + s * lens.s2);
  q.y += s * (lens.s3 + s * lens.s4);
  if (lens.tau_x == 0 && lens.tau_y == 0) return q;
  return applied(sensorTilt(lens.tau_x, lens.tau_y), q);
}

}  // namespace norv::interop

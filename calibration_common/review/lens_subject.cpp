#include "calibration_common/review/lens_subject.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "support/lens/lens_inverse.h"
#include "support/lens/radial_branch.h"
#include "support/numeric/polynomial_zero.h"

namespace norv::internal::review {
namespace {

using Lens = calibration::LensDistortion<double>;
using Point = calibration::NormalizedPoint<double>;

Point farthestCorner(const PinholeImage& image) {
  const std::array<Point, 4> all = normalisedCorners(image);
  return *std::max_element(all.begin(), all.end(), [](const Point& a, const Point& b) {
    return std::hypot(a.x, a.y) < std::hypot(b.x, b.y);
  });
}

bool haveRays(const Lens& lens, const PinholeImage& image) {
  LensInverse inverse(lens);
  const std::array<Point, 4> all = normalisedCorners(image);
  return std::all_of(all.begin(), all.end(), [&](const Point& corner) {
    return std::isfinite(inverse.undistort(corner).x);
  });
}

double narrow(double value) { return static_cast<double>(static_cast<float>(value)); }

}  // namespace

Lens narrowed(const Lens& l) {
  return {narrow(l.k1), narrow(l.k2), narrow(l.p1), narrow(l.p2),
          narrow(l.k3), narrow(l.k4), narrow(l.k5), narrow(l.k6)};
}

PinholeImage narrowed(const PinholeImage& image) {
  return {image.size, narrow(image.fx), narrow(image.fy), narrow(image.cx), narrow(image.cy)};
}

bool isFinite(const Lens& lens) {
  const std::array<double, 8> all = lens.toCoefficients();
  return std::all_of(all.begin(), all.end(), [](double c) { return std::isfinite(c); });
}

bool isUsable(const PinholeImage& image) {
  const auto positive = [](double value) { return std::isfinite(value) && value > 0; };
  return image.size.width > 0 && image.size.height > 0 && positive(image.fx) &&
         positive(image.fy) && std::isfinite(image.cx) && std::isfinite(image.cy);
}

std::array<Point, 4> normalisedCorners(const PinholeImage& image) {
  const double left = -image.cx / image.fx;
  const double right = (image.size.width - image.cx) / image.fx;
  const double top = -image.cy / image.fy;
  const double bottom = (image.size.height - image.cy) / image.fy;
  return {{{left, top}, {right, top}, {left, bottom}, {right, bottom}}};
}

double cornerDistance(const PinholeImage& image) {
  const Point corner = farthestCorner(image);
  return std::hypot(corner.x, corner.y);
}

void measureReach(LensSubject* subject) {
  const PinholeImage& image = subject->image;
  const Lens& lens = subject->lens;
  Lens radial = lens;
  radial.p1 = radial.p2 = 0;
  const Point corner = farthestCorner(image);
  const Point ray = LensInverse(radial).undistort(corner);
  LensReach& reach = subject->reach;
  reach.corner_distorted = std::hypot(corner.x, corner.y);
  reach.corner_pixels = std::hypot(corner.x * image.fx, corner.y * image.fy);
  reach.corner = std::hypot(ray.x, ray.y);
  reach.end = std::sqrt(RadialBranch(lens).end());
  reach.pole = std::sqrt(firstPositiveZero({1, lens.k4, lens.k5, lens.k6, 0, 0, 0}));
  reach.corners_have_rays = haveRays(lens, image);
}

LensVerdict judgeReach(const LensReach& reach) {
  const bool near_pole = std::isnan(reach.corner) ? reach.pole <= reach.end
                                                  : reach.pole < kMinPoleMargin * reach.corner;
  if (near_pole) return LensVerdict::kHasPole;
  const bool folds = std::isnan(reach.corner) || !reach.corners_have_rays;
  return folds ? LensVerdict::kFolds : LensVerdict::kServed;
}

}  // namespace norv::internal::review

#pragma once

/// An equation in the sine and the cosine of one angle. Conventions: docs/conventions.md.

#include "export.h"

namespace norv {

/// Solves a sin x + b cos x + c = 0 for x, in radians within (-pi, pi].
///
/// Writes the distinct solutions to `solutions`, which has room for two, and returns their number:
/// 0, 1 or 2. With r = hypot(a, b) the equation is r cos(x - x0) = -c with x0 = atan2(a, b), so the
/// solutions are x0 - acos(-c / r) and then x0 + acos(-c / r), in this order. The first is the one
/// at which a cos x - b sin x >= 0, that is, at which the left side rises.
///
/// `eps` is the tolerance of the degenerate cases. An equation whose curve misses zero by at most
/// eps * r counts as touching it. Two solutions that differ by at most `eps` as angles are one, the
/// first. Where r <= eps the equation does not depend on x: then 0 stands for every angle when
/// |c| <= eps, and there is no solution otherwise. Coefficients that are not finite have none,
/// nor have those whose hypot is not. Thread-safe.
NORV_EXPORT int solveAsinBcosCeqn(double a, double b, double c, double* solutions, double eps);

}  // namespace norv

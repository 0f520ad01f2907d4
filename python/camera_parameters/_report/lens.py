"""The lens of a camera for figures: where its rays land, and where it folds or has a pole.

Formula and order of the coefficients: docs/conventions.md, "Camera model". Rays are (x, y) = (X/Z, Y/Z).
"""

import dataclasses
import math

import numpy as np

import camera_parameters as cp


@dataclasses.dataclass(frozen=True)
class LensEnd:
    """Radii of rays at which the radial lens ends, infinity where it does not: `fold`, where it stops rising, with
    `fold_image`, the radius that the lens gives to it; `pole`, where its denominator vanishes."""

    fold: float
    fold_image: float
    pole: float


def _smallest_root(polynomial):
    """The smallest positive root; infinity if there is none. Coefficients from the constant on."""
    coefficients = np.trim_zeros(np.asarray(polynomial, float), "b")
    if len(coefficients) < 2 or not np.all(np.isfinite(coefficients)):
        return math.inf
    with np.errstate(all="ignore"):
        try:
            roots = np.polynomial.polynomial.polyroots(coefficients)
        except np.linalg.LinAlgError:
            return math.inf
    real = roots.real[(abs(roots.imag) < 1e-7 * (1 + abs(roots.real))) & (roots.real > 0)]
    return float(real.min()) if len(real) else math.inf


def radial(distortion):
    """Numerator and denominator of the radial factor as polynomials in s = r^2, constant first."""
    k1, k2, _p1, _p2, k3, k4, k5, k6 = (float(value) for value in distortion)
    return np.array([1, k1, k2, k3]), np.array([1, k4, k5, k6])


def lens_end(distortion):
    """Where a radial lens ends.

    The distorted radius is r N(s) / D(s) with s = r^2; its slope has the numerator N D + 2 s (N' D - N D').

    >>> import camera_parameters as cp
    >>> from camera_parameters._report.lens import lens_end
    >>> round(lens_end([-1 / 3, 0, 0, 0, 0, 0, 0, 0]).fold, 12)  # r - r^3 / 3 rises up to r = 1
    1.0
    """
    numerator, denominator = radial(distortion)
    poly = np.polynomial.polynomial
    with np.errstate(all="ignore"):
        slope = poly.polyadd(poly.polymul(numerator, denominator), 2 * poly.polymulx(poly.polysub(
            poly.polymul(poly.polyder(numerator), denominator), poly.polymul(numerator, poly.polyder(denominator)))))
        fold = math.sqrt(_smallest_root(slope))
        pole = math.sqrt(_smallest_root(denominator))
        if fold >= pole:
            return LensEnd(math.inf, math.inf, pole)
        factor = poly.polyval(fold**2, numerator) / poly.polyval(fold**2, denominator)
        return LensEnd(fold, float(fold * factor) if math.isfinite(fold) else math.inf, pole)


def image_radius(distortion, radius):
    """Where a lens without tangential terms puts the rays of a radius; infinity for infinity.

    >>> import camera_parameters as cp
    >>> from camera_parameters._report.lens import image_radius
    >>> image_radius([0.5, 0, 0, 0, 0, 0, 0, 0], 1.0)
    1.5
    """
    if not math.isfinite(radius):
        return radius
    numerator, denominator = radial(distortion)
    poly = np.polynomial.polynomial
    with np.errstate(all="ignore"):
        return float(radius * poly.polyval(radius**2, numerator) / poly.polyval(radius**2, denominator))


def pixels_of(intrinsics, points):
    """Where the camera matrix alone puts normalised image coordinates, pixels."""
    k = np.asarray(intrinsics.matrix, float)
    points = np.asarray(points, float)
    with np.errstate(all="ignore"):
        return np.stack([k[0, 0] * points[..., 0] + k[0, 1] * points[..., 1] + k[0, 2],
                         k[1, 1] * points[..., 1] + k[1, 2]], axis=-1)


def pixel_grid(width, height, columns, rows):
    """Pixels at the corners of a grid over the whole image: (rows + 1, columns + 1, 2)."""
    u, v = np.meshgrid(np.linspace(0, width, columns + 1), np.linspace(0, height, rows + 1))
    return np.stack([u, v], axis=-1)


def rays_at(intrinsics, pixels):
    """Rays of pixels, NaN where there is none.

    >>> import camera_parameters as cp
    >>> from camera_parameters._report.lens import rays_at
    >>> camera = cp.CameraParametersSet()["head_camera"]
    >>> rays_at(camera.intrinsics(1280, 960), [640.0, 480.0])
    array([0., 0.])
    """
    with np.errstate(all="ignore"):
        return np.asarray(cp.rectify(intrinsics, np.asarray(pixels, np.float32)), float)


def distort(distortion, points):
    """Where the lens puts rays (..., 2), on whatever branch they lie.

    >>> import camera_parameters as cp
    >>> from camera_parameters._report.lens import distort
    >>> distort([0.5, 0, 0, 0, 0, 0, 0, 0], [1.0, 0.0])
    array([1.5, 0. ])
    """
    numerator, denominator = radial(distortion)
    p1, p2 = float(distortion[2]), float(distortion[3])
    points = np.asarray(points, float)
    x, y = points[..., 0], points[..., 1]
    with np.errstate(all="ignore"):
        s = x * x + y * y
        poly = np.polynomial.polynomial
        g = poly.polyval(s, numerator) / poly.polyval(s, denominator)
        return np.stack([x * g + 2 * p1 * x * y + p2 * (s + 2 * x * x),
                         y * g + p1 * (s + 2 * y * y) + 2 * p2 * x * y], axis=-1)

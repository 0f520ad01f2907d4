#!/usr/bin/env python3
"""Writes the default calibration of the robot's fixed cameras to standard output.

The file default_head_cal.txt beside this script is its output; a test compares the two. Needs the
standard library only.
"""

import math

# The head camera's lens: stereographic, r = 2 f tan(theta / 2) with f = 720 px, as rational radial
# coefficients that follow it within 0.0011 px from 0 to 66 degrees.
HEAD_FOCAL_LENGTH = 720.0
HEAD_RADIAL = (0.800174, 0.117548, 0.001619, 1.050108, 0.255504, 0.011237)
NAVIGATION_FOCAL_LENGTH = 905.0
NAVIGATION_RADIAL = (-0.28, 0.07, 0.0, 0.0, 0.0, 0.0)
NAVIGATION_TANGENTIAL = (0.0003, -0.0002)
WIDTH, HEIGHT = 1280, 960

# The view of a calibration board that the head camera's intrinsics are fitted to: 13 x 10 grid points,
# tilted by 30 degrees about an oblique axis and filling the frame. Lengths in squares.
COLUMNS, ROWS = 13, 10
SQUARE_METRES = 0.05
BOARD_AXIS_DEGREES, BOARD_TILT_DEGREES, BOARD_ROLL_DEGREES = 60.0, 30.0, 4.0
BOARD_CENTRE = (-0.7863, 0.0, 7.8633)


def rotation_about(axis, angle):
    """Rotation by `angle` radians about the unit vector `axis` (Rodrigues)."""
    x, y, z = axis
    c, s = math.cos(angle), math.sin(angle)
    return (
        (c + x * x * (1 - c), x * y * (1 - c) - z * s, x * z * (1 - c) + y * s),
        (y * x * (1 - c) + z * s, c + y * y * (1 - c), y * z * (1 - c) - x * s),
        (z * x * (1 - c) - y * s, z * y * (1 - c) + x * s, c + z * z * (1 - c)),
    )


def apply(matrix, vector):
    return tuple(sum(m * v for m, v in zip(row, vector)) for row in matrix)


def project(point):
    """Pixel of a point in the head camera's frame."""
    x, y = point[0] / point[2], point[1] / point[2]
    s = x * x + y * y
    k1, k2, k3, k4, k5, k6 = HEAD_RADIAL
    factor = (1 + s * (k1 + s * (k2 + s * k3))) / (1 + s * (k4 + s * (k5 + s * k6)))
    return (HEAD_FOCAL_LENGTH * x * factor + WIDTH / 2, HEAD_FOCAL_LENGTH * y * factor + HEIGHT / 2)


def board_samples():
    """(image x, image y, model x, model y) of every grid point, row by row."""
    axis = math.radians(BOARD_AXIS_DEGREES)
    tilt = rotation_about((math.cos(axis), math.sin(axis), 0.0), math.radians(BOARD_TILT_DEGREES))
    roll = rotation_about((0.0, 0.0, 1.0), math.radians(BOARD_ROLL_DEGREES))
    for row in range(ROWS):
        for column in range(COLUMNS):
            on_board = (column - (COLUMNS - 1) / 2, row - (ROWS - 1) / 2, 0.0)
            turned = apply(tilt, apply(roll, on_board))
            in_camera = tuple(a + b for a, b in zip(turned, BOARD_CENTRE))
            yield (*project(in_camera), column, row)


def camera_from_robot(centre_mm, down_degrees):
    """Stored pose of a camera at `centre_mm`, looking ahead and down by an angle.

    The robot's x axis points ahead, y left and z up; the camera's x axis points right, y down and z
    along the view.
    """
    c, s = math.cos(math.radians(down_degrees)), math.sin(math.radians(down_degrees))
    rotation = ((0.0, -1.0, 0.0), (-s, 0.0, -c), (c, 0.0, -s))
    return [(*row, -sum(r * p for r, p in zip(row, centre_mm))) for row in rotation]


def print_camera(name, model, lens, pose_comment, pose, samples):
    focal_length, radial, tangential, lens_comment = lens
    print("camera_calibration {")
    print(f'  name: "{name}"')
    print(f'  model: "{model}"')
    print("  intrinsics {")
    print("    # Pixels of the full frame.")
    print(f"    fx: {focal_length:g}\n    fy: {focal_length:g}\n    skew: 0")
    print(f"    cx: {WIDTH / 2:g}\n    cy: {HEIGHT / 2:g}\n    width: {WIDTH}\n    height: {HEIGHT}")
    print(f"    # {lens_comment}")
    print(f"    radial: [{', '.join(f'{k:.9g}' for k in radial)}]")
    print(f"    tangential: [{', '.join(f'{p:.9g}' for p in tangential)}]")
    if samples:
        print("    # One view of a board: where each grid point was seen, pixels, and which one it")
        print("    # is, in squares.")
        for image_x, image_y, model_x, model_y in samples:
            print(f"    samples {{ image_x: {image_x:.3f} image_y: {image_y:.3f}"
                  f" model_x: {model_x} model_y: {model_y} }}")
        print("    # Metres per square, and the number of grid points across and down.")
        print(f"    sample_scale: {SQUARE_METRES:g}")
        print(f"    sample_size_x: {COLUMNS}\n    sample_size_y: {ROWS}")
    print("  }")
    print(f"  # {pose_comment}")
    print("  # Camera from robot, row by row; the last of each row in millimetres.")
    print("  extrinsics {")
    for row in pose:
        # Adding 0 turns a negative zero into a positive one.
        print("    a: [" + ", ".join(f"{round(value, 9) + 0:.15g}" for value in row) + "]")
    print("  }")
    print("}")


def main():
    print("# Default calibration of the robot's fixed cameras, compiled into the library.")
    print("# Written by make_default_head_cal.py; change that and not this.")
    print()
    print_camera(
        "head_camera", "mk512h",
        (HEAD_FOCAL_LENGTH, HEAD_RADIAL, (0.0, 0.0),
         "k1 to k6: a stereographic lens, 96 degrees across. Then p1 and p2."),
        "On the head, 120 mm ahead of the robot's origin and 1250 mm above it, looking 15 degrees down.",
        camera_from_robot((120.0, 0.0, 1250.0), 15.0), list(board_samples()))
    print()
    print_camera(
        "navigation_camera", "mk513n",
        (NAVIGATION_FOCAL_LENGTH, NAVIGATION_RADIAL, NAVIGATION_TANGENTIAL,
         "k1 to k6: a mild barrel. Then p1 and p2."),
        "On the front of the base, 250 mm ahead of the robot's origin, 30 mm left and 350 mm up, level.",
        camera_from_robot((250.0, 30.0, 350.0), 0.0), [])


if __name__ == "__main__":
    main()

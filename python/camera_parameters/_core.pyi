"""Types of the extension module. All that is public here is found in `camera_parameters`."""

# ---- cameras and sets

# ---- points

# ---- views, maps, validity

# ---- pan-tilt-zoom heads

# ---- aiming and coverage

# ---- base, adjusting

# ---- findings, load reports, differences

# ---- other programs' calibrations

# ---- logging

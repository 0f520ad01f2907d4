"""What the plots have in common: colours that the colour-blind tell apart, and pictures as axes."""

from matplotlib.patches import Rectangle  # type: ignore[import]

BLUE, VERMILION, GREEN, ORANGE, PURPLE = "#0072B2", "#D55E00", "#009E73", "#E69F00", "#CC79A7"
GREY = "#666666"
# With the style of the line, so that print without colours does as well.
LINES = [(BLUE, "-"), (VERMILION, "--"), (GREEN, "-."), (PURPLE, ":"), (ORANGE, (0, (5, 1, 1, 1, 1, 1)))]


def show_picture(axes, size, grow=(0.0, 0.0)):
    """Makes axes those of a picture: pixels from its corner, y down, and its border.

    `grow` is how much of the surroundings is shown, in widths and heights of the picture.
    """
    width, height = size
    axes.add_patch(Rectangle((0, 0), width, height, fill=False, edgecolor="black", linewidth=1, label="picture"))
    axes.set_xlim(-grow[0] * width, (1 + grow[0]) * width)
    axes.set_ylim((1 + grow[1]) * height, -grow[1] * height)
    axes.set_aspect("equal")
    axes.set_xlabel("x [pixels]")
    axes.set_ylabel("y [pixels]")


def put_legend(axes, handles=None):
    """A legend below the axes, where it hides nothing."""
    axes.legend(handles=handles, loc="upper center", bbox_to_anchor=(0.5, -0.16), ncol=2, fontsize="small",
                frameon=False)

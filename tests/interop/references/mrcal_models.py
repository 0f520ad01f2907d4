#!/usr/bin/env python3
"""Usage: mrcal_models.py write|read FOLDER

By mrcal, `write` writes camera models of its perspective lenses into the folder, and `read` reads those that are
there. Both print, as JSON by file, what mrcal reads of the models, and where it projects the points of the folder's
points.json, which are those of the camera's frame.
"""

import json
import pathlib
import sys

import mrcal
import numpy as np

MODELS_OF_EACH_LENS = 5
# Half-widths of the coefficients.
LARGEST = np.array((0.3, 0.1, 0.01, 0.01, 0.05, 0.3, 0.1, 0.05, 0.02, 0.02, 0.02, 0.02))
COEFFICIENTS = {"LENSMODEL_PINHOLE": 0, "LENSMODEL_STEREOGRAPHIC": 0, "LENSMODEL_OPENCV4": 4,
                "LENSMODEL_OPENCV5": 5, "LENSMODEL_OPENCV8": 8, "LENSMODEL_OPENCV12": 12}


def drawn_model(lens, random):
    size = random.integers(300, 5000, 2)
    core = np.concatenate((random.uniform(300, 1500, 2), random.uniform(0.3, 0.7, 2) * size))
    largest = LARGEST[:COEFFICIENTS[lens]]
    return mrcal.cameramodel(
        intrinsics=(lens, np.concatenate((core, random.uniform(-largest, largest)))),
        imagersize=size.tolist(),
        extrinsics_rt_fromref=np.concatenate((random.uniform(-1.7, 1.7, 3), random.uniform(-9, 9, 3))))


def write_models(folder):
    random = np.random.default_rng(81)
    for lens in COEFFICIENTS:
        for i in range(MODELS_OF_EACH_LENS):
            model = drawn_model(lens, random)
            if i == 1:
                model.valid_intrinsics_region(np.array(((0, 0), (9.5, 0), (9.5, 9), (0, 9), (0, 0))))
            if i == 2:
                # The setter keeps them with the intrinsics that it sets.
                model.intrinsics(model.intrinsics(), imagersize=model.imagersize(), icam_intrinsics=0,
                                 optimization_inputs={"frames": random.uniform(0, 1, (500, 6)), "lens": lens})
            model.write(str(folder / f"{lens}-{i}.cameramodel"), note=f"Model {i}\n  'of' {{{lens}}}")


def described(path, points):
    model = mrcal.cameramodel(str(path))
    lens, intrinsics = model.intrinsics()
    return {
        "lensmodel": lens,
        "intrinsics": intrinsics.tolist(),
        "imagersize": [int(side) for side in model.imagersize()],
        "rt_fromref": model.extrinsics_rt_fromref().tolist(),
        "points_reference": mrcal.transform_point_rt(model.extrinsics_rt_toref(), points).tolist(),
        "pixels": mrcal.project(points, lens, intrinsics).tolist(),
    }


def main():
    if len(sys.argv) != 3 or sys.argv[1] not in ("write", "read"):
        sys.exit(__doc__)
    folder = pathlib.Path(sys.argv[2])
    if sys.argv[1] == "write":
        write_models(folder)
    points = np.array(json.loads((folder / "points.json").read_text(encoding="utf-8")))
    print(json.dumps({path.name: described(path, points) for path in folder.glob("*.cameramodel")}))


if __name__ == "__main__":
    main()

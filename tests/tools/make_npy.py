"""Writes .npy files of every kind tessel reads, with numpy itself, and expected.txt:
one line per file with its name, rows, columns, Fortran flag and values in C order."""
import sys
from pathlib import Path

import numpy as np

out = Path(sys.argv[1])
out.mkdir(parents=True, exist_ok=True)
rng = np.random.default_rng(5)
base = rng.normal(3.0, 2.0, size=(5, 3))
lines = []
for dtype in ("<f4", ">f4", "<f8", ">f8"):
    for order in ("C", "F"):
        for version in ((1, 0), (2, 0), (3, 0)):
            array = np.asarray(base, dtype=dtype, order=order)
            name = f"m_{dtype[1:]}_{'be' if dtype[0] == '>' else 'le'}_{order}_{version[0]}.npy"
            with open(out / name, "wb") as f:
                np.lib.format.write_array(f, array, version=version)
            values = " ".join(repr(float(v)) for v in array.astype(np.float64).ravel(order="C"))
            lines.append(f"{name} 5 3 {1 if order == 'F' else 0} {values}")
vector = rng.normal(size=7).astype("<f8")
np.save(out / "v.npy", vector)
lines.append("v.npy 7 1 0 " + " ".join(repr(float(v)) for v in vector))
(out / "expected.txt").write_text("\n".join(lines) + "\n")

#!/usr/bin/python3
"""Times Debian's scipy.stats.kurtosis on the arrays of kurtosis_bench.cpp.

The shapes are those of the benchmark: 1 dimension of 5e7 doubles, and 16 dimensions of 5e6 in
row-major (a dimension is contiguous) and column-major (an observation is contiguous) storage.
Element k of the array in memory order is 5 + 2 sqrt(12) (u - 1/2) with u uniform in [0, 1) from
splitmix64 of k, exactly as the benchmark makes it.

usage: /usr/bin/python3 scipy_kurtosis.py [--runs N]
"""

import argparse
import time

import numpy as np
import scipy
from scipy import stats


def observations(count, chunk=10_000_000):
    values = np.empty(count, dtype=np.float64)
    scale = 2.0 * np.sqrt(12.0)
    for start in range(0, count, chunk):
        k = np.arange(start, min(start + chunk, count), dtype=np.uint64)
        z = (k + np.uint64(1)) * np.uint64(0x9E3779B97F4A7C15)
        z = (z ^ (z >> np.uint64(30))) * np.uint64(0xBF58476D1CE4E5B9)
        z = (z ^ (z >> np.uint64(27))) * np.uint64(0x94D049BB133111EB)
        z ^= z >> np.uint64(31)
        u = (z >> np.uint64(11)).astype(np.float64) * 2.0**-53
        values[start:start + len(k)] = 5.0 + scale * (u - 0.5)
    return values


def best_time(function, runs):
    best = float("inf")
    result = None
    for _ in range(runs):
        start = time.perf_counter()
        result = function()
        best = min(best, time.perf_counter() - start)
    return best, result


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--runs", type=int, default=3, help="best of this many runs")
    runs = parser.parse_args().runs
    print(f"scipy {scipy.__version__}, numpy {np.__version__}, best of {runs} runs")
    shapes = [("row_major", 1, 50_000_000), ("row_major", 16, 5_000_000),
              ("col_major", 16, 5_000_000)]
    for storage, n_dims, n_observations in shapes:
        x = observations(n_dims * n_observations)
        if storage == "row_major":
            matrix, axis = x.reshape(n_dims, n_observations), 1
        else:
            matrix, axis = x.reshape(n_observations, n_dims), 0
        seconds, kurtosis = best_time(lambda: stats.kurtosis(matrix, axis=axis), runs)
        gigabytes = x.nbytes * 1e-9
        print(f"{storage} {n_dims}x{n_observations}: {seconds * 1e3:.1f} ms, "
              f"{gigabytes / seconds:.3f} GB/s, kurtosis[0] {np.atleast_1d(kurtosis)[0]:.12f}")
        del matrix, x


if __name__ == "__main__":
    main()

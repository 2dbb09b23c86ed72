#!/usr/bin/python3
"""Times NumPy, SciPy and pandas on the data of tessel_cpu_bench.

The shapes are those of the benchmark: 1 dimension of COUNT values, and 16 dimensions of COUNT / 16
in row-major (a dimension is contiguous) and column-major (an observation is contiguous) storage,
in double and in float. Element k of the array in memory order is 5 + 2 sqrt(12) (u - 1/2) with u
uniform in [0, 1) from splitmix64 of k, exactly as the benchmark makes it. Then the time of
np.mean on 1e3, 1e4 and 1e5 doubles, the best batch of 200 calls.

usage: /usr/bin/python3 python_peers.py [--count N] [--runs N] [--machine]

--machine prints the lines tessel_cpu_bench reads; without it the figures are printed plainly.
"""

import argparse
import time

import numpy as np
import pandas as pd
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
    for _ in range(runs):
        start = time.perf_counter()
        function()
        best = min(best, time.perf_counter() - start)
    return best


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--count", type=int, default=50_000_000, help="values in all")
    parser.add_argument("--runs", type=int, default=3, help="best of this many runs")
    parser.add_argument("--machine", action="store_true", help="lines for tessel_cpu_bench")
    args = parser.parse_args()

    def report(shape, dtype, name, seconds):
        if args.machine:
            print(f"throughput {shape} {dtype} {name}\t{seconds:.9f}", flush=True)
        else:
            print(f"{shape:7} {dtype:6} {name:15} {seconds * 1e3:9.1f} ms", flush=True)

    doubles = observations(args.count)
    for dtype, x in (("double", doubles), ("float", doubles.astype(np.float32))):
        for shape, n_dims, row_major in (("1_row", 1, True), ("16_row", 16, True),
                                         ("16_col", 16, False)):
            n_obs = args.count // n_dims
            if row_major:
                matrix, axis = x[:n_dims * n_obs].reshape(n_dims, n_obs), 1
                frame = pd.DataFrame(matrix.T) if n_dims > 1 else None
            else:
                matrix, axis = x[:n_dims * n_obs].reshape(n_obs, n_dims), 0
                frame = pd.DataFrame(matrix)
            report(shape, dtype, "NumPy mean",
                   best_time(lambda: np.mean(matrix, axis=axis), args.runs))
            report(shape, dtype, "NumPy var",
                   best_time(lambda: np.var(matrix, axis=axis), args.runs))
            report(shape, dtype, "SciPy kurtosis",
                   best_time(lambda: stats.kurtosis(matrix, axis=axis), args.runs))
            if frame is None:
                series = pd.Series(matrix[0])
                report(shape, dtype, "pandas kurt", best_time(series.kurt, args.runs))
            else:
                report(shape, dtype, "pandas kurt", best_time(frame.kurt, args.runs))
            del matrix, frame

    calls = 200
    for n in (1000, 10_000, 100_000):
        small = doubles[:n].copy()

        def batch():
            for _ in range(calls):
                np.mean(small)

        seconds = best_time(batch, 10 * args.runs) / calls
        if args.machine:
            print(f"latency {n} {seconds:.9f}", flush=True)
        else:
            print(f"np.mean of {n}: {seconds * 1e6:.2f} us", flush=True)


if __name__ == "__main__":
    main()

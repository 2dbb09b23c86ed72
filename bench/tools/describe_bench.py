#!/usr/bin/python3
"""Times `tessel describe` against DuckDB, pandas, GNU datamash and Miller on one large CSV.

Every tool computes the same table for each of the 4 columns: count, mean, variance, standard
deviation, skewness, kurtosis, min, quartiles and max. The file (2,000,000 rows of 4 numeric
columns, one of them offset far from 0, about 150 MB) is made once with a fixed seed and kept.
tessel is timed as a whole process on the CPU device; DuckDB (the npm package
@duckdb/node-api, installed by this script into a folder of its own) and pandas are timed
around their query, without the start of node or python; datamash and Miller as whole
processes. Each time is the best of a few runs, all in one run of this script, so that the
ratios compare like with like on a busy machine; the CPU seconds of that run (user and system,
of the whole process for node, datamash and Miller, of the query for pandas) show what a
quiet machine would need.

usage: /usr/bin/python3 bench/tools/describe_bench.py [--rows N] [--runs N] [--work DIR]
"""

import argparse
import os
import resource
import shutil
import subprocess
import sys
import time
from pathlib import Path

import numpy as np
import pandas as pd

ROOT = Path(__file__).resolve().parents[2]
COLUMNS = ["normal", "uniform", "exponential", "offset"]
TARGET_MB_PER_S = 1000
TARGET_OVER_DUCKDB = 3
TARGET_OVER_PANDAS = 10

DUCKDB_QUERY = """
import { DuckDBInstance } from '@duckdb/node-api';
const columns = %s.map(c => `"${c}"`);
const parts = columns.flatMap(c => [
  `count(${c})`, `avg(${c})`, `var_samp(${c})`, `stddev_samp(${c})`, `skewness(${c})`,
  `kurtosis(${c})`, `min(${c})`, `quantile_cont(${c}, [0.25, 0.5, 0.75])`, `max(${c})`]);
const sql = `SELECT ${parts.join(', ')} FROM read_csv('${process.argv[2]}')`;
const connection = await (await DuckDBInstance.create(':memory:')).connect();
const start = performance.now();
await connection.runAndReadAll(sql);
console.log((performance.now() - start) / 1000);
""" % COLUMNS


def make_csv(path, rows):
    if path.exists():
        return
    print(f"making {path} ({rows} rows)", file=sys.stderr)
    rng = np.random.default_rng(13)
    frame = pd.DataFrame({
        "normal": rng.normal(0.0, 1.0, rows),
        "uniform": rng.uniform(-100.0, 100.0, rows),
        "exponential": rng.exponential(3.0, rows),
        "offset": 1e7 + rng.normal(0.0, 1.0, rows),
    })
    frame.to_csv(path.with_suffix(".tmp"), index=False)
    path.with_suffix(".tmp").rename(path)


def tessel_binary():
    binary = ROOT / "build/release/bin/tessel"
    subprocess.run(["cmake", "--preset", "release"], cwd=ROOT, check=True,
                   stdout=subprocess.DEVNULL)
    subprocess.run(["cmake", "--build", "--preset", "release", "--target", "tessel"], cwd=ROOT,
                   check=True, stdout=subprocess.DEVNULL)
    return binary


def duckdb_folder(work):
    folder = work / "duckdb"
    if not (folder / "node_modules/@duckdb/node-api").exists():
        print(f"installing @duckdb/node-api into {folder}", file=sys.stderr)
        folder.mkdir(parents=True, exist_ok=True)
        subprocess.run(["npm", "install", "--no-audit", "--no-fund", "--prefix", str(folder),
                        "@duckdb/node-api"], check=True, stdout=subprocess.DEVNULL)
    (folder / "query.mjs").write_text(DUCKDB_QUERY)
    return folder


def children_cpu():
    usage = resource.getrusage(resource.RUSAGE_CHILDREN)
    return usage.ru_utime + usage.ru_stime


def best_of(runs, run):
    """The (seconds, CPU seconds) of the fastest of `runs` calls of run(), which returns the
    seconds it measured itself, or None for its wall time."""
    best = (float("inf"), 0.0)
    for _ in range(runs):
        wall, cpu = time.perf_counter(), children_cpu() + time.process_time()
        reported = run()
        wall = time.perf_counter() - wall
        cpu = children_cpu() + time.process_time() - cpu
        best = min(best, (wall if reported is None else reported, cpu))
    return best


def process_seconds(command, runs):
    def run():
        subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
    return best_of(runs, run)


def reported_seconds(command, runs, cwd=None):
    return best_of(runs, lambda: float(subprocess.run(
        command, check=True, capture_output=True, text=True, cwd=cwd).stdout.split()[-1]))


def pandas_seconds(path, runs):
    def query():
        frame = pd.read_csv(path)
        frame.describe()
        frame.skew()
        frame.kurt()
    return best_of(runs, query)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--rows", type=int, default=2_000_000)
    parser.add_argument("--runs", type=int, default=5, help="runs of the fast tools (best kept)")
    parser.add_argument("--work", type=Path, default=ROOT / "build/bench/tools",
                        help="where the CSV and DuckDB are kept")
    options = parser.parse_args()
    options.work.mkdir(parents=True, exist_ok=True)
    csv = options.work / f"numeric_{options.rows}x4.csv"
    make_csv(csv, options.rows)
    megabytes = csv.stat().st_size / 1e6
    tessel = tessel_binary()
    duckdb = duckdb_folder(options.work)
    fields = ",".join(str(k) for k in range(1, len(COLUMNS) + 1))
    slow_runs = max(1, options.runs // 3)

    timings = [
        ("tessel describe (CPU device)",
         process_seconds([str(tessel), "describe", str(csv), "--device", "cpu"], options.runs)),
        ("DuckDB (@duckdb/node-api)",
         reported_seconds(["node", "query.mjs", str(csv)], options.runs, cwd=duckdb)),
        ("pandas read_csv + describe + skew + kurt", pandas_seconds(csv, slow_runs)),
    ]
    if shutil.which("datamash"):
        operations = [word for op in ("count", "mean", "svar", "sstdev", "sskew", "skurt", "min",
                                      "q1", "median", "q3", "max") for word in (op, fields)]
        timings.append(("GNU datamash", process_seconds(
            ["sh", "-c", f"datamash -t, --header-in {' '.join(operations)} < '{csv}'"], 1)))
    if shutil.which("mlr"):
        timings.append(("Miller", process_seconds(
            ["mlr", "--icsv", "--ojson", "stats1", "-i", "-a",
             "count,mean,var,stddev,skewness,kurtosis,min,p25,median,p75,max", "-f",
             ",".join(COLUMNS), str(csv)], 1)))

    ours = timings[0][1][0]
    print(f"{csv}: {megabytes:.1f} MB, {options.rows} rows of {len(COLUMNS)} columns, "
          f"{os.cpu_count()} cores, load average {os.getloadavg()[0]:.1f}")
    print(f"{'':42} {'seconds':>8} {'CPU s':>8} {'MB/s':>8} {'tessel is':>10}")
    for name, (seconds, cpu) in timings:
        ratio = "" if seconds == ours else f"{seconds / ours:.1f}x"
        print(f"{name:42} {seconds:8.3f} {cpu:8.3f} {megabytes / seconds:8.0f} {ratio:>10}")
    over_duckdb = timings[1][1][0] / ours
    over_pandas = timings[2][1][0] / ours
    print("targets:")
    print(f"  {TARGET_MB_PER_S} MB/s end to end: {megabytes / ours:.0f} MB/s, "
          f"{'met' if megabytes / ours >= TARGET_MB_PER_S else 'missed'}")
    print(f"  {TARGET_OVER_DUCKDB}x DuckDB: {over_duckdb:.1f}x, "
          f"{'met' if over_duckdb >= TARGET_OVER_DUCKDB else 'missed'}")
    print(f"  {TARGET_OVER_PANDAS}x pandas: {over_pandas:.1f}x, "
          f"{'met' if over_pandas >= TARGET_OVER_PANDAS else 'missed'}")


if __name__ == "__main__":
    main()

#!/usr/bin/env python3
"""Ratios of the conversions between numbers and texts.

    bench/compare_numbers.py BUILD [ROUNDS]

Runs bench_numbers of a build folder, and PHP and Python where they are installed, in
turns; PHP and Python convert the numbers of bench_numbers. Each time is the median of
all rounds, and what a language's empty loop takes is not counted. Printed are ratios
only: the first column of a table is the unit.
"""

import json
import shutil
import statistics
import subprocess
import sys
import tempfile
from pathlib import Path

KINDS = ["short", "price", "digits17", "bits", "integer"]

PHP = r"""
$numbers = array_map('floatval', file($argv[1], FILE_IGNORE_NEW_LINES));
$best = INF;
for ($pass = 0; $pass < 7; ++$pass) {
    $start = hrtime(true);
    foreach ($numbers as $number) {
        $value = $number;
    }
    $empty = hrtime(true);
    foreach ($numbers as $number) {
        $text = (string)$number;
        $value = (float)$text;
    }
    $best = min($best, hrtime(true) - $empty - ($empty - $start));
}
echo $best / count($numbers), "\n";
"""

PYTHON = r"""
import sys, time
numbers = [float(line) for line in open(sys.argv[1])]
def empty():
    for number in numbers:
        value = number
def pairs():
    for number in numbers:
        text = repr(number)
        value = float(text)
def timed(run):
    start = time.perf_counter_ns()
    run()
    return time.perf_counter_ns() - start
print(min(timed(pairs) - timed(empty) for _ in range(7)) / len(numbers))
"""


def run(command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def time_ours(program, times):
    options = ["--benchmark_format=json", "--benchmark_min_time=0.02",
               "--benchmark_repetitions=3", "--benchmark_enable_random_interleaving=true"]
    for result in json.loads(run([program, *options]))["benchmarks"]:
        if result["run_type"] == "iteration":
            times.setdefault(result["name"], []).append(result["ns"])


def time_others(folder, times):
    others = {}
    if shutil.which("php"):
        # The shortest text; without this PHP writes 14 digits.
        others["php"] = ["php", "-n", "-d", "precision=-1", "-r", PHP, "--"]
    others["python3"] = [sys.executable, "-c", PYTHON]
    for name, command in others.items():
        for kind in KINDS:
            times.setdefault(f"pair/{name}/{kind}", []).append(
                float(run([*command, str(folder / kind)])))


def print_table(times, what, kinds, columns):
    print(f"{what:<10}" + "".join(f"{column:>10}" for column in columns))
    for kind in kinds:
        row = [times.get(f"{what}/{column}/{kind}") for column in columns]
        cells = [f"{time / row[0]:>10.2f}" if time else f"{'-':>10}" for time in row]
        print(f"{kind:<10}" + "".join(cells))
    print()


def main():
    program = Path(sys.argv[1]) / "bin" / "bench_numbers"
    rounds = int(sys.argv[2]) if len(sys.argv) > 2 else 5
    times = {}
    with tempfile.TemporaryDirectory() as name:
        folder = Path(name)
        for kind in KINDS:
            (folder / kind).write_text(run([program, "texts", kind]))
        for _ in range(rounds):
            time_ours(program, times)
            time_others(folder, times)
    medians = {name: statistics.median(values) for name, values in times.items()}
    print_table(medians, "write", KINDS, ["library", "dtos", "buffer"])
    print_table(medians, "read", KINDS, ["library", "stod", "strtod"])
    print_table(medians, "pair", KINDS, ["library", "dtos", "buffer", "php", "python3"])
    print_table(medians, "write", ["int"], ["library", "itos", "buffer"])
    print_table(medians, "read", ["int"], ["library", "stoi"])


if __name__ == "__main__":
    if len(sys.argv) < 2:
        sys.exit(__doc__.strip())
    main()

#!/usr/bin/env python3
"""Counts the instructions of each case of bench_values, under callgrind.

    bench/count_values.py BUILD [REGEX]

Each case runs twice, the second time for twice as many rounds; the difference of the counts
is what the rounds take, whatever setting up costs.
"""

import json
import os
import re
import subprocess
import sys
import tempfile

# Rounds of cases that are one operation, and of those that are thousands.
SHORT = 1000
LONG = 2


def cases(program, pattern):
    listed = subprocess.run([program, "--benchmark_list_tests"], check=True, text=True,
                            capture_output=True).stdout.split()
    return [name for name in listed if re.search(pattern, name)]


def run(program, case, rounds):
    """The instructions of one run, and how many items a round works on."""
    with tempfile.NamedTemporaryFile() as out:
        finished = subprocess.run(
            ["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null", program,
             f"--benchmark_filter=^{case}(/|$)", f"--benchmark_out={out.name}"],
            check=True, text=True, capture_output=True,
            env=dict(os.environ, BENCH_ROUNDS=str(rounds)))
        result = json.load(open(out.name))["benchmarks"][0]
    instructions = int(re.search(r"Collected : (\d+)", finished.stderr).group(1))
    items = result.get("items_per_second", 0) * result["cpu_time"] * 1e-9
    return instructions, max(1, round(items))


def main():
    if len(sys.argv) not in (2, 3) or sys.argv[1].startswith("-"):
        sys.exit(__doc__)
    program = sys.argv[1] + "/bin/bench_values"
    for case in cases(program, sys.argv[2] if len(sys.argv) == 3 else ""):
        rounds = LONG if case.startswith("Array") else SHORT
        few, items = run(program, case, rounds)
        many, _ = run(program, case, 2 * rounds)
        print(f"{case:36} {(many - few) / (rounds * items):10.1f}", flush=True)


if __name__ == "__main__":
    main()

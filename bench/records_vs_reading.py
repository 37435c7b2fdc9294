#!/usr/bin/env python3
"""Whole programs side by side: `icalsync records --count` on a store of one-event files, and a program that opens,
reads and closes the same files. Both run in turn, several times; the medians of processor time and of the clock and
their ratios are printed. A busy machine stretches the clock, so the ratio of processor time is the one to go by.

    records_vs_reading.py PROGRAM_DIR BENCH_DIR [--events N] [--rounds N]
"""
import argparse
import os
import shutil
import statistics
import subprocess
import sys

from processes import measured


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("program_dir")
    parser.add_argument("bench_dir")
    parser.add_argument("--events", type=int, default=10000)
    parser.add_argument("--rounds", type=int, default=11)
    arguments = parser.parse_args()

    home = subprocess.run([os.path.join(arguments.bench_dir, "make_store"), str(arguments.events)],
                          stdout=subprocess.PIPE, check=True).stdout.decode().strip()
    commands = {
        "read_files": [os.path.join(arguments.bench_dir, "read_files"), home],
        "icalsync records --count":
            [os.path.join(arguments.program_dir, "icalsync"), "--home", home, "--json", "records", "--count"],
    }
    runs = {name: [] for name in commands}
    try:
        for _ in range(arguments.rounds):
            for name, command in commands.items():
                (processor, clock, _), said = measured(command)
                if str(arguments.events) not in said:
                    sys.exit(f"{name} said {said}")
                runs[name].append((processor, clock))
    finally:
        shutil.rmtree(home)

    medians = {name: [statistics.median(column) for column in zip(*values)] for name, values in runs.items()}
    for name, (processor, clock) in medians.items():
        print(f"{name:28} {processor * 1000:8.1f} ms processor {clock * 1000:8.1f} ms clock"
              f"  (medians of {arguments.rounds}, {arguments.events} files)")
    ratios = [loading / reading for loading, reading in zip(medians["icalsync records --count"], medians["read_files"])]
    print(f"ratio {ratios[0]:.2f} processor, {ratios[1]:.2f} clock")


main()

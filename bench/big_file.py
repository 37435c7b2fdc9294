#!/usr/bin/env python3
"""One big file of the 10.4 layout: how fast a calendar loads it, and how much memory it takes at its peak, beside
libical and beside reading the file alone. Each runs in a process of its own, in turn, several times; the medians are
printed. Rates are by processor time, because a busy machine stretches the clock, and by the clock; the peak is the
whole process's, as the kernel counts it.

    big_file.py BENCH_DIR [--megabytes N] [--rounds N]
"""
import argparse
import os
import shutil
import statistics
import subprocess
import sys

from processes import measured

WAYS = ("read", "libical", "calendar")


def loaded(command):
    """What the program printed, and the bytes of memory it held at its peak."""
    (_, _, peak), said = measured(command)
    events, size, processor, clock = said.split()
    return int(events), int(size), float(processor), float(clock), peak


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("bench_dir")
    parser.add_argument("--megabytes", type=int, default=100)
    parser.add_argument("--rounds", type=int, default=5)
    arguments = parser.parse_args()

    program = os.path.join(arguments.bench_dir, "load_big_file")
    home = subprocess.run([os.path.join(arguments.bench_dir, "make_store"), "--big", str(arguments.megabytes)],
                          stdout=subprocess.PIPE, check=True).stdout.decode().strip()
    try:
        runs = {way: [] for way in WAYS}
        for _ in range(arguments.rounds):
            for way in WAYS:
                runs[way].append(loaded([program, way, home]))
    finally:
        shutil.rmtree(home)

    size = runs["calendar"][0][1]
    counts = {way: {run[0] for run in runs[way]} for way in ("libical", "calendar")}
    if counts["libical"] != counts["calendar"]:
        sys.exit(f"not the same events: {counts}")
    print(f"{size / 1e6:.1f} MB, {counts['calendar'].pop()} events, medians of {arguments.rounds}")
    rates = {}
    for way in WAYS:
        processor, clock, peak = (statistics.median(column) for column in list(zip(*runs[way]))[2:])
        rates[way] = size / processor
        print(f"{way:9} {size / processor / 1e6:8.1f} MB/s processor  {size / clock / 1e6:8.1f} MB/s clock"
              f"  peak {peak / 1e6:7.1f} MB = {peak / size:5.2f} times the file")
    print(f"calendar {rates['calendar'] / rates['libical']:.2f} times as fast as libical")


main()

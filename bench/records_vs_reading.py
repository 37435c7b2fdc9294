#!/usr/bin/env python3
"""Whole programs side by side: `icalsync records --count` on a store of one-event files, and a program that opens,
reads and closes the same files. Both run in turn, several times; the medians and their ratio are printed.

    records_vs_reading.py PROGRAM_DIR BENCH_DIR [--events N] [--rounds N]
"""
import argparse
import os
import shutil
import statistics
import subprocess
import sys
import time


def seconds(command):
    start = time.perf_counter()
    result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=True)
    return time.perf_counter() - start, result.stdout.decode()


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("program_dir")
    parser.add_argument("bench_dir")
    parser.add_argument("--events", type=int, default=10000)
    parser.add_argument("--rounds", type=int, default=7)
    arguments = parser.parse_args()

    home = subprocess.run([os.path.join(arguments.bench_dir, "make_store"), str(arguments.events)],
                          stdout=subprocess.PIPE, check=True).stdout.decode().strip()
    try:
        reading = [os.path.join(arguments.bench_dir, "read_files"), home]
        records = [os.path.join(arguments.program_dir, "icalsync"), "--home", home, "--json", "records", "--count"]
        times = {"read_files": [], "icalsync records --count": []}
        for _ in range(arguments.rounds):
            took, said = seconds(reading)
            times["read_files"].append(took)
            if int(said.split()[0]) < arguments.events:
                sys.exit("read_files saw " + said)
            took, said = seconds(records)
            times["icalsync records --count"].append(took)
            if str(arguments.events) not in said:
                sys.exit("icalsync counted " + said)
    finally:
        shutil.rmtree(home)

    medians = {name: statistics.median(values) for name, values in times.items()}
    for name, median in medians.items():
        print(f"{name:28} {median * 1000:8.1f} ms  (median of {arguments.rounds}, {arguments.events} files)")
    print(f"ratio {medians['icalsync records --count'] / medians['read_files']:.2f}")


main()

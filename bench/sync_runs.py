#!/usr/bin/env python3
"""Whole runs side by side: `icalsync sync` with nothing to do, `icalsync sync` that brings one changed event in a hundred
down, or sends as many, and `icalsync records --count`, which loads the same store. They run in turn, several times; the
medians of processor time and of the clock, their ratios to loading, the largest peak of memory and the files that a run
touched are printed. Only the run that sends makes a dated backup: before the others the store stands as one was made of it.

    sync_runs.py PROGRAM_DIR BENCH_DIR [--events N] [--rounds N]
"""
import argparse
import os
import pathlib
import shutil
import statistics
import subprocess
import tempfile

from processes import measured


def cost(command):
    """As `measured` has it, the memory in megabytes."""
    (processor, clock, peak), _ = measured(command)
    return processor, clock, peak / 2**20


def files(home):
    """Every file of the store and of the dated backups, with what tells a file that was written anew."""
    found = {}
    for folder in ("Library/Calendars", "Library/Application Support/VeloraSuite/Backups"):
        for path in (home / folder).rglob("*"):
            if path.is_file():
                status = path.stat()
                found[path] = (status.st_ino, status.st_mtime_ns)
    return found


def touched(before, after):
    return sum(1 for path in before.keys() | after.keys() if before.get(path) != after.get(path))


class Homes:
    def __init__(self, program, made, folder):
        self.program = program
        self.home, self.other = folder / "A", folder / "B"
        shutil.move(made, self.home)
        (self.other / "Library/Calendars").mkdir(parents=True)
        self.server = f"sqlite:{folder / 'server.db'}"

    def sync(self, home):
        return [self.program, "--home", str(home), "--server", self.server, "--device", home.name, "--quiet", "sync"]

    def count(self):
        return [self.program, "--home", str(self.home), "--json", "records", "--count"]

    def edit(self, home, number):
        """Gives every hundredth event of a home another place."""
        for path in sorted((home / "Library/Calendars").rglob("Events/*.ics"))[::100]:
            lines = [line for line in path.read_bytes().split(b"\r\n") if not line.startswith(b"LOCATION:")]
            lines.insert(lines.index(b"BEGIN:VEVENT") + 1, b"LOCATION:Raum %d" % number)
            path.write_bytes(b"\r\n".join(lines))

    def prepare(self, run, number):
        """What happens before a run that has something to do."""
        if run.endswith("comes down"):
            cost(self.sync(self.other))
            self.edit(self.other, number)
            cost(self.sync(self.other))
        elif run.endswith("goes up"):
            self.edit(self.home, -number)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("program_dir")
    parser.add_argument("bench_dir")
    parser.add_argument("--events", type=int, default=10000)
    parser.add_argument("--rounds", type=int, default=7)
    arguments = parser.parse_args()

    made = subprocess.run([os.path.join(arguments.bench_dir, "make_store"), str(arguments.events)],
                          stdout=subprocess.PIPE, check=True).stdout.decode().strip()
    folder = pathlib.Path(tempfile.mkdtemp(prefix="icalsync-bench-"))
    try:
        homes = Homes(os.path.join(arguments.program_dir, "icalsync"), made, folder)
        runs = {"records --count": [], "sync, nothing changed": [], "sync, 1 in 100 comes down": [],
                "sync, 1 in 100 goes up": []}
        once = {"sync, first push": cost(homes.sync(homes.home)), "sync, first pull": cost(homes.sync(homes.other))}
        counts = {}
        cost(homes.sync(homes.home))
        for number in range(arguments.rounds):
            runs["records --count"].append(cost(homes.count()))
            for name in list(runs)[1:]:
                homes.prepare(name, number + 1)
                before = files(homes.home)
                runs[name].append(cost(homes.sync(homes.home)))
                counts[name] = touched(before, files(homes.home))
            cost(homes.sync(homes.home))  # the backup of the store as it is now
    finally:
        shutil.rmtree(folder)

    medians = {name: [statistics.median(column) for column in zip(*values)] for name, values in runs.items()}
    load = medians["records --count"]
    for name, (processor, clock, _) in medians.items():
        peak = max(run[2] for run in runs[name])
        print(f"{name:28} {processor * 1000:8.1f} ms processor ({processor / load[0]:4.2f})"
              f" {clock * 1000:8.1f} ms clock ({clock / load[1]:4.2f}) {peak:6.0f} MB"
              + (f"  {counts[name]} files touched" if name in counts else ""))
    for name, (processor, clock, peak) in once.items():
        print(f"{name:28} {processor * 1000:8.1f} ms processor        {clock * 1000:8.1f} ms clock        {peak:6.0f} MB")


if __name__ == "__main__":
    main()

#!/usr/bin/env python3
"""What it costs that the host knows each text by what the store itself knows it by: runs with and without its optional class
of identities over the same store, in instructions, which other work on the machine does not change, and in time.

    identity_cost.py BUILD_DIR [--events N] [--rounds N]

Two homes push a store of N one-event files for the first time, one of them without identities; then both run with nothing
to do. Instructions of the program and of the plug-in are counted by valgrind, so that N has to stay small; it knows no
instructions for digests, which count for more there than on a processor that has them. The medians of processor time are
of runs in turn, with nothing to do.
"""
import argparse
import pathlib
import re
import shutil
import statistics
import subprocess
import sys
import tempfile

from processes import measured


def instructions(command):
    with tempfile.NamedTemporaryFile() as out:
        done = subprocess.run(["valgrind", "--tool=callgrind", f"--callgrind-out-file={out.name}", *command],
                              capture_output=True, text=True, check=False)
    counted = re.search(r"Collected : (\d+)", done.stderr)
    if done.returncode != 0 or not counted:
        sys.exit(f"{command} ends with {done.returncode}:\n{done.stdout}{done.stderr}")
    return int(counted[1])


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build_dir", type=pathlib.Path)
    parser.add_argument("--events", type=int, default=2000)
    parser.add_argument("--rounds", type=int, default=25)
    arguments = parser.parse_args()
    programs = arguments.build_dir / "bench/bin"
    made = subprocess.run([programs / "make_store", str(arguments.events)], capture_output=True, text=True,
                          check=True).stdout.strip()
    folder = pathlib.Path(tempfile.mkdtemp(prefix="icalsync-bench-"))
    try:
        shutil.move(made, folder / "with")
        shutil.copytree(folder / "with", folder / "without", symlinks=True)
        counts = {}
        commands = {kind: [programs / "sync_once", arguments.build_dir / "ICalSyncPlugin.bundle", folder / kind,
                           f"sqlite:{folder / kind}.sqlite", kind] for kind in ("with", "without")}
        for kind, command in commands.items():
            counts[kind] = {"first push": instructions(command)}
            subprocess.run(command, check=True)  # after the first one a load is compared once more
            counts[kind]["nothing changed"] = instructions(command)
        times = {kind: [] for kind in commands}
        for _ in range(arguments.rounds):
            for kind, command in commands.items():
                times[kind].append(measured(command)[0][0] * 1000)
    finally:
        shutil.rmtree(folder)
    for run, without in counts["without"].items():
        with_it = counts["with"][run]
        print(f"{run:16} {without / 1e6:10.1f} million without, {with_it / 1e6:10.1f} with: {with_it / without - 1:+.1%}")
    without, with_it = (statistics.median(times[kind]) for kind in ("without", "with"))
    print(f"{'nothing changed':16} {without:10.1f} ms without,      {with_it:10.1f} with: {with_it / without - 1:+.1%}")


if __name__ == "__main__":
    main()

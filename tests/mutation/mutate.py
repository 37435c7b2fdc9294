#!/usr/bin/env python3
"""Makes small slips in the sources of an area, one at a time, and looks whether the tests see them.

    mutate.py BUILD_DIR [--area AREA] [--count N] [--seed S] [--file PART]... [--line N] [--list]

N places of the area (engine, plugin, calendar or additions), or N of each PART that names of its files have in them, are
picked by the seed, which is printed: a comparison or a logical operator turned into another one, a condition negated, a `!`
dropped, a number off by one, a call left out. The changed source is compiled in a folder of its own and put before the
library when a test program is linked there, so sources and build folder stay as they are; the build has to be up to date.
The area's own quick tests run first; what they do not see is shown to its slow ones and to the programs that build on it.
Survivors are printed with file, line and change.

Not part of the tests: each slip costs a compilation, a link and up to a whole run of the tests.
"""
import argparse
import json
import os
import pathlib
import random
import shlex
import subprocess
import sys
import tempfile
from dataclasses import dataclass

from places import places_in

ROOT = pathlib.Path(__file__).resolve().parents[2]


@dataclass(frozen=True)
class Area:
    folder: str
    library: str
    runs: list  # of (program, filter); the slow ones last: most slips are seen before


SLOW_OF_CALENDAR = "*Archive*:*Corpus*:*RapidCheck*:*CostsOneStep*:NodeTreeDepth*:*LoadCut*"
AREAS = {
    "engine": Area("Sync/Host/Engine", "lib/libKTEngine.a",
                   [("test_host_engine", "-*Random*:*Fault*:*RapidCheck*"),
                    ("test_host_engine", "*Random*:*Fault*:*RapidCheck*"),
                    ("test_host_services", "*"), ("test_host_command", "*")]),
    "plugin": Area("Sync/PlugIns/iCal", "lib/libICalPlugin.a",
                   [("test_ical", "*")]),
    "calendar": Area("Sync/PlugIns/iCal/Calendar", "lib/libICalCalendar.a",
                     [("test_ical_calendar", f"-{SLOW_OF_CALENDAR}"), ("test_ical", "*"),
                      ("test_ical_calendar", SLOW_OF_CALENDAR), ("test_interoperability", "*")]),
    "additions": Area("Sync/Additions", "lib/libKTAdditions.a",
                      [("test_additions", "*"), ("test_ical_calendar", f"-{SLOW_OF_CALENDAR}")]),
}
TOO_LONG = 300  # seconds: a run that does not end has noticed something


class Builder:
    def __init__(self, build, folder, library):
        self.build, self.folder, self.library = build, folder, library
        commands = json.loads((build / "compile_commands.json").read_text(encoding="utf-8"))
        self.compilers = {os.path.relpath(each["file"], ROOT): each for each in commands}
        self.links = {}

    def is_in_library(self, file):
        """A source may belong to another target, which no test program links."""
        target = pathlib.Path(self.library).stem.removeprefix("lib")
        return f"/{target}.dir/" in self.compilers[file]["command"]

    def compile(self, place):
        """The object file of the changed source, or None where it is no C++ any more."""
        source = self.folder / pathlib.Path(place.file).name
        source.write_text(place.applied((ROOT / place.file).read_text(encoding="utf-8")), encoding="utf-8")
        entry = self.compilers[place.file]
        words = shlex.split(entry["command"])
        words[words.index("-o") + 1] = str(self.folder / "changed.o")
        words[words.index("-c") + 1] = str(source)
        done = subprocess.run([word for word in words if not word.endswith("/ccache")] + ["-w"], cwd=entry["directory"],
                              capture_output=True, check=False)
        return self.folder / "changed.o" if done.returncode == 0 else None

    def link(self, program, changed):
        """The test program with the changed object in front of the library that holds the right one."""
        if program not in self.links:
            shown = subprocess.run(["ninja", "-t", "commands", f"tests/bin/{program}"], cwd=self.build,
                                   capture_output=True, text=True, check=True)
            self.links[program] = shlex.split(shown.stdout.splitlines()[-1])[2:-2]
        linked = self.folder / program
        words = [str(changed) if word == "@" else word for word in with_mark(self.links[program], self.library)]
        words[words.index("-o") + 1] = str(linked)
        rpath = f"-Wl,-rpath,{self.build / 'lib'}"
        subprocess.run([*words, rpath], cwd=self.build, check=True, capture_output=True)
        return linked


def with_mark(words, library):
    place = words.index(library)
    return [*words[:place], "@", *words[place:]]


def is_seen(linked, filter_):
    environment = dict(os.environ, RC_PARAMS="seed=20071224", GTEST_FAIL_FAST="1")
    try:
        done = subprocess.run([linked, f"--gtest_filter={filter_}", "--gtest_brief=1"], capture_output=True,
                              env=environment, timeout=TOO_LONG, check=False)
    except subprocess.TimeoutExpired:
        return True
    return done.returncode != 0


def who_sees(builder, changed, runs):
    """The program whose tests fail, or None."""
    for program, filter_ in runs:
        if is_seen(builder.link(program, changed), filter_):
            return program
    return None


def all_places(area, builder, part, line):
    """Those of the files that have the part in their names, as it is written there."""
    places = []
    for path in sorted((ROOT / area.folder).glob("*.cpp")):
        name = path.relative_to(ROOT).as_posix()
        if part in name and builder.is_in_library(name):
            places += [place for place in places_in(name, path.read_text(encoding="utf-8"))
                       if line in (None, place.line)]
    return places


def picked(groups, count, chance):
    """That many of each group, none twice."""
    return list(dict.fromkeys(place for places in groups for place in chance.sample(places, min(count, len(places)))))


def parsed():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("--area", choices=AREAS, default="engine")
    parser.add_argument("--count", type=int, default=30)
    parser.add_argument("--seed", type=int, default=random.randrange(10**6))
    parser.add_argument("--file", action="append", dest="parts", metavar="PART")
    parser.add_argument("--line", type=int)
    parser.add_argument("--list", action="store_true")
    return parser.parse_args()


def check_unchanged(builder, place, runs):
    """What is said of slips means nothing where the tests fail without one."""
    words = shlex.split(builder.compilers[place.file]["command"])
    right = builder.build / words[words.index("-o") + 1]
    program = who_sees(builder, right, runs)
    if program:
        sys.exit(f"{program} fails without any slip; is the build up to date?")


def main():
    options = parsed()
    area = AREAS[options.area]
    with tempfile.TemporaryDirectory(prefix="kt-mutation-") as folder:
        builder = Builder(options.build.resolve(), pathlib.Path(folder), area.library)
        groups = [all_places(area, builder, part, options.line) for part in options.parts or [""]]
        if options.list:
            print("\n".join(str(place) for places in groups for place in places))
            return 0
        chosen = picked(groups, options.count, random.Random(options.seed))
        if not chosen:
            sys.exit("no places")
        print(f"{sum(map(len, groups))} places, {len(chosen)} of them with --seed {options.seed}", flush=True)
        check_unchanged(builder, chosen[0], area.runs)
        return try_out(builder, chosen, area.runs)


def try_out(builder, chosen, runs):
    counts = {"seen": 0, "survived": 0, "not compiled": 0}
    for place in chosen:
        changed = builder.compile(place)
        program = who_sees(builder, changed, runs) if changed else None
        outcome = "not compiled" if not changed else "seen" if program else "survived"
        counts[outcome] += 1
        print(f"{outcome:12} {place}" + (f" ({program})" if program else ""), flush=True)
    print(", ".join(f"{number} {outcome}" for outcome, number in counts.items()))
    return 1 if counts["survived"] else 0


if __name__ == "__main__":
    sys.exit(main())

#!/usr/bin/env python3
"""Kills the program at every system call that changes something on disk, in turn, and looks whether everything comes right.

    torture.py [--scenario NAME] [--call N] [--share K --seed S] [--fail EIO|ENOSPC] [--jobs J]

After each kill the killed home and the other one run until they have no news, at most four times. Then both have to hold
what they hold after a run that was not killed: every record, every line that no record holds, what nobody edited byte for
byte; nothing doubled; each run ended with 0; and the last ones touched no file.

    push-HERE          the first run of a full home to an empty server; the other home has the other layout
    meet-HERE-THERE    a home with calendars of its own meets a full server
    pull-HERE-THERE    a home with edits and a damaged text of its own brings down every kind of change
    heal-HERE-THERE    such a run was killed in the middle of the store; the next one is killed
    settle-HERE-THERE  such a run was killed between the store and its settling; the next one is killed

HERE and THERE are 10.4 or 10.5; the home that is killed stands first. --call N makes one kill of one scenario, --share K
about every K-th, which ones is told by --seed. With --fail nothing is killed: from the N-th call on all of them fail.
KT_SOURCE_DIR and KT_PROGRAM_DIR say where the sources and the programs are.
"""
import argparse
import concurrent.futures
import itertools
import random
import re
import sys
import time

import household
from checks import Outcome, check_reference, check_untouched, come_to_rest
from stage import Failure, Stage

LAYOUTS = ("10.4", "10.5")
OTHER = {"10.4": "10.5", "10.5": "10.4"}
NAMES = [f"push-{here}" for here in LAYOUTS] + [
    f"{kind}-{here}-{there}" for kind in ("meet", "pull", "heal", "settle")
    for here, there in itertools.product(LAYOUTS, repeat=2)]


def push(stage):
    household.fill(stage.here)
    household.damage(stage.here)


def meet(stage):
    household.fill(stage.there)
    household.fill_a_little(stage.here)
    stage.sync(stage.there)


def pull(stage):
    household.fill(stage.here)
    for home in (stage.here, stage.there, stage.here):
        stage.sync(home)
    household.edit_there(stage.there)
    stage.sync(stage.there)
    household.edit_here(stage.here)


def cut_once(stage, kind):
    """The run that comes before is killed: halfway through its changes of the store, or just after the last of them."""
    stage.save()
    places = [number for number, call in enumerate(stage.calls(), 1) if str(stage.here.store) in call]
    stage.put_back()
    if not stage.kill_at(places[len(places) // 2] if kind == "heal" else places[-1] + 1):
        raise Failure("the run to be killed before has ended")


def plain(call):
    """Without the numbers of processes and the moments that names are made of."""
    return re.sub(r"\.tmp-\d+|-\d{4}-\d\d-\d\dT[\d-]+Z", "", call or "")


class Scenario:
    """A name, the homes made ready for it, and what comes out when nothing is killed."""

    def __init__(self, name):
        self.name = name
        kind, here, *there = name.split("-")
        self.stage = Stage(here, there[0] if there else OTHER[here])
        {"push": push, "meet": meet}.get(kind, pull)(self.stage)
        self.untouched = household.untouched_texts(self.stage.here)
        self.make_reference(unread=() if kind in ("push", "meet") else household.UNREAD)
        if kind in ("heal", "settle"):
            self.stage.put_back()
            cut_once(self.stage, kind)
            self.stage.save()
        else:
            self.stage.put_back()
        self.calls = self.stage.calls()
        self.tell_of_variation()

    def tell_of_variation(self):
        """Calls are told by their number: that means something only as long as each run makes the same ones."""
        self.stage.put_back()
        for number, (one, other) in enumerate(itertools.zip_longest(self.calls, self.stage.calls()), 1):
            if plain(one) != plain(other):
                print(f"{self.name}: two runs differ from call {number} on: {one} / {other}", flush=True)
                return

    def make_reference(self, unread):
        self.stage.save()
        come_to_rest(self.stage)
        self.expected = Outcome(self.stage)
        check_reference(self.stage, self.expected, unread)

    def check_after(self, number, error=None):
        """Why it is not right after a kill at this call, or None."""
        self.stage.put_back()
        try:
            if error:
                self.stage.fail_from(number, error)
            elif not self.stage.kill_at(number):
                raise Failure("the run ended before that call")
            come_to_rest(self.stage)
            check_untouched(self.stage, self.untouched)
            Outcome(self.stage).check_same(self.expected)
        except (Failure, AssertionError) as failure:
            return str(failure)
        return None

    def numbers(self, share, seed):
        """The calls to try: all, or one of each K that follow each other."""
        pick = random.Random(f"{seed} {self.name}")
        return [pick.randrange(first, min(first + share, len(self.calls) + 1))
                for first in range(1, len(self.calls) + 1, share)]


def try_scenario(name, options):
    """(Calls, kills, failures) of one scenario; failures are printed as they come."""
    scenario = Scenario(name)
    start = time.monotonic()
    try:
        numbers = [options.call] if options.call else scenario.numbers(options.share, options.seed)
        failures = 0
        for number in numbers:
            wrong = scenario.check_after(number, options.fail)
            if wrong:
                failures += 1
                print(f"{name}: call {number} ({scenario.calls[number - 1]}): {wrong}\n"
                      f"    again: --scenario {name} --call {number}" + (f" --fail {options.fail}" if options.fail else ""),
                      flush=True)
    finally:
        scenario.stage.remove()
    print(f"{name:18} {len(scenario.calls):5} calls {len(numbers):5} {'faults' if options.fail else 'kills'}"
          f" {failures:4} failures {time.monotonic() - start:6.0f} s", flush=True)
    return len(scenario.calls), len(numbers), failures


def parsed(arguments):
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--scenario", choices=NAMES, action="append", metavar="NAME")
    parser.add_argument("--call", type=int, metavar="N")
    parser.add_argument("--share", type=int, default=1, metavar="K")
    parser.add_argument("--seed", type=int, default=0, metavar="S")
    parser.add_argument("--fail", choices=("EIO", "ENOSPC"))
    parser.add_argument("--jobs", type=int, default=1, metavar="J")
    return parser.parse_args(arguments)


def main(arguments=None):
    options = parsed(arguments)
    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        counts = list(pool.map(lambda name: try_scenario(name, options), options.scenario or NAMES))
    calls, tries, failures = (sum(column) for column in zip(*counts))
    print(f"{'together':18} {calls:5} calls {tries:5} {'faults' if options.fail else 'kills'} {failures:4} failures")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())

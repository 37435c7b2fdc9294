#!/usr/bin/env python3
"""Kills the program at every system call that changes something on disk, in turn, and looks whether everything comes right.

    torture.py [--scenario NAME] [--call N] [--share K --seed S] [--fail ERROR | --fail-once ERROR] [--jobs J]

After each kill the killed home and the other one run until they have no news, at most four times. Then both have to hold
what they hold after a run that was not killed: every record, every line that no record holds, what nobody edited byte for
byte; nothing doubled; each run ended with 0; and the last ones touched no file.

    push-HERE          the first run of a full home to an empty server; the other home has the other layout
    first-HERE         the same where everything can be read
    meet-HERE-THERE    a home with calendars of its own meets a full server
    pull-HERE-THERE    a home with edits and a damaged text of its own brings down every kind of change
    bring-HERE-THERE   the same where everything can be read and this home deletes nothing
    heal-HERE-THERE    such a run was killed in the middle of the store; the next one is killed
    settle-HERE-THERE  such a run was killed between the store and its settling; the next one is killed

HERE and THERE are 10.4 or 10.5; the home that is killed stands first. --call N makes one kill of one scenario, --share K
about every K-th, which ones is told by --seed. With --fail nothing is killed: from the N-th call on all of them fail with
EIO, ENOSPC or EACCES. With --fail-once that call alone fails, and those that read something of the homes or the server
count as well. After such a run, too, what is said below has to hold, and of the run itself: it ends with 0 only where all
is done but what it names as unread, else with 1 and a reason; the store opens; each text that was there is in the store or
in a backup.
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
import faults
from checks import Outcome, check_reference, check_untouched, come_to_rest
from stage import Failure, Stage

LAYOUTS = ("10.4", "10.5")
OTHER = {"10.4": "10.5", "10.5": "10.4"}
NAMES = [f"push-{here}" for here in LAYOUTS] + [
    f"{kind}-{here}-{there}" for kind in ("meet", "pull", "heal", "settle")
    for here, there in itertools.product(LAYOUTS, repeat=2)]
# With text that cannot be read a fault may let more be read than without one, and what was deleted from a calendar that
# cannot be read for once comes back, as nobody can say that it was deleted.
OF_FAULTS = [f"first-{here}" for here in LAYOUTS] + [f"bring-{here}-{OTHER[here]}" for here in LAYOUTS]


def first(stage):
    household.fill(stage.here)


def push(stage):
    first(stage)
    household.damage(stage.here)


def meet(stage):
    household.fill(stage.there)
    household.fill_a_little(stage.here)
    stage.sync(stage.there)


def bring(stage):
    household.fill(stage.here)
    for home in (stage.here, stage.there, stage.here):
        stage.sync(home)
    household.edit_there(stage.there)
    stage.sync(stage.there)
    household.edit_a_little(stage.here)


def pull(stage):
    bring(stage)
    household.edit_more(stage.here)


MADE_READY = {"first": first, "push": push, "meet": meet, "bring": bring}


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
        MADE_READY.get(kind, pull)(self.stage)
        self.untouched = household.untouched_texts(self.stage.here, household.WAITING if kind == "bring" else ())
        self.make_reference(unread=household.UNREAD if MADE_READY.get(kind, pull) == pull else ())
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


class Tries:
    """What the options ask for, of one scenario."""

    def __init__(self, scenario, options):
        if options.fail_once:
            tried = faults.Faults(scenario)
            self.numbers = tried.numbers(options.fail_once, options.share, options.seed)
            self.error, self.again, self.kind = options.fail_once, f" --fail-once {options.fail_once}", options.fail_once
        else:
            tried = scenario
            self.numbers = scenario.numbers(options.share, options.seed)
            self.error, self.again = options.fail, f" --fail {options.fail}" if options.fail else ""
            self.kind = f"from there on {options.fail}" if options.fail else "kills"
        if options.call:
            self.numbers = [options.call]
        self.calls = tried.calls
        self.check_after = tried.check_after


def try_scenario(name, options):
    """(Calls, tries, failures) of one scenario; failures are printed as they come."""
    start = time.monotonic()
    scenario = Scenario(name)
    try:
        tries = Tries(scenario, options)
        failures = 0
        for number in tries.numbers:
            wrong = tries.check_after(number, tries.error)
            if wrong:
                failures += 1
                print(f"{name}: call {number} ({tries.calls[number - 1]}): {wrong}\n"
                      f"    again: --scenario {name} --call {number}{tries.again}", flush=True)
    finally:
        scenario.stage.remove()
    print(f"{name:18} {len(tries.calls):5} calls {len(tries.numbers):5} {tries.kind} {failures:4} failures"
          f" {time.monotonic() - start:6.0f} s", flush=True)
    return len(tries.calls), len(tries.numbers), failures


def names_for(options):
    return OF_FAULTS if options.fail_once else NAMES


def parsed(arguments):
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--scenario", choices=NAMES + OF_FAULTS, action="append", metavar="NAME")
    parser.add_argument("--call", type=int, metavar="N")
    parser.add_argument("--share", type=int, default=1, metavar="K")
    parser.add_argument("--seed", type=int, default=0, metavar="S")
    parser.add_argument("--fail", choices=faults.ERRORS)
    parser.add_argument("--fail-once", choices=faults.ERRORS)
    parser.add_argument("--jobs", type=int, default=1, metavar="J")
    return parser.parse_args(arguments)


def main(arguments=None):
    options = parsed(arguments)
    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        counts = list(pool.map(lambda name: try_scenario(name, options), options.scenario or names_for(options)))
    calls, tries, failures = (sum(column) for column in zip(*counts))
    print(f"{'together':18} {calls:5} calls {tries:5} tried {failures:4} failures")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())

#!/usr/bin/env python3
"""The program, killed at some of the system calls that change something on disk, and with some of all its calls failing;
./dev torture takes all of them.

KT_TORTURE_SEED chooses others. The seed is printed, with what repeats a kill that went wrong.
"""
import json
import os
import shutil
import subprocess
import unittest

import household
from backups import missing_everywhere
from checks import Outcome, check_untouched, files_of, moved
from faults import ERRORS, Faults, can_answer
from stage import DONE, SUITE, Failure, Stage
from torture import OF_FAULTS, Scenario

SEED = os.environ.get("KT_TORTURE_SEED", "20071224")
KILLS = 7  # of each scenario
FAULTS = {"pull-10.4-10.5": "ENOSPC", "pull-10.5-10.4": "EIO"}  # these are also tried with a disk that fails
ONCE = {"EIO": 6, "ENOSPC": 3, "EACCES": 3}  # calls of each scenario that fail, one at a time
SCENARIOS = ("push-10.4", "push-10.5", "meet-10.5-10.4", "pull-10.4-10.5", "pull-10.5-10.4", "heal-10.4-10.4",
             "settle-10.5-10.5")


def watched(test):
    try:
        return test()
    except PermissionError as reason:
        raise unittest.SkipTest(str(reason)) from None


class KilledRuns(unittest.TestCase):
    def try_some(self, scenario, count, error=None):
        numbers = scenario.numbers(-(-len(scenario.calls) // count), SEED)
        self.assertGreater(len(numbers), count // 2)
        for number in numbers:
            with self.subTest(scenario=scenario.name, call=number, error=error, what=scenario.calls[number - 1]):
                self.assertIsNone(watched(lambda number=number: scenario.check_after(number, error)))

    def test_nothing_is_lost_or_doubled_wherever_it_ends(self):
        print(f"seed {SEED}")
        for name in SCENARIOS:
            scenario = watched(lambda name=name: Scenario(name))
            self.addCleanup(scenario.stage.remove)
            self.try_some(scenario, KILLS)
            if name in FAULTS:
                self.try_some(scenario, KILLS // 2, FAULTS[name])


class FailingCalls(unittest.TestCase):
    def test_nothing_is_lost_and_nothing_is_hidden_whichever_fails(self):
        print(f"seed {SEED}")
        for name in OF_FAULTS:
            scenario = watched(lambda name=name: Scenario(name))
            self.addCleanup(scenario.stage.remove)
            tries = Faults(scenario)
            for error in ERRORS:
                able = sum(can_answer(call, error) for call in tries.calls)
                for number in tries.numbers(error, -(-able // ONCE[error]), SEED):
                    with self.subTest(scenario=name, call=number, error=error, what=tries.calls[number - 1]):
                        self.assertIsNone(watched(lambda number=number, error=error: tries.check_after(number, error)))

    def test_only_calls_that_can_end_that_way_are_chosen(self):
        self.assertTrue(can_answer("read /a", "EIO"))
        self.assertFalse(can_answer("read /a", "ENOSPC"))
        self.assertFalse(can_answer("write /a", "EACCES"))
        self.assertTrue(can_answer("openat /a", "EACCES"))


class TheChecks(unittest.TestCase):
    """They go red where they should."""

    def setUp(self):
        self.stage = Stage("10.5", "10.5")
        self.addCleanup(self.stage.remove)
        household.fill(self.stage.here)
        for home in (self.stage.here, self.stage.there):
            self.stage.sync(home)
        self.expected = Outcome(self.stage)
        self.untouched = household.untouched_texts(self.stage.here)

    def assert_red(self, text):
        with self.assertRaisesRegex(Failure, text):
            Outcome(self.stage).check_same(self.expected)

    def file_of(self, title):
        return next(path for path in self.stage.here.store.rglob("*.ics") if f"SUMMARY:{title}\r".encode() in path.read_bytes())

    def test_pass_what_is_as_it_was(self):
        Outcome(self.stage).check_same(self.expected)
        check_untouched(self.stage, self.untouched)

    def test_see_a_text_that_is_gone(self):
        self.file_of("Brot").unlink()
        self.assert_red("missing: Brot")

    def test_see_a_text_that_is_there_twice(self):
        file = self.file_of("Brot")
        shutil.copy(file, file.with_name("zweimal.ics"))
        self.assert_red("too many: Brot")

    def test_see_a_line_that_no_record_holds(self):
        file = self.file_of("Brot")
        file.write_bytes(file.read_bytes().replace(b"COMMENT", b"X-OTHER"))
        self.assert_red("texts")

    def test_see_another_order(self):
        self.stage.here.set("Einkauf", Order=1)
        self.assert_red("in the order")

    def test_see_one_byte_of_what_nobody_edited(self):
        file = self.file_of("Milch")
        file.write_bytes(file.read_bytes().replace(b"LANGUAGE=de", b"LANGUAGE=DE"))
        with self.assertRaisesRegex(Failure, "Milch"):
            check_untouched(self.stage, self.untouched)

    def test_see_a_file_that_was_written_with_what_it_held(self):
        before = files_of(self.stage)
        file = self.file_of("Milch")
        file.write_bytes(file.read_bytes())
        self.assertEqual([str(file)], moved(before, files_of(self.stage)))

    def test_see_a_text_that_is_in_no_backup_either(self):
        texts = household.texts_of(self.stage.here)
        self.file_of("Brot").unlink()
        self.assertEqual([], missing_everywhere(self.stage.here, texts))
        for path in (self.stage.here.path / SUITE / "Backups").glob("*.tar.zst"):
            path.unlink()
        gone = missing_everywhere(self.stage.here, texts)
        self.assertEqual([household.is_titled(text, "Brot") for text in gone], [True])

    def test_see_a_folder_that_is_no_calendar(self):
        old = Stage("10.4", "10.4")
        self.addCleanup(old.remove)
        household.fill(old.here)
        expected = Outcome(old)
        (old.here.store / "Sources/Rest.calendar").mkdir()
        with self.assertRaisesRegex(Failure, "Rest.calendar"):
            Outcome(old).check_same(expected)

    def test_see_what_a_run_says_of_itself(self):
        faults = Faults.__new__(Faults)
        faults.stage, faults.texts, faults.records = self.stage, [], self.stage.here.records()
        report = json.loads(self.stage.run(self.stage.command(self.stage.here)).stdout)

        def check(code, **changes):
            said = json.dumps({**report, **changes}, ensure_ascii=False) if code in (0, 1) else ""
            faults.check_run(subprocess.CompletedProcess([], code, said, ""))
        check(0)
        for code, changes in ((1, {}), (2, {}), (0, {"completed": False}), (0, {"status": "anders"})):
            with self.assertRaises(Failure, msg=(code, changes)):
                check(code, **changes)
        self.assertEqual(report["status"], DONE)
        self.file_of("Brot").unlink()
        with self.assertRaisesRegex(Failure, "Brot"):
            check(0)
        check(0, newlyUnread=[{}])

    def test_kill_before_the_call(self):
        self.stage.save()
        calls = watched(self.stage.calls)
        self.assertTrue(calls)
        self.stage.put_back()
        self.assertTrue(self.stage.kill_at(len(calls)))
        self.assertFalse(self.stage.kill_at(10 * len(calls)))


if __name__ == "__main__":
    unittest.main()

#!/usr/bin/env python3
"""The demo's comparison goes red where it should."""
import json
import os
import pathlib
import sqlite3
import subprocess
import sys
import tempfile
import unittest

CHECK = pathlib.Path(os.environ["KT_SOURCE_DIR"]) / "samples" / "check.py"


def record(key, conduit="ical-event", parent="K", **fields):
    return {"conduit": conduit, "key": key, "parentKey": parent, "record": fields}


def calendar(key, parent=None, **fields):
    parents = {"ParentRecordKey": parent} if parent else {}
    return record(key, conduit="ical-calendar", parent=parent, **{"Order": 0, **parents, **fields})


class Comparing(unittest.TestCase):
    def compare(self, first, second, how="compare"):
        with tempfile.TemporaryDirectory() as folder:
            paths = []
            for name, records in (("a", first), ("b", second)):
                paths.append(os.path.join(folder, name))
                pathlib.Path(paths[-1]).write_text(json.dumps(records), encoding="utf-8")
            return subprocess.run([sys.executable, CHECK, how, *paths], capture_output=True, text=True)


class Compare(Comparing):
    def test_equal_homes_pass_in_any_order(self):
        one, two = record("1", Title="a"), record("2", Title="b")
        self.assertEqual(0, self.compare([one, two], [two, one]).returncode)

    def test_the_link_to_a_series_does_not_count(self):
        linked = record("1", Title="a", RecurrenceParentRecordKey="0", RecurrenceExceptionDates=[])
        self.assertEqual(0, self.compare([linked], [record("1", Title="a")]).returncode)

    def test_differences_fail_and_are_named(self):
        one = record("1", Title="a")
        for other, named in [
            ([], "nur auf einer Seite"),
            ([record("2", Title="a")], "nur auf einer Seite"),
            ([record("1", conduit="ical-task", Title="a")], "nur auf einer Seite"),
            ([record("1", Title="b")], "Title"),
            ([record("1", Title="a", Notes="n")], "Notes"),
            ([record("1", parent="L", Title="a")], "parentKey"),
            ([one, one], "zweimal"),
        ]:
            with self.subTest(other=other):
                result = self.compare([one], other)
                self.assertEqual(1, result.returncode)
                self.assertIn(named, result.stderr)

    def test_two_empty_homes_prove_nothing(self):
        self.assertEqual(1, self.compare([], []).returncode)


class CompareLayouts(Comparing):
    def across(self, first, second):
        return self.compare(first, second, "compare-layouts")

    def test_what_only_one_layout_has_does_not_count(self):
        new = [calendar("k", Title="a", Notes="n", AlarmsDisabled=1, Subscriber={"SubscriptionURL": "u"})]
        old = [calendar("k", "k", Title="a", Notes="", AlarmsDisabled=0, SubscriberData={"data": ""})]
        self.assertEqual(0, self.across(new, old).returncode)
        self.assertEqual(1, self.compare(new, old).returncode)

    def test_numbers_do_not_count_but_the_sequence_in_each_group_does(self):
        new = [calendar("g", Order=10), calendar("a", "g", Order=11), calendar("b", "g", Order=12),
               calendar("c", Order=13)]
        old = [calendar("g", "g", Order=0), calendar("a", "g", Order=0), calendar("b", "g", Order=1),
               calendar("c", "c", Order=1)]
        self.assertEqual(0, self.across(new, old).returncode)
        old[1]["record"]["Order"] = 2
        result = self.across(new, old)
        self.assertEqual(1, result.returncode)
        self.assertIn("Order", result.stderr)

    def test_other_differences_fail_and_are_named(self):
        one = [calendar("g", Title="g"), calendar("k", "g", Title="a"), record("1", parent="k", Notes="n")]
        for place, changed, named in [
            (1, calendar("k", "k", Title="a"), "parentKey"),
            (1, calendar("k", "g", Title="b"), "Title"),
            (2, record("1", parent="k", Notes="m"), "Notes"),
            (2, record("2", parent="k", Notes="n"), "nur auf einer Seite"),
        ]:
            with self.subTest(named=named):
                other = [*one[:place], changed, *one[place + 1:]]
                result = self.across(one, other)
                self.assertEqual(1, result.returncode)
                self.assertIn(named, result.stderr)

    def test_two_empty_homes_prove_nothing(self):
        self.assertEqual(1, self.across([], []).returncode)


class Dump(unittest.TestCase):
    def dump(self, rows):
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "server.sqlite")
            with sqlite3.connect(path) as server:
                server.execute("CREATE TABLE records (account, conduit, key, parent_key, revision, deleted, hash, content)")
                server.executemany("INSERT INTO records VALUES (?,?,?,?,?,?,?,?)", rows)
            server.close()
            return subprocess.run([sys.executable, CHECK, "dump", path], capture_output=True, text=True)

    def test_every_column_shows(self):
        row = ("default", "ical-event", "1", "K", 1, 0, "h", b"content")
        before = self.dump([row])
        self.assertEqual(0, before.returncode)
        for column, value in enumerate(("x", "x", "x", "x", 2, 1, "x", b"x")):
            changed = row[:column] + (value,) + row[column + 1:]
            self.assertNotEqual(before.stdout, self.dump([changed]).stdout, column)

    def test_a_server_without_records_fails(self):
        self.assertEqual(1, self.dump([]).returncode)


if __name__ == "__main__":
    unittest.main()

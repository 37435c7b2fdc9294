#!/usr/bin/env python3
"""No test is left unseen: what stands in the test files is what CTest runs."""
import collections
import json
import os
import pathlib
import re
import subprocess
import unittest

TEST = re.compile(
    r"^[ \t]*(?:TEST|TEST_F|TEST_P|TYPED_TEST|TYPED_TEST_P|RC_GTEST_(?:TYPED_)?(?:FIXTURE_)?PROP)"
    r"\(\s*(\w+)\s*,\s*(?:DISABLED_)?(\w+)", re.MULTILINE)


def program_of(folder):
    """The test program for the files of a folder below tests/."""
    name = re.sub(r"^PlugIns/", "", re.sub(r"^Sync/", "", folder))
    return "test_" + name.replace("/", "_").lower()


def tests_in(text):
    return TEST.findall(text)


def suite_and_name(test):
    """Rows/Suite.Name/3, Suite/0.Name and Suite.Name all stand for (Suite, Name).

    A property on a fixture is registered as Suite_RapidCheck.Name, so that it can set the fixture up for each try.
    """
    left, _, right = test.partition(".")
    parts = [part for part in left.split("/") if not part.isdigit()]
    return parts[-1].removesuffix("_RapidCheck"), right.split("/")[0]


def unseen(written, registered):
    """The tests written but not registered; both are sets of (program, suite, name)."""
    return sorted(written - registered)


class TheTree(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.tests = pathlib.Path(os.environ["KT_SOURCE_DIR"]) / "tests"
        shown = subprocess.run(
            ["ctest", "--test-dir", os.environ["KT_BUILD_DIR"], "--show-only=json-v1"],
            check=True, capture_output=True, text=True).stdout
        cls.registered = json.loads(shown[shown.index("{"):])["tests"]

    def test_every_test_of_every_file_is_registered(self):
        written = set()
        for path in self.tests.rglob("*Test.cpp"):
            program = program_of(path.parent.relative_to(self.tests).as_posix())
            found = tests_in(path.read_text(encoding="utf-8"))
            self.assertTrue(found, f"{path.name} holds no test")
            written |= {(program, suite, name) for suite, name in found}
        registered = set()
        for test in self.registered:
            if test.get("command") and "." in test["name"]:
                program = os.path.basename(test["command"][0])
                registered.add((program, *suite_and_name(test["name"])))
        self.assertTrue(written)
        self.assertEqual([], unseen(written, registered))

    def test_every_script_is_registered(self):
        names = {test["name"] for test in self.registered}
        scripts = {path.relative_to(self.tests).as_posix()
                   for pattern in ("*_test.py", "*_test.sh") for path in self.tests.rglob(pattern)}
        self.assertTrue(scripts)
        self.assertEqual([], sorted(scripts - names))

    def test_no_two_tests_share_a_name(self):
        counts = collections.Counter(test["name"] for test in self.registered)
        self.assertEqual([], sorted(name for name, count in counts.items() if count > 1))

    def test_tests_stand_in_files_that_are_looked_at(self):
        strays = [path.name for path in self.tests.rglob("*.cpp")
                  if not path.name.endswith("Test.cpp") and tests_in(path.read_text(encoding="utf-8"))]
        self.assertEqual([], strays)


class TheCheck(unittest.TestCase):
    """The check itself goes red where it should."""

    def test_finds_each_kind_of_test(self):
        text = ("TEST(A, One) {}\nTEST_F(B, DISABLED_Two)\n{\n}\nTEST_P(C,\n       Three) {}\n"
                "RC_GTEST_PROP(D, Four, (int i)) {}\n    RC_GTEST_FIXTURE_PROP(E, Five, ()) {}\n")
        self.assertEqual([("A", "One"), ("B", "Two"), ("C", "Three"), ("D", "Four"), ("E", "Five")],
                         tests_in(text))

    def test_reads_the_names_of_ctest(self):
        for name in ("Suite.Name", "Rows/Suite.Name/3", "Suite/0.Name", "Rows/Suite/0.Name",
                     "Suite_RapidCheck.Name"):
            self.assertEqual(("Suite", "Name"), suite_and_name(name))

    def test_names_the_programs_as_the_build_does(self):
        self.assertEqual("test_ical_calendar", program_of("Sync/PlugIns/iCal/Calendar"))
        self.assertEqual("test_foundation", program_of("Sync/Foundation"))
        self.assertEqual("test_build", program_of("build"))

    def test_reports_a_test_that_is_missing_or_in_another_program(self):
        written = {("test_a", "A", "One"), ("test_b", "A", "One")}
        self.assertEqual([("test_b", "A", "One")], unseen(written, {("test_a", "A", "One")}))


if __name__ == "__main__":
    unittest.main()

#!/usr/bin/env python3
"""Every rule of docs/rules.md has tests named after it, and no test names a rule that is not there."""
import os
import pathlib
import re
import tempfile
import unittest

ROW = re.compile(r"^\| (\d+) \| .+? \| ((?:`\w+`(?:, )?)+) \|$", re.MULTILINE)
TEST = re.compile(r"\bRule(\d+)(?=_|\s*,)")


def check(root):
    """(rules, complaints)."""
    text = (root / "docs" / "rules.md").read_text(encoding="utf-8")
    classes = {int(number): re.findall(r"\w+", names) for number, names in ROW.findall(text)}
    tested = set()
    for path in (root / "tests").rglob("*.cpp"):
        tested.update(int(number) for number in TEST.findall(path.read_text(encoding="utf-8")))
    headers = {path.stem for path in (root / "Sync" / "Host").rglob("*.h")}
    complaints = [f"rule {number} has no test" for number in sorted(classes.keys() - tested)]
    complaints += [f"a test names rule {number}, which is none" for number in sorted(tested - classes.keys())]
    complaints += [f"rule {number} names {name}, which is no header of the host"
                   for number in sorted(classes) for name in classes[number] if name not in headers]
    return sorted(classes), complaints


class TheTree(unittest.TestCase):
    def test_has_a_test_for_each_rule(self):
        rules, complaints = check(pathlib.Path(os.environ["KT_SOURCE_DIR"]))
        self.assertEqual(rules, list(range(1, len(rules) + 1)))
        self.assertGreater(len(rules), 20)
        self.assertEqual(complaints, [])


class Check(unittest.TestCase):
    def complaints(self, rules, tests):
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder)
            for path, text in {"docs/rules.md": rules, "tests/ATest.cpp": tests, "Sync/Host/A.h": ""}.items():
                (root / path).parent.mkdir(parents=True, exist_ok=True)
                (root / path).write_text(text, encoding="utf-8")
            return check(root)[1]

    def test_takes_what_is_tested(self):
        self.assertEqual(self.complaints("| 1 | Says it. | `A` |\n", "TEST(Suite, Rule1_SaysIt)"), [])
        self.assertEqual(self.complaints("| 1 | Says it. | `A` |\n", "TEST(Rule1, SaysIt)"), [])

    def test_misses_a_test(self):
        self.assertEqual(self.complaints("| 2 | Says it. | `A` |\n", "TEST(Suite, SaysIt)"), ["rule 2 has no test"])

    def test_misses_a_rule(self):
        self.assertEqual(self.complaints("", "TEST(Suite, Rule1_SaysIt)"), ["a test names rule 1, which is none"])

    def test_misses_a_class(self):
        self.assertEqual(self.complaints("| 1 | Says it. | `A`, `B` |\n", "TEST(Suite, Rule1_SaysIt)"),
                         ["rule 1 names B, which is no header of the host"])


if __name__ == "__main__":
    unittest.main()

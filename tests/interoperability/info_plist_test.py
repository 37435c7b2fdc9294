#!/usr/bin/env python3
"""The Info.plist files of a rewritten store, read with Python's plistlib and set beside what the first store held."""
import os
import pathlib
import plistlib
import shutil
import subprocess
import tempfile
import unittest

SOURCE = pathlib.Path(os.environ["KT_SOURCE_DIR"])
ICALSYNC = str(pathlib.Path(os.environ["KT_PROGRAM_DIR"]) / "icalsync")
STORE = "Library/Calendars"
# Whether a calendar is ticked stays with each home. A group gets its record key as its own key, because groups do not
# send theirs.
CARRIED = ["Title", "Color", "Order", "Notes", "Type", "SubscriptionURL", "RefreshInterval", "AutoRefresh",
           "AlarmFilter", "TaskFilter", "AttachmentFilter"]


def infos(home):
    """Title to content of every Info.plist below a home's store."""
    found = {}
    for path in (home / STORE).glob("*/Info.plist"):
        with path.open("rb") as file:
            info = plistlib.load(file)
        found[info["Title"]] = (path.parent.name, info)
    return found


class InfoPlists(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(tempfile.mkdtemp())
        shutil.copytree(SOURCE / "samples/home-10.5", cls.folder / "first")
        (cls.folder / "second").mkdir()
        for home in "first", "second":
            subprocess.run([ICALSYNC, "--home", str(cls.folder / home), "--system-version", "5", "--server",
                            f"sqlite:{cls.folder}/server.sqlite", "sync"], check=True,
                           stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        cls.first = infos(cls.folder / "first")
        cls.second = infos(cls.folder / "second")

    @classmethod
    def tearDownClass(cls):
        shutil.rmtree(cls.folder)

    def test_every_calendar_and_group_has_a_folder(self):
        self.assertGreater(len(self.first), 4)
        self.assertEqual(set(self.first), set(self.second))

    def test_folders_are_named_after_their_keys(self):
        for name, info in self.second.values():
            self.assertEqual(os.path.splitext(name)[0], info["Key"])

    def test_fields_agree(self):
        compared = 0
        for title, (_, before) in self.first.items():
            after = self.second[title][1]
            for key in CARRIED:
                if key not in before or (key == "Type" and before.get("Calendars") is not None):
                    continue
                with self.subTest(calendar=title, key=key):
                    self.assertEqual(after.get(key), before[key])
                    compared += 1
        self.assertGreater(compared, 20)

    def test_groups_list_their_members(self):
        groups = 0
        for title, (_, before) in self.first.items():
            if "Calendars" not in before:
                continue
            groups += 1
            self.assertEqual(sorted(self.second[title][1]["Calendars"]), sorted(before["Calendars"]))
        self.assertGreater(groups, 0)


if __name__ == "__main__":
    unittest.main()

#!/usr/bin/env python3
"""What a store looks like is known in one place: who tells systems apart, and who names its files."""
import os
import pathlib
import re
import tempfile
import unittest

# Who may compare system versions: the factory of layouts, and the host's table of layouts.
VERSION_PLACES = {
    "Sync/PlugIns/iCal/Calendar/StoreLayout.cpp",
    "Sync/Host/Services/HomeLayout.h",
    "Sync/Host/Services/HomeLayout.cpp",
}
# Who may build the names of files and folders.
PATH_PLACES = {"Sync/HostInterface/StorePaths.h", "Sync/HostInterface/StorePaths.cpp"}

VERSION = r"(?:\w*(?:macOSVersion|[sS]ystemVersion)\w*(?:\(\w*\))?)"
NUMBER = r"(?:[1-9]\d*|kMacOS\w+|kSystemVersion\w+|\w+SystemVersion)\b"
COMPARISON = re.compile(
    rf"{VERSION}\s*(?:[=!]=|[<>]=?)\s*{NUMBER}|{NUMBER}\s*(?:[=!]=|[<>]=?)\s*{VERSION}"
    rf"|switch\s*\([^)]*{VERSION}|\b(?:int|auto)\s+version\s*=[^;]*{VERSION}")

# Parts of a path; a name in a message stands between quotes of its own or among other words.
PATH = re.compile(
    r'"(?:%@)?/?(?:Library/(?:Calendars|Application Support/(?:iCal|VeloraSuite))[^"]*'
    r'|(?:Sources|nodes\.plist)(?:\.bak)?|corestorage\.ics|Properties\.plist|Calendar Cache'
    r'|OldSubscription\.plist|%@\.(?:calendar|group)|\.(?:calendar|group|ics))"'
    r'|(?:Component\([^;]*|\+ ?)"(?:/?Info\.plist|/?Events|/?Attachments)"')
# Names that are not the store's: a bundle has an Info.plist as well, and addresses of the site end in ".ics".
OTHER_NAMES = re.compile(r"^Sync/(Foundation/Bundle\.cpp|Host/Site/.*)$")
# Keys of dictionaries that are named like a folder.
KEY_USE = re.compile(r'(?:set|find|contains|setIfPresent)\("(?:Sources|Attachments|Events)"')


def code_of(text):
    """Without comments, line by line."""
    return [re.sub(r"//.*", "", line) for line in text.splitlines()]


def complaints_about(text, pattern):
    return [line.strip() for line in code_of(text)
            if pattern.search(re.sub(KEY_USE, "", line))]


def check(root):
    """(number of files read, complaints) of all sources below root/Sync."""
    count = 0
    complaints = []
    for path in sorted((root / "Sync").rglob("*")):
        if path.suffix not in (".h", ".cpp"):
            continue
        count += 1
        name = path.relative_to(root).as_posix()
        text = path.read_text(encoding="utf-8")
        if name not in VERSION_PLACES:
            complaints += [f"{name}: compares system versions: {line}"
                           for line in complaints_about(text, COMPARISON)]
        if name not in PATH_PLACES and not OTHER_NAMES.match(name):
            complaints += [f"{name}: builds a path of the store: {line}"
                           for line in complaints_about(text, PATH)]
    return count, complaints


class TheTree(unittest.TestCase):
    def test_one_place_each(self):
        root = pathlib.Path(os.environ["KT_SOURCE_DIR"])
        count, complaints = check(root)
        self.assertGreater(count, 0, "no source was read at all")
        self.assertEqual([], complaints, "\n" + "\n".join(complaints))
        for name in VERSION_PLACES | PATH_PLACES:
            self.assertTrue((root / name).is_file(), f"{name} is gone: this test looks at nothing")


class TheCheck(unittest.TestCase):
    """The check itself goes red where it should."""

    def complaints_in(self, name, line):
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder) / name
            path.parent.mkdir(parents=True)
            path.write_text(line + "\n")
            count, complaints = check(pathlib.Path(folder))
            self.assertEqual(1, count)
            return complaints

    def test_bad_lines_are_reported(self):
        for line in [
            "if (systemVersion() > 4)",
            "switch (_pluginHelper->macOSVersion()) {",
            "const int version = helper->macOSVersion();",
            "return place.systemVersion == kSystemVersion105;",
            "if (5 == systemVersion)",
            "if (place.systemVersion < kNewestSystemVersion)",
            'stringByAppendingPathComponent(home, "Library/Calendars")',
            'stringWithFormat("%@/Library/Calendars/%@.calendar", home, key)',
            'stringByAppendingPathComponent(folder, "Events")',
            'stringByAppendingPathComponent(folder, "nodes.plist.bak")',
            'name.ends_with(".group")',
            'folder + "/Info.plist"',
        ]:
            with self.subTest(line=line):
                self.assertEqual(1, len(self.complaints_in("Sync/PlugIns/iCal/A.cpp", line)))

    def test_good_lines_pass(self):
        for line in [
            "options.systemVersion = _host.macOSVersion();",
            "if (known == 0 || known == wanted)",
            "known.systemVersion != _setting.options.systemVersion",
            "facts.isOtherStore = known.systemVersion != 0;",
            'logMsg(helper, "nodes.plist ohne Kalender");',
            'converted.set("Sources", std::move(sources));',
            "// systemVersion == 4 is the older one",
        ]:
            with self.subTest(line=line):
                self.assertEqual([], self.complaints_in("Sync/PlugIns/iCal/A.cpp", line))

    def test_the_one_place_may(self):
        for name, line in [
            ("Sync/PlugIns/iCal/Calendar/StoreLayout.cpp", "switch (systemVersion) {"),
            ("Sync/HostInterface/StorePaths.cpp", 'belowHome("Library/Calendars");'),
        ]:
            with self.subTest(name=name):
                self.assertEqual([], self.complaints_in(name, line))


if __name__ == "__main__":
    unittest.main()

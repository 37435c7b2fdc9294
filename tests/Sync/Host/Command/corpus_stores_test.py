#!/usr/bin/env python3
"""Stores of public calendar files, one a source, over two homes and both layouts: they sync at once, and changes that
come down leave every other byte as it is."""
import json
import os
import pathlib
import plistlib
import re
import shutil
import subprocess
import tempfile
import unittest

CORPUS = pathlib.Path(os.environ["KT_CORPUS_DIR"])
PROGRAM = pathlib.Path(os.environ["KT_PROGRAM_DIR"]) / "icalsync"
SOURCES = "Library/Application Support/iCal/Sources"
NODE_FILE = "Library/Application Support/iCal/nodes.plist"
LARGEST = 400_000  # bytes of one file: larger ones only take longer
# Messages about one event: three of its UID that differ only in who sent them. Whoever changes one changes the event.
# And a calendar that cannot be loaded to its end: what comes down for it waits.
LEFT_OUT = {"outgoing.ics", "twinkle.ics"}


def with_crlf(data):
    """Many archives hold bare line feeds, which no calendar program of that time wrote."""
    return re.sub(rb"\r?\n", b"\r\n", data)


def sources():
    """Files that calendar programs wrote or read, by the folder that they stand in."""
    by_folder = {}
    for path in sorted((CORPUS / "ics").rglob("*.ics")):
        if path.stat().st_size <= LARGEST and path.name not in LEFT_OUT:
            by_folder.setdefault(path.parent.relative_to(CORPUS / "ics").as_posix(), []).append(path)
    return by_folder


def components_of(data):
    return [found[0] for found in re.finditer(rb"BEGIN:(VEVENT|VTODO)\r\n.*?END:\1\r\n", data, re.DOTALL)]


class Home:
    def __init__(self, folder, name, version):
        self.path = folder / name
        self.path.mkdir()
        self.version = version
        self.nodes = []
        self.server = f"sqlite:{folder / 'server.db'}"

    def add_calendar(self, key, title, data):
        if self.version == 4:
            folder = self.path / SOURCES / f"{key}.calendar"
            info = {"Title": title, "Key": key, "Type": "com.apple.ical.sources.naivereadwrite"}
            items = folder / "corestorage.ics"
            self.nodes.append({"Key": f"n{key}", "SourceKey": key, "ThemeColor": "#0252D4", "Type": "CALSourceNode"})
        else:
            folder = self.path / "Library/Calendars" / f"{key}.calendar"
            info = {"Key": key, "Title": title, "Color": "#0252D4", "Notes": "", "Order": 1, "Checked": True,
                    "Type": "Local"}
            items = folder / "Events" / "1.ics"
        items.parent.mkdir(parents=True)
        (folder / "Info.plist").write_bytes(plistlib.dumps(info))
        items.write_bytes(data)

    def finish(self):
        if self.version == 4:
            (self.path / SOURCES).mkdir(parents=True, exist_ok=True)
            (self.path / NODE_FILE).write_bytes(plistlib.dumps({"Version": 2, "List": self.nodes}))
        else:
            (self.path / "Library/Calendars").mkdir(parents=True, exist_ok=True)

    def sync(self):
        done = subprocess.run(
            [PROGRAM, "--home", self.path, "--system-version", str(self.version), "--server", self.server, "--device",
             self.path.name, "--quiet", "--json", "sync"], capture_output=True, timeout=300, check=False)
        return done.returncode, json.loads(done.stdout)

    def item_files(self):
        root = self.path / (SOURCES if self.version == 4 else "Library/Calendars")
        return {path.relative_to(root).as_posix(): path for path in root.rglob("*.ics")
                if ".bak" not in path.as_posix()}

    def contents(self):
        return {name: path.read_bytes() for name, path in self.item_files().items()}


class PublicFiles(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="kt-corpus-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)

    def sync(self, home):
        code, report = home.sync()
        self.assertEqual((0, True, False), (code, report["completed"], report["held"]), report)
        return report

    def edit(self, home):
        """Gives one event a place; its text before, or None where there is none to edit."""
        for path in home.item_files().values():
            data = path.read_bytes()
            for component in components_of(data):
                plain = b"LOCATION" not in component and b"RECURRENCE-ID" not in component
                if component.startswith(b"BEGIN:VEVENT") and plain and data.count(component) == 1:
                    path.write_bytes(data.replace(
                        component, component.replace(b"END:VEVENT", b"LOCATION:Auf B ge\xc3\xa4ndert\r\nEND:VEVENT")))
                    return component
        return None

    def check_source(self, name, files, versions):
        folder = self.folder / f"{name.replace('/', '-')}-{versions[0]}"
        folder.mkdir()
        home, other = Home(folder, "A", versions[0]), Home(folder, "B", versions[1])
        for number, path in enumerate(files):
            home.add_calendar(f"K{number}", f"{number} {path.stem}", with_crlf(path.read_bytes()))
        home.finish()
        other.finish()
        before = home.contents()
        self.sync(home)
        self.sync(other)
        self.sync(home)
        self.assertEqual(before, home.contents(), "what only went up was touched")

        if self.edit(other) is None:
            return 0
        self.sync(other)
        self.sync(home)
        after = home.contents()
        self.assertEqual(set(before), set(after))
        differing = [file for file in before if before[file] != after[file]]
        self.assertEqual(1, len(differing), differing)
        self.check_one_component_differs(before[differing[0]], after[differing[0]])
        for _ in range(2):
            self.sync(other)
            self.sync(home)
        self.assertEqual(after, home.contents(), "not at rest")
        return 1

    def check_one_component_differs(self, before, after):
        start = 0
        while before[start] == after[start]:
            start += 1
        end = 0
        while before[-1 - end] == after[-1 - end] and end < min(len(before), len(after)) - start - 1:
            end += 1
        component = [found for found in components_of(after) if b"LOCATION:Auf B" in found]
        self.assertEqual(1, len(component))
        begin = after.index(component[0])
        self.assertLessEqual(begin, start)
        self.assertLessEqual(len(after) - end, begin + len(component[0]))
        # Every line that says something else than the place and what an edit renews is the one that stood there.
        old = before[begin:before.index(b"END:VEVENT\r\n", begin)]
        kept = re.sub(rb"LOCATION:Auf B[^\r]*\r\n", b"", component[0])
        for line in kept.split(b"\r\n"):
            self.assertIn(line, old + b"END:VEVENT")

    def test_each_source_syncs_at_once_and_unharmed(self):
        edited = 0
        for number, (name, files) in enumerate(sources().items()):
            # In turn, so that each origin with its folders meets both; twice as many would take twice as long.
            versions = ((5, 4), (4, 5))[number % 2]
            with self.subTest(source=name, layouts=versions):
                edited += self.check_source(name, files, versions)
        self.assertGreater(edited, 20)

    def test_a_genuine_store_syncs_once_its_folders_are_named_after_their_keys(self):
        store = CORPUS / "stores/ical2org/Calendars"
        home, other = Home(self.folder, "A", 5), Home(self.folder, "B", 4)
        (home.path / "Library").mkdir()
        shutil.copytree(store, home.path / "Library/Calendars")
        for path in [home.path, *home.path.rglob("*")]:
            path.chmod(0o755 if path.is_dir() else 0o644)
        other.finish()
        self.assert_held(home)
        self.assertIn("Mehrere Ordner haben den Schlüssel", self.repair(home, 1))
        self.assert_held(home)
        shutil.rmtree(home.path / "Library/Calendars/inactive.calendar")
        before = sorted(home.contents().values())
        self.repair(home, 0)
        for each in (home, other, home):
            self.sync(each)
        self.assertEqual(before, sorted(home.contents().values()))

    def assert_held(self, home):
        before = home.contents()
        code, report = home.sync()
        self.assertEqual((1, True), (code, report["held"]), report)
        self.assertEqual(before, home.contents())

    def repair(self, home, code):
        done = subprocess.run([PROGRAM, "--home", home.path, "--quiet", "check", "--repair"], capture_output=True,
                              timeout=60, check=False)
        self.assertEqual(code, done.returncode, done)
        return done.stdout.decode()


if __name__ == "__main__":
    unittest.main()

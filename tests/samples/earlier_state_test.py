#!/usr/bin/env python3
"""A home whose state and server were written by an earlier version (state 2, which knew no identities): the first sync
finds nothing to do, and from then on a renamed calendar and an edited title are edits."""
import os
import pathlib
import plistlib
import shutil
import sqlite3
import subprocess
import tempfile
import unittest

SOURCE = pathlib.Path(os.environ["KT_SOURCE_DIR"])
PROGRAM = pathlib.Path(os.environ["KT_PROGRAM_DIR"]) / "icalsync"


class EarlierState(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="icalsync-earlier-"))
        self.addCleanup(shutil.rmtree, self.folder)
        self.home = self.folder / "laptop"
        shutil.copytree(SOURCE / "samples/home-10.5", self.home)
        self.state = self.home / "Library/Application Support/VeloraSuite/LocalState.sqlite"
        self.state.parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(SOURCE / "tests/samples/earlier/state-2.sqlite", self.state)
        shutil.copy(SOURCE / "tests/samples/earlier/server.sqlite", self.folder / "server.sqlite")

    def sync(self, home, *arguments):
        command = [PROGRAM, "--home", home, "--server", f"sqlite:{self.folder / 'server.sqlite'}", "--device",
                   home.name, "--quiet", "sync", *arguments]
        run = subprocess.run(command, capture_output=True, text=True, env={**os.environ, "TZ": "Europe/Berlin"})
        self.assertEqual(run.returncode, 0, run.stderr + run.stdout)
        return run.stdout

    def texts(self):
        return {path.relative_to(self.home): path.read_bytes()
                for path in (self.home / "Library/Calendars").rglob("*") if path.is_file()}

    def keys(self):
        with sqlite3.connect(self.folder / "server.sqlite") as server:
            return server.execute("SELECT conduit, key FROM records ORDER BY 1, 2").fetchall()

    def calendar(self, title):
        for path in (self.home / "Library/Calendars").glob("*.calendar/Info.plist"):
            info = plistlib.loads(path.read_bytes())
            if info["Title"] == title:
                return path, info
        self.fail(f"no calendar {title}")

    def test_nothing_is_to_be_done_and_edits_are_edits(self):
        # The second device joined the first, so not all that the server has stands in the sample home.
        self.sync(self.home)
        before = self.texts()
        quiet = self.sync(self.home)
        self.assertIn("Zum Server: 0 Datensätze, 0 Löschungen", quiet)
        self.assertIn("Vom Server: 0 Datensätze, 0 Löschungen", quiet)
        self.assertEqual(self.texts(), before)
        keys = self.keys()

        path, info = self.calendar("Privat")
        info["Title"] = "Familie"
        path.write_bytes(plistlib.dumps(info))
        item = sorted((path.parent / "Events").glob("*.ics"))[0]
        lines = item.read_bytes().split(b"\r\n")
        title = next(index for index, line in enumerate(lines) if line.startswith(b"SUMMARY"))
        lines[title] = b"SUMMARY:Ganz anders"
        item.write_bytes(b"\r\n".join(lines))
        sent = self.sync(self.home)
        self.assertIn("Zum Server: 2 Datensätze, 0 Löschungen", sent)
        self.assertEqual(self.keys(), keys)


if __name__ == "__main__":
    unittest.main()

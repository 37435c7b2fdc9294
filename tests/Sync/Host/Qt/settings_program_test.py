#!/usr/bin/env python3
"""icalsync-settings as a program: its usage, and that it opens a home's calendars."""
import os
import pathlib
import plistlib
import signal
import subprocess
import tempfile
import time
import unittest

PROGRAM = pathlib.Path(os.environ["KT_PROGRAM_DIR"]) / "icalsync-settings"
PATIENCE = 60  # seconds


def run(*arguments):
    # Usage needs no screen, so none may be looked for.
    environment = {name: value for name, value in os.environ.items() if name != "DISPLAY"}
    environment["QT_QPA_PLATFORM"] = "none"
    return subprocess.run([PROGRAM, *arguments], capture_output=True, text=True, timeout=PATIENCE, env=environment)


@unittest.skipUnless(PROGRAM.exists(), "built without the window")
class Usage(unittest.TestCase):
    def test_help_is_german_and_needs_no_screen(self):
        answer = run("--help")
        self.assertEqual(0, answer.returncode)
        self.assertIn("Aufruf: icalsync-settings", answer.stdout)

    def test_wrong_options_are_named(self):
        for arguments, text in [(["--hom", "x"], "Unbekannte Angabe: --hom"), (["--home"], "--home"),
                                (["--full"], "--full"),
                                (["sync"], "sync"), (["--system-version", "7"], "--system-version")]:
            with self.subTest(arguments=arguments):
                answer = run(*arguments)
                self.assertEqual(2, answer.returncode)
                self.assertIn(text, answer.stderr)


@unittest.skipUnless(PROGRAM.exists(), "built without the window")
class AHome(unittest.TestCase):
    def test_is_opened_with_its_calendars(self):
        with tempfile.TemporaryDirectory() as home:
            folder = pathlib.Path(home) / "Library/Calendars/A.calendar"
            folder.mkdir(parents=True)
            (folder / "Info.plist").write_bytes(plistlib.dumps(
                {"Key": "A", "Title": "Arbeit", "Color": "#0252D4", "Type": "Local"}))
            preferences = pathlib.Path(home) / "Library/Application Support/VeloraSuite/Preferences.plist"
            process = subprocess.Popen([PROGRAM, "--home", home], env={**os.environ, "QT_QPA_PLATFORM": "offscreen"})
            try:
                deadline = time.monotonic() + PATIENCE
                # The list of calendars, and how each is published, are stored one after the other.
                while time.monotonic() < deadline and process.poll() is None:
                    if preferences.exists() and len(plistlib.loads(preferences.read_bytes())) == 2:
                        break
                    time.sleep(0.05)
                self.assertIsNone(process.poll(), "it ended by itself")
                stored = plistlib.loads(preferences.read_bytes())
            finally:
                process.send_signal(signal.SIGTERM)
                process.wait(timeout=100)
            self.assertEqual([1], list(stored["ICAL_SYNC_PLUGIN_SYNCED_PLUGINS"].values()))


if __name__ == "__main__":
    unittest.main()

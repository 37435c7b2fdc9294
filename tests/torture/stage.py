"""Two homes and a server in a folder of their own, that can be put back as they were, and the program in them."""
import json
import os
import pathlib
import shutil
import subprocess
import tempfile

from household import HOMES

PROGRAM = pathlib.Path(os.environ["KT_PROGRAM_DIR"]) / "icalsync"
CUTTER = pathlib.Path(os.environ["KT_PROGRAM_DIR"]).parent / "tests/bin/cut_at_call"
DONE = "Die iCal-Kalender wurden synchronisiert"
KILLED = 137
CANNOT_WATCH = 125
SUITE = "Library/Application Support/VeloraSuite"


class Failure(Exception):
    """Something that must not be, in words."""


def fast_folder():
    """Memory where there is some: a run is copied and looked at a dozen times."""
    memory = pathlib.Path("/dev/shm")
    has_room = memory.is_dir() and os.access(memory, os.W_OK) and shutil.disk_usage(memory).free > 2**30
    return str(memory) if has_room else None


class Stage:
    def __init__(self, here, there):
        """The homes' layouts; nothing stands in them yet."""
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="kt-torture-", dir=fast_folder()))
        self.work = self.folder / "work"
        self.work.mkdir()
        self.server = self.work / "server.sqlite"
        self.here = HOMES[here](self.work, "hier", self.server)
        self.there = HOMES[there](self.work, "dort", self.server)

    def remove(self):
        shutil.rmtree(self.folder, ignore_errors=True)

    def save(self):
        shutil.rmtree(self.folder / "saved", ignore_errors=True)
        shutil.copytree(self.work, self.folder / "saved", symlinks=True)

    def put_back(self):
        shutil.rmtree(self.work)
        shutil.copytree(self.folder / "saved", self.work, symlinks=True)

    def command(self, home):
        return [PROGRAM, "--home", home.path, "--system-version", str(home.VERSION), "--server",
                f"sqlite:{self.server}", "--device", home.path.name, "--quiet", "--json", "sync"]

    def run(self, command, zone="Europe/Berlin"):
        # What looks for leaks watches the program itself, and only one can.
        sanitizer = os.environ.get("ASAN_OPTIONS", "") + ":detect_leaks=0"
        environment = dict(os.environ, TZ=zone, HOME="/nonexistent", ASAN_OPTIONS=sanitizer)
        return subprocess.run(command, capture_output=True, text=True, env=environment, check=False, timeout=120)

    def sync(self, home, zone="Europe/Berlin"):
        """The report of a run that has to succeed."""
        done = self.run(self.command(home), zone)
        if done.returncode != 0:
            raise Failure(f"{home.path.name} ends with {done.returncode}: {done.stdout}{done.stderr}")
        return json.loads(done.stdout)

    def calls(self):
        """What a run of this home changes on disk, call by call; the run is made."""
        return self.calls_listed_by()

    def calls_with_reads(self):
        """The same with what it reads of homes and server."""
        return self.calls_listed_by("--reads-below", self.work)

    def calls_listed_by(self, *options):
        listing = self.folder / "calls"
        done = self.run([CUTTER, "--list", listing, *options, "--", *self.command(self.here)])
        if done.returncode == CANNOT_WATCH:
            raise PermissionError("programs cannot be watched on this machine")
        if done.returncode != 0:
            raise Failure(f"the counted run ends with {done.returncode}: {done.stdout}{done.stderr}")
        return listing.read_text(encoding="utf-8").splitlines()

    def kill_at(self, number):
        """False when the run ended before that call."""
        done = self.run([CUTTER, "--kill", str(number), "--", *self.command(self.here)])
        if done.returncode not in (0, KILLED):
            raise Failure(f"killed at {number}, it ends with {done.returncode}: {done.stdout}{done.stderr}")
        return done.returncode == KILLED

    def fail_once(self, number, error):
        """A run of which one call fails, counted with those that read."""
        done = self.run([CUTTER, "--reads-below", self.work, "--fail-once", str(number), error, "--",
                         *self.command(self.here)])
        if done.returncode == CANNOT_WATCH:
            raise PermissionError("calls cannot be made to fail on this machine")
        return done

    def fail_from(self, number, error):
        """A run whose calls fail from this one on: it may end as it likes, but by itself."""
        done = self.run([CUTTER, "--fail", str(number), error, "--", *self.command(self.here)])
        if done.returncode == CANNOT_WATCH:
            raise PermissionError("calls cannot be made to fail on this machine")
        if done.returncode not in (0, 1):
            raise Failure(f"failing from {number} on, it ends with {done.returncode}: {done.stdout}{done.stderr}")

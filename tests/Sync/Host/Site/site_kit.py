"""A home whose calendars are public, and the site that shows them: the real programs, started here."""
import http.client
import json
import os
import pathlib
import socket
import subprocess
import tempfile
import threading

PROGRAM = pathlib.Path(os.environ["KT_PROGRAM_DIR"]) / "icalsync"
SYNC_TIMEOUT = 100  # seconds

INFO_PLIST = """<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0">
<dict>
<key>Checked</key><integer>1</integer>
<key>Color</key><string>{color}</string>
<key>Key</key><string>{key}</string>
<key>Notes</key><string>{notes}</string>
<key>Order</key><integer>{order}</integer>
<key>Title</key><string>{title}</string>
<key>Type</key><string>Local</string>
</dict>
</plist>
"""


def event(title, start, end=None, more=()):
    """The lines of a VEVENT; start and end as property parameters and value: ";VALUE=DATE:20260101"."""
    lines = ["BEGIN:VEVENT", "SEQUENCE:1", f"UID:{title}-{start}", f"DTSTART{start}"]
    if end:
        lines.append(f"DTEND{end}")
    return [*lines, f"SUMMARY:{title}", *more, "END:VEVENT"]


def berlin(clock):
    return f";TZID=Europe/Berlin:{clock}"


def day(text):
    return f";VALUE=DATE:{text}"


def task(title, more=()):
    return ["BEGIN:VTODO", "SEQUENCE:1", f"UID:{title}", f"SUMMARY:{title}", *more, "END:VTODO"]


class Home:
    """One device with a store of its own and a server."""

    def __init__(self):
        self._folder = tempfile.TemporaryDirectory(prefix="kt-site-")
        self.path = pathlib.Path(self._folder.name)
        self.database = self.path / "server.sqlite"
        self._calendars = 0

    def close(self):
        self._folder.cleanup()

    def add_calendar(self, title, items, notes="", color="#0E61B9FF"):
        """A calendar with these components, all of them in one file."""
        self._calendars += 1
        key = f"K{self._calendars}"
        folder = self.path / f"Library/Calendars/{key}.calendar"
        (folder / "Events").mkdir(parents=True)
        (folder / "Info.plist").write_text(
            INFO_PLIST.format(key=key, title=title, notes=notes, color=color, order=self._calendars),
            encoding="utf-8")
        lines = ["BEGIN:VCALENDAR", "VERSION:2.0", "PRODID:-//Apple Inc.//iCal 3.0//EN"]
        for item in items:
            lines += item
        lines += ["END:VCALENDAR", ""]
        (folder / "Events/alle.ics").write_bytes("\r\n".join(lines).encode("utf-8"))

    def command(self, *arguments):
        return [str(PROGRAM), *arguments, "--home", str(self.path), "--server", f"sqlite:{self.database}"]

    def run(self, *arguments):
        """The program's result as JSON; a failure fails the test."""
        done = subprocess.run(self.command(*arguments, "--json"), capture_output=True, text=True,
                              env=environment(), timeout=SYNC_TIMEOUT, check=False)
        if done.returncode != 0:
            raise AssertionError(f"{arguments}: {done.returncode}\n{done.stdout}\n{done.stderr}")
        return json.loads(done.stdout)

    def key(self, title):
        return next(row["key"] for row in self.run("calendars") if row["title"] == title)

    def publish(self, title, *options):
        key = self.key(title)
        self.run("publish", key, *options)
        return key


def environment():
    return {**os.environ, "TZ": "Europe/Berlin", "HOME": "/nonexistent"}


class Site:
    """icalsync serve on a free port, until close()."""

    def __init__(self, home, *arguments):
        self._errors = tempfile.TemporaryFile()
        self.process = subprocess.Popen(home.command("serve", "--port", "0", "--json", *arguments),
                                        stdout=subprocess.PIPE, stderr=self._errors, text=True,
                                        env=environment())
        watchdog = threading.Timer(SYNC_TIMEOUT, self.process.kill)  # ends the wait for the line as well
        watchdog.start()
        answer = json.loads(self.process.stdout.readline() or "{}")
        watchdog.cancel()
        if "port" not in answer:
            raise AssertionError(f"serve did not start: {self.close()}")
        self.port = answer["port"]
        self.address = answer["address"]
        self.base = f"http://127.0.0.1:{self.port}"

    def close(self):
        """Ends it and gives its exit code and what it wrote on standard error."""
        if self.process.poll() is None:
            self.process.terminate()
        code = self.process.wait(timeout=SYNC_TIMEOUT)
        self.process.stdout.close()
        self._errors.seek(0)
        text = self._errors.read().decode("utf-8", "replace")
        self._errors.close()
        return code, text

    def get(self, path, method="GET", headers=None, body=None):
        """Status, headers and body of one answer."""
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=60)
        try:
            connection.request(method, path, headers=headers or {}, body=body)
            answer = connection.getresponse()
            return answer.status, answer.headers, answer.read()
        finally:
            connection.close()

    def connect(self):
        return socket.create_connection(("127.0.0.1", self.port), timeout=30)

    def exchange(self, request):
        """What comes back for these bytes, to the end."""
        with self.connect() as connection:
            try:
                connection.sendall(request)
            except (BrokenPipeError, ConnectionResetError):
                pass  # the answer may come before the request has gone
            return read_all(connection)


def read_all(connection):
    answer = b""
    while True:
        try:
            part = connection.recv(65536)
        except ConnectionResetError:
            return answer
        if not part:
            return answer
        answer += part


def status_of(answer):
    """The status of an answer's bytes; 0 for none."""
    words = answer.split(b" ", 2)
    return int(words[1]) if answer.startswith(b"HTTP/1.1 ") and len(words) > 1 else 0

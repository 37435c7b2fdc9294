#!/usr/bin/env python3
"""icalsync serve, asked by well-behaved clients and by others."""
import ctypes
import email.utils
import hashlib
import os
import select
import socket
import subprocess
import sys
import threading
import time
import unittest

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), os.pardir, "Site"))
sys.path.append("/usr/lib/python3/dist-packages")  # Debian's packages, whichever Python runs this
import icalendar  # noqa: E402
from site_kit import Home, Site, berlin, day, environment, event, read_all, status_of, task  # noqa: E402

SECRETS = ["Zahnarzt", "Praxis", "Weisheitszahn", "anna@", "Anna", "chef@", "X-GEHEIM", "geheim", "Kurs", "Steuer"]


def private_items():
    return [
        event("Zahnarzt", berlin("20261124T100000"), berlin("20261124T110000"),
              ["LOCATION:Praxis", "DESCRIPTION:Weisheitszahn", "X-GEHEIM:geheim", "CATEGORIES:Gesundheit",
               'ATTENDEE;CN="Anna":mailto:anna@x.example', "ORGANIZER:mailto:chef@x.example",
               "ATTACH:https://x.example/roentgen.png",
               "BEGIN:VALARM", "ACTION:DISPLAY", "DESCRIPTION:geheim", "TRIGGER:-PT15M", "END:VALARM"]),
        event("Kurs", berlin("20261102T180000"), berlin("20261102T193000"),
              ["RRULE:FREQ=WEEKLY;COUNT=6", "EXDATE;TZID=Europe/Berlin:20261109T180000"]),
        event("Urlaub", day("20261116"), day("20261119")),
        task("Steuer", ["DUE;VALUE=DATE:20261130"]),
    ]


def content_lines(text):
    """The lines of an iCalendar text as RFC 5545 wants them, unfolded: (name, parameters, value)."""
    assert text.endswith(b"\r\n"), "does not end in CR LF"
    assert b"\n" not in text.replace(b"\r\n", b"") and b"\r" not in text.replace(b"\r\n", b""), "stray line end"
    lines = []
    for line in text[:-2].split(b"\r\n"):
        assert 0 < len(line) <= 75, f"{len(line)} octets"
        line.decode("utf-8")  # no character is cut in two
        if line[:1] in b" \t":
            lines[-1] += line[1:]
        else:
            lines.append(line)
    result = []
    for line in lines:
        head, mark, value = line.decode("utf-8").partition(":")
        while mark and head.count('"') % 2:
            more, mark, value = value.partition(":")
            head += ":" + more
        assert mark, f"no colon: {line}"
        name, *parameters = head.split(";")
        assert name.replace("-", "").isalnum(), f"no name: {line}"
        result.append((name, parameters, value))
    return result


def check_nesting(lines):
    open_components = []
    for name, _, value in lines:
        if name == "BEGIN":
            open_components.append(value)
        elif name == "END":
            assert open_components.pop() == value, f"END:{value} closes another"
    assert not open_components, "not closed"


def spoil_listening_socket(site):
    """Whether the site's socket could be made to accept nothing any more."""
    library = ctypes.CDLL(None, use_errno=True)
    if not hasattr(library, "pidfd_getfd"):
        return False
    process = os.pidfd_open(site.process.pid)
    try:
        for number in map(int, os.listdir(f"/proc/{site.process.pid}/fd")):
            copy = library.pidfd_getfd(process, number, 0)
            if copy < 0:
                continue
            try:
                one = socket.socket(fileno=os.dup(copy))
                with one:
                    if one.getsockopt(socket.SOL_SOCKET, socket.SO_ACCEPTCONN):
                        one.shutdown(socket.SHUT_RDWR)
                        return True
            except OSError:
                pass  # no socket
            finally:
                os.close(copy)
        return False
    finally:
        os.close(process)


class Serve(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.home = Home()
        cls.addClassCleanup(cls.home.close)
        cls.home.add_calendar("Verein", [event("Probe, laut", berlin("20261124T190000"), berlin("20261124T210000"))])
        cls.home.add_calendar("Anna", private_items(), notes="geheim")
        cls.home.run("sync")
        cls.open_key = cls.home.publish("Verein")
        cls.anonymous_key = cls.home.publish("Anna", "--tasks", "--anonymize")
        cls.site = Site(cls.home)
        cls.addClassCleanup(cls.site.close)
        cls.page = f"/vl/calendar/{cls.open_key}"
        cls.file = f"{cls.page}.ics"

    def test_listens_on_the_loopback_only(self):
        listening = []
        for table in ("/proc/net/tcp", "/proc/net/tcp6"):
            if os.path.exists(table):
                with open(table, encoding="ascii") as lines:
                    listening += [line.split()[1] for line in lines if line.split()[3] == "0A"]
        port = f"{self.site.port:04X}"
        self.assertEqual([address for address in listening if address.endswith(f":{port}")], [f"0100007F:{port}"])

    def test_subscribers_get_a_strict_file(self):
        status, headers, body = self.site.get(self.file)
        self.assertEqual(status, 200)
        self.assertEqual(headers["Content-Type"], "text/calendar; charset=utf-8")
        check_nesting(content_lines(body))
        calendar = icalendar.Calendar.from_ical(body)
        events = calendar.walk("VEVENT")
        self.assertEqual([str(one["SUMMARY"]) for one in events], ["Probe, laut"])
        self.assertEqual(events[0]["DTSTART"].dt.isoformat(), "2026-11-24T19:00:00+01:00")
        self.assertEqual(len(calendar.walk("VTIMEZONE")), 1)

    def test_an_anonymous_calendar_tells_times_and_nothing_else(self):
        path = f"/vl/calendar/{self.anonymous_key}"
        _, _, body = self.site.get(f"{path}.ics")
        lines = content_lines(body)
        check_nesting(lines)
        names = {name for name, _, _ in lines}
        for name in ["ATTENDEE", "ORGANIZER", "DESCRIPTION", "LOCATION", "CATEGORIES", "ATTACH", "URL", "TRIGGER"]:
            self.assertNotIn(name, names)
        self.assertFalse([name for name in names if name.startswith("X-")])
        self.assertNotIn("VALARM", body.decode())
        calendar = icalendar.Calendar.from_ical(body)
        self.assertEqual({str(one["SUMMARY"]) for one in calendar.walk("VEVENT")}, {"Belegt"})
        self.assertEqual(len(calendar.walk("VEVENT")), 3)
        self.assertEqual(len(calendar.walk("VTODO")), 1)
        _, _, page = self.site.get(f"{path}?month=2026-11&zone=Europe%2FBerlin")
        own_title = "Anna"  # the calendar's title is what it is found by
        for secret in SECRETS + ["Urlaub", "Gesundheit", "roentgen"]:
            if secret != own_title:
                self.assertNotIn(secret, page.decode())
                self.assertNotIn(secret, body.decode())
        self.assertIn("10:00–11:00", page.decode())

    def test_asks_again_only_for_what_has_changed(self):
        for path in (self.file, f"{self.page}?month=2026-11", "/vl/calendar"):
            _, headers, _ = self.site.get(path)
            status, _, body = self.site.get(path, headers={"If-None-Match": headers["ETag"]})
            self.assertEqual((status, body), (304, b""), path)
        _, headers, _ = self.site.get(self.file)
        answer = self.site.exchange(f"GET {self.file} HTTP/1.1\r\nHost: x\r\nIf-None-Match: \"x\"\r\n"
                                    f"If-None-Match: {headers['ETag']}\r\n\r\n".encode())
        self.assertEqual(status_of(answer), 304)
        self.assertNotIn(b"Content-Length", answer)

    def test_head_has_the_headers_without_the_body(self):
        _, whole, body = self.site.get(self.file)
        status, headers, nothing = self.site.get(self.file, method="HEAD")
        self.assertEqual((status, nothing), (200, b""))
        self.assertEqual(headers["ETag"], whole["ETag"])
        self.assertEqual(headers["Content-Length"], str(len(body)))

    def test_gives_no_part_of_a_file(self):
        for ranges in ("bytes=" + ",".join(["0-"] * 200), "items=0-5", "bytes=9-2"):
            status, headers, body = self.site.get(self.file, headers={"Range": ranges})
            self.assertEqual(status, 200, ranges)
            self.assertEqual(body, self.site.get(self.file)[2])
            self.assertNotIn("Accept-Ranges", headers)
        self.assertNotIn("Accept-Ranges", self.site.get(self.file, method="HEAD")[1])

    def test_every_answer_is_dated(self):
        for path in (self.file, "/vl/calendar", "/nichts"):
            sent = email.utils.parsedate_to_datetime(self.site.get(path)[1]["Date"])
            self.assertLess(abs(sent.timestamp() - time.time()), 3600, path)

    def test_other_methods_are_not_allowed(self):
        for method in ("POST", "PUT", "DELETE", "PATCH", "OPTIONS", "TRACE"):
            status, headers, _ = self.site.get(self.page, method=method, body=b"x" * 5000)
            self.assertEqual((status, headers["Allow"]), (405, "GET, HEAD"), method)

    def test_bad_requests_get_their_status(self):
        key = self.open_key.encode()
        host = b" HTTP/1.1\r\nHost: x\r\n"
        end = host + b"\r\n"
        rows = {
            b"GET /vl/calendar/../../etc/passwd" + end: 404,
            b"GET /vl/calendar/..%2f..%2fetc%2fpasswd" + end: 404,
            b"GET /vl/calendar/%2e%2e" + end: 404,
            b"GET /vl/calendar/" + key + b"%2F.ics" + end: 404,
            b"GET /vl/calendar/" + key + b"%00.ics" + end: 400,
            b"GET /vl/calendar/" + key + b"\0" + end: 400,
            b"GET /vl/calendar/%zz" + end: 400,
            b"GET /vl/calendar/" + b"0" * 40 + end: 404,
            b"GET /vl/calendar/" + key + b"?month=2026-13" + end: 400,
            b"GET /vl/calendar/" + key + b"?zone=Mars%2FOlympus" + end: 400,
            b"GET /vl/calendar/" + key + b"?zone=Europe%2F%2FBerlin" + end: 400,
            b"GET /" + b"a" * 2047 + end: 404,
            b"GET /" + b"a" * 2048 + end: 414,
            b"GET /" + b"a" * 9000 + end: 414,
            b"GET /" + b"a" * 2000000 + end: 414,
            b"GET /vl/calendar" + host + b"X-A: b\r\n" * 50000: 431,
            b"GET /vl/calendar" + host + b"X-A: " + b"b" * 9000 + b"\r\n\r\n": 431,
            b"GET /vl/calendar" + host + b"X-A: " + b"b" * 2000000 + b"\r\n\r\n": 431,
            b"GET\r\n\r\n": 400,
            b"\r\n\r\n": 400,
            b"GET /vl/calendar HTTP/9.9\r\n\r\n": 505,
            b"NONSENSE /vl/calendar" + end: 501,
            b"PROPFIND /vl/calendar" + end: 501,
            b"GET /vl/calendar HTTP/1.1\r\n\r\n": 400,
            b"GET /vl/calendar HTTP/1.0\r\n\r\n": 200,
            b"GET http://x/vl/calendar" + end: 200,
            b"GET /vl/calendar" + host + b"Expect: 100-continue\r\n\r\n": 200,
            b"GET /vl/calendar" + host + b"Expect: 100-continue\r\nContent-Length: 3\r\n\r\nabc": 200,
            b"\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03" + b"\x00" * 40 + b"\n": 400,
        }
        for request, expected in rows.items():
            with self.subTest(request=request[:60]):
                answer = self.site.exchange(request)
                self.assertEqual(status_of(answer), expected, answer[:300])
                self.assertEqual(answer.count(b"HTTP/1.1 "), 1)
                self.assertIn(b"\r\nX-Content-Type-Options: nosniff\r\n", answer)
                self.assertIn(b"\r\nContent-Security-Policy: default-src 'none';", answer)
                self.assertNotIn(b"root:", answer)
        self.assertEqual(self.site.get("/vl/calendar")[0], 200)

    def test_slow_clients_are_sent_away_and_keep_nobody_waiting(self):
        # More than once, because a very busy machine may be slower than the clients.
        self.assertTrue(any(self.is_answered_before_slow_clients() for _ in range(5)))

    def is_answered_before_slow_clients(self):
        silent = [self.site.connect() for _ in range(60)]
        slow = [self.site.connect() for _ in range(60)]
        for connection in slow:
            connection.sendall(b"GET /vl/calendar HTTP/1.1\r\nX-Slow: ")
        stop = threading.Event()

        def drip():
            while not stop.wait(1):
                for connection in slow:
                    try:
                        connection.sendall(b"a")
                    except OSError:
                        pass

        dripping = threading.Thread(target=drip)
        dripping.start()
        try:
            self.assertEqual(self.site.get("/vl/calendar")[0], 200)
            are_waiting = not select.select(slow, [], [], 0)[0]
            self.assertEqual({read_all(connection) for connection in silent}, {b""})
            statuses = {status_of(read_all(connection)) for connection in slow}
            self.assertIn(statuses, ({408}, {408, 0}))  # who goes on sending may lose the answer
            return are_waiting
        finally:
            stop.set()
            dripping.join()
            for connection in silent + slow:
                connection.close()

    def test_reading_leaves_the_database_as_it_is(self):
        def digest():
            return hashlib.sha256(self.home.database.read_bytes()).hexdigest()

        before = digest()
        for path in ("/vl/calendar", self.page, self.file):
            self.site.get(path)
        self.assertEqual(digest(), before)
        self.assertFalse([name for name in os.listdir(self.home.path) if "-journal" in name or "-wal" in name])

    def test_a_port_in_use_is_refused(self):
        done = subprocess.run(self.home.command("serve", "--port", str(self.site.port)), capture_output=True,
                              text=True, env=environment(), timeout=60, check=False)
        self.assertEqual(done.returncode, 1)
        self.assertIn(f"Die Adresse 127.0.0.1, Port {self.site.port}, ist nicht frei.", done.stderr)


class Publishing(unittest.TestCase):
    def setUp(self):
        self.home = Home()
        self.addCleanup(self.home.close)
        self.home.add_calendar("Verein", [event("Probe", berlin("20261124T190000"))])
        self.home.run("sync")

    def test_unpublishing_takes_both_addresses_away_at_once(self):
        key = self.home.publish("Verein")
        site = Site(self.home)
        try:
            paths = [f"/vl/calendar/{key}", f"/vl/calendar/{key}.ics"]
            tags = [site.get(path)[1]["ETag"] for path in paths]
            self.assertEqual([site.get(path)[0] for path in paths], [200, 200])
            self.home.run("unpublish", key)
            self.assertEqual([site.get(path)[0] for path in paths], [404, 404])
            for path, tag in zip(paths, tags):
                self.assertEqual(site.get(path, headers={"If-None-Match": tag})[0], 404)
            self.assertNotIn("Verein", site.get("/vl/calendar")[2].decode())
        finally:
            site.close()

    def test_a_change_is_shown_after_the_next_sync(self):
        key = self.home.publish("Verein")
        site = Site(self.home)
        try:
            before = site.get(f"/vl/calendar/{key}.ics")[1]["ETag"]
            file = self.home.path / "Library/Calendars/K1.calendar/Events/alle.ics"
            file.write_bytes(file.read_bytes().replace(b"SUMMARY:Probe", b"SUMMARY:Auftritt"))
            self.home.run("sync")
            status, _, body = site.get(f"/vl/calendar/{key}.ics", headers={"If-None-Match": before})
            self.assertEqual(status, 200)
            self.assertIn(b"SUMMARY:Auftritt", body)
        finally:
            site.close()

    def test_serves_before_there_is_anything_and_ends_when_asked(self):
        self.home.database.unlink()
        site = Site(self.home)
        status, _, body = site.get("/vl/calendar")
        self.assertEqual(status, 200)
        self.assertIn("Zurzeit ist kein Kalender öffentlich.", body.decode())
        code, errors = site.close()
        self.assertEqual(code, 0, errors)
        self.assertEqual(errors, "GET /vl/calendar 200\n")
        self.assertFalse(self.home.database.exists())

    def test_notes_every_answer(self):
        site = Site(self.home)
        for request in (b"GET /nichts HTTP/1.1\r\nHost: x\r\n\r\n", b"HEAD /a HTTP/2.0\r\n\r\n", b"\r\n\r\n",
                        b"GET / HTTP/1.1\r\n\r\n", b"MOVE / HTTP/1.0\r\n\r\n"):
            site.exchange(request)
        _, errors = site.close()
        self.assertEqual(sorted(errors.splitlines()),
                         ["- - 400", "GET / 400", "GET /nichts 404", "HEAD /a 505", "MOVE / 501"])

    def test_ends_with_a_reason_when_it_can_take_no_connections_any_more(self):
        site = Site(self.home)
        self.addCleanup(site.process.kill)
        if not spoil_listening_socket(site):
            site.close()
            self.skipTest("another process's sockets cannot be reached here")
        site.process.wait(timeout=60)
        code, errors = site.close()
        self.assertEqual(code, 1)
        self.assertIn("Es lassen sich keine Verbindungen mehr annehmen.", errors)


if __name__ == "__main__":
    unittest.main()

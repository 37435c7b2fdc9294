#!/usr/bin/env python3
"""The public site under load: how much memory it holds while many clients take a large calendar file slowly, how many
answers it gives in a second, and what processor time one takes.

    site_load.py PROGRAM_DIR [--readers N] [--megabytes N] [--answers N]
"""
import argparse
import concurrent.futures
import os
import pathlib
import socket
import sys
import time

TICK = os.sysconf("SC_CLK_TCK")
LARGE, SMALL = "Groß", "Klein"


def notes(length):
    """Folded as iCalendar wants it."""
    text = "DESCRIPTION:" + "Was alles zu sagen ist " * (length // 23)
    return [text[:74], *(" " + text[at:at + 73] for at in range(74, len(text), 73))]


def memory(site, field):
    """A field of the process's status in megabytes."""
    for line in pathlib.Path(f"/proc/{site.process.pid}/status").read_text(encoding="ascii").splitlines():
        if line.startswith(field + ":"):
            return int(line.split()[1]) / 1024
    raise AssertionError(f"no {field}")


def processor(site):
    """Seconds of processor time so far."""
    fields = pathlib.Path(f"/proc/{site.process.pid}/stat").read_text(encoding="utf-8").rpartition(")")[2].split()
    return (int(fields[11]) + int(fields[12])) / TICK


def ask(port, path, buffer=None):
    connection = socket.socket()
    if buffer:
        connection.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, buffer)
    connection.settimeout(60)
    connection.connect(("127.0.0.1", port))
    connection.sendall(f"GET {path} HTTP/1.1\r\nHost: x\r\n\r\n".encode())
    return connection


def slow_readers(site, path, count):
    """Each takes the beginning of the file and then nothing more."""
    size = len(site.get(path)[2])
    before = memory(site, "VmRSS")
    readers = [ask(site.port, path, buffer=4096) for _ in range(count)]
    for reader in readers:
        assert reader.recv(12) == b"HTTP/1.1 200", "a reader was sent away"
    print(f"{count} slow readers of {size / 1e6:.1f} MB: resident {before:.0f} MB before, "
          f"{memory(site, 'VmRSS'):.0f} MB while they read, {memory(site, 'VmHWM'):.0f} MB at most")
    for reader in readers:
        reader.close()


def answers(site, name, path, count, clients=8):
    def take(_):
        with ask(site.port, path) as connection:
            assert connection.recv(12, socket.MSG_WAITALL) == b"HTTP/1.1 200"
            while connection.recv(1 << 20):
                pass

    take(0)
    used, begin = processor(site), time.monotonic()
    with concurrent.futures.ThreadPoolExecutor(clients) as pool:
        list(pool.map(take, range(count)))
    seconds = time.monotonic() - begin
    print(f"{name}: {count / seconds:.0f} answers a second for {clients} clients, "
          f"{(processor(site) - used) / count * 1000:.2f} ms of processor time each")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("program_dir")
    parser.add_argument("--readers", type=int, default=256)
    parser.add_argument("--megabytes", type=float, default=6)
    parser.add_argument("--answers", type=int, default=2000)
    options = parser.parse_args()
    os.environ["KT_PROGRAM_DIR"] = os.path.abspath(options.program_dir)
    root = pathlib.Path(__file__).resolve().parent.parent
    sys.path.insert(0, str(root / "tests/Sync/Host/Site"))
    from site_kit import Home, Site, berlin, event

    def events(count, length):
        return [event(f"Termin {number}", berlin(f"202611{number % 28 + 1:02}T{number % 24:02}0000"),
                      more=notes(length)) for number in range(count)]

    home = Home()
    site = None
    try:
        home.add_calendar(LARGE, events(int(options.megabytes * 400), 2500))
        home.add_calendar(SMALL, events(20, 40))
        home.run("sync")
        large, small = home.publish(LARGE), home.publish(SMALL)
        site = Site(home, "--quiet")
        slow_readers(site, f"/vl/calendar/{large}.ics", options.readers)
        answers(site, "the list", "/vl/calendar", options.answers)
        answers(site, "a small file", f"/vl/calendar/{small}.ics", options.answers)
        answers(site, "a month", f"/vl/calendar/{small}?month=2026-11&zone=Europe%2FBerlin", options.answers)
        answers(site, "a large file", f"/vl/calendar/{large}.ics", options.answers // 20)
    finally:
        if site:
            site.close()
        home.close()


if __name__ == "__main__":
    main()

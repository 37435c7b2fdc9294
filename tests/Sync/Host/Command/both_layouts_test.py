#!/usr/bin/env python3
"""A home of either layout on one server: three rounds of what people do, then nothing moves."""
import base64
import datetime
import json
import os
import pathlib
import plistlib
import re
import shutil
import sqlite3
import subprocess
import sys
import tempfile
import unittest

SOURCE = pathlib.Path(os.environ["KT_SOURCE_DIR"])
PROGRAM = pathlib.Path(os.environ["KT_PROGRAM_DIR"]) / "icalsync"
sys.path.insert(0, str(SOURCE / "tests/Sync/PlugIns/iCal/Calendar"))
from keyed_archive import Table  # noqa: E402

DONE = "Die iCal-Kalender wurden synchronisiert"
ORDINARY = "com.apple.ical.sources.naivereadwrite"
SUBSCRIBED = "com.apple.ical.sources.urlsubscribesource"


def component(kind, title, *lines):
    return "\r\n".join([f"BEGIN:{kind}", f"SUMMARY:{title}", "DTSTAMP:20080110T080000Z", *lines, f"END:{kind}", ""])


def event(title, start, end, *more):
    return component("VEVENT", title, "SEQUENCE:1", f"DTSTART;TZID=Europe/Berlin:{start}",
                     f"DTEND;TZID=Europe/Berlin:{end}", *more)


def task(title, *more):
    return component("VTODO", title, "SEQUENCE:1", *more)


def item_file(components):
    return ("BEGIN:VCALENDAR\r\nVERSION:2.0\r\nCALSCALE:GREGORIAN\r\n" + "".join(components) +
            "END:VCALENDAR\r\n").encode()


def components_of(data):
    return [found[0] for found in re.finditer(r"BEGIN:(VEVENT|VTODO)\r\n.*?END:\1\r\n", data.decode(), re.DOTALL)]


def is_titled(text, title):
    return f"\r\nSUMMARY:{title}\r\n" in text


def subscription_archive(address, filter_):
    table = Table()
    return plistlib.dumps(table.archive(table.dictionary({
        "RemoteURL": table.url(address), "AutoRefresh": table.add(True), "RefreshInterval": table.add(3600),
        "Filter": table.add(filter_)})), fmt=plistlib.FMT_BINARY)


def settings_in_archive(data):
    """The entries of an archived dictionary; of a URL its text."""
    archive = plistlib.loads(data)
    objects = archive["$objects"]

    def resolve(uid):
        stored = objects[uid.data]
        if isinstance(stored, dict) and "NS.relative" in stored:
            return resolve(stored["NS.relative"])
        return stored

    root = objects[archive["$top"]["root"].data]
    return {resolve(key): resolve(value) for key, value in zip(root["NS.keys"], root["NS.objects"], strict=True)}


class Home:
    """What both layouts have in common: the program, and a person who edits by title."""

    def __init__(self, folder, name, server):
        self.path = folder / name
        self.path.mkdir()
        self.server = server

    def run(self, *arguments):
        environment = dict(os.environ, TZ="Europe/Berlin", HOME="/nonexistent")
        done = subprocess.run(
            [PROGRAM, *arguments, "--home", self.path, "--system-version", str(self.VERSION),
             "--server", f"sqlite:{self.server}", "--device", self.path.name],
            capture_output=True, text=True, env=environment, check=False)
        if done.returncode != 0:
            raise AssertionError(f"{self.path.name} {arguments}: {done.returncode}\n{done.stdout}{done.stderr}")
        return done.stdout

    def sync(self):
        text = self.run("sync")
        assert DONE in text.splitlines(), text
        return text

    def records(self):
        return json.loads(self.run("records"))

    def snapshot(self):
        """Names, times and contents of the store."""
        return {str(path.relative_to(self.path)): (path.lstat().st_mtime_ns,
                                                   path.read_bytes() if path.is_file() else None)
                for path in sorted((self.path / self.STORE).rglob("*"))}

    def edit(self, calendar, title, *changes):
        """Each change is an (old, new) pair of the item's text; iCal counts the edit and dates it."""
        def changed(text):
            for old, new in (*changes, ("DTSTAMP:20080110T080000Z", "DTSTAMP:20080120T080000Z")):
                assert old in text, (old, text)
                text = text.replace(old, new)
            return text
        self.replace(calendar, title, changed)

    def delete(self, calendar, title):
        self.replace(calendar, title, lambda _: "")


class OldHome(Home):
    """Mac OS X 10.4: a node file, and one file of items a calendar."""

    VERSION = 4
    STORE = "Library/Application Support/iCal"

    def __init__(self, *arguments):
        super().__init__(*arguments)
        self.store = self.path / self.STORE
        (self.store / "Sources").mkdir(parents=True)
        self.save({"Version": 2, "List": []})

    def save(self, nodes):
        (self.store / "nodes.plist").write_bytes(plistlib.dumps(nodes))

    def nodes(self):
        return plistlib.loads((self.store / "nodes.plist").read_bytes())

    def title(self, node):
        if node["Type"] == "CALNamedGroupNode":
            return node["Title"]
        return plistlib.loads((self.folder(node) / "Info.plist").read_bytes())["Title"]

    def folder(self, node):
        return self.store / "Sources" / (node["SourceKey"] + ".calendar")

    def find(self, title, nodes):
        """The list that the node stands in, and its place there."""
        for place, node in enumerate(nodes):
            if self.title(node) == title:
                return nodes, place
            found = self.find(title, node.get("Subnodes", []))
            if found:
                return found
        return None

    def change(self, title, change):
        nodes = self.nodes()
        siblings, place = self.find(title, nodes["List"])
        change(nodes["List"], siblings, place)
        self.save(nodes)

    def group(self, title, **entries):
        nodes = self.nodes()
        nodes["List"].append({"Key": f"KEY-{title}", "Title": title, "ThemeColor": "#44A703FF", "Selection": True,
                              "Expanded": True, "Type": "CALNamedGroupNode", "Subnodes": [], **entries})
        self.save(nodes)

    def calendar(self, title, group=None, type_=ORDINARY, notes="", items=(), properties=None, **entries):
        nodes = self.nodes()
        node = {"Key": f"KEY-{title}", "SourceKey": f"SOURCE-{title}", "ThemeColor": "#0E61B9FF", "Selection": True,
                "Type": "CALSourceNode", **entries}
        members = nodes["List"]
        if group:
            siblings, place = self.find(group, members)
            members = siblings[place]["Subnodes"]
        folder = self.folder(node)
        folder.mkdir()
        (folder / "Info.plist").write_bytes(plistlib.dumps(
            {"Title": title, "Key": node["SourceKey"], "Type": type_, "Notes": notes}))
        (folder / "corestorage.ics").write_bytes(item_file(items))
        if properties:
            (folder / "Properties.plist").write_bytes(properties)
        members.append(node)
        self.save(nodes)

    def items_file(self, calendar):
        siblings, place = self.find(calendar, self.nodes()["List"])
        return self.folder(siblings[place]) / "corestorage.ics"

    def add(self, calendar, text):
        file = self.items_file(calendar)
        file.write_bytes(item_file([*components_of(file.read_bytes()), text]))

    def replace(self, calendar, title, change):
        file = self.items_file(calendar)
        texts = components_of(file.read_bytes())
        assert sum(is_titled(text, title) for text in texts) == 1, (calendar, title, texts)
        file.write_bytes(item_file([change(text) if is_titled(text, title) else text for text in texts]))


class NewHome(Home):
    """Mac OS X 10.5: a folder for each calendar and group, one file an item."""

    VERSION = 5
    STORE = "Library/Calendars"

    def __init__(self, *arguments):
        super().__init__(*arguments)
        self.store = self.path / self.STORE
        self.store.mkdir(parents=True)

    def info(self, title):
        found = [(file, info) for file in sorted(self.store.glob("*/Info.plist"))
                 for info in [plistlib.loads(file.read_bytes())] if info["Title"] == title]
        assert len(found) == 1, (title, found)
        return found[0]

    def set(self, title, **entries):
        file, info = self.info(title)
        file.write_bytes(plistlib.dumps({**info, **entries}))

    def group(self, title, order, members=()):
        folder = self.store / f"SOURCE-{title}.group"
        folder.mkdir()
        (folder / "Info.plist").write_bytes(plistlib.dumps(
            {"Key": f"SOURCE-{title}", "Title": title, "Color": "#F64F00FF", "Notes": "", "Order": order, "Checked": 1,
             "Expanded": True, "Calendars": [f"SOURCE-{member}" for member in members]}))

    def calendar(self, title, order, items=(), **entries):
        folder = self.store / f"SOURCE-{title}.calendar"
        (folder / "Events").mkdir(parents=True)
        (folder / "Info.plist").write_bytes(plistlib.dumps(
            {"Key": f"SOURCE-{title}", "Title": title, "Color": "#2CA10BFF", "Notes": "", "Order": order, "Checked": 1,
             "AlarmsDisabled": 0, "Type": "Local", **entries}))
        for item in items:
            self.add(title, item)

    def events(self, calendar):
        folder = self.info(calendar)[0].parent / "Events"
        folder.mkdir(exist_ok=True)
        return folder

    def add(self, calendar, text):
        folder = self.events(calendar)
        (folder / f"neu-{len(list(folder.iterdir()))}.ics").write_bytes(item_file([text]))

    def replace(self, calendar, title, change):
        files = [file for file in sorted(self.events(calendar).iterdir())
                 if is_titled(file.read_bytes().decode(), title)]
        assert len(files) == 1, (calendar, title, files)
        texts = [change(text) for text in components_of(files[0].read_bytes())]
        if any(texts):
            files[0].write_bytes(item_file(texts))
        else:
            files[0].unlink()


# What the two layouts cannot both hold. Everything else has to be the same on both sides.
#
# of a calendar
#   Notes                  10.4 keeps none but those of groups
#   AlarmsDisabled         10.4 has no such switch
#   ParentRecordKey        in 10.4 what stands at the top is its own parent, in 10.5 it has none
#   Order                  10.4 counts in every group anew, 10.5 keeps the numbers: compared by what comes before what
#   Publisher              each has its own keys; 10.5 cannot hold what was published in 10.4
#   Subscriber(Data)       a dictionary in 10.5, an archive in 10.4: compared by what both name
# of an event
#   RecurrenceParentRecordKey, RecurrenceExceptionDates
#                          found only where a series and its occurrence stand in one file, as in 10.4
ONE_SIDED = {
    "ical-calendar": ("Notes", "AlarmsDisabled", "ParentRecordKey", "Order", "Publisher", "Subscriber",
                      "SubscriberData"),
    "ical-event": ("RecurrenceParentRecordKey", "RecurrenceExceptionDates"),
    "ical-task": (),
}


def subscription_of(fields):
    """Address, automatic refresh, interval, without alarms, without tasks."""
    if "SubscriberData" in fields:
        settings = settings_in_archive(base64.b64decode(fields["SubscriberData"]["data"]))
        address, hidden = settings["RemoteURL"], settings["Filter"]
        return address, bool(settings["AutoRefresh"]), settings["RefreshInterval"], hidden & 2 != 0, hidden & 1 != 0
    settings = fields.get("Subscriber")
    return settings and (settings["SubscriptionURL"], bool(settings["AutoRefresh"]), settings["RefreshInterval"],
                         bool(settings["AlarmFilter"]), bool(settings["TaskFilter"]))


def parent_of(record):
    parent = record["parentKey"]
    return None if record["conduit"] == "ical-calendar" and parent == record["key"] else parent


def comparable(records):
    """The records by conduit and key, without what only one side can hold."""
    found = {}
    for record in records:
        name = (record["conduit"], record["key"])
        assert name not in found, name
        fields = {key: value for key, value in record["record"].items() if key not in ONE_SIDED[record["conduit"]]}
        found[name] = {"parent": parent_of(record), "subscription": subscription_of(record["record"]), **fields}
    return found


def outline(records):
    """Titles in the order in which each group, and None for the top, shows them."""
    calendars = [record for record in records if record["conduit"] == "ical-calendar"]
    titles = {record["key"]: record["record"]["Title"] for record in calendars}
    shown = {}
    for record in sorted(calendars, key=lambda each: (each["record"]["Order"], each["key"])):
        shown.setdefault(titles.get(parent_of(record)), []).append(record["record"]["Title"])
    return shown


def field(records, title, name):
    return next((record["record"].get(name) for record in records if record["record"]["Title"] == title), None)


class BothLayouts(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.server = pathlib.Path(folder.name) / "server.sqlite"
        self.old = OldHome(pathlib.Path(folder.name), "alt", self.server)
        self.new = NewHome(pathlib.Path(folder.name), "neu", self.server)

    def fill_old(self):
        self.old.group("Büro", Notes="Alles, was Geld bringt")
        self.old.calendar("Arbeit", "Büro", notes="nur im Büro", Publishers=[
            {"Sources": ["SOURCE-Arbeit"], "Type": "CALURLPublisher", "PublishName": "Arbeit", "AutoUpdate": True,
             "UploadURL": "http://example.invalid/arbeit.ics", "Filter": 0}], items=[
                event("Besprechung", "20080114T090000", "20080114T100000", "LOCATION:Zimmer 5"),
                event("Jour fixe", "20080115T140000", "20080115T150000", "UID:jour-fixe", "RRULE:FREQ=WEEKLY;COUNT=10"),
                component("VEVENT", "Jour fixe (verlegt)", "SEQUENCE:1", "UID:jour-fixe",
                          "RECURRENCE-ID;TZID=Europe/Berlin:20080122T140000",
                          "DTSTART;TZID=Europe/Berlin:20080123T140000", "DTEND;TZID=Europe/Berlin:20080123T150000"),
                task("Bericht schreiben", "DUE;VALUE=DATE:20080131")])
        self.old.calendar("Projekte", "Büro")
        self.old.calendar("Privat", items=[event("Zahnärztin", "20080116T083000", "20080116T091500"),
                                           task("Tee kaufen"), task("Steuer", "PRIORITY:1")])
        self.old.calendar("Feiertage", type_=SUBSCRIBED, Selection=False,
                          properties=subscription_archive("http://example.invalid/feiertage.ics", 2),
                          items=[component("VEVENT", "Neujahr", "SEQUENCE:1", "DTSTART;VALUE=DATE:20080101",
                                           "DTEND;VALUE=DATE:20080102")])

    def fill_new(self):
        self.new.group("Zuhause", 10, ["Familie", "Kinder"])
        self.new.calendar("Familie", 11, Notes="alle zusammen", items=[
            event("Großmutters Geburtstag", "20080120T150000", "20080120T180000",
                  "BEGIN:VALARM", "ACTION:DISPLAY", "DESCRIPTION:Kuchen!", "TRIGGER:-PT1H", "END:VALARM"),
            task("Geschenk besorgen")])
        self.new.calendar("Kinder", 12)
        self.new.calendar("Verein", 20, AlarmsDisabled=1, Publication={
            "PublicationURL": "http://example.invalid/verein.ics", "Name": "Verein", "AutoPublish": True,
            "AlarmFilter": True, "TaskFilter": True, "TextFilter": True}, items=[
                event("Training", "20080117T190000", "20080117T210000", "RRULE:FREQ=WEEKLY;BYDAY=TH",
                      "EXDATE;TZID=Europe/Berlin:20080124T190000")])
        self.new.calendar("Ferien", 30, Type="Subscription", SubscriptionURL="http://example.invalid/ferien.ics",
                          AutoRefresh=1, RefreshInterval=604800, AlarmFilter=1, TaskFilter=1, AttachmentFilter=0,
                          SubscriptionTitle="Schulferien", RefreshDate=datetime.datetime(2008, 1, 10, 8))

    def meet(self):
        """Everything each side has done reaches the other."""
        for home in (self.old, self.new, self.old, self.new):
            home.sync()
        old, new = self.old.records(), self.new.records()
        self.assertEqual(comparable(old), comparable(new))
        self.assertEqual(outline(old), outline(new))
        return old, new

    def first_round(self):
        self.fill_old()
        self.fill_new()
        old, new = self.meet()
        self.assertEqual(len(old), 10 + 7 + 4)
        self.assertEqual(set(outline(old)["Büro"]), {"Arbeit", "Projekte"})
        self.assertEqual(outline(old)["Zuhause"], ["Familie", "Kinder"])
        # What one side cannot hold stays on the other, and on the server.
        self.assertEqual(field(new, "Familie", "Notes"), "alle zusammen")
        self.assertEqual(field(new, "Büro", "Notes"), "Alles, was Geld bringt")
        self.assertEqual(field(new, "Arbeit", "Notes"), "nur im Büro")
        self.assertEqual(field(new, "Verein", "AlarmsDisabled"), 1)
        self.assertEqual(field(new, "Ferien", "Subscriber")["SubscriptionTitle"], "Schulferien")
        self.assertEqual(field(new, "Verein", "Publisher")["PublicationURL"], "http://example.invalid/verein.ics")
        published = {"Sources": ["SOURCE-Verein"], "Type": "CALURLPublisher", "AutoUpdate": True,
                     "PublishName": "Verein", "UploadURL": "http://example.invalid/verein.ics", "Filter": 0}
        self.assertEqual(field(old, "Verein", "Publisher"), published)
        self.assertEqual(field(old, "Arbeit", "Publisher")["UploadURL"], "http://example.invalid/arbeit.ics")
        self.assertIsNone(field(new, "Arbeit", "Publisher"))
        series = next(record["key"] for record in old if record["record"]["Title"] == "Jour fixe")
        self.assertEqual(field(old, "Jour fixe (verlegt)", "RecurrenceParentRecordKey"), series)

    def second_round(self):
        # Each adds to, changes and deletes from what came from the other.
        self.old.add("Familie", event("Schlittenfahrt", "20080126T100000", "20080126T160000"))
        self.old.edit("Verein", "Training", ("SEQUENCE:1", "SEQUENCE:2"),
                      ("END:VEVENT", "LOCATION:Halle 3\r\nEND:VEVENT"))
        self.old.delete("Familie", "Geschenk besorgen")
        self.old.calendar("Garten", "Zuhause", items=[task("Bäume schneiden")])
        self.new.add("Privat", event("Kino", "20080118T200000", "20080118T220000"))
        self.new.add("Privat", task("Öl wechseln"))
        self.new.edit("Arbeit", "Besprechung", ("SEQUENCE:1", "SEQUENCE:2"), ("20080114T09", "20080114T11"),
                      ("20080114T10", "20080114T12"))
        self.new.edit("Privat", "Steuer", ("END:VTODO", "COMPLETED:20080119T120000Z\r\nSTATUS:COMPLETED\r\nEND:VTODO"))
        self.new.delete("Privat", "Zahnärztin")
        self.new.set("Feiertage", SubscriptionURL="http://example.invalid/feiertage-2008.ics")
        self.new.set("Projekte", Color="#FF00AAFF")
        old, new = self.meet()
        self.assertEqual(outline(old)["Zuhause"], ["Familie", "Kinder", "Garten"])
        for records in (old, new):
            titles = {record["record"]["Title"] for record in records}
            self.assertLessEqual({"Schlittenfahrt", "Kino", "Öl wechseln", "Garten", "Bäume schneiden"}, titles)
            self.assertFalse({"Geschenk besorgen", "Zahnärztin"} & titles)
            self.assertEqual(field(records, "Training", "Location"), "Halle 3")
            self.assertEqual(field(records, "Besprechung", "StartDate")["iCalDate"], "20080114T110000")
            self.assertEqual(field(records, "Projekte", "Color"), "#FF00AAFF")
            feiertage = next(record["record"] for record in records if record["record"]["Title"] == "Feiertage")
            self.assertEqual(subscription_of(feiertage)[0], "http://example.invalid/feiertage-2008.ics")
        self.assertEqual(field(new, "Arbeit", "Notes"), "nur im Büro")

    def third_round(self):
        # Order, groups and publishing; whole calendars go.
        def to_the_front(_, siblings, place):
            siblings.insert(0, siblings.pop(place))
        self.old.change("Garten", to_the_front)

        def to_the_top(top, siblings, place):
            top.append(siblings.pop(place))
        self.old.change("Projekte", to_the_top)

        def unpublished(_, siblings, place):
            del siblings[place]["Publishers"]
        self.old.change("Arbeit", unpublished)

        self.new.set("Verein", Publication={
            "PublicationURL": "http://example.invalid/verein-neu.ics", "Name": "Verein 2008", "AutoPublish": False,
            "AlarmFilter": False, "TaskFilter": False, "TextFilter": True})
        shutil.rmtree(self.new.info("Ferien")[0].parent)
        self.new.delete("Familie", "Schlittenfahrt")
        old, new = self.meet()
        self.assertEqual(outline(old)["Zuhause"], ["Garten", "Familie", "Kinder"])
        self.assertEqual(outline(old)["Büro"], ["Arbeit"])
        self.assertEqual(outline(old)[None][-1], "Projekte")
        self.assertNotIn("Ferien", outline(old)[None])
        self.assertIsNone(field(old, "Arbeit", "Publisher"))
        self.assertEqual(field(old, "Verein", "Publisher"),
                         {"Sources": ["SOURCE-Verein"], "Type": "CALURLPublisher", "AutoUpdate": False,
                          "PublishName": "Verein 2008", "UploadURL": "http://example.invalid/verein-neu.ics",
                          "Filter": 5})
        for records in (old, new):
            self.assertIsNone(field(records, "Schlittenfahrt", "Title"))

    def server_rows(self):
        with sqlite3.connect(f"file:{self.server}?mode=ro", uri=True) as server:
            return server.execute("SELECT * FROM records ORDER BY account, conduit, key").fetchall()

    def test_stay_in_step(self):
        self.first_round()
        self.second_round()
        self.third_round()
        before = self.old.snapshot(), self.new.snapshot(), self.server_rows()
        for home in (self.old, self.new, self.old, self.new):
            text = home.sync()
            self.assertIn("Zum Server: 0 Datensätze, 0 Löschungen\nVom Server: 0 Datensätze, 0 Löschungen\n", text)
        self.assertEqual(before, (self.old.snapshot(), self.new.snapshot(), self.server_rows()))

    def test_write_the_one_file_of_an_edit(self):
        """One event edited here: one file of the calendars there differs, and no file is written beside it."""
        self.fill_old()
        self.fill_new()
        self.meet()
        for writer, reader, calendar, title in ((self.new, self.old, "Familie", "Großmutters Geburtstag"),
                                                (self.old, self.new, "Privat", "Zahnärztin")):
            before = reader.snapshot()
            writer.edit(calendar, title, ("END:VEVENT", "LOCATION:Wintergarten\r\nEND:VEVENT"))
            writer.sync()
            reader.sync()
            after = reader.snapshot()
            files = {name for name, (_, content) in {**before, **after}.items() if content is not None}
            touched = {name for name in files if before.get(name) != after.get(name)}
            items = {name for name in touched if name.endswith(".ics")}
            self.assertEqual(len(items), 1, touched)
            self.assertIn("LOCATION:Wintergarten", after[items.pop()][1].decode())
            self.assertEqual(len(touched), 1, touched)


if __name__ == "__main__":
    unittest.main()

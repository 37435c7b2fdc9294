"""What has to hold once the homes have come to rest again."""
import collections
import re

from both_layouts_test import comparable, outline
from household import calendar_folders, texts_of
from stage import SUITE, Failure

ROUNDS = 4  # of both homes, until neither has anything to say
NUMBER = ("Order",)  # of a calendar in its group: only which comes before which means something
QUIET = ("sent", "received", "deletedOnServer", "deletedHere", "refused", "rewritten", "held", "restored")


def files_of(stage):
    """Names, places on disk, times and bytes of both stores, of their backups, and the server's bytes."""
    found = {"server": stage.server.read_bytes()}
    for home in (stage.here, stage.there):
        for folder in (home.store, home.path / SUITE / "Backups"):
            for path in folder.rglob("*"):
                status = path.lstat()
                found[str(path)] = (status.st_ino, status.st_mtime_ns, path.read_bytes() if path.is_file() else None)
    return found


def moved(before, after):
    return sorted(name for name in before.keys() | after.keys() if before.get(name) != after.get(name))


def run_both(stage):
    return [stage.sync(home) for home in (stage.here, stage.there)]


def come_to_rest(stage):
    """Runs both homes until neither has news, and once more, which must not touch a file."""
    for _ in range(ROUNDS):
        reports = run_both(stage)
        if not any(report[name] for report in reports for name in QUIET):
            break
    else:
        raise Failure(f"no rest after {ROUNDS} rounds: {reports}")
    before = files_of(stage)
    run_both(stage)
    touched = moved(before, files_of(stage))
    if touched:
        raise Failure(f"a run without news touched {touched}")


class Outcome:
    """What two homes at rest hold."""

    def __init__(self, stage):
        self.records = {home.path.name: home.records() for home in (stage.here, stage.there)}
        self.kept = {home.path.name: kept_lines(home) for home in (stage.here, stage.there)}
        self.aside = {home.path.name: folders_aside(home) for home in (stage.here, stage.there)}

    def check_same(self, expected, left_out=NUMBER):
        complaints = []
        for name, records in self.records.items():
            complaints += [f"{name}: {each}" for each in differing_records(expected.records[name], records, left_out)]
            if outline(records) != outline(expected.records[name]):
                complaints.append(f"{name}: in the order {outline(records)}, not {outline(expected.records[name])}")
            if self.kept[name] != expected.kept[name]:
                complaints.append(f"{name}: texts {difference(expected.kept[name], self.kept[name])}")
            if self.aside[name] != expected.aside[name]:
                complaints.append(f"{name}: folders that are no calendars: {self.aside[name]}")
        if complaints:
            raise Failure("\n    ".join(["", *complaints]))


def kept_lines(home):
    """How often each text's own line stands in the store, by what it stands in."""
    return collections.Counter(
        (re.search(r"\r\nSUMMARY:(.*?)\r\n", text)[1], *re.findall(r"COMMENT.*(?=\r\n)", text)) for text in texts_of(home))


def folders_aside(home):
    """Folders among those of calendars that the calendar program takes for none."""
    known = calendar_folders(home)
    return sorted(path.name for path in (known[0].parent.iterdir() if known else ())
                  if path.name.endswith(".calendar") and path not in known)


def difference(expected, found):
    return {"missing": sorted((expected - found).elements()), "too many": sorted((found - expected).elements())}


def by_name(records, left_out):
    """The records by conduit, key and number among those of one key, without fields of calendars that are left out."""
    found = {}
    for record in records:
        name = (record["conduit"], record["key"])
        while name in found:
            name = (*name, "again")
        fields = {key: value for key, value in record["record"].items()
                  if record["conduit"] != "ical-calendar" or key not in left_out}
        found[name] = {"parentKey": record["parentKey"], **fields}
    return found


def differing_records(expected, found, left_out=NUMBER):
    expected, found = by_name(expected, left_out), by_name(found, left_out)
    complaints = []
    for name in sorted(expected.keys() | found.keys()):
        if name not in found:
            complaints.append(f"missing: {expected[name].get('Title')} {name}")
        elif name not in expected:
            complaints.append(f"too many: {found[name].get('Title')} {name}")
        elif expected[name] != found[name]:
            complaints.append(f"differs: {fields_that_differ(expected[name], found[name])}")
    return complaints


def fields_that_differ(expected, found):
    return expected.get("Title"), {name: (expected.get(name), found.get(name))
                                   for name in sorted(expected.keys() | found.keys())
                                   if expected.get(name) != found.get(name)}


def check_reference(stage, outcome, unread):
    """The run that nobody cut brings the homes together, but for what cannot be read here."""
    here, there = (comparable(outcome.records[home.path.name]) for home in (stage.here, stage.there))
    there = {name: fields for name, fields in there.items() if fields["Title"] not in unread}
    if here != there:
        raise Failure("uncut: " + "; ".join(
            f"{name} {here.get(name)} {there.get(name)}" for name in here.keys() | there.keys()
            if here.get(name) != there.get(name)))


def check_untouched(stage, before):
    """Every text that nobody edited stands in its home as it stood, once."""
    after = texts_of(stage.here)
    wrong = [text for text in before if after.count(text) != 1]
    if wrong:
        raise Failure(f"not there just as they were: {wrong}")

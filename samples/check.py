#!/usr/bin/env python3
"""What the demo looks at.

compare A.json B.json          whether two homes give the same records (icalsync records --json)
compare-layouts A.json B.json  the same for two homes of different layouts
dump SERVER.sqlite             every record of a server's file, one a line
"""
import hashlib
import json
import sqlite3
import sys

# A 10.5 store keeps each item in a file of its own once it has been rewritten, so the link between
# a series and a detached occurrence of it is only found where both still stand in one file.
LINK = ("RecurrenceParentRecordKey", "RecurrenceExceptionDates")

# Of a calendar, the 10.4 layout has no notes and no switch for alarms; publishing and subscriptions
# stand there under other names.
OF_ONE_LAYOUT = ("Notes", "AlarmsDisabled", "Publisher", "Subscriber", "SubscriberData")


def records_by_name(path):
    """The records of a home by conduit and key, without the link; equal keys are an error."""
    with open(path, encoding="utf-8") as file:
        records = json.load(file)
    found = {}
    for record in records:
        name = (record["conduit"], record["key"])
        if name in found:
            raise SystemExit(f"{path}: {name} steht zweimal da")
        fields = {key: value for key, value in record["record"].items() if key not in LINK}
        found[name] = {"parentKey": record["parentKey"], "record": fields}
    return found


def without_layout(records):
    """The records as both layouts can hold them. What stands at the top is its own parent in 10.4,
    and calendars are counted there anew in every group: what counts is which comes before which."""
    groups = {}
    for (conduit, key), record in records.items():
        if conduit == "ical-calendar":
            if record["parentKey"] == key:
                record["parentKey"] = None
            groups.setdefault(record["parentKey"], []).append((record["record"]["Order"], key))
    places = {key: place for group in groups.values() for place, (_, key) in enumerate(sorted(group))}
    for (conduit, key), record in records.items():
        if conduit == "ical-calendar":
            fields = {name: value for name, value in record["record"].items()
                      if name not in OF_ONE_LAYOUT and name != "ParentRecordKey"}
            record["record"] = {**fields, "Order": places[key]}
    return records


def differences(first, second):
    """One line for each record that one side lacks and each field that differs."""
    lines = []
    for name in sorted(first.keys() | second.keys()):
        if name not in first or name not in second:
            lines.append(f"{name}: nur auf einer Seite")
            continue
        one, other = first[name], second[name]
        if one["parentKey"] != other["parentKey"]:
            lines.append(f"{name}: parentKey {one['parentKey']} gegen {other['parentKey']}")
        fields, others = one["record"], other["record"]
        for field in sorted(fields.keys() | others.keys()):
            if fields.get(field) != others.get(field):
                lines.append(f"{name}: {field} {fields.get(field)!r} gegen {others.get(field)!r}")
    return lines


def compare(first, second, result):
    if not first:
        raise SystemExit("Es gibt keine Datensätze.")
    lines = differences(first, second)
    if lines:
        raise SystemExit("Die Datensätze unterscheiden sich:\n" + "\n".join(lines))
    print(result.format(len(first)))


def dump(path):
    with sqlite3.connect(f"file:{path}?mode=ro", uri=True) as server:
        rows = server.execute("SELECT account, conduit, key, parent_key, revision, deleted, hash, content"
                              " FROM records ORDER BY account, conduit, key").fetchall()
    if not rows:
        raise SystemExit(f"{path}: keine Datensätze")
    for *columns, content in rows:
        print(*columns, hashlib.sha256(content).hexdigest())


def main(arguments):
    if len(arguments) == 3 and arguments[0] == "compare":
        compare(*map(records_by_name, arguments[1:]), "Beide Heimordner geben dieselben {} Datensätze.")
    elif len(arguments) == 3 and arguments[0] == "compare-layouts":
        compare(*(without_layout(records_by_name(path)) for path in arguments[1:]),
                "Beide Ablagen geben dieselben {} Datensätze, bis auf das, was es nur in einer von beiden gibt.")
    elif len(arguments) == 2 and arguments[0] == "dump":
        dump(arguments[1])
    else:
        raise SystemExit(__doc__)


if __name__ == "__main__":
    main(sys.argv[1:])

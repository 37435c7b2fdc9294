"""What stands in the homes that are cut off, and what their people do meanwhile: the same in either layout."""
import os
import pathlib
import plistlib
import sys

SOURCE = pathlib.Path(os.environ["KT_SOURCE_DIR"])
sys.path.insert(0, str(SOURCE / "tests/Sync/Host/Command"))
from both_layouts_test import NewHome, OldHome, component, components_of, event, is_titled, item_file, task  # noqa: E402

HOMES = {"10.4": OldHome, "10.5": NewHome}


def own(uid):
    """What tells a text of ours: its UID, and a line that no record holds and every rewrite has to keep."""
    return [f"UID:{uid}", f"COMMENT;LANGUAGE=de:{uid}"]


def meeting(title, day, hour, *more):
    return event(title, f"200801{day:02}T{hour:02}0000", f"200801{day:02}T{hour + 1:02}0000", *own(f"uid-{title}"), *more)


def todo(title, *more):
    return task(title, *own(f"uid-{title}"), *more)


def series(title):
    """A series and its one moved occurrence, which share a UID."""
    return [meeting(title, 15, 14, "RRULE:FREQ=WEEKLY;COUNT=10"),
            component("VEVENT", f"{title} (verlegt)", "SEQUENCE:1", *own(f"uid-{title}"),
                      "RECURRENCE-ID;TZID=Europe/Berlin:20080122T140000",
                      "DTSTART;TZID=Europe/Berlin:20080123T140000", "DTEND;TZID=Europe/Berlin:20080123T150000")]


def is_new(home):
    return isinstance(home, NewHome)


def add_group(home, title, order):
    if is_new(home):
        home.group(title, order)
    else:
        home.group(title)


def add_calendar(home, title, order, items=(), group=None):
    if not is_new(home):
        home.calendar(title, group, items=items)
        return
    home.calendar(title, order)
    for number, item in enumerate(items):
        (home.events(title) / f"{title}-{number}.ics").write_bytes(item_file([item]))
    if group:
        into_group(home, title, group)


def into_group(home, title, group):
    if is_new(home):
        key = home.info(title)[1]["Key"]
        home.set(group, Calendars=[*home.info(group)[1]["Calendars"], key])
        return

    def moved(top, siblings, place):
        node = siblings.pop(place)
        groups, found = home.find(group, top)
        groups[found].setdefault("Subnodes", []).append(node)
    home.change(title, moved)


def rename_calendar(home, title, to):
    if is_new(home):
        home.set(title, Title=to)
        return
    siblings, place = home.find(title, home.nodes()["List"])
    file = home.folder(siblings[place]) / "Info.plist"
    file.write_bytes(plistlib.dumps({**plistlib.loads(file.read_bytes()), "Title": to}))


def add_item(home, calendar, text):
    if not is_new(home):
        home.add(calendar, text)
        return
    name = next(line for line in text.split("\r\n") if line.startswith("UID:"))[4:]
    (home.events(calendar) / f"{name}.ics").write_bytes(item_file([text]))


def change_text(home, calendar, title, change):
    """Of the texts that share a file only the one with this title."""
    if not is_new(home):
        home.replace(calendar, title, change)
        return
    for file in sorted(home.events(calendar).iterdir()):
        texts = components_of(file.read_bytes())
        changed = [change(text) if is_titled(text, title) else text for text in texts]
        if any(changed) and changed != texts:
            file.write_bytes(item_file(changed))
        elif texts and not any(changed):
            file.unlink()


def delete_item(home, calendar, title):
    change_text(home, calendar, title, lambda _: "")


def move_item(home, title, calendar, to):
    taken = []

    def take(text):
        taken.append(text)
        return ""
    change_text(home, calendar, title, take)
    assert len(taken) == 1, (title, taken)
    add_item(home, to, taken[0])


def edit_item(home, calendar, title, line):
    """Another line in the item, as if a person had filled in a field."""
    def changed(text):
        kind = "VTODO" if "BEGIN:VTODO" in text else "VEVENT"
        text = text.replace("SEQUENCE:1", "SEQUENCE:2").replace("DTSTAMP:20080110", "DTSTAMP:20080120")
        return text.replace(f"END:{kind}", f"{line}\r\nEND:{kind}")
    change_text(home, calendar, title, changed)


def damage(home):
    """One text that cannot be read, and one that ends the reading of its whole calendar."""
    edit_item(home, "Privat", "Chor", "SUMMARY:Chor oder Orchester")
    edit_item(home, "Verein", "Probe", "RRULE:FREQ=DAILY\r\nRRULE:FREQ=WEEKLY")


# What has no record then.
UNREAD = {"Chor", "Verein", "Probe", "Konzert"}


def fill(home):
    """A household of its own: groups, a list of tasks, a series, a text that cannot be read, one of each to be edited."""
    add_group(home, "Büro", 10)
    add_calendar(home, "Arbeit", 11, [meeting("Besprechung", 14, 9), *series("Fixe"), todo("Bericht")], "Büro")
    add_calendar(home, "Projekte", 12, [meeting("Anstoß", 17, 9), todo("Plan")], "Büro")
    add_calendar(home, "Privat", 20, [meeting("Zahnarzt", 16, 8), meeting("Flohmarkt", 19, 10), meeting("Chor", 22, 19), todo("Tee"),
                                      todo("Steuer", "PRIORITY:1")])
    add_calendar(home, "Einkauf", 30, [todo("Brot"), todo("Milch")])
    add_calendar(home, "Verein", 40, [meeting("Probe", 18, 19), meeting("Konzert", 20, 20)])
    add_calendar(home, "Altes", 50, [meeting("Abschied", 2, 12)])


def fill_a_little(home):
    """What another home has of its own before it meets the first."""
    add_calendar(home, "Garten", 10, [meeting("Pflanzen", 21, 10), todo("Gießen")])
    add_calendar(home, "Einkauf", 20, [todo("Käse")])


def edit_there(home):
    """Every kind of change that another home has to write."""
    edit_item(home, "Arbeit", "Besprechung", "LOCATION:Zimmer 7")
    edit_item(home, "Arbeit", "Fixe", "LOCATION:Küche")
    edit_item(home, "Verein", "Konzert", "LOCATION:Halle")
    edit_item(home, "Einkauf", "Brot", "COMPLETED:20080119T120000Z\r\nSTATUS:COMPLETED")
    add_item(home, "Einkauf", todo("Salz"))
    add_item(home, "Privat", meeting("Kino", 18, 20))
    delete_item(home, "Privat", "Zahnarzt")
    move_item(home, "Tee", "Privat", "Projekte")
    rename_calendar(home, "Projekte", "Vorhaben")
    add_group(home, "Zuhause", 60)
    into_group(home, "Privat", "Zuhause")
    add_calendar(home, "Neues", 61, [meeting("Premiere", 25, 18), todo("Blumen")], "Zuhause")
    remove_calendar(home, "Altes")


def remove_calendar(home, title):
    if is_new(home):
        folder = home.info(title)[0].parent
    else:
        siblings, place = home.find(title, home.nodes()["List"])
        folder = home.folder(siblings[place])
        home.change(title, lambda top, members, found: members.pop(found))
    for path in sorted(folder.rglob("*"), reverse=True):
        path.rmdir() if path.is_dir() else path.unlink()
    folder.rmdir()


def edit_a_little(home):
    """What this home's person did meanwhile, none of it to what was edited there."""
    edit_item(home, "Privat", "Steuer", "DESCRIPTION:beim Berater")
    add_item(home, "Arbeit", meeting("Interview", 24, 11))


def edit_more(home):
    """What makes it harder: something is gone here, something cannot be read."""
    delete_item(home, "Privat", "Flohmarkt")
    damage(home)


# What was edited there and waits here, as its calendar cannot be read.
WAITING = {"Konzert"}
# Texts that stay byte for byte in the home that holds them while all of the above is done.
UNTOUCHED = {"Bericht", "Anstoß", "Plan", "Milch", "Probe", "Konzert", "Chor", "Steuer", "Interview", "Fixe (verlegt)"}


def calendar_folders(home):
    """Those that the calendar program sees: in 10.4 a folder that no node names is none."""
    if is_new(home):
        return sorted(home.store.glob("*.calendar"))
    return sorted(folders_of(home, home.nodes()["List"]))


def folders_of(home, nodes):
    for node in nodes:
        if "SourceKey" in node:
            yield home.folder(node)
        yield from folders_of(home, node.get("Subnodes", []))


def texts_of(home):
    """Every component of the store, as it stands there."""
    return [text for folder in calendar_folders(home) for path in sorted(folder.rglob("*.ics"))
            for text in components_of(path.read_bytes())]


def untouched_texts(home, edited=()):
    return [text for text in texts_of(home) if any(is_titled(text, title) for title in UNTOUCHED.difference(edited))]

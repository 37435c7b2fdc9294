#!/usr/bin/env python3
"""What must come right: the program itself, homes of both layouts, a server, and people who change things in between.

Each scenario is told of a home "a" of either layout and of a home "b" of the other one.
"""
import collections
import json
import re
import shutil
import unittest

import household
from both_layouts_test import SUBSCRIBED, component, components_of, field, item_file, outline, subscription_archive
from checks import come_to_rest, files_of, moved
from household import (HOMES, add_calendar, add_group, add_item, change_text, delete_item, edit_item, is_new, meeting, move_item, own,
                       remove_calendar, rename_calendar, series, texts_of, todo)
from stage import SUITE, Stage
from torture import OTHER


def told_of_both_layouts(cases):
    """Makes two tests of each scenario: "a" has the older layout, "a" has the newer one."""
    for name, scenario in list(vars(cases).items()):
        if name.startswith("scenario_"):
            for layout in HOMES:
                def test(self, scenario=scenario, layout=layout):
                    self.begin(layout)
                    scenario(self)
                test.__doc__ = scenario.__doc__
                setattr(cases, f"test_{name[9:]}_{layout.replace('.', '')}", test)
    return cases


def change_uid(home, uid, change):
    """Changes the text of that UID, which its title may not tell."""
    found = 0
    for folder in household.calendar_folders(home):
        for file in sorted(folder.rglob("*.ics")):
            texts = components_of(file.read_bytes())
            changed = [change(text) if f"\r\nUID:{uid}\r\n" in text else text for text in texts]
            if changed != texts:
                found += 1
                file.write_bytes(item_file(changed))
    assert found == 1, (uid, found)


def with_line(text, line):
    return re.sub(r"END:(VEVENT|VTODO)\r\n$", line + r"\r\nEND:\1\r\n", text)


class Household(unittest.TestCase):
    """Two homes that share a calendar "Privat" and a calendar "Arbeit"."""

    def begin(self, layout):
        self.stage = Stage(layout, OTHER[layout])
        self.addCleanup(self.stage.remove)
        self.a, self.b = self.stage.here, self.stage.there
        self.homes = [self.a, self.b]
        add_calendar(self.a, "Privat", 10, [meeting("Zahnarzt", 16, 8), meeting("Kino", 17, 20), todo("Tee")])
        add_calendar(self.a, "Arbeit", 20, [meeting("Sitzung", 18, 9), todo("Bericht")])
        self.sync(self.a, self.b, self.a)

    def sync(self, *homes):
        return [self.stage.sync(home) for home in homes][-1]

    def settle(self, rounds=3):
        for _ in range(rounds):
            self.sync(*self.homes)

    def counts(self, home):
        """How often each title stands in the store."""
        return collections.Counter(re.search(r"\r\nSUMMARY:(.*?)\r\n", text)[1] for text in texts_of(home))

    def text(self, home, title):
        found = [text for text in texts_of(home) if household.is_titled(text, title)]
        self.assertEqual(len(found), 1, (home.path.name, title))
        return found[0]

    def assert_everywhere(self, *titles, gone=()):
        """Each once in every home, nothing of what is gone, and all of them at rest."""
        come_to_rest(self.stage)
        for home in self.homes:
            counts = self.counts(home)
            self.assertEqual({title: counts[title] for title in (*titles, *gone)},
                             {**dict.fromkeys(titles, 1), **dict.fromkeys(gone, 0)}, home.path.name)
        self.assertEqual(self.counts(self.a), self.counts(self.b))

    def assert_has(self, title, *lines):
        for home in self.homes:
            for line in lines:
                self.assertIn(f"{line}\r\n", self.text(home, title), home.path.name)

    def switch(self, home, title, is_on):
        key = next(each["key"] for each in json.loads(home.run("calendars", "--json")) if each["title"] == title)
        home.run("on" if is_on else "off", key)

    def store_calls(self):
        """Numbers of the calls with which the next run of "a" changes its store, and the calls; the run is not made."""
        calls = self.counted(self.stage.calls)
        return {number: call for number, call in enumerate(calls, 1) if str(self.a.store) in call}

    def counted(self, count):
        """What a copy of the stage does, which stands where the runs to be cut off begin as well."""
        self.stage.save()
        self.stage.put_back()
        try:
            calls = count()
        except PermissionError as reason:
            raise unittest.SkipTest(str(reason)) from None
        self.stage.put_back()
        return calls

    def log(self, home):
        return "".join(path.read_text(encoding="utf-8") for path in (home.path / SUITE / "Logs").glob("*.log"))


@told_of_both_layouts
class Edits(Household):
    ALL = ("Zahnarzt", "Kino", "Tee", "Sitzung", "Bericht")

    def scenario_two_tasks_of_one_title_stay_two_over_three_homes(self):
        third = HOMES["10.4" if is_new(self.a) else "10.5"](self.stage.work, "drei", self.stage.server)
        self.homes.append(third)
        for number in (1, 2):
            add_item(self.a, "Privat", component("VTODO", "Einkaufen", "SEQUENCE:1", *own(f"einkaufen-{number}")))
        self.settle()
        before = files_of(self.stage)
        self.settle(5)
        self.assertEqual([], moved(before, files_of(self.stage)))
        for home in self.homes:
            self.assertEqual(self.counts(home)["Einkaufen"], 2, home.path.name)

    def scenario_notes_here_and_location_there_are_both_there(self):
        edit_item(self.a, "Privat", "Zahnarzt", "DESCRIPTION:Karte mitnehmen")
        edit_item(self.b, "Privat", "Zahnarzt", "LOCATION:Praxis")
        self.assert_everywhere(*self.ALL)
        self.assert_has("Zahnarzt", "DESCRIPTION:Karte mitnehmen", "LOCATION:Praxis")

    def scenario_a_calendar_that_holds_most_is_renamed(self):
        for number in range(20):
            add_item(self.a, "Privat", meeting(f"Termin {number}", 20, number))
        self.settle(2)
        rename_calendar(self.a, "Privat", "Familie")
        report = self.sync(self.a)
        self.assertEqual((report["sent"], report["deletedOnServer"]), (1, 0))
        self.assert_everywhere(*self.ALL, *(f"Termin {number}" for number in range(20)))
        for home in self.homes:
            self.assertEqual(sorted(outline(home.records())[None]), ["Arbeit", "Familie"])

    def scenario_a_series_is_edited_and_its_moved_occurrence_still_belongs_to_it(self):
        for text in series("Fixe")[:1]:
            add_item(self.a, "Arbeit", text)
        if is_new(self.a):
            name = next(path for path in self.a.events("Arbeit").iterdir() if b"Fixe" in path.read_bytes())
            name.write_bytes(item_file(series("Fixe")))
        else:
            add_item(self.a, "Arbeit", series("Fixe")[1])
        self.settle(2)
        new = self.a if is_new(self.a) else self.b
        edit_item(new, "Arbeit", "Fixe", "LOCATION:Halle")
        self.assert_everywhere(*self.ALL, "Fixe", "Fixe (verlegt)")
        self.assert_has("Fixe", "LOCATION:Halle")
        for home in self.homes:
            self.assertIn("RRULE:FREQ=WEEKLY;COUNT=10", self.text(home, "Fixe"))
            uid = re.search("UID:(.*)\r", self.text(home, "Fixe"))[1]
            self.assertIn(f"UID:{uid}\r\n", self.text(home, "Fixe (verlegt)"))
            self.assertIn("RECURRENCE-ID", self.text(home, "Fixe (verlegt)"))

    def scenario_a_deleted_calendar_comes_back_with_what_was_added_to_it(self):
        remove_calendar(self.a, "Arbeit")
        add_item(self.b, "Arbeit", meeting("Interview", 24, 11))
        self.sync(self.a)
        self.assert_everywhere("Zahnarzt", "Kino", "Tee", "Interview")
        for home in self.homes:
            self.assertIn("Arbeit", outline(home.records())[None])

    def scenario_two_titles_of_one_event_leave_the_later_one_and_a_line_in_the_log(self):
        for home, title, day in ((self.a, "Zahnärztin", 20), (self.b, "Kieferorthopäde", 21)):
            change_text(home, "Privat", "Zahnarzt", lambda text, title=title, day=day: text.replace(
                "SUMMARY:Zahnarzt", f"SUMMARY:{title}").replace("SEQUENCE:1", "SEQUENCE:2").replace(
                "DTSTAMP:20080110", f"DTSTAMP:200801{day}"))
        self.assert_everywhere("Kieferorthopäde", gone=("Zahnarzt", "Zahnärztin"))
        self.assertIn("Zahnärztin", self.log(self.a) + self.log(self.b))

    def scenario_one_appointment_entered_twice_keeps_both_notes(self):
        for home, notes in ((self.a, "Röntgenbild"), (self.b, "Überweisung")):
            add_item(home, "Privat", component(
                "VEVENT", "Augenarzt", "SEQUENCE:1", f"UID:{notes}", "DTSTART;TZID=Europe/Berlin:20080125T100000",
                "DTEND;TZID=Europe/Berlin:20080125T110000", f"DESCRIPTION:{notes}"))
        come_to_rest(self.stage)
        for home in self.homes:
            for notes in ("Röntgenbild", "Überweisung"):
                self.assertIn(notes, "".join(re.findall("DESCRIPTION:.*", "".join(texts_of(home)))))

    def scenario_an_item_that_moves_is_no_deletion(self):
        move_item(self.a, "Kino", "Privat", "Arbeit")
        report = self.sync(self.a)
        self.assertEqual((report["sent"], report["deletedOnServer"]), (1, 0))
        self.assert_everywhere(*self.ALL)


@told_of_both_layouts
class SwitchedOff(Household):
    def scenario_the_main_calendar_changes_everywhere_while_it_is_switched_off(self):
        self.switch(self.a, "Privat", False)
        self.sync(self.a)
        edit_item(self.b, "Privat", "Zahnarzt", "LOCATION:Praxis")
        add_item(self.b, "Arbeit", todo("Plan"))
        edit_item(self.a, "Privat", "Kino", "DESCRIPTION:Reihe 7")
        self.settle(2)
        self.assertNotIn("LOCATION", self.text(self.a, "Zahnarzt"))
        self.switch(self.a, "Privat", True)
        self.assert_everywhere("Zahnarzt", "Kino", "Tee", "Sitzung", "Bericht", "Plan")
        self.assert_has("Zahnarzt", "LOCATION:Praxis")
        self.assert_has("Kino", "DESCRIPTION:Reihe 7")

    def scenario_what_is_deleted_in_it_does_not_come_back(self):
        self.switch(self.a, "Privat", False)
        self.sync(self.a)
        delete_item(self.a, "Privat", "Kino")
        add_item(self.b, "Arbeit", todo("Plan"))
        self.settle(2)
        self.assertEqual(self.counts(self.a)["Kino"], 0)
        self.switch(self.a, "Privat", True)
        self.assert_everywhere("Zahnarzt", "Tee", "Plan", gone=("Kino",))

    def scenario_what_is_deleted_before_a_check_box_is_clicked_stays_deleted(self):
        delete_item(self.a, "Privat", "Kino")
        self.switch(self.a, "Arbeit", False)
        self.assert_everywhere("Zahnarzt", "Tee", "Sitzung", "Bericht", gone=("Kino",))

    def scenario_two_tasks_of_one_title_outlive_damage_and_kills(self):
        for number in (1, 2):
            add_item(self.a, "Privat", component("VTODO", "Einkaufen", "SEQUENCE:1", *own(f"einkaufen-{number}"),
                                                 f"DESCRIPTION:Zettel {number}"))
        self.settle(2)
        self.switch(self.a, "Privat", False)
        self.sync(self.a)
        change_uid(self.a, "einkaufen-1", lambda text: with_line(text, "SUMMARY:Einkaufen oder nicht"))
        add_item(self.b, "Arbeit", todo("Plan"))
        self.sync(self.b)
        numbers = sorted(self.store_calls())
        for number in (numbers[0], numbers[len(numbers) // 2], numbers[-1]):
            self.stage.put_back()
            self.assertTrue(self.stage.kill_at(number))
            self.sync(self.a)
            change_uid(self.a, "einkaufen-1", lambda text: text.replace("SUMMARY:Einkaufen oder nicht\r\n", ""))
            self.switch(self.a, "Privat", True)
            self.assert_everywhere("Zahnarzt", "Kino", "Tee", "Plan")
            for home in self.homes:
                self.assertEqual(sorted(re.findall("Zettel .", "".join(texts_of(home)))), ["Zettel 1", "Zettel 2"])


@told_of_both_layouts
class Interrupted(Household):
    def given_changes_of_b(self):
        delete_item(self.b, "Privat", "Kino")
        edit_item(self.b, "Privat", "Zahnarzt", "LOCATION:Praxis")
        add_calendar(self.b, "Verein", 30, [meeting("Probe", 18, 19)])
        self.sync(self.b)

    def assert_healed(self):
        self.assert_everywhere("Zahnarzt", "Tee", "Sitzung", "Bericht", "Probe", gone=("Kino",))
        self.assert_has("Zahnarzt", "LOCATION:Praxis")

    def scenario_a_run_that_was_killed_before_its_rewrite_is_made_up_for(self):
        self.given_changes_of_b()
        self.assertTrue(self.stage.kill_at(min(self.store_calls())))
        self.assertEqual(self.counts(self.a)["Kino"], 1)
        self.assertEqual(self.sync(self.a)["startResult"], 6)
        self.assert_healed()

    def scenario_a_run_that_was_killed_beside_a_description_is_healed(self):
        self.given_changes_of_b()
        described = [number for number, call in self.store_calls().items() if "Info.plist" in call or "nodes.plist" in call]
        self.assertTrue(described)
        for number in sorted({each for found in described for each in (found, found + 1)}):
            self.stage.put_back()
            self.stage.kill_at(number)
            self.assert_healed()

    def scenario_a_full_volume_is_told_with_the_file_and_healed(self):
        self.given_changes_of_b()
        calls = self.counted(self.stage.calls_with_reads)
        number = max(number for number, call in enumerate(calls, 1)
                     if call.startswith("write ") and str(self.a.store) in call and ".ics" in call)
        done = self.stage.fail_once(number, "ENOSPC")
        self.assertEqual(done.returncode, 1)
        self.assertIn(".ics", done.stdout)
        self.assertIn("konnte nicht geschrieben werden", done.stdout)
        self.assertEqual(self.sync(self.a)["startResult"], 6)
        self.assert_healed()


@told_of_both_layouts
class Unreadable(Household):
    def scenario_a_calendar_that_cannot_be_read_waits_and_follows(self):
        change_uid(self.a, "uid-Kino", lambda text: with_line(text, "RRULE:FREQ=DAILY\r\nRRULE:FREQ=WEEKLY"))
        before = [text for text in texts_of(self.a) if "uid-Sitzung" not in text]
        edit_item(self.b, "Privat", "Tee", "DESCRIPTION:grün")
        edit_item(self.b, "Arbeit", "Sitzung", "LOCATION:Zimmer 7")
        delete_item(self.a, "Arbeit", "Bericht")
        self.sync(self.b)
        report = self.sync(self.a)
        self.assertEqual({loss["file"].split("/")[-1].split("-")[-1] for loss in report["newlyUnread"]} & {"Privat.calendar"},
                         {"Privat.calendar"})
        self.sync(self.b)
        self.assertIn("LOCATION:Zimmer 7", self.text(self.a, "Sitzung"))
        self.assertEqual(self.counts(self.b)["Bericht"], 0)
        self.assertEqual([text for text in texts_of(self.a) if "uid-Sitzung" not in text],
                         [text for text in before if "uid-Bericht" not in text])
        change_uid(self.a, "uid-Kino", lambda text: text.replace("RRULE:FREQ=DAILY\r\nRRULE:FREQ=WEEKLY\r\n", ""))
        self.assert_everywhere("Zahnarzt", "Kino", "Tee", "Sitzung", gone=("Bericht",))
        self.assert_has("Tee", "DESCRIPTION:grün")

    def scenario_another_item_of_its_calendar_is_deleted_and_it_is_not(self):
        """In 10.4 both stand in one file: nobody can tell whether it is the deleted one that cannot be read. It comes back."""
        add_item(self.a, "Privat", meeting("Oper", 26, 19))
        self.settle(2)
        file = next(path for folder in household.calendar_folders(self.a) for path in folder.rglob("*.ics")
                    if b"SUMMARY:Oper" in path.read_bytes())
        whole = file.read_bytes()
        head, end, tail = whole.rpartition(b"END:VEVENT\r\n")
        file.write_bytes(head + tail)
        self.assertEqual(len(self.sync(self.a)["newlyUnread"]), 1)
        delete_item(self.a, "Privat", "Zahnarzt") if is_new(self.a) else file.write_bytes(
            file.read_bytes().replace(self.text(self.a, "Zahnarzt").encode(), b""))
        self.settle(2)
        left = 0 if is_new(self.a) else 1
        self.assertEqual([self.counts(self.b)[title] for title in ("Zahnarzt", "Oper", "Tee")], [left, 1, 1])
        head, _, tail = file.read_bytes().rpartition(b"END:VCALENDAR")
        file.write_bytes(head + end + b"END:VCALENDAR" + tail)
        self.assert_everywhere("Kino", "Tee", "Oper", *["Zahnarzt"] * left, gone=["Zahnarzt"] * (1 - left))


@told_of_both_layouts
class Servers(Household):
    ALL = ("Zahnarzt", "Kino", "Tee", "Sitzung", "Bericht")

    def replace_server(self, copy=None):
        for path in self.stage.work.glob("server.sqlite*"):
            path.unlink()
        if copy:
            shutil.copy(copy, self.stage.server)

    def scenario_an_empty_one_is_filled_again(self):
        edit_item(self.a, "Privat", "Tee", "DESCRIPTION:grün")
        self.replace_server()
        self.assert_everywhere(*self.ALL)
        self.assert_has("Tee", "DESCRIPTION:grün")

    def scenario_a_small_one_is_filled_as_well(self):
        other = HOMES["10.5"](self.stage.work, "fremd", self.stage.work / "klein.sqlite")
        add_calendar(other, "Garten", 10, [meeting("Pflanzen", 21, 10)])
        other.sync()
        self.replace_server(self.stage.work / "klein.sqlite")
        self.assert_everywhere(*self.ALL, "Pflanzen")

    def scenario_a_mistyped_one_overwrites_nothing(self):
        command = self.stage.command(self.a)
        command[command.index("--server") + 1] = f"sqlite:{self.stage.work / 'sever.sqlite'}"
        before = files_of(self.stage)
        done = self.stage.run([*command, "--from-server"])
        self.assertEqual(done.returncode, 1, done.stdout)
        touched = [name for name in moved(before, files_of(self.stage)) if str(self.a.store) in name]
        self.assertEqual(touched, [])
        self.assert_everywhere(*self.ALL)

    def scenario_an_older_copy_that_has_grown_since_costs_nobody_anything(self):
        copy = self.stage.work / "alt.sqlite"
        shutil.copy(self.stage.server, copy)
        edit_item(self.a, "Privat", "Tee", "DESCRIPTION:grün")
        add_item(self.a, "Arbeit", todo("Plan"))
        self.settle(2)
        self.replace_server(copy)
        edit_item(self.b, "Privat", "Kino", "LOCATION:Saal 3")
        add_item(self.b, "Arbeit", todo("Akten"))
        self.sync(self.b, self.a)
        self.assert_everywhere(*self.ALL, "Plan", "Akten")
        self.assert_has("Tee", "DESCRIPTION:grün")
        self.assert_has("Kino", "LOCATION:Saal 3")


@told_of_both_layouts
class Quiet(Household):
    def scenario_a_journey_changes_nothing(self):
        for title, start, end in (("Frühstück", ":20080119T080000", ":20080119T090000"),
                                  ("Geburtstag", ";VALUE=DATE:20080120", ";VALUE=DATE:20080121")):
            add_item(self.a, "Privat", component("VEVENT", title, "SEQUENCE:1", *own(title), f"DTSTART{start}", f"DTEND{end}"))
        self.settle(2)
        before = files_of(self.stage)
        for zone in ("Asia/Tokyo", "America/Los_Angeles", "Europe/Berlin"):
            report = self.stage.sync(self.a, zone)
            self.assertEqual([report[name] for name in ("sent", "deletedOnServer", "received", "rewritten")],
                             [0, 0, 0, False], zone)
        self.assertEqual([], moved(before, files_of(self.stage)))
        self.assert_everywhere("Zahnarzt", "Frühstück", "Geburtstag")

    def scenario_twenty_idle_runs_move_not_a_byte(self):
        old, new = (self.b, self.a) if is_new(self.a) else (self.a, self.b)
        add_group(old, "Büro", 30)
        household.into_group(old, "Arbeit", "Büro")
        old.calendar("Feiertage", type_=SUBSCRIBED, items=[meeting("Neujahr", 1, 9)],
                     properties=subscription_archive("http://example.invalid/feiertage.ics", 0))
        new.set("Privat", Notes="Alles Private")
        self.settle()
        self.assertEqual(field(old.records(), "Neujahr", "Title"), field(new.records(), "Neujahr", "Title"))
        before = files_of(self.stage)
        for _ in range(20):
            self.sync(self.a, self.b)
        self.assertEqual([], moved(before, files_of(self.stage)))

    def scenario_a_clock_that_was_ahead_costs_no_backup(self):
        backups = self.a.path / SUITE / "Backups"
        for path in backups.iterdir():
            path.rename(path.with_name(path.name.replace("-20", "-21", 1)))
        last = sorted(path.name for path in backups.glob("*.tar.zst"))[-1]
        for number in range(12):
            edit_item(self.b, "Privat", "Tee", f"X-NUMBER:{number}") if number == 0 else add_item(
                self.b, "Privat", todo(f"Nummer {number}"))
            self.sync(self.b, self.a)
        names = sorted(path.name for path in backups.glob("*.tar.zst"))
        self.assertGreater(names[-1], last)
        self.assertLessEqual(len(names), 11)


if __name__ == "__main__":
    unittest.main()

#!/usr/bin/env python3
"""A public calendar of ten thousand events."""
import os
import sys
import time
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from browser import Browser  # noqa: E402
from site_kit import Home, Site, berlin, day, event  # noqa: E402

MANY = 10_000


def many():
    """Ten a day from January 2024 on."""
    for index in range(MANY):
        days, hour = divmod(index, 10)
        start = time.strftime("%Y%m%d", time.gmtime(1704067200 + days * 86400))
        yield event(f"Termin {index}", berlin(f"{start}T{hour + 8:02}0000"), berlin(f"{start}T{hour + 8:02}3000"))


def birthdays():
    """One a day from 1970 on, each of them every year."""
    for index in range(MANY):
        start = time.strftime("%Y%m%d", time.gmtime(index * 86400))
        yield event(f"Geburtstag {index}", day(start), more=["RRULE:FREQ=YEARLY"])


class LargeCalendar(unittest.TestCase):
    def test_ten_thousand_events_are_shown_and_served(self):
        home = Home()
        self.addCleanup(home.close)
        home.add_calendar("Groß", many())
        home.run("sync")
        key = home.publish("Groß")
        site = Site(home)
        self.addCleanup(site.close)
        status, _, body = site.get(f"/vl/calendar/{key}.ics")
        self.assertEqual(status, 200)
        self.assertEqual(body.count(b"BEGIN:VEVENT\r\n"), MANY)
        browser = Browser()
        self.addCleanup(browser.close)
        browser.open(f"{site.address}/{key}?month=2025-03&zone=Europe%2FBerlin")
        self.assertEqual(len(browser.find(".day li")), 310)
        self.assertEqual(len(browser.texts("td .more")), 42)

    def test_ten_thousand_birthdays_are_shown_on_their_days(self):
        home = Home()
        self.addCleanup(home.close)
        home.add_calendar("Geburtstage", birthdays())
        home.run("sync")
        key = home.publish("Geburtstage")
        site = Site(home)
        self.addCleanup(site.close)
        status, _, body = site.get(f"/vl/calendar/{key}?month=2026-11&zone=Europe%2FBerlin")
        self.assertEqual(status, 200)
        page = body.decode()
        self.assertNotIn("Nicht alle Wiederholungen", page)
        agenda = page[page.index('id="agenda"'):]
        born = [index for index in range(MANY) if time.gmtime(index * 86400).tm_mon == 11]
        self.assertEqual(agenda.count("Geburtstag "), len(born))


if __name__ == "__main__":
    unittest.main()

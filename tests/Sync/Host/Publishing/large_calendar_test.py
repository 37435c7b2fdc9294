#!/usr/bin/env python3
"""A public calendar of ten thousand events."""
import os
import sys
import time
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from browser import Browser  # noqa: E402
from site_kit import Home, Site, berlin, event  # noqa: E402

MANY = 10_000


def many():
    """Ten a day from January 2024 on."""
    for index in range(MANY):
        days, hour = divmod(index, 10)
        start = time.strftime("%Y%m%d", time.gmtime(1704067200 + days * 86400))
        yield event(f"Termin {index}", berlin(f"{start}T{hour + 8:02}0000"), berlin(f"{start}T{hour + 8:02}3000"))


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
        start = time.monotonic()
        browser.open(f"{site.address}/{key}?month=2025-03&zone=Europe%2FBerlin")
        self.assertEqual(len(browser.find(".day li")), 310)
        self.assertLess(time.monotonic() - start, 20)
        self.assertEqual(len(browser.texts("td .more")), 42)


if __name__ == "__main__":
    unittest.main()

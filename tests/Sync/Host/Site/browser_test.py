#!/usr/bin/env python3
"""The public pages in a real browser, served by the real program."""
import os
import sys
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from browser import Browser  # noqa: E402
from site_kit import Home, Site, berlin, day, event, task  # noqa: E402

ATTACK = "<script>alert(1)</script>"


def club():
    return [
        event("Chorprobe", berlin("20261103T193000"), berlin("20261103T210000"),
              ["LOCATION:Gemeindehaus", "RRULE:FREQ=WEEKLY;COUNT=4", "EXDATE;TZID=Europe/Berlin:20261110T193000"]),
        event("Herbstfahrt", day("20261113"), day("20261116"),
              ["DESCRIPTION:Zwei Nächte\\, drei Tage\\nbitte anmelden"]),
        event("Nachtwache", berlin("20261120T220000"), berlin("20261121T060000")),
        event(ATTACK, berlin("20261124T100000"), berlin("20261124T110000"),
              ['LOCATION:"><img src=x onerror=alert(2)>', "URL;VALUE=URI:javascript:alert(3)"]),
        task("Noten kopieren", ["DUE;VALUE=DATE:20261130"]),
        task("Saal mieten", ["STATUS:COMPLETED", "COMPLETED:20261101T120000Z"]),
    ]


class Pages(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.home = Home()
        cls.addClassCleanup(cls.home.close)
        cls.home.add_calendar("Gemeindechor", club(), notes="Alle Termine", color="#2CA10BFF")
        cls.home.add_calendar("Anna", club(), color="#B027AEFF")
        cls.home.run("sync")
        cls.club = cls.home.publish("Gemeindechor", "--tasks")
        cls.anonymous = cls.home.publish("Anna", "--anonymize")
        cls.site = Site(cls.home)
        cls.addClassCleanup(cls.site.close)
        cls.browser = Browser()
        cls.addClassCleanup(cls.browser.close)

    def setUp(self):
        self.browser.look_as(1200, 900)

    def open(self, key, month="2026-11", zone="Europe/Berlin"):
        self.browser.open(f"{self.site.address}/{key}?month={month}&zone={zone.replace('/', '%2F')}")

    def tearDown(self):
        self.assertEqual(self.browser.complaints(), [])
        self.assertFalse(self.browser.has_dialog())

    def test_the_list_leads_to_a_calendar(self):
        self.browser.open(f"{self.site.base}/vl/calendar")
        self.assertEqual(self.browser.texts("main h1"), ["Öffentliche Kalender"])
        self.assertEqual(self.browser.texts(".calendars h2"), ["Gemeindechor", "Anna"])
        self.browser.follow(".calendars li:first-child h2 a")
        self.assertEqual(self.browser.texts("h1"), ["Gemeindechor"])
        self.assertTrue(self.browser.title.startswith("Gemeindechor – "))

    def test_events_stand_on_their_days(self):
        self.open(self.club)
        self.assertEqual(self.cell("2026-11-03"), ["19:30 Chorprobe"])
        self.assertEqual(self.cell("2026-11-10"), [])
        self.assertEqual(self.cell("2026-11-17"), ["19:30 Chorprobe"])
        self.assertEqual(self.cell("2026-11-15"), ["Herbstfahrt"])
        self.assertEqual(self.cell("2026-11-16"), [])
        self.assertEqual(self.cell("2026-11-20"), ["22:00 Nachtwache"])
        self.assertEqual(self.cell("2026-11-21"), ["bis 6:00 Nachtwache"])

    def cell(self, iso):
        return self.browser.run(
            "const time = document.querySelector(`td time[datetime='${arguments[0]}']`);"
            "return [...time.closest('td').querySelectorAll('li')].map(e => e.innerText.trim())", iso)

    def test_the_agenda_tells_more(self):
        self.open(self.club)
        self.assertEqual(self.browser.texts("#tag-2026-11-03 .time"), ["19:30–21:00"])
        self.assertEqual(self.browser.texts("#tag-2026-11-03 .more"), ["Gemeindehaus"])
        self.assertEqual(self.browser.texts("#tag-2026-11-13 .more"),
                         ["13.11.2026 bis 15.11.2026", "Zwei Nächte, drei Tage\nbitte anmelden"])
        self.assertEqual(self.browser.texts("#tag-2026-11-14 .more"), ["13.11.2026 bis 15.11.2026"])
        self.assertEqual(self.browser.texts(".tasks .what"), ["Noten kopieren", "Saal mieten"])
        self.assertEqual(self.browser.texts(".tasks .muted"),
                         ["– fällig am 30.11.2026", "– erledigt am 1.11.2026, 13:00 Uhr"])

    def test_a_hostile_title_is_only_a_title(self):
        self.open(self.club)
        self.assertIn(ATTACK, self.browser.texts("#tag-2026-11-24 .what"))
        self.assertEqual(self.browser.texts("#tag-2026-11-24 .more"),
                         ['"><img src=x onerror=alert(2)>', "Gemeindehaus"])
        self.assertEqual(self.browser.find("script, img, #tag-2026-11-24 a"), [])

    def test_months_are_turned_and_zones_chosen_without_scripts(self):
        self.browser.protocol("Emulation.setScriptExecutionDisabled", value=True)
        try:
            self.open(self.club)
            self.browser.follow("nav a[rel=next]")
            self.assertIn("month=2026-12", self.browser.address)
            self.browser.follow("nav a[rel=prev]")
            self.browser.choose("#zone option[value='Asia/Tokyo']")
            self.browser.follow("form button")
            self.assertIn("zone=Asia%2FTokyo", self.browser.address)
        finally:
            self.browser.protocol("Emulation.setScriptExecutionDisabled", value=False)
        self.assertEqual(self.browser.texts("#tag-2026-11-04 .time"), ["3:30–5:00"])

    def test_a_day_leads_to_its_place_in_the_agenda(self):
        self.open(self.club)
        self.browser.click("td a[href='#tag-2026-11-24']")
        self.browser.wait_for(lambda: self.browser.address.endswith("#tag-2026-11-24"), "the place is not gone to")
        self.assertLess(abs(self.browser.run(
            "return document.getElementById('tag-2026-11-24').getBoundingClientRect().top")), 900)

    def test_an_anonymous_calendar_shows_times_and_nothing_else(self):
        self.open(self.anonymous)
        source = self.browser.run("return document.documentElement.outerHTML")
        for secret in ("Chorprobe", "Gemeindehaus", "Herbstfahrt", "anmelden", "Nachtwache", "alert", "Noten"):
            self.assertNotIn(secret, source)
        self.assertEqual(self.cell("2026-11-03"), ["19:30 Belegt"])
        self.assertEqual(self.browser.texts("#tag-2026-11-03 .what"), ["Belegt"])

    def test_a_telephone_shows_everything_in_its_width(self):
        self.browser.look_as(360, 740)
        for path in ("", f"/{self.club}?month=2026-11&zone=Europe%2FBerlin", f"/{self.anonymous}"):
            self.browser.open(self.site.address + path)
            self.assertLessEqual(self.browser.run("return document.documentElement.scrollWidth"), 360, path)
        self.open(self.club)
        small = self.browser.run(
            "return [...document.querySelectorAll('td a, nav a, button, select, input')].filter(e => "
            "e.getBoundingClientRect().height < 24).map(e => e.outerHTML)")
        self.assertEqual(small, [])

    def test_text_stands_out_by_day_and_by_night(self):
        for dark in (False, True):
            self.browser.look_as(1200, 900, dark=dark)
            for path in ("", f"/{self.club}?month=2026-11&zone=Europe%2FBerlin"):
                self.browser.open(self.site.address + path)
                self.assertEqual(self.browser.run(CONTRAST), [], "dark" if dark else "light")

    def test_the_keyboard_finds_the_way_past_the_head(self):
        self.open(self.club)
        self.browser.press("\ue004")  # Tab
        self.browser.wait_for(lambda: self.browser.run("return document.activeElement.className") == "skip",
                              "the first thing reached is another")
        self.assertGreaterEqual(self.browser.run("return document.activeElement.getBoundingClientRect().left"), 0)

    def test_pages_have_a_structure_that_can_be_heard(self):
        self.open(self.club)
        self.assertEqual(self.browser.run("return document.documentElement.lang"), "de")
        for selector, count in [("main", 1), ("h1", 1), ("header", 1), ("table caption", 1), ("thead th[scope=col]", 8),
                                ("tbody th[scope=row]", 6), ("nav[aria-label]", 1)]:
            self.assertEqual(len(self.browser.find(selector)), count, selector)
        levels = self.browser.run(
            "return [...document.querySelectorAll('h1, h2, h3, h4')].map(e => Number(e.tagName[1]))")
        self.assertEqual(levels[0], 1)
        self.assertTrue(all(after - before <= 1 for before, after in zip(levels, levels[1:])), levels)
        self.assertEqual(self.browser.run(
            "return [...document.querySelectorAll('select, input')].filter(e => e.labels.length !== 1).length"), 0)
        ids = self.browser.run("return [...document.querySelectorAll('[id]')].map(e => e.id)")
        self.assertEqual(len(ids), len(set(ids)))


# Every text whose contrast with what is behind it is below 4.5 to 1 (WCAG 2.1, 1.4.3).
CONTRAST = """
const parse = color => (color.match(/[\\d.]+/g) || []).map(Number);
const luminance = ([r, g, b]) => [r, g, b].map(c => c / 255)
  .map(c => c <= 0.03928 ? c / 12.92 : ((c + 0.055) / 1.055) ** 2.4)
  .reduce((sum, c, i) => sum + c * [0.2126, 0.7152, 0.0722][i], 0);
const behind = element => {
  for (let e = element; e; e = e.parentElement) {
    const color = parse(getComputedStyle(e).backgroundColor);
    if (color.length === 3 || color[3] > 0) return color;
  }
  return [255, 255, 255];
};
return [...document.querySelectorAll('body *')].filter(e =>
  [...e.childNodes].some(n => n.nodeType === 3 && n.data.trim()) && e.getClientRects().length && e.tagName !== 'OPTION')
  .map(e => {
    const [a, b] = [luminance(parse(getComputedStyle(e).color)), luminance(behind(e))].sort((x, y) => y - x);
    return [(a + 0.05) / (b + 0.05), e.outerHTML.slice(0, 80)];
  }).filter(([ratio]) => ratio < 4.5);
"""


if __name__ == "__main__":
    unittest.main()

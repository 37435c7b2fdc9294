#!/usr/bin/env python3
"""Remakes the pictures of the public pages beside this file, from a store of its own and the real programs.

    KT_PROGRAM_DIR=build/release/bin docs/images/make-images.py
"""
import pathlib
import sys

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parents[1] / "tests/Sync/Host/Site"))
from browser import Browser  # noqa: E402
from site_kit import Home, Site, berlin, day, event, task  # noqa: E402

DESKTOP = (1100, 800)
TELEPHONE = (375, 780)


def choir():
    return [
        event("Chorprobe", berlin("20260903T193000"), berlin("20260903T213000"),
              ["LOCATION:Gemeindehaus\\, großer Saal", "RRULE:FREQ=WEEKLY",
               "EXDATE;TZID=Europe/Berlin:20261112T193000"]),
        event("Stimmbildung Alt", berlin("20261104T180000"), berlin("20261104T190000"),
              ["RRULE:FREQ=WEEKLY;INTERVAL=2"]),
        event("Probenwochenende", day("20261113"), day("20261116"),
              ["LOCATION:Kloster Neustift", "DESCRIPTION:Abfahrt Freitag um 15 Uhr am Bahnhof."]),
        event("Orgelkonzert", berlin("20261121T170000"), berlin("20261121T183000"),
              ["LOCATION:Stadtkirche", "URL;VALUE=URI:https://orgel.example/herbst"]),
        event("Generalprobe", berlin("20261128T140000"), berlin("20261128T180000")),
        event("Aufbau", berlin("20261129T083000"), berlin("20261129T093000")),
        event("Festgottesdienst zum 1. Advent", berlin("20261129T100000"), berlin("20261129T113000"),
              ["LOCATION:Stadtkirche"]),
        event("Empfang", berlin("20261129T113000"), berlin("20261129T130000")),
        event("Adventskonzert", berlin("20261129T170000"), berlin("20261129T190000")),
        event("Abbau", berlin("20261129T193000"), berlin("20261129T210000")),
        event("Lange Nacht der Lieder", berlin("20261107T200000"), berlin("20261108T020000")),
        task("Noten kopieren", ["DUE;VALUE=DATE:20261126"]),
        task("Programmheft drucken", ["DUE;VALUE=DATE:20261120"]),
        task("Saal mieten", ["STATUS:COMPLETED", "COMPLETED:20261102T120000Z"]),
    ]


def private():
    return [
        event("Zahnarzt", berlin("20261110T090000"), berlin("20261110T100000")),
        event("Kurs", berlin("20261102T180000"), berlin("20261102T193000"), ["RRULE:FREQ=WEEKLY"]),
        event("Urlaub", day("20261116"), day("20261121")),
    ]


def make(browser, site, keys):
    def show(path, size, dark=False):
        browser.look_as(*size, dark=dark, scale=2 if size is TELEPHONE else 1)
        browser.open(site.base + path)

    choir_page = f"/vl/calendar/{keys[0]}?month=2026-11&zone=Europe%2FBerlin"
    show("/vl/calendar", DESKTOP)
    browser.picture(HERE / "list.png")
    show(choir_page, DESKTOP)
    browser.picture(HERE / "month.png", height=1060)
    browser.picture(HERE / "agenda.png", "section[aria-labelledby=agenda]", height=900)
    show(choir_page, DESKTOP, dark=True)
    browser.picture(HERE / "month-dark.png", height=1060)
    show(f"/vl/calendar/{keys[1]}?month=2026-11&zone=Europe%2FBerlin", DESKTOP)
    browser.picture(HERE / "anonymous.png", height=1060)
    show(choir_page, TELEPHONE)
    browser.picture(HERE / "telephone.png", height=1400)
    show("/vl/calendar", TELEPHONE, dark=True)
    browser.picture(HERE / "telephone-dark.png", height=700)


def main():
    home = Home()
    home.add_calendar("Kirchenchor St. Anna", choir(), color="#2CA10BFF",
                      notes="Proben und Auftritte. Gäste sind willkommen.")
    home.add_calendar("Anna Berger", private(), color="#B027AEFF")
    home.run("sync")
    keys = [home.publish("Kirchenchor St. Anna", "--tasks"), home.publish("Anna Berger", "--anonymize")]
    site = Site(home)
    browser = Browser()
    try:
        make(browser, site, keys)
    finally:
        browser.close()
        site.close()
        home.close()


if __name__ == "__main__":
    main()

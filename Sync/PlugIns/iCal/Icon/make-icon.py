#!/usr/bin/env python3
"""Renders iCal.svg in every size that an icon file holds and packs ../Resources/iCal.icns.

An icon file is a list of entries behind a header; all numbers are big-endian:

    "icns"  length of the whole file (4 bytes)
    type    length of the entry with these 8 bytes (4 bytes)   picture
    ...

The result stands in the repository, so that a build needs no renderer. Run this again after a change of the drawing;
it needs rsvg-convert (Debian: librsvg2-bin).
"""
import pathlib
import struct
import subprocess

HERE = pathlib.Path(__file__).resolve().parent
DRAWING = HERE / "iCal.svg"
ICON = HERE.parent / "Resources" / "iCal.icns"

# Entry types whose picture is a PNG, with the length of its sides in pixels.
SIDES = {"icp4": 16, "icp5": 32, "icp6": 64, "ic07": 128, "ic08": 256, "ic09": 512, "ic10": 1024}


def rendered(side):
    return subprocess.run(["rsvg-convert", "--width", str(side), "--height", str(side), str(DRAWING)],
                          check=True, capture_output=True).stdout


def packed(pictures):
    """The icon file of (type, bytes) pairs."""
    entries = b"".join(kind.encode("ascii") + struct.pack(">I", 8 + len(picture)) + picture
                       for kind, picture in pictures)
    return b"icns" + struct.pack(">I", 8 + len(entries)) + entries


if __name__ == "__main__":
    ICON.write_bytes(packed([(kind, rendered(side)) for kind, side in SIDES.items()]))
    print(f"{ICON.name}: {ICON.stat().st_size} bytes")

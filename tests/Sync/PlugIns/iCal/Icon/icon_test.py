#!/usr/bin/env python3
"""The bundle's icon file holds what its format and its maker promise."""
import importlib.util
import os
import pathlib
import struct
import unittest
import zlib

MAKER = pathlib.Path(os.environ["KT_SOURCE_DIR"]) / "Sync/PlugIns/iCal/Icon/make-icon.py"
ICON = pathlib.Path(os.environ["KT_BUNDLE_PATH"]) / "Contents/Resources/iCal.icns"
PNG_SIGNATURE = b"\x89PNG\r\n\x1a\n"


def maker():
    spec = importlib.util.spec_from_file_location("make_icon", MAKER)
    module = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(module)
    return module


def entries(data):
    """(type, picture) of an icon file; raises ValueError for lengths that do not add up."""
    if data[:4] != b"icns" or struct.unpack(">I", data[4:8])[0] != len(data):
        raise ValueError("header")
    found = []
    position = 8
    while position < len(data):
        if position + 8 > len(data):
            raise ValueError("entry header")
        kind, length = struct.unpack(">4sI", data[position:position + 8])
        if length < 8 or position + length > len(data):
            raise ValueError("entry length")
        found.append((kind.decode("ascii"), data[position + 8:position + length]))
        position += length
    return found


def png_chunks(data):
    """(name, content) of each chunk, checksums verified."""
    if data[:8] != PNG_SIGNATURE:
        raise ValueError("no PNG")
    position = 8
    while position < len(data):
        length, name = struct.unpack(">I4s", data[position:position + 8])
        content = data[position + 8:position + 8 + length]
        checksum, = struct.unpack(">I", data[position + 8 + length:position + 12 + length])
        if checksum != zlib.crc32(name + content):
            raise ValueError("checksum")
        yield name, content
        position += 12 + length


class TheIcon(unittest.TestCase):
    def setUp(self):
        self.entries = entries(ICON.read_bytes())

    def test_holds_one_entry_for_each_size(self):
        self.assertEqual(list(maker().SIDES), [kind for kind, _ in self.entries])

    def test_entries_are_whole_pictures_of_their_size_with_transparency(self):
        for kind, picture in self.entries:
            with self.subTest(kind=kind):
                chunks = list(png_chunks(picture))
                self.assertEqual((b"IHDR", b"IEND"), (chunks[0][0], chunks[-1][0]))
                width, height, depth, color = struct.unpack(">IIBB", chunks[0][1][:10])
                side = maker().SIDES[kind]
                self.assertEqual((side, side, 8, 6), (width, height, depth, color))

    def test_entries_show_something(self):
        for kind, picture in self.entries:
            with self.subTest(kind=kind):
                pixels = zlib.decompress(b"".join(c for name, c in png_chunks(picture) if name == b"IDAT"))
                self.assertGreater(len(set(pixels)), 16)

    def test_is_what_the_sources_hold(self):
        self.assertEqual((MAKER.parent.parent / "Resources/iCal.icns").read_bytes(), ICON.read_bytes())


class TheMaker(unittest.TestCase):
    def test_packs_what_can_be_read_again(self):
        pictures = [("ic07", b"eins"), ("ic08", b"")]
        self.assertEqual(pictures, entries(maker().packed(pictures)))


class TheCheck(unittest.TestCase):
    """The check itself goes red where it should."""

    def test_refuses_lengths_that_do_not_add_up(self):
        whole = maker().packed([("ic07", b"eins")])
        for broken in (b"", b"icnt" + whole[4:], whole[:-1], whole + b"x", whole[:12] + b"\0\0\0\4" + whole[16:]):
            with self.subTest(broken=broken):
                self.assertRaises(ValueError, entries, broken)

    def test_refuses_a_damaged_picture(self):
        picture = bytearray(entries(ICON.read_bytes())[0][1])
        picture[20] ^= 1
        self.assertRaises(ValueError, lambda: list(png_chunks(bytes(picture))))


if __name__ == "__main__":
    unittest.main()

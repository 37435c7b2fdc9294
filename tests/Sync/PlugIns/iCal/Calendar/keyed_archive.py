#!/usr/bin/env python3
"""Keyed archives read and made without the system's own code.

    keyed_archive.py show FILE   the root object as JSON, its references resolved
    keyed_archive.py make DIR    one archive a file, as the tests name them
"""
import datetime
import json
import pathlib
import plistlib
import sys

UID = plistlib.UID
REFERENCE_DATE = datetime.datetime(2001, 1, 1)


def show(path):
    archive = plistlib.loads(pathlib.Path(path).read_bytes())
    assert archive["$archiver"] == "NSKeyedArchiver" and archive["$version"] == 100000
    objects = archive["$objects"]
    assert objects[0] == "$null"

    def resolve(reference):
        assert isinstance(reference, UID)
        stored = objects[reference.data]
        if not isinstance(stored, dict):
            return None if stored == "$null" else stored
        description = objects[stored["$class"].data]
        name = description["$classname"]
        assert description["$classes"] == [name, "NSObject"]
        if name == "NSDictionary":
            keys = [resolve(key) for key in stored["NS.keys"]]
            return dict(zip(keys, [resolve(each) for each in stored["NS.objects"]], strict=True))
        if name == "NSArray":
            return [resolve(each) for each in stored["NS.objects"]]
        if name == "NSURL":
            assert resolve(stored["NS.base"]) is None
            return {"url": resolve(stored["NS.relative"])}
        if name == "NSDate":
            date = REFERENCE_DATE + datetime.timedelta(seconds=stored["NS.time"])
            return {"date": date.isoformat() + "Z"}
        raise AssertionError(f"unknown class {name}")

    print(json.dumps(resolve(archive["$top"]["root"]), sort_keys=True))


class Table:
    """Objects as an archiver puts them down, each with its number."""

    def __init__(self):
        self.objects = ["$null"]
        self.classes = {}

    def add(self, stored):
        self.objects.append(stored)
        return UID(len(self.objects) - 1)

    def class_of(self, name, *bases):
        if name not in self.classes:
            self.classes[name] = self.add(
                {"$classname": name, "$classes": [name, *bases, "NSObject"]})
        return self.classes[name]

    def dictionary(self, entries, name="NSMutableDictionary"):
        keys = [self.add(key) for key in entries]
        return self.add({"$class": self.class_of(name, "NSDictionary"), "NS.keys": keys,
                         "NS.objects": list(entries.values())})

    def array(self, elements):
        return self.add({"$class": self.class_of("NSMutableArray", "NSArray"),
                         "NS.objects": elements})

    def url(self, address, base=UID(0)):
        return self.add({"$class": self.class_of("NSURL"), "NS.base": base,
                         "NS.relative": self.add(address)})

    def object_of(self, name, *bases, **fields):
        """An object of any class, its fields named without `NS.`."""
        stored = {f"NS.{key}": value for key, value in fields.items()}
        return self.add({"$class": self.class_of(name, *bases), **stored})

    def date(self, seconds):
        return self.add({"$class": self.class_of("NSDate"), "NS.time": seconds})

    def archive(self, root):
        return {"$archiver": "NSKeyedArchiver", "$version": 100000, "$top": {"root": root},
                "$objects": self.objects}


def subscription(table, address):
    return table.dictionary({
        "RemoteURL": address, "AutoRefresh": table.add(True), "RefreshInterval": table.add(900),
        "LastRefreshDate": table.date(220179600.0), "Filter": table.add(2)})


def plain():
    table = Table()
    return table.archive(subscription(table, table.url("http://plain.invalid/k.ics")))


def relative():
    """An address that an archiver split at its base."""
    table = Table()
    base = table.url("http://base.invalid/dir/index.html")
    return table.archive(subscription(table, table.url("k.ics", base)))


def shared():
    """One address in three places, one of them deep inside."""
    table = Table()
    address = table.url("http://shared.invalid/k.ics")
    nested = address
    for _ in range(100):
        nested = table.array([nested, address])
    return table.archive(table.dictionary({"RemoteURL": address, "Others": nested}))


def subclasses():
    """Settings by way of classes that are derived from the usual ones."""
    table = Table()
    root = subscription(table, table.url("http://derived.invalid/k.ics"))
    table.objects[root.data]["NS.objects"][2:4] = [
        table.object_of("NSCFNumber", "NSNumber", "NSValue", intval=900),
        table.object_of("NSCalendarDate", "NSDate", time=220179600.0)]
    return table.archive(root)


def strange_entries():
    """Beside the settings, things that only their own program understands."""
    table = Table()
    root = subscription(table, table.url("http://strange.invalid/k.ics"))
    window = table.object_of("XYWindow", "NSResponder")
    table.objects[window.data]["NS.objects"] = [window, UID(4000)]
    for key, value in {"Window": window, "Nothing": table.object_of("NSNull"),
                       "Both": table.array([window, window])}.items():
        table.objects[root.data]["NS.keys"].append(table.add(key))
        table.objects[root.data]["NS.objects"].append(value)
    return table.archive(root)


def old_forms():
    """Texts as bytes, and entries in numbered fields."""
    table = Table()
    entries = {"RemoteURL": table.object_of("NSString", bytes=b"http://old.invalid/k.ics"),
               "AutoRefresh": table.object_of("NSNumber", boolval=True),
               "RefreshInterval": table.object_of("NSNumber", intval=900),
               "LastRefreshDate": table.date(220179600.0),
               "Filter": table.object_of("NSNumber", intval=2)}
    root = {"$class": table.class_of("NSDictionary")}
    for number, (key, value) in enumerate(entries.items()):
        root[f"NS.key.{number}"] = table.object_of("NSString", bytes=key.encode())
        root[f"NS.object.{number}"] = value
    return table.archive(table.add(root))


def addresses_everywhere():
    """An address where a property list cannot hold one."""
    table = Table()
    address = table.url("http://address.invalid/k.ics")
    return table.archive(table.dictionary({
        "RemoteURL": address, "AutoRefresh": address, "RefreshInterval": address,
        "LastRefreshDate": address, "Filter": address}))


def lists_everywhere():
    table = Table()
    inner = table.array([table.url("http://inner.invalid/k.ics")])
    return table.archive(table.dictionary({
        "RemoteURL": inner, "AutoRefresh": inner, "RefreshInterval": inner,
        "LastRefreshDate": table.dictionary({"date": inner}), "Filter": inner}))


def strange_address():
    table = Table()
    return table.archive(subscription(table, table.object_of("XYStrange")))


def cycle():
    table = Table()
    inner = table.array([])
    table.objects[inner.data]["NS.objects"].append(inner)
    return table.archive(table.dictionary({"RemoteURL": inner}))


def root_in_itself():
    table = Table()
    root = table.dictionary({"RemoteURL": UID(0)})
    table.objects[root.data]["NS.objects"][0] = root
    return table.archive(root)


def wrong_index():
    table = Table()
    return table.archive(table.dictionary({"RemoteURL": UID(4000)}))


def root_beyond_the_end():
    return Table().archive(UID(1))


def reference_missing():
    table = Table()
    return table.archive(table.dictionary({"RemoteURL": "http://text.invalid"}))


def keys_without_objects():
    table = Table()
    root = table.dictionary({"RemoteURL": UID(0)})
    del table.objects[root.data]["NS.objects"]
    return table.archive(root)


def more_keys_than_objects():
    table = Table()
    root = table.dictionary({"RemoteURL": UID(0)})
    table.objects[root.data]["NS.objects"].clear()
    return table.archive(root)


def key_is_a_number():
    table = Table()
    root = table.dictionary({"RemoteURL": UID(0)})
    table.objects[root.data]["NS.keys"][0] = table.add(7)
    return table.archive(root)


def address_is_a_number():
    table = Table()
    address = table.url("")
    table.objects[address.data]["NS.relative"] = table.add(7)
    return table.archive(subscription(table, address))


def base_is_its_own_base():
    table = Table()
    address = table.url("k.ics")
    table.objects[address.data]["NS.base"] = address
    return table.archive(subscription(table, address))


def class_is_missing():
    table = Table()
    root = table.dictionary({"RemoteURL": UID(0)})
    del table.objects[root.data]["$class"]
    return table.archive(root)


def class_is_a_text():
    table = Table()
    root = table.dictionary({"RemoteURL": UID(0)})
    table.objects[root.data]["$class"] = table.add("NSDictionary")
    return table.archive(root)


def date_is_a_text():
    table = Table()
    date = table.date("gestern")
    return table.archive(table.dictionary({"LastRefreshDate": date}))


def deep(levels):
    table = Table()
    nested = table.array([])
    for _ in range(levels - 2):
        nested = table.array([nested])
    address = table.url("http://deep.invalid/k.ics")
    return table.archive(table.dictionary({"Others": nested, "RemoteURL": address}))


def bomb():
    """Few objects that would be 2 to the power of 60 elements."""
    table = Table()
    nested = table.add("element")
    for _ in range(60):
        nested = table.array([nested, nested])
    return table.archive(table.dictionary({"RemoteURL": nested}))


def chain_of_addresses():
    """Ten thousand addresses, each that of its base and a thousand characters of one shared text."""
    table = Table()
    segment = table.add("x" * 999 + "/")
    address = table.url("http://chain.invalid/")
    for _ in range(10_000):
        address = table.add({"$class": table.class_of("NSURL"), "NS.base": address,
                             "NS.relative": segment})
    return table.archive(table.dictionary({"RemoteURL": address}))


def text_everywhere():
    """One long text in very many places."""
    table = Table()
    text = table.add("x" * 100_000)
    return table.archive(table.dictionary({"RemoteURL": table.array([text] * 5_000)}))


READABLE = {each.__name__: each for each in [
    plain, relative, shared, subclasses, strange_entries, old_forms, addresses_everywhere,
    lists_everywhere, strange_address]}
READABLE["deepest"] = lambda: deep(512)
HOSTILE = {each.__name__: each for each in [
    cycle, root_in_itself, wrong_index, root_beyond_the_end, reference_missing,
    keys_without_objects, more_keys_than_objects, key_is_a_number, address_is_a_number,
    base_is_its_own_base, class_is_missing, class_is_a_text, date_is_a_text, bomb,
    chain_of_addresses, text_everywhere]}
HOSTILE["too_deep"] = lambda: deep(513)


def in_xml(value):
    """XML has no references: they stand there as dictionaries."""
    if isinstance(value, UID):
        return {"CF$UID": value.data}
    if isinstance(value, list):
        return [in_xml(each) for each in value]
    if isinstance(value, dict):
        return {key: in_xml(each) for key, each in value.items()}
    return value


def make(folder):
    folder = pathlib.Path(folder)
    for name, content in {**READABLE, **HOSTILE}.items():
        archive = content()
        (folder / f"{name}.binary").write_bytes(
            plistlib.dumps(archive, fmt=plistlib.FMT_BINARY, sort_keys=False))
        (folder / f"{name}.xml").write_bytes(
            plistlib.dumps(in_xml(archive), fmt=plistlib.FMT_XML, sort_keys=False))


if __name__ == "__main__":
    {"show": show, "make": make}[sys.argv[1]](sys.argv[2])

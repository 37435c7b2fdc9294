#!/usr/bin/env python3
"""Includes point one way: each folder of Sync/ sees only the folders below it."""
import os
import pathlib
import re
import tempfile
import unittest

FOUNDATION = "Sync/Foundation"
ADDITIONS = "Sync/Additions"
INTERFACE = "Sync/HostInterface"
CALENDAR = "Sync/PlugIns/iCal/Calendar"
PLUGIN = "Sync/PlugIns/iCal"
SERVER = "Sync/Host/Server"
ENGINE = "Sync/Host/Engine"
PUBLISHING = "Sync/Host/Publishing"
SITE = "Sync/Host/Site"
HTTP = "Sync/Host/Http"
SERVICES = "Sync/Host/Services"
COMMAND = "Sync/Host/Command"
QT = "Sync/Host/Qt"
PROGRAMS = "Sync/Host/Programs"

# What each folder may include besides itself. The host takes nothing of the plug-in. The command line is a
# roof, the window, which runs it, the roof above, and the programs only begin one of them.
ALLOWED = {
    FOUNDATION: [],
    ADDITIONS: [FOUNDATION],
    INTERFACE: [FOUNDATION],
    CALENDAR: [FOUNDATION, ADDITIONS, INTERFACE],
    PLUGIN: [FOUNDATION, ADDITIONS, INTERFACE, CALENDAR],
    SERVER: [FOUNDATION, INTERFACE],
    ENGINE: [FOUNDATION, ADDITIONS, INTERFACE, SERVER],
    PUBLISHING: [FOUNDATION, INTERFACE, SERVER, ENGINE],
    SITE: [FOUNDATION, INTERFACE, SERVER, PUBLISHING],
    HTTP: [FOUNDATION, SITE],
    SERVICES: [FOUNDATION, ADDITIONS, INTERFACE, ENGINE, PUBLISHING],
    COMMAND: [FOUNDATION, ADDITIONS, INTERFACE, SERVER, ENGINE, PUBLISHING, SITE, HTTP, SERVICES],
    QT: [FOUNDATION, INTERFACE, SERVICES, COMMAND],
    PROGRAMS: [FOUNDATION, INTERFACE, SERVICES, COMMAND, QT],
}

INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*([<"])([^>"]+)[>"]', re.MULTILINE)
QT_HEADER = re.compile(r"^(Q[A-Z]\w*|Qt\w+/.*)$")
HOST_LIBRARY = re.compile(r"^(sqlite3\.h|(SQLiteCpp|pqxx|spdlog|nlohmann|CLI|toml\+\+|libical)/.*|uv\.h|archive(_entry)?\.h)$")

# What speaks HTTP, and who alone sees it.
HTTP_LIBRARY = re.compile(r"^(boost/.*|httplib\.h)$")
HTTP_SOURCE = f"{HTTP}/SiteServer.cpp"


def complaint(name, quote, target, root):
    """Why the file of that name must not include target, or None when it may."""
    folder = os.path.dirname(name)
    if HTTP_LIBRARY.match(target):
        return None if name == HTTP_SOURCE else f"only {HTTP_SOURCE} knows HTTP"
    if QT_HEADER.match(target):
        return None if folder in (QT, PROGRAMS) else f"only {QT} knows Qt"
    if quote == "<":
        if HOST_LIBRARY.match(target) and not folder.startswith("Sync/Host/"):
            return "a library that belongs to the host"
        return None
    if not target.startswith("Sync/"):
        return "project includes are written from the root: Sync/..."
    if not (root / target).is_file():
        return "no such file"
    other = os.path.dirname(target)
    if other != folder and other not in ALLOWED[folder]:
        return f"{folder} must not see {other}"
    return None


def check(root):
    """(number of includes read, complaints) of all sources below root/Sync."""
    count = 0
    complaints = []
    for path in sorted((root / "Sync").rglob("*")):
        if path.suffix not in (".h", ".cpp"):
            continue
        name = path.relative_to(root).as_posix()
        folder = os.path.dirname(name)
        if folder not in ALLOWED:
            complaints.append(f"{name}: a folder without a place in the table of this test")
            continue
        for quote, target in INCLUDE.findall(path.read_text(encoding="utf-8")):
            count += 1
            reason = complaint(name, quote, target, root)
            if reason:
                complaints.append(f"{name}: {target}: {reason}")
    return count, complaints


class TheTree(unittest.TestCase):
    def test_includes_point_downward_only(self):
        count, complaints = check(pathlib.Path(os.environ["KT_SOURCE_DIR"]))
        self.assertGreater(count, 0, "no include was read at all")
        self.assertEqual([], complaints, "\n" + "\n".join(complaints))
        self.assertTrue((pathlib.Path(os.environ["KT_SOURCE_DIR"]) / HTTP_SOURCE).is_file())


class TheCheck(unittest.TestCase):
    """The check itself goes red where it should."""

    def complaints_about(self, name, line):
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder)
            for existing in ALLOWED:
                (root / existing).mkdir(parents=True, exist_ok=True)
                (root / existing / "There.h").write_text("#pragma once\n")
            path = root / name
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(f"#pragma once\n\n{line}\n")
            count, complaints = check(root)
            self.assertEqual(count > 0, path.parent.relative_to(root).as_posix() in ALLOWED)
            return complaints

    def test_allowed_includes_pass(self):
        for name, line in [
            ("Sync/Foundation/A.h", "#include <vector>"),
            ("Sync/Foundation/A.h", '#include "Sync/Foundation/There.h"'),
            ("Sync/PlugIns/iCal/Calendar/A.cpp", '#include "Sync/Additions/There.h"'),
            ("Sync/PlugIns/iCal/A.cpp", '#include "Sync/PlugIns/iCal/Calendar/There.h"'),
            ("Sync/Host/Publishing/A.cpp", '#include "Sync/Host/Engine/There.h"'),
            ("Sync/Host/Http/A.cpp", '#include "Sync/Host/Site/There.h"'),
            ("Sync/Host/Command/A.cpp", "#include <CLI/CLI.hpp>"),
            (HTTP_SOURCE, "#include <boost/asio/post.hpp>"),
            ("Sync/Host/Qt/A.cpp", "#include <QWidget>"),
            ("Sync/Host/Qt/A.cpp", '#include "Sync/Host/Command/There.h"'),
        ]:
            with self.subTest(name=name, line=line):
                self.assertEqual([], self.complaints_about(name, line))

    def test_bad_includes_are_reported(self):
        for name, line in [
            ("Sync/Foundation/A.h", '#include "Sync/Additions/There.h"'),
            ("Sync/Foundation/A.h", '  #  include "Sync/HostInterface/There.h"'),
            ("Sync/HostInterface/A.h", '#include "Sync/Additions/There.h"'),
            ("Sync/PlugIns/iCal/Calendar/A.cpp", '#include "Sync/PlugIns/iCal/There.h"'),
            ("Sync/PlugIns/iCal/A.cpp", '#include "Sync/Host/Engine/There.h"'),
            ("Sync/Host/Engine/A.cpp", '#include "Sync/PlugIns/iCal/Calendar/There.h"'),
            ("Sync/Host/Engine/A.cpp", '#include "Sync/Host/Command/There.h"'),
            ("Sync/Host/Command/A.cpp", '#include "Sync/Host/Qt/There.h"'),
            ("Sync/Host/Publishing/A.cpp", '#include "Sync/PlugIns/iCal/There.h"'),
            ("Sync/Foundation/A.h", '#include "There.h"'),
            ("Sync/Foundation/A.h", '#include "Sync/Foundation/Gone.h"'),
            ("Sync/Foundation/A.h", '#include "tests/support/There.h"'),
            ("Sync/PlugIns/iCal/A.cpp", "#include <SQLiteCpp/SQLiteCpp.h>"),
            ("Sync/Host/Http/A.cpp", "#include <boost/asio/post.hpp>"),
            ("Sync/Host/Engine/A.cpp", '#include "Sync/Host/Services/There.h"'),
            ("Sync/Host/Server/A.cpp", '#include "Sync/Host/Engine/There.h"'),
            ("Sync/Host/Publishing/A.cpp", '#include "Sync/Host/Site/There.h"'),
            ("Sync/Host/Site/A.cpp", '#include "Sync/Host/Http/There.h"'),
            ("Sync/Host/Site/A.cpp", '#include "Sync/Host/Engine/There.h"'),
            ("Sync/Host/Site/A.cpp", '#include "Sync/PlugIns/iCal/Calendar/There.h"'),
            ("Sync/Host/Engine/A.cpp", "#include <QtWidgets/QWidget>"),
            ("Sync/Attic/A.h", "#include <vector>"),
        ]:
            with self.subTest(name=name, line=line):
                self.assertEqual(1, len(self.complaints_about(name, line)))


if __name__ == "__main__":
    unittest.main()

#!/usr/bin/env python3
"""No decision hangs on a text that is shown: whoever rewords it would change what the program does."""
import os
import pathlib
import re
import tempfile
import unittest

LITERAL = r'"((?:[^"\\\n]|\\.)*)"'
# A literal that something is compared with or looked for: on either side of a comparison, or as an argument.
COMPARED = re.compile(
    rf'[=!]=\s*(?:std::string(?:_view)?\(|Value\(|u8)?{LITERAL}'
    rf'|{LITERAL}(?:sv?\b)?\)?\s*[=!]='
    rf'|\b(?:starts_with|ends_with|contains|find|rfind|compare|hasPrefix|hasSuffix)\(\s*{LITERAL}')
# What people read: German letters, or several words that are no SQL.
SHOWN = re.compile(r"[^\x00-\x7f]|^(?!SELECT|PRAGMA).*[A-Za-z]{2,}[.,:]? [A-Za-z]{2,}")
# What a file manager says went wrong, which is all that it says.
WORDS_OF_AN_INTERFACE = {"Error removing"}
# Functions that make texts for people, and the comparisons that they must not end in.
MAKER = r"\b(?:shown\w+|\w+Title|(?:time|longDay|shortDay|contents)Text|monthName|weekdayName|shortWeekdayName)"
ARGUMENTS = r"\((?:[^()]|\([^()]*\))*\)"
COMPARED_MAKER = re.compile(rf"{MAKER}{ARGUMENTS}\s*[=!]=|[=!]=\s*{MAKER}{ARGUMENTS}")


def code_of(text):
    """Without comments."""
    return re.sub(r'("(?:[^"\\\n]|\\.)*")|//[^\n]*', lambda match: match.group(1) or "", text)


def complaints_about(text):
    code = code_of(text)
    compared = ["".join(filter(None, match.groups())) for match in COMPARED.finditer(code)]
    return ([literal for literal in compared if SHOWN.search(literal) and literal not in WORDS_OF_AN_INTERFACE] +
            [match.group(0) for match in COMPARED_MAKER.finditer(code)])


def check(root):
    """(number of comparisons with a literal, complaints) of all sources below root/Sync."""
    count = 0
    complaints = []
    for path in sorted((root / "Sync").rglob("*")):
        if path.suffix in (".h", ".cpp"):
            text = path.read_text(encoding="utf-8")
            count += len(COMPARED.findall(code_of(text)))
            complaints += [f"{path.relative_to(root)}: {one}" for one in complaints_about(text)]
    return count, complaints


class TheTree(unittest.TestCase):
    def test_compares_nothing_with_what_is_shown(self):
        count, complaints = check(pathlib.Path(os.environ["KT_SOURCE_DIR"]))
        self.assertGreater(count, 0, "no comparison was read at all")
        self.assertEqual([], complaints, "\n" + "\n".join(complaints))


class TheCheck(unittest.TestCase):
    """The check itself goes red where it should."""

    def test_bad_lines_are_reported(self):
        for line in [
            'if (timeText == "ganztägig")',
            'return "Zeit abgelaufen" != reason;',
            'isDone = status.starts_with("Daten werden gesichert");',
            'if (text.find("nicht verfügbar") != npos)',
            'value == Value("ohne Titel")',
            "if (timeText(occurrence.timeOn(day)) == kAllDay)",
            "return kUntitled != shownTitle(*occurrence.event);",
        ]:
            with self.subTest(line=line), tempfile.TemporaryDirectory() as folder:
                root = pathlib.Path(folder)
                (root / "Sync").mkdir()
                (root / "Sync/A.cpp").write_text(line + "\n", encoding="utf-8")
                self.assertEqual(1, len(check(root)[1]))

    def test_good_lines_pass(self):
        for line in [
            'if (method == "HEAD")',
            'if (key == "KTSyncEvent" && name != "..")',
            'const auto text = isOld ? "Daten werden gesichert" : "";',
            '// the text == "ganztägig"',
            'html.text("a == b", shownTitle(event));',
        ]:
            with self.subTest(line=line):
                self.assertEqual([], complaints_about(line))


if __name__ == "__main__":
    unittest.main()

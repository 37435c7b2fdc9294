#!/usr/bin/env python3
"""Which slips a line of code can hold, and that each changes what it says it changes."""
import unittest

from places import places_in


def slips(line):
    return [(place.old, place.new) for place in places_in("a.cpp", line)]


class Slips(unittest.TestCase):
    def test_comparisons_and_logic(self):
        self.assertEqual([(" == ", " != "), (" < ", " <= "), (" && ", " || ")], slips("return a == b && c < d;"))

    def test_an_operator_at_the_end_of_a_line(self):
        self.assertEqual([(" &&", " ||")], slips("    const bool is = has(a) &&"))

    def test_negations_and_conditions(self):
        self.assertEqual([("!", "")], slips("    if (!found)"))
        self.assertEqual([("found", "!(found)")], slips("    else if (found) {"))

    def test_numbers(self):
        self.assertEqual([("0", "1")], slips("    int count = 0;"))
        self.assertEqual([("7U", "8U")], slips("    value = take(7U);"))

    def test_calls_that_are_statements(self):
        self.assertEqual([("take(x, y);", ";")], slips("    take(x, y);"))
        self.assertEqual([("a.b->c(d());", ";")], slips("    a.b->c(d());"))
        for line in ("    Type name(x);", "    return take(x);", "    const auto y = take(x);", "    take(x, [&] {",
                     "         taken(x), other(y));", "    const auto y =\n        take(x);"):
            self.assertEqual([], slips(line), line)
        self.assertEqual([("take(x);", ";")], slips("    for (auto& x : all)\n        take(x);"))

    def test_nothing_in_texts_comments_includes_and_templates(self):
        for line in ('x = log("a == b && 1");', "// if (a == b)", "#include <vector>", "std::vector<int> x(y);",
                     "    x = take(y);  // 1 == 2", "x = call(std::move(kept));", "x = value_1.name2();"):
            self.assertEqual([], slips(line), line)

    def test_change_one_place_of_the_text(self):
        text = "first == one;\nsecond == two && second == three;\n"
        changed = [place.applied(text) for place in places_in("a.cpp", text)]
        self.assertEqual(["first != one;\nsecond == two && second == three;\n",
                          "first == one;\nsecond != two && second == three;\n",
                          "first == one;\nsecond == two && second != three;\n",
                          "first == one;\nsecond == two || second == three;\n"], changed)


if __name__ == "__main__":
    unittest.main()

#!/usr/bin/env python3
"""What mutants.py makes of small sources."""

import unittest

from mutants import mutants_of


def changes(source):
    return [mutant.change for mutant in mutants_of("a.cpp", source)]


def results(source):
    return [mutant.apply(source) for mutant in mutants_of("a.cpp", source)]


class MutantsTest(unittest.TestCase):
    def test_a_relation_becomes_its_neighbours(self):
        self.assertEqual(results("bool x = a < b;\n"), ["bool x = a <= b;\n", "bool x = a >= b;\n"])

    def test_a_template_bracket_a_reference_and_a_pointer_are_no_operators(self):
        self.assertEqual(changes("std::vector<int> f(const T& a, T* const b, T&& c);\n"), [])

    def test_a_number_becomes_its_neighbours_and_zero(self):
        self.assertEqual(results("x(7u);\n"), ["x(0u);\n", "x(6u);\n", "x(8u);\n"])
        self.assertEqual(results("x(0xff);\n"), ["x(0x0);\n", "x(0x100);\n", "x(0xfe);\n"])
        self.assertEqual(results("x(0);\n"), ["x(1);\n"])
        self.assertEqual(results("x(0777);\n"), ["x(00);\n", "x(01000);\n", "x(0776);\n"])
        self.assertEqual(changes("uint16_t x2 = y16;\n"), [])

    def test_comments_texts_directives_and_static_assertions_stay(self):
        for source in (
            "// a < 1\n",
            "/* a <\n 1 */\n",
            'char* a = "b < 1 \\" 2";\n',
            "char a = '1';\n",
            "#if A < 1\n",
            "static_assert(a < 1 &&\n b < 2,\n \"2\");\n",
        ):
            self.assertEqual(changes(source), [], source)

    def test_a_condition_is_negated_as_a_whole(self):
        self.assertEqual(
            results("    if (f(a) && b) {\n"), ["    if (!(f(a) && b)) {\n", "    if (f(a) || b) {\n"]
        )

    def test_a_statement_is_left_out_also_over_several_lines(self):
        source = "void f() {\n    call(a,\n         b);\n    int c = d;\n    return;\n}\n"
        self.assertEqual(
            results(source),
            [
                "void f() {\n    ;\n    int c = d;\n    return;\n}\n",
                "void f() {\n    call(a,\n         b);\n    int c = d;\n    ;\n}\n",
            ],
        )

    def test_the_only_statement_of_a_line_is_left_out(self):
        self.assertEqual(results("void f() { a = b; }\n"), ["void f() { ; }\n"])
        self.assertEqual(results("int f() { return a; }\n"), [])

    def test_the_same_change_on_one_line_is_told_apart(self):
        self.assertEqual(changes("x = a + b + c;\n"), ["+ -> -", "+ -> - (2)"])

    def test_a_mutant_says_where_it_is(self):
        (mutant,) = mutants_of("a.h", "\n  x = !a;  \n")
        self.assertEqual((mutant.number, mutant.key), (2, ("a.h", "x = !a;", "! -> nothing")))
        self.assertEqual(mutant.name, "a.h:2: ! -> nothing: x = !a;")


if __name__ == "__main__":
    unittest.main()

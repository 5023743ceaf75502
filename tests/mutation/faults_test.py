"""Which faults are found in a source, and what they make of it."""
import sys
import unittest

import faults


def planted(source):
    """The kind of each fault, and the line that it leaves."""
    return {(fault.kind, fault.lines(source)[1]) for fault in faults.faults_of("a.cpp", source)}


def inside(statements):
    return planted("void F() {\n" + statements + "\n}\n")


class Faults(unittest.TestCase):
    def test_a_condition_is_turned(self):
        self.assertIn(("condition", "if (!(IsDue())) return;"), inside("if (IsDue()) return;"))
        self.assertIn(("condition", "while (!(i < 3)) {"), inside("while (i < 3) {\nGo();\n}"))
        self.assertIn(("condition", "for (int i = 0; !(i < 3); ++i) Go();"), inside("for (int i = 0; i < 3; ++i) Go();"))
        self.assertIn(("condition", "return a ? c : b;"), inside("return a ? b : c;"))
        self.assertIn(("condition", "return done;"), inside("return !done;"))

    def test_a_condition_that_declares_a_name_is_left_alone(self):
        self.assertEqual(inside("if (Row* row = Take()) return;"), set())

    def test_a_constant_is_shifted(self):
        self.assertLessEqual({("constant", "x = 8;"), ("constant", "x = 6;")}, inside("x = 7;"))
        self.assertIn(("constant", "x = 0x10u;"), inside("x = 0xFu;"))
        self.assertIn(("constant", "x = false;"), inside("x = true;"))
        self.assertNotIn(("constant", "x = -1;"), inside("x = 0;"))

    def test_a_statement_or_lock_is_taken_out(self):
        self.assertIn(("statement", ";"), inside("const ScopedLock lock(lock_);"))
        self.assertIn(("statement", "if (due) ;"), inside("if (due) Go();"))
        self.assertIn(("statement", "else ;"), inside("if (due) return;\nelse Go();"))
        self.assertIn(("statement", ";"), inside("list.node->next = nullptr;"))
        self.assertIn(("statement", ";"), inside("delete row;"))
        self.assertIn(("statement", "Visit([](int& row) { ; });"), inside("Visit([](int& row) { ++row; });"))

    def test_a_declaration_is_left_alone(self):
        self.assertEqual(inside("const Row row(key);\nstatic Row other;\nusing Key = Row;"), set())
        self.assertEqual(planted("class A {\n    explicit A(Row row);\n    void Go() const;\n};\n"), set())

    def test_two_statements_are_swapped(self):
        self.assertIn(("swap", "Second(); First();"), inside("First();\nSecond();"))
        self.assertIn(("swap", "b = a; a = 1;"), inside("a = 1;\nb = a;"))

    def test_assignments_that_have_nothing_to_do_with_each_other_are_not_swapped(self):
        self.assertNotIn("swap", {kind for kind, _ in inside("a = c;\nb = static_cast<int>(d);")})

    def test_an_operator_is_changed(self):
        self.assertIn(("operator", "return a <= b;"), inside("return a < b;"))
        self.assertIn(("operator", "return a || b;"), inside("return a && b;"))
        self.assertIn(("operator", "--count_;"), inside("++count_;"))
        self.assertIn(("operator", "sum -= b;"), inside("sum += b;"))

    def test_texts_comments_and_brackets_of_templates_are_left_alone(self):
        self.assertEqual(inside('// a < b\nconst Row row("1 + 1", \'2\');\nstd::vector<int> rows;'), set())
        self.assertEqual(planted("#if A == 1\n#endif\nstatic_assert(sizeof(A) == 8);\n"), set())


if __name__ == "__main__":
    run = unittest.main(exit=False).result
    # As GoogleTest says it, so that these are counted with the others.
    bad = len(run.failures) + len(run.errors)
    print(f"[  PASSED  ] {run.testsRun - bad} tests.")
    if bad:
        print(f"[  FAILED  ] {bad} tests, listed above:")
        sys.exit(1)

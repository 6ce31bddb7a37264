"""Tests of scripts/mutation: what needs no C++ to be read. What does is in MutationRunTest.py."""
import dataclasses
import pathlib
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "scripts"))

from mutation import report, schemata, trials  # noqa: E402


@dataclasses.dataclass
class Edit:
    start: int
    end: int
    parts: list
    number: int
    function: str = "Sum"
    operator: str = "arithmetic"
    what: str = "+ to -: a + b"
    line: int = 1
    column: int = 1


@dataclasses.dataclass
class Mutant:
    number: int
    path: str
    edit: Edit

    @property
    def key(self):
        return str(self.number)


def either(start, end, changed, number):
    return Edit(start, end, ["(", ("switch",), " ? ", changed, " : ", ("now", start, end), ")"], number)


class Schemata(unittest.TestCase):
    def test_without_edits_the_source_stays(self):
        self.assertEqual(("return 1;\n", [], []), schemata.write("return 1;\n", []))

    def test_edit_stands_beside_what_was(self):
        text, _, _ = schemata.write("x = a + b;", [either(4, 9, "a - b", 7)])
        self.assertEqual("x = (kyr_mutants::Counts(7) ? a - b : a + b);", text)

    def test_edits_inside_others_change_only_what_was(self):
        text, _, lost = schemata.write("x = a + 1;", [either(8, 9, "2", 8), either(4, 9, "a - 1", 7)])
        self.assertEqual("x = (kyr_mutants::Counts(7) ? a - 1 : a + (kyr_mutants::Counts(8) ? 2 : 1));", text)
        self.assertEqual([], lost)

    def test_two_edits_of_one_range_both_count(self):
        text, _, lost = schemata.write("a<b", [either(0, 3, "a<=b", 1), either(0, 3, "!(a<b)", 2)])
        self.assertEqual("(kyr_mutants::Counts(1) ? a<=b : (kyr_mutants::Counts(2) ? !(a<b) : a<b))", text)
        self.assertEqual([], lost)

    def test_edit_that_another_leaves_no_room_for_is_told(self):
        inner = either(0, 1, "b", 2)
        _, _, lost = schemata.write("a;", [Edit(0, 2, [";"], 1), inner])
        self.assertEqual([inner], lost)

    def test_edits_that_cross_are_told(self):
        crossing = either(2, 5, "x", 2)
        _, _, lost = schemata.write("a+b+c", [either(0, 3, "y", 1), crossing])
        self.assertEqual([crossing], lost)

    def test_place_in_the_text_belongs_to_the_innermost_edit(self):
        outer, inner = either(4, 9, "a - 1", 7), either(8, 9, "2", 8)
        text, spans, _ = schemata.write("x = a + 1;", [outer, inner])
        self.assertIs(inner, schemata.innermost(spans, text.index("2")))
        self.assertIs(outer, schemata.innermost(spans, text.index("a - 1")))
        self.assertIsNone(schemata.innermost(spans, 0))


class HowItEnded(unittest.TestCase):
    def test_success_is_nothing(self):
        self.assertIsNone(trials.how_it_ended(0, "[ RUN      ] A.B\n[       OK ] A.B (0 ms)\n"))

    def test_first_failed_test_is_named(self):
        output = "[ RUN      ] A.B\n[  FAILED  ] A.B (0 ms)\n[ RUN      ] A.C\n[  FAILED  ] A.C, where x = 1\n"
        self.assertEqual({"how": "test", "by": "A.B"}, trials.how_it_ended(1, output))

    def test_failed_test_with_a_parameter_is_named_without_it(self):
        output = "[ RUN      ] P/A.C/0\n[  FAILED  ] P/A.C/0, where GetParam() = 1 (0 ms)\n"
        self.assertEqual({"how": "test", "by": "P/A.C/0"}, trials.how_it_ended(1, output))

    def test_crash_is_the_last_test_that_began(self):
        output = "[ RUN      ] A.B\n[       OK ] A.B (0 ms)\n[ RUN      ] A.C\n"
        self.assertEqual({"how": "crash", "by": "A.C"}, trials.how_it_ended(-11, output))

    def test_hang_is_the_last_test_that_began(self):
        self.assertEqual({"how": "hang", "by": "A.B"}, trials.how_it_ended(None, "[ RUN      ] A.B\n"))

    def test_end_before_the_first_test_is_told(self):
        self.assertEqual({"how": "crash", "by": "before the first test"}, trials.how_it_ended(134, "terminate\n"))


class Batches(unittest.TestCase):
    @staticmethod
    def batches(*tests):
        return [[test.name for test in batch] for batch in trials.Trials.batches(
            [trials.Test(suite, name, seconds, frozenset()) for suite, name, seconds in tests])]

    def test_quick_tests_are_tried_first(self):
        self.assertEqual([["quick"], ["slow"], ["slower"]],
                         self.batches(("s", "slower", 5.0), ("s", "slow", 1.0), ("s", "quick", 0.1)))

    def test_each_suite_has_a_batch_of_its_own(self):
        self.assertEqual([["one", "three"], ["two"]],
                         self.batches(("a", "one", 0.01), ("b", "two", 0.02), ("a", "three", 0.03)))

    def test_no_command_line_grows_without_end(self):
        sizes = [len(batch) for batch in self.batches(*[("s", f"t{n}", 0.0) for n in range(801)])]
        self.assertEqual([800, 1], sizes)


class Runs(unittest.TestCase):
    """Programs that say what a suite would say; they are handed the options of GoogleTest and pass them over."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.runner = trials.Runner(self.folder / "scratch")

    def program(self, *lines):
        program = self.folder / "program"
        program.write_text("#!/bin/bash\n" + "".join(line + "\n" for line in lines), encoding="utf-8")
        program.chmod(0o755)
        return program

    def test_exit_status_and_output_are_given(self):
        code, _, output = self.runner.run(self.program("echo \"$KYR_MUTANT\"", "exit 3"), ["A.B"], 30,
                                          {"KYR_MUTANT": "17"})
        self.assertEqual((3, "17\n"), (code, output))

    def test_program_that_does_not_end_is_ended_with_all_that_it_started(self):
        marks = self.folder / "marks"
        program = self.program(f"(while true; do echo x >> {marks}; sleep 0.02; done) &", "wait")
        code, _, _ = self.runner.run(program, ["A.B"], 0.5, {})
        self.assertIsNone(code)
        size = marks.stat().st_size
        self.assertGreater(size, 0)
        self.runner.run(self.program("sleep 0.2"), ["A.B"], 30, {})
        self.assertEqual(size, marks.stat().st_size)

    def test_memory_has_a_limit(self):
        self.runner.memory = 64 << 20
        code, _, _ = self.runner.run(self.program("head -c 80M /dev/zero | tail >/dev/null"), ["A.B"], 60, {})
        self.assertNotEqual(0, code)

    def test_every_program_finds_its_place_empty(self):
        program = self.program("ls \"$TMPDIR\" . | grep left", "[[ ! -e $KELCOMM_RUNTIME_DIR ]] || echo ports",
                               "touch left \"$TMPDIR/left\"", "mkdir \"$KELCOMM_RUNTIME_DIR\"")
        for _ in range(2):
            _, _, output = self.runner.run(program, ["A.B"], 30, {})
            self.assertEqual("", output)


class Report(unittest.TestCase):
    PAGE = ("# Page\n\n- `a/Not.cpp` `Sum` `+ to -: a + b`: stands before the list.\n\n<!-- survivors -->\n"
            "- `a/Sum.cpp` `Sum` `|| to &&: a || b`: never\n  both.\n- `a/Sum.cpp` `` `1 + 1`: no function.\n")

    def test_reasons_are_read_behind_the_mark(self):
        self.assertEqual({("a/Sum.cpp", "Sum", "|| to &&: a || b"): "never both.",
                          ("a/Sum.cpp", "", "1 + 1"): "no function."}, report.reasons(self.PAGE))

    def test_page_without_the_mark_gives_no_reasons(self):
        self.assertEqual({}, report.reasons("- `a/Sum.cpp` `Sum` `1 + 1`: reason\n"))

    def test_what_was_found_counts_apart_from_what_was_not(self):
        mutants = [Mutant(number, "a/Sum.cpp", Edit(0, 1, [], number, what=what))
                   for number, what in enumerate(["1", "2", "3", "4", "5"])]
        results = {"0": {"status": "found"}, "1": {"status": "survived"}, "2": {"status": "not reached"},
                   "3": {"status": "survived"}}
        rows = report.counted(mutants, results, {("a/Sum.cpp", "Sum", "4"): "why"}, report.folder)
        self.assertEqual([("a/", 4, 1, 1, 1, 1), ("all", 4, 1, 1, 1, 1)], rows)

    def test_reason_for_what_was_found_does_not_count(self):
        mutants = [Mutant(0, "a/Sum.cpp", Edit(0, 1, [], 0, what="1"))]
        rows = report.counted(mutants, {"0": {"status": "found"}}, {("a/Sum.cpp", "Sum", "1"): "why"}, report.folder)
        self.assertEqual([("a/", 1, 1, 0, 0, 0), ("all", 1, 1, 0, 0, 0)], rows)


if __name__ == "__main__":
    unittest.main()

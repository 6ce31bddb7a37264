"""Tests of scripts/mutants that need libclang: which changes are found in a piece of C++, and a whole run over a small
tree whose one suite notices some changes, misses one and never comes by another."""
import json
import pathlib
import subprocess
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
SCRIPTS = pathlib.Path(__file__).resolve().parents[2] / "scripts"
sys.path.insert(0, str(SCRIPTS))

from clang import cindex  # noqa: E402
from mutation import places  # noqa: E402


class Places(unittest.TestCase):
    def found(self, text):
        name = "/sample.cpp"
        unit = cindex.Index.create().parse(name, args=["-std=c++17", "-x", "c++"], unsaved_files=[(name, text)])
        self.assertEqual([], [str(message) for message in unit.diagnostics])
        return [(edit.operator, edit.what) for edit in places.find(unit, name, text)]

    def test_comparison_gets_its_boundary_and_its_opposite(self):
        self.assertEqual([("return", "result inverted: a < b"), ("boundary", "< to <=: a < b")],
                         self.found("bool F(int a, int b) { return a < b; }"))

    def test_condition_is_negated_once(self):
        self.assertEqual([("condition", "condition negated: a == b"), ("jump", "removed: return")],
                         self.found("void G(); void F(int a, int b) { if (a == b) { return; } int c; }"))

    def test_operands_of_a_condition_are_changed_too(self):
        self.assertEqual([("condition", "condition negated: !a || b != 1"), ("logic", "|| to &&: !a || b != 1"),
                          ("condition", "! removed: !a"), ("equality", "!= to ==: b != 1"), ("constant", "1 + 1"),
                          ("call", "removed: G()")],
                         self.found("void G(); void F(bool a, int b) { if (!a || b != 1) { G(); } }"))

    def test_declaration_in_a_condition_keeps_its_name(self):
        self.assertEqual([("condition", "branch never taken: int* a = G()"), ("call", "removed: H(*a)")],
                         self.found("int* G(); void H(int); void F() { if (int* a = G()) { H(*a); } }"))

    def test_arithmetic_is_swapped(self):
        self.assertEqual([("return", "result + 1: a + b * c"), ("arithmetic", "+ to -: a + b * c"),
                          ("arithmetic", "* to /: b * c")],
                         self.found("int F(int a, int b, int c) { return a + b * c; }"))

    def test_overloaded_comparison_is_swapped(self):
        self.assertEqual([("call", "removed: F(a == b)"), ("equality", "== to !=: a == b")],
                         self.found("struct S {}; bool operator==(S, S); void F(bool);"
                                    " void G(S a, S b) { F(a == b); }"))

    def test_step_goes_the_other_way_or_is_not_made(self):
        self.assertEqual([("assignment", "removed: ++a"), ("arithmetic", "++ to --: ++a")],
                         self.found("void F(int& a) { ++a; }"))

    def test_assignment_is_left_out_or_turned(self):
        self.assertEqual([("assignment", "removed: a += b"), ("arithmetic", "+= to -=: a += b"),
                          ("assignment", "removed: b = a")],
                         self.found("void F(int& a, int& b) { a += b; b = a; }"))

    def test_loop_is_passed_over(self):
        self.assertEqual([("loop", "loop never entered"), ("call", "removed: G()")],
                         self.found("bool C(); void G(); void F() { while (C()) { G(); } }"))

    def test_handler_passes_on_and_does_not(self):
        self.assertEqual([("call", "removed: G()"), ("catch", "handler passes the exception on"),
                          ("throw", "removed: throw")],
                         self.found("void G(); void F() { try { G(); } catch (...) { throw; } }"))

    def test_constant_of_a_constexpr_name_is_changed_where_it_is_used(self):
        self.assertEqual([("call", "removed: G(kLimit)"), ("constant", "kLimit + 1")],
                         self.found("constexpr int kLimit = 5; void G(int); void F() { G(kLimit); }"))

    def test_line_of_the_log_is_told_apart(self):
        self.assertEqual([("log line", "removed: GetLog(4)"), ("constant", "4 - 1")],
                         self.found("int& GetLog(int); void F() { GetLog(4); }"))

    def test_what_the_compiler_must_know_is_left_alone(self):
        self.assertEqual([], self.found(
            "template <int N> struct T {}; constexpr int kA = 1 + 2; static_assert(kA == 3, \"\");\n"
            "constexpr int F(int a) { return a + 1; }\n"
            "void G(int a = 1) { T<3> t; char b[4]; switch (a) { case 2: break; } (void)sizeof(a + 1); }"))

    def test_last_return_of_a_function_with_a_result_stays(self):
        self.assertEqual([("constant", "1 + 1")], self.found("int F() { return 1; }"))

    def test_body_of_a_lambda_is_looked_at(self):
        self.assertEqual([("call", "removed: h(a - b)"), ("arithmetic", "- to +: a - b"), ("call", "removed: g()")],
                         self.found("void h(int); void F(int a, int b) { auto g = [&] { h(a - b); }; g(); }"))

    def test_body_of_a_template_is_looked_at(self):
        self.assertEqual([("call", "removed: h(a - 1)"), ("arithmetic", "- to +: a - 1"), ("constant", "1 + 1")],
                         self.found("template <class H> void F(H h, int a) { h(a - 1); }"))

    def test_place_is_named_by_its_function(self):
        text = "namespace N { class C { void F(); }; void C::F() {\n  int a = 1;\n} }"
        unit = cindex.Index.create().parse("/s.cpp", args=["-std=c++17"], unsaved_files=[("/s.cpp", text)])
        edit, = places.find(unit, "/s.cpp", text)
        self.assertEqual(("C::F", 2, 11), (edit.function, edit.line, edit.column))


CMAKE = """cmake_minimum_required(VERSION 3.25)
project(Sample LANGUAGES CXX)
set(CMAKE_CXX_STANDARD 17)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
find_package(GTest REQUIRED)
enable_testing()
add_executable(tests_sample code/Sample.cpp tests/SampleTest.cpp)
target_include_directories(tests_sample PRIVATE "${CMAKE_SOURCE_DIR}")
target_link_libraries(tests_sample PRIVATE GTest::gtest_main)
add_test(NAME tests_sample COMMAND tests_sample)
"""

HEADER = """#pragma once
int Larger(int a, int b);
int Unused(int a);
void WaitFor(const bool& done, int& turns);
struct Text { explicit Text(int length) : length(length) {} int length; };
Text Make(int length);
"""

SOURCE = """#include "code/Sample.h"
int Larger(int a, int b) {
    if (a > b) {
        return a;
    }
    return b;
}
int Unused(int a) {
    return a * 2;
}
void WaitFor(const bool& done, int& turns) {
    do {
        turns += 1;
    } while (!done && turns < 3);
}
Text Make(int length) {
    return Text(length);
}
"""

TEST = """#include "code/Sample.h"
#include <gtest/gtest.h>
TEST(Sample, LargerOfTwo) { EXPECT_EQ(2, Larger(1, 2)); EXPECT_EQ(3, Larger(3, 2)); }
TEST(Sample, WaitsThreeTurns) { int turns = 0; WaitFor(false, turns); EXPECT_EQ(3, turns); }
TEST(Sample, Length) { EXPECT_EQ(4, Make(4).length); }
"""


class Run(unittest.TestCase):
    """One run, looked at from several sides: making it takes half a minute."""

    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.root = pathlib.Path(folder.name).resolve()
        for path, text in {"CMakeLists.txt": CMAKE, "code/Sample.h": HEADER, "code/Sample.cpp": SOURCE,
                           "tests/SampleTest.cpp": TEST}.items():
            file = cls.root / path
            file.parent.mkdir(exist_ok=True)
            file.write_text(text, encoding="utf-8")
        cls.output = cls.run_mutants()
        cls.report = json.loads((cls.root / "build/mutants/report.json").read_text(encoding="utf-8"))

    @classmethod
    def run_mutants(cls, *options):
        done = subprocess.run([str(SCRIPTS / "mutants"), "--root", str(cls.root), "--folders", "code",
                               "--suites", "tests_sample", *options], capture_output=True, text=True, check=False)
        if done.returncode != 0:
            raise AssertionError(done.stdout + done.stderr)
        return done.stdout

    def result(self, what):
        result, = [result for result in self.report if result["what"] == what]
        return result

    def status(self, what):
        return self.result(what)["status"]

    def test_change_that_a_test_sees_is_found_by_that_test(self):
        result = self.result("condition negated: a > b")
        self.assertEqual(("found", "test", "tests_sample", "Sample.LargerOfTwo"),
                         (result["status"], result["how"], result["suite"], result["by"]))

    def test_change_that_makes_no_difference_to_any_test_survives(self):
        self.assertEqual("survived", self.status("> to >=: a > b"))

    def test_change_that_no_test_comes_by_is_not_reached(self):
        self.assertEqual("not reached", self.status("* to /: a * 2"))

    def test_change_that_makes_a_test_hang_is_found(self):
        result = self.result("removed: turns += 1")
        self.assertEqual(("found", "hang", "Sample.WaitsThreeTurns"),
                         (result["status"], result["how"], result["by"]))

    def test_change_that_does_not_compile_is_dropped(self):
        self.assertEqual([], [result for result in self.report if result["function"] == "Make"])
        self.assertIn("1 that do not compile", self.output)

    def test_results_are_kept_until_something_changes(self):
        self.assertIn(" 0 to try", self.run_mutants())

    def test_one_change_is_shown(self):
        number = self.result("> to >=: a > b")["number"]
        shown = self.run_mutants("--show", str(number))
        self.assertIn("Larger [boundary] > to >=: a > b", shown)
        self.assertIn("a >= b", shown)
        self.assertIn("survived, 1 tests", shown)

    def test_file_outside_the_wish_is_not_tried(self):
        self.assertIn(" 0 mutants, 0 to try", self.run_mutants("code/Other.cpp"))


if __name__ == "__main__":
    unittest.main()

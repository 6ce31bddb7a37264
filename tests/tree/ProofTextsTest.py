"""Tests of proofs/texts/prove on small trees made for each case."""
import unittest

from TreeCheck import TreeCheck

LIBRARY = "module/Watch.cpp"
TEST = "tests/module/WatchTest.cpp"


class ProofTexts(TreeCheck):
    script = "../proofs/texts/prove"

    def setUp(self):
        super().setUp()
        self.write("proofs/texts/exceptions.toml")
        self.write("tests/module/CMakeLists.txt", "kyr_add_test_suite(tests_module SOURCES WatchTest.cpp)")
        self.write("docs/errors.md", "`Watching <number> products`, `It broke`, `Half of it`")

    def library(self, *lines):
        self.write(LIBRARY, *lines)

    def tests(self, *lines):
        self.write(TEST, "TEST(WatchTest, Case) {", *lines, "}")

    def assert_proved(self, texts):
        result = self.run_check()
        self.assertEqual((0, f"proof texts: {texts} texts, 0 without a test: PASS\n", ""),
                         (result.returncode, result.stdout, result.stderr))

    def assert_problem(self, *problems):
        result = self.run_check()
        lines = result.stdout.splitlines()
        self.assertEqual([f"problem: {problem}" for problem in problems], lines[:-1])
        self.assertTrue(lines[-1].endswith(": FAIL"), lines[-1])
        self.assertEqual((1, ""), (result.returncode, result.stderr))

    def test_line_with_its_level_is_expected(self):
        self.library('GetLog(2) << "Watching " << count << " products";')
        self.tests('EXPECT_EQ(line, "2 Watching 3 products");')
        self.assert_proved(1)

    def test_line_of_another_level_is_not(self):
        self.library('GetLog(2) << "Watching " << count << " products";')
        self.tests('EXPECT_EQ(line, "4 Watching 3 products");')
        self.assert_problem(f"{LIBRARY}:1: 2 'Watching <...> products': no test expects it")

    def test_text_of_an_exception_without_a_test_is_found(self):
        self.library('throw std::runtime_error("It broke");')
        self.tests("")
        self.assert_problem(f"{LIBRARY}:1: 'It broke': no test expects it")

    def test_text_that_the_page_does_not_tell_is_found(self):
        self.library('throw std::runtime_error("It failed");')
        self.tests('EXPECT_EQ(text, "It failed");')
        self.assert_problem(f"{LIBRARY}:1: 'It failed': docs/errors.md does not tell it")

    def test_literal_over_two_lines_is_one_text(self):
        self.library('throw std::runtime_error("It "', '    "broke");')
        self.tests('EXPECT_EQ(text, "It bro"', '    "ke");')
        self.assert_proved(1)

    def test_comment_inside_of_a_literal_changes_nothing(self):
        self.library('throw std::runtime_error("It "  // why', '    "broke");')
        self.tests('EXPECT_EQ(text, "It broke");')
        self.assert_proved(1)

    def test_comments_are_no_texts(self):
        self.library('// "Not said"', '/* GetLog(1) << "Not said" */', 'throw std::runtime_error("It broke");')
        self.tests('EXPECT_EQ(text, "It broke");')
        self.assert_proved(1)

    def test_quotation_in_a_comment_of_a_test_does_not_count(self):
        self.library('throw std::runtime_error("It broke");')
        self.tests('// "It broke"')
        self.assert_problem(f"{LIBRARY}:1: 'It broke': no test expects it")

    def test_quotation_outside_of_tests_does_not_count(self):
        self.library('throw std::runtime_error("It broke");')
        self.write(TEST, 'void Helper() { Say("It broke"); }', "TEST(WatchTest, Case) {", "}")
        self.assert_problem(f"{LIBRARY}:1: 'It broke': no test expects it")

    def test_constant_that_a_test_names_counts(self):
        self.library('throw std::runtime_error("It broke");')
        self.write(TEST, 'constexpr char kBroken[] = "It broke";', "TEST(WatchTest, Case) {",
                   "EXPECT_EQ(text, kBroken);", "}")
        self.assert_proved(1)

    def test_constant_of_the_library_is_logged_with_its_level(self):
        self.library('constexpr char kBroken[] = "It broke";', "GetLog(4) << kBroken;")
        self.tests('EXPECT_EQ(line, "3 It broke");')
        self.assert_problem(f"{LIBRARY}:1: 4 'It broke': no test expects it")

    def test_text_that_a_call_passes_is_logged_with_its_level(self):
        self.library("void Try(int n, const char* text) { GetLog(4) << text << n; }",
                     'void Both() { Try(1, "It broke"); }')
        self.tests('EXPECT_EQ(line, "3 It broke");')
        self.assert_problem(f"{LIBRARY}:2: 4 'It broke': no test expects it")

    def test_constant_that_a_call_passes_is_logged_with_its_level(self):
        self.library("void Try(const char* text) { GetLog(4) << text; }", 'constexpr char kBroken[] = "It broke";',
                     "void Once() { Try(kBroken); }")
        self.tests('EXPECT_EQ(line, "3 It broke");')
        self.assert_problem(f"{LIBRARY}:2: 4 'It broke': no test expects it")

    def test_texts_of_a_structure_are_logged_each_with_its_level(self):
        self.library("struct Texts { const char* first; const char* second; };",
                     'constexpr Texts kTexts = {"It broke", "Half of it"};',
                     "void Say(const Texts& texts) { GetLog(1) << texts.first; GetLog(3) << texts.second; }")
        self.tests('EXPECT_EQ(line, "1 It broke");', 'EXPECT_EQ(line, "3 Half of it");')
        self.assert_proved(2)
        self.tests('EXPECT_EQ(line, "3 It broke");', 'EXPECT_EQ(line, "3 Half of it");')
        self.assert_problem(f"{LIBRARY}:2: 1 'It broke': no test expects it")

    def test_text_of_an_event_begins_a_literal(self):
        self.library('const Task kTask{Outcome::kNo, Outcome::kText, Outcome::kError, "It broke"};')
        self.tests('EXPECT_EQ(line, "4 It broke");')
        self.assert_problem(f"{LIBRARY}:1: event 'It broke': no test expects it")

    def test_line_whose_beginning_nobody_knows_is_found(self):
        self.library('GetLog(4) << Describe(1);', 'throw std::runtime_error("It broke");')
        self.tests('EXPECT_EQ(text, "It broke");')
        self.assert_problem(f"{LIBRARY}:1: what is written here: Describe(1)")

    def test_exception_with_its_reason_is_passed_over(self):
        self.write("proofs/texts/exceptions.toml", "[[no_text]]", f'path = "{LIBRARY}"', 'text = "Half"', 'why = "wire"')
        self.library('Write("Half of it");', 'throw std::runtime_error("It broke");')
        self.tests('EXPECT_EQ(text, "It broke");')
        self.assert_proved(1)

    def test_exception_that_fits_nothing_is_found(self):
        self.write("proofs/texts/exceptions.toml", "[[no_text]]", f'path = "{LIBRARY}"', 'text = "Half"', 'why = "wire"')
        self.library('throw std::runtime_error("It broke");')
        self.tests('EXPECT_EQ(text, "It broke");')
        self.assert_problem(f"exceptions.toml: nothing in {LIBRARY} begins with 'Half'")

    def test_text_that_a_test_puts_together_has_a_row(self):
        self.library('throw std::runtime_error("It broke");')
        self.tests('EXPECT_EQ(text, std::string("It ") + "broke");')
        row = ("[[built]]", f'path = "{LIBRARY}"', 'text = "It broke"', 'why = "parts"')
        self.write("proofs/texts/exceptions.toml", *row, 'tests = ["WatchTest.Case"]')
        self.assert_proved(1)
        self.write("proofs/texts/exceptions.toml", *row, 'tests = ["WatchTest.Other"]')
        self.assert_problem("exceptions.toml: no test WatchTest.Other", f"{LIBRARY}:1: 'It broke': no test expects it")

    def test_library_without_a_text_is_no_proof(self):
        self.library("int count = 0;")
        self.tests("")
        self.assert_problem("no text was found at all")


if __name__ == "__main__":
    unittest.main()

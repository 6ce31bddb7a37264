"""Tests of proofs/attacks/prove on small trees made for each case."""
import unittest

from TreeCheck import TreeCheck

PAGE = ("# Wire format", "", "## Attacks", "", "| attack | what stops it |", "|---|---|", "| a bomb | a limit |", "",
        "- **Nobody", "  answers.** Known.", "", "## Behind", "", "| not an attack | x |")


class ProofAttacks(TreeCheck):
    script = "../proofs/attacks/prove"

    def setUp(self):
        super().setUp()
        self.write("docs/wire-format.md", *PAGE)
        self.write("tests/low/CMakeLists.txt", "kyr_add_test_suite(tests_low SOURCES BombTest.cpp)")
        self.write("tests/low/BombTest.cpp", "TEST_F(BombTest, IsDefused) {", "}")
        self.write("tests/low/RegistryTest.cpp", "TEST(RegistryTest, IsRead) {", "}")
        self.rows()

    def rows(self, bomb='tests = ["BombTest.IsDefused"]', *more):
        self.write("proofs/attacks/attacks.toml", "[[attack]]", 'name = "a bomb"', bomb,
                   "[[attack]]", 'name = "Nobody answers."', 'documented = "no end"', *more)

    def assert_problem(self, *problems, arguments=()):
        result = self.run_check(*arguments)
        lines = result.stdout.splitlines()
        self.assertEqual([f"problem: {problem}" for problem in problems], lines[:-1])
        self.assertTrue(lines[-1].endswith(": FAIL"), lines[-1])
        self.assertEqual((1, ""), (result.returncode, result.stderr))

    def program(self, *lines):
        self.write("bin/tests_low", "#!/bin/bash", *lines)
        (self.root / "bin/tests_low").chmod(0o755)

    def test_every_attack_with_a_test_or_a_reason_holds(self):
        result = self.run_check()
        self.assertEqual((0, "proof attacks: 2 attacks, 1 tests named, 1 documented only: PASS\n", ""),
                         (result.returncode, result.stdout, result.stderr))

    def test_attack_without_an_entry_is_found(self):
        self.write("docs/wire-format.md", *PAGE[:7], "| a mine | luck |", *PAGE[7:])
        self.assert_problem("docs/wire-format.md: 'a mine' has no entry in attacks.toml")

    def test_entry_of_no_attack_is_found(self):
        self.rows('tests = ["BombTest.IsDefused"]', "[[attack]]", 'name = "a mine"', 'documented = "luck"')
        self.assert_problem("attacks.toml: 'a mine' is no attack of docs/wire-format.md")

    def test_entry_with_neither_test_nor_reason_is_found(self):
        self.rows("tests = []")
        self.assert_problem("attacks.toml: 'a bomb' has neither a test nor a reason")

    def test_test_that_is_not_there_is_found(self):
        self.rows('tests = ["BombTest.Explodes"]')
        self.assert_problem("attacks.toml: no test BombTest.Explodes is built here")

    def test_test_of_the_other_system_only_has_to_exist(self):
        self.rows('tests = ["BombTest.IsDefused"]\nelsewhere = ["RegistryTest.IsRead"]')
        self.assertEqual(0, self.run_check().returncode)
        self.rows('tests = ["BombTest.IsDefused"]\nelsewhere = ["RegistryTest.IsWritten"]')
        self.assert_problem("attacks.toml: no test RegistryTest.IsWritten")

    def test_test_that_passes_is_run(self):
        self.program('echo "Running 1 test"; [[ $1 == --gtest_filter=BombTest.IsDefused:* ]]')
        self.assertEqual("proof attacks: 2 attacks, 1 tests run, 1 documented only: PASS\n",
                         self.run_check("--run", "bin").stdout)

    def test_test_that_fails_is_found(self):
        self.program('echo "it went off"; exit 1')
        self.assert_problem("BombTest.IsDefused: it went off", arguments=("--run", "bin"))

    def test_test_that_is_passed_over_is_found(self):
        self.program('echo "[  SKIPPED ] BombTest.IsDefused"')
        self.assert_problem("BombTest.IsDefused: tests_low passed BombTest.IsDefused over", arguments=("--run", "bin"))

    def test_test_that_the_program_does_not_have_is_found(self):
        self.program('echo "Running 0 tests"')
        self.assert_problem("BombTest.IsDefused: tests_low has no test BombTest.IsDefused", arguments=("--run", "bin"))


if __name__ == "__main__":
    unittest.main()

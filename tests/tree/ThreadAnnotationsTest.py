"""Tests that builds with clang++ refuse code that breaks what base/ThreadAnnotations.h says of a lock."""
import pathlib
import re
import subprocess
import unittest

TREE = pathlib.Path(__file__).resolve().parents[2]

# One member function a case; all of them are compiled at once.
CASES = {
    "under_its_lock": "const CLock lock(mutex_); ++count_; CountHeld();",
    "without_its_lock": "++count_;",
    "operation_without_the_lock": "CountHeld();",
    "behind_an_early_release": "CLock lock(mutex_); lock.Unlock(); ++count_;",
    "under_a_lock_taken_again": "CLock lock(mutex_); lock.Unlock(); lock.Lock(); ++count_;",
    "within_a_pause": "const CLock lock(mutex_); const CUnlock pause(mutex_); ++count_;",
    "behind_a_pause": "const CLock lock(mutex_); { const CUnlock pause(mutex_); } ++count_;",
    "when_a_trial_took_it": "if (mutex_.TryLock()) { ++count_; mutex_.Unlock(); }",
    "after_a_trial_that_failed": "if (!mutex_.TryLock()) { ++count_; return; } mutex_.Unlock();",
    "lock_taken_twice": "const CLock lock(mutex_); const CLock again(mutex_);",
}



def clang_options():
    """What every target of the tree is given when clang++ compiles it."""
    text = (TREE / "cmake/KyrTargets.cmake").read_text(encoding="utf-8")
    options = r'CMAKE_CXX_COMPILER_ID MATCHES "Clang"\)\s*target_compile_options\(\$\{name\} PRIVATE ([^)]*)\)'
    given = re.search(options, text)
    return given.group(1).split()


HEAD = """#include "base/Mutex.h"
using Kyr::Base::CLock;
using Kyr::Base::CUnlock;
struct Sample {
    void CountHeld() KYR_REQUIRES(mutex_) { ++count_; }
    Kyr::Base::CMutex mutex_;
    int count_ KYR_GUARDED_BY(mutex_) = 0;
"""


class ThreadAnnotations(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        lines = [f"    void {name}() {{ {body} }}" for name, body in CASES.items()]
        source = HEAD + "\n".join(lines) + "\n};\n"
        command = ["clang++", "-std=c++17", "-fsyntax-only", "-ferror-limit=0", *clang_options(), f"-I{TREE}",
                   "-x", "c++", "-"]
        done = subprocess.run(command, input=source, capture_output=True, text=True, check=False)
        assert done.returncode != 0, "everything was accepted"
        first = HEAD.count("\n") + 1
        said = re.findall(r"^<stdin>:(\d+):\d+: error: (.*)$", done.stderr, re.MULTILINE)
        names = list(CASES)
        cls.errors = [(names[int(line) - first], re.sub(r" \[-W.*\]$", "", text)) for line, text in said]

    def said_of(self, case):
        return [text for name, text in self.errors if name == case]

    def assert_accepted(self, case):
        self.assertEqual(self.said_of(case), [])

    def assert_refused(self, case, beginning):
        said = self.said_of(case)
        self.assertEqual(len(said), 1, said)
        self.assertTrue(said[0].startswith(beginning), said[0])

    def test_member_under_its_lock_is_accepted(self):
        self.assert_accepted("under_its_lock")

    def test_member_without_its_lock_is_refused(self):
        self.assert_refused("without_its_lock", "writing variable 'count_' requires holding mutex 'mutex_'")

    def test_operation_that_wants_the_lock_is_refused_without_it(self):
        self.assert_refused("operation_without_the_lock",
                            "calling function 'CountHeld' requires holding mutex 'mutex_'")

    def test_member_behind_an_early_release_is_refused(self):
        self.assert_refused("behind_an_early_release", "writing variable 'count_' requires holding mutex 'mutex_'")

    def test_member_under_a_lock_taken_again_is_accepted(self):
        self.assert_accepted("under_a_lock_taken_again")

    def test_member_within_a_pause_is_refused(self):
        self.assert_refused("within_a_pause", "writing variable 'count_' requires holding mutex 'mutex_'")

    def test_member_behind_a_pause_is_accepted(self):
        self.assert_accepted("behind_a_pause")

    def test_member_under_a_lock_that_a_trial_took_is_accepted(self):
        self.assert_accepted("when_a_trial_took_it")

    def test_member_after_a_trial_that_failed_is_refused(self):
        self.assert_refused("after_a_trial_that_failed",
                            "writing variable 'count_' requires holding mutex 'mutex_'")

    def test_lock_taken_twice_is_refused(self):
        self.assert_refused("lock_taken_twice", "acquiring mutex 'mutex_' that is already held")


if __name__ == "__main__":
    unittest.main()

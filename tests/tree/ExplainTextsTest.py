"""The texts that `ovprobe explain` recognises are those that the library writes, read from its sources."""
import pathlib
import re
import sys
import unittest

TREE = pathlib.Path(__file__).resolve().parents[2]
sys.path[:0] = [str(TREE / "scripts"), str(TREE / "proofs/texts")]

import library

# A text of a library of others, which the connector passes on.
OF_OTHERS = {"bad lexical cast: source type value could not be interpreted as target"}
# Before the text of a reply that was read in part stands the name of the task that asked.
OF_A_TASK = re.compile(r"^CWinOv\w+Task(?=: )")
PATTERN = re.compile(r'\{((?:\s*"(?:\\.|[^"\\])*")+),\s*LineKind::')


def patterns():
    source = (TREE / "probe/explain/Patterns.cpp").read_text(encoding="utf-8")
    return ["".join(re.findall(r'"((?:\\.|[^"\\])*)"', found)) for found in PATTERN.findall(source)]


def begins_alike(text, pattern):
    """Whether a line with that text can begin with the pattern: what stands between its parts may be anything."""
    line = re.escape(text.parts[0]) + "".join(".*" + re.escape(part) for part in text.parts[1:]) + ".*"
    # Of a pattern that goes beyond a part the rest must be able to follow.
    return text.parts[0].startswith(pattern) or (
        pattern.startswith(text.parts[0]) and re.match(line, pattern + "".join(text.parts[1:])) is not None)


class ExplainTexts(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.texts = list(library.read(TREE).texts())
        cls.patterns = patterns()

    def test_patterns_are_found(self):
        self.assertGreater(len(self.patterns), 50)
        self.assertEqual(len(self.patterns), len(set(self.patterns)))

    def test_every_pattern_is_a_text_of_the_library(self):
        unknown = [pattern for pattern in self.patterns
                   if pattern not in OF_OTHERS
                   and not any(begins_alike(text, OF_A_TASK.sub("", pattern)) for text in self.texts)]
        self.assertEqual([], unknown)

    def test_tasks_that_a_pattern_names_exist(self):
        tasks = {found[0] for found in map(OF_A_TASK.match, self.patterns) if found}
        self.assertEqual(3, len(tasks))
        sources = "".join(path.read_text(encoding="utf-8") for path in (TREE / "connector/tasks").glob("*.cpp"))
        self.assertEqual([], [task for task in sorted(tasks) if f'"{task}"' not in sources])

    def test_every_line_of_the_library_is_recognised(self):
        # Those that begin with the name of a task tell of records, and of nothing that a task waits for.
        lines = [text for text in self.texts if text.begins in set("01234")]
        self.assertGreater(len(lines), 30)
        unknown = [str(text) for text in lines
                   if not any(text.parts[0].startswith(pattern) or pattern.startswith(text.parts[0])
                              for pattern in self.patterns)]
        self.assertEqual([], unknown)

    def test_no_pattern_stands_behind_one_that_takes_its_lines(self):
        hidden = [later for index, later in enumerate(self.patterns)
                  if any(later.startswith(earlier) for earlier in self.patterns[:index])]
        self.assertEqual([], hidden)


if __name__ == "__main__":
    unittest.main()

"""Changes every text of the library in a copy of the tree and runs the tests that expect one.

Each part of each text gets a mark of its own before its last sign, all of them in one build. A test that compares the text
prints what came instead, and so the mark. Where nobody prints it, the text is changed alone, and one of its tests must fail.

Afterwards each line of the log comes twice, one text at a time, without a mark: one build for all, which a variable tells.
And each line that is the text of an exception alone, which has no mark, comes on another level.
"""
import os
import re
import shutil
import subprocess

from suites import programs

# Nothing else that a test prints looks like it.
MARK = "~{}~"
ENVIRONMENT = {"CCACHE_SLOPPINESS": "pch_defines,time_macros"}


# Where all lines are written; a line with all parts of the text in this variable is written twice.
LINES = "connector/LogLine.cpp"
TWICE = "KYR_TEXT_TWICE"
WRITES = "            state_->logger->Log(text, state_->hostLevel, state_->source);\n"
WRITES_TWICE = WRITES + '''            if (const char* parts = std::getenv("KYR_TEXT_TWICE")) {
                std::istringstream all(parts);
                std::size_t place = 0;
                for (std::string part; place != std::string::npos && std::getline(all, part, '\\x1f');) {
                    place = text.find(part, place);
                    place += place == std::string::npos ? 0 : part.size();
                }
                if (place != std::string::npos) {
                    state_->logger->Log(text, state_->hostLevel, state_->source);
                }
            }
'''


# A line that is the text of an exception, and what makes its level another one.
THROWN = re.compile(r"\bGetLog\((\d)\)(?=\s*<<\s*\w+\.what\(\)\s*;)")
LEVEL = "KYR_TEXT_LEVEL"
OTHER_LEVEL = ('GetLog([] {{ const char* const site = std::getenv("KYR_TEXT_LEVEL"); '
               'return site != nullptr && std::string(site) == "{site}" ? {other} : {level}; }}())')


class DoesNotBuild(Exception):
    pass


def run(*words, **options):
    return subprocess.run([str(word) for word in words], capture_output=True, text=True, check=False, errors="replace",
                          **options)


def before_the_end(text, quote):
    """Before the last sign of the literal that ends with the quote there: a test of its beginning notices, too."""
    return quote - 1 if text[quote - 1] != '"' and text[quote - 2] != "\\" else quote


class Copy:
    """The tree once more below build/, with other texts."""

    def __init__(self, root, jobs):
        self.jobs = jobs
        self.folder = root / "build" / "texts"
        self.build_folder = self.folder / "build" / "debug"
        listed = run("git", "-C", root, "ls-files", "-z", "--cached", "--others", "--exclude-standard").stdout
        self.files = {path for path in listed.split("\0") if path and (root / path).is_file()}
        # As they are now: whoever goes on working in the tree meanwhile changes no place.
        self.originals = {path: (root / path).read_bytes() for path in self.files}
        for path in self.files:
            self.put(path, self.originals[path])
            shutil.copymode(root / path, self.folder / path)
        done = run("cmake", "--preset", "debug", "-DKYR_BUILD_BENCH=OFF", cwd=self.folder)
        if done.returncode != 0:
            raise DoesNotBuild(done.stdout + done.stderr)

    def put(self, path, data):
        """Written only when it differs, so that nothing is compiled again without need."""
        target = self.folder / path
        if not target.exists() or target.read_bytes() != data:
            target.parent.mkdir(parents=True, exist_ok=True)
            target.write_bytes(data)

    def change(self, marks):
        """`marks`: path -> [(place, mark)]; every other file of the library is as it was."""
        for path in self.files:
            if path.endswith((".h", ".cpp")):
                text = self.originals[path].decode("utf-8")
                for place, mark in sorted(marks.get(path, []), reverse=True):
                    place = before_the_end(text, place)
                    text = text[:place] + mark + text[place:]
                self.put(path, text.encode("utf-8"))

    def build(self, suites):
        done = run("cmake", "--build", self.build_folder, "-j", self.jobs, "--target", *sorted(suites),
                   env={**os.environ, **ENVIRONMENT})
        if done.returncode != 0:
            raise DoesNotBuild(done.stdout[-3000:])

    def output_of(self, test):
        """What the test prints when it fails; None when it does not."""
        passed, output = programs.run(self.build_folder / "bin", test)
        return None if passed else output


def unnoticed_twice(root, tests, jobs):
    """`tests`: line of the log -> tests that expect it. The lines of which none notices that they are written twice."""
    copy = Copy(root, jobs)
    copy.change({})
    source = copy.originals[LINES].decode("utf-8")
    if source.count(WRITES) != 1:
        raise DoesNotBuild(f"{LINES} writes lines in another way")
    copy.put(LINES, ("#include <cstdlib>\n" + source.replace(WRITES, WRITES_TWICE)).encode("utf-8"))
    copy.build({test.program for found in tests.values() for test in found})
    unnoticed = []
    for text, found in tests.items():
        os.environ[TWICE] = "\x1f".join(text.parts)
        if all(copy.output_of(test) is None for test in found):
            unnoticed.append(text)
    del os.environ[TWICE]
    return unnoticed


def thrown_lines(root, folders):
    """(path, place, level) of each line that is the text of an exception."""
    for folder in folders:
        for path in sorted((root / folder).rglob("*.cpp")):
            for found in THROWN.finditer(path.read_text(encoding="utf-8")):
                yield path.relative_to(root).as_posix(), found.start(), found.group(1)


def unnoticed_levels(root, lines, tests, jobs):
    """`lines`: those of thrown_lines; `tests`: level -> tests that expect a line of it. The lines whose level no test minds."""
    copy = Copy(root, jobs)
    copy.change({})
    for path in {path for path, _, _ in lines}:
        text = copy.originals[path].decode("utf-8")
        for place, level in sorted(((place, level) for where, place, level in lines if where == path), reverse=True):
            other = OTHER_LEVEL.format(site=f"{path}:{place}", other=3 if level == "4" else 4, level=level)
            text = text[:place] + THROWN.sub(lambda _: other, text[place:], count=1)  # pylint: disable=cell-var-from-loop
        copy.put(path, ("#include <cstdlib>\n#include <string>\n" + text).encode("utf-8"))
    copy.build({test.program for found in tests.values() for test in found})
    unnoticed = []
    for path, place, level in lines:
        os.environ[LEVEL] = f"{path}:{place}"
        if all(copy.output_of(test) is None for test in tests[level]):
            line = copy.originals[path].decode("utf-8").count("\n", 0, place) + 1
            unnoticed.append(f"{path}:{line}")
    del os.environ[LEVEL]
    return unnoticed


def unreached(root, tests, jobs):
    """`tests`: text -> tests that expect it. The texts whose change none of them notices."""
    copy = Copy(root, jobs)
    marks, of_text = {}, {}
    for text in tests:
        for place in text.ends:
            # Two texts may share a literal, a line and an event for example.
            of_text.setdefault(text, []).append(marks.setdefault((text.path, place), MARK.format(len(marks))))
    by_path = {}
    for (path, place), mark in marks.items():
        by_path.setdefault(path, []).append((place, mark))
    copy.change(by_path)
    copy.build({test.program for found in tests.values() for test in found})
    outputs = {test: copy.output_of(test) for test in sorted({test for found in tests.values() for test in found})}

    def is_told(text):
        told = [output for output in (outputs[test] for test in tests[text]) if output]
        return all(any(mark in output for output in told) for mark in of_text[text])

    open_ones = [text for text in tests if not is_told(text)]
    for text in open_ones:
        print(f"not printed, changed alone: {text}", flush=True)
    return [text for text in open_ones if not is_noticed(copy, text, tests[text])]


def is_noticed(copy, text, found):
    """Every part by itself."""
    for place in text.ends:
        copy.change({text.path: [(place, MARK.format("alone"))]})
        copy.build({test.program for test in found})
        if all(copy.output_of(test) is None for test in found):
            return False
    return True

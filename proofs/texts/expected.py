"""What the library's suites expect, string literals of their tests; and the page that tells all texts."""
import re

from suites import cpp, programs

PAGE = "docs/errors.md"
FOLDERS = ("base", "connector", "kelcomm", "logs", "module")
INCLUDE = re.compile(r'^\s*#\s*include\s+"(tests/[^"]+)"', re.M)


def pattern(text):
    """What a literal of a test must be like: the parts in their order, from its beginning when a line begins with them."""
    parts = ".*".join(re.escape(part) for part in text.parts)
    begins = {None: "", "event": "^"}.get(text.begins, f"^{text.begins} ")
    return re.compile(begins + parts, re.S)


class Tests:
    def __init__(self, root):
        self.root = root
        self.sources = {}  # path -> (source, its tests, the test headers that it includes)
        self.quoted = []   # (literal, tests that use it)
        self.all = {}      # name -> test
        for folder in FOLDERS:
            for program, path in programs.test_files(root, f"tests/{folder}"):
                self.read_tests(program, path)

    def source(self, path):
        if path not in self.sources:
            text = (self.root / path).read_text(encoding="utf-8")
            source = cpp.read(path, text)
            self.sources[path] = (source, cpp.Tests(source), INCLUDE.findall(text))
        return self.sources[path]

    def read_tests(self, program, path):
        source, tests, headers = self.source(path)
        headers = list(headers)
        self.all.update({name: programs.Test(program, path, name) for _, name in tests.begins})

        def quote(literal, names):
            if names:
                self.quoted.append((literal, [programs.Test(program, path, name) for name in sorted(names)]))

        for number, test, constant in tests.literals():
            quote(source.literals[number].value, {test} if test else tests.naming(constant) if constant else set())
        # Constants of the headers that it includes, and of those that they do.
        seen = set()
        while headers:
            header = headers.pop()
            if header in seen or not (self.root / header).is_file():
                continue
            seen.add(header)
            shared, kept, more = self.source(header)
            headers = [*headers, *more]
            for number, _, constant in kept.literals():
                if constant:
                    quote(shared.literals[number].value, tests.naming(constant))

    def named(self, name):
        return [self.all[name]] if name in self.all else []

    def tests_of(self, text):
        wanted = pattern(text)
        return sorted({test for literal, tests in self.quoted if wanted.search(literal) for test in tests})

    def tests_of_level(self, level):
        """That expect whole lines of that level."""
        return sorted({test for literal, tests in self.quoted if literal.startswith(f"{level} ") for test in tests})


class Page:
    def __init__(self, root):
        self.lines = [line.replace("`", "") for line in (root / PAGE).read_text(encoding="utf-8").splitlines()]

    def tells(self, text):
        wanted = re.compile(".*".join(re.escape(part.strip(" ,:")) for part in text.parts))
        return any(wanted.search(line) for line in self.lines)

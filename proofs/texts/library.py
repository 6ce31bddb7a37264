"""The texts that the library writes, collected from its sources.

A text is a string literal with a letter and a blank or "::", and any with a letter of a statement that throws or logs.
Literals between which there is only `+`, `<<` or one other argument of a call are the constant parts of one text.
"""
import re
from typing import NamedTuple, Optional

from suites import cpp

FOLDERS = ("base", "connector", "kelcomm", "logs", "module")
# What is said to a compiler, or to another one than to a person.
NOT_SAID = re.compile(r"\bstatic_assert\s*\(|\bKYR_[A-Z_]+\(|\bextern\b")
LOG = re.compile(r"\bGetLog\(\s*(\d)\s*\)\s*<<\s*")
# What became of a task: what stands last is the text of the event that tells it.
EVENT = re.compile(r"\{\s*Outcome::\w+,\s*Outcome::\w+,\s*Outcome::\w+,\s*([^{};]+?)\s*\}")
LITERAL = re.compile(r'"(\d+)"')
BETWEEN_PARTS = re.compile(r"^(?:[^,]*(?:\+|<<)[^;]*|\s*,\s*[\w.]+\s*,\s*)$", re.S)


class Text(NamedTuple):
    path: str
    line: int
    parts: tuple          # of literals, in their order
    ends: tuple           # where the closing quotes of those parts stand in the file
    begins: Optional[str]  # "4" of a log line that begins with it, "event" of a task event; None for all others

    def __str__(self):
        level = "" if self.begins is None else f"{self.begins} "
        return f"{self.path}:{self.line}: {level}{'<...>'.join(self.parts)!r}"


class NotUnderstood(NamedTuple):
    """A log line or an event of which the collection cannot tell what it begins with."""
    path: str
    line: int
    what: str

    def __str__(self):
        return f"{self.path}:{self.line}: what is written here: {self.what}"


def has_letter(text):
    return re.search(r"[A-Za-z]", text) is not None


def is_said(value, statement):
    if not has_letter(value) or NOT_SAID.search(statement):
        return False
    return " " in value or "::" in value or re.search(r"\bthrow\b", statement) is not None or LOG.search(statement) is not None


def chains(statement, literals):
    """The literals of a statement, those together that make one text."""
    chain = []
    before = 0
    for match in LITERAL.finditer(statement):
        between = statement[before:match.start()]
        if chain and not BETWEEN_PARTS.match(between):
            yield chain
            chain = []
        before = match.end()
        if has_letter(literals[int(match.group(1))].value):
            chain.append(int(match.group(1)))
    if chain:
        yield chain


class Collection:
    """Reads all sources at once: what one logs may stand in another."""

    def __init__(self, sources):
        self.sources = sources
        self.begins = {}      # (path, literal) -> what Text.begins may be
        self.problems = []
        for source in sources:
            self.find_begins(source)

    def texts(self):
        for source in self.sources:
            for _, statement in cpp.statements(source):
                for chain in chains(statement, source.literals):
                    parts = [source.literals[number] for number in chain]
                    if any(is_said(part.value, statement) for part in parts):
                        for begins in sorted(self.begins.get((source.path, chain[0]), {None}), key=str):
                            yield Text(source.path, parts[0].line, tuple(part.value for part in parts),
                                       tuple(part.end for part in parts), begins)

    def find_begins(self, source):
        for begin, statement in cpp.statements(source):
            for log in LOG.finditer(statement):
                self.note(source, begin + log.end(), re.split(r"<<", statement[log.end():])[0].strip(), log.group(1))
        for event in EVENT.finditer(source.code):
            self.note(source, event.start(1), event.group(1), "event")

    def note(self, source, place, first, begins):
        found = self.begins_with(source, place, first)
        if found is None:
            self.problems.append(NotUnderstood(source.path, source.code.count("\n", 0, place) + 1, first))
        for literal in found or []:
            self.begins.setdefault(literal, set()).add(begins)

    def begins_with(self, source, place, first):
        """The literals that `first`, an expression at `place`, may be; none for the text of an exception."""
        if re.fullmatch(r"\w+\.what\(\)", first):
            return []
        if re.fullmatch(r'"\d+"', first):
            return [(source.path, int(first[1:-1]))]
        if re.fullmatch(r"(?:\w+::)*k[A-Z]\w*", first):
            return self.constants(first) or None
        if re.fullmatch(r"\w+\.\w+", first):
            return self.members(first.split(".")[1]) or None
        if re.fullmatch(r"\w+", first):
            return self.passed(source, place, first) or None
        return None

    def constants(self, name):
        word = name.split("::")[-1]
        pattern = re.compile(rf'\bchar\s+{word}\[\]\s*=\s*"(\d+)"')
        return [(source.path, int(match.group(1))) for source in self.sources
                for match in pattern.finditer(source.code)]

    def members(self, member):
        """Of every value of the structure that has `const char* member`, what stands at its place."""
        found = []
        for owner in self.sources:
            for structure in re.finditer(r"\bstruct\s+(\w+)\s*\{([^{}]*)\}", owner.code):
                names = re.findall(r"const char\*\s+(\w+)\s*;", structure.group(2))
                if member not in names:
                    continue
                value = re.compile(rf"\b{structure.group(1)}\s+\w+\s*=?\s*(?=\{{)")
                for source in self.sources:
                    for match in value.finditer(source.code):
                        values = cpp.arguments(source.code, match.end())
                        if len(values) > names.index(member):
                            found += [(source.path, int(number))
                                      for number in LITERAL.findall(values[names.index(member)])]
        return found

    def passed(self, source, place, name):
        """What calls pass for `const char* name`, a parameter of the function around `place`."""
        heads = list(re.finditer(rf"\b(\w+)\(([^()]*(?:\([^()]*\)[^()]*)*const char\*\s+{name}\b)",
                                 source.code[:place]))
        if not heads:
            return []
        function, index = heads[-1].group(1), len(re.sub(r"<[^<>]*>", "", heads[-1].group(2)).split(",")) - 1
        found = []
        for caller in self.sources:
            for call in re.finditer(rf"\b{function}\b(?:<[\w:, ]*>)?\(", caller.code):
                given = cpp.arguments(caller.code, call.end() - 1)
                if len(given) > index:
                    argument = given[index]
                    found += [(caller.path, int(number)) for number in re.findall(r'^"(\d+)"$', argument)]
                    found += self.constants(argument) if re.fullmatch(r"(?:\w+::)*k[A-Z]\w*", argument) else []
        return found


def read(root):
    paths = sorted(path for folder in FOLDERS for path in (root / folder).rglob("*") if path.suffix in {".h", ".cpp"})
    return Collection([cpp.read(path.relative_to(root).as_posix(), path.read_text(encoding="utf-8"))
                       for path in paths])

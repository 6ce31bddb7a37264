"""C++ sources as far as the proofs need them: code without comments, in which each string literal is its number."""
import bisect
import re
from typing import NamedTuple

# Comments, raw strings, adjacent plain strings, characters (a quote between digits separates thousands), includes.
TOKEN = re.compile(
    r'(?P<comment>//[^\n]*|/\*.*?\*/)'
    r'|(?P<include>^[ \t]*#[ \t]*include[^\n]*)'
    r'|R"(?P<mark>\w*)\((?P<raw>.*?)\)(?P=mark)"'
    r'|(?P<plain>"(?:\\.|[^"\\\n])*")'
    r"|(?<![0-9A-Fa-f])'(?:\\.|[^'\\\n])+'", re.S | re.M)
ESCAPE = re.compile(r"\\(x[0-9A-Fa-f]+|[0-7]{1,3}|.)", re.S)
ESCAPED = {"n": "\n", "t": "\t", "r": "\r", "0": "\0"}
TEST = re.compile(r"\b(?:TYPED_)?TEST(?:_F|_P)?\(\s*(\w+)\s*,\s*(\w+)\s*\)")


class Literal(NamedTuple):
    value: str
    line: int
    end: int     # of its last part in the file: where its closing quote stands


class Source(NamedTuple):
    path: str
    code: str    # a literal is "<its number>" there
    literals: list


def unescaped(text):
    def one(match):
        sign = match.group(1)
        if sign[0] == "x":
            return chr(int(sign[1:], 16))
        return ESCAPED.get(sign) or (chr(int(sign, 8)) if sign.isdigit() else sign)
    return ESCAPE.sub(one, text)


def read(path, text):
    lines = [match.start() for match in re.finditer("\n", text)]
    code, literals, at = [], [], 0
    joined = False   # what is between this literal and the one before is blank
    for token in TOKEN.finditer(text):
        between = text[at:token.start()]
        at = token.end()
        code.append(between)
        joined = joined and not between.strip()
        if token["comment"] is not None or token["include"] is not None:
            continue
        if token["raw"] is None and token["plain"] is None:
            code.append("' '")
            joined = False
            continue
        value = token["raw"] if token["raw"] is not None else unescaped(token["plain"][1:-1])
        if joined:
            literals[-1] = Literal(literals[-1].value + value, literals[-1].line, token.end() - 1)
        else:
            code.append(f'"{len(literals)}"')
            literals.append(Literal(value, bisect.bisect_left(lines, token.start()) + 1, token.end() - 1))
            joined = True
    code.append(text[at:])
    return Source(path, "".join(code), literals)


def statements(source):
    """Begin and text of what stands between semicolons and braces."""
    for match in re.finditer(r"[^;{}]+", source.code):
        yield match.start(), match.group(0)


def arguments(code, begin):
    """What stands between the commas behind the bracket at `begin`, up to the one that closes it."""
    parts, depth, at = [], 0, begin + 1
    for place in range(begin, len(code)):
        sign = code[place]
        depth += (sign in "([{") - (sign in ")]}")
        if depth == 0 or (depth == 1 and sign == ","):
            parts.append(code[at:place].strip())
            at = place + 1
            if depth == 0:
                break
    return parts


class Tests:
    """Where the tests of a source stand, and which constant a literal outside of them belongs to."""

    def __init__(self, source):
        self.source = source
        self.begins = [(match.start(), f"{match.group(1)}.{match.group(2)}") for match in TEST.finditer(source.code)]
        self.places = [begin for begin, _ in self.begins]

    def at(self, place):
        index = bisect.bisect_right(self.places, place) - 1
        # A test ends with the first brace that stands at the beginning of a line.
        if index < 0 or "\n}" in self.source.code[self.places[index]:place]:
            return None
        return self.begins[index][1]

    def naming(self, word):
        return {self.at(use.start()) for use in re.finditer(rf"\b{word}\b", self.source.code)} - {None}

    def literals(self):
        """(number, its test or None, the constant that it stands in or None)"""
        for match in re.finditer(r'"(\d+)"', self.source.code):
            head = self.source.code[:match.start()]
            head = head[max(head.rfind(";"), head.rfind("}")) + 1:]
            named = re.search(r"\b(k[A-Z]\w*)\s*(?:\[\w*\])?\s*[={]", head)
            yield int(match.group(1)), self.at(match.start()), named.group(1) if named else None

"""Finds the places of one C++ file where a small change may be tried, with libclang.

A place becomes an Edit: a range of the file, an operator's name and the text that stands there instead. That text has
the change and the code as it was side by side, so that a number decides at run time which of both counts.
"""
import dataclasses
import re

from clang import cindex
from clang.cindex import CursorKind as Kind, TypeKind

INTEGERS = {TypeKind.UCHAR, TypeKind.USHORT, TypeKind.UINT, TypeKind.ULONG, TypeKind.ULONGLONG, TypeKind.CHAR_S,
            TypeKind.SCHAR, TypeKind.CHAR_U, TypeKind.SHORT, TypeKind.INT, TypeKind.LONG, TypeKind.LONGLONG}
REFERENCES = {TypeKind.LVALUEREFERENCE, TypeKind.RVALUEREFERENCE}

# What an operator becomes. The first of each pair's names is what the summary counts.
BOUNDARIES = {"<": "<=", "<=": "<", ">": ">=", ">=": ">"}
SWAPS = {
    "==": ("equality", "!="), "!=": ("equality", "=="),
    "+": ("arithmetic", "-"), "-": ("arithmetic", "+"), "*": ("arithmetic", "/"), "/": ("arithmetic", "*"),
    "%": ("arithmetic", "*"), "&": ("bits", "|"), "|": ("bits", "&"), "^": ("bits", "|"),
    "<<": ("bits", ">>"), ">>": ("bits", "<<"), "&&": ("logic", "||"), "||": ("logic", "&&"),
}
ASSIGNMENT_SWAPS = {"+=": "-=", "-=": "+=", "*=": "/=", "/=": "*=", "|=": "&=", "&=": "|=", "^=": "|=",
                    "<<=": ">>=", ">>=": "<<=", "%=": "*="}
STEPS = {"++": "--", "--": "++"}
# Overloaded operators that mean what the built-in ones mean; a stream's << does not.
OVERLOADED_SWAPS = {"==", "!=", "+", "-", "*", "/", "%", "&", "|"}

FUNCTIONS = {Kind.FUNCTION_DECL, Kind.CXX_METHOD, Kind.CONSTRUCTOR, Kind.DESTRUCTOR, Kind.CONVERSION_FUNCTION,
             Kind.FUNCTION_TEMPLATE}
ROOMS = {Kind.NAMESPACE, Kind.CLASS_DECL, Kind.STRUCT_DECL, Kind.CLASS_TEMPLATE, Kind.LINKAGE_SPEC,
         Kind.UNEXPOSED_DECL, Kind.CLASS_TEMPLATE_PARTIAL_SPECIALIZATION}
LOOPS = {Kind.WHILE_STMT, Kind.FOR_STMT, Kind.CXX_FOR_RANGE_STMT}
UNEVALUATED = {Kind.CXX_UNARY_EXPR, Kind.CXX_TYPEID_EXPR, Kind.SIZE_OF_PACK_EXPR, Kind.STRING_LITERAL}
LOG_LINE = re.compile(r"[\w.>-]*\bGetLog\(")
EMPTY_VALUE = re.compile(r"nullptr|NULL|std::nullopt|boost::none|\{\s*\}|[\w:<>\s]+(\(\s*\)|\{\s*\})")


@dataclasses.dataclass
class Edit:
    """`parts` make the new text: a text as it is, ("was", start, end) the file's own text, ("now", start, end) the
    same with the edits inside it, and ("switch",) the question whether this edit counts."""
    start: int
    end: int
    operator: str
    what: str
    parts: list
    function: str = ""
    line: int = 0
    column: int = 0
    number: int = 0


def either(start, end, changed):
    """An expression: `changed` when this edit counts, and otherwise what stands there."""
    return ["(", ("switch",), " ? (", *changed, ") : (", ("now", start, end), "))"]


class Places:
    """The edits of one parsed file."""

    def __init__(self, unit, path, text):
        self.path, self.text = path, text
        self.edits = {}
        self.functions = []  # of the functions around: (cursor, the statements of its body)
        root = unit.cursor
        extent = unit.get_extent(path, (0, len(text)))
        self.tokens = [(token.extent.start.offset, token.extent.end.offset, token.spelling)
                       for token in unit.get_tokens(extent=extent) if token.kind != cindex.TokenKind.COMMENT]
        self.at = {start: index for index, (start, _, _) in enumerate(self.tokens)}
        self.ends = {end: index for index, (_, end, _) in enumerate(self.tokens)}
        self.lines = [0] + [match.end() for match in re.finditer("\n", text)]
        self.room(root)

    # Where things are.

    def is_here(self, cursor):
        file = cursor.location.file
        return file is not None and file.name == self.path

    @staticmethod
    def span(cursor):
        return cursor.extent.start.offset, cursor.extent.end.offset

    def is_ours(self, start, end):
        """Whether the range begins and ends with a token of this file. What a macro stands for does so too, with the
        macro's name: the text decides for each edit whether it fits there."""
        return start < end and start in self.at and end in self.ends

    def token_after(self, offset):
        """The index of the first token that begins at the offset or behind it."""
        low, high = 0, len(self.tokens)
        while low < high:
            middle = (low + high) // 2
            if self.tokens[middle][0] < offset:
                low = middle + 1
            else:
                high = middle
        return low

    def spelled(self, start, end):
        first = self.token_after(start)
        while first < len(self.tokens) and self.tokens[first][0] < end:
            yield self.tokens[first]
            first += 1

    def closing(self, index):
        """The index of the token that closes the bracket at `index`."""
        depth = 0
        for at in range(index, len(self.tokens)):
            if self.tokens[at][2] in "([{":
                depth += 1
            elif self.tokens[at][2] in ")]}":
                depth -= 1
                if depth == 0:
                    return at
        raise ValueError("a bracket that nobody closes")

    def operator_between(self, left, right):
        """The only token between two operands, brackets of theirs put aside."""
        found = [token for token in self.spelled(left, right) if token[2] not in ("(", ")")]
        return found[0] if len(found) == 1 else None

    # What is noted.

    def note(self, start, end, operator, what, parts):
        if not self.is_ours(start, end):
            return
        line = max(index for index, offset in enumerate(self.lines) if offset <= start)
        edit = Edit(start, end, operator, what, parts, self.function_name(), line + 1, start - self.lines[line] + 1)
        self.edits.setdefault((start, end, operator, what), edit)

    def function_name(self):
        if not self.functions:
            return ""
        cursor, names = self.functions[0][0], []
        while cursor is not None and cursor.kind not in (Kind.TRANSLATION_UNIT, Kind.NAMESPACE):
            names.insert(0, re.sub(r"<.*", "", cursor.spelling) if "operator" not in cursor.spelling
                         else cursor.spelling)
            cursor = cursor.semantic_parent
        return "::".join(filter(None, names))

    def quote(self, start, end):
        text = " ".join(self.text[start:end].split())
        return text if len(text) <= 60 else text[:57] + "..."

    # Declarations.

    def room(self, cursor):
        for child in cursor.get_children():
            if not self.is_here(child):
                continue
            if child.kind in FUNCTIONS:
                self.function(child)
            elif child.kind in ROOMS:
                self.room(child)
            elif child.kind in (Kind.VAR_DECL, Kind.FIELD_DECL):
                self.variable(child)

    def is_constant(self, cursor):
        start, end = self.span(cursor)
        for _, _, spelling in self.spelled(start, end):
            if spelling in ("{", "="):
                return False
            if spelling in ("constexpr", "consteval"):
                return True
        return False

    def function(self, cursor):
        if not cursor.is_definition() or self.is_constant(cursor):
            return
        body = [child for child in cursor.get_children()
                if child.kind in (Kind.COMPOUND_STMT, Kind.CXX_TRY_STMT)]
        if not body:
            return
        self.functions.append((cursor, list(body[0].get_children())))
        name = cursor.location.offset
        for child in cursor.get_children():
            if child.kind.is_expression() and self.span(child)[0] > name:
                self.expression(child)  # what a constructor gives its members
        self.statement(body[0])
        self.functions.pop()

    def variable(self, cursor):
        if self.is_constant(cursor):
            return
        name = cursor.location.offset
        for child in cursor.get_children():
            start, _ = self.span(child)
            before = self.tokens[self.at[start] - 1][2] if self.at.get(start) else ""
            if child.kind.is_expression() and start >= name and before != "[":
                self.expression(child)

    # Statements.

    def statement(self, cursor):
        kind = cursor.kind
        children = list(cursor.get_children())
        if kind == Kind.COMPOUND_STMT:
            for child in children:
                self.statement(child)
        elif kind == Kind.IF_STMT or kind in LOOPS or kind == Kind.SWITCH_STMT:
            self.controlled(cursor, children)
        elif kind == Kind.DO_STMT:
            self.statement(children[0])
            self.condition(children[1], "condition negated", loop=True)
        elif kind in (Kind.CASE_STMT, Kind.DEFAULT_STMT):
            self.statement(children[-1])
        elif kind == Kind.RETURN_STMT:
            self.returned(cursor, children)
        elif kind in (Kind.BREAK_STMT, Kind.CONTINUE_STMT):
            self.jump(cursor)
        elif kind == Kind.CXX_TRY_STMT:
            for child in children:
                self.statement(child)
        elif kind == Kind.CXX_CATCH_STMT:
            body = children[-1]
            start, end = self.span(body)
            self.note(start, end, "catch", "handler passes the exception on",
                      ["{ if (", ("switch",), ") { throw; } ", ("now", start, end), " }"])
            self.statement(body)
        elif kind == Kind.DECL_STMT:
            for child in children:
                if child.kind == Kind.VAR_DECL:
                    self.variable(child)
        elif kind.is_expression():
            self.expression_statement(cursor)
        else:
            for child in children:
                if child.kind.is_statement():
                    self.statement(child)

    def controlled(self, cursor, children):
        start, end = self.span(cursor)
        first = self.token_after(start)
        bracket = next(index for index in range(first, len(self.tokens)) if self.tokens[index][2] == "(")
        close = self.tokens[self.closing(bracket)][0]
        inside = [child for child in children if self.span(child)[0] < close]
        branches = [child for child in children if self.span(child)[0] > close]
        if cursor.kind in LOOPS:
            last = self.tokens[self.ends[end]] if end in self.ends else None
            stop = end if last and last[2] == "}" else self.after_semicolon(end)
            if stop:
                self.note(start, stop, "loop", "loop never entered",
                          ["{ if (!", ("switch",), ") { ", ("now", start, stop), " } }"])
        declared = [child for child in inside if child.kind == Kind.VAR_DECL]
        plain = [child for child in inside if child.kind.is_expression()
                 and not any(self.span(one)[0] <= self.span(child)[0] < self.span(one)[1] for one in declared)]
        for child in inside:
            if child.kind == Kind.DECL_STMT:
                self.statement(child)
        for child in declared:
            if cursor.kind == Kind.IF_STMT:
                self.declared_condition(child)
            self.variable(child)
        if cursor.kind == Kind.IF_STMT and plain:
            self.condition(plain[-1], "condition negated")
        else:
            for child in plain:
                self.expression(child, negated=cursor.kind in LOOPS)
        for child in branches:
            self.statement(child)

    def declared_condition(self, variable):
        start, end = self.span(variable)
        self.note(start, end, "condition", f"branch never taken: {self.quote(start, end)}",
                  [("now", start, end), f"; static_cast<bool>({variable.spelling}) && !", ("switch",)])

    def condition(self, cursor, what, loop=False):
        start, end = self.span(cursor)
        if loop:
            self.note(start, end, "condition", "loop ends after one turn",
                      ["(!", ("switch",), " && (", ("now", start, end), "))"])
        else:
            self.note(start, end, "condition", f"{what}: {self.quote(start, end)}",
                      ["(", ("switch",), " ? !(", ("was", start, end), ") : static_cast<bool>(",
                       ("now", start, end), "))"])
        self.expression(cursor, negated=not loop)

    def after_semicolon(self, end):
        index = self.token_after(end)
        return self.tokens[index][1] if index < len(self.tokens) and self.tokens[index][2] == ";" else None

    def is_last(self, cursor):
        """Whether the function, which has a result, ends with the statement around the cursor."""
        function, body = self.functions[-1]
        if function.kind != Kind.LAMBDA_EXPR and function.result_type.kind == TypeKind.VOID:
            return False
        if function.kind in (Kind.CONSTRUCTOR, Kind.DESTRUCTOR):
            return False
        return not body or self.span(body[-1])[0] <= self.span(cursor)[0]

    def removal(self, cursor, operator, what):
        start, end = self.span(cursor)
        stop = self.after_semicolon(end)
        if stop:
            self.note(start, stop, operator, f"{what}: {self.quote(start, end)}",
                      ["{ if (!", ("switch",), ") { ", ("now", start, stop), " } }"])

    def jump(self, cursor):
        stop = self.after_semicolon(self.span(cursor)[1])
        if stop and self.tokens[self.token_after(stop)][2] != "}":
            self.removal(cursor, "jump", "removed")

    def returned(self, cursor, children):
        start, end = self.span(cursor)
        last_statement = self.functions[-1][1][-1:]
        ends_void = last_statement and self.span(last_statement[0])[0] == start
        if not self.is_last(cursor) and not ends_void:
            self.removal(cursor, "jump", "removed")
        if not children:
            return
        value = children[0]
        first, last = self.span(value)
        kind = value.type.get_canonical().kind
        literal = self.bare(value).kind in (Kind.INTEGER_LITERAL, Kind.CXX_BOOL_LITERAL_EXPR)
        if kind == TypeKind.BOOL and not literal:
            self.note(first, last, "return", f"result inverted: {self.quote(first, last)}",
                      either(first, last, ["!(", ("was", first, last), ")"]))
            self.expression(value, negated=True)
            return
        if kind in INTEGERS and not literal and self.bare(value).kind != Kind.DECL_REF_EXPR:
            self.note(first, last, "return", f"result + 1: {self.quote(first, last)}",
                      either(first, last, ["(", ("was", first, last), ") + 1"]))
        elif not self.is_reference() and not EMPTY_VALUE.fullmatch(self.text[first:last]) and kind not in INTEGERS:
            stop = self.after_semicolon(end)
            if stop and kind != TypeKind.BOOL:
                self.note(start, stop, "return", f"an empty value instead of: {self.quote(first, last)}",
                          ["{ if (", ("switch",), ") { return {}; } ", ("now", start, stop), " }"])
        self.expression(value)

    def is_reference(self):
        function = self.functions[-1][0]
        return function.kind != Kind.LAMBDA_EXPR and function.result_type.kind in REFERENCES

    def expression_statement(self, cursor):
        bare = self.bare(cursor)
        if bare.kind == Kind.CXX_THROW_EXPR:
            if not self.is_last(cursor):
                self.removal(cursor, "throw", "removed")
        elif bare.kind == Kind.BINARY_OPERATOR:
            self.removal(cursor, self.kind_of_statement(cursor, "assignment"), "removed")
        elif bare.kind in (Kind.COMPOUND_ASSIGNMENT_OPERATOR, Kind.UNARY_OPERATOR):
            self.removal(cursor, "assignment", "removed")
        elif bare.kind in (Kind.CALL_EXPR, Kind.CXX_DELETE_EXPR):
            operator = "assignment" if bare.spelling == "operator=" else "call"
            self.removal(cursor, self.kind_of_statement(cursor, operator), "removed")
        self.expression(cursor)

    def kind_of_statement(self, cursor, operator):
        return "log line" if LOG_LINE.match(self.text, *self.span(cursor)) else operator

    # Expressions.

    @staticmethod
    def bare(cursor):
        """The expression without what the compiler puts around it."""
        while cursor.kind in (Kind.UNEXPOSED_EXPR, Kind.PAREN_EXPR):
            children = list(cursor.get_children())
            if len(children) != 1:
                break
            cursor = children[0]
        return cursor

    def expression(self, cursor, negated=False):
        """`negated`: the whole is tried the other way round already."""
        kind = cursor.kind
        if kind in UNEVALUATED:
            return
        start, end = self.span(cursor)
        children = list(cursor.get_children())
        if kind in (Kind.UNEXPOSED_EXPR, Kind.PAREN_EXPR):
            for child in children:
                if child.kind.is_expression():
                    self.expression(child, negated)
            return
        if kind == Kind.INTEGER_LITERAL:
            self.integer(start, end)
        elif kind == Kind.CHARACTER_LITERAL:
            self.character(start, end)
        elif kind == Kind.CXX_BOOL_LITERAL_EXPR:
            self.note(start, end, "constant", f"{self.text[start:end]} inverted",
                      either(start, end, ["!", ("was", start, end)]))
        elif kind == Kind.DECL_REF_EXPR:
            self.named_constant(cursor, start, end)
            return
        elif kind == Kind.LAMBDA_EXPR:
            self.lambda_expression(cursor, children)
            return
        elif kind in (Kind.BINARY_OPERATOR, Kind.COMPOUND_ASSIGNMENT_OPERATOR) and len(children) == 2:
            self.infix(start, end, *children, negated, SWAPS.keys())
        elif kind == Kind.UNARY_OPERATOR:
            self.unary(start, end, children, negated)
        elif kind == Kind.CONDITIONAL_OPERATOR:
            self.condition(children[0], "condition negated")
            children = children[1:]
        elif kind == Kind.CALL_EXPR and cursor.spelling.startswith("operator"):
            self.overloaded(start, end, children, negated)
        elif kind == Kind.MEMBER_REF_EXPR:
            name = cursor.location.offset
            children = [child for child in children if self.span(child)[0] < name]
        for child in children:
            if child.kind.is_expression():
                self.expression(child)
            elif child.kind in (Kind.COMPOUND_STMT,):
                self.statement(child)

    def lambda_expression(self, cursor, children):
        body = [child for child in children if child.kind == Kind.COMPOUND_STMT]
        for child in children:
            if child.kind.is_expression():
                self.expression(child)  # captures with a value
        if body:
            self.functions.append((cursor, list(body[0].get_children())))
            self.statement(body[0])
            self.functions.pop()

    def integer(self, start, end):
        if self.text[:start].endswith("GetLog("):  # a level above the highest is the highest
            self.note(start, end, "constant", f"{self.text[start:end]} - 1",
                      either(start, end, [("was", start, end), " - 1"]))
        elif re.fullmatch(r"[0-9a-fA-FxXuUlL']+", self.text[start:end]):
            self.note(start, end, "constant", f"{self.text[start:end]} + 1",
                      either(start, end, [("was", start, end), " + 1"]))

    def character(self, start, end):
        self.note(start, end, "constant", f"{self.text[start:end]} + 1",
                  either(start, end, ["static_cast<decltype(", ("was", start, end), ")>(", ("was", start, end),
                                      " + 1)"]))

    def named_constant(self, cursor, start, end):
        target = cursor.referenced
        if target is None or target.kind != Kind.VAR_DECL:
            return
        if target.type.get_canonical().kind not in INTEGERS or not target.type.is_const_qualified():
            return
        file = target.location.file
        if file is None or not re.fullmatch(r"k[A-Z]\w*", target.spelling):
            return
        self.note(start, end, "constant", f"{self.text[start:end]} + 1",
                  either(start, end, ["static_cast<kyr_mutants::Plain<decltype(", ("was", start, end), ")>>(",
                                      ("was", start, end), " + 1)"]))

    def infix(self, start, end, left, right, negated, swappable):
        token = self.operator_between(self.span(left)[1], self.span(right)[0])
        if token is None:
            return
        first, last, spelling = token

        def other(text):
            return either(start, end, [("was", start, first), text, ("was", last, end)])

        if spelling in BOUNDARIES:
            self.note(start, end, "boundary", f"{spelling} to {BOUNDARIES[spelling]}: {self.quote(start, end)}",
                      other(BOUNDARIES[spelling]))
            if not negated:
                self.note(start, end, "condition", f"negated: {self.quote(start, end)}",
                          either(start, end, ["!(", ("was", start, end), ")"]))
        elif spelling in ("<<", ">>") and left.type.get_canonical().kind not in INTEGERS | {TypeKind.ENUM}:
            pass  # a stream, or nobody knows
        elif spelling in swappable and not (negated and spelling in ("==", "!=")):
            operator, text = SWAPS[spelling]
            self.note(start, end, operator, f"{spelling} to {text}: {self.quote(start, end)}", other(text))
        elif spelling in ASSIGNMENT_SWAPS:
            text = ASSIGNMENT_SWAPS[spelling]
            self.note(start, end, "arithmetic", f"{spelling} to {text}: {self.quote(start, end)}", other(text))

    def unary(self, start, end, children, negated):
        if len(children) != 1:
            return
        first, last = self.span(children[0])
        before, after = self.text[start:first].strip(), self.text[last:end].strip()
        if before == "!" and not negated:
            self.note(start, end, "condition", f"! removed: {self.quote(start, end)}",
                      either(start, end, ["static_cast<bool>(", ("was", first, last), ")"]))
        elif before == "-":
            self.note(start, end, "arithmetic", f"sign removed: {self.quote(start, end)}",
                      either(start, end, [("was", first, last)]))
        elif before == "~":
            self.note(start, end, "bits", f"~ removed: {self.quote(start, end)}",
                      either(start, end, [("was", first, last)]))
        elif before in STEPS:
            self.note(start, end, "arithmetic", f"{before} to {STEPS[before]}: {self.quote(start, end)}",
                      either(start, end, [STEPS[before], ("was", first, last)]))
        elif after in STEPS:
            self.note(start, end, "arithmetic", f"{after} to {STEPS[after]}: {self.quote(start, end)}",
                      either(start, end, [("was", first, last), STEPS[after]]))

    def overloaded(self, start, end, children, negated):
        operands = [child for child in children if not self.is_operator_name(child)]
        if len(operands) == 2:
            self.infix(start, end, operands[0], operands[1], negated, OVERLOADED_SWAPS)
        elif len(operands) == 1:
            self.unary(start, end, operands, negated)

    def is_operator_name(self, cursor):
        bare = self.bare(cursor)
        return bare.kind == Kind.DECL_REF_EXPR and bare.spelling.startswith("operator")


def find(unit, path, text):
    """The edits of the file `path`, whose text is `text`, outermost and first first."""
    return sorted(Places(unit, path, text).edits.values(), key=lambda edit: (edit.start, -edit.end))

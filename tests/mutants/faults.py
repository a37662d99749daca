# SPDX-License-Identifier: MIT
"""Finds the places of a C++ source where a fault can be planted.

The compiler's own reading of the source says what each token is, so that a "<"
of a template is no comparison and a "*" of a pointer is no product.
"""
from __future__ import annotations

import bisect
import re
from dataclasses import dataclass
from typing import Iterator

from clang.cindex import Cursor, CursorKind, Index, TokenKind, TranslationUnit, TypeKind

RELATIONAL = {
    "<": ("<=", ">="),
    "<=": ("<", ">"),
    ">": (">=", "<="),
    ">=": (">", "<"),
    "==": ("!=",),
    "!=": ("==",),
}
ARITHMETIC = {
    "+": ("-",), "-": ("+",), "*": ("/",), "/": ("*",), "%": ("*",),
    "<<": (">>",), ">>": ("<<",), "&": ("|",), "|": ("&",), "^": ("&",),
    "+=": ("-=",), "-=": ("+=",), "*=": ("/=",), "/=": ("*=",), "%=": ("*=",),
    "<<=": (">>=",), ">>=": ("<<=",), "&=": ("|=",), "|=": ("&=",), "^=": ("&=",),
}  # fmt: skip
LOGICAL = {"&&": "||", "||": "&&"}
STEPS = {"++": "--", "--": "++"}
OPERATORS = {**RELATIONAL, **ARITHMETIC}

NOTHING = "static_cast<void>(0)"

BINARY = {CursorKind.BINARY_OPERATOR, CursorKind.COMPOUND_ASSIGNMENT_OPERATOR}
FUNCTIONS = {
    CursorKind.FUNCTION_DECL,
    CursorKind.FUNCTION_TEMPLATE,
    CursorKind.CXX_METHOD,
    CursorKind.CONSTRUCTOR,
    CursorKind.DESTRUCTOR,
    CursorKind.CONVERSION_FUNCTION,
}
# What a statement may be that is taken away: a call or a change, and no declaration.
REMOVABLE = BINARY | {
    CursorKind.CALL_EXPR,
    CursorKind.UNARY_OPERATOR,
    CursorKind.UNEXPOSED_EXPR,
    CursorKind.CXX_STATIC_CAST_EXPR,
    CursorKind.BREAK_STMT,
    CursorKind.CONTINUE_STMT,
}
CONDITIONS = {CursorKind.IF_STMT: ("true", "false"), CursorKind.WHILE_STMT: ("false",)}
POINTERS = {TypeKind.POINTER, TypeKind.NULLPTR}


@dataclass(frozen=True)
class Fault:
    """One change of a source: the bytes from `begin` to `end` become `text`."""

    file: str
    begin: int
    end: int
    text: str
    kind: str
    function: str = ""

    def plant(self, source: bytes) -> bytes:
        return source[: self.begin] + self.text.encode() + source[self.end :]

    def lines(self, source: bytes) -> tuple[int, tuple[str, ...], tuple[str, ...]]:
        """The number of the first line that changes, and those lines before and after."""
        first = source.rfind(b"\n", 0, self.begin) + 1
        last = source.find(b"\n", self.end)
        last = len(source) if last < 0 else last
        before = source[first:last]
        after = source[first : self.begin] + self.text.encode() + source[self.end : last]
        number = source.count(b"\n", 0, first) + 1
        return number, stripped(before), stripped(after)


def stripped(text: bytes) -> tuple[str, ...]:
    return tuple(line.strip() for line in text.decode().split("\n"))


def next_letter(letter: str) -> str:
    """Another character that needs no escape in a literal."""
    following = chr(ord(letter) + 1)
    return following if following.isalnum() else "Z" if letter != "Z" else "Y"


def other_numbers(literal: str) -> list[str]:
    """Integers and fractions beside the one of a literal, written as it is."""
    number = re.fullmatch(r"(0[xX][0-9a-fA-F']+|[0-9']+)([uUlLzZ]*)", literal)
    if number is None:
        fraction = re.fullmatch(r"([0-9]+\.[0-9]*)([fFlL]?)", literal)
        return [f"{float(fraction[1]) + 1}{fraction[2]}"] if fraction else []
    digits, suffix = number[1].replace("'", ""), number[2]
    if digits.lower().startswith("0x"):
        value, shown = int(digits, 16), "0x{:X}"
    else:
        value, shown = int(digits, 10), "{}"
    others = [value + 1] + ([value - 1] if value > 0 else [])
    return [shown.format(other) + suffix for other in others]


def other_strings(literal: str) -> list[str]:
    """A string without its text, and one whose first character is another."""
    if len(literal) < 2 or literal[0] != '"':
        return []
    text = literal[1:-1]
    if not text:
        return ['"Z"']
    changed = [] if text[0] in '\\%"' else [f'"{next_letter(text[0])}{text[1:]}"']
    return ['""'] + changed


def other_characters(literal: str) -> list[str]:
    if not literal.startswith("'"):
        return []
    if literal == r"'\0'":
        return [r"'\1'"]
    return ["'Z'"] if literal[1] == "\\" else [f"'{next_letter(literal[1])}'"]


class Reading:
    """What the compiler sees in the sources of one program part."""

    def __init__(self, path: str, arguments: list[str], text: str | None = None):
        unsaved = None if text is None else [(path, text)]
        self.unit = Index.create().parse(path, arguments, unsaved)
        errors = [str(said) for said in self.unit.diagnostics if said.severity >= 3]
        if errors:
            raise ValueError(f"{path} does not compile here: {errors[0]}")

    def faults(self, file: str, shown: str, source: bytes) -> list[Fault]:
        """The faults of `file`, in the order of their places, named `shown`."""
        finder = FileFaults(self.unit, file, shown, source)
        for cursor in self.unit.cursor.get_children():
            if cursor.location.file is not None and cursor.location.file.name == file:
                finder.visit(cursor, "")
        return finder.sorted()


class FileFaults:
    def __init__(self, unit: TranslationUnit, file: str, shown: str, source: bytes):
        self.shown, self.source = shown, source
        whole = unit.get_extent(file, (0, len(source)))
        self.tokens = [
            (token.extent.start.offset, token.extent.end.offset, token.spelling)
            for token in unit.get_tokens(extent=whole)
            if token.kind != TokenKind.COMMENT
        ]
        self.begins = [begin for begin, _, _ in self.tokens]
        self.found: dict[tuple[int, int, str], Fault] = {}

    def sorted(self) -> list[Fault]:
        return sorted(self.found.values(), key=lambda f: (f.begin, f.end, f.text))

    # --- noting what was found ----------------------------------------------

    def add(self, kind: str, begin: int, end: int, text: str, function: str) -> None:
        self.found.setdefault(
            (begin, end, text), Fault(self.shown, begin, end, text, kind, function)
        )

    def token_at(self, offset: int) -> tuple[int, int, str]:
        """The first token that begins at the offset or behind it."""
        place = bisect.bisect_left(self.begins, offset)
        return self.tokens[place] if place < len(self.tokens) else (offset, offset, "")

    def text_of(self, cursor: Cursor) -> str:
        return self.source[cursor.extent.start.offset : cursor.extent.end.offset].decode()

    def is_whole(self, cursor: Cursor) -> bool:
        """Whether the cursor's place is what it says, and not the name of a macro alone."""
        text = self.text_of(cursor)
        return bool(text) and all(text.count(a) == text.count(b) for a, b in ("()", "[]", "{}"))

    # --- walking --------------------------------------------------------------

    def visit(self, cursor: Cursor, function: str) -> None:
        kind = cursor.kind
        if kind == CursorKind.STATIC_ASSERT:
            return
        if kind in FUNCTIONS:
            function = cursor.spelling
        self.look_at(cursor, kind, function)
        for child in cursor.get_children():
            self.visit(child, function)

    def look_at(self, cursor: Cursor, kind: CursorKind, function: str) -> None:
        if kind in BINARY or (kind == CursorKind.CALL_EXPR and is_operator(cursor)):
            self.look_at_operator(cursor, function)
        elif kind == CursorKind.UNARY_OPERATOR:
            self.look_at_unary(cursor, function)
        elif kind in LITERALS:
            self.look_at_literal(cursor, LITERALS[kind], function)
        elif kind == CursorKind.RETURN_STMT:
            self.look_at_return(cursor, function)
        elif kind in CONDITIONS:
            self.look_at_condition(cursor, function)
        elif kind == CursorKind.CONDITIONAL_OPERATOR:
            self.replace_condition(next(cursor.get_children()), ("true", "false"), function)
        if kind in STATEMENTS:
            for statement in statements_in(cursor):
                self.look_at_statement(statement, function)

    def look_at_operator(self, cursor: Cursor, function: str) -> None:
        left, right = operands(cursor)
        begin, end, operator = self.token_at(left.extent.end.offset)
        if begin >= right.extent.start.offset:
            return
        for other in RELATIONAL.get(operator, ()):
            self.add("relational", begin, end, other, function)
        for other in ARITHMETIC.get(operator, ()):
            self.add("arithmetic", begin, end, other, function)
        if operator in LOGICAL:
            self.add("logical", begin, end, LOGICAL[operator], function)
            self.leave_out_operands(left, right, function)

    # Without one of its operands, the operator says what the other does.
    def leave_out_operands(self, left: Cursor, right: Cursor, function: str) -> None:
        if self.is_whole(left) and self.is_whole(right):
            self.add("logical", left.extent.start.offset, right.extent.start.offset, "", function)
            self.add("logical", left.extent.end.offset, right.extent.end.offset, "", function)

    def look_at_unary(self, cursor: Cursor, function: str) -> None:
        operand = next(cursor.get_children())
        begin, end, operator = self.token_at(cursor.extent.start.offset)
        if operator in ("!", "-", "~") and end <= operand.extent.start.offset:
            self.add("logical" if operator == "!" else "arithmetic", begin, end, "", function)
            return
        if operator not in STEPS:
            begin, end, operator = self.token_at(operand.extent.end.offset)
        if operator in STEPS:
            self.add("arithmetic", begin, end, STEPS[operator], function)

    def look_at_literal(self, cursor: Cursor, kind: str, function: str) -> None:
        begin, end, literal = self.token_at(cursor.extent.start.offset)
        if literal in ("true", "false"):
            others = ["false" if literal == "true" else "true"]
        elif kind == "string":
            others = other_strings(literal)
        else:
            others = other_characters(literal) or other_numbers(literal)
        for other in others:
            self.add(kind, begin, end, other, function)

    def look_at_return(self, cursor: Cursor, function: str) -> None:
        value = next(cursor.get_children(), None)
        if value is None or not self.is_whole(value):
            return
        other = self.other_value(value)
        if other is not None and other != self.text_of(value):
            begin, end = value.extent.start.offset, value.extent.end.offset
            self.add("return", begin, end, other, function)

    def other_value(self, value: Cursor) -> str | None:
        """Another value to return; None where another kind of fault gives it."""
        text, kind = self.text_of(value), value.type.get_canonical().kind
        if kind == TypeKind.BOOL:
            told = text in ("true", "false") or text.startswith("!") or self.compares(value)
            return None if told else f"!({text})"
        if kind in POINTERS:
            return "nullptr"
        is_number = TypeKind.CHAR_U.value <= kind.value <= TypeKind.INT128.value
        return "0" if is_number and not other_numbers(text.lstrip("-")) else None

    def compares(self, value: Cursor) -> bool:
        while value.kind in (CursorKind.UNEXPOSED_EXPR, CursorKind.PAREN_EXPR):
            value = next(value.get_children(), value.translation_unit.cursor)
        if value.kind != CursorKind.BINARY_OPERATOR:
            return False
        left, _ = operands(value)
        return self.token_at(left.extent.end.offset)[2] in RELATIONAL

    def look_at_condition(self, cursor: Cursor, function: str) -> None:
        condition = next((c for c in cursor.get_children() if c.kind.is_expression()), None)
        first = next(cursor.get_children(), None)
        keyword_end = self.token_at(cursor.extent.start.offset)[1]
        if condition == first and self.token_at(keyword_end)[2] == "(":
            self.replace_condition(condition, CONDITIONS[cursor.kind], function)

    def replace_condition(self, condition: Cursor, others: tuple[str, ...], function: str) -> None:
        if self.is_whole(condition) and self.text_of(condition) not in ("true", "false"):
            begin, end = condition.extent.start.offset, condition.extent.end.offset
            for other in others:
                self.add("logical", begin, end, other, function)

    def look_at_statement(self, cursor: Cursor, function: str) -> None:
        begin, end = cursor.extent.start.offset, cursor.extent.end.offset
        if cursor.kind in REMOVABLE and self.is_whole(cursor) and self.token_at(end)[2] == ";":
            self.add("statement", begin, end, NOTHING, function)


LITERALS = {
    CursorKind.INTEGER_LITERAL: "constant",
    CursorKind.FLOATING_LITERAL: "constant",
    CursorKind.CHARACTER_LITERAL: "constant",
    CursorKind.CXX_BOOL_LITERAL_EXPR: "constant",
    CursorKind.STRING_LITERAL: "string",
}

# What has statements below it that can go, besides conditions and declarations.
STATEMENTS = {
    CursorKind.COMPOUND_STMT,
    CursorKind.IF_STMT,
    CursorKind.FOR_STMT,
    CursorKind.CXX_FOR_RANGE_STMT,
    CursorKind.WHILE_STMT,
    CursorKind.DO_STMT,
    CursorKind.CASE_STMT,
    CursorKind.DEFAULT_STMT,
}


def is_operator(cursor: Cursor) -> bool:
    return cursor.spelling.startswith("operator") and len(list(cursor.get_children())) == 3


def operands(cursor: Cursor) -> tuple[Cursor, Cursor]:
    children = list(cursor.get_children())
    return children[0], children[-1]


def statements_in(cursor: Cursor) -> Iterator[Cursor]:
    """The statements below one; those of a branch or a loop stand behind its head."""
    children = list(cursor.get_children())
    if cursor.kind == CursorKind.COMPOUND_STMT:
        yield from children
    else:
        yield from children[1:] if cursor.kind == CursorKind.IF_STMT else children[-1:]

"""Finds the places of a C++ source that can be mutated, by its syntax tree, and what each would become.

Left out is what only the compiler evaluates, for no switch can stand there: constants, tables, sizes, labels of cases.
What may be evaluated by the compiler and at run time gets a switch that is off for the compiler.
"""

import bisect
import dataclasses
import json
import pathlib
import re
import shlex

from clang.cindex import Cursor, CursorKind, Index, TokenKind, TranslationUnit, TypeKind

from effects import is_quiet, kind_of

INTEGERS = {
    TypeKind.CHAR_U, TypeKind.UCHAR, TypeKind.CHAR_S, TypeKind.SCHAR, TypeKind.WCHAR, TypeKind.CHAR16, TypeKind.CHAR32,
    TypeKind.USHORT, TypeKind.UINT, TypeKind.ULONG, TypeKind.ULONGLONG, TypeKind.SHORT, TypeKind.INT, TypeKind.LONG,
    TypeKind.LONGLONG,
}
FLOATS = {TypeKind.FLOAT, TypeKind.DOUBLE, TypeKind.LONGDOUBLE}
NUMBERS = INTEGERS | FLOATS

BOUNDARIES = {"<": "<=", "<=": "<", ">": ">=", ">=": ">"}
OPPOSITES = {"==": "!=", "!=": "=="}
ARITHMETIC = {"+": "-", "-": "+", "*": "/", "/": "*", "%": "*", "<<": ">>", ">>": "<<", "&": "|", "|": "&", "^": "&"}
FUNCTIONS = {"min": "max", "max": "min", "floor": "ceil", "ceil": "floor"}

FUNCTION_KINDS = {
    CursorKind.FUNCTION_DECL, CursorKind.CXX_METHOD, CursorKind.CONSTRUCTOR, CursorKind.DESTRUCTOR,
    CursorKind.CONVERSION_FUNCTION, CursorKind.FUNCTION_TEMPLATE,
}
SCOPE_KINDS = {
    CursorKind.NAMESPACE, CursorKind.CLASS_DECL, CursorKind.STRUCT_DECL, CursorKind.CLASS_TEMPLATE,
    CursorKind.CLASS_TEMPLATE_PARTIAL_SPECIALIZATION, CursorKind.LINKAGE_SPEC, CursorKind.UNEXPOSED_DECL,
}
# What is evaluated when it is compiled, or is no code.
SKIPPED_KINDS = {
    CursorKind.ENUM_DECL, CursorKind.STATIC_ASSERT, CursorKind.TYPE_ALIAS_DECL, CursorKind.TYPEDEF_DECL,
    CursorKind.TEMPLATE_NON_TYPE_PARAMETER, CursorKind.TEMPLATE_TYPE_PARAMETER, CursorKind.TEMPLATE_TEMPLATE_PARAMETER,
    CursorKind.CXX_UNARY_EXPR, CursorKind.SIZE_OF_PACK_EXPR, CursorKind.TYPE_REF, CursorKind.NAMESPACE_REF,
    CursorKind.TEMPLATE_REF, CursorKind.TYPE_ALIAS_TEMPLATE_DECL, CursorKind.CXX_TYPEID_EXPR,
}

NUMBER_TEXT = re.compile(r"(0[xX][0-9a-fA-F']+|[0-9][0-9'.]*(?:[eE][+-]?[0-9]+)?)([uUlLfFzZ]*)$")
DURATION_TEXT = re.compile(r"[0-9][0-9'.]*(ns|us|ms|s|min|h)$")


@dataclasses.dataclass(frozen=True)
class Mutant:
    """One change of the source. `begin` and `end` are byte offsets of the text that it stands for."""

    file: str  # relative to the project
    line: int
    function: str
    line_text: str
    begin: int
    end: int
    how: str  # "replace", "true", "false" or "delete"
    original: str
    mutated: str
    compiled: bool  # may be evaluated by the compiler
    # The values that it makes differ, and nothing else: "value" of the text itself, "assigned" of what is assigned to.
    differs: str = ""

    def key(self) -> str:
        """What the mutant is called from one run to the next: its text, not its place."""
        return " | ".join((self.file, self.function, self.line_text, self.original, self.mutated))


def compile_arguments(entry: dict) -> list[str]:
    """The arguments of a row of compile_commands.json that matter for reading the source."""
    words = shlex.split(entry["command"])
    while not words[0].startswith("-"):
        words = words[1:]
    arguments, skip = [], False
    for word in words:
        if skip:
            skip = False
        elif word in ("-o", "-MF", "-MT", "-MQ"):
            skip = True
        elif word not in ("-c", "-MD", "-MMD", entry["file"]):
            arguments.append(word)
    return [*arguments, "-working-directory=" + entry["directory"], "-w"]


def read_database(build: pathlib.Path) -> dict[str, dict]:
    """The rows of compile_commands.json by their source; of sources that are compiled twice, the first."""
    rows: dict[str, dict] = {}
    for row in json.loads((build / "compile_commands.json").read_text()):
        rows.setdefault(row["file"], row)
    return rows


def find_mutants(entry: dict, originals: dict[str, bytes], root: str) -> list[Mutant]:
    """All mutants of a source and of the headers that it includes, as far as `originals` has them.

    `originals` tells the unmutated content of each file that may be mutated, by its path; `root` is cut off the paths.
    """
    texts = [(path, content.decode("utf-8")) for path, content in originals.items()]
    unit = Index.create().parse(entry["file"], compile_arguments(entry), texts,
                                TranslationUnit.PARSE_DETAILED_PROCESSING_RECORD)
    errors = [str(message) for message in unit.diagnostics if message.severity >= 3]
    if errors:
        raise SystemExit("\n".join([f"{entry['file']} cannot be read:", *errors]))
    finders: dict[str, Finder] = {}
    for cursor in unit.cursor.get_children():
        where = cursor.location.file
        if where is None or where.name not in originals:
            continue
        path = where.name
        if path not in finders:
            finders[path] = Finder(unit, path, originals[path], root)
        if cursor.kind == CursorKind.MACRO_INSTANTIATION:
            finders[path].add_macro(cursor)
        else:
            finders[path].declaration(cursor)
    return [mutant for finder in finders.values() for mutant in finder.mutants]


class Finder:
    """Walks the declarations of one file."""

    def __init__(self, unit: TranslationUnit, path: str, content: bytes, root: str):
        self.path = path
        self.relative = str(pathlib.Path(path).relative_to(root))
        self.content = content
        self.lines = content.decode("utf-8").split("\n")
        self.mutants: list[Mutant] = []
        self.macros: list[tuple[int, int]] = []
        extent = unit.get_extent(path, ((1, 1), (len(self.lines), len(self.lines[-1]) + 1)))
        tokens = [(token.extent.start.offset, token.extent.end.offset, token.spelling)
                  for token in unit.get_tokens(extent=extent) if token.kind != TokenKind.COMMENT]
        self.tokens = [token for token in tokens if token[1] <= len(content)]
        self.starts = [token[0] for token in self.tokens]
        self.function = ""
        self.compiled = False

    # Text

    def add_macro(self, cursor: Cursor) -> None:
        self.macros.append((cursor.extent.start.offset, cursor.extent.end.offset))

    def in_macro(self, begin: int) -> bool:
        return any(first <= begin < last for first, last in self.macros)

    def span(self, cursor: Cursor) -> tuple[int, int] | None:
        """The text of a node, or nothing when it has none of its own in this file."""
        start, end = cursor.extent.start, cursor.extent.end
        if start.file is None or end.file is None or start.file.name != self.path or end.file.name != self.path:
            return None
        if start.offset >= end.offset or self.in_macro(start.offset):
            return None
        return start.offset, end.offset

    def tokens_of(self, begin: int, end: int) -> list[tuple[int, int, str]]:
        first = bisect.bisect_left(self.starts, begin)
        last = bisect.bisect_left(self.starts, end)
        return self.tokens[first:last]

    def text(self, begin: int, end: int) -> str:
        """The source between two offsets on one line and without its comments."""
        parts, last = [], None
        for start, stop, spelling in self.tokens_of(begin, end):
            if last is not None and start > last:
                parts.append(" ")
            parts.append(spelling)
            last = stop
        return "".join(parts)

    def add(self, span: tuple[int, int], how: str, mutated: str, differs: str = "") -> None:
        begin, end = span
        original = self.text(begin, end)
        if original == mutated:
            return
        line = self.content.count(b"\n", 0, begin) + 1
        self.mutants.append(
            Mutant(self.relative, line, self.function, self.lines[line - 1].strip(), begin, end, how, original, mutated,
                   self.compiled, differs))

    # Declarations

    def declaration(self, cursor: Cursor) -> None:
        kind = kind_of(cursor)
        if kind in FUNCTION_KINDS:
            self.function_declaration(cursor)
        elif kind == CursorKind.VAR_DECL:
            self.variable(cursor)
        elif kind == CursorKind.FIELD_DECL:
            if not cursor.is_bitfield():
                outer = self.compiled, self.function
                self.compiled, self.function = True, cursor.semantic_parent.spelling
                self.variable(cursor)
                self.compiled, self.function = outer
        elif kind in SCOPE_KINDS:
            for child in cursor.get_children():
                self.declaration(child)

    def function_declaration(self, cursor: Cursor) -> None:
        if self.span(cursor) is None:
            return
        children = list(cursor.get_children())
        body = next((child for child in children if child.kind == CursorKind.COMPOUND_STMT), None)
        head_end = body.extent.start.offset if body is not None else cursor.extent.end.offset
        head = [spelling for _, _, spelling in self.tokens_of(cursor.extent.start.offset, head_end)]
        if "consteval" in head:
            return
        outer = self.compiled, self.function
        # A friend and a member of a template may be compiled, too: what is not told here is found by the compiler.
        self.compiled = "constexpr" in head
        parent = cursor.semantic_parent
        in_class = parent is not None and parent.kind not in (CursorKind.NAMESPACE, CursorKind.TRANSLATION_UNIT)
        self.function = f"{parent.spelling}::{cursor.spelling}" if in_class else cursor.spelling
        for child in children:
            if child.kind == CursorKind.PARM_DECL:
                self.variable(child)
            elif child.kind == CursorKind.COMPOUND_STMT:
                self.statement(child)
            elif child.kind.is_expression() and cursor.location.offset < child.extent.start.offset < head_end:
                # What a constructor gives its members; in front of the name stand types and their sizes.
                self.expression(child)
        self.compiled, self.function = outer

    def variable(self, cursor: Cursor) -> None:
        if self.span(cursor) is None:
            return
        head = [spelling for _, _, spelling in self.tokens_of(cursor.extent.start.offset, cursor.location.offset)]
        if "constexpr" in head or "constinit" in head:
            return
        for child in cursor.get_children():
            # In front of the name stand types and their sizes.
            if child.kind.is_expression() and child.extent.start.offset > cursor.location.offset:
                if cursor.type.kind == TypeKind.CONSTANTARRAY and child.kind == CursorKind.INTEGER_LITERAL:
                    continue
                self.expression(child)

    # Statements

    def statement(self, cursor: Cursor) -> None:
        kind = kind_of(cursor)
        children = list(cursor.get_children())
        if kind in (CursorKind.COMPOUND_STMT, CursorKind.DEFAULT_STMT):
            for child in children:
                self.statement(child)
        elif kind == CursorKind.CASE_STMT:
            self.statement(children[-1])
        elif kind == CursorKind.DECL_STMT:
            for child in children:
                self.declaration(child)
        elif kind == CursorKind.VAR_DECL:
            self.variable(cursor)
        elif kind == CursorKind.IF_STMT:
            self.if_statement(cursor, children)
        elif kind in (CursorKind.WHILE_STMT, CursorKind.SWITCH_STMT):
            self.loop_or_switch(cursor, children)
        elif kind == CursorKind.DO_STMT:
            self.statement(children[0])
            self.condition(children[1], {"false"})
        elif kind == CursorKind.FOR_STMT:
            self.for_statement(cursor, children)
        elif kind == CursorKind.CXX_FOR_RANGE_STMT:
            for child in children[:-1]:
                if child.kind.is_expression():
                    self.expression(child)
            self.statement(children[-1])
        elif kind == CursorKind.RETURN_STMT:
            for child in children:
                self.returned(child)
        elif kind is not None and kind.is_expression():
            self.expression_statement(cursor)
        elif kind not in SKIPPED_KINDS:
            for child in children:
                self.statement(child)

    def parentheses(self, cursor: Cursor) -> tuple[int, int]:
        """Where the parentheses behind the first word of a statement begin and end."""
        begin, depth = 0, 0
        for start, end, spelling in self.tokens_of(cursor.extent.start.offset, cursor.extent.end.offset):
            if spelling == "(":
                begin = begin if depth else start
                depth += 1
            elif spelling == ")":
                depth -= 1
                if depth == 0:
                    return begin, end
        raise ValueError(f"{self.path}:{cursor.location.line}: no parentheses")

    def if_statement(self, cursor: Cursor, children: list[Cursor]) -> None:
        if self.span(cursor) is None:
            return
        words = self.tokens_of(cursor.extent.start.offset, cursor.extent.end.offset)
        is_compiled = len(words) > 1 and words[1][2] in ("constexpr", "consteval")
        begin, end = self.parentheses(cursor)
        for child in children:
            if not begin <= child.extent.start.offset < end:
                self.statement(child)
            elif is_compiled:
                continue
            elif child.kind in (CursorKind.DECL_STMT, CursorKind.VAR_DECL):
                self.condition_variable(child, end)
            elif child.kind.is_expression() and not self.is_read_of_variable(child, children):
                self.condition(child, {"true", "false"})

    @staticmethod
    def is_read_of_variable(child: Cursor, siblings: list[Cursor]) -> bool:
        """Whether it is the condition's own variable that is asked, with no text beside its declaration."""
        return any(other.kind == CursorKind.VAR_DECL and other.extent.start.offset <= child.extent.start.offset <
                   other.extent.end.offset for other in siblings)

    def condition_variable(self, cursor: Cursor, end: int) -> None:
        variables = [cursor] if cursor.kind == CursorKind.VAR_DECL else list(cursor.get_children())
        for variable in variables:
            if variable.kind != CursorKind.VAR_DECL:
                continue
            self.variable(variable)
            is_asked = not any(spelling == ";" for _, _, spelling in self.tokens_of(variable.extent.end.offset, end))
            values = [child for child in variable.get_children() if child.kind.is_expression()]
            if is_asked and values and variable.type.get_canonical().kind == TypeKind.POINTER:
                span = self.span(values[-1])
                if span is not None:
                    self.add(span, "replace", "nullptr", by_value(values[-1]))

    def loop_or_switch(self, cursor: Cursor, children: list[Cursor]) -> None:
        for child in children[:-1]:
            if child.kind in (CursorKind.DECL_STMT, CursorKind.VAR_DECL):
                self.statement(child)
            elif child.kind.is_expression():
                if cursor.kind == CursorKind.WHILE_STMT:
                    self.condition(child, {"false"})
                else:
                    self.expression(child)
        self.statement(children[-1])

    def for_statement(self, cursor: Cursor, children: list[Cursor]) -> None:
        begin, end = self.parentheses(cursor)
        depth, semicolons = 0, []
        for start, _, spelling in self.tokens_of(begin, end):
            depth += (spelling in "({[") - (spelling in ")}]") if len(spelling) == 1 else 0
            if spelling == ";" and depth == 1:
                semicolons.append(start)
        for child in children:
            start = child.extent.start.offset
            if start >= end:
                self.statement(child)
            elif start < semicolons[0]:
                if child.kind == CursorKind.DECL_STMT:
                    self.statement(child)
                else:
                    self.expression(child)
            elif start < semicolons[1]:
                self.condition(child, {"false"})
            # The step of a loop is left alone: nearly all of its mutants loop for ever.

    def expression_statement(self, cursor: Cursor) -> None:
        span = self.span(cursor)
        bare = unwrap(cursor)
        if span is not None and bare.kind not in (CursorKind.CSTYLE_CAST_EXPR, CursorKind.CXX_STATIC_CAST_EXPR,
                                                  CursorKind.DECL_REF_EXPR, CursorKind.CXX_THROW_EXPR):
            self.add(span, "delete", "(deleted)", self.by_assignment(bare))
        if bare.kind == CursorKind.UNARY_OPERATOR:
            for child in bare.get_children():
                self.expression(child)
        else:
            self.expression(cursor)

    def by_assignment(self, cursor: Cursor) -> str:
        """A plain assignment that is left out differs where the old value is another one than the new."""
        if cursor.kind != CursorKind.BINARY_OPERATOR or self.operator_of(cursor) != "=":
            return ""
        return "assigned" if all(is_quiet(child) for child in cursor.get_children()) else ""

    def returned(self, cursor: Cursor) -> None:
        self.expression(cursor)
        span, bare = self.span(cursor), unwrap(cursor)
        if span is None or bare.kind in (CursorKind.INTEGER_LITERAL, CursorKind.FLOATING_LITERAL,
                                         CursorKind.CXX_BOOL_LITERAL_EXPR, CursorKind.CONDITIONAL_OPERATOR,
                                         CursorKind.CXX_NULL_PTR_LITERAL_EXPR, CursorKind.INIT_LIST_EXPR):
            return
        kind = bare.type.get_canonical().kind
        operator = self.operator_of(bare)
        if kind == TypeKind.BOOL:
            if operator not in ("&&", "||", "==", "!=", "!") and self.constant(bare) is None:
                self.add(span, "replace", f"!({self.text(*span)})")
        elif kind in NUMBERS and operator is None and self.constant(bare) is None:
            self.add(span, "replace", f"({self.text(*span)}) + 1")
        elif kind == TypeKind.POINTER:
            self.add(span, "replace", "nullptr", by_value(cursor))

    # Expressions

    def condition(self, cursor: Cursor, values: set[str]) -> None:
        """A truth value that decides about a way to go."""
        self.expression(cursor, decides=True)
        bare = unwrap(cursor)
        span = self.span(cursor)
        if span is None or bare.kind == CursorKind.CXX_BOOL_LITERAL_EXPR:
            return
        # What one operand alone forces is found at the operand.
        operator = self.operator_of(bare)
        if operator == "||":
            values = values - {"false"} if "true" in values else values
        if operator == "&&":
            values = values - {"true"}
        for value in sorted(values):
            self.add(span, value, value, by_value(cursor))

    def operator_of(self, cursor: Cursor) -> str | None:
        """The operator of an expression that has one, a class's own included."""
        if cursor.kind in (CursorKind.BINARY_OPERATOR, CursorKind.COMPOUND_ASSIGNMENT_OPERATOR):
            between = self.operator_token(cursor)
            return between[2] if between else None
        if cursor.kind == CursorKind.UNARY_OPERATOR:
            tokens = self.tokens_of(cursor.extent.start.offset, cursor.extent.end.offset)
            return tokens[0][2] if tokens else None
        if cursor.kind == CursorKind.CALL_EXPR and cursor.spelling.startswith("operator"):
            return cursor.spelling.removeprefix("operator")
        return None

    def operator_token(self, cursor: Cursor) -> tuple[int, int, str] | None:
        children = list(cursor.get_children())
        if len(children) < 2:
            return None
        left, right = children[0], children[-1]
        between = self.tokens_of(left.extent.end.offset, right.extent.start.offset)
        return between[0] if len(between) == 1 else None

    def expression(self, cursor: Cursor, decides: bool = False) -> None:
        """Mutants of an expression and of all in it. `decides`: its value is forced both ways by whoever asks it."""
        kind = kind_of(cursor)
        if kind is None or kind in SKIPPED_KINDS:
            return
        if kind == CursorKind.LAMBDA_EXPR:
            for child in cursor.get_children():
                if child.kind == CursorKind.PARM_DECL:
                    self.variable(child)
                elif child.kind == CursorKind.COMPOUND_STMT:
                    self.statement(child)
            return
        span = self.span(cursor)
        if span is None:
            return
        children = list(cursor.get_children())
        if kind in (CursorKind.UNEXPOSED_EXPR, CursorKind.PAREN_EXPR):
            for child in children:
                self.expression(child, decides)
        elif kind == CursorKind.BINARY_OPERATOR:
            self.binary(cursor, span, children, decides)
        elif kind == CursorKind.COMPOUND_ASSIGNMENT_OPERATOR:
            self.compound_assignment(cursor, span, children)
        elif kind == CursorKind.UNARY_OPERATOR:
            self.unary(cursor, span, children, decides)
        elif kind == CursorKind.CONDITIONAL_OPERATOR:
            self.condition(children[0], {"true", "false"})
            for child in children[1:]:
                self.expression(child)
        elif kind == CursorKind.CALL_EXPR:
            self.call(cursor, span, children, decides)
        elif kind in (CursorKind.INTEGER_LITERAL, CursorKind.FLOATING_LITERAL):
            self.number(span)
        elif kind == CursorKind.CXX_BOOL_LITERAL_EXPR:
            self.add(span, "replace", "false" if self.text(*span) == "true" else "true")
        elif kind == CursorKind.DECL_REF_EXPR:
            mutated = self.constant(cursor)
            if mutated is not None:
                self.add(span, "replace", mutated)
        elif kind == CursorKind.MEMBER_REF_EXPR:
            # Behind the object stand the template arguments of the member.
            for child in children[:1]:
                if child.kind.is_expression() and child.extent.start.offset == span[0]:
                    self.expression(child)
        else:
            for child in children:
                if child.kind.is_expression():
                    self.expression(child)
                elif child.kind.is_statement():
                    self.statement(child)

    def binary(self, cursor: Cursor, span: tuple[int, int], children: list[Cursor], decides: bool) -> None:
        token = self.operator_token(cursor)
        operator = token[2] if token else ""
        if operator in ("&&", "||"):
            for child in children:
                self.expression(child, decides=True)
                operand = self.span(child)
                # An operand that is a chain of the same operator forces what its own operands force.
                if operand is not None and self.operator_of(unwrap(child)) != operator:
                    neutral = "true" if operator == "&&" else "false"
                    self.add(operand, neutral, neutral, by_value(child))
            return
        for child in children:
            self.expression(child)
        if token is None:
            return
        swapped = BOUNDARIES.get(operator) or (None if decides else OPPOSITES.get(operator))
        if swapped is None and operator in ARITHMETIC and all(
                child.type.get_canonical().kind in NUMBERS for child in children):
            swapped = ARITHMETIC[operator]
            if operator == "%" or (operator in "&|^" and cursor.type.get_canonical().kind in FLOATS):
                swapped = "*" if operator == "%" else None
        if swapped is not None:
            # By zero, and with what the compiler refuses, nothing is computed beside what was written.
            is_safe = operator in BOUNDARIES or not self.compiled and (
                operator in "+-/" or cursor.type.get_canonical().kind in FLOATS)
            # The opposite always differs.
            differs = by_value(cursor) if is_safe and operator not in OPPOSITES else ""
            self.add(span, "replace",
                     f"{self.text(span[0], token[0])} {swapped} {self.text(token[1], span[1])}", differs)

    def compound_assignment(self, cursor: Cursor, span: tuple[int, int], children: list[Cursor]) -> None:
        token = self.operator_token(cursor)
        for child in children[1:]:
            self.expression(child)
        if token is not None and all(child.type.get_canonical().kind in NUMBERS for child in children):
            swapped = ARITHMETIC.get(token[2][:-1])
            if swapped is not None:
                self.add(span, "replace",
                         f"{self.text(span[0], token[0])} {swapped}= {self.text(token[1], span[1])}")

    def unary(self, cursor: Cursor, span: tuple[int, int], children: list[Cursor], decides: bool) -> None:
        operator = self.operator_of(cursor)
        if operator == "&":
            return
        for child in children:
            self.expression(child, decides=operator == "!")
        if operator == "!" and not decides:
            self.add(span, "replace", f"static_cast<bool>({self.text(span[0] + 1, span[1])})")
        if operator == "-" and children[0].type.get_canonical().kind in NUMBERS:
            self.add(span, "replace", self.text(span[0] + 1, span[1]))

    def call(self, cursor: Cursor, span: tuple[int, int], children: list[Cursor], decides: bool) -> None:
        for child in children:
            self.expression(child)
        operator = self.operator_of(cursor)
        token = None
        if operator in OPPOSITES and len(children) == 3:
            between = self.tokens_of(children[0].extent.end.offset, children[2].extent.start.offset)
            token = between[0] if len(between) == 1 else None
        if token is not None and not decides:
            self.add(span, "replace",
                     f"{self.text(span[0], token[0])} {OPPOSITES[token[2]]} {self.text(token[1], span[1])}")
        swapped = FUNCTIONS.get(cursor.spelling)
        text = self.text(*span)
        if swapped is not None and text.startswith("std::" + cursor.spelling):
            is_number = cursor.type.get_canonical().kind in NUMBERS
            self.add(span, "replace", "std::" + swapped + text.removeprefix("std::" + cursor.spelling),
                     by_value(cursor) if is_number else "")

    def number(self, span: tuple[int, int]) -> None:
        text = self.text(*span)
        if DURATION_TEXT.match(text):
            self.add(span, "replace", f"{text} * 2")
            return
        match = NUMBER_TEXT.match(text)
        if match is None:
            return
        digits, suffix = match.groups()
        if "." in digits or (not digits.lower().startswith("0x") and "e" in digits.lower()):
            value = float(digits.replace("'", ""))
            self.add(span, "replace", f"{'1.0' if value == 0.0 else repr(2 * value)}{suffix}")
        elif digits.replace("'", "").isdecimal() and (digits == "0" or digits[0] != "0"):
            self.add(span, "replace", f"{int(digits.replace(chr(39), '')) + 1}{suffix}")
        else:
            self.add(span, "replace", f"{text} + 1")

    def constant(self, cursor: Cursor) -> str | None:
        """What a named number, truth value or enumerator becomes."""
        if cursor.kind != CursorKind.DECL_REF_EXPR or cursor.referenced is None:
            return None
        span = self.span(cursor)
        referenced = cursor.referenced
        if span is None:
            return None
        text = self.text(*span)
        if referenced.kind == CursorKind.ENUM_CONSTANT_DECL:
            enumerators = [child.spelling for child in referenced.semantic_parent.get_children()
                           if child.kind == CursorKind.ENUM_CONSTANT_DECL]
            if len(enumerators) < 2 or not text.endswith(referenced.spelling):
                return None
            other = enumerators[(enumerators.index(referenced.spelling) + 1) % len(enumerators)]
            return text.removesuffix(referenced.spelling) + other
        if referenced.kind != CursorKind.VAR_DECL or not referenced.type.is_const_qualified():
            return None
        parent = referenced.semantic_parent
        if parent is None or parent.kind in FUNCTION_KINDS:
            return None
        kind = referenced.type.get_canonical().kind
        if kind == TypeKind.BOOL:
            return "!" + text
        if kind in INTEGERS:
            return text + " + 1"
        return text + " * 2" if kind in FLOATS else None


def by_value(cursor: Cursor) -> str:
    """Where nothing but its value can be noticed of an expression, a mutant of it differs by that alone."""
    return "value" if is_quiet(cursor) else ""


def unwrap(cursor: Cursor) -> Cursor:
    """The expression within conversions and parentheses that add nothing to it."""
    while kind_of(cursor) in (CursorKind.UNEXPOSED_EXPR, CursorKind.PAREN_EXPR):
        children = [child for child in cursor.get_children() if kind_of(child) is not None]
        if len(children) != 1:
            break
        cursor = children[0]
    return cursor

"""Tells of an expression whether it can be evaluated once more, or not at all, without anything else becoming different.

What is not known to be so is taken for not so. Calls are known by a look into the function's body, or by their names.
"""

from clang.cindex import Cursor, CursorKind

# Nodes that do nothing beside what their children do.
QUIET_KINDS = {
    CursorKind.UNEXPOSED_EXPR, CursorKind.PAREN_EXPR, CursorKind.DECL_REF_EXPR, CursorKind.MEMBER_REF_EXPR,
    CursorKind.INTEGER_LITERAL, CursorKind.FLOATING_LITERAL, CursorKind.STRING_LITERAL, CursorKind.CHARACTER_LITERAL,
    CursorKind.CXX_BOOL_LITERAL_EXPR, CursorKind.CXX_NULL_PTR_LITERAL_EXPR, CursorKind.CXX_THIS_EXPR,
    CursorKind.ARRAY_SUBSCRIPT_EXPR, CursorKind.CONDITIONAL_OPERATOR, CursorKind.CSTYLE_CAST_EXPR,
    CursorKind.CXX_STATIC_CAST_EXPR, CursorKind.CXX_DYNAMIC_CAST_EXPR, CursorKind.CXX_CONST_CAST_EXPR,
    CursorKind.CXX_FUNCTIONAL_CAST_EXPR, CursorKind.CXX_UNARY_EXPR, CursorKind.INIT_LIST_EXPR,
}
# Of a function's body, too.
QUIET_STATEMENTS = {CursorKind.COMPOUND_STMT, CursorKind.RETURN_STMT, CursorKind.IF_STMT}
NAMES = {
    CursorKind.TYPE_REF, CursorKind.NAMESPACE_REF, CursorKind.TEMPLATE_REF, CursorKind.OVERLOADED_DECL_REF,
    CursorKind.MEMBER_REF,
}

# Of the standard library and of Qt. Members that are const are quiet there, but for what calls what they are given.
LOUD_MEMBERS = {"operator()", "lock", "try_lock", "wait", "wait_for", "wait_until"}
QUIET_MEMBERS = {
    "begin", "end", "find", "front", "back", "data", "at", "operator*", "operator->", "value", "get", "operator bool",
}
INDEXED = {"vector", "array", "span", "basic_string", "basic_string_view", "deque", "QByteArray", "QString", "QList"}
QUIET_FUNCTIONS = {
    "operator==", "operator!=", "operator<", "operator<=", "operator>", "operator>=", "operator<=>", "operator+",
    "operator-", "operator*", "operator/", "operator%", "operator&", "operator|", "min", "max", "clamp", "abs", "fabs",
    "floor", "ceil", "round", "lround", "llround", "trunc", "isfinite", "isnan", "isinf", "signbit", "size", "ssize",
    "empty", "begin", "end", "get", "get_if", "holds_alternative", "qobject_cast", "qBound", "qMin", "qMax",
}
QUIET_CLASSES = {
    "basic_string", "basic_string_view", "optional", "span", "array", "pair", "tuple", "vector", "QString",
    "QStringView", "QLatin1String", "duration", "time_point", "__normal_iterator", "reverse_iterator", "byte",
}

# Of the host's tree: what is const and not seen in its header.
QUIET_READS = {("CAttributeMap", name) for name in ("Has", "Find", "FindValue", "Count", "GetChild", "GetAttrMap")}
QUIET_KEYS = {"AttributeKey"}

# Deeper calls are taken for loud.
MOST_CALLS = 6


def is_quiet(cursor: Cursor, depth: int = 0) -> bool:
    """Whether an expression only reads, in whatever it calls as well."""
    kind = kind_of(cursor)
    if kind is None:
        return False
    if kind in NAMES:
        return True
    children = list(cursor.get_children())
    if kind == CursorKind.CALL_EXPR:
        return is_quiet_call(cursor, depth) and all(is_quiet(child, depth) for child in children)
    if kind == CursorKind.UNARY_OPERATOR:
        if any(token.spelling in ("++", "--", "co_await") for token in own_tokens(cursor, children)):
            return False
    elif kind == CursorKind.BINARY_OPERATOR:
        if any(token.spelling == "=" for token in own_tokens(cursor, children)):
            return False
    elif kind not in QUIET_KINDS:
        return False
    return all(is_quiet(child, depth) for child in children)


def own_tokens(cursor: Cursor, children: list[Cursor]) -> list:
    """The tokens of an operator that stand in none of its operands."""
    covered = [(child.extent.start.offset, child.extent.end.offset) for child in children]
    return [token for token in cursor.get_tokens()
            if not any(begin <= token.extent.start.offset < end for begin, end in covered)]


def is_quiet_call(cursor: Cursor, depth: int) -> bool:
    called = cursor.referenced
    if called is None or kind_of(called) is None:
        return False
    name = called.spelling
    parent = called.semantic_parent.spelling if called.semantic_parent is not None else ""
    if called.kind == CursorKind.CONSTRUCTOR and parent in QUIET_KEYS:
        return True
    if (parent, name) in QUIET_READS and called.is_const_method():
        return True
    if is_foreign(called):
        if called.kind == CursorKind.CONSTRUCTOR:
            return parent in QUIET_CLASSES
        if called.kind == CursorKind.CONVERSION_FUNCTION:
            return called.is_const_method()
        if called.kind == CursorKind.CXX_METHOD:
            if name in LOUD_MEMBERS:
                return False
            if name == "operator[]":
                return parent in INDEXED
            return called.is_const_method() or called.is_static_method() and name in QUIET_FUNCTIONS or \
                name in QUIET_MEMBERS
        return name in QUIET_FUNCTIONS
    return depth < MOST_CALLS and has_quiet_body(called, depth + 1)


def is_foreign(cursor: Cursor) -> bool:
    file = cursor.location.file
    return file is None or file.name.startswith("/usr/")


def has_quiet_body(function: Cursor, depth: int) -> bool:
    definition = function.get_definition()
    if definition is None or definition.is_virtual_method():
        return False
    if definition.kind == CursorKind.CONSTRUCTOR:
        return False
    bodies = [child for child in definition.get_children() if kind_of(child) == CursorKind.COMPOUND_STMT]
    return len(bodies) == 1 and is_quiet_statement(bodies[0], depth)


def is_quiet_statement(cursor: Cursor, depth: int) -> bool:
    kind = kind_of(cursor)
    if kind in QUIET_STATEMENTS:
        return all(is_quiet_statement(child, depth) for child in cursor.get_children())
    return kind is not None and kind.is_expression() and is_quiet(cursor, depth)


def kind_of(cursor: Cursor) -> CursorKind | None:
    """The kind of a node, or nothing for one that this version of the library has no name for."""
    try:
        return cursor.kind
    except ValueError:
        return None

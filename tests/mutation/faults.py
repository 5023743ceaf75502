"""The faults that can be planted in a C++ source file: where, and what stands there then.

Works on the text alone, which a source laid out by clang-format makes easy: operators have blanks around them, where the
brackets of templates and the signs of references and pointers have none. A fault that does not compile costs some time
and is not counted.
"""
import dataclasses
import re

KINDS = ("condition", "constant", "statement", "swap", "operator")


@dataclasses.dataclass(frozen=True)
class Fault:
    path: str
    kind: str
    start: int
    end: int
    text: str  # in place of what stands from start to end

    def apply(self, source):
        return source[: self.start] + self.text + source[self.end :]

    def line(self, source):
        return source.count("\n", 0, self.start) + 1

    def lines(self, source):
        """The lines it touches, before and after, each with its blanks made one."""
        first = source.rfind("\n", 0, self.start) + 1
        last = source.find("\n", self.end)
        last = len(source) if last < 0 else last
        before = source[first:last]
        after = source[first : self.start] + self.text + source[self.end : last]
        return " ".join(before.split()), " ".join(after.split())


_SKIPPED = re.compile(
    r"//[^\n]*"
    r"|/\*.*?\*/"
    r'|R"(?P<mark>[^(\s]*)\(.*?\)(?P=mark)"'
    r'|"(?:\\.|[^"\\\n])*"'
    r"|(?<![0-9A-Fa-f])'(?:\\.|[^'\\\n])+'"
    r"|^[ \t]*#(?:\\\n|[^\n])*"
    r"|\bstatic_assert\b[^;]*;"
    r"|^template <[^\n]*>$",
    re.DOTALL | re.MULTILINE,
)


def code_of(source):
    """The source with blanks in place of comments, texts and preprocessor lines: every other character where it was."""
    return _SKIPPED.sub(lambda found: re.sub(r"[^\n]", " ", found[0]), source)


def faults_of(path, source):
    """All of them, in the order of their places."""
    code = code_of(source)
    found = []

    def add(kind, start, end, text):
        if source[start:end] != text:
            found.append(Fault(path, kind, start, end, text))

    _conditions(code, source, add)
    _constants(code, add)
    _operators(code, add)
    _statements(code, source, add)
    return sorted(set(found), key=lambda fault: (fault.start, fault.end, fault.kind, fault.text))


_PAIRS = {"(": ")", "{": "}", "[": "]"}


def _closing(code, opening):
    """Where the bracket that opens there is closed."""
    depth = 0
    for at in range(opening, len(code)):
        if code[at] in "([{":
            depth += 1
        elif code[at] in ")]}":
            depth -= 1
            if depth == 0:
                return at
    return -1


def _end_of(code, start, stops):
    """The first of the characters from there on that stands in no bracket opened since, or closes one opened before."""
    at = start
    while at < len(code):
        if code[at] in "([{":
            at = _closing(code, at)
            if at < 0:
                return -1
        elif code[at] in stops or code[at] in ")]}":
            return at
        at += 1
    return -1


def _conditions(code, source, add):
    for found in re.finditer(r"\b(?:if|while) \(", code):
        opening = found.end() - 1
        closing = _closing(code, opening)
        start = opening + 1
        # A condition may follow a statement of its own; one that declares a name cannot be turned.
        semicolon = _end_of(code, start, ";")
        if semicolon < closing:
            start = semicolon + 1
        condition = source[start:closing]
        if not re.search(r"[^=!<>]=[^=]", code[start:closing].split("[&")[0]):
            add("condition", start, closing, f"!({condition.strip()})")
    for found in re.finditer(r"\bfor \(", code):
        first = _end_of(code, found.end(), ";")
        if first < 0 or code[first] != ";":
            continue
        second = _end_of(code, first + 1, ";")
        if source[first + 1 : second].strip():
            add("condition", first + 1, second, f" !({source[first + 1:second].strip()})")
    for found in re.finditer(r"(?<=[^\w]) \? | \? ", code):
        colon = _end_of(code, found.end(), ":")
        while 0 <= colon and code[colon : colon + 2] == "::":
            colon = _end_of(code, colon + 2, ":")
        end = _end_of(code, colon + 1, ";,")
        if colon < 0 or end < 0 or code[colon] != ":":
            continue
        if_true, if_false = source[found.end() : colon].strip(), source[colon + 1 : end].strip()
        add("condition", found.end(), end, f"{if_false} : {if_true}")
    for found in re.finditer(r"(?<![\w!])!(?=[\w(:*])", code):
        add("condition", found.start(), found.end(), "")


def _constants(code, add):
    for found in re.finditer(r"(?<![\w.'])(0[xX][0-9A-Fa-f']+|[0-9][0-9']*)([uUlL]*)(?![\w.'])", code):
        digits = found[1].replace("'", "")
        base = 16 if digits[:2] in ("0x", "0X") else 8 if digits[0] == "0" and len(digits) > 1 else 10
        value = int(digits, base)
        for shifted in (value + 1, value - 1):
            if shifted >= 0:
                number = f"0x{shifted:X}" if base == 16 else f"{shifted:#o}".replace("o", "") if base == 8 else str(shifted)
                add("constant", found.start(), found.end(), number + found[2])
    for found in re.finditer(r"\b(true|false)\b", code):
        add("constant", found.start(), found.end(), "false" if found[0] == "true" else "true")


_OPERATORS = {
    "==": ("!=",),
    "!=": ("==",),
    "<": ("<=", ">"),
    "<=": ("<",),
    ">": (">=", "<"),
    ">=": (">",),
    "&&": ("||",),
    "||": ("&&",),
    "+": ("-",),
    "-": ("+",),
    "*": ("+",),
    "/": ("*",),
    "%": ("/",),
    "&": ("|",),
    "|": ("&",),
    "^": ("|",),
    "<<": (">>",),
    ">>": ("<<",),
    "+=": ("-=",),
    "-=": ("+=",),
    "|=": ("&=",),
    "&=": ("|=",),
}


def _operators(code, add):
    for found in re.finditer(r"(?<=[\w)\]}]) ([-=!<>&|+*/%^]{1,2})[ \n]", code):
        for other in _OPERATORS.get(found[1], ()):
            add("operator", found.start(1), found.end(1), other)
    for found in re.finditer(r"\+\+|--", code):
        add("operator", found.start(), found.end(), "--" if found[0] == "++" else "++")
    for found in re.finditer(r"(?<=[=(,&|?] )~(?=\w)", code):
        add("operator", found.start(), found.end(), "")


_BODY = re.compile(r"(?:\)|\b(?:else|do|try|const|noexcept|override|final|mutable)|->\s*[\w:<>*& ]+)\s*$")
_HOLDS = r"(?:const )?(?:std::)?(?:\w*Lock|\w*Scope|lock_guard|unique_lock)\b[^;=]*"
_NOT_AN_EXPRESSION = re.compile(
    r"(?:if|for|while|switch|do|else|case|default|return|goto|using|typedef|typename|template|public|private|protected|"
    r"static|constexpr|friend|struct|class|enum|union|const|auto|namespace|extern|volatile|inline|explicit|virtual)\b"
)
# A call, an assignment or a step: something that begins with a name and is no declaration.
_EXPRESSION = re.compile(r"(?:\+\+|--)[\w.]+(?:->\w+)*$|(?:\+\+|--|\*|\(|::)*[A-Za-z_][\w:]*(?:\s*(?:<[^;()]*>)?\s*[\(\[.]|\s*->|\+\+|--| [-+|&*/]?= )")
_LONE_WORD = re.compile(r"(?:break|continue|throw\b[^;]*|delete\b[^;]*)$")


def _statements(code, source, add):
    simple = []  # start, end, whether another one may stand in its place
    bodies = [False]
    start = 0
    at = 0
    while at < len(code):
        character = code[at]
        if character == "{":
            opens_body = bool(_BODY.search(code[start:at])) or (bodies[-1] and not code[start:at].strip())
            if not opens_body and bodies[-1]:
                at = _closing(code, at) + 1  # the braces of an expression
                continue
            bodies.append(opens_body)
            start = at + 1
        elif character == "}":
            if len(bodies) > 1:
                bodies.pop()
            start = at + 1
        elif character in "([":
            closing = _closing(code, at)
            head = re.search(r"\b(if|for|while|switch)\s*$|\bif constexpr\s*$", code[start:at])
            # What stands in brackets may hold a function of its own, whose statements count as well.
            brace = code.find("{", at, closing)
            if head is None and 0 <= brace and _BODY.search(code[at:brace]) and bodies[-1]:
                _add_whole(code, source, start, simple, add)
                bodies.append(True)
                start = at = brace + 1
                continue
            at = closing + 1
            if head is not None:
                start = at
            continue
        elif character == ";":
            if bodies[-1]:
                first = start + len(code[start:at]) - len(code[start:at].lstrip())
                _add_statement(code, source, first, at + 1, simple, add)
            start = at + 1
        elif code.startswith("else", at) and re.match(r"else\b", code[at:]) and not code[start:at].strip():
            at += 4
            start = at
            continue
        elif character == ":" and re.search(r"(?:\bcase [\w:]+|\bdefault)$", code[start:at]) and code[at + 1] != ":":
            if code[at - 1] != ":":
                start = at + 1
        at += 1
    for (start, end), (next_start, next_end) in zip(simple, simple[1:]):
        between = code[end:next_start]
        if not between.strip() and "\n" in between and not _independent(code[start:end], code[next_start:next_end]):
            text = source[next_start:next_end] + source[end:next_start] + source[start:end]
            add("swap", start, next_end, text)


_CAST = re.compile(r"\w+_cast<[^()]*>\(|(?<=\w)\)")
_ASSIGNMENT = re.compile(r"([\w.]+(?:->\w+)*) = ([^()=]*);$")


def _independent(first, second):
    """Whether these are plain assignments that have nothing to do with each other: their order changes nothing."""
    one, other = (_ASSIGNMENT.match(_CAST.sub("", statement)) for statement in (first, second))
    if not one or not other:
        return False
    return one[1] != other[1] and one[1] not in other[2] and other[1] not in one[2]


def _add_whole(code, source, start, simple, add):
    """A statement with a function in its brackets can be taken out as a whole."""
    first = start + len(code[start:]) - len(code[start:].lstrip())
    end = _end_of(code, first, ";")
    if end >= 0 and code[end] == ";" and _EXPRESSION.match(code, first) and not _NOT_AN_EXPRESSION.match(code, first):
        add("statement", first, end + 1, ";")


def _add_statement(code, source, start, end, simple, add):
    text = code[start : end - 1].strip()
    if not text:
        return
    if re.match(_HOLDS + r"[({]", text):
        add("statement", start, end, ";")
    elif _LONE_WORD.match(text):
        add("statement", start, end, ";")
    elif _EXPRESSION.match(text) and not _NOT_AN_EXPRESSION.match(text):
        add("statement", start, end, ";")
        simple.append((start, end))

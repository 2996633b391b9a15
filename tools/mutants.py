"""What tools/mutate changes: all mutants of a source, each of a kind that says what becomes of the code.

A text is read without a parser: by its brackets, by the way in which .clang-format lays it out, and by the names in it. So
a mutant need not compile; those that do not are left out when they are tried.
"""

import re
from typing import NamedTuple


class Mutant(NamedTuple):
    """`length` characters at `position` of the file `path` become `replacement`."""

    path: str
    position: int
    length: int
    replacement: str
    kind: str


KINDS = {
    "operator": "another operator",
    "number": "a number is one more",
    "boolean": "true for false, or false for true",
    "condition": "the opposite of a condition",
    "statement": "a statement is left out",
    "telling": "a call that tells somebody something is left out: a trace, a callback, a diagnostic, an output",
    "swap": "two neighbouring calls change places",
    "argument": "another argument of the call, or another name of its type, takes the place of an argument",
    "block": "what a branch or a loop does is left out",
    "text": "another text",
    "row": "a row of a table is left out, or changes places with the next",
    "case": "a case of a switch is left out",
    "return": "an early return is left out",
    "else": "the other branch is always taken",
    "member": "a member keeps its default, or gets none of what it is given",
}

# Binary operators stand between blanks, unlike the brackets of templates and references.
OPERATORS = [(" == ", " != "), (" != ", " == "), (" < ", " <= "), (" > ", " >= "), (" <= ", " < "), (" >= ", " > "),
             (" && ", " || "), (" || ", " && "), (" + ", " - "), (" - ", " + "), (" << ", " >> "), (" >> ", " << "),
             (" & ", " | "), (" | ", " & "), (" |= ", " = "), (" += ", " = "), ("++", "--")]
SKIPPED = re.compile(r"^\s*(#|using |namespace |template |friend |static_assert|concept |requires |KESTRIX_DEFINE|\[\[|extern )")
NUMBER = re.compile(r"(?<![\w.])(0[xX][0-9a-fA-F']+|\d[\d']*)([uUlL]*)(?![\w.])")
NEGATION = re.compile(r"(?<=[ (])[!~](?=[\w({])")
BOOLEAN = re.compile(r"\b(true|false)\b")
# A line that is a call or an assignment; declarations have two names in a row.
STATEMENT = re.compile(r"^\s*(?!(?:return|using|throw|break|continue|case|default|public|private|delete|else|do|if|for|while|switch)\b"
                       r"|KESTRIX_)[\w*(+-][^{};]*(?:\{[^{};]*\}[^{};]*)*;\s*$")
DECLARATION = re.compile(r"^\s*(const |constexpr |static |inline |explicit |virtual |mutable )*[\w:<>,\s]+?[\w>&*]\s+[&*]?\w+\s*"
                         r"(=|;|\(|\{|\[)")
CALL = re.compile(r"^\s*[\w:.>()*-]+\(")
# Of a class: their order is no call's.
OF_CLASS = re.compile(r".*= (?:default|delete);|decltype\(")
RANGE = re.compile(r"\{[\s\da-fA-FxX',]+\}")  # Of a set: their order is none.
TRIVIAL = {"{}", "false", "0", "nullptr", '""'}  # What a member that is given nothing is, too.
# Sets one member of a value: two of them come to the same in either order.
SETTER = re.compile(r"\w+(?:\.|->)\w+Is\(")
# What is called, by its name, where it tells somebody something.
TELLING = re.compile(r"\b(trace\w*|level\d|\w*[cC]allback\w*|notify\w*|note\w*|report\w*|warn\w*|add|print\w*|write\w*|begin|"
                     r"failure|consistencyFailure)$")
PARAMETER = re.compile(r"const |[\w:<>, ]+[&*]* \w+( = .*)?$")
CONTROL = {"if", "for", "while", "switch", "return", "sizeof", "decltype", "static_assert", "catch", "alignas", "defined",
           "noexcept", "static_cast", "requires"}
COMMENTS_AND_TEXTS = re.compile(r'//[^\n]*|/\*(?:.|\n)*?\*/|R"\((?:.|\n)*?\)"|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])\'')
PAIRS = {"(": ")", "[": "]", "{": "}"}


def code_only(text):
    """The text with comments and literals blanked out, position by position."""
    return COMMENTS_AND_TEXTS.sub(lambda found: re.sub(r"[^\n]", "\x01", found.group()), text)


def closing(code, opening):
    """Where the bracket at `opening` is closed, or -1."""
    depth = 0
    for position in range(opening, len(code)):
        depth += (code[position] in PAIRS) - (code[position] in PAIRS.values())
        if depth == 0:
            return position
    return -1


def parts(code, opening, end):
    """The (start, end) of what commas part between two brackets, without the blanks and comments around."""
    found, start, depth = [], opening + 1, 0
    for position in range(opening + 1, end + 1):
        depth += (code[position] in "([{") - (code[position] in ")]}" and position != end)
        if position == end or (code[position] == "," and depth == 0):
            found.append((start, position))
            start = position + 1
    return [trimmed(code, *each) for each in found if code[each[0]:each[1]].strip()]


def trimmed(code, start, end):
    part = code[start:end]
    return start + len(part) - len(part.lstrip()), end - (len(part) - len(part.rstrip()))


class Source:
    """A file, and what its mutants are worked out from."""

    def __init__(self, path, text):
        self.path, self.text, self.code = path, text, code_only(text)
        self.lines, start = [], 0  # (start, line)
        for line in self.code.splitlines(keepends=True):
            self.lines.append((start, line))
            start += len(line)
        self.skipped = [(start, max(start + len(line), self.end_of_statement(start) if "static_assert" in line else 0))
                        for start, line in self.lines if SKIPPED.match(line)]

    def mutant(self, kind, start, end, replacement):
        return Mutant(self.path, start, end - start, replacement, kind)

    def is_skipped(self, position):
        return any(start <= position < end for start, end in self.skipped)

    def mutants(self):
        """All of them, in the order of the kinds."""
        ways = (self.symbols, self.conditions, self.statements, self.arguments, self.blocks, self.texts, self.rows, self.cases,
                self.returns, self.branches, self.members)
        # A text can be the same change by two kinds.
        return list({each[:4]: each for way in ways for each in way()
                     if not self.is_skipped(each.position) and self.text[each.position:each.position + each.length] !=
                     each.replacement}.values())

    def symbols(self):
        for start, line in self.lines:
            for old, new in OPERATORS:
                for found in re.finditer(re.escape(old), line):
                    yield self.mutant("operator", start + found.start(), start + found.end(), new)
            for found in NUMBER.finditer(line):
                value = int(found.group(1).replace("'", ""), 16 if found.group(1)[:2].lower() == "0x" else 10)
                yield self.mutant("number", start + found.start(1), start + found.end(1), str(value + 1))
            for found in BOOLEAN.finditer(line):
                other = "false" if found.group() == "true" else "true"
                yield self.mutant("boolean", start + found.start(), start + found.end(), other)
            for found in NEGATION.finditer(line):
                yield self.mutant("condition", start + found.start(), start + found.end(), "")

    def controls(self, words):
        """(where the word is, the brackets of its condition, where what it controls starts and ends)"""
        for found in re.finditer(rf"\b({words}) \((?!constexpr)", self.code):
            opening = found.end() - 1
            end = closing(self.code, opening)
            body = re.compile(r"[\s\x01]*").match(self.code, end + 1).end()
            if end < 0 or body >= len(self.code):
                continue
            after = closing(self.code, body) + 1 if self.code[body] == "{" else self.end_of_statement(body)
            if after > 0:
                yield found.start(), opening, end + 1, body, after

    def end_of_statement(self, start):
        depth = 0
        for position in range(start, len(self.code)):
            depth += (self.code[position] in "([{") - (self.code[position] in ")]}")
            if depth < 0:
                return 0
            if depth == 0 and self.code[position] == ";":
                return position + 1
        return 0

    def conditions(self):
        for _, opening, end, *_ in self.controls("if|while"):
            condition = self.text[opening:end]
            if ";" not in condition and " = " not in condition:
                yield self.mutant("condition", opening, end, f"(!{condition})")

    def calls_and_assignments(self):
        """The (start, end) of each statement that declares nothing, of one line or of several."""
        previous = ";"
        for start, line in self.lines:
            if line.strip("\x01 \n"):
                begin = start + len(line) - len(line.lstrip(" \x01"))
                end = self.end_of_statement(begin) if previous in ";{}:" else 0
                whole = self.code[begin:end]
                if end and STATEMENT.match(whole.replace("\n", " ")) and not DECLARATION.match(line) and not OF_CLASS.match(whole):
                    yield begin, end
                previous = line.rstrip("\x01 \n")[-1]

    def statements(self):
        statements = list(self.calls_and_assignments())
        for start, end in statements:
            telling = CALL.match(self.code[start:end]) and TELLING.search(self.code[start:self.code.index("(", start)])
            yield self.mutant("telling" if telling else "statement", start, end, ";")
        for (start, end), (next_start, next_end) in zip(statements, statements[1:]):
            both = (self.code[start:end], self.code[next_start:next_end])
            if any(re.search(r"(?<![=!<>+|&-]) = (?!.*\[)", each.partition("{")[0]) for each in both):
                continue  # Two values are set.
            if self.code[end:next_start].strip("\x01 \n") or not all(map(CALL.match, both)) or all(map(SETTER.match, both)):
                continue
            swapped = self.text[next_start:next_end] + self.text[end:next_start] + self.text[start:end]
            yield self.mutant("swap", start, next_end, swapped)

    def arguments(self):
        for found in re.finditer(r"(?<=[\w>])[({]", self.code):
            name = re.search(r"(\w+)(?:<[^<>()]*>)?$", self.code[max(0, found.start() - 80):found.start()])
            if not name or name.group(1) in CONTROL or self.declares(found.start()):
                continue
            end = closing(self.code, found.start())
            arguments = parts(self.code, found.start(), end) if end > 0 else []
            for start, stop in arguments:
                old = self.text[start:stop]
                if PARAMETER.match(old):
                    break
                others = {self.text[a:b] for a, b in arguments} | set(self.names_like(old, start))
                for other in sorted(others - {old}):
                    # A text does not take the place of anything else, and no lambda or named member that of another one.
                    alike = other.startswith('"') == old.startswith('"') and "\n" not in other
                    if alike and not old.startswith(("[", ".")) and not other.startswith(("[", ".")):
                        yield self.mutant("argument", start, stop, other)

    def declares(self, opening):
        """Whether the bracket is that of a function's parameters: a type stands before the name, or a body comes after."""
        head = self.code[self.code.rfind("\n", 0, opening) + 1:opening]
        return bool(re.match(r"\s*(?:[\w:<>,&*]+ )+[&*]?[\w:~]+$", head)) and not re.match(r"\s*(return|else|throw|co_\w+)\b", head)

    def names_like(self, name, position):
        """The names that the function has declared before with the type that it has declared this one with."""
        if not re.fullmatch(r"\w+", name):
            return []
        begin = max(self.code.rfind("\n}", 0, position), self.code.rfind("\n\n", 0, self.function_start(position)), 0)
        types = dict((each, kind) for kind, each in
                     re.findall(r"([\w:<>]+(?: ?[&*])?) ?\b(\w+)\s*(?=[=,;(){])", self.code[begin:position])
                     if kind not in ("return", "else", "case", "auto", "auto&"))
        return [each for each, kind in types.items() if kind == types.get(name) and each != name]

    def function_start(self, position):
        """The start of the last line before that stands at the margin, and is no brace."""
        while position > 0:
            position = self.code.rfind("\n", 0, position)
            if re.match(r"\n[\w]", self.code[position:position + 2]):
                return position
        return 0

    def blocks(self):
        for start, opening, _, body, after in self.controls("if|for|while"):
            if self.code[body] == "{":
                yield self.mutant("block", body, after, "{}")
            elif self.code[start:start + 2] != "if" or not self.code.startswith("return", body):
                yield self.mutant("block", body, after, ";")
        for found in re.finditer(r"\belse \{", self.code):
            yield self.mutant("block", found.end() - 1, closing(self.code, found.end() - 1) + 1, "{}")

    def texts(self):
        for found in COMMENTS_AND_TEXTS.finditer(self.text):
            literal = found.group()
            if literal.startswith(("R", '"')):
                end = len(literal) - (2 if literal.startswith("R") else 1)
                yield self.mutant("text", *found.span(), literal[:end] + "~" + literal[end:])

    def rows(self):
        for found in re.finditer(r"\bconstexpr [^;={}()]*(?:= )?\{", self.code):
            opening = found.end() - 1
            end = closing(self.code, opening)
            rows = parts(self.code, opening, end) if end > 0 else []
            if len(rows) == 1 and self.code[rows[0][0]] == "{":  # std::array<...>{{ }}
                rows = parts(self.code, rows[0][0], closing(self.code, rows[0][0]))
            for k, (start, stop) in enumerate(rows if len(rows) > 1 else []):
                until = rows[k + 1][0] if k + 1 < len(rows) else stop
                yield self.mutant("row", start, until, "")
                if k + 1 < len(rows) and "enumNames" not in found.group() and self.code[start] == "{" and not RANGE.fullmatch(self.text[start:stop]):
                    after = rows[k + 1][1]
                    yield self.mutant("row", start, after,
                                      self.text[until:after] + self.text[stop:until] + self.text[start:stop])

    def cases(self):
        label = re.compile(r"^( *)(case [^\n]*:|default:)[^\n]*\n(?:\1 +[^\n]*\n)*", re.MULTILINE)
        for found in label.finditer(self.code):
            # Nothing happens without it, either: not in it, nor in the one that it shares its statements with.
            shared = re.match(r"(?:\s*(?:case [^\n]*|default):\n)*\s*(?:break|return);", self.code[found.end():])
            if not re.search(r":\s*(?:break|return);\s*$", found.group()) and not (shared and found.group().rstrip().endswith(":")):
                yield self.mutant("case", found.start(), found.end(), "")

    def returns(self):
        for start, _, _, body, after in self.controls("if"):
            content = self.code[body:after].lstrip("{ \n\x01")
            follows = re.compile(r"[\s\x01]*").match(self.code, after).end()
            if re.match(r"(return|continue|break)\b", content) and not self.code.startswith("else", follows):
                yield self.mutant("return", start, after, ";")

    def branches(self):
        for _, opening, end, _, after in self.controls("if"):
            follows = re.compile(r"[\s\x01]*").match(self.code, after).end()
            if self.code.startswith("else", follows) and ";" not in self.code[opening:end]:
                yield self.mutant("else", opening, end, "(false)")
        for found in re.finditer(r"(?<=[\w)\]])\s\? |(?<=[\w)\]])\n +\? ", self.code):
            yield self.mutant("else", found.start(), found.end(), " && false ? ")

    def members(self):
        for found in re.finditer(r"[{,(]\s*(\.\w+ = )", self.code):
            start = found.end()
            depth, end = 0, start
            while end < len(self.code) and not (depth == 0 and self.code[end] in ",}"):
                depth += (self.code[end] in "([{") - (self.code[end] in ")]}")
                end += 1
            start, end = trimmed(self.code, start, end)
            if self.text[start:end] not in TRIVIAL:
                yield self.mutant("member", start, end, "{}")
        for found in re.finditer(r"(?<=[\w>])\{(?=[^}\n])", self.code):
            end = closing(self.code, found.start())
            members = parts(self.code, found.start(), end) if end > 0 else []
            if ";" not in self.code[found.start():end] and len(members) > 1:
                for start, stop in members:
                    if self.text[start:stop] not in TRIVIAL:
                        yield self.mutant("member", start, stop, "{}")

#!/usr/bin/python3
"""Checks docs/errors.md against the code: `log_texts.py [ROOT]`.

Every text of a warning or an error that a daemon logs has its place there, and every text there (in
code marks, at the start of a table's row) is one that the code has. What the code fills in, and what
stands for it in the document (<path>), cuts a text into fragments, which are compared.
"""

import pathlib
import re
import sys

DOCUMENT = "docs/errors.md"
FOLDERS = ("platform", "model", "stats", "agent", "handlers", "plugin", "kelbase")
# What answers a command and ends it, and what is for tests.
NOT_DAEMONS = ("kelbase/ctl", "platform/mav/time")

LITERAL = r'"(?:[^"\\\n]|\\.)*"'
STATEMENT = re.compile(  # from what makes a text to the end of the statement
    r"\b(?:log\(\s*(?:Mav::)?Severity::(?:error|warning)|snmp_log\(LOG_ERR|logFault\((?=\")|"
    r"throwErrno\(|throw (?:Pondo::|Mav::)?(?:Environment|PublisherRunning)?Exception\()"
    r"(?:" + LITERAL + r"|[^\";])*;", re.S)
# Sentences for operators that stand elsewhere: what to do about an error number.
TABLE_ROW = re.compile(r"\{\w+, Reason::\w+,\s*(" + LITERAL + r")\}")
FRAGMENT_MIN = 8  # a shorter one ("open", ": ") tells nothing


def joined(text):
    """Literals that the compiler joins, as one."""
    return re.sub(r'"\s*\n\s*"', "", text)


def fragments(text, placeholder):
    """What stands between the parts that are filled in."""
    parts = (part.strip(" ;:,()") for part in re.split(placeholder, text))
    return [part for part in parts if len(part) >= FRAGMENT_MIN]


def stands_in(part, code):
    """Whether the code has the text, or each of the sentences that it is put together of."""
    return part in code or all(piece in code for piece in re.split(r"[:;,] ", part))


def code_texts(root):
    """Pairs of a file and a text, as the code has it, without quotes."""
    for folder in FOLDERS:
        for path in sorted((root / folder).rglob("*")):
            name = str(path.relative_to(root))
            if path.suffix not in (".h", ".cc") or name.startswith(NOT_DAEMONS):
                continue
            source = joined(path.read_text())
            found = [match.group(0) for match in STATEMENT.finditer(source)]
            found += TABLE_ROW.findall(source)
            for part in found:
                for literal in re.findall(LITERAL, part):
                    yield name, re.sub(r"\\n|\\", "", literal[1:-1])


def document_texts(document):
    """The texts that rows of tables begin with."""
    return re.findall(r"^\| `([^`]+)`", document, re.M)


def check(root):
    path = root / DOCUMENT
    if not path.exists():
        return [f"{DOCUMENT}: is missing"]
    document = " ".join(path.read_text().split())
    texts = list(code_texts(root))
    if not texts:
        return ["no text of a log line found: the code has changed its ways"]
    problems = [f'{DOCUMENT}: no line for "{part}" of {name}'
                for name, text in texts for part in fragments(text, r"\{[^}]*\}|%\S+")
                if part not in document]
    code = "\n".join(joined(file.read_text()) for folder in FOLDERS
                     for file in sorted((root / folder).rglob("*")) if file.suffix in (".h", ".cc"))
    code = code.replace('\\"', '"')
    problems += [f'{DOCUMENT}: "{part}" is nowhere in the code'
                 for text in document_texts(path.read_text())
                 for part in fragments(text, r"<[^>]*>") if not stands_in(part, code)]
    return sorted(set(problems))


if __name__ == "__main__":
    found = check(pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else "."))
    print("\n".join(found))
    sys.exit(1 if found else 0)

#!/usr/bin/python3
"""Prints the profile of the sources: `profile.py [ROOT]`.

How long functions and files are, how much of headers and sources is comment, and which share of
all lines is tests. Lines of C++ and Python; a function counts from the line of its opening brace
(or `def`) to its end.
"""

import ast
import pathlib
import re
import sys

import includes

TOKEN = re.compile(r'//[^\n]*|/\*.*?\*/|R"(\w*)\(.*?\)\1"|"(?:\\.|[^"\\\n])*"|(?<!\w)\'(?:\\.|[^\'\\\n])+\'', re.DOTALL)
NO_FUNCTION = re.compile(r"^\W*(?:else\s+)?(if|for|while|switch|catch|do|try|namespace|class|struct|enum|union|"
                         r"extern)\b(?!.*\boperator\b)")


def blanked(text):
    """Without comments and literals; lines stay lines."""
    return TOKEN.sub(lambda found: re.sub(r"[^\n]", " ", found[0]), text)


def is_function(head, before):
    """Whether a brace opens a function: after a parameter list, with a space between."""
    head = re.sub(r"^template\s*<.*?>\s*(?=\w)|^(?:public|private|protected)\s*:", "", head.strip())
    return before == " " and "(" in head and not NO_FUNCTION.match(head) and \
        not re.match(r"[^(]*[^=!<>]=[^=]", head)


def cpp_functions(text):
    """The lines of each function that stands in no other."""
    text = re.sub(r"^\s*#(?:.*\\\n)*.*$", lambda found: re.sub(r"[^\n]", " ", found[0]), blanked(text),
                  flags=re.MULTILINE)
    lengths, start, depth, line, head = [], None, 0, 1, 0
    for at, char in enumerate(text):
        if char == "\n":
            line += 1
        elif char == "{":
            if start is not None:
                depth += 1
            elif is_function(text[head:at], text[at - 1]):
                start, depth = line, 1
            if start is None and text[at - 1] == " ":
                head = at + 1
        elif char == "}" and start is not None:
            depth -= 1
            if depth == 0:
                lengths.append(line - start + 1)
                start, head = None, at + 1
        elif char in ";}" and start is None:
            head = at + 1
    return lengths


def py_functions(text):
    return [node.end_lineno - node.lineno + 1 for node in ast.walk(ast.parse(text))
            if isinstance(node, (ast.FunctionDef, ast.AsyncFunctionDef))]


def of_ten(values, tenths):
    values = sorted(values)
    return values[min(len(values) - 1, len(values) * tenths // 10)] if values else 0


def lengths(name, values):
    print(f"{name}: {len(values)}, lines: median {of_ten(values, 5)}, p90 {of_ten(values, 9)}, "
          f"longest {max(values, default=0)}")


def main():
    root = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else ".")
    texts = {path: (root / path).read_text() for path in includes.sources(root)}
    texts |= {path.relative_to(root): path.read_text() for path in root.rglob("*.py")
              if not path.relative_to(root).parts[0].startswith(("build", "."))}
    count = {path: text.count("\n") for path, text in texts.items()}
    tests = sum(lines for path, lines in count.items() if path.parts[0] == "tests")
    total = sum(count.values())
    product = {path: text for path, text in texts.items()
               if path.suffix in (".h", ".cc") and path.parts[0] not in ("tests", "benchmarks")}
    lengths("functions", [one for text in product.values() for one in cpp_functions(text)])
    lengths("functions of tests", [one for path, text in texts.items() if path.parts[0] == "tests"
                                   for one in (py_functions if path.suffix == ".py" else
                                               cpp_functions)(text)])
    for name, suffix in (("headers", ".h"), ("sources", ".cc")):
        files = {path: text for path, text in product.items() if path.suffix == suffix}
        lengths(name, [count[path] for path in files])
        comments = sum(len(re.findall(r"^\s*//", text, re.MULTILINE)) for text in files.values())
        print(f"  comment lines: {comments / sum(count[path] for path in files):.1%}; "
              f"files under 30 lines: {sum(count[path] < 30 for path in files)}")
    print(f"lines: {total}, product {sum(count[path] for path in product)}, tests {tests}: "
          f"{tests / total:.1%}")


if __name__ == "__main__":
    main()

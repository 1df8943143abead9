"""The lints find what they are for, in small trees with one fault each."""

import json
import pathlib
import shutil

import pytest

import clang
import includes
import log_texts

ROOT = pathlib.Path(__file__).resolve().parents[2]

GOOD = {
    "platform/mav/time.h": "#pragma once\nint now();\n",
    "platform/dovel/prefix.h": '#pragma once\n#include "platform/mav/time.h"\n',
    "agent/route_sm.h": '#pragma once\n#include "platform/dovel/prefix.h"\n',
    "platform/pondo/environment/reader.cc": "#include <lmdb.h>\n",
    "handlers/ip_mib/ip_base.cc": "#include <net-snmp/net-snmp-config.h>\n",
    "tests/platform/mav/checks.h": "#pragma once\n",
    "tests/handlers/ip_base_test.cc": '#include "platform/mav/time.h"\n'
                                      '#include "tests/platform/mav/checks.h"\n',
}


@pytest.fixture
def tree(tmp_path):
    def write(files):
        for name, text in files.items():
            (tmp_path / name).parent.mkdir(parents=True, exist_ok=True)
            (tmp_path / name).write_text(text)
        return tmp_path

    return write


def test_a_good_tree_has_no_problem(tree):
    assert includes.check(tree(GOOD)) == []


@pytest.mark.parametrize("name, text, problem", [
    ("handlers/x.cc", '#include "agent/route_sm.h"\n', "handlers may not include agent"),
    ("agent/x.cc", '#include "handlers/ip_mib/ip_base.h"\n', "is no file of this tree"),
    ("platform/mav/x.cc", '#include "platform/dovel/prefix.h"\n',
     "platform/mav may not include platform/dovel"),
    ("kelbase/x.cc", "#include <net-snmp/net-snmp-config.h>\n",
     "kelbase may not include <net-snmp/net-snmp-config.h>"),
    ("agent/x.cc", "#include <lmdb.h>\n", "agent may not include <lmdb.h>"),
    ("platform/mav/x.cc", '#include "time.h"\n', "spelled from the root"),
    ("platform/mav/x.cc", "#include <platform/mav/time.h>\n", "write it in quotes"),
    ("tests/stats/x.cc", '#include "agent/route_sm.h"\n', "stats may not include agent"),
    ("platform/mav/x.cc", '#include "tests/platform/mav/checks.h"\n', "is not for"),
    ("platform/mav/x.h", "int x;\n", "no #pragma once"),
    ("tests/odd/x.cc", "#include <vector>\n", "in no folder"),
])
def test_a_wrong_include_is_found(tree, name, text, problem):
    tree(GOOD)
    found = includes.check(tree({name: text}))
    assert len(found) == 1 and found[0].startswith(name) and problem in found[0]


def test_an_empty_tree_is_a_problem(tmp_path):
    assert includes.check(tmp_path)


def test_bad_format_is_found(tree):
    root = tree({"stats/x.cc": "int   x  ;\n"})
    shutil.copy(ROOT / ".clang-format", root)
    assert "stats/x.cc:1" in clang.check_format(root, None)[0]
    (root / "stats/x.cc").write_text("int x;\n")
    assert clang.check_format(root, None) == []


def test_a_header_that_needs_another_is_found(tree):
    root = tree({"stats/x.h": "#pragma once\nstd::string x();\n", "stats/y.h": "#pragma once\n"})
    found = clang.check_headers(root, None)
    assert len(found) == 1 and found[0].startswith("stats/x.h does not compile alone")


def test_a_moved_from_value_is_found_by_tidy(tree):
    root = tree({"stats/x.cc": "#include <string>\n#include <utility>\n"
                               "void take(std::string);\n"
                               "auto f(std::string s) {\n"
                               "  take(std::move(s));\n"
                               "  return s.size();\n}\n"})
    shutil.copy(ROOT / ".clang-tidy", root)
    (root / "compile_commands.json").write_text(json.dumps([{
        "directory": str(root), "file": str(root / "stats/x.cc"),
        "command": f"clang++ -std=c++20 -c {root}/stats/x.cc"}]))
    found = clang.check_tidy(root, root)
    assert len(found) == 1 and "bugprone-use-after-move" in found[0]


def test_a_log_line_without_its_place_in_the_document_is_found(tree):
    code = {"agent/x.cc": 'Mav::log(Mav::Severity::warning,\n'
                          '         fmt::format("{}: the map "\n             "is full", path));\n'}
    line = "| `<path>: the map is full` | | |\n"
    assert log_texts.check(tree(code | {"docs/errors.md": line})) == []
    assert "the map is full" in log_texts.check(tree({"docs/errors.md": "# Errors\n"}))[0]
    stale = tree({"docs/errors.md": line + "| `<path>: has gone away` | | |\n"})
    assert "nowhere" in log_texts.check(stale)[0]

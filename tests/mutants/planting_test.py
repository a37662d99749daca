# SPDX-License-Identifier: MIT
"""Tests of the planting: which faults a snippet gets, which ones a seed chooses, what
the list of equivalent changes leaves out, and how the outcomes are counted."""
from __future__ import annotations

import sys
import tempfile
import unittest
from collections import Counter
from contextlib import redirect_stdout
from dataclasses import replace
from io import StringIO
from pathlib import Path

try:
    from faults import NOTHING, Fault, Reading
except ModuleNotFoundError as missing:
    print(f"{missing}: python3-clang is not installed")
    sys.exit(77)
from known import key_of, read_known, unmatched
from mutants import Run
from programs import first_try
from results import Results, shortfalls, table
from sample import Candidate, candidates, choose
from trees import Outcome

FILE = "snippet.cpp"


def faults_of(text: str) -> list[Fault]:
    return Reading(FILE, ["-std=c++20"], text).faults(FILE, FILE, text.encode())


def planted(text: str, *kinds: str) -> set[str]:
    """The last line of a snippet with each fault of the kinds."""
    source = text.encode()
    return {
        fault.plant(source).decode().splitlines()[-1]
        for fault in faults_of(text)
        if fault.kind in kinds
    }


class Planting(unittest.TestCase):
    def test_comparison_moves_its_boundary_and_turns_round(self) -> None:
        self.assertEqual(
            planted("bool F(int a, int b) { return a < b; }", "relational", "return"),
            {
                "bool F(int a, int b) { return a <= b; }",
                "bool F(int a, int b) { return a >= b; }",
            },
        )

    def test_comparison_of_objects_is_one(self) -> None:
        text = "struct S {}; bool operator==(S a, S b);\nbool F(S a, S b) { return a == b; }"
        self.assertEqual(planted(text, "relational"), {"bool F(S a, S b) { return a != b; }"})

    def test_brackets_of_a_template_are_no_comparison(self) -> None:
        text = "template <int N> int G();\nint F() { return G<1>(); }"
        self.assertEqual(planted(text, "relational", "arithmetic"), set())

    def test_operators_of_arithmetic_turn_into_others(self) -> None:
        self.assertEqual(
            planted("int F(int a, int *b) { return a + *b; }", "arithmetic"),
            {"int F(int a, int *b) { return a - *b; }"},
        )
        self.assertEqual(
            planted("void F(int &a) { ++a; }", "arithmetic"), {"void F(int &a) { --a; }"}
        )
        self.assertEqual(
            planted("int F(int a) { return -a; }", "arithmetic"), {"int F(int a) { return a; }"}
        )

    def test_condition_loses_an_operand_and_is_always_the_same(self) -> None:
        self.assertEqual(
            planted("void F(bool a, bool b) { if (a && b) return; }", "logical"),
            {
                "void F(bool a, bool b) { if (a || b) return; }",
                "void F(bool a, bool b) { if (a) return; }",
                "void F(bool a, bool b) { if (b) return; }",
                "void F(bool a, bool b) { if (true) return; }",
                "void F(bool a, bool b) { if (false) return; }",
            },
        )
        self.assertEqual(
            planted("bool F(bool a) { return !a; }", "logical"), {"bool F(bool a) { return a; }"}
        )

    def test_loop_is_never_entered(self) -> None:
        self.assertEqual(
            planted("void F(bool a) { while (a) return; }", "logical"),
            {"void F(bool a) { while (false) return; }"},
        )

    def test_declaration_in_a_condition_stays(self) -> None:
        text = "int *G();\nvoid F() { while (int *p = G()) *p = 1; }"
        self.assertEqual(planted(text, "logical"), set())

    def test_constant_becomes_its_neighbours_in_its_own_notation(self) -> None:
        self.assertEqual(
            planted("auto a = 0x1FU;", "constant"), {"auto a = 0x20U;", "auto a = 0x1EU;"}
        )
        self.assertEqual(planted("auto a = 0;", "constant"), {"auto a = 1;"})
        self.assertEqual(planted("auto a = 0.5;", "constant"), {"auto a = 1.5;"})
        self.assertEqual(planted("auto a = true;", "constant"), {"auto a = false;"})
        self.assertEqual(planted("auto a = 'b';", "constant"), {"auto a = 'c';"})
        self.assertEqual(planted(r"auto a = '\0';", "constant"), {r"auto a = '\1';"})

    def test_returned_value_is_another(self) -> None:
        self.assertEqual(
            planted("int F(int a) { return a; }", "return"), {"int F(int a) { return 0; }"}
        )
        self.assertEqual(
            planted("int *F(int *a) { return a; }", "return"),
            {"int *F(int *a) { return nullptr; }"},
        )
        self.assertEqual(
            planted("bool F(bool a) { return a; }", "return"), {"bool F(bool a) { return !(a); }"}
        )

    def test_statement_goes_and_a_declaration_stays(self) -> None:
        text = "void G(int);\nvoid F() { int a = 1; if (a) G(a); a = 2; }"
        self.assertEqual(
            planted(text, "statement"),
            {
                f"void F() {{ int a = 1; if (a) {NOTHING}; a = 2; }}",
                f"void F() {{ int a = 1; if (a) G(a); {NOTHING}; }}",
            },
        )

    def test_head_of_a_loop_is_no_statement(self) -> None:
        text = "void F(int a) { for (; a > 0; --a) continue; }"
        self.assertEqual(
            planted(text, "statement"), {f"void F(int a) {{ for (; a > 0; --a) {NOTHING}; }}"}
        )

    def test_string_loses_its_text_or_its_first_letter(self) -> None:
        self.assertEqual(
            planted('const char *a = "GET";', "string"),
            {'const char *a = "";', 'const char *a = "HET";'},
        )

    def test_macro_and_static_assertion_stay(self) -> None:
        text = "#define IS_ONE(x) ((x) == 1)\nbool F(int a) { return IS_ONE(a); }"
        self.assertEqual(planted(text, "relational", "constant"), set())
        self.assertEqual(faults_of("static_assert(1 < 2);"), [])

    def test_every_fault_changes_the_source(self) -> None:
        text = "int F(int a) { for (int i = 0; i < a; ++i) a *= 2; return a == 0 ? 7 : a; }"
        for fault in faults_of(text):
            self.assertNotEqual(fault.plant(text.encode()), text.encode())

    def test_source_that_does_not_compile_is_refused(self) -> None:
        with self.assertRaises(ValueError):
            faults_of("int F( {")


class Choosing(unittest.TestCase):
    def setUp(self) -> None:
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        self.root = Path(self.folder.name)

    def every(self, text: str) -> list[Candidate]:
        (self.root / FILE).write_text(text)
        return candidates(self.root, faults_of(text))

    def test_seed_chooses_the_same_and_a_larger_count_more(self) -> None:
        every = self.every("int F(int a) { return a * 2 + 3; }")
        self.assertEqual(choose(every, 3, "1"), choose(list(reversed(every)), 5, "1")[:3])
        self.assertNotEqual(choose(every, len(every), "1"), choose(every, len(every), "2"))

    def test_lines_that_move_change_no_name(self) -> None:
        text = "int F(int a) {\n  return a + 1;\n}"
        before = {one.name() for one in self.every(text)}
        self.assertEqual({one.name() for one in self.every("\n// More.\n" + text)}, before)

    def test_faults_with_the_same_lines_have_names_of_their_own(self) -> None:
        every = self.every("void F(int a) {\n  a = 1;\n  a = 1;\n}")
        self.assertEqual(len({one.name() for one in every}), len(every))
        self.assertEqual(Counter(one.nth for one in every)[2], 3)


class Knowing(unittest.TestCase):
    def setUp(self) -> None:
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        self.list = Path(self.folder.name) / "equivalent.txt"

    def test_entry_names_a_change_wherever_its_lines_stand(self) -> None:
        self.list.write_text(
            "# Why not.\n\nsnippet.cpp F\n- return a + 1;\n+ return a + 2;\n= Nobody\n= looks.\n"
        )
        entries = read_known(self.list)
        text = "\n\nint F(int a) {\n    return a + 1;\n}"
        places = {key_of(fault, text.encode()) for fault in faults_of(text)}
        self.assertEqual(entries[0].reason, "Nobody looks.")
        self.assertIn(entries[0].key(), places)
        self.assertEqual(unmatched(entries, places), [])
        self.assertEqual(unmatched(entries, set()), entries)

    def test_entry_without_a_reason_is_refused(self) -> None:
        self.list.write_text("snippet.cpp F\n- a\n+ b\n")
        with self.assertRaises(ValueError):
            read_known(self.list)


class Counting(unittest.TestCase):
    def test_table_judges_what_was_tried(self) -> None:
        counts = Counter({"killed": 3, "survived": 1, "equivalent": 2, "does not build": 5})
        self.assertEqual(table({"a.cpp": counts})[-1], "| all | 3 | 1 | 5 | 2 | 75.0 |")
        counts = Counter({"equivalent": 1})
        self.assertEqual(table({"a.cpp": counts})[2], "| a.cpp | 0 | 0 | 0 | 1 |  |")

    def test_goals_are_for_all_and_for_each_file(self) -> None:
        self.assertEqual(shortfalls({"a.cpp": Counter(killed=98, survived=2)}), [])
        self.assertEqual(len(shortfalls({"a.cpp": Counter(killed=90, survived=10)})), 2)
        one_survivor = {"a.cpp": Counter(survived=1), "b.cpp": Counter(killed=99)}
        self.assertEqual(shortfalls(one_survivor), [])

    def test_survivor_is_tried_again_when_the_project_has_changed(self) -> None:
        with tempfile.TemporaryDirectory() as folder:
            path = Path(folder) / "1.jsonl"
            (Path(folder) / FILE).write_text("int a = 1;")
            killed, survived = candidates(Path(folder), faults_of("int a = 1;"))
            results = Results(path, "before")
            results.note(killed, Outcome("killed", "unit_tests A.B"))
            results.note(survived, Outcome("survived"))
            again, later = Results(path, "before"), Results(path, "after")
            self.assertEqual(again.get(survived), Outcome("survived"))
            self.assertIsNone(later.get(survived))
            self.assertEqual(later.get(killed), Outcome("killed", "unit_tests A.B"))


class FakeTree:
    """Finds every fault but those that make a 7, and keeps what it was told to do."""

    def __init__(self, folder: str):
        self.scratch = Path(folder) / "scratch"
        self.calls: list[str] = []

    def try_fault(self, fault: Fault, source: bytes) -> Outcome:
        self.calls.append(fault.plant(source).decode())
        if fault.text == "no machine":
            raise OSError("no machine")
        return Outcome("survived") if fault.text == "7" else Outcome("killed", "time")

    def restore(self, file: str) -> None:
        self.calls.append(f"restore {file}")


class Working(unittest.TestCase):
    def setUp(self) -> None:
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        self.root = Path(self.folder.name)
        self.every = []
        for file, text in (("a.cpp", "int a = 6;"), ("b.cpp", "int b = 8;")):
            (self.root / file).write_text(text)
            faults = [replace(fault, file=file) for fault in faults_of(text)]
            self.every += candidates(self.root, faults)
        self.results = Results(self.root / "1.jsonl", "now")
        self.trees = [FakeTree(self.folder.name), FakeTree(self.folder.name)]

    def run_all(self) -> None:
        with redirect_stdout(StringIO()):
            Run(self.root, self.every, self.results).all_in(self.trees)

    def test_each_fault_is_tried_once_and_its_file_restored(self) -> None:
        self.run_all()
        calls = sorted(self.trees[0].calls + self.trees[1].calls)
        self.assertEqual(
            calls,
            ["int a = 5;", "int a = 7;", "int b = 7;", "int b = 9;"]
            + ["restore a.cpp", "restore b.cpp"],
        )
        ends = Counter(self.results.get(one).end for one in self.every)
        self.assertEqual(ends, Counter(killed=2, survived=2))

    def test_run_that_was_stopped_goes_on(self) -> None:
        for candidate in self.every[:3]:
            self.results.note(candidate, Outcome("killed", "unit_tests A.B"))
        self.run_all()
        self.assertEqual(len(self.trees[0].calls + self.trees[1].calls), 2)

    def test_failure_of_a_worker_is_told(self) -> None:
        broken = replace(self.every[0].fault, text="no machine")
        self.every = [replace(self.every[0], fault=broken)]
        with self.assertRaises(OSError):
            self.run_all()


class Trying(unittest.TestCase):
    def test_tests_that_are_named_after_a_source_come_first(self) -> None:
        root = Path(__file__).resolve().parents[2]
        program, tests = first_try(root, "qnstack/common/src/qn_stack_http_slot.cpp")
        self.assertEqual(program.name, "unit_tests")
        self.assertIn("QnStackHttpRedirect.*", tests)
        _, tests = first_try(root, "qnstack/qnshare/common/src/qn_itoa.cpp")
        self.assertNotIn("QnStackHttp", tests)
        program, tests = first_try(root, "qnstack/qnfs/Posix_porting/src/qn_fs_file.cpp")
        self.assertEqual((program.name, tests), ("posix_port_tests", "*"))


if __name__ == "__main__":
    unittest.main()

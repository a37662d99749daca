# SPDX-License-Identifier: MIT
"""The test programs of the release build, and which of them knows a source best."""
from __future__ import annotations

import re
from dataclasses import dataclass
from pathlib import Path


@dataclass(frozen=True)
class Program:
    """A target with tests, and the words that it is started with."""

    name: str
    folder: str
    words: tuple[str, ...] = ("--gtest_brief=1", "--gtest_fail_fast")


# In this order: what finds most in least time comes first.
PROGRAMS = (
    Program("unit_tests", "tests/unit"),
    Program("face_tests", "tests/unit"),
    Program("inert_port_tests", "tests/unit"),
    Program("wap_forwarding_tests", "tests/unit"),
    Program("null_inert_tests", "tests/null"),
    Program("null_posix_tests", "tests/null"),
    Program("wire_tests", "tests/integration"),
    Program("platform_tests", "tests/platform"),
    Program("posix_port_tests", "tests/posix"),
    Program("posix_port_tests_plain", "tests/posix"),
    Program("fault_tests", "tests/fault"),
    Program("fault_tests_plain", "tests/fault"),
    Program("hostile_tests", "tests/hostile"),
    Program("qnget_tests", "tests/integration"),
    Program("example_tests", "tests/examples"),
    Program("peer_tests", "tests/integration"),
    Program("soak", "tests/soak", ("--exchanges", "1000", "--seed", "20090615")),
    Program("mms_demo", "demo", ()),
)
BY_NAME = {program.name: program for program in PROGRAMS}

# The file ports have programs of their own.
PORTS = (
    ("qnstack/qnfs/Posix_porting/", "posix_port_tests"),
    ("qnstack/qnfs/Mac_porting/src/qn_fs_file.cpp", "inert_port_tests"),
    ("qnstack/qnfs/common/src/qn_fs_file_port", "inert_port_tests"),
)


def suites_in(source: Path) -> set[str]:
    return set(re.findall(r"^(?:TYPED_)?TEST(?:_[FP])?\((\w+)", source.read_text(), re.MULTILINE))


def tests_of(root: Path, source: str) -> str:
    """A filter for the unit tests that are named after a source: without such, those
    named after its name without its last word, and so on."""
    unit_tests = root / "tests/unit"
    stem = Path(source).stem
    while stem:
        suites: set[str] = set()
        for file in sorted(unit_tests.glob(f"{stem}*_test.cpp")):
            suites |= suites_in(file)
        if suites:
            return ":".join(f"{s}.*:*/{s}.*:{s}/*" for s in sorted(suites))
        stem = stem.rpartition("_")[0]
    return "*"


def first_try(root: Path, source: str) -> tuple[Program, str]:
    """The program that is tried first on faults of a source, and what of it."""
    for prefix, name in PORTS:
        if source.startswith(prefix):
            return BY_NAME[name], "*"
    return BY_NAME["unit_tests"], tests_of(root, source)

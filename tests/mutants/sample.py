# SPDX-License-Identifier: MIT
"""All faults of the library's sources, and a sample of them."""
from __future__ import annotations

import hashlib
import json
import shlex
from collections import Counter
from dataclasses import dataclass
from os.path import relpath
from pathlib import Path

from faults import Fault, Reading
from known import Key, key_of


@dataclass(frozen=True)
class Candidate:
    """A fault, and which of those with the same lines in the same function it is."""

    fault: Fault
    key: Key
    nth: int

    def name(self) -> str:
        return json.dumps([*self.key, self.nth])


def is_new(name: str, found: dict[str, list[Fault]]) -> bool:
    """Whether a file is one of the library's that was not looked at yet."""
    return name.startswith("qnstack/") and "/src/" in name and name not in found


def parse_arguments(words: list[str]) -> list[str]:
    """Of a compiler's call what decides how a source reads."""
    taken: list[str] = []
    for word, following in zip(words, words[1:] + [""]):
        if word.startswith(("-I", "-D", "-std=")):
            taken.append(word)
        elif word == "-isystem":
            taken += [word, following]
    return taken


def read_sources(tree: Path, compiler_calls: Path) -> list[Fault]:
    """The faults of every source and internal header that the build compiles."""
    found: dict[str, list[Fault]] = {}
    for call in json.loads(compiler_calls.read_text()):
        if not is_new(relpath(call["file"], tree), found):
            continue
        reading = Reading(call["file"], parse_arguments(shlex.split(call["command"])))
        included = [one.include.name for one in reading.unit.get_includes()]
        for name in [call["file"], *included]:
            shown = relpath(name, tree)
            if is_new(shown, found):
                found[shown] = reading.faults(name, shown, Path(name).read_bytes())
    return [fault for file in sorted(found) for fault in found[file]]


def candidates(tree: Path, faults: list[Fault]) -> list[Candidate]:
    sources = {fault.file: (tree / fault.file).read_bytes() for fault in faults}
    seen: Counter[Key] = Counter()
    result = []
    for fault in faults:
        key = key_of(fault, sources[fault.file])
        seen[key] += 1
        result.append(Candidate(fault, key, seen[key]))
    return result


def choose(every: list[Candidate], count: int, seed: str) -> list[Candidate]:
    """The first `count` in an order that the seed gives. A larger count begins with the
    same ones, and a change of a source leaves the others where they are."""

    def place(candidate: Candidate) -> bytes:
        return hashlib.sha256(f"{seed} {candidate.name()}".encode()).digest()

    return sorted(every, key=place)[:count]

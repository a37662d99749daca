# SPDX-License-Identifier: MIT
"""The changes that are known to change nothing the library does."""
from __future__ import annotations

from dataclasses import dataclass, field
from pathlib import Path

from faults import Fault

# A place is known by its file, its function and its lines, wherever they stand.
Key = tuple[str, str, tuple[str, ...], tuple[str, ...]]


def key_of(fault: Fault, source: bytes) -> Key:
    _, before, after = fault.lines(source)
    return fault.file, fault.function, before, after


@dataclass
class Entry:
    file: str
    function: str
    before: list[str] = field(default_factory=list)
    after: list[str] = field(default_factory=list)
    reason: str = ""

    def key(self) -> Key:
        return self.file, self.function, tuple(self.before), tuple(self.after)


def read_entry(block: list[str], place: str) -> Entry:
    file, _, function = block[0].partition(" ")
    entry = Entry(file, function.strip())
    for line in block[1:]:
        mark, text = line[:1], line[1:].strip()
        if mark == "-":
            entry.before.append(text)
        elif mark == "+":
            entry.after.append(text)
        elif mark == "=":
            entry.reason = f"{entry.reason} {text}".strip()
        else:
            raise ValueError(f"{place}: a line begins with none of '-', '+' and '=': {line}")
    if not (entry.before and entry.after and entry.reason):
        raise ValueError(f"{place}: an entry needs its lines before and after, and a reason")
    return entry


def read_known(path: Path) -> list[Entry]:
    """Entries stand apart by empty lines; '#' begins a comment."""
    entries: list[Entry] = []
    block: list[str] = []
    lines = path.read_text().splitlines() + [""]
    for number, line in enumerate(lines, start=1):
        if line.startswith("#"):
            continue
        if line.strip():
            block.append(line)
        elif block:
            entries.append(read_entry(block, f"{path.name}:{number - len(block)}"))
            block = []
    return entries


def unmatched(entries: list[Entry], places: set[Key]) -> list[Entry]:
    """The entries whose lines stand in no source any more."""
    return [entry for entry in entries if entry.key() not in places]

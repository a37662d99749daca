# SPDX-License-Identifier: MIT
"""What became of each fault: kept in a file, so that a run can go on where another
stopped, and shown as a table."""
from __future__ import annotations

import json
import threading
from collections import Counter
from pathlib import Path

from sample import Candidate
from trees import Outcome

# The goals, in per cent. One survivor alone does not judge a file.
GOAL, GOAL_OF_A_FILE = 98.0, 92.0


class Results:
    """The outcomes of one seed. A survivor counts as long as the project stays as it
    was: after a change, as of the tests, it is tried again."""

    def __init__(self, path: Path, state: str):
        self.path, self.state = path, state
        self.outcomes: dict[str, Outcome] = {}
        self.lock = threading.Lock()
        path.parent.mkdir(parents=True, exist_ok=True)
        for line in path.read_text().splitlines() if path.exists() else []:
            kept = json.loads(line)
            if kept["end"] != "survived" or kept["state"] == state:
                self.outcomes[kept["fault"]] = Outcome(kept["end"], kept["by"])

    def get(self, candidate: Candidate) -> Outcome | None:
        return self.outcomes.get(candidate.name())

    def note(self, candidate: Candidate, outcome: Outcome) -> None:
        line = {"fault": candidate.name(), "end": outcome.end, "by": outcome.by}
        line["state"] = self.state
        with self.lock, self.path.open("a") as file:
            file.write(json.dumps(line) + "\n")
            self.outcomes[candidate.name()] = outcome


def share(counts: Counter[str]) -> float:
    """Per cent of the faults that change something which were killed."""
    tried = counts["killed"] + counts["survived"]
    return 100.0 * counts["killed"] / tried if tried else 100.0


def row(name: str, counts: Counter[str]) -> str:
    cells = [counts[column] for column in ("killed", "survived", "does not build", "equivalent")]
    numbers = " | ".join(str(cell) for cell in cells)
    tried = counts["killed"] + counts["survived"]
    return f"| {name} | {numbers} | {f'{share(counts):.1f}' if tried else ''} |"


def counts_by_file(ends: list[tuple[Candidate, Outcome]]) -> dict[str, Counter[str]]:
    counts: dict[str, Counter[str]] = {}
    for candidate, outcome in ends:
        counts.setdefault(candidate.fault.file, Counter())[outcome.end] += 1
    return dict(sorted(counts.items()))


def table(counts: dict[str, Counter[str]]) -> list[str]:
    total = sum(counts.values(), Counter())
    return [
        "| source | killed | survived | does not build | equivalent | % killed |",
        "|---|---:|---:|---:|---:|---:|",
        *(row(Path(file).name, counts[file]) for file in counts),
        row("all", total),
    ]


def diff(candidate: Candidate, source: bytes) -> list[str]:
    """A change as it would stand in the list of equivalent ones, with its line's number."""
    number, before, after = candidate.fault.lines(source)
    title = f"{candidate.fault.file} {candidate.fault.function}".rstrip()
    lines = [f"- {line}" for line in before] + [f"+ {line}" for line in after]
    return [f"# line {number}, {candidate.fault.kind}", title, *lines]


def shortfalls(counts: dict[str, Counter[str]]) -> list[str]:
    """The goals that are not met."""
    total = share(sum(counts.values(), Counter()))
    missed = [f"{total:.1f} % were killed, and {GOAL} % should be"] if total < GOAL else []
    for file, of_file in counts.items():
        if of_file["survived"] > 1 and share(of_file) < GOAL_OF_A_FILE:
            missed.append(f"{file}: {share(of_file):.1f} %, and {GOAL_OF_A_FILE} % should be")
    return missed

# SPDX-License-Identifier: MIT
"""Plants faults in the library, one at a time, and tells which of them no test of the
release build finds.

usage: mutants.py COUNT SEED

A run that was stopped goes on when it is called again with the same seed, and a larger
COUNT begins with the faults of a smaller one. All it makes is below build/mutants.
"""
from __future__ import annotations

import hashlib
import os
import queue
import shutil
import sys
import threading
import time
from collections import Counter, defaultdict
from pathlib import Path

from known import Entry, read_known, unmatched
from results import Results, counts_by_file, diff, shortfalls, table
from sample import Candidate, candidates, choose, read_sources
from trees import Outcome, Tree, project_files

ROOT = Path(__file__).resolve().parents[2]
FOLDER = ROOT / "build/mutants"
KNOWN = Path(__file__).with_name("equivalent.txt")
# What decides whether a fault is found.
DECIDING = ("qnstack/", "include/", "apps/", "examples/", "demo/", "cmake/", "tests/")


def say(*words: object) -> None:
    print("mutants:", *words, flush=True)


def state_of_project() -> str:
    """Another text whenever a source or a test is another."""
    digest = hashlib.sha256()
    for name in project_files(ROOT):
        if name.startswith(DECIDING) and not name.startswith("tests/mutants/"):
            digest.update(name.encode() + b"\0" + (ROOT / name).read_bytes())
    return digest.hexdigest()[:16]


def batches(chosen: list[Candidate]) -> list[list[Candidate]]:
    """Faults of one file after the other, the largest batches first."""
    by_file: dict[str, list[Candidate]] = defaultdict(list)
    for candidate in chosen:
        by_file[candidate.fault.file].append(candidate)
    return sorted(by_file.values(), key=len, reverse=True)


class Run:
    """The trials of all faults that have no outcome yet."""

    def __init__(self, root: Path, chosen: list[Candidate], results: Results):
        self.root, self.results = root, results
        self.left = queue.SimpleQueue[list[Candidate]]()
        self.todo = [candidate for candidate in chosen if results.get(candidate) is None]
        for batch in batches(self.todo):
            self.left.put(batch)
        self.done = 0
        self.stopped = threading.Event()
        self.failures: list[BaseException] = []

    def work(self, tree: Tree) -> None:
        """Tries batches in one tree until none is left."""
        try:
            while not self.stopped.is_set():
                self.try_batch(tree, self.left.get_nowait())
        except queue.Empty:
            pass
        except BaseException as failure:  # told by the main thread
            self.failures.append(failure)
            self.stopped.set()
        finally:
            shutil.rmtree(tree.scratch, ignore_errors=True)

    def try_batch(self, tree: Tree, batch: list[Candidate]) -> None:
        file = batch[0].fault.file
        source = (self.root / file).read_bytes()
        for candidate in batch:
            if self.stopped.is_set():
                break
            begin = time.monotonic()
            outcome = tree.try_fault(candidate.fault, source)
            self.results.note(candidate, outcome)
            self.tell(candidate, outcome, source, time.monotonic() - begin)
        tree.restore(file)

    def tell(self, candidate: Candidate, outcome: Outcome, source: bytes, seconds: float) -> None:
        self.done += 1
        number, _, _ = candidate.fault.lines(source)
        place = f"{Path(candidate.fault.file).name}:{number} {candidate.fault.kind}"
        by = f" by {outcome.by}" if outcome.by else ""
        say(f"{self.done} of {len(self.todo)}, {seconds:.0f} s: {place}: {outcome.end}{by}")

    def all_in(self, trees: list[Tree]) -> None:
        threads = [threading.Thread(target=self.work, args=(tree,)) for tree in trees]
        for thread in threads:
            thread.start()
        try:
            for thread in threads:
                thread.join()
        except KeyboardInterrupt:
            self.stopped.set()
            raise
        if self.failures:
            raise self.failures[0]


def prepare(workers: int) -> list[Tree]:
    """Trees for the workers, which are the same. The first one says whether all is well
    without a fault, and how long that takes."""
    processors = len(os.sched_getaffinity(0))
    trees = [Tree(ROOT, FOLDER / str(n + 1), processors) for n in range(workers)]
    for tree in trees:
        say(f"building in {tree.path.relative_to(ROOT)}")
        tree.refresh()
        tree.configure()
        tree.build_all()
    say("testing without a fault")
    limits = trees[0].prove_sound()
    for tree in trees:
        tree.limits, tree.jobs = limits, max(1, processors // workers)
    return trees


def report(chosen: list[Candidate], known: set, results: Results, stale: list[Entry]) -> int:
    """Prints the table and all survivors; 1 if a goal is not met."""
    ends = [
        (one, Outcome("equivalent") if one.key in known else results.get(one) or Outcome(""))
        for one in chosen
    ]
    counts = counts_by_file(ends)
    print("\n" + "\n".join(table(counts)))
    for candidate, outcome in ends:
        if outcome.end == "survived":
            print("\n" + "\n".join(diff(candidate, (ROOT / candidate.fault.file).read_bytes())))
    by_time = sum(outcome.by == "time" for _, outcome in ends)
    kinds = Counter(candidate.fault.kind for candidate, _ in ends)
    print(f"\n{by_time} were killed by time. By kind: "
          + ", ".join(f"{count} {kind}" for kind, count in sorted(kinds.items())))  # fmt: skip
    complaints = shortfalls(counts)
    for entry in stale:
        complaints.append(f"equivalent.txt: nothing can be changed so any more: {entry.file}"
                          f" {entry.function}: {' / '.join(entry.before)}")  # fmt: skip
    for complaint in complaints:
        say(complaint)
    return 1 if complaints else 0


def main() -> int:
    count, seed = int(sys.argv[1]), sys.argv[2]
    say(f"{count} faults, seed {seed}")
    first = Tree(ROOT, FOLDER / "1", 1)
    first.refresh()
    first.configure()
    every = candidates(first.path, read_sources(first.path, first.compiler_calls()))
    chosen = choose(every, count, seed)
    entries = read_known(KNOWN)
    known = {entry.key() for entry in entries}
    results = Results(FOLDER / f"results/{seed}.jsonl", state_of_project())
    run = Run(ROOT, [candidate for candidate in chosen if candidate.key not in known], results)
    say(f"chosen of {len(every)}; {len(run.todo)} are left to try")
    if run.todo:
        run.all_in(prepare(min(len(os.sched_getaffinity(0)), len(batches(run.todo)))))
    return report(chosen, known, results, unmatched(entries, {one.key for one in every}))


if __name__ == "__main__":
    sys.exit(main())

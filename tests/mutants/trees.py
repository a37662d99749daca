# SPDX-License-Identifier: MIT
"""A copy of the project in which faults are planted, one at a time, and tried."""
from __future__ import annotations

import os
import re
import resource
import shutil
import signal
import subprocess
import time
from dataclasses import dataclass
from pathlib import Path

from faults import Fault
from programs import PROGRAMS, Program, first_try

# An endless loop must not take all memory before its time is over.
MOST_MEMORY = 6 << 30
# The seconds of a processor that a program may take without a fault; and with one, how
# many times as many as without, and some more. A busy machine adds nothing to them.
MOST_SECONDS = 1800.0
SLOWER, GRACE = 2, 20
# A program that has used no processor for so many seconds waits for ever.
IDLE_SECONDS = 60.0
# How a program ends whose time is over: by these limits, or by a watchdog of its own.
OUT_OF_TIME = (signal.SIGXCPU, signal.SIGKILL, signal.SIGALRM)


@dataclass(frozen=True)
class Outcome:
    """How the trial of a fault ended, and what found it."""

    end: str  # "killed", "survived" or "does not build"
    by: str = ""


def project_files(root: Path) -> list[str]:
    """All files of the project that are there, committed or not."""
    listed = subprocess.run(
        ["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
        cwd=root, check=True, capture_output=True,
    ).stdout.decode()  # fmt: skip
    return sorted({name for name in listed.split("\0") if name and (root / name).is_file()})


def copy_if_other(source: Path, target: Path) -> None:
    """Leaves the time of a file alone that is the same already."""
    if target.exists() and target.read_bytes() == source.read_bytes():
        return
    target.parent.mkdir(parents=True, exist_ok=True)
    shutil.copy(source, target)


def bound(seconds: float) -> None:
    """Bounds what the process that calls this may take."""
    for what, most in (
        (resource.RLIMIT_AS, MOST_MEMORY),
        (resource.RLIMIT_CORE, 0),
        (resource.RLIMIT_CPU, int(seconds)),
    ):
        resource.setrlimit(what, (most, most))


def used_by_group(group: int) -> int:
    """The ticks of a processor that a group of processes has used so far."""
    ticks = 0
    for stat in Path("/proc").glob("[0-9]*/stat"):
        try:
            fields = stat.read_text().rpartition(")")[2].split()
        except OSError:  # it has ended meanwhile
            continue
        if int(fields[2]) == group:
            ticks += sum(int(field) for field in fields[11:15])
    return ticks


def wait_for(pid: int) -> bool:
    """Whether a child, the first of its group, ends before its group has stood still.
    It stays to be waited for, so that its number is its own."""
    used, since = -1, time.monotonic()
    pause = 0.02
    while os.waitid(os.P_PID, pid, os.WEXITED | os.WNOHANG | os.WNOWAIT) is None:
        time.sleep(pause)
        pause = min(pause * 1.2, 2)
        if pause == 2 and (now := used_by_group(pid)) != used:
            used, since = now, time.monotonic()
        if time.monotonic() - since > IDLE_SECONDS:
            return False
    return True


class Tree:
    """The project's files in `path`, built there by the release preset."""

    def __init__(self, root: Path, path: Path, jobs: int):
        self.root, self.path, self.jobs = root, path, jobs
        self.build_folder = path / "build/release"
        # Tests write many small files; those of this tree have a folder of their own.
        memory = os.environ.get("TMPDIR") or "/dev/shm"
        self.scratch = Path(memory) / f"mutants.{os.getpid()}.{path.name}"
        self.log = path / "build/last.log"
        self.limits: dict[str, float] = {}


    # --- making the tree --------------------------------------------------------

    def refresh(self) -> None:
        """Takes over what has changed in the project, and undoes a fault left here."""
        names = project_files(self.root)
        for name in names:
            copy_if_other(self.root / name, self.path / name)
        for folder in {name.split("/")[0] for name in names if "/" in name}:
            for file in (self.path / folder).rglob("*"):
                if file.is_file() and not (self.root / file.relative_to(self.path)).is_file():
                    file.unlink()

    def configure(self) -> None:
        self.path.joinpath("build").mkdir(parents=True, exist_ok=True)
        if self.call(["cmake", "--preset", "release"]) != 0:
            raise SystemExit(f"mutants: the build cannot be configured; see {self.log}")

    def compiler_calls(self) -> Path:
        return self.build_folder / "compile_commands.json"

    def build(self, *targets: str) -> bool:
        words = ["cmake", "--build", str(self.build_folder), "--parallel", str(self.jobs)]
        return self.call([*words, "--target", *targets]) == 0

    def call(self, words: list[str]) -> int:
        with self.log.open("wb") as log:
            return subprocess.call(words, cwd=self.path, stdout=log, stderr=log)

    # --- running programs --------------------------------------------------------

    def run(self, program: Program, tests: str = "*") -> str:
        """What a program finds: the name of a test, "time", or nothing."""
        words = list(program.words) + ([f"--gtest_filter={tests}"] if tests != "*" else [])
        limit = self.limits.get(program.name, MOST_SECONDS)
        shutil.rmtree(self.scratch, ignore_errors=True)
        self.scratch.mkdir(parents=True)
        with self.log.open("wb") as log:
            running = subprocess.Popen(
                [str(self.build_folder / program.folder / program.name), *words],
                cwd=self.scratch, stdin=subprocess.DEVNULL, stdout=log, stderr=log,
                env=self.environment(), start_new_session=True, preexec_fn=lambda: bound(limit),
            )  # fmt: skip
            in_time = wait_for(running.pid)
            # With it ends what it has started.
            os.killpg(running.pid, signal.SIGKILL)
            status = running.wait()
        if not in_time or -status in OUT_OF_TIME:
            return "time"
        return "" if status == 0 else self.failed_test() or f"exit code {status}"

    def environment(self) -> dict[str, str]:
        folder = str(self.scratch)
        kept = {k: v for k, v in os.environ.items() if not k.startswith("XDG_")}
        return {**kept, "TMPDIR": folder, "HOME": folder}

    def failed_test(self) -> str:
        found = re.search(rb"\[  FAILED  \] ([\w./]+)", self.log.read_bytes())
        return found[1].decode() if found else ""

    def build_all(self) -> None:
        if not self.build(*(program.name for program in PROGRAMS)):
            raise SystemExit(f"mutants: without a fault this does not build; see {self.log}")

    def prove_sound(self) -> dict[str, float]:
        """Runs all without a fault; returns the seconds that each program may take with one."""
        limits = {}
        for program in PROGRAMS:
            begin = resource.getrusage(resource.RUSAGE_CHILDREN)
            found = self.run(program)
            if found:
                raise SystemExit(f"mutants: {program.name} fails without a fault: {found}")
            end = resource.getrusage(resource.RUSAGE_CHILDREN)
            used = end.ru_utime + end.ru_stime - begin.ru_utime - begin.ru_stime
            limits[program.name] = SLOWER * used + GRACE
        return limits

    # --- faults -------------------------------------------------------------------

    def try_fault(self, fault: Fault, source: bytes) -> Outcome:
        """Plants a fault and runs programs until one finds it. The fault stays planted:
        the next one in the same file needs no build of the file as it was."""
        (self.path / fault.file).write_bytes(fault.plant(source))
        first = first_try(self.root, fault.file)
        rest = [(program, "*") for program in PROGRAMS]
        for program, what in [first, *(one for one in rest if one != first)]:
            if not self.build(program.name):
                return Outcome("does not build")
            found = self.run(program, what)
            if found:
                return Outcome("killed", found if found == "time" else f"{program.name} {found}")
        return Outcome("survived")

    def restore(self, file: str) -> None:
        shutil.copy(self.root / file, self.path / file)

#!/usr/bin/env python3
"""Proves the suite: plants small faults in src/, one at a time, and tells which of them no test sees.

Usage: mutate.py [COUNT] [--only PATH]... [--seed N] [--workers N]

Faults are drawn by a hash with a fixed seed, so that a run can be repeated: comparisons turned, operators exchanged,
numbers one too high, sums one short, error codes turned into success, statements dropped. Each is built in a copy of
the tree under build/mutation; one that does not compile does not count. Fails where less than nine tenths are caught.
"""

import argparse
import hashlib
import queue
import re
import subprocess
import sys
import threading
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
SCRATCH = ROOT / "build" / "mutation"
TIMEOUT = 120  # Seconds; a fault that makes the suite hang is caught.

# Slow sweeps run when the rest has seen nothing.
SLOW = "Failures.*:Budgets.*"

EXCHANGES = [
    (r" < ", " <= "), (r" <= ", " < "), (r" > ", " >= "), (r" >= ", " > "), (r" == ", " != "), (r" != ", " == "),
    (r" && ", " || "), (r" \|\| ", " && "), (r" [+-] 1\b", ""), (r" \+ ", " - "), (r" - ", " + "), (r"!(?=[A-Za-z(])", ""),
    (r"\b(E|ZSE)_[A-Z_]+\b", "S_OK"), (r"\btrue\b", "false"), (r"\bfalse\b", "true"),
]
NUMBER = re.compile(r"(?<![\w.'\"])(0x[0-9A-Fa-f]+|0|[1-9]\d*)(?=[UL]*(?![\w.'\"]))")
# A call or an assignment that stands alone on its line; a declaration, a jump or a part of something longer does not.
STATEMENT = re.compile(r"^\s+(?!return|break|continue|throw|using|case|default|goto|else|delete|static|const|auto|co_)"
                       r"(?:[\w:>.\[\]*()-]+(?:\([^;]*\))|[\w:>.\[\]*()-]+ [|&+-]?= [^;]+|\+\+[\w.]+);\s*$")
# What shows in no run: checks of the compiler, templates, and declarations.
LEFT_OUT = re.compile(r"^\s*(#|//|/\*|\*|static_assert|template|using |class |struct |enum |case .*:$)|= 0;|= delete|= default|operator")


def code_of(line):
    """The line without comment and with its texts blanked, so that columns stay."""
    line = re.sub(r'"(?:\\.|[^"\\])*"', lambda m: '"' + "_" * (len(m[0]) - 2) + '"', line)
    line = re.sub(r"'(?:\\.|[^'\\])+'", lambda m: "'" + "_" * (len(m[0]) - 2) + "'", line)
    return re.sub(r"//.*", lambda m: " " * len(m[0]), line)


def faults_of(path):
    """Every fault that can be planted in a file, as (path, line's index, its text with the fault)."""
    faults = []
    lines = path.read_text().split("\n")
    for index, line in enumerate(lines):
        if LEFT_OUT.search(line):
            continue
        code = code_of(line)
        for pattern, replacement in EXCHANGES:
            faults += [(path, index, line[:m.start()] + replacement + line[m.end():]) for m in re.finditer(pattern, code)]
        for m in NUMBER.finditer(code):
            faults.append((path, index, f"{line[:m.start()]}{int(m[0], 0) + 1}{line[m.end():]}"))
        whole = index > 0 and re.search(r"[;{}:]\s*$|^\s*$|//", lines[index - 1])
        if whole and STATEMENT.match(code) and code.count("(") == code.count(")"):
            faults.append((path, index, re.sub(r"\S.*", ";", line)))
    return faults


def draw(paths, count, seed):
    """The faults whose hashes come first, at most one for each line: a change of the code leaves most of them."""
    def order(fault):
        path, index, text = fault
        return hashlib.sha256(f"{seed} {path.relative_to(ROOT)} {text.strip()}".encode()).digest()

    chosen, lines = [], set()
    for fault in sorted((fault for path in paths for fault in faults_of(path)), key=order):
        if fault[:2] not in lines and len(chosen) < count:
            chosen.append(fault)
            lines.add(fault[:2])
    return chosen


class Worker:
    """A copy of the tree with its own build."""

    def __init__(self, number):
        self.folder = SCRATCH / str(number)
        self.build = self.folder / "build"
        tree = subprocess.run(["git", "ls-files"], cwd=ROOT, check=True, capture_output=True, text=True).stdout
        self.folder.mkdir(parents=True, exist_ok=True)
        subprocess.run(["rsync", "-rlp", "--checksum", "--files-from=-", f"{ROOT}/", f"{self.folder}/"],
                       input=tree, text=True, check=True)
        # Optimised little, and without a guard that would catch a fault before a test does: what a test sees, counts.
        subprocess.run(["cmake", "-S", self.folder, "-B", self.build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug",
                        "-DCMAKE_CXX_FLAGS=-O1 -g0", "-DCMAKE_CXX_COMPILER_LAUNCHER=ccache"],
                       check=True, capture_output=True)
        if not self.compiles():
            sys.exit("the tree does not build")
        if verdict := self.run_suite():
            sys.exit(f"the suite fails without a fault: {verdict}")

    def compiles(self):
        built = subprocess.run(["ninja", "-C", self.build, "imagefile_tests"], capture_output=True, text=True)
        return built.returncode == 0

    def run_suite(self):
        """The first test that fails, or nothing."""
        for choice in (f"-{SLOW}", SLOW):
            try:
                run = subprocess.run([self.build / "tests" / "imagefile_tests", "--gtest_fail_fast", "--gtest_brief=1",
                                      f"--gtest_filter={choice}"], cwd=self.build, stdin=subprocess.DEVNULL,
                                     capture_output=True, text=True, errors="replace", timeout=TIMEOUT)
            except subprocess.TimeoutExpired:
                return "hangs"
            if run.returncode:
                failed = re.search(r"\[  FAILED  \] (\S+)", run.stdout)
                return failed[1].rstrip(",") if failed else "crashes"
        return None

    def try_fault(self, fault):
        """'no build', 'survived', or what caught the fault."""
        path, index, text = fault
        copy = self.folder / path.relative_to(ROOT)
        whole = path.read_text()
        lines = whole.split("\n")
        lines[index] = text
        try:
            copy.write_text("\n".join(lines))
            return (self.run_suite() or "survived") if self.compiles() else "no build"
        finally:
            copy.write_text(whole)


def main():
    parser = argparse.ArgumentParser(description="Plants faults in src/ and runs the suite on each.")
    parser.add_argument("count", type=int, nargs="?", default=120)
    parser.add_argument("--only", action="append", default=[], help="a folder or file of src/ to plant faults in")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--workers", type=int, default=2)
    options = parser.parse_args()

    paths = sorted(path for path in (ROOT / "src").rglob("*") if path.suffix in (".cpp", ".h"))
    if options.only:
        paths = [path for path in paths if any(str(path.relative_to(ROOT)).startswith(only) for only in options.only)]
    waiting = queue.Queue()
    for fault in draw(paths, options.count, options.seed):
        waiting.put(fault)
    results, lock = [], threading.Lock()

    def work(worker):
        while True:
            try:
                fault = waiting.get_nowait()
            except queue.Empty:
                return
            verdict = worker.try_fault(fault)
            path, index, text = fault
            with lock:
                results.append(verdict)
                before = path.read_text().split("\n")[index].strip()
                print(f"{verdict}: {path.relative_to(ROOT)}:{index + 1}: {before} -> {text.strip()}", flush=True)

    threads = [threading.Thread(target=work, args=(worker,)) for worker in map(Worker, range(options.workers))]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    counted = [verdict for verdict in results if verdict != "no build"]
    survived = counted.count("survived")
    print(f"mutants: {len(counted)} built, {len(counted) - survived} caught, {survived} survived")
    return 0 if survived * 10 <= len(counted) else 1


if __name__ == "__main__":
    sys.exit(main())

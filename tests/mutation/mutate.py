#!/usr/bin/env python3
"""Plants small faults in src/, one at a time, and reports which of them no test catches.

Usage: mutate.py [COUNT] [--only PATH]...

A fault exchanges an operator, adds 1 to a number, drops a "+ 1", turns an error code into success or drops a statement.
A hash with a fixed seed chooses the faults, so that a run can be repeated. Each fault is built in a copy of the tree
under build/mutation; one that does not compile is not counted. Fails if the tests catch less than nine tenths.
"""

import argparse
import hashlib
import os
import queue
import re
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
TIMEOUT = 120  # Seconds; a fault that makes the suite hang is caught.

# Slow tests, which run after the others have passed.
SLOW = "Failures.*:Budgets.*"

EXCHANGES = [
    (r" < ", " <= "), (r" <= ", " < "), (r" > ", " >= "), (r" >= ", " > "), (r" == ", " != "), (r" != ", " == "),
    (r" && ", " || "), (r" \|\| ", " && "), (r" [+-] 1\b", ""), (r" \+ ", " - "), (r" - ", " + "), (r"!(?=[A-Za-z(])", ""),
    (r"\b(E|ZSE)_[A-Z_]+\b", "S_OK"), (r"\btrue\b", "false"), (r"\bfalse\b", "true"),
]
NUMBER = re.compile(r"(?<![\w.'\"])(0x[0-9A-Fa-f]+|0|[1-9]\d*)(?=[UL]*(?![\w.'\"]))")
# A call or an assignment on a line of its own, but no declaration, jump or part of a longer statement.
STATEMENT = re.compile(r"^\s+(?!return|break|continue|throw|using|case|default|goto|else|delete|static|const|auto|co_)"
                       r"(?:[\w:>.\[\]*()-]+(?:\([^;]*\))|[\w:>.\[\]*()-]+ [|&+-]?= [^;]+|\+\+[\w.]+);\s*$")
# Lines in which a fault has no effect at run time.
LEFT_OUT = re.compile(r"^\s*(#|//|/\*|\*|static_assert|template|using |class |struct |enum |case .*:$)|= 0;|= delete|= default|operator")


def code_of(line):
    """Returns a line with its literals and comments blanked. Columns do not change."""
    line = re.sub(r'"(?:\\.|[^"\\])*"', lambda m: '"' + "_" * (len(m[0]) - 2) + '"', line)
    line = re.sub(r"'(?:\\.|[^'\\])+'", lambda m: "'" + "_" * (len(m[0]) - 2) + "'", line)
    return re.sub(r"//.*", lambda m: " " * len(m[0]), line)


def faults_of(path):
    """Returns every fault that a file can have, as (path, index of the line, text of the line with the fault)."""
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


def choose(paths, count):
    """Returns the faults with the lowest hashes, at most one a line. Most of them stay when the code changes."""
    def order(fault):
        path, index, text = fault
        return hashlib.sha256(f"1 {path.relative_to(ROOT)} {text.strip()}".encode()).digest()

    chosen, lines = [], set()
    for fault in sorted((fault for path in paths for fault in faults_of(path)), key=order):
        if fault[:2] not in lines and len(chosen) < count:
            chosen.append(fault)
            lines.add(fault[:2])
    return chosen


class Worker:
    """A copy of the tree with its own build."""

    def __init__(self, number):
        self.folder = ROOT / "build/mutation" / str(number)
        self.build = self.folder / "build"
        tree = subprocess.run(["git", "ls-files"], cwd=ROOT, check=True, capture_output=True, text=True).stdout
        self.folder.mkdir(parents=True, exist_ok=True)
        subprocess.run(["rsync", "-rlp", "--checksum", "--files-from=-", f"{ROOT}/", f"{self.folder}/"],
                       input=tree, text=True, check=True)
        # Without sanitizers and hardening, which would catch a fault before a test does.
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
        """Returns the first test that fails, or None."""
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
        """Prints and returns 'no build', 'survived', or what caught the fault."""
        path, index, text = fault
        name = path.relative_to(ROOT)
        whole = path.read_text()
        lines = whole.split("\n")
        before, lines[index] = lines[index].strip(), text
        (self.folder / name).write_text("\n".join(lines))
        verdict = (self.run_suite() or "survived") if self.compiles() else "no build"
        (self.folder / name).write_text(whole)
        print(f"{verdict}: {name}:{index + 1}: {before} -> {text.strip()}", flush=True)
        return verdict


def main():
    parser = argparse.ArgumentParser(description="Plants faults in src/ and runs the suite on each.")
    parser.add_argument("count", type=int, nargs="?", default=120)
    parser.add_argument("--only", action="append", default=[], help="a folder or file of src/ to plant faults in")
    options = parser.parse_args()

    paths = sorted(path for path in (ROOT / "src").rglob("*") if path.suffix in (".cpp", ".h"))
    if options.only:
        paths = [path for path in paths if any(str(path.relative_to(ROOT)).startswith(only) for only in options.only)]
    free = queue.Queue()
    for number in range(os.cpu_count()):
        free.put(Worker(number))

    def try_fault(fault):
        worker = free.get()
        try:
            return worker.try_fault(fault)
        finally:
            free.put(worker)

    with ThreadPoolExecutor(os.cpu_count()) as pool:
        results = list(pool.map(try_fault, choose(paths, options.count)))
    built = [verdict for verdict in results if verdict != "no build"]
    survived = built.count("survived")
    print(f"mutants: {len(built)} built, {len(built) - survived} caught, {survived} survived")
    return 0 if survived * 10 <= len(built) else 1


if __name__ == "__main__":
    sys.exit(main())

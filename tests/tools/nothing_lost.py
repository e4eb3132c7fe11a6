#!/usr/bin/env python3
"""Runs every command that writes where it must fail, and compares the folder before and after: nothing_lost.py ZSIMAGE...

Nothing that was there may be lost or changed, and of a new file or set of files all is there or nothing. The commands
meet targets that exist, that are write-protected or folders, a full disk, and signals at three moments.
"""
import contextlib
import os
import resource
import signal
import subprocess
import sys
import tempfile
import time
from pathlib import Path

# What each command writes, with its arguments. Sets are written whole or not at all.
COMMANDS = {
    "extract disc.cue --track 2 -o out/track": ["track"],
    "extract disc.cue --all out": ["session-1-track-01.bin", "session-1-track-02.bin"],
    "convert disc.cue out/new.cue --with-data": ["NEW.BIN", "NEW.CDT", "new.cue"],
    "convert disc.cue out/new.zsi --with-data": ["NEW.BIN", "new.zsi"],
    "convert disc.cue out/new.cue --no-cdtext": ["new.cue"],
    "cdtext encode disc.cue -o out/packs": ["packs"],
    "map disc.cue -o out/map.svg": ["map.svg"],
}
LONG_COMMANDS = {
    "extract long.cue --track 1 -o out/track": ["track"],
    "extract long.cue --all out": ["session-1-track-01.bin"],
    "convert long.cue out/new.cue --with-data": ["NEW.BIN", "new.cue"],
}
LONG = 2352 << 24  # Bytes of a sparse image that no machine copies before a signal arrives.
faults = 0


def run(command, **options):
    return subprocess.run(ZSIMAGE + command.split(), stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, **options)


def content(folder="out"):
    """Each file and folder with its permissions and its bytes."""
    return {str(path): (path.lstat().st_mode, path.read_bytes() if path.is_file() else b"")
            for path in [Path(folder), *Path(folder).rglob("*")]}


def expect(what, command, holds, result):
    global faults
    if not holds:
        faults += 1
        print(f"{what}: {command}\n  ended with {result.returncode}: {result.stderr}  the folder has {sorted(content())}")


def fill(names, mode=0o640):
    """An empty folder but for old files of these names."""
    os.chmod("out", 0o755)
    for path in Path("out").iterdir():
        path.rmdir() if path.is_dir() else path.unlink()
    for name in names:
        Path("out", name).write_text(f"old {name}")
        os.chmod(f"out/{name}", mode)
    return content()


def expect_kept(what, command, before, result, status=1):
    expect(what, command, result.returncode == status and "zsimage: " in result.stderr and content() == before, result)


def replaced(fresh):
    """What --force makes of old files: new bytes, old permissions."""
    return {path: (mode if path == "out" else mode & ~0o777 | 0o640, data) for path, (mode, data) in fresh.items()}


def try_existing(command, names, fresh):
    for name in names:
        before = fill([name])
        expect_kept("a target that exists", command, before, run(command))
    before = fill([])
    (Path("out") / names[-1]).mkdir()
    expect_kept("a folder", command, content(), run(command + " --force"))
    fill(names)
    result = run(command + " --force")
    expect("--force", command, result.returncode == 0 and content() == replaced(fresh), result)


def try_stale_text(command):
    for force, kept in (("", True), (" --force", False)):
        before = fill(["New.cdt"])
        result = run(command + force)
        expect("a stale .cdt", command, content() == before if kept else not Path("out/New.cdt").exists(), result)


def try_write_protected(command, names):
    # Root may write anywhere, unless it gives its rights away, which not every container lets it.
    without = ["setpriv", "--bounding-set=-all", "--inh-caps=-all"] if os.getuid() == 0 else []
    fill(names, 0o440)
    if subprocess.call(" ".join(without) + f" test -w out/{names[0]}", shell=True) != 1:
        print("skipped: files that root may not write")
        return
    for folder in (0o755, 0o555):
        os.chmod("out", folder)
        before = content()
        result = subprocess.run(without + ZSIMAGE + (command + " --force").split(), stdout=subprocess.DEVNULL,
                                stderr=subprocess.PIPE, text=True)
        expect_kept("write-protected", command, before, result)


def try_full_disk(command, names, fresh):
    size = max(len(data) for _, data in fresh.values())
    for limit in (0, 1, size // 3, size - 1):
        before = fill(names)
        limits = lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit))
        result = run(command + " --force", preexec_fn=limits)
        if "--all" in command:  # Whole tracks are kept.
            before = {path: old if content()[path] == old else replaced(fresh)[path] for path, old in before.items()}
        expect_kept(f"no file above {limit} bytes", command, before, result)
    if subprocess.call("mount -t tmpfs -o size=68k tmpfs out 2>/dev/null", shell=True) != 0:
        return  # Not every machine lets one mount; the limits above stand in.
    try:
        fill(names)
        with open("out/filling", "wb", buffering=0) as filling, contextlib.suppress(OSError):
            while filling.write(bytes(4096)):
                pass
        before = content()
        result = run(command + " --force")
        expect_kept("a full disk", command, before, result)
    finally:
        subprocess.check_call(["umount", "out"])


def try_registry():
    """The registry is changed and not replaced, so it needs no --force; what it cannot read it leaves alone."""
    os.environ["IMAGEFILE_REGISTRY"] = "out/registry.reg"
    before = fill(["registry.reg"])
    expect_kept("no registry file", "register", before, run("register"))
    fill([])
    expect("a new registry", "register", run("register").returncode == 0, run("register"))
    before = content()
    for limit in (0, 1, 100):
        limits = lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit))
        expect_kept(f"no file above {limit} bytes", "unregister", before, run("unregister", preexec_fn=limits))


def try_signals(command, names, fresh):
    """At any time: the old files or the new ones."""
    for delay in (0.01, 0.03, 0.05):
        before = fill(names)
        process = subprocess.Popen(ZSIMAGE + (command + " --force").split(), stdout=subprocess.DEVNULL,
                                   stderr=subprocess.PIPE, text=True)
        time.sleep(delay)
        process.terminate()
        process.returncode, process.stderr = process.wait(), process.stderr.read()
        expect(f"SIGTERM after {delay} s", command, content() in (before, replaced(fresh)), process)


def try_signals_while_writing(command, names):
    for number, written in ((signal.SIGINT, 0), (signal.SIGTERM, 1 << 20), (signal.SIGHUP, 32 << 20)):
        before = fill(names)
        process = subprocess.Popen(ZSIMAGE + (command + " --force").split(), stdout=subprocess.DEVNULL,
                                   stderr=subprocess.PIPE, text=True)
        deadline = time.monotonic() + 20
        while not any(path.stat().st_size >= written for path in Path("out").glob(".zsimage-*")):
            if process.poll() is not None or time.monotonic() > deadline:
                process.kill()
                break
            time.sleep(0.001)
        process.send_signal(number)
        process.returncode, process.stderr = process.wait(), process.stderr.read()
        expect_kept(f"{number.name} after {written} bytes", command, before, process, 130)


def main():
    sheet = 'TITLE "Album"\nFILE "{}" BINARY\nTRACK 01 AUDIO\nINDEX 01 00:00:00\n'
    Path("disc.bin").write_bytes(os.urandom(20 * 2352))
    Path("disc.cue").write_text(sheet.format("disc.bin") + "TRACK 02 AUDIO\nINDEX 01 00:00:05\n")
    Path("long.cue").write_text(sheet.format("long.bin").replace("TITLE", "REM"))
    os.truncate(os.open("long.bin", os.O_CREAT | os.O_WRONLY), LONG)
    os.mkdir("out")
    for command, names in COMMANDS.items():
        fill([])
        result = run(command)
        fresh = content()
        expect("a new file", command, result.returncode == 0 and sorted(fresh) == ["out", *(f"out/{n}" for n in names)], result)
        try_existing(command, names, fresh)
        try_full_disk(command, names, fresh)
        if "--all" not in command:
            try_signals(command, names, fresh)
        try_write_protected(command, names)
    try_registry()
    try_stale_text("convert disc.cue out/new.cue --no-cdtext")
    try_stale_text("convert disc.cue out/new.cue")
    for command, names in LONG_COMMANDS.items():
        try_signals_while_writing(command, names)
    print(f"{faults} faults")
    return 1 if faults else 0


ZSIMAGE = sys.argv[1:]
with tempfile.TemporaryDirectory() as scratch:
    os.chdir(scratch)
    sys.exit(main())

#!/usr/bin/env python3
"""Makes every command that writes fail, and compares the folder before and after: nothing_lost.py ZSIMAGE...

No old file may be lost or changed, and a new file or set of files is written whole or not at all. Commands fail because
targets exist, are folders or are write-protected, because the disk is full, and because of signals.
"""
import contextlib
import os
import resource
import shutil
import signal
import subprocess
import sys
import tempfile
import time
from pathlib import Path

# The files that each command writes.
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
# Root may read and write anywhere unless it drops its capabilities, which some containers do not allow.
UNPRIVILEGED = ["setpriv", "--bounding-set=-all", "--inh-caps=-all"] if os.getuid() == 0 else []
LONG = 2352 << 24  # Bytes of a sparse image, too many to copy before a signal arrives.
faults = 0


def start(command, limit=None, prefix=()):
    """Starts a command that may write files of up to `limit` bytes."""
    limits = None if limit is None else lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit))
    return subprocess.Popen([*prefix, *ZSIMAGE, *command.split()], stdout=subprocess.DEVNULL, stderr=subprocess.PIPE,
                            text=True, preexec_fn=limits)


def finish(process):
    """Waits for a command. Returns its status and messages."""
    return process.wait(), process.stderr.read()


def run(command, **options):
    return finish(start(command, **options))


def content():
    """Returns permissions and bytes of each file and folder, and of temporary ones."""
    return {str(path): (path.lstat().st_mode, path.read_bytes() if path.is_file() else b"")
            for path in [Path("out"), *Path("out").rglob("*"), *Path("temporary").rglob("*")]}


def expect(what, command, holds, result):
    global faults
    if not holds:
        faults += 1
        print(f"{what}: {command}\n  ended with {result[0]}: {result[1]}  the folder has {sorted(content())}")


def fill(names, mode=0o640):
    """Empties the folder and writes old files with these names. Returns the content."""
    os.chmod("out", 0o755)
    for path in Path("out").iterdir():
        path.rmdir() if path.is_dir() else path.unlink()
    for name in names:
        Path("out", name).write_text(f"old {name}")
        os.chmod(f"out/{name}", mode)
    return content()


def expect_kept(what, command, before, result, status=1):
    expect(what, command, result[0] == status and "zsimage: " in result[1] and content() == before, result)


def replaced(fresh):
    """Returns the content after --force: new bytes with the old permissions."""
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
    expect("--force", command, result[0] == 0 and content() == replaced(fresh), result)


def try_stale_text(command):
    for force, kept in (("", True), (" --force", False)):
        before = fill(["New.cdt"])
        result = run(command + force)
        expect("a stale .cdt", command, content() == before if kept else not Path("out/New.cdt").exists(), result)


def try_unreadable_text():
    """Texts that cannot be read make the command fail; they are not left out silently."""
    Path("disc.cdt").write_text("packs")
    os.chmod("disc.cdt", 0)
    before = fill([])
    if subprocess.call(" ".join(UNPRIVILEGED) + " test -r disc.cdt", shell=True) == 1:
        result = run("convert disc.cue out/new.cue", prefix=UNPRIVILEGED)
        expect_kept("texts that cannot be read", "convert", before, result)
        result = run("convert disc.cue out/new.cue --no-cdtext", prefix=UNPRIVILEGED)
        expect("texts that cannot be read", "convert --no-cdtext", result[0] == 0, result)
    os.unlink("disc.cdt")


def try_write_protected(command, names):
    fill(names, 0o440)
    if subprocess.call(" ".join(UNPRIVILEGED) + f" test -w out/{names[0]}", shell=True) != 1:
        print("skipped: files that root may not write")
        return
    for folder in (0o755, 0o555):
        os.chmod("out", folder)
        before = content()
        expect_kept("write-protected", command, before, run(command + " --force", prefix=UNPRIVILEGED))


def try_closed_pipe():
    """The buffer of standard output fills up, and its write fails, while later tracks are extracted."""
    Path("many.cue").write_text('FILE "disc.bin" BINARY\n' + "".join(
        f"TRACK {i} AUDIO\nINDEX 01 00:00:{i % 20:02}\n" for i in range(1, 100)))
    fill([f"session-1-track-{i:02}.bin" for i in range(1, 100)])
    reader, writer = os.pipe()
    os.close(reader)
    process = subprocess.Popen([*ZSIMAGE, "extract", "many.cue", "--all", "out", "-f"], stdout=writer,
                               stderr=subprocess.PIPE, text=True)
    os.close(writer)
    result = finish(process)
    expect("a closed pipe", "extract --all", not any(Path("out").glob(".*")), result)


def try_file_of_another_user():
    """In a folder such as /tmp, only the owner may replace a file, even if others may write it."""
    if os.getuid() != 0:
        return
    for path in (".", os.path.dirname(ZSIMAGE[-1])):
        os.chmod(path, os.stat(path).st_mode | 0o055)
    fill(["packs"])
    os.chmod("out", 0o1777)
    os.chmod("out/packs", 0o666)
    os.chown("out/packs", 1, 1)
    before = content()
    result = run("cdtext encode disc.cue -o out/packs -f", prefix=["setpriv", "--reuid=2", "--clear-groups"])
    expect_kept("a file of another user", "cdtext encode", before, result)
    expect("a file of another user", "cdtext encode", "belongs to another user" in result[1], result)


def try_full_disk(command, names, fresh):
    size = max(len(data) for _, data in fresh.values())
    for limit in (0, 1, size // 3, size - 1):
        before = fill(names)
        result = run(command + " --force", limit=limit)
        if "--all" in command:  # Whole tracks are kept.
            before = {path: old if content()[path] == old else replaced(fresh)[path] for path, old in before.items()}
        expect_kept(f"no file above {limit} bytes", command, before, result)
    if subprocess.call("mount -t tmpfs -o size=68k tmpfs out 2>/dev/null", shell=True) != 0:
        return  # Mounting is not permitted here. The limits above cover nearly the same.
    try:
        fill(names)
        with open("out/filling", "wb", buffering=0) as filling, contextlib.suppress(OSError):
            while filling.write(bytes(4096)):
                pass
        before = content()
        expect_kept("a full disk", command, before, run(command + " --force"))
    finally:
        subprocess.check_call(["umount", "out"])


def try_registry():
    """The registry file is changed in place without --force. A file that is no registry is kept."""
    os.environ["IMAGEFILE_REGISTRY"] = "out/registry.reg"
    before = fill(["registry.reg"])
    expect_kept("no registry file", "register", before, run("register"))
    fill([])
    result = run("register")
    expect("a new registry", "register", result[0] == 0, result)
    before = content()
    for limit in (0, 1, 100):
        expect_kept(f"no file above {limit} bytes", "unregister", before, run("unregister", limit=limit))


def try_signals(command, names, fresh):
    """After a signal at any time, the folder has the old files or the new ones."""
    for delay in (0.01, 0.03, 0.05):
        before, process = fill(names), start(command + " --force")
        time.sleep(delay)
        process.terminate()
        result = finish(process)
        expect(f"SIGTERM after {delay} s", command, content() in (before, replaced(fresh)), result)


def try_signals_while_rendering(command, names, fresh):
    """A temporary folder that exists at the time of a signal is removed."""
    for _ in range(5):
        before, process = fill(names), start(command + " --force")
        while process.poll() is None and not any(Path("temporary").iterdir()):
            pass
        process.send_signal(signal.SIGINT)
        result = finish(process)
        expect("SIGINT while rendering", command, content() in (before, replaced(fresh)), result)
        for folder in Path("temporary").iterdir():
            shutil.rmtree(folder)


def try_signals_while_writing(command, names):
    for number, written in ((signal.SIGINT, 0), (signal.SIGTERM, 1 << 20), (signal.SIGHUP, 32 << 20)):
        before, process = fill(names), start(command + " --force")
        deadline = time.monotonic() + 20
        while not any(path.stat().st_size >= written for path in Path("out").glob(".zsimage-*")):
            if process.poll() is not None or time.monotonic() > deadline:
                process.kill()
                break
            time.sleep(0.001)
        process.send_signal(number)
        expect_kept(f"{number.name} after {written} bytes", command, before, finish(process), 130)


def main():
    sheet = 'TITLE "Album"\nFILE "{}" BINARY\nTRACK 01 AUDIO\nINDEX 01 00:00:00\n'
    Path("disc.bin").write_bytes(os.urandom(20 * 2352))
    Path("disc.cue").write_text(sheet.format("disc.bin") + "TRACK 02 AUDIO\nINDEX 01 00:00:05\n")
    Path("long.cue").write_text(sheet.format("long.bin").replace("TITLE", "REM"))
    os.truncate(os.open("long.bin", os.O_CREAT | os.O_WRONLY), LONG)
    os.mkdir("out")
    os.mkdir("temporary")
    os.environ["TMPDIR"] = os.path.abspath("temporary")
    for command, names in COMMANDS.items():
        fill([])
        result = run(command)
        fresh = content()
        expect("a new file", command, result[0] == 0 and sorted(fresh) == ["out", *(f"out/{n}" for n in names)], result)
        try_existing(command, names, fresh)
        try_full_disk(command, names, fresh)
        if "--all" not in command:
            try_signals(command, names, fresh)
        if "convert" in command:
            try_signals_while_rendering(command, names, fresh)
        try_write_protected(command, names)
    try_registry()
    try_closed_pipe()
    try_file_of_another_user()
    try_unreadable_text()
    try_stale_text("convert disc.cue out/new.cue --no-cdtext")
    try_stale_text("convert disc.cue out/new.cue")
    for command, names in LONG_COMMANDS.items():
        try_signals_while_writing(command, names)
    print(f"{faults} faults")
    return 1 if faults else 0


ZSIMAGE = [*sys.argv[1:-1], os.path.abspath(sys.argv[-1])]
with tempfile.TemporaryDirectory() as scratch:
    os.chdir(scratch)
    sys.exit(main())

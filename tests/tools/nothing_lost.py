"""Makes every command that writes fail, and compares the folder before and after. ZSIMAGE has the words of the tool.

No old file may be lost or changed, and a new file or set of files is written whole or not at all. Commands fail because
targets exist, are folders or are write-protected, because the disk is full, and because of signals.
"""
import contextlib
import os
import resource
import shlex
import signal
import subprocess
import tempfile
import time
from pathlib import Path

import pytest

ZSIMAGE = shlex.split(os.environ["ZSIMAGE"])
SHEET = 'TITLE "Album"\nFILE "{}" BINARY\nTRACK 01 AUDIO\nINDEX 01 00:00:00\n'
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


@pytest.fixture(autouse=True)
def work(monkeypatch):
    """Runs each test in a folder of its own with two images."""
    with tempfile.TemporaryDirectory() as folder:
        monkeypatch.chdir(folder)
        monkeypatch.setenv("TMPDIR", f"{folder}/temporary")
        os.mkdir("temporary")
        os.mkdir("out")
        Path("disc.bin").write_bytes(os.urandom(20 * 2352))
        Path("disc.cue").write_text(SHEET.format("disc.bin") + "TRACK 02 AUDIO\nINDEX 01 00:00:05\n")
        Path("long.cue").write_text(SHEET.format("long.bin").replace("TITLE", "REM"))
        Path("long.bin").touch()
        os.truncate("long.bin", LONG)
        yield
        os.chmod("out", 0o755)


@pytest.fixture
def fresh(command, names):
    """Runs a command in the empty folder. Returns the content."""
    result = run(command)
    assert (result[0], sorted(content())) == (0, ["out", *(f"out/{name}" for name in names)]), result
    return content()


each_command = pytest.mark.parametrize("command, names", COMMANDS.items())


def start(command, limit=resource.RLIM_INFINITY, prefix=()):
    """Starts a command that may write files of up to `limit` bytes."""
    return subprocess.Popen([*prefix, *ZSIMAGE, *command.split()], stdout=subprocess.DEVNULL, stderr=subprocess.PIPE,
                            text=True, preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit)))


def finish(process):
    """Waits for a command. Returns its status and messages."""
    return process.wait(), process.stderr.read()


def run(command, **options):
    return finish(start(command, **options))


def content():
    """Returns permissions and bytes of each file and folder, and of temporary ones."""
    return {str(path): (path.lstat().st_mode, path.read_bytes() if path.is_file() else b"")
            for path in [Path("out"), *Path("out").rglob("*"), *Path("temporary").rglob("*")]}


def fill(names, mode=0o640):
    """Empties the folder and writes old files with these names. Returns the content."""
    os.chmod("out", 0o755)
    for path in Path("out").iterdir():
        path.rmdir() if path.is_dir() else path.unlink()
    for name in names:
        Path("out", name).write_text(f"old {name}")
        os.chmod(f"out/{name}", mode)
    return content()


def expect_kept(before, result, status=1):
    assert result[0] == status and "zsimage: " in result[1], result
    assert content() == before


def replaced(fresh):
    """Returns the content after --force: new bytes with the old permissions."""
    return {path: (mode if path == "out" else mode & ~0o777 | 0o640, data) for path, (mode, data) in fresh.items()}


def after_failure(command, before, fresh):
    """Returns the content to expect: the old files, and the tracks that were written whole by a command with --all."""
    whole = replaced(fresh) if "--all" in command else before
    return {path: whole[path] if content().get(path) == whole[path] else old for path, old in before.items()}


def can(test, path):
    """Returns whether a test of a file holds for a user without privileges."""
    return subprocess.call([*UNPRIVILEGED, "test", test, path]) == 0


@each_command
def test_existing_targets_are_replaced_with_force_only(command, names, fresh):
    for name in names:
        before = fill([name])
        expect_kept(before, run(command))
    fill([])
    (Path("out") / names[-1]).mkdir()
    expect_kept(content(), run(command + " --force"))
    fill(names)
    assert run(command + " --force")[0] == 0
    assert content() == replaced(fresh)


@pytest.mark.parametrize("options", ["", " --no-cdtext"])
def test_stale_text_goes_with_force_only(options):
    before = fill(["New.cdt"])
    run(f"convert disc.cue out/new.cue{options}")
    assert content() == before
    run(f"convert disc.cue out/new.cue{options} --force")
    assert not Path("out/New.cdt").exists()


def test_texts_that_cannot_be_read_are_not_left_out_silently():
    Path("disc.cdt").write_text("packs")
    os.chmod("disc.cdt", 0)
    if can("-r", "disc.cdt"):
        pytest.skip("root may read every file")
    before = content()
    expect_kept(before, run("convert disc.cue out/new.cue", prefix=UNPRIVILEGED))
    assert run("convert disc.cue out/new.cue --no-cdtext", prefix=UNPRIVILEGED)[0] == 0


@each_command
def test_write_protected_files_are_kept(command, names):
    fill(names, 0o440)
    if can("-w", f"out/{names[0]}"):
        pytest.skip("root may write every file")
    for folder in (0o755, 0o555):
        os.chmod("out", folder)
        expect_kept(content(), run(command + " --force", prefix=UNPRIVILEGED))


def test_closed_pipe_leaves_no_temporary_file():
    """The buffer of standard output fills up, and its write fails, while later tracks are extracted."""
    Path("many.cue").write_text('FILE "disc.bin" BINARY\n' + "".join(
        f"TRACK {i} AUDIO\nINDEX 01 00:00:{i % 20:02}\n" for i in range(1, 100)))
    fill([f"session-1-track-{i:02}.bin" for i in range(1, 100)])
    reader, writer = os.pipe()
    os.close(reader)
    subprocess.call([*ZSIMAGE, "extract", "many.cue", "--all", "out", "-f"], stdout=writer, stderr=subprocess.DEVNULL)
    os.close(writer)
    assert not any(Path("out").glob(".*"))


@pytest.mark.skipif(os.getuid() != 0, reason="needs root")
def test_file_of_another_user_is_kept():
    """In a folder such as /tmp, only the owner may replace a file, even if others may write it."""
    for path in (".", os.path.dirname(ZSIMAGE[-1])):
        os.chmod(path, os.stat(path).st_mode | 0o055)
    fill(["packs"])
    os.chmod("out", 0o1777)
    os.chmod("out/packs", 0o666)
    os.chown("out/packs", 1, 1)
    before = content()
    result = run("cdtext encode disc.cue -o out/packs -f", prefix=["setpriv", "--reuid=2", "--clear-groups"])
    expect_kept(before, result)
    assert "belongs to another user" in result[1]


@each_command
def test_full_disk_keeps_old_files(command, names, fresh):
    size = max(len(data) for _, data in fresh.values())
    for limit in (0, 1, size // 3, size - 1):
        before, result = fill(names), run(command + " --force", limit=limit)
        expect_kept(after_failure(command, before, fresh), result)
    if subprocess.call("mount -t tmpfs -o size=68k tmpfs out 2>/dev/null", shell=True) != 0:
        return  # Mounting is not permitted here. The limits above cover nearly the same.
    try:  # The last file of a set may be the one that does not fit.
        fill(names)
        with open("out/filling", "wb", buffering=0) as filling, contextlib.suppress(OSError):
            while filling.write(bytes(4096)):
                pass
        expect_kept(content(), run(command + " --force"))
    finally:
        subprocess.check_call(["umount", "out"])

def test_registry_file_is_changed_in_place_unless_it_is_none(monkeypatch):
    monkeypatch.setenv("IMAGEFILE_REGISTRY", "out/registry.reg")
    before = fill(["registry.reg"])
    expect_kept(before, run("register"))
    fill([])
    assert run("register")[0] == 0
    before = content()
    for limit in (0, 1, 100):
        expect_kept(before, run("unregister", limit=limit))


@each_command
def test_signal_at_any_time_leaves_old_or_new_files(command, names, fresh):
    for delay in (0.01, 0.03, 0.05, *[None] * 5):  # None: until the temporary folder of a new description exists.
        before, process = fill(names), start(command + " --force")
        while delay is None and process.poll() is None and not any(Path("temporary").iterdir()):
            pass
        time.sleep(delay or 0)
        process.send_signal(signal.SIGTERM if delay else signal.SIGINT)
        process.communicate()
        assert content() in (after_failure(command, before, fresh), replaced(fresh)), delay


@pytest.mark.parametrize("command, names", LONG_COMMANDS.items())
@pytest.mark.parametrize("number, written", [(signal.SIGINT, 0), (signal.SIGTERM, 1 << 20), (signal.SIGHUP, 32 << 20)])
def test_signal_while_writing_keeps_old_files(command, names, number, written):
    before, process = fill(names), start(command + " --force")
    deadline = time.monotonic() + 20
    while not any(path.stat().st_size >= written for path in Path("out").glob(".zsimage-*")):
        if process.poll() is not None or time.monotonic() > deadline:
            process.kill()
            break
        time.sleep(0.001)
    process.send_signal(number)
    expect_kept(before, finish(process), 130)

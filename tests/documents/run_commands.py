#!/usr/bin/env python3
"""Holds the documents to what they say, in a scratch folder with an installed package: run_commands.py BUILD

- A fenced `sh` block is a list of commands, each of which must succeed.
- A `console` block has commands behind "$ ", and what each prints. A line "..." stands for any lines.
- A command with "# exit status N" behind it must end with N.
- A `cpp` or `python` block that begins with the comment "// name.cpp: ..." or "# name.py: ..." becomes that file;
  commands behind it compile or run it. Any other block of these stands in the sources as it is here.
- The `pycon` blocks of a document are one session of the interpreter, whose output is compared.
- `./dev COMMAND` is not run: the command must be one of those that ./dev lists, and CONTRIBUTING.md must tell of all.
- Links and paths of the project must lead somewhere.
"""
import os
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

PROJECT = Path(__file__).resolve().parents[2]
FOLDERS = "bench|bindings|cmake|docs|examples|fuzz|samples|src|tests|tools"
# The images that the documents call disc.*, and the samples that they are.
DISC = {"disc.cue": "album.cue", "disc.bin": "album.bin", "disc.cdt": "album.cdt", "disc.nrg": "cdplus.nrg",
        "disc.mds": "inline.mds", "disc.mdf": "inline.mdf", "disc.ccd": "sessions.ccd", "disc.img": "sessions.img"}


def output_of(*command):
    return subprocess.run(command, cwd=PROJECT, stdout=subprocess.PIPE, text=True, check=True).stdout


def files(*patterns):
    names = output_of("git", "ls-files", "-co", "--exclude-standard", *patterns).splitlines()
    return [path for path in map(PROJECT.joinpath, names) if path.is_file()]


def install(build, prefix):
    output_of("cmake", "--install", build, "--prefix", prefix)
    pkgconfig = next(prefix.rglob("imagefile.pc")).parent
    return dict(os.environ, PATH=f"{prefix}/bin:/usr/bin:{os.environ['PATH']}", PKG_CONFIG_PATH=str(pkgconfig),
                LD_LIBRARY_PATH=str(pkgconfig.parent), IMAGEFILE_REGISTRY=str(prefix / "registry.reg"),
                PYTHONPATH=str(prefix / "lib/python3/dist-packages"))


def fill(work):
    """Puts in place what the documents speak of."""
    samples = shutil.copytree(PROJECT / "samples/images", work / "samples/images")
    shutil.copytree(PROJECT / "bindings/python", work / "bindings/python")
    for name, sample in DISC.items():
        shutil.copy(samples / sample, work / name)
    (work / "disc.cue").write_text((work / "disc.cue").read_text().replace("ALBUM", "disc"))
    (work / "dev").symlink_to("/bin/true")


def commands(language, block):
    """Place of each command in a block, the command, and what it prints: None where the block does not say."""
    pattern = {"sh": r"^()(.+)\n", "console": r"^()\$ (.*)\n((?:(?!\$ ).*\n)*)"}.get(language, "(?!)")
    for found in re.finditer(pattern, block, re.M):
        yield block.count("\n", 0, found.start()), found[2], found[3] if language == "console" else None


def prints(expected, found):
    pattern = ".*".join(re.escape(part) for part in re.split(r"^\.\.\.$", expected.rstrip(), flags=re.M))
    return re.fullmatch(pattern, found.rstrip(), re.S)


def faults_of(document, known, sources, work, environment):
    """Line and words of each thing that a document says in vain."""
    text, session = document.read_text(), ""
    for block in re.finditer(r"^```(\w*)\n(.*?)^```$", text, re.M | re.S):
        first = text.count("\n", 0, block.start(2)) + 1
        program = re.match(r"(?://|#) (\w+\.(?:cpp|py)): ", block[2])
        if program:
            (work / program[1]).write_text(block[2])
        elif block[1] in ("cpp", "python") and block[2] not in sources:
            yield first, "this stands in no source"
        session += block[2] + "\n" if block[1] == "pycon" else ""
        (work / "session").write_text(session)
        run = [(0, "python3 -m doctest session", None)] if block[1] == "pycon" else commands(block[1], block[2])
        for place, command, expected in run:
            for word in set(re.findall(r"(?:^|\s)\./dev (\S+)", command)) - known:
                yield first + place, f"./dev has no command {word}"
            result = subprocess.run(["bash", "-euo", "pipefail", "-c", command], cwd=work, env=environment, text=True,
                                    stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
            status = re.search(r"# exit status (\d+)|$", command)[1]
            if result.returncode != int(status or 0) or (expected is not None and not prints(expected, result.stdout)):
                yield first + place, f"'{command}' ends with {result.returncode} and prints\n{result.stdout}"
    for link in re.finditer(r"\]\(([^)#:]+)(?:#[^)]*)?\)|`((?:%s)/[^`\s]*)`" % FOLDERS, text):
        if not ((document.parent / link[1]).exists() if link[1] else any(PROJECT.glob(link[2].rstrip("/")))):
            yield text.count("\n", 0, link.start()) + 1, f"there is no {link[1] or link[2]}"


def main(build):
    known = set(re.findall(r"^  ([a-z][a-z-]*)", output_of("./dev", "help"), re.M))
    told = (PROJECT / "CONTRIBUTING.md").read_text()
    faults = [f"CONTRIBUTING.md does not tell of ./dev {command}" for command in sorted(known)
              if not re.search(rf"\./dev {command}\b(?!-)", told)]
    sources = "".join(path.read_text() for path in files("*.h", "*.cpp", "*.py"))
    with tempfile.TemporaryDirectory() as scratch:
        environment = install(build, Path(scratch) / "prefix")
        for document in files("*.md"):
            name = document.relative_to(PROJECT).as_posix()
            work = Path(scratch) / name.replace("/", "-")
            fill(work)
            faults += [f"{name}:{line}: {words}" for line, words in faults_of(document, known, sources, work, environment)]
    print("\n".join(faults) or "documents: all hold what they say")
    return 1 if faults else 0


sys.exit(main(Path(sys.argv[1]).resolve()))

#!/usr/bin/env python3
"""Holds the documents to what they say, in a scratch folder with an installed package: run_commands.py BUILD

- A fenced `sh` block is a list of commands, each of which must succeed.
- A `console` block has commands behind "$ ", and what each prints. A line "..." stands for any lines.
- A command with "# exit status N" behind it must end with N.
- A `cpp` block that begins with the comment "// name.cpp: ..." becomes that file; commands behind it compile it. Any
  other `cpp` block stands in the sources as it is here.
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
FOLDERS = "bench|cmake|docs|examples|fuzz|samples|src|tests|tools"
# The images that the documents call disc.*, and the samples that they are.
DISC = {"disc.cue": "album.cue", "disc.bin": "album.bin", "disc.cdt": "album.cdt", "disc.nrg": "cdplus.nrg",
        "disc.mds": "inline.mds", "disc.mdf": "inline.mdf", "disc.ccd": "sessions.ccd", "disc.img": "sessions.img"}
faults = []


def fail(document, line, words):
    faults.append(f"{document.relative_to(PROJECT)}:{line}: {words}")


def output_of(*command):
    return subprocess.run(command, cwd=PROJECT, stdout=subprocess.PIPE, text=True, check=True).stdout


def files(*patterns):
    names = output_of("git", "ls-files", "-co", "--exclude-standard", *patterns).splitlines()
    return [path for path in map(PROJECT.joinpath, names) if path.is_file()]


def install(build, prefix):
    output_of("cmake", "--install", build, "--prefix", prefix)
    pkgconfig = next(prefix.rglob("imagefile.pc")).parent
    return dict(os.environ, PATH=f"{prefix}/bin:{os.environ['PATH']}", PKG_CONFIG_PATH=str(pkgconfig),
                LD_LIBRARY_PATH=str(pkgconfig.parent), IMAGEFILE_REGISTRY=str(prefix / "registry.reg"))


def fill(work):
    """Puts in place what the documents speak of."""
    shutil.copytree(PROJECT / "samples/images", work / "samples/images")
    for name, sample in DISC.items():
        shutil.copy(PROJECT / "samples/images" / sample, work / name)
    (work / "disc.cue").write_text((work / "disc.cue").read_text().replace("ALBUM", "disc"))
    (work / "dev").symlink_to("/bin/true")


def commands(language, lines):
    """Place of each command in a block, the command, and what it prints: None where the block does not say."""
    if language == "sh":
        yield from ((i, line, None) for i, line in enumerate(lines) if line.strip())
    elif language == "console":
        starts = [i for i, line in enumerate(lines) if line.startswith("$ ")] + [len(lines)]
        for start, end in zip(starts, starts[1:]):
            yield start, lines[start][2:], "\n".join(lines[start + 1:end])


def prints(expected, found):
    pattern = ".*".join(re.escape(part) for part in re.split(r"^\.\.\.$", expected, flags=re.M))
    return re.fullmatch(pattern, found.rstrip("\n"), re.S)


def run_blocks(document, known, sources, work, environment):
    text = document.read_text()
    for block in re.finditer(r"^```(\w*)\n(.*?)^```$", text, re.M | re.S):
        first, program = text.count("\n", 0, block.start(2)) + 1, re.match(r"// (\w+\.cpp): ", block[2])
        if program:
            (work / program[1]).write_text(block[2])
        elif block[1] == "cpp" and block[2] not in sources:
            fail(document, first, "this stands in no source")
        for place, command, expected in commands(block[1], block[2].splitlines()):
            for word in set(re.findall(r"(?:^|\s)\./dev (\S+)", command)) - known:
                fail(document, first + place, f"./dev has no command {word}")
            result = subprocess.run(["bash", "-euo", "pipefail", "-c", command], cwd=work, env=environment, text=True,
                                    stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
            status = re.search(r"# exit status (\d+)", command)
            if result.returncode != (int(status[1]) if status else 0):
                fail(document, first + place, f"'{command}' ends with {result.returncode}\n{result.stdout}")
            elif expected is not None and not prints(expected, result.stdout):
                fail(document, first + place, f"'{command}' prints\n{result.stdout}")


def check_links(document):
    text = document.read_text()
    for link in re.finditer(r"\]\(([^)#:]+)(?:#[^)]*)?\)|`((?:%s)/[^`\s]*)`" % FOLDERS, text):
        if not ((document.parent / link[1]).exists() if link[1] else any(PROJECT.glob(link[2].rstrip("/")))):
            fail(document, text.count("\n", 0, link.start()) + 1, f"there is no {link[1] or link[2]}")


def main(build):
    known = set(re.findall(r"^  ([a-z][a-z-]*)", output_of("./dev", "help"), re.M))
    contributing = PROJECT / "CONTRIBUTING.md"
    for command in sorted(known):
        if not re.search(rf"\./dev {command}\b(?!-)", contributing.read_text()):
            fail(contributing, 1, f"does not tell of ./dev {command}")
    sources = "".join(path.read_text() for path in files("*.h", "*.cpp"))
    with tempfile.TemporaryDirectory() as scratch:
        environment = install(build, Path(scratch) / "prefix")
        for document in files("*.md"):
            work = Path(scratch) / document.relative_to(PROJECT).as_posix().replace("/", "-")
            fill(work)
            check_links(document)
            run_blocks(document, known, sources, work, environment)
    print("\n".join(faults) or "documents: all hold what they say")
    return 1 if faults else 0


sys.exit(main(Path(sys.argv[1]).resolve()))

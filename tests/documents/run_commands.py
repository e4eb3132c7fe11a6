#!/usr/bin/env python3
"""Tests the documents in a scratch folder with an installed package: run_commands.py BUILD

- A fenced `sh` block is a list of commands, each of which must succeed.
- A `console` block has commands after "$ " and the output of each. A line "..." matches any lines.
- A command with the comment "# exit status N" must end with N.
- A `cpp` or `python` block that begins with the comment "// name.cpp: ..." or "# name.py: ..." becomes that file, which
  later commands compile or run. Any other of these must be a part of the sources; a `cpp` block may instead be a part of
  one function: the blocks of a document, in their order, must compile and run, and print what their comments
  "// prints ..." say.
- The `pycon` blocks of a document are one session of the interpreter, whose output is compared.
- `./dev COMMAND` is not run. The command must be one that ./dev lists, and CONTRIBUTING.md must mention each of these.
- Links and paths of the project must exist, and so must `Suite.Test` in docs/compatibility.md. Keys of that document
  that comments name must be in it.
"""
import os
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

PROJECT = Path(__file__).resolve().parents[2]
FOLDERS = "bench|bindings|cmake|docs|examples|fuzz|include|samples|src|tests|tools"
# Names of images in the documents, and the samples that are copied there.
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


def copy_images(work):
    """Copies the images that the documents mention to the working folder."""
    samples = shutil.copytree(PROJECT / "samples/images", work / "samples/images")
    shutil.copytree(PROJECT / "bindings/python", work / "bindings/python")
    for name, sample in DISC.items():
        shutil.copy(samples / sample, work / name)
    (work / "disc.cue").write_text((work / "disc.cue").read_text().replace("ALBUM", "disc"))
    (work / "dev").symlink_to("/bin/true")


def commands(language, block):
    """Yields line, command and output of each command of a block. The output is None if the block has none."""
    pattern = {"sh": r"^()(.+)\n", "console": r"^()\$ (.*)\n((?:(?!\$ ).*\n)*)"}.get(language, "(?!)")
    for found in re.finditer(pattern, block, re.M):
        yield block.count("\n", 0, found.start()), found[2], found[3] if language == "console" else None


def matches(expected, output):
    pattern = ".*".join(re.escape(part) for part in re.split(r"^\.\.\.$", expected.rstrip(), flags=re.M))
    return re.fullmatch(pattern, output.rstrip(), re.S)


def run(command, work, environment):
    return subprocess.run(["bash", "-euo", "pipefail", "-c", command], cwd=work, env=environment, text=True,
                          stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)


def fault_of_function(body, work, environment):
    """Returns the output of the body of a C++ function that does not print what its comments say; else nothing."""
    includes = "#include <array>\n#include <iostream>\n#include \"imagefile/disc_image.h\"\n"
    (work / "function.cpp").write_text(f"{includes}int main() {{\n{body}}}\n")
    result = run("c++ -std=c++20 -Wall -Wextra -Wconversion -Wshadow -Werror function.cpp -o function "
                 "$(pkg-config --cflags --libs imagefile); ./function", work, environment)
    expected = "\n".join(re.findall(r"^ *// prints (.*)", body, re.M))
    return "" if result.returncode == 0 and result.stdout.rstrip() == expected else result.stdout or "prints nothing"


def faults_of(document, known, sources, work, environment):
    """Yields line and message of each fault of a document."""
    text, body, session = document.read_text(), "", ""
    for block in re.finditer(r"^```(\w*)\n(.*?)^```$", text, re.M | re.S):
        first = text.count("\n", 0, block.start(2)) + 1
        program = re.match(r"(?://|#) (\w+\.(?:cpp|py)): ", block[2])
        if program:
            (work / program[1]).write_text(block[2])
        elif block[1] == "cpp" and block[2] not in sources:
            body += block[2]
        elif block[1] == "python" and block[2] not in sources:
            yield first, "this block is in no source file"
        session += block[2] + "\n" if block[1] == "pycon" else ""
        (work / "session").write_text(session)
        found = [(0, "python3 -m doctest session", None)] if block[1] == "pycon" else commands(block[1], block[2])
        for line, command, expected in found:
            for word in set(re.findall(r"(?:^|\s)\./dev (\S+)", command)) - known:
                yield first + line, f"./dev has no command {word}"
            result = run(command, work, environment)
            status = re.search(r"# exit status (\d+)|$", command)[1]
            if result.returncode != int(status or 0) or (expected is not None and not matches(expected, result.stdout)):
                yield first + line, f"'{command}' ends with {result.returncode} and prints\n{result.stdout}"
    if body and (fault := fault_of_function(body, work, environment)):
        yield 1, f"the C++ blocks that are in no source file do not run as they say:\n{fault}"
    for link in re.finditer(r"\]\(([^)#:]+)(?:#[^)]*)?\)|`((?:%s)/[^`\s]*)`" % FOLDERS, text):
        if not ((document.parent / link[1]).exists() if link[1] else any(PROJECT.glob(link[2].rstrip("/")))):
            yield text.count("\n", 0, link.start()) + 1, f"{link[1] or link[2]} does not exist"


def faults_of_compatibility(sources):
    """Yields tests that docs/compatibility.md names in vain, and keys that comments name in vain."""
    text = (PROJECT / "docs/compatibility.md").read_text()
    tests = {".".join(found) for found in re.findall(r"TEST(?:_F)?\((\w+), (\w+)\)", sources)}
    for name in sorted(set(re.findall(r"`(\w+\.[A-Z]\w+)`", text)) - tests):
        yield f"docs/compatibility.md: there is no test {name}"
    for key in sorted(set(re.findall(r'"([^"]+)" in\s+(?://+ )?docs/compatibility\.md', sources))):
        if f"| {key} |" not in text:
            yield f"docs/compatibility.md has no row {key}"


def main(build):
    known = set(re.findall(r"^  ([a-z][a-z-]*)", output_of("./dev", "help"), re.M))
    guide = (PROJECT / "CONTRIBUTING.md").read_text()
    faults = [f"CONTRIBUTING.md does not mention ./dev {command}" for command in sorted(known)
              if not re.search(rf"\./dev {command}\b(?!-)", guide)]
    sources = "".join(path.read_text() for path in files("*.h", "*.cpp", "*.py"))
    faults += faults_of_compatibility(sources)
    with tempfile.TemporaryDirectory() as scratch:
        environment = install(build, Path(scratch) / "prefix")
        for document in files("*.md"):
            name = document.relative_to(PROJECT).as_posix()
            work = Path(scratch) / name.replace("/", "-")
            copy_images(work)
            faults += [f"{name}:{line}: {words}" for line, words in faults_of(document, known, sources, work, environment)]
    print("\n".join(faults) or "documents: no faults")
    return 1 if faults else 0


sys.exit(main(Path(sys.argv[1]).resolve()))

"""Look-up of files in any case, and files that appear when they are complete."""

import glob
import io
import os
import secrets
import tempfile
from collections.abc import Callable
from typing import Any

from ._errors import Code, ImageFileError
from ._library import WINDOWS_1252, Object, path_string


def on_disk(path: str) -> str:
    """Returns the path on disk of a file, in any case and encoding as the library finds it; `path` if it is missing."""
    folder, name = os.path.split(path)
    names = [] if os.path.exists(path) else glob.glob("*", root_dir=folder or None, include_hidden=True)
    wanted = name.translate(WINDOWS_1252).lower()
    found = [os.path.join(folder, other) for other in names if other.translate(WINDOWS_1252).lower() == wanted]
    return min(found, key=os.fsencode, default=path)


def write_file(path: str, source: io.RawIOBase | io.BytesIO, progress: Callable[[int], object] = bool) -> None:
    """Copies a source to a file that replaces `path` once it is complete. Devices and pipes are written directly."""
    direct = os.path.exists(path) and not os.path.isfile(path)
    target = os.path.realpath(path)
    part = path if direct else os.path.join(os.path.dirname(target), f".imagefile-{secrets.token_hex(8)}")
    done, buffer = 0, memoryview(bytearray(1 << 20))
    try:
        with open(part, "wb" if direct else "xb") as file:
            while count := source.readinto(buffer):
                file.write(buffer[:count])
                progress(done := done + count)
        if not direct:
            os.replace(part, target)
    except OSError as error:
        error.filename = path if error.filename in (None, part) else error.filename
        raise
    finally:
        if not direct and os.path.exists(part):
            os.unlink(part)


def describe(path: str, writer: Object, operation: str, *arguments: Any) -> bytes:
    """Returns what an operation writes to a file. It does not report failed writes, so it writes to memory."""
    with tempfile.TemporaryDirectory() as folder, open(os.memfd_create("description"), "rb") as file:
        link = os.path.join(folder, os.path.basename(path))
        os.symlink(f"/proc/self/fd/{file.fileno()}", link)
        writer.run(path, operation, path_string(link), *arguments)
        content = file.read()
    if not content.endswith(b"\n"):
        raise ImageFileError(Code.E_FAIL, "the description could not be written as a whole", path)
    return content

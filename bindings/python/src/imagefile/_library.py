"""The library in this process: its objects, strings and records."""

import os
import uuid
import weakref
from collections.abc import Iterator
from contextlib import contextmanager
from ctypes import CDLL, CFUNCTYPE, byref, c_uint32, c_void_p, create_string_buffer, string_at
from functools import cache
from typing import Any

from ._contract import IDENTIFIERS, IN_PROCESS, OPERATIONS, RECORDS, TEXTS
from ._errors import Code, ImageFileError

_Function = CFUNCTYPE(c_uint32, c_void_p)  # More arguments may follow, with their own types.
# Python represents each byte of a path that is not UTF-8 by a surrogate. The library reads it as Windows-1252.
WINDOWS_1252 = {0xDC00 + byte: bytes([byte]).decode("cp1252", "ignore") or chr(byte) for byte in range(0x80, 0x100)}


class Object:
    """One reference to an object of the library, which is released with this object."""
    def __init__(self, interface: str, address: c_void_p) -> None:
        names = OPERATIONS[interface].split()
        slots = (c_void_p * len(names)).from_address(c_void_p.from_address(address.value or 0).value or 0)
        self._address, self._slots = address, {name: _Function(slot or 0) for name, slot in zip(names, slots)}
        weakref.finalize(self, self._slots["Release"], address)

    def call(self, operation: str, *arguments: Any) -> int:
        """Calls an operation. Returns its result code as an unsigned number."""
        return int(self._slots[operation](self._address, *arguments))

    def run(self, path: str, operation: str, *arguments: Any) -> None:
        """Calls an operation on the file `path`. Raises ImageFileError for any result but 0."""
        if code := self.call(operation, *arguments):
            raise ImageFileError(code, "", path)


@cache
def functions() -> CDLL:
    """Returns the functions of the library, which the first call loads."""
    path = os.environ.get("IMAGEFILE_LIBRARY", "libImageFile.so.1")
    try:
        return CDLL(path)
    except OSError as error:
        raise ImageFileError(Code.CO_E_DLLNOTFOUND, "", path) from error


@cache
def service(name: str) -> Object:
    """Returns the one object of a class. Any thread may call its operations."""
    clsid, iid = (uuid.UUID(identifier).bytes_le for identifier in IDENTIFIERS[name])
    address = c_void_p()
    if code := _Function(("CoCreateInstance", functions()))(clsid, None, IN_PROCESS, iid, byref(address)):
        raise ImageFileError(code, "", name)
    return Object("I" + name, address)


def path_string(path: str) -> Any:
    """Returns a path as the library reads it: wide text with a zero after it and its length in bytes before it."""
    if "\0" in path:
        raise ValueError("embedded null character")
    units = path.translate(WINDOWS_1252).encode("utf-16-le")
    return byref(create_string_buffer(bytes(c_uint32(len(units))) + units + b"\0"), 4)


def text(string: int) -> str | None:
    """Returns the text of a string of the library, or None for the null string."""
    return string_at(string, c_uint32.from_address(string - 4).value).decode("utf-16-le", "replace") if string else None


def texts_of(record: Any) -> dict[str, Any]:
    """Returns the texts of the record of a disc or a track, by their names."""
    return {name: text(getattr(record, f"bstr{name.capitalize()}")) for name in TEXTS}


def tracks_of(sheet: Any) -> list[Any]:
    """Returns the records of a session's tracks."""
    return list((RECORDS.ZSTRACK * sheet.nTracks).from_address(sheet.pZSTracks))


@contextmanager
def image_record(path: str) -> Iterator[tuple[Any, list[Any]]]:
    """Reads the record of an image and those of its sessions. Frees them at the end of the context."""
    info, images = RECORDS.zsimagefileinfo(), service("ZSImageFile")
    images.run(path, "GetImageFileInfo", path_string(path), byref(info))
    try:
        yield info, [RECORDS.ZSCUESHEET.from_address(sheet) for sheet in info.pZSCueSheet[: info.nSessions]]
    finally:
        images.call("FreeImageFileInfo", byref(info))

"""Failures as exceptions, with the names of the result codes."""

from enum import IntEnum

Code = IntEnum("Code", {
    "S_FALSE": 1, "ZSE_FAILED": 0x809F0001, "ZSE_FILENOTFOUND": 0x809F000F, "ZSE_OUTOFRESOURCES": 0x809F0014,
    "ZSE_CANNOTOPENIMAGE": 0x809F001A, "ZSE_BADIMAGE": 0x809F001B, "ZSE_TOCVERSION": 0x809F0020, "E_FAIL": 0x80004005,
    "CO_E_DLLNOTFOUND": 0x800401F8, "E_OUTOFMEMORY": 0x8007000E, "ERROR_GEN_FAILURE": 0x8007001F,
    "ERROR_HANDLE_EOF": 0x80070026, "ERROR_FILE_EXISTS": 0x80070050, "E_INVALIDARG": 0x80070057,
    "ERROR_IO_DEVICE": 0x8007045D})
NAMES: dict[int, str] = {code.value: code.name for code in Code}
_MESSAGES: dict[int, str] = {
    Code.S_FALSE: "its data cannot be reached: the file does not open, or the track is beyond its end",
    Code.ZSE_FAILED: "nothing in it can be used as a disc",
    Code.ZSE_FILENOTFOUND: "its data file is missing; put it beside the description",
    Code.ZSE_CANNOTOPENIMAGE: "it, or the data file that it names, is missing or cannot be read",
    Code.ZSE_BADIMAGE: "not an image that can be read; give its .iso, .cue, .nrg, .ccd, .mds or .zsi file",
    Code.CO_E_DLLNOTFOUND: "it cannot be loaded; install libimagefile1, or set IMAGEFILE_LIBRARY to the library's path",
    Code.ZSE_OUTOFRESOURCES: "it exceeds a limit of images, or there is not enough memory",
    Code.ZSE_TOCVERSION: "a later version of ImageFile wrote this file; install that version"}


class ImageFileError(OSError):
    """A failure: the result code as an unsigned number, its name, the file at fault, and what is wrong with it."""
    def __init__(self, code: int, message: str, path: str) -> None:
        super().__init__(int(code), message or _MESSAGES.get(code, "the operation failed"), path)
        self.code, self.name, self.path = int(code), NAMES.get(code, f"0x{code:08X}"), path

    def __str__(self) -> str:
        return f"{self.path}: {self.strerror} ({self.name}, 0x{self.code:08X})"

"""Failures as exceptions, with the names of the result codes."""

ZSE_FAILED, ZSE_FILENOTFOUND, ZSE_CANNOTOPENIMAGE, ZSE_BADIMAGE = 0x809F0001, 0x809F000F, 0x809F001A, 0x809F001B
E_FAIL, E_INVALIDARG, CO_E_DLLNOTFOUND, ERROR_HANDLE_EOF = 0x80004005, 0x80070057, 0x800401F8, 0x80070026
ERROR_FILE_EXISTS = 0x80070050
NAMES = {
    1: "S_FALSE", ZSE_FAILED: "ZSE_FAILED", ZSE_FILENOTFOUND: "ZSE_FILENOTFOUND", 0x809F0014: "ZSE_OUTOFRESOURCES",
    ZSE_CANNOTOPENIMAGE: "ZSE_CANNOTOPENIMAGE", ZSE_BADIMAGE: "ZSE_BADIMAGE", 0x809F0020: "ZSE_TOCVERSION",
    E_FAIL: "E_FAIL", E_INVALIDARG: "E_INVALIDARG", 0x8007000E: "E_OUTOFMEMORY", 0x8007001F: "ERROR_GEN_FAILURE",
    CO_E_DLLNOTFOUND: "CO_E_DLLNOTFOUND", ERROR_HANDLE_EOF: "ERROR_HANDLE_EOF", 0x8007045D: "ERROR_IO_DEVICE",
    ERROR_FILE_EXISTS: "ERROR_FILE_EXISTS",
}
_MESSAGES = {
    1: "its data cannot be reached: the file does not open, or the track is beyond its end",
    ZSE_FAILED: "nothing in it can be used as a disc",
    ZSE_FILENOTFOUND: "its data file is missing; put it beside the description",
    ZSE_CANNOTOPENIMAGE: "it, or the data file that it names, is missing or cannot be read",
    ZSE_BADIMAGE: "not an image that can be read; give its .iso, .cue, .nrg, .ccd, .mds or .zsi file",
    CO_E_DLLNOTFOUND: "it cannot be loaded; install libimagefile1, or set IMAGEFILE_LIBRARY to the library's path",
    0x809F0014: "it exceeds a limit of images, or there is not enough memory",
    0x809F0020: "a later version of ImageFile wrote this file; install that version",
}


class ImageFileError(OSError):
    """A failure: the result code as an unsigned number, its name, the file at fault, and what is wrong with it."""
    def __init__(self, code: int, message: str, path: str) -> None:
        super().__init__(code, message or _MESSAGES.get(code, "the operation failed"), path)
        self.code, self.name, self.path = code, NAMES.get(code, f"0x{code:08X}"), path

    def __str__(self) -> str:
        return f"{self.path}: {self.strerror} ({self.name}, 0x{self.code:08X})"

"""The data of a track: its offset in the data file, and a stream of it."""

import io
from ctypes import byref, c_char, c_uint32, c_void_p
from dataclasses import replace
from typing import Any

from ._contract import RECORDS
from ._errors import Code, ImageFileError
from ._library import Object, path_string, service
from ._model import Format, Mask, Mode, Track


def place_tracks(format: Format, mask: Mask, byte: int, sessions: list[list[Track]]) -> list[tuple[Track, ...]]:
    """Returns the tracks with their `offset` and `sectors`. A given `offset` is that of the description, or 0. The first
    sector is at `byte`. The file has no sectors between sessions, between tracks recorded one by one, or for PREGAP."""
    placed: list[tuple[Track, ...]] = []
    for tracks in sessions:
        is_stated = format is Format.MDS and (bool(placed) or len({track.block_size for track in tracks}) > 1)
        sector, done = 0, list[Track]()
        for track in tracks:
            index = track.indexes[1] if format is Format.CUE and len(track.indexes) > 1 else None
            first = track.start if index is None else index  # A PREGAP line moves `start` and no index.
            if Mask.TRACKATONCE in mask or (placed and not done):
                sector = first - track.pregap  # The pregap directly follows the earlier data in the file.
            byte += (first - sector) * track.block_size
            done.append(replace(track, offset=(is_stated and track.offset) or byte, sectors=max(track.end - first, 0)))
            sector = max(track.end, first) + track.postgap
            byte += (sector - first) * track.block_size
        placed.append(tuple(done))
    return placed


def _offset_in_sector(track: Track, size: int) -> int:
    """Returns the offset of the wanted bytes in a sector: 2048 bytes are the user data, after header and sub-header."""
    raw = track.block_size >= 2352
    sub_header = track.mode is not Mode.MODE1 and (raw or track.block_size == 2336) and size not in (2336, 2332, 2056)
    whole = size == track.block_size or (raw and size >= 2352)
    offset = 0 if whole else (16 if raw else 0) + (8 if sub_header else 0)
    if size < 1 or offset + size > track.block_size or (track.mode is Mode.AUDIO and not whole):
        raise ValueError(f"track {track.number}: its sectors have no block of {size} bytes; give another block size")
    return offset


class TrackStream(io.RawIOBase):
    """The data of one track, read forward by one thread at a time. `size` is the number of bytes."""
    _object: Object | None = None

    def __init__(self, data_file: str, track: Track, block_size: int | None) -> None:
        size = track.block_size if block_size is None else block_size
        # Records that describe this run of sectors. The stream reads its offset and geometry from them alone.
        info = RECORDS.zsimagefileinfo(dwSeekBegin64=track.offset, nSubCount=_offset_in_sector(track, size))
        run, address = RECORDS.ZSTRACK(dwEndLBA=track.sectors, BlockSize=track.block_size), c_void_p()
        arguments = path_string(data_file), None, byref(info), byref(run), size, None, 0, RECORDS.VARIANT()
        service("ZSCueSheet").run(data_file, "ExtractTrackToStream", *arguments, byref(address))
        self._object = Object("IStream", address)
        self.name, self.size, self._done = data_file, track.sectors * size, 0

    def readable(self) -> bool:
        return True

    def readinto(self, buffer: Any) -> int:
        """Reads into a buffer. Returns the number of bytes; raises ImageFileError if the file ends too early."""
        view, delivered = memoryview(buffer).cast("B"), c_uint32()
        if self._object is None:
            raise ValueError("the stream is closed")
        code = self._object.call("Read", byref((c_char * len(view)).from_buffer(view)), len(view), byref(delivered))
        if code > 1 or (delivered.value == 0 and view and self._done < self.size):
            message = f"the track cannot be read as a whole: {self._done} of its {self.size} bytes are there"
            raise ImageFileError(code if code > 1 else Code.ERROR_HANDLE_EOF, message, self.name)
        self._done += delivered.value
        return delivered.value

    def close(self) -> None:
        self._object = None
        super().close()

"""Discs, and the functions of the package."""

import io
import os
import re
from collections.abc import Callable
from ctypes import addressof, byref, c_int32, c_void_p, create_string_buffer, string_at
from dataclasses import dataclass
from typing import Any

from ._contract import FALSE, NO_INDEX, RECORDS, TRUE
from ._errors import Code, ImageFileError
from ._files import describe, on_disk, write_file
from ._library import WINDOWS_1252, functions, image_record, service, text, texts_of, tracks_of
from ._model import Flags, Format, Kind, Mask, Mode, Session, SessionFormat, Text, Track
from ._tracks import TrackStream, place_tracks

Path = str | os.PathLike[str]
Progress = Callable[[int, int], object] | None


@dataclass(frozen=True, kw_only=True)
class Disc:
    """One disc image, as plain data: nothing has to be closed, and several threads may use it."""
    path: str  # Path of the description that was opened.
    data_file: str  # Path of the file that has the sectors.
    format: Format
    kind: Kind
    mask: Mask  # What accompanies the image.
    block_size: int  # Bytes of a sector of one of the tracks; 0 for a CUE sheet of audio alone.
    sessions: tuple[Session, ...]
    seek_begin: int  # Byte offset of the first sector in the data file.
    seek_end: int  # Byte offset after the last sector; 2**64 - 1 for the end of the file.
    sub_count: int  # Bytes before the user data in a sector.
    disc_id: int  # Disc identifier as in CDDB, but counted from index 0 of each track.
    disc_id2: int  # Identifier of the first session, if there are several; else 0.

    @property
    def tracks(self) -> tuple[Track, ...]:
        """The tracks of all sessions."""
        return tuple(track for session in self.sessions for track in session.tracks)

    def stream(self, track: Track, block_size: int | None = None) -> TrackStream:
        """Opens a track without its pregap. `block_size`: bytes of each sector, 2048 for user data, None for all."""
        if track not in self.tracks:
            raise ValueError(f"track {track.number} is not one of this disc")
        if self.data_file == on_disk(self.path) and self.format not in (Format.ISO, Format.NRG):
            raise ImageFileError(Code.ZSE_FILENOTFOUND, "", self.data_file)
        return TrackStream(self.data_file, track, block_size)

    def extract(self, track: Track, path: Path, block_size: int | None = None, progress: Progress = None) -> None:
        """Writes the bytes of `stream` to a file, which replaces an existing file once it is complete. `progress` is
        called with the number of bytes done and in total; an exception in it stops the extraction."""
        with self.stream(track, block_size) as stream:
            write_file(self._output(path), stream, lambda done: progress(done, stream.size) if progress else None)

    def to_cue(self, path: Path) -> None:
        """Writes a CUE sheet of the first session and a .CDT file of its texts, but not the data file that it names."""
        target = self._output(path, ".cue", '"\\\r\n')
        with image_record(self.path) as (_, sheets):
            packs = self._encode(sheets)[:-1]
            content = describe(target, service("ZSCueSheet"), "CreateCueFile", byref(sheets[0]))
        names = re.findall('^CDTEXTFILE "(.*)"', os.fsdecode(content).translate(WINDOWS_1252), re.MULTILINE)
        found = on_disk(target[: -len(".cue")] + ".CDT")  # The file that the new sheet is read with.
        if os.path.exists(found) and os.path.basename(found) not in names:
            message = "the new sheet would take its CD-Text from this file; remove it"
            raise ImageFileError(Code.ERROR_FILE_EXISTS, message, found)
        write_file(target, io.BytesIO(content))
        for name in names:
            write_file(os.path.join(os.path.dirname(target), name), io.BytesIO(packs))

    def to_zsi(self, path: Path) -> None:
        """Writes a TOC file, but not the data file that it names."""
        target = self._output(path, ".zsi", "<>\\")
        with image_record(self.path) as (info, sheets):
            packs = self._encode(sheets)[:-1]
            info.ZSImageFormat = Format.ZSI
            arguments = byref(info), None, 0, packs or None, len(packs)
            write_file(target, io.BytesIO(describe(target, service("ZSImageFile"), "CreateTOCFile", *arguments)))

    def encode_cdtext(self) -> bytes:
        """Returns the texts of the first session as the content of a .cdt file; empty if it has no texts."""
        with image_record(self.path) as (_, sheets):
            return self._encode(sheets)

    def _encode(self, sheets: list[Any]) -> bytes:
        """Encodes the texts of the first session as packs. Sets `CDTextPresent` and numbers all tracks from 1."""
        if not sheets:
            raise ImageFileError(Code.ZSE_FAILED, "the image has no session", self.path)
        for sheet in sheets:
            for number, track in enumerate(tracks_of(sheet), 1):
                track.TNO = number
        records = [sheets[0].ZSCDTEXT, *tracks_of(sheets[0])]
        present = any(found is not None for record in records for found in texts_of(record).values())
        sheets[0].ZSCDTEXT.CDTextPresent = TRUE if present else FALSE
        block, length = c_void_p(), c_int32()
        if present:
            service("ZSCueSheet").run(self.path, "EncodeCDText", byref(sheets[0]), FALSE, byref(block), byref(length))
        packs = string_at(block, length.value)
        functions().CoTaskMemFree(block)
        return packs

    def _output(self, path: Path, extension: str = "", forbidden: str = "") -> str:
        """Returns the path of a new file. Raises an exception for a file of the image itself, in any case."""
        target, stem = os.fspath(path), os.path.splitext(self.path)[0]
        if not target.lower().endswith(extension) or set(forbidden) & set(os.path.basename(target)):
            raise ValueError(f"{target}: give a name that ends with {extension} and has none of {[*forbidden]}")
        own = [self.path, self.data_file, stem + ".cdt", stem + ".sub"]
        if os.path.realpath(target).upper() in [os.path.realpath(file).upper() for file in own]:
            raise ImageFileError(Code.E_INVALIDARG, "this file belongs to the image; give another name", target)
        return target


def open(path: Path) -> Disc:
    """Reads a disc image. Raises ImageFileError."""
    name = os.fspath(path)
    with image_record(name) as (info, sheets):
        format, mask = Format(info.ZSImageFormat), Mask(info.lMask)
        tracks = [[_read_track(track) for track in tracks_of(sheet)] for sheet in sheets]
        sessions = zip(sheets, place_tracks(format, mask, info.dwSeekBegin64, tracks))
        return Disc(
            path=name, data_file=on_disk(text(info.bstrImageBinaryFile) or ""), format=format, mask=mask,
            kind=Kind(info.ZSTYPEPROJECT), block_size=info.ZSBlockSize, sub_count=info.nSubCount,
            sessions=tuple(
                Session(tracks=tracks, format=SessionFormat(sheet.ZSSESSIONFORMAT), mcn=text(sheet.ZSCDTEXT.bstrMCN),
                        cdtext_present=bool(sheet.ZSCDTEXT.CDTextPresent), **texts_of(sheet.ZSCDTEXT))
                for sheet, tracks in sessions),
            seek_begin=info.dwSeekBegin64, seek_end=info.dwSeekEnd64, disc_id=info.dwDiscID, disc_id2=info.dwDiscID2)


def _read_track(record: Any) -> Track:
    # Index 0 of a disc's first track may be before sector 0.
    indexes = (c_int32 * record.nCountIndex).from_address(record.pdwIndex) if record.pdwIndex else ()
    return Track(
        number=record.TNO, start=record.dwLBA, end=record.dwEndLBA, pregap=record.Pregap, postgap=record.Postgap,
        indexes=tuple(None if index == NO_INDEX else index for index in indexes), mode=Mode(record.Mode),
        flags=Flags(record.Flags), block_size=record.BlockSize, isrc=text(record.bstrISRC), sectors=0,
        offset=record.dwReserved64, **texts_of(record))


def decode_cdtext(data: bytes, tracks: int) -> tuple[Text, ...]:
    """Decodes CD-Text packs. Returns the texts of the disc, then those of each of its `tracks` tracks."""
    records = (RECORDS.ZSTRACK * tracks)()
    sheet = RECORDS.ZSCUESHEET(nTracks=tracks, pZSTracks=addressof(records))
    packs, sheets = create_string_buffer(data, len(data) + 1), service("ZSCueSheet")  # Decoding changes the packs.
    try:
        sheets.run("CD-Text", "AnalyzeCDTextFromData", packs, len(data), byref(sheet))
        return tuple(Text(**texts_of(record)) for record in [sheet.ZSCDTEXT, *records])
    finally:
        sheets.call("FreeZSCDText", byref(sheet, RECORDS.ZSCUESHEET.ZSCDTEXT.offset))
        sheets.call("FreeZSCueSheet", byref(sheet), FALSE)

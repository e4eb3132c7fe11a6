"""Content of a disc image. Positions are sectors of the disc; 75 sectors are one second."""

from dataclasses import dataclass
from enum import IntEnum, IntFlag

Format = IntEnum("Format", "ISO CUE BIN NRG CCD ZSI MDS", start=0)
Kind = IntEnum("Kind", "NULL DATA CDAUDIO MIXED CDPLUS VIDEO DVDVIDEO CDMP3 CDWMA CDOGG DATAMULTISESSION OTHER",
               start=0)
Mode = IntEnum("Mode", {"AUDIO": 0, "MODE1": 1, "MODE2": 4, "MODE2_FORM2": 5, "MODE2_MIXED": 7, "UNKNOWN": 255})
SessionFormat = IntEnum("SessionFormat", {"CDDA_CDROM": 0, "CDI": 16, "CDROMXA": 32})
Mask = IntFlag("Mask", {"CDTEXT": 1, "CDG": 2, "SUBCHANNEL": 4, "SUBINLINE": 8, "TRACKATONCE": 16})
Flags = IntFlag("Flags", {"DCP": 1, "PRE": 2, "FOUR_CHANNELS": 4})  # Copy permitted, pre-emphasis.


@dataclass(frozen=True, kw_only=True)
class Text:
    """Texts of a disc or of a track. Each is None if the image has no such text."""
    title: str | None
    composer: str | None
    performer: str | None
    songwriter: str | None
    arranger: str | None
    genre: str | None
    message: str | None


@dataclass(frozen=True, kw_only=True)
class Track(Text):
    number: int  # From 1 in each session; a CUE sheet's own number.
    start: int  # Position of index 1, the first sector of the track proper.
    end: int  # First position after the track.
    pregap: int  # Sectors of index 0, directly before `start`.
    postgap: int  # Sectors of the image after `end`.
    indexes: tuple[int | None, ...]  # Positions from index 0 on; empty if the format has no indexes.
    mode: Mode
    flags: Flags
    block_size: int  # Bytes of a sector in the data file.
    isrc: str | None  # International standard recording code, as it is in the image.
    offset: int  # Byte offset of the sector `start` in the data file.
    sectors: int  # Sectors of the track in the data file.


@dataclass(frozen=True, kw_only=True)
class Session(Text):
    """One session, with the texts of the disc. CD-Text is in the first session alone."""
    tracks: tuple[Track, ...]
    format: SessionFormat
    cdtext_present: bool
    mcn: str | None  # Media catalogue number, as it is in the image.

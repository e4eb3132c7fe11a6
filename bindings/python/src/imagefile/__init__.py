"""Reads disc images (ISO, CUE, NRG, CCD, MDS, ZSI): sessions, tracks, texts and the data of single tracks."""

from ._disc import Disc, decode_cdtext, open
from ._errors import ImageFileError
from ._model import Flags, Format, Kind, Mask, Mode, Session, SessionFormat, Text, Track
from ._tracks import TrackStream

__all__ = ["Disc", "Flags", "Format", "ImageFileError", "Kind", "Mask", "Mode", "Session", "SessionFormat", "Text",
           "Track", "TrackStream", "decode_cdtext", "open"]

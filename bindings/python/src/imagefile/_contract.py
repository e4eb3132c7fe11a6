"""The binary contract: identifiers, the order of the operations, and the layouts of the packed records."""

from ctypes import Structure, c_int16, c_int32, c_size_t, c_uint8, c_uint16, c_uint32, c_uint64
from types import SimpleNamespace
from typing import Any

IDENTIFIERS = {  # Identifiers of each class and of its interface.
    "ZSImageFile": ("{AE7CB71D-5121-409C-AEA7-4A9EACB3C354}", "{AECC35E5-5E47-4670-9F6A-C48BC23B25AB}"),
    "ZSCueSheet": ("{CD37B6EB-D22C-4F42-8C01-89B078739430}", "{315DBEA3-A2E9-40C5-8930-1C842A2C8835}")}
OPERATIONS = {  # Operations of each interface, in the order of its table of functions.
    "IStream": "QueryInterface AddRef Release Read",
    "IZSImageFile": "QueryInterface AddRef Release SetCallBack GetImageFileInfo CreateTOCFile Open Clone "
                    "FreeImageFileInfo CalculateDiscID GetPositionFromLBA",
    "IZSCueSheet": "QueryInterface AddRef Release CreateCueFile AnalyzeCueSheet AnalyzeCDText AnalyzeCDTextFromData "
                   "GetBinaryFile PrepareTracks ExtractTrackToStream ExtractStreamToFile MergeTracks AllocCueSheet "
                   "EncodeCDText Clone CloneCDText CopyCDText FreeZSCueSheet FreeZSCDText Dummy"}
TEXTS = ("title", "composer", "performer", "songwriter", "arranger", "genre", "message")
TRUE, FALSE, IN_PROCESS, NO_INDEX = -1, 0, 1, -1

# Pairs of the type and the name of each field. A type is a letter of the module struct, P for an address, or a record.
_TEXT_FIELDS = " ".join(f"P bstr{text.capitalize()}" for text in TEXTS)
_LAYOUTS = {
    "VARIANT": "Q part0 Q part1",
    "ZSCDTEXT": f"h CDTextPresent P bstrMCN {_TEXT_FIELDS} i Language",
    "ZSTRACK": "I TNO P pdwIndex B nCountIndex i Pregap I dwLBA I dwEndLBA i Postgap i Mode i BlockSize "
               f"i ImageBlockSize i Flags VARIANT varFiles {_TEXT_FIELDS} P bstrISRC Q dwReserved64",
    "ZSCUESHEET": "I nTracks P pZSTracks ZSCDTEXT ZSCDTEXT i ZSSESSIONFORMAT",
    "zsimagefileinfo": "i lMask P bstrImageBinaryFile i ZSImageFormat i ZSTYPEPROJECT i ZSBlockSize 99P pZSCueSheet "
                       "H nSessions Q dwSeekBegin64 Q dwSeekEnd64 H nSubCount I dwDiscID I dwDiscID2 i lReserved"}


def records(address: type[Any]) -> SimpleNamespace:
    """Returns the types of the records, packed on one byte. Their addresses have the type `address`."""
    types: dict[str, type[Any]] = {"B": c_uint8, "H": c_uint16, "h": c_int16, "I": c_uint32, "i": c_int32}
    types |= {"Q": c_uint64, "P": address, "99P": address * 99}
    for name, layout in _LAYOUTS.items():
        fields = [(field, types[kind]) for kind, field in zip(layout.split()[::2], layout.split()[1::2])]
        types[name] = type(name, (Structure,), {"_pack_": 1, "_fields_": fields})
    return SimpleNamespace(**types)


RECORDS = records(c_size_t)

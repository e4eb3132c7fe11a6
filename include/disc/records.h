/// @file
/// The records that describe a disc image.
///
/// Every image becomes one `zsimagefileinfo` that points to one `ZSCUESHEET` per session, each with its tracks and
/// texts. Records are packed on one byte and cleared before use: a record of zeros is valid and empty. Pointers have
/// the width of the target, all other fields a fixed width. Programs are built against these layouts, which
/// tests/imagefile/contract.inc lists.
///
/// Units: positions are sector numbers (LBA), counts are sectors, sizes and offsets are bytes, unless a field says
/// otherwise. One second of playing time is 75 sectors, also called frames (Red Book).
///
/// Ownership: records and tables are in task memory, strings are BSTRs. The caller owns every `zsimagefileinfo` and
/// frees what it points to with IZSImageFile::FreeImageFileInfo.
#pragma once

#include "platform/variant.h"

/// Format of the description that was read.
enum zsimgformat : std::int32_t {
  ZSIMAGEFORMAT_ISO = 0, ///< Plain sector file.
  ZSIMAGEFORMAT_CUE = 1, ///< CUE sheet with a data file.
  ZSIMAGEFORMAT_BIN = 2, ///< Never produced: a data file alone has no reader.
  ZSIMAGEFORMAT_NRG = 3, ///< Nero image.
  ZSIMAGEFORMAT_CCD = 4, ///< CloneCD description.
  ZSIMAGEFORMAT_ZSI = 5, ///< Native TOC file.
  ZSIMAGEFORMAT_MDS = 6, ///< Media Descriptor image.
};

/// Kind of a disc.
enum ZSTYPEPROJECT : std::int32_t {
  ZSTYPEPROJECT_NULL = 0,     ///< Not classified.
  ZSTYPEPROJECT_DATA = 1,     ///< One session of data.
  ZSTYPEPROJECT_CDAUDIO = 2,  ///< Audio only.
  ZSTYPEPROJECT_MIXED = 3,    ///< Audio and data in the first session.
  ZSTYPEPROJECT_CDPLUS = 4,   ///< An audio session, then a data session (Blue Book).
  ZSTYPEPROJECT_VIDEO = 5,    ///< Several tracks and the mark of a CD-Bridge disc (White Book).
  ZSTYPEPROJECT_DVDVIDEO = 6, ///< Never produced, like the next three values.
  ZSTYPEPROJECT_CDMP3 = 7,
  ZSTYPEPROJECT_CDWMA = 8,
  ZSTYPEPROJECT_CDOGG = 9,
  ZSTYPEPROJECT_DATAMULTISESSION = 10, ///< Data in several sessions, or more than two sessions of any kind.
  ZSTYPEPROJECT_OTHER = 11,            ///< Never produced.
};

/// Size of one sector in the image; the value is the size in bytes. Images may have other sizes.
enum ZSFILEBLOCKSIZECUE : std::int32_t {
  ZSFILEBLOCKSIZE_NULL = 0,
  ZSFILEBLOCKSIZE_2048 = 2048, ///< User data of mode 1, or of mode 2 form 1.
  ZSFILEBLOCKSIZE_2056 = 2056, ///< The same with its sub-header.
  ZSFILEBLOCKSIZE_2324 = 2324, ///< User data of mode 2 form 2.
  ZSFILEBLOCKSIZE_2332 = 2332, ///< The same with its sub-header.
  ZSFILEBLOCKSIZE_2336 = 2336, ///< All of a mode 2 sector after its header.
  ZSFILEBLOCKSIZE_2352 = 2352, ///< A raw sector.
  ZSFILEBLOCKSIZE_2368 = 2368, ///< A raw sector with 16 bytes of sub-channel Q.
  ZSFILEBLOCKSIZE_2448 = 2448, ///< A raw sector with 96 bytes of sub-channel.
};

/// Mode of a track. A value with bit 0x04 set counts as mode 2.
enum ZSMODETYPE : std::int32_t {
  ZSMODE_AUDIO = 0,
  ZSMODE_1 = 1,
  ZSMODE_2 = 4,
  ZSMODE_2_FORM1 = 4,
  ZSMODE_2_FORM2 = 5,
  ZSMODE_2_MIXED = 7,
  ZSMODE_UNKNOWN = 255,
};

/// Session format as in the lead-in of a disc (Red Book, MMC).
enum ZSSESSIONFORMAT : std::int32_t {
  ZSSESSIONFORMAT_CDDA_CDROM = 0,
  ZSSESSIONFORMAT_CDI = 16,
  ZSSESSIONFORMAT_CDROMXA = 32,
};

/// Language of a CD-Text block (Red Book, codes of EBU Tech 3264).
enum zscdtextlang : std::int32_t {
  ZSCDTEXT_CZECH = 6,
  ZSCDTEXT_DANISH = 7,
  ZSCDTEXT_GERMAN = 8,
  ZSCDTEXT_ENGLISH = 9,
  ZSCDTEXT_SPANISH = 10,
  ZSCDTEXT_FRENCH = 15,
  ZSCDTEXT_ITALIAN = 21,
  ZSCDTEXT_HUNGARIAN = 27,
  ZSCDTEXT_DUTCH = 29,
  ZSCDTEXT_NORWEGIAN = 30,
  ZSCDTEXT_POLISH = 32,
  ZSCDTEXT_PORTUGUESE = 33,
  ZSCDTEXT_SLOVENIAN = 38,
  ZSCDTEXT_FINNISH = 39,
  ZSCDTEXT_SWEDISH = 40,
  ZSCDTEXT_RUSSIAN = 86,
  ZSCDTEXT_GREEK = 112,
};

/// Bits of zsimagefileinfo::lMask: what accompanies the image.
inline constexpr LONG ZSIMAGEMASK_CDTEXT = 0x01;      ///< CD-Text is present.
inline constexpr LONG ZSIMAGEMASK_CDG = 0x02;         ///< The TOC file names a .CDG companion.
inline constexpr LONG ZSIMAGEMASK_SUBCHANNEL = 0x04;  ///< Sub-channel data exist, in a file or in the sectors.
inline constexpr LONG ZSIMAGEMASK_SUBINLINE = 0x08;   ///< Sectors of 2448 bytes contain their sub-channel.
inline constexpr LONG ZSIMAGEMASK_TRACKATONCE = 0x10; ///< An NRG image that was recorded track by track.

/// Bits of ZSTRACK::Flags: control flags of the sub-channel (Red Book).
inline constexpr LONG ZSTRACKFLAG_DCP = 0x01; ///< Digital copy permitted.
inline constexpr LONG ZSTRACKFLAG_PRE = 0x02; ///< Pre-emphasis.
inline constexpr LONG ZSTRACKFLAG_4CH = 0x04; ///< Four channels.

/// zsimagefileinfo::dwSeekEnd64 of an image whose sectors extend to the end of their file.
inline constexpr UHYPER kToEndOfFile = ~UHYPER{0};

inline constexpr std::size_t kMaxSessions = 99; ///< Elements of zsimagefileinfo::pZSCueSheet.
inline constexpr ULONG kNoIndex = 0xFFFFFFFF;   ///< Entry of ZSTRACK::pdwIndex for an absent index.

#pragma pack(push, 1)

/// The four bytes of an XA sub-header (CD-ROM XA).
struct ZSXA {
  BYTE FileNumber;      ///< File that the sector belongs to; 0 for none.
  BYTE ChannelNumber;   ///< Channel inside the file, 0 to 31.
  BYTE SubMode;         ///< Bits: end, video, audio, data, trigger, form 2, real time, end of file.
  BYTE CodeInformation; ///< How audio or video is coded; 0 for data.
};

/// One piece of a track's data. Made by IZSCueSheet::PrepareTracks, one for each track.
struct ZSFILESTRUCT {
  ULONG dwFlags;                  ///< 0.
  ULONG dwLBA;                    ///< Copy of the track's `dwLBA`.
  ULONG dwEndLBA;                 ///< Copy of the track's `dwEndLBA`.
  ZSFILEBLOCKSIZECUE ZSBlockSize; ///< 0.
  BSTR bstrFileName;              ///< Path of the image file.
  BSTR bstrLogicalPath;           ///< Null.
  ZSMODETYPE ZSMode;              ///< Copy of the track's `Mode`.
  ZSXA XA;                        ///< 0.
  UHYPER dwFromSeek64;            ///< 0 for a session's first track, all ones for every later one.
};

/// Text of a disc, from CD-Text (Red Book) or a CUE sheet. A string is null if there is no text.
struct ZSCDTEXT {
  VARIANT_BOOL CDTextPresent; ///< True once decoded CD-Text was stored here.
  BSTR bstrMCN;      ///< Media catalogue number (Red Book, Q mode 2): 13 digits, not checked. Also set without CD-Text.
  BSTR bstrTitle;    ///< Title.
  BSTR bstrComposer; ///< Who wrote the music.
  BSTR bstrPerformer;    ///< Who performs.
  BSTR bstrSongwriter;   ///< Who wrote the words.
  BSTR bstrArranger;     ///< Who arranged it.
  BSTR bstrGenre;        ///< Genre, as text.
  BSTR bstrMessage;      ///< Message of the maker.
  zscdtextlang Language; ///< Written into encoded CD-Text; no decoder sets it.
};

/// One track. In the image it extends from `dwLBA` - `Pregap` to `dwEndLBA`, exclusive. Positions are sectors of the
/// disc. In the record of a CUE sheet they count from the start of the data file. A string is null if there is no text.
struct ZSTRACK {
  UINT TNO;         ///< Number of the track, from 1 in each session; for a CUE sheet, the number in the sheet.
  ULONG* pdwIndex;  ///< Positions of the indexes, from index 0 on; kNoIndex where absent. In task memory. Null from
                    ///< formats other than CUE and NRG.
  BYTE nCountIndex; ///< Number of elements of `pdwIndex`.
  LONG Pregap;      ///< Sectors from index 0 to index 1, directly before `dwLBA`.
  ULONG dwLBA;      ///< Position of index 1, the first sector of the track proper.
  ULONG dwEndLBA;   ///< First position after the track.
  LONG Postgap;     ///< Sectors in the image after the track; 0 except from a TOC file.
  ZSMODETYPE Mode;  ///< ZSMODE_AUDIO, ZSMODE_1 or ZSMODE_2; a plain file of raw sectors may also be ZSMODE_2_FORM2.
  ZSFILEBLOCKSIZECUE BlockSize;      ///< Bytes of one sector of this track in the image file.
  ZSFILEBLOCKSIZECUE ImageBlockSize; ///< The size that zsimagefileinfo::ZSBlockSize reports.
  LONG Flags;                        ///< ZSTRACKFLAG_ bits.
  VARIANT varFiles;                  ///< Empty, or `vt` exactly VT_ARRAY with a SAFEARRAY of ZSFILESTRUCT.
  BSTR bstrTitle;                    ///< Title.
  BSTR bstrComposer;                 ///< Who wrote the music.
  BSTR bstrPerformer;                ///< Who performs.
  BSTR bstrSongwriter;               ///< Who wrote the words.
  BSTR bstrArranger;                 ///< Who arranged it.
  BSTR bstrGenre;                    ///< Genre, as text.
  BSTR bstrMessage;                  ///< Message of the maker.
  BSTR bstrISRC;                     ///< International standard recording code (ISO 3901; Red Book, Q mode 3): 12
                                     ///< characters, not checked.
  UHYPER dwReserved64; ///< Byte offset of the track. Set for CUE and MDS, from the start of the data file, and for NRG
                       ///< track at once, from the start of the session's data.
};

/// One session.
struct ZSCUESHEET {
  UINT nTracks;                      ///< Number of elements of `pZSTracks`.
  ZSTRACK* pZSTracks;                ///< The tracks, in task memory.
  ::ZSCDTEXT ZSCDTEXT;               ///< Text of the disc; CD-Text is in the first session only.
  ::ZSSESSIONFORMAT ZSSESSIONFORMAT; ///< Format of the session.
};

/// One image.
struct zsimagefileinfo {
  LONG lMask;                            ///< ZSIMAGEMASK_ bits.
  BSTR bstrImageBinaryFile;              ///< Path of the sector file; see ResolveFilePath.
  zsimgformat ZSImageFormat;             ///< Format of the description.
  ::ZSTYPEPROJECT ZSTYPEPROJECT;         ///< What the disc is.
  ZSFILEBLOCKSIZECUE ZSBlockSize;        ///< `ImageBlockSize` of one of its tracks; 0 for a CUE sheet of audio alone.
  ZSCUESHEET* pZSCueSheet[kMaxSessions]; ///< One sheet per session, in disc order, owned by the record; the rest is
                                         ///< null.
  USHORT nSessions;                      ///< Number of sessions, at most 99.
  UHYPER dwSeekBegin64;                  ///< Byte offset of the first sector in the sector file.
  UHYPER dwSeekEnd64;                    ///< Byte offset after the last sector; all ones for the end of the file.
  USHORT nSubCount;                      ///< Bytes before the user data inside a sector: 0, 8, 16 or 24.
  ULONG dwDiscID;  ///< Disc identifier as in CDDB, but counted from index 0 of each track; 0 until computed.
  ULONG dwDiscID2; ///< Identifier of the first session, if there are several; else 0.
  LONG lReserved;  ///< 0.
};

/// One descriptor of a READ TOC response (MMC). IZSImageFile::CreateTOCFile does not read it.
struct zsmmctoc {
  BYTE reserved;    ///< 0.
  BYTE bitFields;   ///< ADR in the upper half, control bits in the lower.
  BYTE TrackNumber; ///< 1 to 99; 0xAA for the lead-out.
  BYTE Reserved1;   ///< 0.
  BYTE LBA_MSB0;    ///< Start of the track, highest byte.
  BYTE LBA_MSB1;    ///< Second byte.
  BYTE LBA_LSB0;    ///< Third byte.
  BYTE LBA_LSB1;    ///< Lowest byte.
};

/// A READ TOC response of format 0 (MMC). IZSImageFile::CreateTOCFile does not read it.
struct zsmmcreadtoc0 {
  BYTE TOCDataLength_MSB; ///< Bytes that follow, high byte.
  BYTE TOCDataLength_LSB; ///< Low byte.
  BYTE FirstTrackNumber;  ///< 1 to 99.
  BYTE LastTrackNumber;   ///< 1 to 99.
  zsmmctoc Toc;           ///< The first descriptor.
};

/// First pack of a run of CD-Text packs. Packs have 18 bytes and follow each other directly; `pData` is not part of
/// them.
struct zsmmccdtext {
  BYTE Header[4];    ///< Type, track, sequence number, block and position.
  BYTE TextData[12]; ///< Text, or binary data of some types.
  BYTE CRC[2];       ///< Big-endian, inverted; 0 if there is none.
  BYTE* pData;       ///< Not read.
};

#pragma pack(pop)

/// @cond
namespace record_layout {
inline constexpr std::size_t P = sizeof(void*) - 4; // Bytes that each pointer adds on the target.
static_assert(sizeof(ZSXA) == 4 && sizeof(ZSFILESTRUCT) == 40 + 2 * P);
static_assert(sizeof(ZSCDTEXT) == 38 + 8 * P && sizeof(ZSTRACK) == 97 + 9 * P && sizeof(ZSCUESHEET) == 50 + 9 * P);
static_assert(sizeof(zsimagefileinfo) == 448 + 100 * P);
static_assert(sizeof(zsmmctoc) == 8 && sizeof(zsmmcreadtoc0) == 12 && sizeof(zsmmccdtext) == 22 + P);
static_assert(alignof(ZSTRACK) == 1 && alignof(zsimagefileinfo) == 1);
} // namespace record_layout
/// @endcond

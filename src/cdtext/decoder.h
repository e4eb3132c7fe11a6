/// @file
/// CD-Text packs into the texts of a sheet (Red Book, CD-Text; pack layout as in MMC).
///
/// A pack is 18 bytes: type, track, sequence number, block and character position, 12 bytes of text, and a CRC.
/// Texts of one type follow each other, each ended by a zero byte, and run on from pack to pack. The first text
/// of a type is the disc's unless its pack names a track, and each one behind it belongs to the next track.
#pragma once

#include <array>
#include <memory>
#include <string>

#include "disc/record_text.h"

inline constexpr std::size_t kPackSize = 18;
inline constexpr std::size_t kPackTextSize = 12; ///< Bytes of text in one pack, from byte kPackTextStart on.
inline constexpr std::size_t kPackTextStart = 4;

/// Pack types.
inline constexpr BYTE kPackTitle = 0x80;
inline constexpr BYTE kPackPerformer = 0x81;
inline constexpr BYTE kPackSongwriter = 0x82;
inline constexpr BYTE kPackComposer = 0x83;
inline constexpr BYTE kPackArranger = 0x84;
inline constexpr BYTE kPackMessage = 0x85;
inline constexpr BYTE kPackDiscId = 0x86;
inline constexpr BYTE kPackGenre = 0x87;
inline constexpr BYTE kPackTocInfo2 = 0x89; ///< Second table of contents.
inline constexpr BYTE kPackClosedInfo = 0x8D;
inline constexpr BYTE kPackCode = 0x8E; ///< ISRC of a track, catalogue number of the disc.
inline constexpr BYTE kPackSizeInfo = 0x8F;

/// The texts that a scan found, zero-terminated narrow text or null. The table owns them.
struct ZSCDTEXTTABLE {
  using Text = std::unique_ptr<char[]>;
  static constexpr std::size_t kFirstDiscText = 2; ///< The entries before it stay null.
  static constexpr std::size_t kTrackEntries = 100;

  std::array<Text, kFirstDiscText + kTextFields.size()> disc; ///< From kFirstDiscText on in the order of kTextFields.
  /// In the order of kTextFields; the text of track n is entry n - 1. Tracks end at 99, so the last stays null.
  std::array<std::array<Text, kTrackEntries>, kTextFields.size()> tracks;
};

/// Frees a table with its texts. Null is accepted.
void FreeCDTextTable(ZSCDTEXTTABLE* table) noexcept;

struct CDTextTableFree {
  void operator()(ZSCDTEXTTABLE* table) const noexcept { FreeCDTextTable(table); }
};
using UniqueCDTextTable = std::unique_ptr<ZSCDTEXTTABLE, CDTextTableFree>;

/// Collects the single-byte texts of a run of packs of a disc of `nTracks` tracks, up to the first double-byte
/// pack. Sequence numbers, blocks and CRCs play no part: blocks are read one after the other, and the first text
/// of each slot stands. Changes the track bytes of the data. One pass over the data, with a fixed buffer.
/// @return Null for data below one pack, or when there is no memory for the table.
UniqueCDTextTable ScanPacks(BYTE* data, std::size_t size, UINT nTracks);

/// Stores a text under the type and track of a pack, unless it is empty, its slot has a text already, or there is
/// no slot for it. Without memory for it the slot stays null.
void StoreText(const BYTE* pack, const char* text, ZSCDTEXTTABLE* table) noexcept;

/// Reads packs into the seven texts of a disc and of its tracks, which must be there. `CDTextPresent` tells
/// afterwards whether there was any pack; fields that the packs say nothing of stay as they were, and the string
/// of a field that they replace is freed. Changes the data. @return true always.
bool DecodeCDTextPacks(BYTE* data, std::size_t size, ZSCUESHEET* sheet) noexcept;

/// Decodes the file that a path becomes with the extension .CDT. False when there is none or it cannot be opened;
/// true tells nothing of what was in it. Throws std::bad_alloc.
bool LoadCDTextCompanion(const std::string& path, ZSCUESHEET* sheet);

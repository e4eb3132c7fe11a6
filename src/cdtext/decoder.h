/// @file
/// CD-Text packs into the texts of a sheet.
#pragma once

#include <array>
#include <memory>
#include <string>

#include "cdtext/packs.h"

/// The texts that a scan found, as narrow text; empty for none. The first index is that of kTextPackTypes.
struct ZSCDTEXTTABLE {
  static constexpr std::size_t kTrackEntries = 100; ///< Tracks end at 99, so the last entry stays empty.

  std::array<std::string, kTextPackTypes.size()> disc;
  std::array<std::array<std::string, kTrackEntries>, kTextPackTypes.size()> tracks; ///< Track n has entry n - 1.
};

/// Collects the single-byte texts of a run of packs of a disc with `nTracks` tracks, up to the first double-byte pack.
/// Sequence numbers, blocks and CRCs are ignored: the first text of each track and type counts. Changes the track bytes
/// of the data. One pass, with a fixed buffer.
/// @return Null for less than one pack, and without memory for the table.
std::unique_ptr<ZSCDTEXTTABLE> ScanPacks(BYTE* data, std::size_t size, UINT nTracks);

/// Stores a text for the type and track of a pack, unless it is empty, another text is there, or no field has the type.
/// Without memory for the text nothing is stored.
void StoreText(const BYTE* pack, const char* text, ZSCDTEXTTABLE* table) noexcept;

/// Decodes packs into the seven texts of a disc and of its tracks, which must exist. Sets `CDTextPresent` if there was
/// any pack. Texts that the packs have replace others, which are freed. Changes the data. @return true.
bool DecodeCDTextPacks(BYTE* data, std::size_t size, ZSCUESHEET* sheet) noexcept;

/// Decodes the .CDT file beside a path. @return false if there is no such file or it cannot be read. Throws
/// std::bad_alloc.
bool LoadCDTextCompanion(const std::string& path, ZSCUESHEET* sheet);

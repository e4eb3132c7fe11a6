/// @file
/// Decoder of CD-Text packs into the texts of a sheet.
#pragma once

#include <array>
#include <memory>
#include <string>

#include "cdtext/packs.h"

/// The texts that a scan found, as narrow text; empty if there is none. The first index is the type's index in
/// kTextPackTypes.
struct ZSCDTEXTTABLE {
  static constexpr std::size_t kTrackEntries = 100; ///< Tracks end at 99, so the last entry stays empty.

  std::array<std::string, kTextPackTypes.size()> disc;
  std::array<std::array<std::string, kTrackEntries>, kTextPackTypes.size()> tracks; ///< Track n has entry n - 1.
};

/// Collects the single-byte texts of a run of packs of a disc with `nTracks` tracks, up to the first double-byte pack.
/// Sequence numbers, blocks and CRCs are ignored: the first text of each track and type counts. Changes the track bytes
/// of the data. One pass, with a fixed buffer.
/// @return Null for less than one pack, or if out of memory.
std::unique_ptr<ZSCDTEXTTABLE> ScanPacks(BYTE* data, std::size_t size, UINT nTracks) noexcept;

/// Stores a text for the type and track of a pack. Does nothing if the text is empty, if the track has a text of that
/// type already, if no field has the type, or if out of memory.
void StoreText(const BYTE* pack, const char* text, ZSCDTEXTTABLE* table) noexcept;

/// Decodes packs into the seven texts of a disc and of its tracks, which must exist. Sets `CDTextPresent` if there is
/// at least one pack. Texts in the packs replace texts of the record, which are freed. Changes the data. @return true.
bool DecodeCDTextPacks(BYTE* data, std::size_t size, ZSCUESHEET* sheet) noexcept;

/// Decodes the .CDT file that has the name and folder of `path`. @return false if there is no such file or if it cannot
/// be read. Throws std::bad_alloc.
bool LoadCDTextCompanion(const std::string& path, ZSCUESHEET* sheet);

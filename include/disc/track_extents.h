/// @file
/// Offsets of tracks in the data file. Header-only.
///
/// A track's `dwLBA` is its position on the disc. It is its position in the data file, too, unless the file leaves out
/// sectors before the track (later sessions, recording track by track, PREGAP lines) or has other block sizes there.
#pragma once

#include <algorithm>
#include <span>
#include <utility>

#include "disc/records.h"

namespace imagefile {

/// The sectors of a track from index 1 to its end. It may be outside the file: numbers of an image are not checked.
struct TrackExtent {
  UHYPER begin;             ///< Byte in the data file.
  ULONG sectors;            ///< 0 for a track that ends before it begins.
  UINT blockSize;           ///< Bytes of one sector in the file; 0 if the description gives none.
  ULONG pregap;             ///< Sectors of the pregap that are in the file, directly before `begin`.
  bool isOpenEnded = false; ///< Whether it ends where the file ends, as the last track of a CUE sheet does.

  /// Returns whether the track is so long that its end may have been computed from a file that ends before the track.
  bool MayBeginAfterFile() const noexcept { return isOpenEnded && sectors > 1U << 23; }
  /// Returns the byte after the track.
  UHYPER End() const noexcept { return begin + UHYPER{sectors} * blockSize; }
  /// Returns how many sectors a file of a size lacks: of the track, or before one that ends where the file ends.
  ULONG Missing(UHYPER fileBytes) const noexcept {
    const UHYPER size = std::max(blockSize, 1U);
    if (isOpenEnded && sectors == 0 && begin > fileBytes) {
      return static_cast<ULONG>((begin - fileBytes + size - 1) / size);
    }
    const UHYPER present = (std::max(fileBytes, begin) - begin) / size;
    return sectors - static_cast<ULONG>(std::min<UHYPER>(present, sectors));
  }
};

/// Sectors of one size that follow each other in the data file, and the bytes that are read from each.
struct SectorRun {
  UHYPER begin;    ///< Byte of the first sector.
  ULONG sectors;   ///< Their number.
  UINT blockSize;  ///< Bytes from one sector to the next.
  UINT dataOffset; ///< Bytes at the start of each sector that are left out.
  UINT dataSize;   ///< Bytes that are read from each sector.

  /// Returns how many bytes are read.
  UHYPER Bytes() const noexcept { return UHYPER{sectors} * dataSize; }
};

/// Returns index 1 of a track as a position in the data file. PREGAP lines of a sheet move `dwLBA` alone; its index
/// table has the positions in the file.
inline ULONG FilePosition(const zsimagefileinfo& info, const ZSTRACK& track) noexcept {
  const bool hasTable = info.ZSImageFormat == ZSIMAGEFORMAT_CUE && track.pdwIndex != nullptr && track.nCountIndex > 1;
  return hasTable ? track.pdwIndex[1] : track.dwLBA;
}

/// Finds the tracks of one session after another. Sums wrap at 2^64, so that any numbers are allowed.
class ExtentFinder {
public:
  /// The record must outlive the finder.
  explicit ExtentFinder(const zsimagefileinfo& info) noexcept
      : m_info(info), m_offset(info.dwSeekBegin64), m_end(info.dwSeekBegin64) {}

  /// Visits the tracks of a session with their extents. @param sheet The first session, then the one after the last
  /// call's. @param visit (const ZSTRACK&, TrackExtent).
  template <class Visitor> void VisitSession(const ZSCUESHEET& sheet, Visitor visit) {
    const std::span tracks(sheet.pZSTracks, sheet.nTracks);
    if (tracks.empty()) {
      return;
    }
    const bool isFirst = std::exchange(m_isFirst, false);
    const auto hasOtherSize = [&](const ZSTRACK& track) { return BlockSize(track) != BlockSize(tracks[0]); };
    // Media Descriptor images state offsets, which are needed if the sizes before a track do not determine them.
    const bool isStated =
        m_info.ZSImageFormat == ZSIMAGEFORMAT_MDS && (!isFirst || std::ranges::any_of(tracks, hasOtherSize));
    m_sector = isFirst ? 0 : StartOf(tracks[0]);
    m_blockSize = BlockSize(tracks[0]);
    for (const ZSTRACK& track : tracks) {
      TrackExtent extent = ExtentOf(track);
      extent.begin = isStated && track.dwReserved64 != 0 ? UHYPER{track.dwReserved64} : extent.begin;
      const UHYPER room = extent.blockSize != 0 && extent.begin > m_end ? (extent.begin - m_end) / extent.blockSize : 0;
      extent.pregap = static_cast<ULONG>(std::min<UHYPER>(room, static_cast<ULONG>(std::max(LONG{track.Pregap}, 0))));
      extent.isOpenEnded = m_info.ZSImageFormat == ZSIMAGEFORMAT_CUE && &track == &tracks.back();
      m_end = extent.End();
      visit(track, extent);
    }
    if (!IsTrackAtOnce()) {
      MoveTo(UHYPER{tracks.back().dwEndLBA} + static_cast<UHYPER>(std::int64_t{tracks.back().Postgap}));
    }
  }

private:
  static UINT BlockSize(const ZSTRACK& track) noexcept { return static_cast<UINT>(std::max<LONG>(track.BlockSize, 0)); }
  bool IsTrackAtOnce() const noexcept { return (m_info.lMask & ZSIMAGEMASK_TRACKATONCE) != 0; }

  /// Returns the position of a track's pregap in the file.
  UHYPER StartOf(const ZSTRACK& track) const noexcept {
    return UHYPER{FilePosition(m_info, track)} - static_cast<UHYPER>(std::int64_t{track.Pregap});
  }
  void MoveTo(UHYPER sector) noexcept {
    m_offset += (sector - m_sector) * m_blockSize;
    m_sector = sector;
  }
  TrackExtent ExtentOf(const ZSTRACK& track) noexcept {
    const ULONG first = FilePosition(m_info, track);
    const ULONG sectors = track.dwEndLBA > first ? track.dwEndLBA - first : 0;
    if (IsTrackAtOnce()) { // The gaps between such tracks on the disc are not in the file.
      const TrackExtent extent{m_offset, sectors, BlockSize(track), 0};
      m_offset = extent.End();
      return extent;
    }
    MoveTo(StartOf(track));
    m_blockSize = BlockSize(track);
    return {m_offset + (first - m_sector) * m_blockSize, sectors, m_blockSize, 0};
  }

  const zsimagefileinfo& m_info;
  UHYPER m_offset; // Of `m_sector` in the file.
  UHYPER m_end;    // Byte after the track before.
  bool m_isFirst = true;
  UHYPER m_sector = 0;
  UINT m_blockSize = 0; // Of the sectors from `m_sector` on.
};

/// Returns the offset in a sector of its block of `size` bytes: 2048 bytes are the user data after header and
/// sub-header, 2352 the raw sector. If offset and size exceed the sector, it has no such block.
inline UINT OffsetInSector(const zsimagefileinfo& info, const ZSTRACK& track, UINT size) noexcept {
  constexpr UINT kRaw = ZSFILEBLOCKSIZE_2352;
  constexpr UINT kSyncAndHeader = 16;
  constexpr UINT kSubHeader = 8;
  const UINT blockSize = static_cast<UINT>(std::max<LONG>(track.BlockSize, 0));
  const bool isRaw = blockSize >= kRaw;
  if (size == blockSize || (isRaw && size >= kRaw) || track.Mode == ZSMODE_AUDIO) {
    return 0;
  }
  if (track.Mode == ZSMODE_1) {
    return isRaw ? kSyncAndHeader : 0;
  }
  if ((track.Mode & ZSMODE_2) == 0 || track.Mode == ZSMODE_UNKNOWN) {
    return info.nSubCount;
  }
  const bool withSubHeader =
      size == ZSFILEBLOCKSIZE_2336 || size == ZSFILEBLOCKSIZE_2332 || size == ZSFILEBLOCKSIZE_2056;
  const bool hasSubHeader = isRaw || blockSize == ZSFILEBLOCKSIZE_2336;
  return (isRaw ? kSyncAndHeader : 0) + (hasSubHeader && !withSubHeader ? kSubHeader : 0);
}

} // namespace imagefile

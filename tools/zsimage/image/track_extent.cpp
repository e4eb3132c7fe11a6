#include "image/track_extent.h"

#include <algorithm>

#include "image/host.h"

ULONG FilePosition(const zsimagefileinfo& info, const ZSTRACK& track) {
  const bool hasTable = info.ZSImageFormat == ZSIMAGEFORMAT_CUE && track.pdwIndex != nullptr && track.nCountIndex > 1;
  return hasTable ? track.pdwIndex[1] : track.dwLBA;
}

namespace {

UINT BlockSize(const ZSTRACK& track) { return static_cast<UINT>(std::max<LONG>(track.BlockSize, 0)); }

bool HasOneBlockSize(const ZSCUESHEET& sheet) {
  const auto tracks = Tracks(sheet);
  return std::all_of(tracks.begin(), tracks.end(),
                     [&](const ZSTRACK& track) { return BlockSize(track) == BlockSize(tracks[0]); });
}

/// Computes the extents of tracks in their order. Unsigned sums wrap at 2^64, so any numbers of an image are allowed.
class ExtentWalk {
public:
  explicit ExtentWalk(const zsimagefileinfo& info)
      : m_info(info), m_byte(info.dwSeekBegin64), m_end(info.dwSeekBegin64) {}

  void VisitSession(const ZSCUESHEET& sheet, bool isFirst, const TrackVisitor& visit) {
    if (sheet.nTracks == 0) {
      return;
    }
    m_sector = isFirst ? 0 : StartOf(sheet.pZSTracks[0]);
    m_blockSize = BlockSize(sheet.pZSTracks[0]);
    // Media Descriptor images state the offset of each track. It is needed if the block sizes of the tracks before
    // do not determine it.
    const bool hasOffsets = m_info.ZSImageFormat == ZSIMAGEFORMAT_MDS && (!isFirst || !HasOneBlockSize(sheet));
    for (const ZSTRACK& track : Tracks(sheet)) {
      TrackExtent extent = ExtentOf(track);
      extent.begin = hasOffsets && track.dwReserved64 != 0 ? UHYPER{track.dwReserved64} : extent.begin;
      if (extent.blockSize != 0 && extent.begin > m_end) {
        const auto pregap = static_cast<ULONG>(std::max(LONG{track.Pregap}, 0));
        extent.pregap = static_cast<ULONG>(std::min<UHYPER>(pregap, (extent.begin - m_end) / extent.blockSize));
      }
      m_end = extent.End();
      visit(track, extent);
    }
    if (!IsTrackAtOnce()) {
      const ZSTRACK& last = sheet.pZSTracks[sheet.nTracks - 1];
      MoveTo(UHYPER{last.dwEndLBA} + static_cast<UHYPER>(std::int64_t{last.Postgap}));
    }
  }

private:
  bool IsTrackAtOnce() const { return (m_info.lMask & ZSIMAGEMASK_TRACKATONCE) != 0; }

  /// Returns the position of a track's pregap in the file.
  UHYPER StartOf(const ZSTRACK& track) const {
    return UHYPER{FilePosition(m_info, track)} - static_cast<UHYPER>(std::int64_t{track.Pregap});
  }

  void MoveTo(UHYPER sector) {
    m_byte += (sector - m_sector) * m_blockSize;
    m_sector = sector;
  }

  TrackExtent ExtentOf(const ZSTRACK& track) {
    const ULONG first = FilePosition(m_info, track);
    const ULONG sectors = track.dwEndLBA > first ? track.dwEndLBA - first : 0;
    if (IsTrackAtOnce()) { // The gaps between such tracks on the disc are not in the file.
      const TrackExtent extent{m_byte, sectors, BlockSize(track), 0, 0};
      m_byte = extent.End();
      return extent;
    }
    MoveTo(StartOf(track));
    m_blockSize = BlockSize(track);
    return {m_byte + (first - m_sector) * m_blockSize, sectors, m_blockSize, 0, 0};
  }

  const zsimagefileinfo& m_info;
  UHYPER m_byte; ///< Offset of `m_sector` in the file.
  UHYPER m_sector = 0;
  UINT m_blockSize = 0; ///< Block size of the sectors from `m_sector` on.
  UHYPER m_end;         ///< Byte after the previous track.
};

/// Compares an extent with the size of the file. The last track of a sheet ends with the file: if the file ends before
/// the track begins, the track's end is meaningless.
void FindMissing(UHYPER fileSize, bool endsWithFile, TrackExtent* extent) {
  const UHYPER blockSize = std::max(extent->blockSize, 1U);
  const auto sectorsOf = [&](UHYPER bytes) { return (bytes - 1) / blockSize + 1; };
  if (endsWithFile && extent->begin > fileSize) {
    extent->sectors = 0;
    extent->missing = static_cast<ULONG>(sectorsOf(extent->begin - fileSize));
  } else if (extent->End() > fileSize) {
    extent->missing = static_cast<ULONG>(std::min<UHYPER>(sectorsOf(extent->End() - fileSize), extent->sectors));
  }
}

} // namespace

void VisitTracks(const zsimagefileinfo& info, unsigned session, std::optional<UHYPER> fileSize,
                 const TrackVisitor& visit) {
  ExtentWalk walk(info);
  for (unsigned i = 0; i < session; ++i) {
    walk.VisitSession(*info.pZSCueSheet[i], i == 0, [](const ZSTRACK& /*track*/, const TrackExtent& /*extent*/) {});
  }
  const ZSCUESHEET& sheet = *info.pZSCueSheet[session];
  walk.VisitSession(sheet, session == 0, [&](const ZSTRACK& track, TrackExtent extent) {
    const bool isLast = &track == &sheet.pZSTracks[sheet.nTracks - 1];
    if (fileSize) {
      FindMissing(*fileSize, isLast && info.ZSImageFormat == ZSIMAGEFORMAT_CUE, &extent);
    }
    visit(track, extent);
  });
}

UINT OffsetInSector(const zsimagefileinfo& info, const ZSTRACK& track, UINT size) {
  constexpr UINT kRaw = ZSFILEBLOCKSIZE_2352;
  constexpr UINT kSyncAndHeader = 16;
  constexpr UINT kSubHeader = 8;
  const UINT blockSize = BlockSize(track);
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

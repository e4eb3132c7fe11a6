#include "track_place.h"

#include <algorithm>

ULONG FileSector(const zsimagefileinfo& info, const ZSTRACK& track) {
  const bool counted = info.ZSImageFormat == ZSIMAGEFORMAT_CUE && track.pdwIndex != nullptr && track.nCountIndex > 1;
  return counted ? track.pdwIndex[1] : track.dwLBA;
}

namespace {

UINT BlockOf(const ZSTRACK& track) { return static_cast<UINT>(std::max<LONG>(track.BlockSize, 0)); }

ULONG SectorsOf(ULONG begin, ULONG end) { return end > begin ? end - begin : 0; }

/// Walks over tracks. Sums are taken modulo 2^64, so that any numbers may come.
class Walk {
public:
  explicit Walk(const zsimagefileinfo& info) : m_info(info), m_byte(info.dwSeekBegin64) {}

  /// Goes over one session and gives its places.
  std::vector<TrackPlace> Over(const ZSCUESHEET& sheet, bool isFirst) {
    std::vector<TrackPlace> places;
    m_sector = isFirst || sheet.nTracks == 0 ? 0 : StartOf(sheet.pZSTracks[0]);
    m_blockSize = sheet.nTracks == 0 ? 0 : BlockOf(sheet.pZSTracks[0]);
    for (UINT i = 0; i < sheet.nTracks; ++i) {
      places.push_back(Place(sheet.pZSTracks[i]));
    }
    if (sheet.nTracks != 0 && !TrackAtOnce()) {
      const ZSTRACK& last = sheet.pZSTracks[sheet.nTracks - 1];
      MoveTo(UHYPER{last.dwEndLBA} + static_cast<UHYPER>(std::int64_t{last.Postgap}));
    }
    return places;
  }

private:
  bool TrackAtOnce() const { return (m_info.lMask & ZSIMAGEMASK_TRACKATONCE) != 0; }

  /// Where a track begins with its pregap, in sectors.
  UHYPER StartOf(const ZSTRACK& track) const {
    return UHYPER{FileSector(m_info, track)} - static_cast<UHYPER>(std::int64_t{track.Pregap});
  }

  void MoveTo(UHYPER sector) {
    m_byte += (sector - m_sector) * m_blockSize;
    m_sector = sector;
  }

  TrackPlace Place(const ZSTRACK& track) {
    const ULONG first = FileSector(m_info, track);
    const ULONG sectors = SectorsOf(first, track.dwEndLBA);
    if (TrackAtOnce()) { // The gaps that such a recording leaves on the disc are not in the file.
      const TrackPlace place{m_byte, sectors, BlockOf(track)};
      m_byte = place.End();
      return place;
    }
    MoveTo(StartOf(track));
    m_blockSize = BlockOf(track);
    return {m_byte + (first - m_sector) * m_blockSize, sectors, m_blockSize};
  }

  const zsimagefileinfo& m_info;
  UHYPER m_byte; ///< Where `m_sector` stands in the file.
  UHYPER m_sector = 0;
  UINT m_blockSize = 0; ///< Of the sectors from `m_sector` on.
};

bool HasOneBlockSize(const ZSCUESHEET& sheet) {
  return std::all_of(sheet.pZSTracks, sheet.pZSTracks + sheet.nTracks,
                     [&](const ZSTRACK& track) { return BlockOf(track) == BlockOf(sheet.pZSTracks[0]); });
}

/// Media Descriptor images say where each track stands, which holds where the walk has to guess.
void TakeStatedPlaces(const ZSCUESHEET& sheet, std::vector<TrackPlace>* places) {
  for (UINT i = 0; i < sheet.nTracks; ++i) {
    const UHYPER stated = sheet.pZSTracks[i].dwReserved64;
    if (stated != 0) {
      (*places)[i].begin = stated;
    }
  }
}

} // namespace

std::vector<TrackPlace> PlacesOfSession(const zsimagefileinfo& info, unsigned session) {
  Walk walk(info);
  std::vector<TrackPlace> places;
  for (unsigned i = 0; i <= session; ++i) {
    places = walk.Over(*info.pZSCueSheet[i], i == 0);
  }
  const ZSCUESHEET& sheet = *info.pZSCueSheet[session];
  if (info.ZSImageFormat == ZSIMAGEFORMAT_MDS && (session != 0 || !HasOneBlockSize(sheet))) {
    TakeStatedPlaces(sheet, &places);
  }
  return places;
}

UINT OffsetInSector(const zsimagefileinfo& info, const ZSTRACK& track, UINT size) {
  constexpr UINT kRaw = ZSFILEBLOCKSIZE_2352;
  constexpr UINT kSyncAndHeader = 16;
  constexpr UINT kSubHeader = 8;
  const UINT blockSize = BlockOf(track);
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

#include "image/track_place.h"

#include <algorithm>

ULONG FileSector(const zsimagefileinfo& info, const ZSTRACK& track) {
  const bool counted = info.ZSImageFormat == ZSIMAGEFORMAT_CUE && track.pdwIndex != nullptr && track.nCountIndex > 1;
  return counted ? track.pdwIndex[1] : track.dwLBA;
}

namespace {

UINT BlockOf(const ZSTRACK& track) { return static_cast<UINT>(std::max<LONG>(track.BlockSize, 0)); }

ULONG SectorsOf(ULONG begin, ULONG end) { return end > begin ? end - begin : 0; }

bool HasOneBlockSize(const ZSCUESHEET& sheet) {
  return std::all_of(sheet.pZSTracks, sheet.pZSTracks + sheet.nTracks,
                     [&](const ZSTRACK& track) { return BlockOf(track) == BlockOf(sheet.pZSTracks[0]); });
}

/// Walks over tracks. Sums are taken modulo 2^64, so that any numbers may come.
class Walk {
public:
  explicit Walk(const zsimagefileinfo& info) : m_info(info), m_byte(info.dwSeekBegin64), m_end(info.dwSeekBegin64) {}

  void Over(const ZSCUESHEET& sheet, bool isFirst, const PlaceVisitor& visit) {
    m_sector = isFirst || sheet.nTracks == 0 ? 0 : StartOf(sheet.pZSTracks[0]);
    m_blockSize = sheet.nTracks == 0 ? 0 : BlockOf(sheet.pZSTracks[0]);
    // Media Descriptor images say where each track is, which holds where the walk has to guess.
    const bool isStated = m_info.ZSImageFormat == ZSIMAGEFORMAT_MDS && (!isFirst || !HasOneBlockSize(sheet));
    for (UINT i = 0; i < sheet.nTracks; ++i) {
      const ZSTRACK& track = sheet.pZSTracks[i];
      TrackPlace place = Place(track);
      place.begin = isStated && track.dwReserved64 != 0 ? UHYPER{track.dwReserved64} : place.begin;
      if (place.blockSize != 0 && place.begin > m_end) {
        place.pregap = static_cast<ULONG>(std::min<UHYPER>(static_cast<ULONG>(std::max(LONG{track.Pregap}, LONG{0})),
                                                           (place.begin - m_end) / place.blockSize));
      }
      m_end = place.End();
      visit(track, place);
    }
    if (sheet.nTracks != 0 && !TrackAtOnce()) {
      const ZSTRACK& last = sheet.pZSTracks[sheet.nTracks - 1];
      MoveTo(UHYPER{last.dwEndLBA} + static_cast<UHYPER>(std::int64_t{last.Postgap}));
    }
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
      const TrackPlace place{m_byte, sectors, BlockOf(track), 0, 0};
      m_byte = place.End();
      return place;
    }
    MoveTo(StartOf(track));
    m_blockSize = BlockOf(track);
    return {m_byte + (first - m_sector) * m_blockSize, sectors, m_blockSize, 0, 0};
  }

  const zsimagefileinfo& m_info;
  UHYPER m_byte; ///< Where `m_sector` stands in the file.
  UHYPER m_sector = 0;
  UINT m_blockSize = 0; ///< Of the sectors from `m_sector` on.
  UHYPER m_end;         ///< Byte after the track before.
};

/// Compares a place with the size of the file. The last track of a sheet ends with its file: in a file that ends before
/// the track begins, the track's end is any number.
void FindMissing(UHYPER fileSize, bool endsWithFile, TrackPlace* place) {
  const UHYPER size = std::max(place->blockSize, 1U);
  if (endsWithFile && place->begin > fileSize) {
    place->sectors = 0;
    place->missing = static_cast<ULONG>((place->begin - fileSize - 1) / size + 1);
  } else if (place->End() > fileSize) {
    const UHYPER missing = (place->End() - fileSize - 1) / size + 1;
    place->missing = static_cast<ULONG>(std::min<UHYPER>(missing, place->sectors));
  }
}

} // namespace

void VisitPlaces(const zsimagefileinfo& info, unsigned session, std::optional<UHYPER> fileSize,
                 const PlaceVisitor& visit) {
  Walk walk(info);
  for (unsigned i = 0; i < session; ++i) {
    walk.Over(*info.pZSCueSheet[i], i == 0, [](const ZSTRACK& /*track*/, const TrackPlace& /*place*/) {});
  }
  const ZSCUESHEET& sheet = *info.pZSCueSheet[session];
  walk.Over(sheet, session == 0, [&](const ZSTRACK& track, TrackPlace place) {
    const bool isLast = &track == &sheet.pZSTracks[sheet.nTracks - 1];
    if (fileSize) {
      FindMissing(*fileSize, isLast && info.ZSImageFormat == ZSIMAGEFORMAT_CUE, &place);
    }
    visit(track, place);
  });
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

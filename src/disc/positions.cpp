#include "disc/positions.h"

#include "disc/msf.h"
#include "disc/track_table.h"

namespace {

/// Converts a number of sectors to bytes. Negative numbers and sums of results wrap modulo 2^64.
UHYPER Bytes(std::int64_t sectors, const ZSTRACK& track) noexcept {
  return static_cast<UHYPER>(sectors) * BytesOf(track.BlockSize);
}

bool Contains(const ZSTRACK& track, ULONG lba) noexcept { return track.dwLBA <= lba && lba < track.dwEndLBA; }

std::int64_t LengthOf(const ZSTRACK& track) noexcept {
  return std::int64_t{track.dwEndLBA} - std::int64_t{track.dwLBA};
}

/// Sums the bytes of the tracks before the track of a sector. Computes the length of that track, if there is one.
UHYPER PositionInOneSession(const ZSCUESHEET& sheet, ULONG lba, UHYPER* length) noexcept {
  UHYPER sum = 0;
  for (UINT i = 0; i < sheet.nTracks; ++i) {
    const ZSTRACK& track = sheet.pZSTracks[i];
    if (Contains(track, lba)) {
      if (length != nullptr) {
        *length = Bytes(LengthOf(track) - track.Pregap, track);
      }
      break;
    }
    sum += Bytes(LengthOf(track) + track.Pregap, track);
  }
  return sum;
}

/// Stores the length of the track that contains a sector, if there is one.
void StoreLength(const ZSCUESHEET& sheet, ULONG lba, UHYPER* length) noexcept {
  for (UINT i = 0; i < sheet.nTracks; ++i) {
    if (Contains(sheet.pZSTracks[i], lba)) {
      *length = Bytes(LengthOf(sheet.pZSTracks[i]), sheet.pZSTracks[i]);
      return;
    }
  }
}

/// Returns the sectors of a session in the image, from the pregap of its first track to the postgap of its last.
std::int64_t SectorsOf(const ZSCUESHEET& session) noexcept {
  const ZSTRACK& first = session.pZSTracks[0];
  const ZSTRACK& last = session.pZSTracks[session.nTracks - 1];
  return std::int64_t{last.dwEndLBA} - first.dwLBA + last.Postgap + first.Pregap;
}

/// Finds the session of a sector and sums the bytes of the sessions before it.
UHYPER PositionInSeveralSessions(const zsimagefileinfo& info, ULONG lba, UHYPER* length) noexcept {
  UHYPER sum = 0;
  ULONG local = lba; // Decreases with each gap and session, and wraps below 0.
  const ZSCUESHEET* before = nullptr;
  for (std::size_t s = 0; s < info.nSessions; ++s) {
    const ZSCUESHEET& sheet = *info.pZSCueSheet[s];
    if (sheet.nTracks == 0) {
      continue;
    }
    const ZSTRACK& first = sheet.pZSTracks[0];
    if (before != nullptr) {
      const std::int64_t sectors = SectorsOf(*before);
      local -= (s == 1 ? kFirstSessionGap : kLaterSessionGap) + (first.Pregap == 0 ? kPause : 0);
      local -= static_cast<ULONG>(sectors);
      sum += Bytes(sectors, before->pZSTracks[0]);
    }
    before = &sheet;
    if (first.dwLBA <= local && local < sheet.pZSTracks[sheet.nTracks - 1].dwEndLBA) {
      if (length != nullptr) {
        StoreLength(*info.pZSCueSheet[0], lba, length);
      }
      return sum + Bytes(local, first);
    }
  }
  return sum;
}

} // namespace

void PositionFromLBA(const zsimagefileinfo& info, ULONG lba, UHYPER* seek, UHYPER* length) noexcept {
  UHYPER sum = 0;
  if (info.nSessions > 1) {
    sum = PositionInSeveralSessions(info, lba, length);
  } else if (info.nSessions == 1) {
    sum = PositionInOneSession(*info.pZSCueSheet[0], lba, length);
  }
  *seek = info.dwSeekBegin64 + sum;
}

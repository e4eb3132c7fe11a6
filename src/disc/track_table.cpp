#include "disc/track_table.h"

#include <cstring>

#include "platform/task_memory.h"

namespace {

constexpr UINT kMaxIndexes = 255; // nCountIndex is a BYTE.

} // namespace

bool AllocateTracks(ZSCUESHEET* sheet, UINT count) noexcept {
  auto* tracks = AllocateCleared<ZSTRACK>(count);
  if (tracks == nullptr) {
    return false;
  }
  sheet->pZSTracks = tracks;
  sheet->nTracks = count;
  return true;
}

bool AppendIndexes(ZSTRACK* track, const ULONG* positions, UINT count) noexcept {
  const UINT before = track->pdwIndex == nullptr ? 0 : track->nCountIndex;
  if (count > kMaxIndexes - before) {
    return false;
  }
  auto* grown = static_cast<ULONG*>(CoTaskMemRealloc(track->pdwIndex, (before + count) * sizeof(ULONG)));
  if (grown == nullptr) {
    return false;
  }
  std::memcpy(grown + before, positions, count * sizeof(ULONG));
  track->pdwIndex = grown;
  track->nCountIndex = static_cast<BYTE>(before + count);
  return true;
}

void SetMode(ZSCUESHEET* sheet, ZSTRACK* track, ZSMODETYPE mode) noexcept {
  track->Mode = mode;
  sheet->ZSSESSIONFORMAT = IsMode2(mode) ? ZSSESSIONFORMAT_CDROMXA : ZSSESSIONFORMAT_CDDA_CDROM;
}

void SetBlockSize(ZSTRACK* track, ULONG bytes) noexcept {
  track->BlockSize = static_cast<ZSFILEBLOCKSIZECUE>(bytes);
  track->ImageBlockSize = track->BlockSize;
}

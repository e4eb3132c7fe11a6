#include "disc/disc_id.h"

#include <vector>

#include "disc/msf.h"

namespace {

using Positions = std::vector<LONG>;

void AppendStarts(const ZSCUESHEET& sheet, Positions* list) {
  for (UINT i = 0; i < sheet.nTracks; ++i) {
    const ZSTRACK& track = sheet.pZSTracks[i];
    list->push_back(static_cast<LONG>(track.dwLBA - static_cast<ULONG>(track.Pregap)));
  }
}

void AppendEnd(const ZSCUESHEET& sheet, Positions* list) {
  list->push_back(static_cast<LONG>(sheet.pZSTracks[sheet.nTracks - 1].dwEndLBA));
}

ULONG DigitSum(ULONG number) noexcept {
  ULONG sum = 0;
  for (; number > 0; number /= 10) {
    sum += number % 10;
  }
  return sum;
}

ULONG IdentifierOf(const Positions& list) noexcept {
  if (list.empty()) {
    return 0;
  }
  const std::size_t last = list.size() - 1;
  ULONG sum = 0;
  for (std::size_t i = 0; i < last; ++i) {
    const ULONG time = LbaToMsf(list[i]);
    sum += DigitSum(MinutesOf(time) * 60 + SecondsOf(time));
  }
  const ULONG begin = LbaToMsf(list.front());
  const ULONG end = LbaToMsf(list.back());
  const ULONG seconds = (MinutesOf(end) - MinutesOf(begin)) * 60 - SecondsOf(begin) + SecondsOf(end);
  return (sum % 255 << 24) | (seconds << 8) | static_cast<ULONG>(last);
}

} // namespace

void ComputeDiscIDs(zsimagefileinfo* info) {
  if (info->nSessions == 0) {
    return;
  }
  Positions list;
  info->dwDiscID = 0;
  info->dwDiscID2 = 0;
  const ZSCUESHEET& first = *info->pZSCueSheet[0];
  AppendStarts(first, &list);
  if (info->nSessions > 1) {
    info->dwDiscID2 = IdentifierOf(list);
  }
  const ZSCUESHEET& last = info->nSessions > 1 ? *info->pZSCueSheet[1] : first;
  if (last.nTracks == 0) {
    return;
  }
  if (info->nSessions > 1) {
    AppendStarts(last, &list);
  }
  AppendEnd(last, &list);
  info->dwDiscID = IdentifierOf(list);
}

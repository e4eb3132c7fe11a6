#include "image/sheets.h"

#include <algorithm>
#include <new>

#include "output/failure.h"
#include "platform/task_memory.h"

UniqueSheet CreateSheet(const Interfaces& host, unsigned tracks) {
  ZSCUESHEET* created = nullptr;
  Check(host.Sheets().AllocCueSheet(&created), "");
  UniqueSheet sheet(created, SheetFree{&host.Sheets()});
  sheet->pZSTracks = tracks == 0 ? nullptr : AllocateCleared<ZSTRACK>(tracks);
  if (tracks != 0 && sheet->pZSTracks == nullptr) {
    throw std::bad_alloc();
  }
  sheet->nTracks = tracks;
  UINT number = 0;
  for (ZSTRACK& track : Tracks(*sheet)) {
    track.TNO = ++number;
  }
  return sheet;
}

std::string EncodeText(const Interfaces& host, ZSCUESHEET* sheet, bool withSubChannel) {
  const auto tracks = Tracks(*sheet);
  const bool hasText = HasText(sheet->ZSCDTEXT) || std::any_of(tracks.begin(), tracks.end(), HasText<ZSTRACK>);
  sheet->ZSCDTEXT.CDTextPresent = hasText ? VARIANT_TRUE : VARIANT_FALSE;
  BYTE* data = nullptr;
  LONG length = 0;
  const HRESULT result =
      host.Sheets().EncodeCDText(sheet, withSubChannel ? VARIANT_TRUE : VARIANT_FALSE, &data, &length);
  const TaskMemory<BYTE> owned(data);
  Check(result == S_FALSE ? S_OK : result, "");
  return {reinterpret_cast<const char*>(data), static_cast<std::size_t>(length)};
}

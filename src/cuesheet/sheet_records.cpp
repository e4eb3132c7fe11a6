#include "cuesheet/sheet_records.h"

#include <new>

#include "cuesheet/unique_sheet.h"
#include "disc/record_text.h"
#include "disc/track_table.h"
#include "foundation/strings.h"
#include "platform/task_memory.h"

namespace {

constexpr UHYPER kLaterTrack = ~UHYPER{0}; // Marks the pieces of all tracks but the first.

bool HasPieces(const ZSTRACK& track) noexcept { return track.varFiles.vt == VT_ARRAY; }

/// Copies the texts of another record. The fields are not freed.
template <class Record> void CloneTexts(const Record& source, Record* destination) {
  for (const TextField field : kTextFields) {
    SetText(destination, field, CopyBstr(TextOf(source, field)));
  }
}

template <class Record> void FreeTexts(Record* record) noexcept {
  for (const TextField field : kTextFields) {
    ReplaceText(record, field, nullptr);
  }
}

void CloneTrack(const ZSTRACK& source, ZSTRACK* copy) {
  copy->TNO = source.TNO;
  copy->Pregap = source.Pregap;
  copy->dwLBA = source.dwLBA;
  copy->dwEndLBA = source.dwEndLBA;
  copy->Postgap = source.Postgap;
  copy->Mode = source.Mode;
  copy->BlockSize = source.BlockSize;
  copy->ImageBlockSize = source.ImageBlockSize;
  copy->Flags = source.Flags;
  copy->dwReserved64 = source.dwReserved64;
  if (source.pdwIndex == nullptr) {
    copy->nCountIndex = source.nCountIndex;
  } else {
    AppendIndexes(copy, source.pdwIndex, source.nCountIndex);
  }
  if (HasPieces(source)) {
    SAFEARRAY* pieces = nullptr; // Remains null if out of memory.
    SafeArrayCopy(source.varFiles.parray, &pieces);
    copy->varFiles.vt = VT_ARRAY;
    copy->varFiles.parray = pieces;
  }
  CloneTexts(source, copy);
  copy->bstrISRC = CopyBstr(source.bstrISRC);
}

/// Returns a new list of one file piece, which has copies of the track's fields.
SAFEARRAY* MakePieces(const std::string& file, const ZSTRACK& track, bool first, IRecordInfo* description) {
  const SAFEARRAYBOUND bound{1, 0};
  UniqueSafeArray list(SafeArrayCreateEx(VT_RECORD, 1, &bound, description));
  if (!list) {
    throw std::bad_alloc();
  }
  const SafeArrayAccess access(list.get());
  auto* piece = access.Elements<ZSFILESTRUCT>();
  piece->bstrFileName = NewBstr(file);
  piece->ZSMode = track.Mode;
  piece->dwLBA = track.dwLBA;
  piece->dwEndLBA = track.dwEndLBA;
  piece->dwFromSeek64 = first ? 0 : kLaterTrack;
  return list.release();
}

/// Returns whether an array has one dimension and elements of the size of a track.
bool HoldsTracks(const SAFEARRAY* array) noexcept {
  return array != nullptr && SafeArrayGetDim(array) == 1 && array->cbElements == sizeof(ZSTRACK);
}

ULONG CountOf(const SAFEARRAY* array) noexcept { return array->rgsabound[0].cElements; }

void ShiftPieces(SAFEARRAY* pieces, ULONG shift) noexcept {
  if (pieces == nullptr || pieces->cbElements != sizeof(ZSFILESTRUCT)) {
    return;
  }
  const SafeArrayAccess access(pieces);
  auto* piece = access.Elements<ZSFILESTRUCT>();
  for (ULONG i = 0; i < CountOf(pieces); ++i) {
    piece[i].dwLBA += shift;
    piece[i].dwEndLBA += shift;
  }
}

/// Moves a track with all that it owns into a cleared element. Adds `shift` to its positions and to those of its
/// pieces.
void MoveTrack(ZSTRACK* source, UINT number, ULONG shift, ZSTRACK* target) noexcept {
  *target = *source;
  *source = ZSTRACK{};
  if (!OwnsArray(target->varFiles.vt)) {
    VARIANT noPieces = target->varFiles;
    VariantClear(&noPieces);
    target->varFiles.parray = nullptr;
  }
  target->varFiles.vt = VT_ARRAY;
  target->TNO = number;
  target->dwLBA += shift;
  target->dwEndLBA += shift;
  ShiftPieces(target->varFiles.parray, shift);
}

/// Moves all tracks of the source to the destination, after its first `before` elements.
void MoveTracks(SAFEARRAY* source, SAFEARRAY* destination, ULONG before) noexcept {
  const SafeArrayAccess from(source);
  const SafeArrayAccess to(destination);
  auto* tracks = from.Elements<ZSTRACK>();
  auto* target = to.Elements<ZSTRACK>();
  const ZSTRACK& last = target[before - 1];
  const UINT number = last.TNO + 1;
  const ULONG shift = last.dwEndLBA - last.dwLBA + 1;
  for (ULONG i = 0; i < CountOf(source); ++i) {
    MoveTrack(&tracks[i], number + i, shift, &target[before + i]);
  }
}

} // namespace

ZSCUESHEET* CloneSheet(const ZSCUESHEET& source) {
  UniqueSheet copy(AllocateCleared<ZSCUESHEET>(1));
  if (!copy || (source.nTracks != 0 && !AllocateTracks(copy.get(), source.nTracks))) {
    throw std::bad_alloc();
  }
  for (UINT i = 0; i < source.nTracks; ++i) {
    CloneTrack(source.pZSTracks[i], &copy->pZSTracks[i]);
  }
  CloneDiscTexts(source.ZSCDTEXT, &copy->ZSCDTEXT);
  copy->ZSCDTEXT.bstrMCN = CopyBstr(source.ZSCDTEXT.bstrMCN);
  copy->ZSSESSIONFORMAT = source.ZSSESSIONFORMAT;
  return copy.release();
}

void CloneDiscTexts(const ::ZSCDTEXT& source, ::ZSCDTEXT* destination) {
  destination->CDTextPresent = source.CDTextPresent;
  destination->Language = source.Language;
  CloneTexts(source, destination);
}

void ReplaceTrackTexts(const ZSTRACK& source, ZSTRACK* destination) {
  FreeTexts(destination);
  SysFreeString(destination->bstrISRC);
  destination->bstrISRC = nullptr;
  CloneTexts(source, destination);
  destination->bstrISRC = CopyBstr(source.bstrISRC);
}

void FreeTrack(const ZSTRACK& track) noexcept {
  CoTaskMemFree(track.pdwIndex);
  if (HasPieces(track)) {
    SafeArrayDestroy(track.varFiles.parray);
  }
  for (const TextField field : kTextFields) {
    SysFreeString(TextOf(track, field));
  }
  SysFreeString(track.bstrISRC);
}

void FreeDiscTexts(::ZSCDTEXT* text) noexcept { FreeTexts(text); }

void FreeSheet(ZSCUESHEET* sheet) noexcept {
  for (UINT i = 0; i < sheet->nTracks; ++i) {
    FreeTrack(sheet->pZSTracks[i]);
  }
  FreeDiscTexts(&sheet->ZSCDTEXT);
  SysFreeString(sheet->ZSCDTEXT.bstrMCN);
  CoTaskMemFree(sheet->pZSTracks);
  CoTaskMemFree(sheet);
}

HRESULT AttachPieces(BSTR imageFile, IRecordInfo* description, ZSCUESHEET* sheet) {
  const std::string file = NarrowText(imageFile);
  for (UINT i = 0; i < sheet->nTracks; ++i) {
    ZSTRACK& track = sheet->pZSTracks[i];
    SAFEARRAY* list = MakePieces(file, track, i == 0, description);
    track.varFiles.vt = VT_ARRAY;
    track.varFiles.parray = list;
  }
  return S_OK;
}

HRESULT AppendTracks(VARIANT* source, VARIANT* destination) noexcept {
  SAFEARRAY* from = source->parray;
  SAFEARRAY* to = destination->parray;
  if (!HoldsTracks(from) || !HoldsTracks(to) || from == to || CountOf(to) == 0 ||
      CountOf(from) > UINT32_MAX - CountOf(to)) {
    return E_INVALIDARG;
  }
  if (from->cLocks != 0) {
    return DISP_E_ARRAYISLOCKED;
  }
  const ULONG before = CountOf(to);
  const SAFEARRAYBOUND grown{before + CountOf(from), 0};
  const HRESULT result = SafeArrayRedim(to, &grown);
  if (FAILED(result)) {
    return result;
  }
  MoveTracks(from, to, before);
  SafeArrayDestroy(from);
  source->parray = nullptr;
  source->vt = VT_EMPTY;
  return S_OK;
}

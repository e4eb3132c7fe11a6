#include <array>

#include "disc/record_descriptions.h"
#include "foundation/strings.h"
#include "platform/record_info.h"
#include "support/checks.h"
#include "support/run.h"

namespace fuzz {
namespace {

constexpr int kMostRounds = 32;

/// A copy must tell the same, also when each track has its file pieces.
void CheckCopies(Run* run, zsimagefileinfo* info) {
  Record copy(run);
  Require(run->Images().Clone(info, &*copy) == S_OK, "a record can be copied");
  RequireRecord(*copy, S_OK);
  RequireCopy(*info, *copy);
  for (std::size_t i = 0; i < copy->nSessions; ++i) {
    run->Sheets().PrepareTracks(Wide("DISC.BIN").get(), copy->pZSCueSheet[i]);
  }
  Record second(run);
  Require(run->Images().Clone(&*copy, &*second) == S_OK, "a record with pieces can be copied");
  RequireCopy(*copy, *second);
  if (copy->nSessions > 1) {
    run->Sheets().CopyCDText(copy->pZSCueSheet[0], copy->pZSCueSheet[1]);
    RequireSheet(*copy->pZSCueSheet[1]);
  }
}

/// A value that holds copies of a session's tracks, as hosts make them.
VARIANT TracksOf(const ZSCUESHEET& sheet) {
  ComPtr<ITypeLib> library;
  ComPtr<ITypeInfo> type;
  ComPtr<IRecordInfo> description;
  LoadRegTypeLib(kSharedTypeLibrary, 1, 0, 0, library.Receive());
  library->GetTypeInfoOfGuid(kRecordTrack, type.Receive());
  GetRecordInfoFromTypeInfo(type.Get(), description.Receive());
  const SAFEARRAYBOUND bound{sheet.nTracks, 0};
  VARIANT tracks{};
  tracks.vt = VT_ARRAY;
  tracks.parray = SafeArrayCreateEx(VT_RECORD, 1, &bound, description.Get());
  const SafeArrayAccess access(tracks.parray);
  for (UINT i = 0; i < sheet.nTracks; ++i) {
    const HRESULT result = description->RecordCopy(&sheet.pZSTracks[i], &access.Elements<ZSTRACK>()[i]);
    Require(result == S_OK, "a track can be copied into an array");
  }
  return tracks;
}

void CheckMerging(Run* run, const ZSCUESHEET& first, const ZSCUESHEET& second) {
  VARIANT destination = TracksOf(first);
  VARIANT source = TracksOf(second);
  const HRESULT result = run->Sheets().MergeTracks(&source, &destination);
  const bool merged = first.nTracks != 0;
  Require(result == (merged ? S_OK : E_INVALIDARG), "tracks are merged behind others");
  Require(source.vt == (merged ? VT_EMPTY : VT_ARRAY), "what was merged is taken away");
  Require(destination.parray->rgsabound[0].cElements == first.nTracks + (merged ? second.nTracks : 0), "none is lost");
  VariantClear(&source);
  VariantClear(&destination);
}

void CheckNumbers(Run* run, zsimagefileinfo* info) {
  const ULONG first = info->dwDiscID;
  const ULONG second = info->dwDiscID2;
  run->Images().CalculateDiscID(info);
  Require(info->ZSImageFormat == ZSIMAGEFORMAT_ISO || (info->dwDiscID == first && info->dwDiscID2 == second),
          "identifiers follow from the record");
  for (const ULONG lba : {0U, 16U, 11400U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
    UHYPER seek = 0;
    UHYPER length = 0;
    Require(run->Images().GetPositionFromLBA(info, lba, &seek, &length) == S_OK, "positions are computed");
    run->Images().GetPositionFromLBA(info, lba, &seek, nullptr);
  }
}

/// Writes a record in a format, and gives the text of the file.
std::string Written(Run* run, zsimagefileinfo* info, zsimgformat format, const std::string& name) {
  std::optional<std::string> packs;
  if (format == ZSIMAGEFORMAT_ZSI) {
    packs = Packs(run, info->pZSCueSheet[0], false);
  }
  if (packs) {
    packs->pop_back(); // The zero byte behind the packs.
  }
  info->ZSImageFormat = format;
  auto* data = packs ? reinterpret_cast<zsmmccdtext*>(packs->data()) : nullptr;
  const auto length = static_cast<UINT>(packs ? packs->size() : 0);
  Require(run->Images().CreateTOCFile(Wide(PathOf(name)).get(), info, nullptr, 0, data, length) == S_OK,
          "a record with sessions can be written");
  return run->Files().Find(PathOf(name))->bytes;
}

/// What a format loses is lost after some rounds of writing and reading, and then nothing changes any more.
void CheckWriting(Run* run, zsimagefileinfo* info, zsimgformat format, const std::string& name) {
  if (info->nSessions == 0) {
    return;
  }
  if (const auto sectors = run->Files().Find(NarrowText(info->bstrImageBinaryFile)); sectors != nullptr) {
    run->Files().Add("OUT.BIN", sectors);
  }
  Record copy(run);
  Require(run->Images().Clone(info, &*copy) == S_OK, "a record can be copied");
  std::string before = Written(run, &*copy, format, name);
  for (int round = 0; round < kMostRounds && copy.Read(name) == S_OK && copy->nSessions != 0; ++round) {
    std::string after = Written(run, &*copy, format, name);
    if (after == before) {
      return;
    }
    before = std::move(after);
  }
  Require(copy->nSessions == 0, "writing and reading comes to rest");
}

} // namespace

HRESULT CheckImage(Run* run, std::string_view name) {
  Record record(run);
  const HRESULT result = record.Read(name);
  if (result != S_OK) {
    return result;
  }
  CheckCopies(run, &*record);
  CheckNumbers(run, &*record);
  if (record->nSessions != 0) {
    CheckMerging(run, *record->pZSCueSheet[0], *record->pZSCueSheet[record->nSessions - 1]);
  }
  for (std::size_t i = 0; i < record->nSessions; ++i) {
    Packs(run, record->pZSCueSheet[i], true);
  }
  CheckWriting(run, &*record, ZSIMAGEFORMAT_CUE, "OUT.CUE");
  CheckWriting(run, &*record, ZSIMAGEFORMAT_ZSI, "OUT.ZSI");
  return result;
}

} // namespace fuzz

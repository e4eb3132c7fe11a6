#include <array>

#include "disc/record_descriptions.h"
#include "foundation/strings.h"
#include "platform/record_info.h"
#include "support/checks.h"
#include "support/run.h"

namespace fuzz {
namespace {

constexpr int kRoundLimit = 32;

/// Checks copies of a record, also after its tracks have file pieces.
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

/// Returns an array of records with copies of the tracks of a session, as hosts pass it.
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
  Require(result == (merged ? S_OK : E_INVALIDARG), "tracks are merged if there is a track before them");
  Require(source.vt == (merged ? VT_EMPTY : VT_ARRAY), "a merged array is emptied");
  Require(destination.parray->rgsabound[0].cElements == first.nTracks + (merged ? second.nTracks : 0),
          "no track is lost");
  VariantClear(&source);
  VariantClear(&destination);
}

void CheckIdentifiersAndPositions(Run* run, zsimagefileinfo* info) {
  const ULONG first = info->dwDiscID;
  const ULONG second = info->dwDiscID2;
  run->Images().CalculateDiscID(info);
  Require(info->ZSImageFormat == ZSIMAGEFORMAT_ISO || (info->dwDiscID == first && info->dwDiscID2 == second),
          "identifiers depend on the record alone");
  for (const ULONG lba : {0U, 16U, 11400U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
    UHYPER seek = 0;
    UHYPER length = 0;
    Require(run->Images().GetPositionFromLBA(info, lba, &seek, &length) == S_OK, "positions are computed");
    run->Images().GetPositionFromLBA(info, lba, &seek, nullptr);
  }
}

/// Writes a record in a format. Returns the text of the file.
std::string Write(Run* run, zsimagefileinfo* info, zsimgformat format, const std::string& name) {
  std::optional<std::string> packs;
  if (format == ZSIMAGEFORMAT_ZSI) {
    packs = EncodePacks(run, info->pZSCueSheet[0], false);
  }
  if (packs) {
    packs->pop_back(); // The zero byte after the packs.
  }
  info->ZSImageFormat = format;
  auto* data = packs ? reinterpret_cast<zsmmccdtext*>(packs->data()) : nullptr;
  const auto length = static_cast<UINT>(packs ? packs->size() : 0);
  Require(run->Images().CreateTOCFile(Wide(PathOf(name)).get(), info, nullptr, 0, data, length) == S_OK,
          "a record with sessions can be written");
  return run->Files().Find(PathOf(name))->bytes;
}

/// Writes and reads a record until the file stays the same: what the format cannot hold is lost within a few rounds.
void CheckWriting(Run* run, zsimagefileinfo* info, zsimgformat format, const std::string& name) {
  if (info->nSessions == 0) {
    return;
  }
  if (const auto sectors = run->Files().Find(NarrowText(info->bstrImageBinaryFile)); sectors != nullptr) {
    run->Files().Add("OUT.BIN", sectors);
  }
  Record copy(run);
  Require(run->Images().Clone(info, &*copy) == S_OK, "a record can be copied");
  std::string before = Write(run, &*copy, format, name);
  for (int round = 0; round < kRoundLimit && copy.Read(name) == S_OK && copy->nSessions != 0; ++round) {
    std::string after = Write(run, &*copy, format, name);
    if (after == before) {
      return;
    }
    before = std::move(after);
  }
  Require(copy->nSessions == 0, "repeated writing and reading ends in the same file");
}

} // namespace

HRESULT CheckImage(Run* run, std::string_view name) {
  Record record(run);
  const HRESULT result = record.Read(name);
  if (result != S_OK) {
    return result;
  }
  CheckCopies(run, &*record);
  CheckIdentifiersAndPositions(run, &*record);
  if (record->nSessions != 0) {
    CheckMerging(run, *record->pZSCueSheet[0], *record->pZSCueSheet[record->nSessions - 1]);
  }
  for (std::size_t i = 0; i < record->nSessions; ++i) {
    EncodePacks(run, record->pZSCueSheet[i], true);
  }
  CheckWriting(run, &*record, ZSIMAGEFORMAT_CUE, "OUT.CUE");
  CheckWriting(run, &*record, ZSIMAGEFORMAT_ZSI, "OUT.ZSI");
  return result;
}

} // namespace fuzz

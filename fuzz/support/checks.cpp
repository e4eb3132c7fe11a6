#include "support/checks.h"

#include <sanitizer/allocator_interface.h>

#include <algorithm>

#include "disc/record_text.h"
#include "platform/bstr.h"

namespace fuzz {
namespace {

bool IsWellFormed(std::u16string_view text) noexcept {
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool high = (text[i] & 0xFC00) == 0xD800;
    const bool low = (text[i] & 0xFC00) == 0xDC00;
    if (low || (high && (i + 1 == text.size() || (text[i + 1] & 0xFC00) != 0xDC00))) {
      return false;
    }
    i += high ? 1 : 0;
  }
  return true;
}

bool HasBytes(const void* block, std::size_t bytes) noexcept {
  return block != nullptr && __sanitizer_get_allocated_size(block) >= bytes;
}

template <class Record> void RequireTexts(const Record& record) noexcept {
  for (const TextField field : kTextFields) {
    RequireText(TextOf(record, field));
  }
}

void RequireTrack(const ZSTRACK& track) noexcept {
  Require((track.nCountIndex != 0) == (track.pdwIndex != nullptr), "nCountIndex agrees with pdwIndex");
  Require(track.pdwIndex == nullptr || HasBytes(track.pdwIndex, track.nCountIndex * sizeof(ULONG)),
          "an index table has nCountIndex entries");
  Require(track.varFiles.vt == VT_EMPTY || (track.varFiles.vt == VT_ARRAY && track.varFiles.parray != nullptr),
          "varFiles is empty or a list");
  RequireTexts(track);
  RequireText(track.bstrISRC);
}

bool IsAllZero(const zsimagefileinfo& info) noexcept {
  const auto* bytes = reinterpret_cast<const BYTE*>(&info);
  return std::all_of(bytes, bytes + sizeof(info), [](BYTE byte) { return byte == 0; });
}

void RequireSameText(BSTR source, BSTR copy) noexcept {
  Require((source == nullptr) == (copy == nullptr) && BstrView(source) == BstrView(copy), "texts are copied");
  Require(source == nullptr || source != copy, "copies own their texts");
}

template <class Record> void RequireSameTexts(const Record& source, const Record& copy) noexcept {
  for (const TextField field : kTextFields) {
    RequireSameText(TextOf(source, field), TextOf(copy, field));
  }
}

void RequireSamePieces(const VARIANT& source, const VARIANT& copy) noexcept {
  Require(source.vt == copy.vt, "lists of pieces are copied");
  if (source.vt != VT_ARRAY) {
    return;
  }
  Require(source.parray != copy.parray, "copies own their lists");
  const ULONG count = source.parray->rgsabound[0].cElements;
  Require(copy.parray != nullptr && copy.parray->rgsabound[0].cElements == count, "lists keep their length");
  const SafeArrayAccess from(source.parray);
  const SafeArrayAccess to(copy.parray);
  for (ULONG i = 0; i < count; ++i) {
    const ZSFILESTRUCT& piece = from.Elements<ZSFILESTRUCT>()[i];
    const ZSFILESTRUCT& other = to.Elements<ZSFILESTRUCT>()[i];
    Require(piece.dwLBA == other.dwLBA && piece.dwEndLBA == other.dwEndLBA && piece.ZSMode == other.ZSMode &&
                piece.dwFromSeek64 == other.dwFromSeek64,
            "pieces are copied");
    RequireSameText(piece.bstrFileName, other.bstrFileName);
  }
}

void RequireSameTrack(const ZSTRACK& source, const ZSTRACK& copy) noexcept {
  Require(source.TNO == copy.TNO && source.Pregap == copy.Pregap && source.dwLBA == copy.dwLBA &&
              source.dwEndLBA == copy.dwEndLBA && source.Postgap == copy.Postgap && source.Mode == copy.Mode &&
              source.BlockSize == copy.BlockSize && source.ImageBlockSize == copy.ImageBlockSize &&
              source.Flags == copy.Flags && source.dwReserved64 == copy.dwReserved64 &&
              source.nCountIndex == copy.nCountIndex,
          "tracks are copied");
  for (int i = 0; i < source.nCountIndex; ++i) {
    Require(source.pdwIndex[i] == copy.pdwIndex[i], "index tables are copied");
  }
  Require(source.pdwIndex == nullptr || source.pdwIndex != copy.pdwIndex, "copies own their index tables");
  RequireSamePieces(source.varFiles, copy.varFiles);
  RequireSameTexts(source, copy);
  RequireSameText(source.bstrISRC, copy.bstrISRC);
}

} // namespace

void RequireText(BSTR text) noexcept {
  if (text == nullptr) {
    return;
  }
  Require(SysStringByteLen(text) % sizeof(OLECHAR) == 0, "a string has whole units");
  const std::u16string_view view = BstrView(text);
  Require(!view.empty() && text[view.size()] == 0, "a string has text and ends in zero");
  Require(view.find(u'\0') == std::u16string_view::npos, "a string has no zero in its text");
  Require(IsWellFormed(view), "a string is well-formed UTF-16");
}

void RequireSheet(const ZSCUESHEET& sheet) noexcept {
  Require(sheet.nTracks == 0 || HasBytes(sheet.pZSTracks, std::size_t{sheet.nTracks} * sizeof(ZSTRACK)),
          "a sheet has nTracks tracks");
  for (UINT i = 0; i < sheet.nTracks; ++i) {
    RequireTrack(sheet.pZSTracks[i]);
  }
  const VARIANT_BOOL present = sheet.ZSCDTEXT.CDTextPresent;
  Require(present == VARIANT_TRUE || present == VARIANT_FALSE, "CDTextPresent is a VARIANT_BOOL");
  RequireTexts(sheet.ZSCDTEXT);
  RequireText(sheet.ZSCDTEXT.bstrMCN);
}

void RequireRecord(const zsimagefileinfo& info, HRESULT result) noexcept {
  if (result != S_OK) {
    Require(IsAllZero(info), "a failure leaves the record all zero");
    return;
  }
  Require(info.nSessions <= kMaxSessions, "nSessions is at most 99");
  for (std::size_t i = 0; i < kMaxSessions; ++i) {
    Require((info.pZSCueSheet[i] != nullptr) == (i < info.nSessions), "there are nSessions sheets, none null");
    if (i < info.nSessions) {
      RequireSheet(*info.pZSCueSheet[i]);
    }
  }
  constexpr LONG kMask =
      ZSIMAGEMASK_CDTEXT | ZSIMAGEMASK_CDG | ZSIMAGEMASK_SUBCHANNEL | ZSIMAGEMASK_SUBINLINE | ZSIMAGEMASK_TRACKATONCE;
  Require((info.lMask & ~kMask) == 0 && info.lReserved == 0, "no unknown bits are set");
  Require(info.nSubCount <= 24 && info.nSubCount % 8 == 0, "nSubCount is 0, 8, 16 or 24");
  Require(info.bstrImageBinaryFile != nullptr, "the sector file is named");
  RequireText(info.bstrImageBinaryFile);
}

void RequireCopy(const ZSCUESHEET& source, const ZSCUESHEET& copy) noexcept {
  Require(source.nTracks == copy.nTracks && source.ZSSESSIONFORMAT == copy.ZSSESSIONFORMAT &&
              source.ZSCDTEXT.CDTextPresent == copy.ZSCDTEXT.CDTextPresent &&
              source.ZSCDTEXT.Language == copy.ZSCDTEXT.Language,
          "sheets are copied");
  for (UINT i = 0; i < source.nTracks; ++i) {
    RequireSameTrack(source.pZSTracks[i], copy.pZSTracks[i]);
  }
  RequireSameTexts(source.ZSCDTEXT, copy.ZSCDTEXT);
  RequireSameText(source.ZSCDTEXT.bstrMCN, copy.ZSCDTEXT.bstrMCN);
}

void RequireCopy(const zsimagefileinfo& source, const zsimagefileinfo& copy) noexcept {
  Require(source.lMask == copy.lMask && source.ZSImageFormat == copy.ZSImageFormat &&
              source.ZSTYPEPROJECT == copy.ZSTYPEPROJECT && source.ZSBlockSize == copy.ZSBlockSize &&
              source.nSessions == copy.nSessions && source.dwSeekBegin64 == copy.dwSeekBegin64 &&
              source.dwSeekEnd64 == copy.dwSeekEnd64 && source.nSubCount == copy.nSubCount &&
              source.dwDiscID == copy.dwDiscID && source.dwDiscID2 == copy.dwDiscID2 &&
              source.lReserved == copy.lReserved,
          "records are copied");
  RequireSameText(source.bstrImageBinaryFile, copy.bstrImageBinaryFile);
  for (std::size_t i = 0; i < source.nSessions; ++i) {
    Require(source.pZSCueSheet[i] != copy.pZSCueSheet[i], "copies own their sheets");
    RequireCopy(*source.pZSCueSheet[i], *copy.pZSCueSheet[i]);
  }
}

} // namespace fuzz

// The CD-Text encoder. The input is a record: one byte each with flags, the number of tracks and the language, the
// texts of the disc, then for each track one byte with its mode, its texts and its ISRC. Each text ends in a zero byte.
#include <algorithm>
#include <array>

#include "cdtext/decoder.h"
#include "cdtext/encoder.h"
#include "foundation/strings.h"
#include "support/harness.h"

namespace {

constexpr UINT kTrackLimit = 128;

/// Reads the fields of an input in order. Fields after its end are zero or empty.
class Input {
public:
  explicit Input(std::string_view bytes) noexcept : m_rest(bytes) {}

  BYTE ReadByte() noexcept {
    const BYTE byte = m_rest.empty() ? BYTE{0} : static_cast<BYTE>(m_rest.front());
    m_rest.remove_prefix(std::min<std::size_t>(1, m_rest.size()));
    return byte;
  }
  BSTR ReadText() {
    const std::string_view text = m_rest.substr(0, m_rest.find('\0'));
    m_rest.remove_prefix(std::min(text.size() + 1, m_rest.size()));
    return NewBstr(text);
  }

private:
  std::string_view m_rest;
};

template <class TextRecord> void FillTexts(Input* input, TextRecord* record) {
  for (const TextField field : kTextFields) {
    SetText(record, field, input->ReadText());
  }
}

void FillSheet(Input* input, ZSCUESHEET* sheet) {
  FillTexts(input, &sheet->ZSCDTEXT);
  for (UINT i = 0; i < sheet->nTracks; ++i) {
    sheet->pZSTracks[i].Mode = static_cast<ZSMODETYPE>(input->ReadByte() % 8);
    FillTexts(input, &sheet->pZSTracks[i]);
    sheet->pZSTracks[i].bstrISRC = input->ReadText();
  }
}

void CheckPacks(std::string_view packs) {
  fuzz::Require(packs.size() % kPackSize == 1 && packs.back() == 0, "whole packs and a zero byte are returned");
  fuzz::Require(packs.size() / kPackSize <= kPacksOfBlock, "a block has at most 256 packs");
  for (std::size_t i = 0; i < packs.size() / kPackSize; ++i) {
    const auto* pack = reinterpret_cast<const BYTE*>(packs.data()) + i * kPackSize;
    fuzz::Require(pack[2] == i, "packs are numbered");
    fuzz::Require(CrcCDText(pack, kPackSize - 2) == (pack[kPackSize - 2] << 8 | pack[kPackSize - 1]),
                  "packs have their check bytes");
  }
}

/// Checks that the symbols of the sub-channel contain the packs, which are repeated to fill the last group.
void CheckSymbols(std::string_view symbols, std::string_view packs) {
  const std::size_t count = packs.size() / kPackSize;
  fuzz::Require(symbols.size() % kGroupSymbols == 0, "the last group of symbols is full");
  for (std::size_t i = 0; i < symbols.size() * 6 / 8; ++i) {
    const std::size_t bit = i * 8;
    const unsigned high = static_cast<BYTE>(symbols[bit / 6]);
    const unsigned low = static_cast<BYTE>(symbols[bit / 6 + 1]);
    fuzz::Require(high < 64 && low < 64, "a symbol has six bits");
    const auto byte = static_cast<BYTE>((high << 6 | low) >> (4 - bit % 6));
    const std::size_t offset = i / kPackSize % count * kPackSize + i % kPackSize;
    fuzz::Require(byte == static_cast<BYTE>(packs[offset]), "symbols hold the packs");
  }
}

/// Returns whether the texts of a field can be read back: all tracks are audio and have a text, and no text is cut.
bool IsWhole(const ZSCUESHEET& sheet, TextField field) {
  const auto fits = [](BSTR text) {
    const std::string narrow = NarrowText(text);
    return !narrow.empty() && narrow.size() < std::tuple_size_v<decltype(ZSCDTEXTENTRY::text)>;
  };
  bool whole = fits(TextOf(sheet.ZSCDTEXT, field)) && sheet.nTracks < ZSCDTEXTTABLE::kTrackEntries;
  for (UINT i = 0; i < sheet.nTracks; ++i) {
    const ZSTRACK& track = sheet.pZSTracks[i];
    whole = whole && track.Mode == ZSMODE_AUDIO && fits(TextOf(track, field));
  }
  return whole && field != TextField::Genre; // The disc and its tracks share one genre.
}

void CheckReadBack(fuzz::Run* run, const ZSCUESHEET& sheet, std::string packs) {
  // Another text may need 22 packs, and the size information needs 3.
  constexpr std::size_t kNothingDropped = (kPacksOfBlock - 25) * kPackSize;
  fuzz::Sheet read(run, sheet.nTracks);
  run->Sheets().AnalyzeCDTextFromData(reinterpret_cast<BYTE*>(packs.data()), static_cast<UINT>(packs.size()),
                                      read.Get());
  fuzz::RequireSheet(*read);
  for (const TextField field : kTextFields) {
    if (packs.size() > kNothingDropped || !IsWhole(sheet, field)) {
      continue;
    }
    const auto same = [field](const auto& left, const auto& right) {
      return NarrowText(TextOf(left, field)) == NarrowText(TextOf(right, field));
    };
    fuzz::Require(same(sheet.ZSCDTEXT, read->ZSCDTEXT), "the disc's texts can be read back");
    for (UINT i = 0; i < sheet.nTracks; ++i) {
      fuzz::Require(same(sheet.pZSTracks[i], read->pZSTracks[i]), "the tracks' texts can be read back");
    }
  }
}

} // namespace

FUZZ(bytes) {
  fuzz::Run run(bytes.size());
  Input input(bytes);
  const BYTE flags = input.ReadByte();
  fuzz::Sheet sheet(&run, input.ReadByte() % kTrackLimit);
  sheet->ZSCDTEXT.CDTextPresent = (flags & 1) != 0 ? VARIANT_FALSE : VARIANT_TRUE;
  sheet->ZSCDTEXT.Language = static_cast<zscdtextlang>(input.ReadByte());
  FillSheet(&input, sheet.Get());
  const std::optional<std::string> packs = fuzz::EncodePacks(&run, sheet.Get(), false);
  const std::optional<std::string> symbols = fuzz::EncodePacks(&run, sheet.Get(), true);
  if (packs && symbols) {
    CheckPacks(*packs);
    CheckSymbols(*symbols, *packs);
    CheckReadBack(&run, *sheet, *packs);
  }
}

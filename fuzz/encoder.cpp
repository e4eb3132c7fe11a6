// The CD-Text encoder on made-up records. The input is one byte of flags, the number of tracks and a language; then
// the texts of the disc and, behind its mode, those of each track, each ended by a zero byte.
#include <algorithm>
#include <array>

#include "cdtext/decoder.h"
#include "cdtext/encoder.h"
#include "foundation/strings.h"
#include "support/harness.h"

namespace {

constexpr UINT kMostTracks = 128;

/// Takes the parts of an input from its front.
class Input {
public:
  explicit Input(std::string_view bytes) noexcept : m_rest(bytes) {}

  BYTE Byte() noexcept {
    const BYTE byte = m_rest.empty() ? BYTE{0} : static_cast<BYTE>(m_rest.front());
    m_rest.remove_prefix(std::min<std::size_t>(1, m_rest.size()));
    return byte;
  }
  BSTR Text() {
    const std::string_view text = m_rest.substr(0, m_rest.find('\0'));
    m_rest.remove_prefix(std::min(text.size() + 1, m_rest.size()));
    return NewBstr(text);
  }

private:
  std::string_view m_rest;
};

template <class TextRecord> void FillTexts(Input* input, TextRecord* record) {
  for (const TextField field : kTextFields) {
    StoreText(record, field, input->Text());
  }
}

void FillSheet(Input* input, ZSCUESHEET* sheet) {
  FillTexts(input, &sheet->ZSCDTEXT);
  for (UINT i = 0; i < sheet->nTracks; ++i) {
    sheet->pZSTracks[i].Mode = static_cast<ZSMODETYPE>(input->Byte() % 8);
    FillTexts(input, &sheet->pZSTracks[i]);
    sheet->pZSTracks[i].bstrISRC = input->Text();
  }
}

void CheckPacks(std::string_view packs) {
  fuzz::Require(packs.size() % kPackSize == 1 && packs.back() == 0, "a zero byte stands behind whole packs");
  fuzz::Require(packs.size() / kPackSize <= kPacksOfBlock, "a block has at most 256 packs");
  for (std::size_t i = 0; i < packs.size() / kPackSize; ++i) {
    const auto* pack = reinterpret_cast<const BYTE*>(packs.data()) + i * kPackSize;
    fuzz::Require(pack[2] == i, "packs are numbered");
    fuzz::Require(CrcCDText(pack, kPackSize - 2) == (pack[kPackSize - 2] << 8 | pack[kPackSize - 1]),
                  "packs are checked");
  }
}

/// The symbols of the sub-channel hold the packs, which begin anew to fill the last group.
void CheckSymbols(std::string_view symbols, std::string_view packs) {
  const std::size_t count = packs.size() / kPackSize;
  fuzz::Require(symbols.size() % kGroupSymbols == 0, "symbols come in whole groups");
  for (std::size_t i = 0; i < symbols.size() * 6 / 8; ++i) {
    const std::size_t bit = i * 8;
    const unsigned high = static_cast<BYTE>(symbols[bit / 6]);
    const unsigned low = static_cast<BYTE>(symbols[bit / 6 + 1]);
    fuzz::Require(high < 64 && low < 64, "a symbol has six bits");
    const auto byte = static_cast<BYTE>((high << 6 | low) >> (4 - bit % 6));
    const std::size_t place = i / kPackSize % count * kPackSize + i % kPackSize;
    fuzz::Require(byte == static_cast<BYTE>(packs[place]), "symbols hold the packs");
  }
}

/// Whether a type of text can be read back as it stands: all tracks are audio and have one, and none is cut.
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
  return whole && field != TextField::Genre; // A genre is one text for all.
}

void CheckReadBack(fuzz::Run* run, const ZSCUESHEET& sheet, std::string packs) {
  constexpr std::size_t kNothingLeftOut = (kPacksOfBlock - 25) * kPackSize;
  fuzz::Sheet read(run, sheet.nTracks);
  run->Sheets().AnalyzeCDTextFromData(reinterpret_cast<BYTE*>(packs.data()), static_cast<UINT>(packs.size()),
                                      read.Get());
  fuzz::RequireSheet(*read);
  for (const TextField field : kTextFields) {
    if (packs.size() > kNothingLeftOut || !IsWhole(sheet, field)) {
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
  const BYTE flags = input.Byte();
  fuzz::Sheet sheet(&run, input.Byte() % kMostTracks);
  sheet->ZSCDTEXT.CDTextPresent = (flags & 1) != 0 ? VARIANT_FALSE : VARIANT_TRUE;
  sheet->ZSCDTEXT.Language = static_cast<zscdtextlang>(input.Byte());
  FillSheet(&input, sheet.Get());
  const std::optional<std::string> packs = fuzz::Packs(&run, sheet.Get(), false);
  const std::optional<std::string> symbols = fuzz::Packs(&run, sheet.Get(), true);
  if (packs && symbols) {
    CheckPacks(*packs);
    CheckSymbols(*symbols, *packs);
    CheckReadBack(&run, *sheet, *packs);
  }
}

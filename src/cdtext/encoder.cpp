#include "cdtext/encoder.h"

#include <algorithm>
#include <cstring>

#include "disc/result_codes.h"
#include "foundation/strings.h"
#include "platform/task_memory.h"

namespace {

constexpr BYTE kCharacterCode = 1;
constexpr BYTE kFirstTrack = 1;
constexpr BYTE kOnlyBlock = 0;
constexpr std::size_t kBlocks = 8;
constexpr std::size_t kHighestPosition = 15;

// Places in the size information.
constexpr std::size_t kPackCounts = 4;     // One for each type.
constexpr std::size_t kLastSequences = 20; // One for each block.
constexpr std::size_t kLanguages = 28;     // One for each block.

struct TextRow {
  BYTE type;
  TextField field;
};

/// The texts in the order of their packs.
constexpr TextRow kTextRows[] = {
    {kPackTitle, TextField::Title},           {kPackPerformer, TextField::Performer},
    {kPackSongwriter, TextField::Songwriter}, {kPackComposer, TextField::Composer},
    {kPackArranger, TextField::Arranger},     {kPackMessage, TextField::Message},
    {kPackGenre, TextField::Genre},
};

constexpr std::array<USHORT, 256> MakeCrcTable() noexcept {
  std::array<USHORT, 256> table{};
  for (UINT i = 0; i < table.size(); ++i) {
    UINT value = i << 8;
    for (int bit = 0; bit < 8; ++bit) {
      value = (value << 1) ^ ((value & 0x8000U) != 0 ? 0x1021U : 0);
    }
    table[i] = static_cast<USHORT>(value);
  }
  return table;
}

constexpr std::array<USHORT, 256> kCrcTable = MakeCrcTable();

void StoreCrc(CZSCDTextEncoder::Pack* pack) noexcept {
  const USHORT crc = CrcCDText(pack->data(), kPackSize - 2);
  (*pack)[kPackSize - 2] = static_cast<BYTE>(crc >> 8);
  (*pack)[kPackSize - 1] = static_cast<BYTE>(crc);
}

/// The track byte of the track at a place of the table.
BYTE TrackByte(UINT place) noexcept { return static_cast<BYTE>(place + 1); }

void AppendPlain(const std::vector<CZSCDTextEncoder::Pack>& packs, std::vector<BYTE>* data) {
  for (const CZSCDTextEncoder::Pack& pack : packs) {
    data->insert(data->end(), pack.begin(), pack.end());
  }
  data->push_back(0);
}

void AppendSubChannel(const std::vector<CZSCDTextEncoder::Pack>& packs, std::vector<BYTE>* data) {
  // More groups than the packs need when some are left over: fixed by what has always been written.
  const std::size_t groups = packs.size() / kGroupPacks + packs.size() % kGroupPacks;
  std::size_t next = 0;
  for (std::size_t i = 0; i < groups; ++i) {
    std::array<BYTE, kGroupPacks * kPackSize> bytes{};
    for (std::size_t place = 0; place < kGroupPacks; ++place) {
      std::memcpy(bytes.data() + place * kPackSize, packs[next].data(), kPackSize);
      next = (next + 1) % packs.size();
    }
    std::array<BYTE, kGroupSymbols> group{};
    SpreadToSubChannel(group, bytes);
    data->insert(data->end(), group.begin(), group.end());
  }
}

} // namespace

USHORT CrcCDText(const BYTE* bytes, std::size_t count) noexcept {
  UINT value = 0;
  for (std::size_t i = 0; i < count; ++i) {
    value = ((value & 0xFFU) << 8) ^ kCrcTable[(value >> 8) ^ bytes[i]];
  }
  return static_cast<USHORT>(~value);
}

void SpreadToSubChannel(std::span<BYTE, kGroupSymbols> group,
                        std::span<const BYTE, kGroupPacks * kPackSize> packs) noexcept {
  std::size_t to = 0;
  for (std::size_t from = 0; from < packs.size(); from += 3) {
    const UINT a = packs[from];
    const UINT b = packs[from + 1];
    const UINT c = packs[from + 2];
    group[to++] = static_cast<BYTE>(a >> 2);
    group[to++] = static_cast<BYTE>((a & 0x03U) << 4 | b >> 4);
    group[to++] = static_cast<BYTE>((b & 0x0FU) << 2 | c >> 6);
    group[to++] = static_cast<BYTE>(c & 0x3FU);
  }
}

bool CZSCDTextEncoder::EncodePacks(const ZSCUESHEET& sheet, bool withSubChannel, std::vector<BYTE>* data) {
  if (sheet.ZSCDTEXT.CDTextPresent == 0) {
    return false;
  }
  if (!m_built) {
    CollectTexts(sheet);
    FinishPacks(sheet);
  }
  data->clear();
  if (withSubChannel) {
    AppendSubChannel(m_packs, data);
  } else {
    AppendPlain(m_packs, data);
  }
  return true;
}

void CZSCDTextEncoder::CollectTexts(const ZSCUESHEET& sheet) {
  const auto forEachAudioTrack = [&sheet](auto work) {
    for (UINT i = 0; i < sheet.nTracks; ++i) {
      if (sheet.pZSTracks[i].Mode == ZSMODE_AUDIO) {
        work(TrackByte(i), sheet.pZSTracks[i]);
      }
    }
  };
  for (const TextRow& row : kTextRows) {
    AddText(0, row.type, TextOf(sheet.ZSCDTEXT, row.field));
    forEachAudioTrack([&](BYTE number, const ZSTRACK& track) { AddText(number, row.type, TextOf(track, row.field)); });
  }
  forEachAudioTrack([&](BYTE number, const ZSTRACK& track) { AddText(number, kPackCode, track.bstrISRC); });
}

void CZSCDTextEncoder::AddText(BYTE track, BYTE type, BSTR text) {
  const std::string narrow = NarrowText(text);
  if (!narrow.empty()) {
    AddEntry(track, type, narrow);
  }
}

void CZSCDTextEncoder::AddEntry(BYTE track, BYTE type, std::string_view text) {
  ZSCDTEXTENTRY entry;
  const std::string_view kept = CutAtCharacter(text, entry.text.size() - 1);
  entry.track = track;
  entry.type = type;
  std::memcpy(entry.text.data(), kept.data(), kept.size());
  entry.length = static_cast<USHORT>(kept.size() + 1);
  // What lies beyond the bytes of a block cannot fit, so that it needs no memory either.
  m_collected += entry.length;
  if (m_collected <= kTextPacks * kPackTextSize) {
    m_entries.push_back(entry);
  }
}

void CZSCDTextEncoder::FinishPacks(const ZSCUESHEET& sheet) {
  for (const ZSCDTEXTENTRY& entry : m_entries) {
    // A later text must not take the place of one that is left out: readers count texts to find their track.
    if (m_packs.size() + PacksNeeded(entry) > kTextPacks) {
      break;
    }
    BuildPacks(kOnlyBlock, entry);
  }
  ZSCDTEXTENTRY info;
  info.type = kPackSizeInfo;
  info.length = kSizeInfoLength;
  FillSizeInfo(sheet, std::span(info.text).first<kSizeInfoLength>());
  BuildPacks(kOnlyBlock, info);
  m_built = true;
}

/// Describes the packs that stand, and the size packs that will follow them. A block whose only pack has sequence
/// number 0 counts as empty.
void CZSCDTextEncoder::FillSizeInfo(const ZSCUESHEET& sheet, std::span<char, kSizeInfoLength> info) const noexcept {
  std::array<BYTE, kSizeInfoLength> bytes{kCharacterCode, kFirstTrack, static_cast<BYTE>(sheet.nTracks)};
  const auto language = static_cast<BYTE>(sheet.ZSCDTEXT.Language);
  bytes[kLanguages] = language;
  for (const Pack& pack : m_packs) {
    ++bytes[kPackCounts + (pack[0] & 0x0FU)];
    BYTE& last = bytes[kLastSequences + (pack[3] >> 4 & 0x07U)];
    last = std::max(last, pack[2]);
  }
  for (std::size_t block = 0; block < kBlocks; ++block) {
    BYTE& last = bytes[kLastSequences + block];
    if (last != 0) {
      bytes[kLanguages + block] = language;
      last = static_cast<BYTE>(last + kSizeInfoPacks);
    }
  }
  BYTE& sizePacks = bytes[kPackCounts + (kPackSizeInfo & 0x0FU)];
  sizePacks = static_cast<BYTE>(sizePacks + kSizeInfoPacks);
  std::memcpy(info.data(), bytes.data(), bytes.size());
}

/// Whether a text of this type goes on in the last pack.
bool CZSCDTextEncoder::GoesOn(BYTE type, BYTE block) const noexcept {
  return m_pending && m_packs.back()[0] == type && (m_packs.back()[3] >> 4 & 0x07U) == block;
}

std::size_t CZSCDTextEncoder::PacksNeeded(const ZSCDTEXTENTRY& entry) const noexcept {
  const std::size_t room = GoesOn(entry.type, kOnlyBlock) ? kPackTextSize - m_fill : 0;
  return entry.length <= room ? 0 : (entry.length - room + kPackTextSize - 1) / kPackTextSize;
}

CZSCDTextEncoder::Pack CZSCDTextEncoder::StartPack(BYTE block, const ZSCDTEXTENTRY& entry,
                                                   std::size_t position) const noexcept {
  const bool binary = entry.type == kPackSizeInfo || (entry.type >= kPackDiscId && entry.type <= kPackTocInfo2);
  Pack pack{entry.type, entry.track, static_cast<BYTE>(m_packs.size())};
  if (!binary) {
    pack[3] = static_cast<BYTE>(std::size_t{block} << 4 | std::min(position, kHighestPosition));
  }
  return pack;
}

/// Lays a text, its zero byte included, behind the packs that stand.
void CZSCDTextEncoder::BuildPacks(BYTE block, ZSCDTEXTENTRY entry) {
  for (std::size_t position = 0; position < entry.length;) {
    if (!GoesOn(entry.type, block)) {
      m_packs.push_back(StartPack(block, entry, position));
      m_fill = 0;
      if (entry.type == kPackSizeInfo) {
        ++entry.track; // These packs count themselves there.
      }
    }
    Pack& pack = m_packs.back();
    const std::size_t used = std::min(entry.length - position, kPackTextSize - m_fill);
    std::memcpy(pack.data() + kPackTextStart + m_fill, entry.text.data() + position, used);
    position += used;
    m_fill += used;
    m_pending = m_fill < kPackTextSize;
    StoreCrc(&pack);
  }
}

HRESULT EncodeSheetText(const ZSCUESHEET& sheet, bool withSubChannel, BYTE** data, LONG* length) {
  if (sheet.ZSCDTEXT.CDTextPresent == 0) {
    return S_FALSE;
  }
  *data = nullptr;
  std::vector<BYTE> bytes;
  CZSCDTextEncoder().EncodePacks(sheet, withSubChannel, &bytes);
  TaskMemory<BYTE> block(static_cast<BYTE*>(CoTaskMemAlloc(bytes.size())));
  if (block == nullptr) {
    return E_OUTOFMEMORY;
  }
  std::memcpy(block.get(), bytes.data(), bytes.size());
  *data = block.release();
  *length = static_cast<LONG>(bytes.size());
  return S_OK;
}

#include "cdtext/encoder.h"

#include <algorithm>
#include <cstring>

#include "disc/result_codes.h"
#include "foundation/strings.h"
#include "platform/task_memory.h"

namespace {

constexpr std::size_t kHighestPosition = 15;

/// Fields of the size information, as offsets in the text of its three packs.
namespace size_info {
constexpr std::size_t kCharacterCode = 0; // 1: text of single bytes.
constexpr std::size_t kFirstTrack = 1;
constexpr std::size_t kLastTrack = 2;
constexpr std::size_t kPackCounts = 4;     // One for each type.
constexpr std::size_t kLastSequences = 20; // One for each block.
constexpr std::size_t kLanguages = 28;     // One for each block.
} // namespace size_info

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
  const USHORT crc = CrcCDText(pack->data(), kPackCrc);
  (*pack)[kPackCrc] = static_cast<BYTE>(crc >> 8);
  (*pack)[kPackCrc + 1] = static_cast<BYTE>(crc);
}

void AppendPlain(const std::vector<CZSCDTextEncoder::Pack>& packs, std::vector<BYTE>* data) {
  for (const CZSCDTextEncoder::Pack& pack : packs) {
    data->insert(data->end(), pack.begin(), pack.end());
  }
  data->push_back(0);
}

void AppendSubChannel(const std::vector<CZSCDTextEncoder::Pack>& packs, std::vector<BYTE>* data) {
  // See "sub-channel groups" in docs/compatibility.md.
  const std::size_t groups = packs.size() / kGroupPacks + packs.size() % kGroupPacks;
  std::size_t next = 0;
  for (std::size_t i = 0; i < groups; ++i) {
    std::array<BYTE, kGroupPacks * kPackSize> bytes{};
    for (std::size_t j = 0; j < kGroupPacks; ++j) {
      std::memcpy(bytes.data() + j * kPackSize, packs[next].data(), kPackSize);
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
  *this = {};
  CollectTexts(sheet);
  BuildTextPacks();
  BuildSizePacks(sheet);
  data->clear();
  if (withSubChannel) {
    AppendSubChannel(m_packs, data);
  } else {
    AppendPlain(m_packs, data);
  }
  return true;
}

/// Collects the texts of the disc and of its audio tracks, in the order of their packs.
void CZSCDTextEncoder::CollectTexts(const ZSCUESHEET& sheet) {
  const auto forEachAudioTrack = [&sheet](auto work) {
    for (UINT i = 0; i < sheet.nTracks; ++i) {
      if (sheet.pZSTracks[i].Mode == ZSMODE_AUDIO) {
        work(static_cast<BYTE>(i + 1), sheet.pZSTracks[i]);
      }
    }
  };
  for (const TextPackType& row : kTextPackTypes) {
    CollectText(0, row.type, TextOf(sheet.ZSCDTEXT, row.field));
    forEachAudioTrack(
        [&](BYTE number, const ZSTRACK& track) { CollectText(number, row.type, TextOf(track, row.field)); });
  }
  forEachAudioTrack([&](BYTE number, const ZSTRACK& track) { CollectText(number, kPackCode, track.bstrISRC); });
}

void CZSCDTextEncoder::CollectText(BYTE track, BYTE type, BSTR text) {
  const std::string narrow = NarrowText(text);
  if (narrow.empty()) {
    return;
  }
  ZSCDTEXTENTRY entry{track, type};
  const std::string_view start = CutAtCharacter(narrow, entry.text.size() - 1);
  std::memcpy(entry.text.data(), start.data(), start.size());
  entry.length = static_cast<USHORT>(start.size() + 1);
  m_collectedBytes += entry.length;
  if (m_collectedBytes <= kTextPacks * kPackTextSize) { // Texts beyond a block are not encoded, so they are not stored.
    m_entries.push_back(entry);
  }
}

void CZSCDTextEncoder::BuildTextPacks() {
  for (const ZSCDTEXTENTRY& entry : m_entries) {
    // Readers count the texts to find their tracks, so once a text is left out, all later ones are.
    if (m_packs.size() + PacksNeeded(entry) > kTextPacks) {
      break;
    }
    AppendToPacks(entry);
  }
}

/// Appends the packs with the size information of the block: its tracks, its language, and the number of packs of each
/// type, these three included.
void CZSCDTextEncoder::BuildSizePacks(const ZSCUESHEET& sheet) {
  std::array<BYTE, kSizeInfoLength> info{};
  info[size_info::kCharacterCode] = 1;
  info[size_info::kFirstTrack] = 1;
  info[size_info::kLastTrack] = static_cast<BYTE>(sheet.nTracks);
  info[size_info::kLanguages] = static_cast<BYTE>(sheet.ZSCDTEXT.Language);
  for (const Pack& pack : m_packs) {
    ++info[size_info::kPackCounts + (pack[kPackType] & 0x0FU)];
  }
  info[size_info::kPackCounts + (kPackSizeInfo & 0x0FU)] = kSizeInfoPacks;
  if (m_packs.size() > 1) { // See "single pack" in docs/compatibility.md.
    info[size_info::kLastSequences] = static_cast<BYTE>(m_packs.size() - 1 + kSizeInfoPacks);
  }
  ZSCDTEXTENTRY entry{0, kPackSizeInfo};
  entry.length = kSizeInfoLength;
  std::memcpy(entry.text.data(), info.data(), info.size());
  AppendToPacks(entry);
}

/// Returns whether the last pack has a type and room for more text.
bool CZSCDTextEncoder::LastPackHasRoom(BYTE type) const noexcept {
  return m_fill < kPackTextSize && m_packs.back()[kPackType] == type;
}

std::size_t CZSCDTextEncoder::PacksNeeded(const ZSCDTEXTENTRY& entry) const noexcept {
  const std::size_t room = LastPackHasRoom(entry.type) ? kPackTextSize - m_fill : 0;
  return entry.length <= room ? 0 : (entry.length - room + kPackTextSize - 1) / kPackTextSize;
}

CZSCDTextEncoder::Pack CZSCDTextEncoder::StartPack(const ZSCDTEXTENTRY& entry, std::size_t position) const noexcept {
  Pack pack{entry.type, entry.track, static_cast<BYTE>(m_packs.size())};
  if (entry.type != kPackSizeInfo) {
    pack[kPackBlock] = static_cast<BYTE>(std::min(position, kHighestPosition));
  }
  return pack;
}

/// Appends a text with its zero byte: to the last pack if that has its type and room, then to new packs.
void CZSCDTextEncoder::AppendToPacks(ZSCDTEXTENTRY entry) {
  for (std::size_t position = 0; position < entry.length;) {
    if (!LastPackHasRoom(entry.type)) {
      m_packs.push_back(StartPack(entry, position));
      m_fill = 0;
      if (entry.type == kPackSizeInfo) {
        ++entry.track; // The track byte of a size pack is its number.
      }
    }
    Pack& pack = m_packs.back();
    const std::size_t used = std::min(entry.length - position, kPackTextSize - m_fill);
    std::memcpy(pack.data() + kPackTextStart + m_fill, entry.text.data() + position, used);
    position += used;
    m_fill += used;
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

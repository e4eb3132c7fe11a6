#include "cdtext/decoder.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

#include "foundation/path_operations.h"
#include "foundation/strings.h"
#include "platform/files.h"

namespace {

constexpr std::size_t kTextBufferSize = 255 * kPackTextSize;
constexpr BYTE kDoubleByteText = 0x80; // Bit of the byte at kPackBlock.
constexpr BYTE kExtensionFlag = 0x80;  // Bit of the byte at kPackTrack.
constexpr BYTE kLastTrack = 99;

/// Returns whether only the first text in packs of a type counts, because they contain binary data or a genre.
bool HasOneText(BYTE type) noexcept {
  return type == kPackSizeInfo || (type >= kPackDiscId && type <= kPackClosedInfo);
}

/// Scans packs one by one and stores the texts that end in them.
class PackScan {
public:
  PackScan(UINT tracks, ZSCDTEXTTABLE* table) noexcept : m_tracks(tracks), m_table(table) {}

  /// Scans the next pack. Returns false if the scan must end.
  bool ScanPack(BYTE* pack) noexcept {
    if (pack[kPackType] != m_lastType) {
      m_texts = 0;
      m_lastType = pack[kPackType];
    }
    pack[kPackTrack] = static_cast<BYTE>(pack[kPackTrack] & ~kExtensionFlag);
    if ((pack[kPackBlock] & kDoubleByteText) != 0 || !Append(pack + kPackTextStart)) {
      return false;
    }
    StoreEndedTexts(pack);
    return true;
  }

private:
  /// Appends the text of a pack. If the buffer is full, the text that has not ended moves to its start. Returns false
  /// if that text alone fills the buffer.
  bool Append(const BYTE* bytes) noexcept {
    if (m_buffer.size() - m_end < kPackTextSize) {
      m_end -= m_start;
      std::memmove(m_buffer.data(), m_buffer.data() + m_start, m_end);
      m_start = 0;
    }
    if (m_buffer.size() - m_end < kPackTextSize) {
      return false;
    }
    std::memcpy(m_buffer.data() + m_end, bytes, kPackTextSize);
    m_end += kPackTextSize;
    return true;
  }

  void StoreEndedTexts(BYTE* pack) noexcept {
    std::size_t search = m_end - kPackTextSize; // The zero bytes of earlier packs were found before.
    while (const void* zero = std::memchr(m_buffer.data() + search, 0, m_end - search)) {
      StoreText(pack, m_buffer.data() + m_start, m_table);
      m_start = static_cast<std::size_t>(static_cast<const char*>(zero) - m_buffer.data()) + 1;
      search = m_start;
      ++m_texts;
      // The disc and each track have one text; the rest of the pack is padding.
      if (m_texts > m_tracks || HasOneText(pack[kPackType])) {
        m_start = m_end;
        return;
      }
      ++pack[kPackTrack];
    }
  }

  UINT m_tracks;
  ZSCDTEXTTABLE* m_table;
  std::array<char, kTextBufferSize> m_buffer;
  std::size_t m_start = 0; ///< Offset in the buffer of the text that has not ended.
  std::size_t m_end = 0;   ///< Offset after the last byte that was appended.
  int m_lastType = -1;
  std::size_t m_texts = 0; ///< Number of texts since the type changed.
};

/// Replaces the text of a field. Keeps the old text if the new one is empty or if out of memory.
template <class Record> void ReplaceField(Record* record, TextField field, const std::string& text) noexcept {
  if (text.empty()) {
    return;
  }
  try {
    ReplaceText(record, field, NewBstr(text));
  } catch (const std::bad_alloc&) {
  }
}

} // namespace

std::unique_ptr<ZSCDTEXTTABLE> ScanPacks(BYTE* data, std::size_t size, UINT nTracks) noexcept {
  std::unique_ptr<ZSCDTEXTTABLE> table(size < kPackSize ? nullptr : new (std::nothrow) ZSCDTEXTTABLE);
  if (table == nullptr) {
    return nullptr;
  }
  PackScan scan(nTracks, table.get());
  while (size >= kPackSize && scan.ScanPack(data)) {
    data += kPackSize;
    size -= kPackSize;
  }
  return table;
}

void StoreText(const BYTE* pack, const char* text, ZSCDTEXTTABLE* table) noexcept {
  const auto* const found = std::ranges::find(kTextPackTypes, pack[kPackType], &TextPackType::type);
  const BYTE track = pack[kPackTrack];
  if (found == kTextPackTypes.end() || track > kLastTrack) {
    return;
  }
  const auto row = static_cast<std::size_t>(found - kTextPackTypes.begin());
  std::string& stored = track == 0 ? table->disc[row] : table->tracks[row][track - 1U];
  if (!stored.empty()) {
    return;
  }
  try {
    stored = text;
  } catch (const std::bad_alloc&) {
  }
}

bool DecodeCDTextPacks(BYTE* data, std::size_t size, ZSCUESHEET* sheet) noexcept {
  const std::unique_ptr<ZSCDTEXTTABLE> table = ScanPacks(data, size, sheet->nTracks);
  if (table == nullptr) {
    return true;
  }
  sheet->ZSCDTEXT.CDTextPresent = VARIANT_TRUE;
  const std::size_t tracks = std::min<std::size_t>(sheet->nTracks, ZSCDTEXTTABLE::kTrackEntries);
  for (std::size_t row = 0; row < kTextPackTypes.size(); ++row) {
    const TextField field = kTextPackTypes[row].field;
    ReplaceField(&sheet->ZSCDTEXT, field, table->disc[row]);
    for (std::size_t track = 0; track < tracks; ++track) {
      ReplaceField(&sheet->pZSTracks[track], field, table->tracks[row][track]);
    }
  }
  return true;
}

bool LoadCDTextCompanion(const std::string& path, ZSCUESHEET* sheet) {
  std::string companion = path;
  RenameExtension(&companion, ".CDT");
  std::string packs;
  return !path.empty() && ReadWholeFile(companion, std::numeric_limits<DWORD>::max(), &packs) &&
         DecodeCDTextPacks(reinterpret_cast<BYTE*>(packs.data()), packs.size(), sheet);
}

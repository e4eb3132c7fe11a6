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
constexpr BYTE kDoubleByteText = 0x80; // In byte 3 of a pack.
constexpr BYTE kExtensionFlag = 0x80;  // In byte 1.
constexpr BYTE kLastTrack = 99;
constexpr std::size_t kNoField = kTextFields.size();

/// Place of a pack type's text in kTextFields.
std::size_t FieldOf(BYTE type) noexcept {
  const auto place = [](TextField field) { return static_cast<std::size_t>(field); };
  switch (type) {
  case kPackTitle:
    return place(TextField::Title);
  case kPackPerformer:
    return place(TextField::Performer);
  case kPackSongwriter:
    return place(TextField::Songwriter);
  case kPackComposer:
    return place(TextField::Composer);
  case kPackArranger:
    return place(TextField::Arranger);
  case kPackMessage:
    return place(TextField::Message);
  case kPackGenre:
    return place(TextField::Genre);
  default:
    return kNoField;
  }
}

/// Packs of these types bring binary data or a genre: only the first text is one.
bool HasOneText(BYTE type) noexcept {
  return type == kPackSizeInfo || (type >= kPackDiscId && type <= kPackClosedInfo);
}

/// Walks packs one by one and stores the texts that end in them.
class PackWalk {
public:
  PackWalk(UINT tracks, ZSCDTEXTTABLE* table) noexcept : m_tracks(tracks), m_table(table) {}

  /// Takes the next pack. False ends the walk.
  bool Take(BYTE* pack) noexcept {
    if (pack[0] != m_lastType) {
      m_texts = 0;
      m_lastType = pack[0];
    }
    pack[1] = static_cast<BYTE>(pack[1] & ~kExtensionFlag);
    if ((pack[3] & kDoubleByteText) != 0 || !Append(pack + kPackTextStart)) {
      return false;
    }
    StoreEndedTexts(pack);
    return true;
  }

private:
  /// Adds the text of a pack. When the buffer is full, the text that has not ended moves to its start. False when
  /// that text alone fills the buffer, which no disc has.
  bool Append(const BYTE* bytes) noexcept {
    if (m_buffer.size() - m_write < kPackTextSize) {
      m_write -= m_read;
      std::memmove(m_buffer.data(), m_buffer.data() + m_read, m_write);
      m_read = 0;
    }
    if (m_buffer.size() - m_write < kPackTextSize) {
      return false;
    }
    std::memcpy(m_buffer.data() + m_write, bytes, kPackTextSize);
    m_write += kPackTextSize;
    return true;
  }

  void StoreEndedTexts(BYTE* pack) noexcept {
    // What stood before this pack holds no zero byte any more.
    std::size_t search = m_write - kPackTextSize;
    while (const void* zero = std::memchr(m_buffer.data() + search, 0, m_write - search)) {
      StoreText(pack, m_buffer.data() + m_read, m_table);
      m_read = static_cast<std::size_t>(static_cast<const char*>(zero) - m_buffer.data()) + 1;
      search = m_read;
      ++m_texts;
      // The disc and each track have one text; what follows only fills the pack.
      if (m_texts > m_tracks || HasOneText(pack[0])) {
        m_read = m_write;
        return;
      }
      ++pack[1];
    }
  }

  UINT m_tracks;
  ZSCDTEXTTABLE* m_table;
  std::array<char, kTextBufferSize> m_buffer;
  std::size_t m_read = 0;  ///< Start of the text that has not ended.
  std::size_t m_write = 0; ///< Behind the last byte.
  int m_lastType = -1;
  std::size_t m_texts = 0; ///< Since the type changed.
};

/// Puts a text into a field of a record; null leaves the field alone, and so does a lack of memory.
template <class Record> void StoreField(Record* record, TextField field, const ZSCDTEXTTABLE::Text& text) noexcept {
  if (text == nullptr) {
    return;
  }
  try {
    ReplaceText(record, field, NewBstr(text.get()));
  } catch (const std::bad_alloc&) {
  }
}

UniqueCDTextTable ScanGuarded(BYTE* data, std::size_t size, UINT nTracks) noexcept {
  try {
    return ScanPacks(data, size, nTracks);
  } catch (...) {
    return nullptr;
  }
}

} // namespace

void FreeCDTextTable(ZSCDTEXTTABLE* table) noexcept { delete table; }

UniqueCDTextTable ScanPacks(BYTE* data, std::size_t size, UINT nTracks) {
  if (size < kPackSize) {
    return nullptr;
  }
  UniqueCDTextTable table(new (std::nothrow) ZSCDTEXTTABLE);
  if (table == nullptr) {
    return nullptr;
  }
  PackWalk walk(nTracks, table.get());
  while (size >= kPackSize && walk.Take(data)) {
    data += kPackSize;
    size -= kPackSize;
  }
  return table;
}

void StoreText(const BYTE* pack, const char* text, ZSCDTEXTTABLE* table) noexcept {
  const std::size_t field = FieldOf(pack[0]);
  const BYTE track = pack[1];
  if (field == kNoField || track > kLastTrack) {
    return;
  }
  ZSCDTEXTTABLE::Text& slot =
      track == 0 ? table->disc[ZSCDTEXTTABLE::kFirstDiscText + field] : table->tracks[field][track - 1U];
  const std::size_t length = std::strlen(text);
  if (slot != nullptr || length == 0) {
    return;
  }
  slot.reset(new (std::nothrow) char[length + 1]);
  if (slot != nullptr) {
    std::memcpy(slot.get(), text, length + 1);
  }
}

bool DecodeCDTextPacks(BYTE* data, std::size_t size, ZSCUESHEET* sheet) noexcept {
  const UniqueCDTextTable table = ScanGuarded(data, size, sheet->nTracks);
  if (table == nullptr) {
    return true;
  }
  sheet->ZSCDTEXT.CDTextPresent = VARIANT_TRUE;
  const std::size_t tracks = std::min<std::size_t>(sheet->nTracks, ZSCDTEXTTABLE::kTrackEntries);
  for (std::size_t i = 0; i < kTextFields.size(); ++i) {
    StoreField(&sheet->ZSCDTEXT, kTextFields[i], table->disc[ZSCDTEXTTABLE::kFirstDiscText + i]);
    for (std::size_t track = 0; track < tracks; ++track) {
      StoreField(&sheet->pZSTracks[track], kTextFields[i], table->tracks[i][track]);
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

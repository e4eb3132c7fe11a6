/// @file
/// Nero images: sectors, a block of tagged chunks that describe the disc, and a footer that points at the block.
/// All numbers are big-endian. Track numbers run through the whole disc.

#include <algorithm>
#include <array>
#include <vector>

#include "cdtext/decoder.h"
#include "disc/msf.h"
#include "disc/track_table.h"
#include "foundation/strings.h"
#include "readers/reader_steps.h"
#include "readers/readers.h"

namespace {

constexpr ULONG Tag(const char (&text)[5]) noexcept {
  ULONG tag = 0;
  for (int i = 0; i < 4; ++i) {
    tag = tag << 8 | static_cast<BYTE>(text[i]);
  }
  return tag;
}

constexpr ULONG kTagSessionInfo = Tag("SINF");
constexpr ULONG kTagCueEntries = Tag("CUEX");
constexpr ULONG kTagDiscAtOnce = Tag("DAOX");
constexpr ULONG kTagCDText = Tag("CDTX");
constexpr ULONG kTagTrackAtOnce = Tag("ETN2");

constexpr DWORD kFooterSize = 12;

constexpr BYTE kLeadIn = 0;
constexpr BYTE kLeadOut = 0xAA;

/// Finds the position of the chunk block by either form of footer.
bool ReadFooter(CZSFile* file, UHYPER fileSize, UHYPER* blockPosition) noexcept {
  // A file may be shorter than a footer of the longer form; the missing start then matches nothing.
  std::array<BYTE, kFooterSize> bytes{};
  const auto count = static_cast<DWORD>(std::min<UHYPER>(fileSize, kFooterSize));
  if (file->Seek64(static_cast<std::int64_t>(fileSize - count), FILE_BEGIN) == kSeekFailed ||
      !file->Read(bytes.data() + (kFooterSize - count), count)) {
    return false;
  }
  const ByteView footer(bytes);
  ULONG position = 0;
  if (footer.HasText(4, "NERO") && footer.Big32(8, &position)) {
    *blockPosition = position;
    return true;
  }
  return footer.HasText(0, "NER5") && footer.Big64(4, blockPosition);
}

/// Loads all from a position to the end of the file. A position that cannot be one gives no bytes.
bool LoadBlock(CZSFile* file, UHYPER position, UHYPER fileSize, std::string* block) noexcept {
  if (position >= fileSize || fileSize - position > kMaxDescriptionSize) {
    return true;
  }
  return file->Seek64(static_cast<std::int64_t>(position), FILE_BEGIN) != kSeekFailed &&
         ReadToEnd(file->Handle(), kMaxDescriptionSize, block);
}

struct Chunk {
  ULONG tag = 0;
  UHYPER position = 0; ///< Of the payload, in the block.
  ByteView payload;    ///< What the block holds of it.
};

/// Goes from chunk to chunk.
class ChunkWalk {
public:
  explicit ChunkWalk(ByteView block) noexcept : m_block(block) {}

  bool Next(Chunk* chunk) noexcept {
    ULONG length = 0;
    if (!m_block.Big32(m_position, &chunk->tag) || !m_block.Big32(m_position + 4, &length) || EndsWalk(chunk->tag)) {
      return false;
    }
    chunk->position = m_position + 8;
    chunk->payload = m_block.Part(chunk->position, length);
    m_position = chunk->position + length;
    return true;
  }

private:
  static bool EndsWalk(ULONG tag) noexcept { return tag == Tag("END!") || tag == Tag("NER5") || tag == Tag("NERO"); }

  ByteView m_block;
  UHYPER m_position = 0;
};

/// How many tracks each session has, in the order of the sessions. The counts may stand behind the chunks that
/// need them, so they are collected first.
HRESULT CountTracks(ByteView block, std::vector<ULONG>* trackCounts) {
  Chunk chunk;
  for (ChunkWalk walk(block); walk.Next(&chunk);) {
    ULONG count = 0;
    if (chunk.tag == kTagSessionInfo) {
      if (!chunk.payload.Big32(0, &count)) {
        return ZSE_BADIMAGE;
      }
      trackCounts->push_back(count);
    }
  }
  return S_OK;
}

/// Applies a mode of the file to a track. A mode that is not known changes nothing.
void ApplyMode(ULONG mode, ZSCUESHEET* sheet, ZSTRACK* track) noexcept {
  switch (mode) {
  case 0:
    return SetMode(sheet, track, ZSMODE_1);
  case 2:
  case 3:
  case 6:
    return SetMode(sheet, track, ZSMODE_2);
  case 7:
    return SetMode(sheet, track, ZSMODE_AUDIO);
  default:
    return;
  }
}

/// Sector size that a mode implies where the file gives none; 0 for a mode that is not known.
ULONG SectorSizeOfMode(ULONG mode) noexcept {
  switch (mode) {
  case 0:
  case 2:
    return 2048;
  case 3:
    return 2336;
  case 6: // Mode 2 with all of its sector, as audio.
  case 7:
    return 2352;
  default:
    return 0;
  }
}

struct CueEntry {
  BYTE control = 0; ///< Control bits in the upper half.
  BYTE track = 0;
  BYTE index = 0;
  ULONG lba = 0;
};

bool ReadCueEntry(const ByteView& entries, UHYPER number, CueEntry* entry) noexcept {
  const UHYPER at = number * 8;
  return entries.Byte(at, &entry->control) && entries.Byte(at + 1, &entry->track) &&
         entries.Byte(at + 2, &entry->index) && entries.Big32(at + 4, &entry->lba);
}

/// Stores an index position. Index numbers that the file leaves out are absent, and so is an index that the next
/// one leaves no sector. Without room for it the track goes without the index.
void StoreIndex(ZSTRACK* track, BYTE index, ULONG lba) noexcept {
  const UINT count = track->nCountIndex;
  if (count != 0 && track->pdwIndex[count - 1] == lba) {
    track->pdwIndex[count - 1] = kNoIndex;
  }
  std::array<ULONG, 256> absent;
  absent.fill(kNoIndex);
  if (AppendIndexes(track, absent.data(), std::max<UINT>(count, index) + 1 - count)) {
    track->pdwIndex[index] = lba;
  }
}

/// Builds the sessions of a record, chunk by chunk.
class NrgSessions {
public:
  NrgSessions(IZSCueSheet* service, const std::vector<ULONG>& trackCounts, zsimagefileinfo* info) noexcept
      : m_service(service), m_trackCounts(trackCounts), m_info(info) {}

  HRESULT Take(const Chunk& chunk, std::string* block) {
    switch (chunk.tag) {
    case kTagCueEntries:
      return AddCueSession(chunk.payload);
    case kTagDiscAtOnce:
      return CompleteSession(chunk.payload);
    case kTagTrackAtOnce:
      return AddTrackAtOnceSessions(chunk.payload);
    case kTagCDText:
      DecodeText(chunk, block);
      return S_OK;
    default:
      return S_OK;
    }
  }

private:
  HRESULT AddCueSession(const ByteView& entries) {
    const UHYPER base = NextBase();
    const UHYPER entryCount = entries.Size() / 8;
    CueEntry last; // The last of the last track: the lead-out stands behind it.
    if (entryCount < 2 || !ReadCueEntry(entries, entryCount - 2, &last) || last.track < base) {
      return ZSE_BADIMAGE;
    }
    ZSCUESHEET* sheet = nullptr;
    const HRESULT result = AddSession(m_service, static_cast<UINT>(last.track - base), m_info, &sheet);
    return FAILED(result) ? result : TakeCueEntries(entries, base, sheet);
  }

  /// Number of the tracks before the next session of cue entries.
  UHYPER NextBase() noexcept {
    const UHYPER base = m_base;
    if (m_cueSessions < m_trackCounts.size()) {
      m_base += m_trackCounts[m_cueSessions];
    }
    ++m_cueSessions;
    return base;
  }

  static HRESULT TakeCueEntries(const ByteView& entries, UHYPER base, ZSCUESHEET* sheet) noexcept {
    CueEntry entry;
    CueEntry before;
    for (UHYPER i = 0; ReadCueEntry(entries, i, &entry) && entry.track != kLeadOut; before = entry, ++i) {
      if (entry.track == kLeadIn) {
        continue;
      }
      CueEntry next;
      const bool inSession = entry.track > base && entry.track - base <= sheet->nTracks;
      const bool needsBefore = entry.track != 1 && entry.index == 1;
      if (!inSession || (needsBefore && i == 0) || !ReadCueEntry(entries, i + 1, &next)) {
        return ZSE_BADIMAGE;
      }
      const auto number = static_cast<UINT>(entry.track - base);
      ZSTRACK* track = &sheet->pZSTracks[number - 1];
      track->TNO = number;
      StoreIndex(track, entry.index, entry.lba);
      if (needsBefore) {
        track->Pregap = static_cast<LONG>(entry.lba - before.lba);
      }
      TakeControl(entry.control >> 4, track);
      if (entry.index == 1) {
        track->dwLBA = entry.lba;
      }
      track->dwEndLBA = next.lba;
    }
    return S_OK;
  }

  /// Data tracks get no flags.
  static void TakeControl(int control, ZSTRACK* track) noexcept {
    if ((control & kControlData) == 0) {
      track->Flags |= FlagsOfControl(static_cast<BYTE>(control));
    }
  }

  HRESULT CompleteSession(const ByteView& payload) {
    if (m_info->nSessions == 0) {
      return S_OK;
    }
    ZSCUESHEET* sheet = m_info->pZSCueSheet[m_info->nSessions - 1];
    BYTE first = 0;
    BYTE last = 0;
    if (!payload.Byte(20, &first) || !payload.Byte(21, &last)) {
      return ZSE_BADIMAGE;
    }
    if (const std::string_view catalogue = payload.Text(4, 13); !catalogue.empty()) {
      const UniqueBstr old(sheet->ZSCDTEXT.bstrMCN);
      sheet->ZSCDTEXT.bstrMCN = nullptr;
      sheet->ZSCDTEXT.bstrMCN = NewBstr(catalogue);
    }
    for (UINT number = first; number <= last; ++number) {
      const UINT place = number - first;
      const UHYPER at = 22 + UHYPER{42} * place;
      if (place >= sheet->nTracks || !payload.Holds(at, 42)) {
        return ZSE_BADIMAGE;
      }
      CompleteTrack(payload.Part(at, 42), number, sheet, &sheet->pZSTracks[place]);
    }
    return S_OK;
  }

  void CompleteTrack(const ByteView& record, UINT number, ZSCUESHEET* sheet, ZSTRACK* track) {
    constexpr BYTE kAudio = 7;
    std::uint16_t sectorSize = 0;
    BYTE mode = 0;
    record.Big16(12, &sectorSize);
    record.Byte(14, &mode);
    SetBlockSize(track, sectorSize);
    if (number == 1) {
      m_info->dwSeekBegin64 = UHYPER{kPause} * sectorSize; // The pause before LBA 0 is in the file.
    }
    ApplyMode(mode, sheet, track);
    if (const std::string_view isrc = record.Text(0, 12); mode == kAudio && !isrc.empty()) {
      const UniqueBstr old(track->bstrISRC);
      track->bstrISRC = nullptr;
      track->bstrISRC = NewBstr(isrc);
    }
  }

  HRESULT AddTrackAtOnceSessions(const ByteView& payload) noexcept {
    constexpr UHYPER kRecordSize = 32;
    const UHYPER recordCount = payload.Size() / kRecordSize;
    UHYPER record = 0;
    for (const ULONG trackCount : m_trackCounts) {
      if (trackCount > recordCount - record) {
        return ZSE_BADIMAGE;
      }
      ZSCUESHEET* sheet = nullptr;
      if (const HRESULT result = AddSession(m_service, trackCount, m_info, &sheet); FAILED(result)) {
        return result;
      }
      m_info->lMask |= ZSIMAGEMASK_TRACKATONCE;
      m_info->dwSeekBegin64 = 0;
      UHYPER position = 0;
      for (UINT place = 0; place < trackCount; ++place, ++record) {
        TakeTrackAtOnce(payload.Part(record * kRecordSize, kRecordSize), place, sheet, &position);
      }
    }
    return S_OK;
  }

  /// @param position Where the track stands in the file, its session from 0; moves behind the track.
  static void TakeTrackAtOnce(const ByteView& record, UINT place, ZSCUESHEET* sheet, UHYPER* position) noexcept {
    UHYPER length = 0;
    ULONG mode = 0;
    ULONG lba = 0;
    record.Big64(8, &length);
    record.Big32(16, &mode);
    record.Big32(20, &lba);
    ZSTRACK* track = &sheet->pZSTracks[place];
    track->TNO = place + 1;
    ApplyMode(mode, sheet, track);
    const ULONG sectorSize = SectorSizeOfMode(mode);
    SetBlockSize(track, sectorSize);
    const UHYPER sectors = sectorSize == 0 ? length : length / sectorSize;
    track->dwLBA = lba;
    track->dwEndLBA = static_cast<ULONG>(lba + sectors);
    track->dwReserved64 = *position;
    *position += sectors * sectorSize;
  }

  void DecodeText(const Chunk& chunk, std::string* block) noexcept {
    if (chunk.payload.Size() != 0 && m_info->nSessions != 0) {
      DecodeCDTextPacks(reinterpret_cast<BYTE*>(block->data()) + chunk.position, chunk.payload.Size(),
                        m_info->pZSCueSheet[0]);
      m_info->lMask |= ZSIMAGEMASK_CDTEXT;
    }
  }

  IZSCueSheet* m_service;
  const std::vector<ULONG>& m_trackCounts;
  zsimagefileinfo* m_info;
  std::size_t m_cueSessions = 0;
  UHYPER m_base = 0;
};

HRESULT BuildSessions(IZSCueSheet* service, std::string* block, zsimagefileinfo* info) {
  const ByteView view(block->data(), block->size());
  std::vector<ULONG> trackCounts;
  HRESULT result = CountTracks(view, &trackCounts);
  NrgSessions sessions(service, trackCounts, info);
  Chunk chunk;
  for (ChunkWalk walk(view); SUCCEEDED(result) && walk.Next(&chunk);) {
    result = sessions.Take(chunk, block);
  }
  return result;
}

} // namespace

HRESULT ReadNrgImage(IZSCueSheet* service, const std::string& path, zsimagefileinfo* info) {
  CZSFindFile find;
  CZSFile file;
  if (!find.FindFile(path) || !file.OpenForReading(path)) {
    return ZSE_FILENOTFOUND;
  }
  UHYPER blockPosition = 0;
  if (!ReadFooter(&file, find.GetFileSize(), &blockPosition)) {
    return ZSE_BADIMAGE;
  }
  info->dwSeekEnd64 = blockPosition;
  std::string block;
  if (!LoadBlock(&file, blockPosition, find.GetFileSize(), &block)) {
    return LoadFailure();
  }
  file.Close();
  if (const HRESULT result = BuildSessions(service, &block, info); FAILED(result)) {
    return result;
  }
  return FinishImage(path, ZSIMAGEFORMAT_NRG, info);
}

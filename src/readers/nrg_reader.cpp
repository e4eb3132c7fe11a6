/// @file
/// Nero images. One file holds the sectors, a block of tagged chunks that describe the disc, and a footer with the
/// offset of the block.
///
/// The tables below are the fields that are read, by their offsets. Numbers are big-endian. Track numbers run through
/// the whole disc.

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

/// The last 12 bytes of the file, in one of two forms.
namespace footer {
constexpr std::size_t kLongTag = 0;     // "NER5"
constexpr std::size_t kLongOffset = 4;  // 64 bits.
constexpr std::size_t kShortTag = 4;    // "NERO"
constexpr std::size_t kShortOffset = 8; // 32 bits.
constexpr std::size_t kSize = 12;
} // namespace footer

namespace chunk {
constexpr std::size_t kTag = 0;    // 32 bits: four letters.
constexpr std::size_t kLength = 4; // 32 bits: bytes of the payload, which follows.
constexpr std::size_t kHeadSize = 8;
constexpr ULONG kSessionInfo = Tag("SINF"); // The number of a session's tracks, in the order of the sessions.
constexpr ULONG kCueEntries = Tag("CUEX");  // The positions of a session.
constexpr ULONG kDiscAtOnce = Tag("DAOX");  // The tracks of the session before.
constexpr ULONG kTrackAtOnce = Tag("ETN2"); // The tracks of all sessions.
constexpr ULONG kCDText = Tag("CDTX");      // CD-Text packs.
} // namespace chunk

namespace session_info {
constexpr std::size_t kTrackCount = 0; // 32 bits.
constexpr std::size_t kSize = 4;
} // namespace session_info

namespace cue_entry {
constexpr std::size_t kControl = 0; // 8 bits: control bits of the sub-channel Q in the upper half.
constexpr std::size_t kTrack = 1;   // 8 bits.
constexpr std::size_t kIndex = 2;   // 8 bits.
constexpr std::size_t kLba = 4;     // 32 bits, signed.
constexpr std::size_t kSize = 8;
constexpr BYTE kLeadIn = 0; // Track number of the lead-in.
constexpr BYTE kLeadOut = 0xAA;
} // namespace cue_entry

namespace disc_at_once {
constexpr std::size_t kCatalogue = 4; // 13 letters.
constexpr std::size_t kCatalogueSize = 13;
constexpr std::size_t kFirstTrack = 20; // 8 bits.
constexpr std::size_t kLastTrack = 21;  // 8 bits.
constexpr std::size_t kSize = 22;       // The records of the tracks follow.
} // namespace disc_at_once

namespace track_record {
constexpr std::size_t kIsrc = 0; // 12 letters.
constexpr std::size_t kIsrcSize = 12;
constexpr std::size_t kSectorSize = 12; // 16 bits.
constexpr std::size_t kMode = 14;       // 8 bits.
constexpr std::size_t kSize = 42;
constexpr BYTE kAudio = 7; // Mode of an audio track.
} // namespace track_record

namespace track_at_once {
constexpr std::size_t kLength = 8; // 64 bits: bytes of the track.
constexpr std::size_t kMode = 16;  // 32 bits.
constexpr std::size_t kLba = 20;   // 32 bits.
constexpr std::size_t kSize = 32;
} // namespace track_at_once

/// Finds the offset of the chunk block by either form of footer.
bool ReadFooter(CZSFile* file, UHYPER fileSize, UHYPER* blockOffset) noexcept {
  // The file may be shorter than the longer form. The bytes that it lacks are 0 and match no tag.
  std::array<BYTE, footer::kSize> bytes{};
  const auto count = static_cast<DWORD>(std::min<UHYPER>(fileSize, bytes.size()));
  if (file->Seek64(static_cast<std::int64_t>(fileSize - count), FILE_BEGIN) == kSeekFailed ||
      !file->Read(bytes.data() + (bytes.size() - count), count)) {
    return false;
  }
  const ByteView view(bytes);
  const BlockView block(bytes);
  if (view.HasText(footer::kShortTag, "NERO")) {
    *blockOffset = block.Big32(footer::kShortOffset);
    return true;
  }
  *blockOffset = block.Big64(footer::kLongOffset);
  return view.HasText(footer::kLongTag, "NER5");
}

/// Loads the bytes from an offset to the end of the file. Loads nothing if the offset is outside the file or too far
/// from its end.
bool LoadBlock(CZSFile* file, UHYPER offset, UHYPER fileSize, std::string* block) noexcept {
  if (offset >= fileSize || fileSize - offset > kMaxDescriptionSize) {
    return true;
  }
  return file->Seek64(static_cast<std::int64_t>(offset), FILE_BEGIN) != kSeekFailed &&
         ReadToEnd(file->Handle(), kMaxDescriptionSize, block);
}

struct Chunk {
  ULONG tag = 0;
  UHYPER offset = 0; ///< Of the payload, in the block.
  ByteView payload;  ///< Cut at the end of the block.
};

/// Iterates over the chunks of a block.
class ChunkIterator {
public:
  explicit ChunkIterator(ByteView block) noexcept : m_block(block) {}

  bool Next(Chunk* next) noexcept {
    BlockView head;
    if (!m_block.Block(m_offset, chunk::kHeadSize, &head)) {
      return false;
    }
    const ULONG length = head.Big32(chunk::kLength);
    next->tag = head.Big32(chunk::kTag);
    next->offset = m_offset + chunk::kHeadSize;
    next->payload = m_block.Part(next->offset, length);
    m_offset = next->offset + length;
    return next->tag != Tag("END!") && next->tag != Tag("NER5") && next->tag != Tag("NERO");
  }

private:
  ByteView m_block;
  UHYPER m_offset = 0;
};

/// Collects the number of tracks of each session, because the counts may follow the chunks that need them.
HRESULT CollectTrackCounts(ByteView block, std::vector<ULONG>* trackCounts) {
  Chunk next;
  for (ChunkIterator chunks(block); chunks.Next(&next);) {
    BlockView info;
    if (next.tag != chunk::kSessionInfo) {
      continue;
    }
    if (!next.payload.Block(0, session_info::kSize, &info)) {
      return ZSE_BADIMAGE;
    }
    trackCounts->push_back(info.Big32(session_info::kTrackCount));
  }
  return S_OK;
}

/// A mode of the file.
struct TrackMode {
  ULONG number;
  ZSMODETYPE mode;
  ULONG sectorSize; ///< Of a track at once, whose record states no size.
};
constexpr TrackMode kModes[] = {{0, ZSMODE_1, 2048},
                                {2, ZSMODE_2, 2048},
                                {3, ZSMODE_2, 2336},
                                {6, ZSMODE_2, 2352},
                                {track_record::kAudio, ZSMODE_AUDIO, 2352}};

/// Applies a mode to a track. Returns the sector size that a track at once has in that mode. An unknown mode changes
/// nothing and has the size 0.
ULONG ApplyMode(ULONG number, ZSCUESHEET* sheet, ZSTRACK* track) noexcept {
  const auto* known = std::ranges::find(kModes, number, &TrackMode::number);
  if (known == std::end(kModes)) {
    return 0;
  }
  SetMode(sheet, track, known->mode);
  return known->sectorSize;
}

struct CueEntry {
  BYTE control = 0;
  BYTE track = 0;
  BYTE index = 0;
  ULONG lba = 0;
};

bool ParseCueEntry(const ByteView& entries, UHYPER number, CueEntry* entry) noexcept {
  BlockView block;
  if (!entries.Block(number * cue_entry::kSize, cue_entry::kSize, &block)) {
    return false;
  }
  entry->control = block.Byte(cue_entry::kControl);
  entry->track = block.Byte(cue_entry::kTrack);
  entry->index = block.Byte(cue_entry::kIndex);
  entry->lba = block.Big32(cue_entry::kLba);
  return true;
}

/// Stores the position of an index. Lower indexes that the file has not listed are absent. An index becomes absent if
/// the next one has the same position. If out of memory, the index is not stored.
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

  HRESULT ApplyChunk(const Chunk& next, std::string* block) {
    switch (next.tag) {
    case chunk::kCueEntries:
      return AppendCueSession(next.payload);
    case chunk::kDiscAtOnce:
      return CompleteSession(next.payload);
    case chunk::kTrackAtOnce:
      return AppendTrackAtOnceSessions(next.payload);
    case chunk::kCDText:
      DecodeText(next, block);
      return S_OK;
    default:
      return S_OK;
    }
  }

private:
  HRESULT AppendCueSession(const ByteView& entries) {
    const UHYPER tracksBefore = CountCueSession();
    const UHYPER entryCount = entries.Size() / cue_entry::kSize;
    CueEntry last; // Entry of the last track. The lead-out follows it.
    if (entryCount < 2 || !ParseCueEntry(entries, entryCount - 2, &last) || last.track < tracksBefore) {
      return ZSE_BADIMAGE;
    }
    ZSCUESHEET* sheet = nullptr;
    const HRESULT result = AddSession(m_service, static_cast<UINT>(last.track - tracksBefore), m_info, &sheet);
    return FAILED(result) ? result : ParseCueEntries(entries, tracksBefore, sheet);
  }

  /// Counts a session of cue entries and its tracks. Returns the number of tracks before it.
  UHYPER CountCueSession() noexcept {
    const UHYPER before = m_cueTracks;
    if (m_cueSessions < m_trackCounts.size()) {
      m_cueTracks += m_trackCounts[m_cueSessions];
    }
    ++m_cueSessions;
    return before;
  }

  static HRESULT ParseCueEntries(const ByteView& entries, UHYPER tracksBefore, ZSCUESHEET* sheet) noexcept {
    CueEntry entry;
    CueEntry before;
    for (UHYPER i = 0; ParseCueEntry(entries, i, &entry) && entry.track != cue_entry::kLeadOut; before = entry, ++i) {
      if (entry.track == cue_entry::kLeadIn) {
        continue;
      }
      CueEntry next;
      const bool inSession = entry.track > tracksBefore && entry.track - tracksBefore <= sheet->nTracks;
      const bool hasPregap = entry.track != 1 && entry.index == 1;
      if (!inSession || (hasPregap && i == 0) || !ParseCueEntry(entries, i + 1, &next)) {
        return ZSE_BADIMAGE;
      }
      const auto number = static_cast<UINT>(entry.track - tracksBefore);
      ZSTRACK* track = &sheet->pZSTracks[number - 1];
      track->TNO = number;
      StoreIndex(track, entry.index, entry.lba);
      if (hasPregap) {
        track->Pregap = static_cast<LONG>(entry.lba - before.lba);
      }
      const auto control = static_cast<BYTE>(entry.control >> 4);
      if ((control & kControlData) == 0) { // A data track has no flags.
        track->Flags |= FlagsOfControl(control);
      }
      if (entry.index == 1) {
        track->dwLBA = entry.lba;
      }
      track->dwEndLBA = next.lba;
    }
    return S_OK;
  }

  /// Completes the tracks of the session that was appended last.
  HRESULT CompleteSession(const ByteView& payload) {
    if (m_info->nSessions == 0) {
      return S_OK;
    }
    ZSCUESHEET* sheet = m_info->pZSCueSheet[m_info->nSessions - 1];
    BlockView head;
    if (!payload.Block(0, disc_at_once::kSize, &head)) {
      return ZSE_BADIMAGE;
    }
    const std::string_view catalogue = head.Text(disc_at_once::kCatalogue, disc_at_once::kCatalogueSize);
    if (!catalogue.empty()) {
      const BSTR number = NewBstr(catalogue);
      SysFreeString(sheet->ZSCDTEXT.bstrMCN);
      sheet->ZSCDTEXT.bstrMCN = number;
    }
    const UINT first = head.Byte(disc_at_once::kFirstTrack);
    const UINT last = head.Byte(disc_at_once::kLastTrack);
    for (UINT number = first; number <= last; ++number) {
      const UINT index = number - first;
      BlockView record;
      if (index >= sheet->nTracks ||
          !payload.Block(disc_at_once::kSize + index * track_record::kSize, track_record::kSize, &record)) {
        return ZSE_BADIMAGE;
      }
      CompleteTrack(record, number, sheet, &sheet->pZSTracks[index]);
    }
    return S_OK;
  }

  void CompleteTrack(const BlockView& record, UINT number, ZSCUESHEET* sheet, ZSTRACK* track) {
    const USHORT sectorSize = record.Big16(track_record::kSectorSize);
    const BYTE mode = record.Byte(track_record::kMode);
    SetBlockSize(track, sectorSize);
    if (number == 1) {
      m_info->dwSeekBegin64 = UHYPER{kPause} * sectorSize; // The file has the pause before LBA 0.
    }
    ApplyMode(mode, sheet, track);
    const std::string_view isrc = record.Text(track_record::kIsrc, track_record::kIsrcSize);
    if (mode == track_record::kAudio && !isrc.empty()) {
      const BSTR code = NewBstr(isrc);
      SysFreeString(track->bstrISRC);
      track->bstrISRC = code;
    }
  }

  HRESULT AppendTrackAtOnceSessions(const ByteView& payload) noexcept {
    const UHYPER recordCount = payload.Size() / track_at_once::kSize;
    UHYPER next = 0;
    for (const ULONG trackCount : m_trackCounts) {
      if (trackCount > recordCount - next) {
        return ZSE_BADIMAGE;
      }
      ZSCUESHEET* sheet = nullptr;
      if (const HRESULT result = AddSession(m_service, trackCount, m_info, &sheet); FAILED(result)) {
        return result;
      }
      m_info->lMask |= ZSIMAGEMASK_TRACKATONCE;
      m_info->dwSeekBegin64 = 0;
      UHYPER offset = 0;
      for (UINT i = 0; i < trackCount; ++i, ++next) {
        BlockView record;
        payload.Block(next * track_at_once::kSize, track_at_once::kSize, &record);
        ParseTrackAtOnce(record, i + 1, sheet, &offset);
      }
    }
    return S_OK;
  }

  /// @param offset Byte offset of the track in the file, from the start of its session; moves to the end of the track.
  static void ParseTrackAtOnce(const BlockView& record, UINT number, ZSCUESHEET* sheet, UHYPER* offset) noexcept {
    const UHYPER length = record.Big64(track_at_once::kLength);
    ZSTRACK* track = &sheet->pZSTracks[number - 1];
    const ULONG sectorSize = ApplyMode(record.Big32(track_at_once::kMode), sheet, track);
    const UHYPER sectors = sectorSize == 0 ? length : length / sectorSize;
    track->TNO = number;
    SetBlockSize(track, sectorSize);
    track->dwLBA = record.Big32(track_at_once::kLba);
    track->dwEndLBA = static_cast<ULONG>(track->dwLBA + sectors);
    track->dwReserved64 = *offset;
    *offset += sectors * sectorSize;
  }

  void DecodeText(const Chunk& next, std::string* block) noexcept {
    if (next.payload.Size() != 0 && m_info->nSessions != 0) {
      BYTE* packs = reinterpret_cast<BYTE*>(block->data()) + next.offset;
      DecodeCDTextPacks(packs, next.payload.Size(), m_info->pZSCueSheet[0]);
      m_info->lMask |= ZSIMAGEMASK_CDTEXT;
    }
  }

  IZSCueSheet* m_service;
  const std::vector<ULONG>& m_trackCounts;
  zsimagefileinfo* m_info;
  std::size_t m_cueSessions = 0; ///< Sessions of cue entries so far.
  UHYPER m_cueTracks = 0;        ///< Their tracks.
};

HRESULT BuildSessions(IZSCueSheet* service, std::string* block, zsimagefileinfo* info) {
  const ByteView view(*block);
  std::vector<ULONG> trackCounts;
  HRESULT result = CollectTrackCounts(view, &trackCounts);
  NrgSessions sessions(service, trackCounts, info);
  Chunk next;
  for (ChunkIterator chunks(view); SUCCEEDED(result) && chunks.Next(&next);) {
    result = sessions.ApplyChunk(next, block);
  }
  return result;
}

} // namespace

HRESULT ReadNrgImage(IZSCueSheet* service, const std::string& path, zsimagefileinfo* info) {
  CZSFile file;
  UHYPER fileSize = 0;
  if (!file.OpenForReading(path) || !file.Size(&fileSize)) {
    return ZSE_FILENOTFOUND;
  }
  UHYPER blockOffset = 0;
  if (!ReadFooter(&file, fileSize, &blockOffset)) {
    return ZSE_BADIMAGE;
  }
  info->dwSeekEnd64 = blockOffset;
  std::string block;
  if (!LoadBlock(&file, blockOffset, fileSize, &block)) {
    return LoadFailure();
  }
  file.Close();
  if (const HRESULT result = BuildSessions(service, &block, info); FAILED(result)) {
    return result;
  }
  return FinishImage(path, ZSIMAGEFORMAT_NRG, info);
}

/// @file
/// CloneCD descriptions: the raw table of contents of a disc as an initialisation file. The sectors are in an .IMG
/// file, the sub-channel in a .SUB file.
///
///     [Disc]            Sessions, CDTextLength (bytes of all packs)
///     [Entry 0]         Session, Point (a track below 100, or 0xA2 for the lead-out), PLBA; and so on without a gap
///     [TRACK 1]         MODE, INDEX 0, INDEX 1, FLAGS, ISRC; numbered through all sessions
///     [CDText]          Entries; Entry 0 and so on: one pack without its CRC, as 16 pairs of hexadecimal digits

#include <algorithm>
#include <array>
#include <new>
#include <vector>

#include "cdtext/decoder.h"
#include "cuesheet/unique_sheet.h"
#include "disc/track_table.h"
#include "foundation/path_operations.h"
#include "foundation/strings.h"
#include "platform/digits.h"
#include "platform/profile.h"
#include "readers/reader_steps.h"
#include "readers/readers.h"

namespace {

constexpr LONG kMissing = -1;
constexpr ZSMODETYPE kModes[] = {ZSMODE_AUDIO, ZSMODE_1, ZSMODE_2}; // By the value of MODE.
constexpr LONG kPointLeadOut = 0xA2;
constexpr LONG kLastTrackPoint = 99;
constexpr std::size_t kTextLimit = 254;

// The lead-in of a disc holds at most eight blocks of 256 packs.
constexpr LONG kMaxPacks = 8 * 256;
constexpr LONG kMaxTextLength = kMaxPacks * LONG{kPackSize};
constexpr std::size_t kPackBytesInText = 16;

std::string Numbered(const char* name, std::size_t number) { return name + std::to_string(number); }

LONG ParseFlags(const std::string& text) noexcept {
  const auto bit = [&text](const char* word, LONG flag) { return text.find(word) == std::string::npos ? 0 : flag; };
  return bit("DCP", ZSTRACKFLAG_DCP) | bit("PRE", ZSTRACKFLAG_PRE) | bit("4CH", ZSTRACKFLAG_4CH);
}

HRESULT AppendEmptySessions(IZSCueSheet* service, LONG count, zsimagefileinfo* info) noexcept {
  if (count < 0) {
    return ZSE_BADIMAGE;
  }
  if (count > LONG{kMaxSessions}) {
    return ZSE_OUTOFRESOURCES;
  }
  for (LONG i = 0; i < count; ++i) {
    UniqueSheet sheet = NewSheet(service);
    if (!sheet || !AppendSession(&sheet, info)) {
      return ZSE_OUTOFRESOURCES;
    }
  }
  return S_OK;
}

/// One entry of the table of contents.
struct Entry {
  LONG point;
  LONG session; ///< From 1.
  LONG lba;

  bool IsTrack() const noexcept { return point <= kLastTrackPoint; }
};

/// Parses the entries, from number 0 up to the first entry without a point.
std::vector<Entry> ParseEntries(const ProfileFile& profile) {
  std::vector<Entry> entries;
  for (;;) {
    const ProfileFile::Section section = profile.GetSection(Numbered("ENTRY ", entries.size()));
    const LONG point = section.GetInt("Point", kMissing);
    if (point == kMissing) {
      return entries;
    }
    entries.push_back({point, section.GetInt("Session", kMissing), section.GetInt("PLBA", kMissing)});
  }
}

bool ParseTrack(const ProfileFile::Section& section, ZSCUESHEET* sheet, ZSTRACK* track) {
  const LONG index0 = section.GetInt("INDEX 0", kMissing);
  const LONG index1 = section.GetInt("INDEX 1", kMissing);
  const LONG mode = section.GetInt("MODE", kMissing);
  if (index1 == kMissing || mode < 0 || mode >= std::ssize(kModes)) {
    return false;
  }
  if (index0 != kMissing) {
    track->Pregap = static_cast<LONG>(static_cast<ULONG>(index1) - static_cast<ULONG>(index0));
  }
  if (index1 != 0) {
    track->dwLBA = static_cast<ULONG>(index1);
  }
  SetMode(sheet, track, kModes[mode]);
  SetBlockSize(track, ZSFILEBLOCKSIZE_2352);
  track->Flags = ParseFlags(section.GetString("FLAGS", kTextLimit));
  track->bstrISRC = NewBstr(section.GetString("ISRC", kTextLimit));
  return true;
}

/// Builds the tracks of a record from the entries, which are in the order of the disc.
class CcdTracks {
public:
  CcdTracks(const ProfileFile& profile, zsimagefileinfo* info) noexcept : m_profile(profile), m_info(info) {}

  HRESULT ApplyEntries() {
    const std::vector<Entry> entries = ParseEntries(m_profile);
    if (!AllocateTables(entries)) {
      return E_OUTOFMEMORY;
    }
    HRESULT result = S_OK;
    for (const Entry& entry : entries) {
      if (entry.point == kPointLeadOut) {
        result = ApplyLeadOut(entry);
      } else if (entry.IsTrack()) {
        result = AppendTrack(entry);
      }
      if (FAILED(result)) {
        break;
      }
    }
    return result;
  }

private:
  /// Returns the sheet of an entry's session; null if there is no such session.
  ZSCUESHEET* SheetOf(const Entry& entry) const noexcept {
    return entry.session < 1 || entry.session > LONG{m_info->nSessions} ? nullptr
                                                                        : m_info->pZSCueSheet[entry.session - 1];
  }

  /// Allocates the track tables of all sessions in full size: a table that grows would be copied for each track.
  /// Returns false if out of memory.
  bool AllocateTables(const std::vector<Entry>& entries) noexcept {
    std::array<UINT, kMaxSessions + 1> counts{};
    for (const Entry& entry : entries) {
      counts[SheetOf(entry) == nullptr ? 0 : static_cast<std::size_t>(entry.session)] += entry.IsTrack() ? 1 : 0;
    }
    for (std::size_t session = 1; session <= m_info->nSessions; ++session) {
      ZSCUESHEET* sheet = m_info->pZSCueSheet[session - 1];
      if (counts[session] != 0 && !AllocateTracks(sheet, counts[session])) {
        return false;
      }
      sheet->nTracks = 0;
    }
    return true;
  }

  /// Stores the lead-out of a session. It precedes the tracks and separates them from those of the previous session.
  HRESULT ApplyLeadOut(const Entry& entry) noexcept {
    if (entry.session == 0 || entry.session > LONG{kMaxSessions}) {
      return ZSE_BADIMAGE;
    }
    m_leadOut = static_cast<ULONG>(entry.lba);
    m_trackBefore = nullptr;
    return S_OK;
  }

  HRESULT AppendTrack(const Entry& entry) {
    ZSCUESHEET* sheet = SheetOf(entry);
    if (sheet == nullptr) {
      return ZSE_BADIMAGE;
    }
    if (sheet->nTracks != 0) {
      m_trackBefore = &sheet->pZSTracks[sheet->nTracks - 1];
    }
    ZSTRACK* track = &sheet->pZSTracks[sheet->nTracks++];
    track->TNO = sheet->nTracks;
    track->dwLBA = static_cast<ULONG>(entry.lba);
    track->dwEndLBA = m_leadOut;
    if (!ParseTrack(m_profile.GetSection(Numbered("TRACK ", m_trackNumber)), sheet, track)) {
      return ZSE_BADIMAGE;
    }
    if (m_trackBefore != nullptr) {
      m_trackBefore->dwEndLBA = track->dwLBA - static_cast<ULONG>(track->Pregap);
    }
    m_trackBefore = track;
    ++m_trackNumber;
    return S_OK;
  }

  const ProfileFile& m_profile;
  zsimagefileinfo* m_info;
  std::size_t m_trackNumber = 1; ///< Through all sessions.
  ULONG m_leadOut = 0;
  ZSTRACK* m_trackBefore = nullptr;
};

/// Returns the lowest 8 bits of the hexadecimal number that starts within three characters from a position; 0 if no
/// number starts there.
BYTE ParseHexByte(std::string_view text, std::size_t position) noexcept {
  text.remove_prefix(std::min(position, text.size()));
  for (int blanks = 0; blanks < 3 && text.starts_with(' '); ++blanks) {
    text.remove_prefix(1);
  }
  return static_cast<BYTE>(platform::ParseDigits(&text, 16).value);
}

/// Parses the packs. The description has no CRCs: they are 0.
std::vector<BYTE> ParsePacks(const ProfileFile& profile) {
  const ProfileFile::Section section = profile.GetSection("CDText");
  const LONG length = profile.GetSection("Disc").GetInt("CDTextLength", kMissing);
  const LONG entries = section.GetInt("Entries", kMissing);
  if (length < 0 || length > kMaxTextLength || entries < 0 || entries > kMaxPacks) {
    return {};
  }
  std::vector<BYTE> packs(static_cast<std::size_t>(length));
  std::size_t start = 0;
  for (LONG i = 0; i < entries && start < packs.size(); ++i, start += kPackSize) {
    const std::string text = section.GetString(Numbered("Entry ", static_cast<std::size_t>(i)), 255);
    for (std::size_t j = 0; j < kPackBytesInText && start + j < packs.size(); ++j) {
      packs[start + j] = ParseHexByte(text, 3 * j);
    }
  }
  return packs;
}

/// Decodes the packs into the first session. After a failure only the texts are missing.
void DecodeText(const ProfileFile& profile, zsimagefileinfo* info) noexcept {
  if (info->nSessions == 0) {
    return;
  }
  try {
    std::vector<BYTE> packs = ParsePacks(profile);
    DecodeCDTextPacks(packs.data(), packs.size(), info->pZSCueSheet[0]);
  } catch (const std::bad_alloc&) { // The image is complete without its texts.
  }
  if (info->pZSCueSheet[0]->ZSCDTEXT.CDTextPresent == VARIANT_TRUE) {
    info->lMask |= ZSIMAGEMASK_CDTEXT;
  }
}

} // namespace

HRESULT ReadCcdImage(IZSCueSheet* service, const std::string& path, zsimagefileinfo* info) {
  if (!FileExists(path)) {
    return ZSE_FILENOTFOUND;
  }
  ProfileFile profile;
  if (!profile.Load(path)) {
    return LoadFailure();
  }
  HRESULT result = AppendEmptySessions(service, profile.GetSection("Disc").GetInt("Sessions", kMissing), info);
  if (SUCCEEDED(result)) {
    result = CcdTracks(profile, info).ApplyEntries();
  }
  if (FAILED(result)) {
    return result;
  }
  std::string sectorFile = path;
  RenameExtensionIfExists(&sectorFile, ".IMG");
  info->dwSeekEnd64 = kToEndOfFile;
  result = FinishImage(sectorFile, ZSIMAGEFORMAT_CCD, info);
  if (FAILED(result)) {
    return result;
  }
  std::string subChannelFile = path;
  RenameExtension(&subChannelFile, ".SUB");
  if (FileExists(subChannelFile)) {
    info->lMask |= ZSIMAGEMASK_SUBCHANNEL;
  }
  DecodeText(profile, info);
  return S_OK;
}

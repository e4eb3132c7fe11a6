/// @file
/// CloneCD descriptions: the raw table of contents of a disc as an initialisation file, one section for each entry
/// and one for each track. The sectors stand in an .IMG file, the sub-channel in a .SUB file.

#include <array>
#include <new>
#include <optional>
#include <vector>

#include "cdtext/decoder.h"
#include "cuesheet/unique_sheet.h"
#include "disc/track_table.h"
#include "foundation/path_operations.h"
#include "foundation/strings.h"
#include "platform/profile.h"
#include "platform/text.h"
#include "readers/reader_steps.h"
#include "readers/readers.h"

namespace {

constexpr LONG kMissing = -1;
constexpr LONG kPointLeadOut = 0xA2;
constexpr LONG kPointsEnd = 100; // Points below are tracks.
constexpr std::size_t kTextLimit = 254;

// All that the lead-in of a disc can hold: eight blocks of packs that a byte counts.
constexpr LONG kMaxPacks = 8 * 256;
constexpr LONG kMaxTextLength = kMaxPacks * LONG{kPackSize};

std::string Numbered(const char* name, std::size_t number) { return name + std::to_string(number); }

LONG FlagsOfText(const std::string& text) noexcept {
  const auto bit = [&text](const char* word, LONG flag) { return text.find(word) == std::string::npos ? 0 : flag; };
  return bit("DCP", ZSTRACKFLAG_DCP) | bit("PRE", ZSTRACKFLAG_PRE) | bit("4CH", ZSTRACKFLAG_4CH);
}

std::optional<ZSMODETYPE> ModeOf(LONG mode) noexcept {
  switch (mode) {
  case 0:
    return ZSMODE_AUDIO;
  case 1:
    return ZSMODE_1;
  case 2:
    return ZSMODE_2;
  default:
    return std::nullopt;
  }
}

HRESULT AddEmptySessions(IZSCueSheet* service, LONG count, zsimagefileinfo* info) noexcept {
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

/// Goes through the entries in the order of the disc and builds their tracks.
class CcdEntries {
public:
  CcdEntries(const ProfileFile& profile, zsimagefileinfo* info) noexcept : m_profile(profile), m_info(info) {}

  HRESULT TakeAll() {
    if (!MakeTables()) {
      return E_OUTOFMEMORY;
    }
    HRESULT result = S_OK;
    for (std::size_t n = 0; SUCCEEDED(result); ++n) {
      const ProfileFile::Section entry = Entry(n);
      const LONG point = PointOf(entry);
      if (point == kMissing) {
        break;
      }
      if (point == kPointLeadOut) {
        result = TakeLeadOut(entry);
      } else if (point < kPointsEnd) {
        result = TakeTrack(entry);
      }
    }
    return result;
  }

private:
  ProfileFile::Section Entry(std::size_t number) const { return m_profile.GetSection(Numbered("ENTRY ", number)); }
  static LONG PointOf(const ProfileFile::Section& entry) { return entry.GetInt("Point", kMissing); }

  /// The session of an entry, from 0; behind the last one when there is no such session.
  std::size_t SessionOf(const ProfileFile::Section& entry) const {
    const LONG session = entry.GetInt("Session", kMissing);
    return session < 1 || session > LONG{m_info->nSessions} ? m_info->nSessions : static_cast<std::size_t>(session - 1);
  }

  /// Makes room for the tracks of each session, which has none yet: a table that grows track by track would be copied
  /// as often. False when there is no memory.
  bool MakeTables() {
    std::array<UINT, kMaxSessions + 1> counts{};
    LONG point = kMissing;
    for (std::size_t n = 0; (point = PointOf(Entry(n))) != kMissing; ++n) {
      counts[SessionOf(Entry(n))] += point < kPointsEnd ? 1 : 0;
    }
    for (std::size_t session = 0; session < m_info->nSessions; ++session) {
      ZSCUESHEET* sheet = m_info->pZSCueSheet[session];
      if (counts[session] != 0 && !AllocateTracks(sheet, counts[session])) {
        return false;
      }
      sheet->nTracks = 0;
    }
    return true;
  }

  /// The lead-out of a session stands before its tracks and parts them from those of the session before.
  HRESULT TakeLeadOut(const ProfileFile::Section& entry) {
    const LONG session = entry.GetInt("Session", kMissing);
    if (session == 0 || session > LONG{kMaxSessions}) {
      return ZSE_BADIMAGE;
    }
    m_leadOut = PositionOf(entry);
    m_before = nullptr;
    return S_OK;
  }

  HRESULT TakeTrack(const ProfileFile::Section& entry) {
    const std::size_t session = SessionOf(entry);
    if (session == m_info->nSessions) {
      return ZSE_BADIMAGE;
    }
    ZSCUESHEET* sheet = m_info->pZSCueSheet[session];
    if (sheet->nTracks != 0) {
      m_before = &sheet->pZSTracks[sheet->nTracks - 1];
    }
    ZSTRACK* track = &sheet->pZSTracks[sheet->nTracks++];
    track->TNO = sheet->nTracks;
    track->dwLBA = PositionOf(entry);
    track->dwEndLBA = m_leadOut;
    SetBlockSize(track, ZSFILEBLOCKSIZE_2352);
    if (!FillTrack(m_profile.GetSection(Numbered("TRACK ", m_trackNumber)), sheet, track)) {
      return ZSE_BADIMAGE;
    }
    EndTrackBefore(*track);
    m_before = track;
    ++m_trackNumber;
    return S_OK;
  }

  static bool FillTrack(const ProfileFile::Section& section, ZSCUESHEET* sheet, ZSTRACK* track) {
    const LONG index0 = section.GetInt("INDEX 0", kMissing);
    const LONG index1 = section.GetInt("INDEX 1", kMissing);
    const std::optional<ZSMODETYPE> mode = ModeOf(section.GetInt("MODE", kMissing));
    if (index1 == kMissing || !mode) {
      return false;
    }
    if (index0 != kMissing) {
      track->Pregap = static_cast<LONG>(static_cast<ULONG>(index1) - static_cast<ULONG>(index0));
    }
    if (index1 != 0) {
      track->dwLBA = static_cast<ULONG>(index1);
    }
    SetMode(sheet, track, *mode);
    track->Flags = FlagsOfText(section.GetString("FLAGS", kTextLimit));
    track->bstrISRC = NewBstr(section.GetString("ISRC", kTextLimit));
    return true;
  }

  void EndTrackBefore(const ZSTRACK& track) const noexcept {
    if (m_before != nullptr) {
      m_before->dwEndLBA = track.dwLBA - static_cast<ULONG>(track.Pregap);
    }
  }

  static ULONG PositionOf(const ProfileFile::Section& entry) {
    return static_cast<ULONG>(entry.GetInt("PLBA", kMissing));
  }

  const ProfileFile& m_profile;
  zsimagefileinfo* m_info;
  std::size_t m_trackNumber = 1; ///< Through all sessions.
  ULONG m_leadOut = 0;
  ZSTRACK* m_before = nullptr;
};

/// The number that begins in a cell of three characters, cut to a byte; 0 where none does.
BYTE HexByteAt(const std::string& text, std::size_t position) noexcept {
  const std::size_t cellEnd = position + 3;
  while (position < text.size() && position < cellEnd && text[position] == ' ') {
    ++position;
  }
  unsigned value = 0;
  for (; position < text.size(); ++position) {
    const int digit = platform::HexDigit(text[position]);
    if (digit < 0) {
      break;
    }
    value = (value << 4 | static_cast<unsigned>(digit)) & 0xFF;
  }
  return static_cast<BYTE>(value);
}

/// Puts the packs of the description together. They come without their check bytes, which stay 0.
std::vector<BYTE> ReadPacks(const ProfileFile& profile) {
  const ProfileFile::Section section = profile.GetSection("CDText");
  const LONG length = profile.GetSection("Disc").GetInt("CDTextLength", kMissing);
  const LONG entries = section.GetInt("Entries", kMissing);
  if (length < 0 || length > kMaxTextLength || entries < 0 || entries > kMaxPacks) {
    return {};
  }
  constexpr std::size_t kBytesInText = 16;
  std::vector<BYTE> packs(static_cast<std::size_t>(length));
  std::size_t start = 0;
  for (LONG i = 0; i < entries && start < packs.size(); ++i, start += kPackSize) {
    const std::string text = section.GetString(Numbered("Entry ", static_cast<std::size_t>(i)), 255);
    for (std::size_t j = 0; j < kBytesInText && start + j < packs.size(); ++j) {
      packs[start + j] = HexByteAt(text, 3 * j);
    }
  }
  return packs;
}

/// Whatever goes wrong here costs the text alone: the image is complete without it.
void TakeCDText(const ProfileFile& profile, zsimagefileinfo* info) noexcept {
  if (info->nSessions == 0) {
    return;
  }
  try {
    std::vector<BYTE> packs = ReadPacks(profile);
    DecodeCDTextPacks(packs.data(), packs.size(), info->pZSCueSheet[0]);
  } catch (const std::bad_alloc&) {
    return;
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
  HRESULT result = AddEmptySessions(service, profile.GetSection("Disc").GetInt("Sessions", kMissing), info);
  if (SUCCEEDED(result)) {
    result = CcdEntries(profile, info).TakeAll();
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
  TakeCDText(profile, info);
  return S_OK;
}

/// @file
/// Media Descriptor images: a description of blocks with a table of contents, and the sectors in an .MDF file. All
/// numbers are little-endian. Track numbers run through the whole disc.

#include <algorithm>
#include <array>
#include <vector>

#include "disc/track_table.h"
#include "foundation/path_operations.h"
#include "platform/message_box.h"
#include "readers/reader_steps.h"
#include "readers/readers.h"

namespace {

constexpr std::size_t kHeaderSize = 84;
constexpr UHYPER kSessionBlockSize = 24;
constexpr UHYPER kTrackBlockSize = 80;

constexpr BYTE kPointEndOfList = 0;
constexpr BYTE kPointFirstTrack = 1;
constexpr BYTE kPointsEnd = 100; // Points below are tracks.
constexpr BYTE kPointSession = 0xA0;
constexpr BYTE kPointSessionEnd = 0xB0;

/// What the head of a description says.
struct Header {
  bool dvd = false;
  BYTE sessionCount = 0;
  ULONG sessionBlocks = 0; ///< Position of the first one.
};

/// False for a file that is no description. What a short file lacks counts as 0.
bool ReadHeader(const std::string& description, Header* header) noexcept {
  constexpr BYTE kMediumDvd = 0x10;
  std::array<BYTE, kHeaderSize> bytes{};
  std::copy_n(description.begin(), std::min(description.size(), bytes.size()), bytes.begin());
  const ByteView view(bytes);
  BYTE medium = 0;
  view.Byte(18, &medium);
  view.Byte(20, &header->sessionCount);
  view.Little32(80, &header->sessionBlocks);
  header->dvd = medium == kMediumDvd;
  return view.HasText(0, "MEDIA DESCRIPTOR") && (view.HasText(16, "\x01\x02") || view.HasText(16, "\x01\x03"));
}

/// Last track number of each session that has its block.
std::vector<BYTE> ReadLastTracks(const ByteView& description, const Header& header) {
  std::vector<BYTE> lastTracks;
  UHYPER at = header.sessionBlocks;
  for (; lastTracks.size() < header.sessionCount && description.Holds(at, kSessionBlockSize); at += kSessionBlockSize) {
    BYTE last = 0;
    description.Byte(at + 14, &last);
    lastTracks.push_back(last);
  }
  return lastTracks;
}

/// Builds the sessions of a record from the track blocks, of which each one's point says what it is.
class MdsSessions {
public:
  MdsSessions(IZSCueSheet* service, const ByteView& description, const Header& header, zsimagefileinfo* info)
      : m_service(service), m_description(description), m_header(header), m_info(info),
        m_lastTracks(ReadLastTracks(description, header)) {}

  /// The blocks stand right behind the last session block.
  HRESULT TakeAll() noexcept {
    UHYPER at = m_header.sessionBlocks + m_lastTracks.size() * kSessionBlockSize;
    HRESULT result = S_OK;
    BYTE point = kPointSession;
    for (; SUCCEEDED(result) && point != kPointEndOfList && m_description.Holds(at, kTrackBlockSize);
         at += kTrackBlockSize) {
      const ByteView block = m_description.Part(at, kTrackBlockSize);
      block.Byte(4, &point);
      result = TakeBlock(block, point);
    }
    return result;
  }

private:
  HRESULT TakeBlock(const ByteView& block, BYTE point) noexcept {
    if (m_sheet != nullptr && (point == kPointEndOfList || point == kPointSessionEnd || point == kPointSession)) {
      CloseSession();
    }
    HRESULT result = S_OK;
    if (point == kPointSession || (point == kPointFirstTrack && m_sheet == nullptr)) {
      result = OpenSession(block);
    }
    const bool isTrack = point != kPointEndOfList && point < kPointsEnd;
    return SUCCEEDED(result) && isTrack ? TakeTrack(block, point) : result;
  }

  HRESULT OpenSession(const ByteView& block) noexcept {
    const UINT last = m_session < m_lastTracks.size() ? m_lastTracks[m_session] : 0;
    if (last < m_base) {
      return ZSE_BADIMAGE;
    }
    BYTE format = 0;
    block.Byte(10, &format);
    const HRESULT result = AddSession(m_service, last - m_base, m_info, &m_sheet);
    if (SUCCEEDED(result)) {
      m_sheet->ZSSESSIONFORMAT = static_cast<::ZSSESSIONFORMAT>(format);
      m_before = nullptr;
    }
    return result;
  }

  /// Only an open session closes, so its session number may have no block: then the next one counts from 0.
  void CloseSession() noexcept {
    m_base = m_session < m_lastTracks.size() ? m_lastTracks[m_session] : 0;
    ++m_session;
    m_sheet = nullptr;
  }

  HRESULT TakeTrack(const ByteView& block, BYTE point) noexcept {
    if (m_sheet == nullptr || point <= m_base || point - m_base > m_sheet->nTracks) {
      return ZSE_BADIMAGE;
    }
    ZSTRACK* track = &m_sheet->pZSTracks[point - m_base - 1];
    track->TNO = point - m_base;
    ULONG lba = 0;
    UHYPER position = 0;
    block.Little32(36, &lba);
    block.Little64(40, &position);
    track->dwLBA = lba;
    track->dwReserved64 = position;
    TakeSectorSize(block, track);
    if (!TakeMode(block, track)) {
      return ZSE_OUTOFRESOURCES;
    }
    if (!(m_header.dvd ? TakeDvdLength(block, track) : TakeCdLengths(block, track))) {
      return ZSE_FILENOTFOUND;
    }
    m_before = track;
    return S_OK;
  }

  void TakeSectorSize(const ByteView& block, ZSTRACK* track) noexcept {
    std::uint16_t sectorSize = 0;
    block.Little16(16, &sectorSize);
    SetBlockSize(track, sectorSize);
    if (sectorSize == ZSFILEBLOCKSIZE_2448) {
      m_info->lMask |= ZSIMAGEMASK_SUBCHANNEL | ZSIMAGEMASK_SUBINLINE;
    }
  }

  /// False for a data track of a mode that is not known, after telling the user.
  static bool TakeMode(const ByteView& block, ZSTRACK* track) noexcept {
    BYTE mode = 0;
    BYTE control = 0;
    block.Byte(0, &mode);
    block.Byte(2, &control);
    track->Flags = FlagsOfControl(control);
    if ((control & kControlData) == 0) {
      track->Mode = ZSMODE_AUDIO;
    } else if ((mode & 0x02) != 0) {
      track->Mode = ZSMODE_1;
    } else if ((mode & 0x04) != 0) {
      track->Mode = ZSMODE_2;
    } else {
      // These very words: a host may look for them.
      MessageBoxA("MDS", "Error", MB_ICONSTOP);
      return false;
    }
    return true;
  }

  static bool TakeDvdLength(const ByteView& block, ZSTRACK* track) noexcept {
    ULONG length = 0;
    block.Little32(12, &length);
    track->dwEndLBA = track->dwLBA + length;
    return true;
  }

  /// A later track begins where the one before ends: what lies between is its pregap. The pregap that the file
  /// gives counts only where there is no track before.
  bool TakeCdLengths(const ByteView& block, ZSTRACK* track) const noexcept {
    ULONG at = 0;
    ULONG pregap = 0;
    ULONG length = 0;
    block.Little32(12, &at);
    if (!m_description.Little32(at, &pregap) || !m_description.Little32(UHYPER{at} + 4, &length)) {
      return false;
    }
    const bool first = track == m_sheet->pZSTracks;
    const bool follows = !first && m_before != nullptr;
    const ULONG start = follows ? ULONG{m_before->dwEndLBA} : ULONG{track->dwLBA};
    if (!first) {
      track->Pregap = static_cast<LONG>(follows ? track->dwLBA - start : pregap);
    }
    track->dwEndLBA = start + length;
    return true;
  }

  IZSCueSheet* m_service;
  const ByteView m_description;
  const Header m_header;
  zsimagefileinfo* m_info;
  const std::vector<BYTE> m_lastTracks;
  std::size_t m_session = 0;         ///< Number of the session that is open, or opens next.
  UINT m_base = 0;                   ///< Last track number of the sessions before.
  ZSCUESHEET* m_sheet = nullptr;     ///< The open session; the record owns it.
  const ZSTRACK* m_before = nullptr; ///< The track before, in the open session.
};

} // namespace

HRESULT ReadMdsImage(IZSCueSheet* service, const std::string& path, zsimagefileinfo* info) {
  std::string sectorFile = path;
  RenameExtension(&sectorFile, ".MDF");
  CZSFile file;
  if (!FileExists(path) || !FileExists(sectorFile) || !file.OpenForReading(path)) {
    return ZSE_FILENOTFOUND;
  }
  std::string description;
  if (!ReadToEnd(file.Handle(), kMaxDescriptionSize, &description)) {
    return LoadFailure();
  }
  file.Close();
  Header header;
  if (!ReadHeader(description, &header)) {
    return ZSE_BADIMAGE;
  }
  const ByteView view(description.data(), description.size());
  if (const HRESULT result = MdsSessions(service, view, header, info).TakeAll(); FAILED(result)) {
    return result;
  }
  info->dwSeekEnd64 = kToEndOfFile;
  return FinishImage(sectorFile, ZSIMAGEFORMAT_MDS, info);
}

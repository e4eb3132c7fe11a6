/// @file
/// Media Descriptor images: a .MDS file of blocks that describe the disc, and an .MDF file with the sectors.
///
/// The description is a header, the session blocks, the track blocks directly after them, and for a CD one length block
/// for each track. The tables below are the fields that are read, by their offsets. Numbers are little-endian. Track
/// numbers run through the whole disc.

#include <algorithm>
#include <array>
#include <vector>

#include "disc/track_table.h"
#include "foundation/path_operations.h"
#include "platform/message_box.h"
#include "readers/reader_steps.h"
#include "readers/readers.h"

namespace {

namespace header {
constexpr std::size_t kSignature = 0;      // "MEDIA DESCRIPTOR"
constexpr std::size_t kVersion = 16;       // Two bytes: 1, then 2 or 3.
constexpr std::size_t kMedium = 18;        // 16 bits.
constexpr std::size_t kSessionCount = 20;  // 8 bits.
constexpr std::size_t kSessionBlocks = 80; // 32 bits: offset of the first session block.
constexpr std::size_t kSize = 84;
constexpr BYTE kMediumDvd = 0x10;
} // namespace header

namespace session_block {
constexpr std::size_t kLastTrack = 14; // 8 bits.
constexpr std::size_t kSize = 24;
} // namespace session_block

namespace track_block {
constexpr std::size_t kMode = 0;           // 8 bits.
constexpr std::size_t kControl = 2;        // 8 bits, as in the sub-channel Q.
constexpr std::size_t kPoint = 4;          // 8 bits: kind of the block.
constexpr std::size_t kSessionFormat = 10; // 8 bits, in the block that opens a session.
constexpr std::size_t kLengthBlock = 12;   // 32 bits, on a CD: offset of the track's length block.
constexpr std::size_t kDvdSectors = 12;    // 32 bits, on a DVD: sectors of the track.
constexpr std::size_t kSectorSize = 16;    // 16 bits.
constexpr std::size_t kLba = 36;           // 32 bits: start of the track on the disc.
constexpr std::size_t kDataOffset = 40;    // 64 bits: start of the track in the .MDF file.
constexpr std::size_t kSize = 80;
constexpr BYTE kMode1 = 0x02; // Bits of the mode of a data track.
constexpr BYTE kMode2 = 0x04;
constexpr BYTE kPointEndOfList = 0;
constexpr BYTE kPointFirstTrack = 1;
constexpr BYTE kPointLastTrack = 99;
constexpr BYTE kPointSession = 0xA0;
constexpr BYTE kPointSessionEnd = 0xB0;
} // namespace track_block

namespace length_block {
constexpr std::size_t kPregap = 0;  // 32 bits.
constexpr std::size_t kSectors = 4; // 32 bits.
constexpr std::size_t kSize = 8;
} // namespace length_block

/// Fields of the header.
struct Header {
  bool isDvd = false;
  BYTE sessionCount = 0;
  ULONG sessionBlocks = 0; ///< Offset of the first one.
};

/// Parses the header. Fields that a short file lacks are 0. Returns false if the file is no description.
bool ParseHeader(const std::string& description, Header* parsed) noexcept {
  std::array<BYTE, header::kSize> bytes{};
  std::copy_n(description.begin(), std::min(description.size(), bytes.size()), bytes.begin());
  const BlockView block(bytes);
  parsed->isDvd = block.Byte(header::kMedium) == header::kMediumDvd;
  parsed->sessionCount = block.Byte(header::kSessionCount);
  parsed->sessionBlocks = block.Little32(header::kSessionBlocks);
  const ByteView view(bytes);
  return view.HasText(header::kSignature, "MEDIA DESCRIPTOR") &&
         (view.HasText(header::kVersion, "\x01\x02") || view.HasText(header::kVersion, "\x01\x03"));
}

/// Returns the last track number of each session, up to the first whose block is not in the file.
std::vector<BYTE> ParseSessionBlocks(const ByteView& description, const Header& header) {
  std::vector<BYTE> lastTracks;
  BlockView block;
  UHYPER offset = header.sessionBlocks;
  while (lastTracks.size() < header.sessionCount && description.Block(offset, session_block::kSize, &block)) {
    lastTracks.push_back(block.Byte(session_block::kLastTrack));
    offset += session_block::kSize;
  }
  return lastTracks;
}

/// Sets the sector size of a track. Sectors of 2448 bytes contain their sub-channel.
void ParseSectorSize(const BlockView& block, zsimagefileinfo* info, ZSTRACK* track) noexcept {
  const USHORT size = block.Little16(track_block::kSectorSize);
  SetBlockSize(track, size);
  if (size == ZSFILEBLOCKSIZE_2448) {
    info->lMask |= ZSIMAGEMASK_SUBCHANNEL | ZSIMAGEMASK_SUBINLINE;
  }
}

/// Sets flags and mode of a track. Shows a message and returns false for a data track of an unknown mode.
bool ParseMode(const BlockView& block, ZSTRACK* track) noexcept {
  const BYTE mode = block.Byte(track_block::kMode);
  const BYTE control = block.Byte(track_block::kControl);
  track->Flags = FlagsOfControl(control);
  if ((control & kControlData) == 0) {
    track->Mode = ZSMODE_AUDIO;
  } else if ((mode & track_block::kMode1) != 0) {
    track->Mode = ZSMODE_1;
  } else if ((mode & track_block::kMode2) != 0) {
    track->Mode = ZSMODE_2;
  } else {
    MessageBoxA("MDS", "Error", MB_ICONSTOP); // See "box text" in docs/compatibility.md.
    return false;
  }
  return true;
}

/// Builds the sessions of a record from the track blocks, in file order. The point of a block is its kind.
class MdsSessions {
public:
  MdsSessions(IZSCueSheet* service, const ByteView& description, const Header& header, zsimagefileinfo* info)
      : m_service(service), m_description(description), m_header(header), m_info(info),
        m_lastTracks(ParseSessionBlocks(description, header)) {}

  HRESULT ParseTrackBlocks() noexcept {
    UHYPER offset = m_header.sessionBlocks + m_lastTracks.size() * session_block::kSize;
    HRESULT result = S_OK;
    BYTE point = track_block::kPointSession;
    BlockView block;
    while (SUCCEEDED(result) && point != track_block::kPointEndOfList &&
           m_description.Block(offset, track_block::kSize, &block)) {
      point = block.Byte(track_block::kPoint);
      result = ApplyBlock(block, point);
      offset += track_block::kSize;
    }
    return result;
  }

private:
  HRESULT ApplyBlock(const BlockView& block, BYTE point) noexcept {
    const bool opens = point == track_block::kPointSession;
    if (m_sheet != nullptr &&
        (opens || point == track_block::kPointEndOfList || point == track_block::kPointSessionEnd)) {
      CloseSession();
    }
    HRESULT result = S_OK;
    if (opens || (point == track_block::kPointFirstTrack && m_sheet == nullptr)) {
      result = OpenSession(block);
    }
    const bool isTrack = point != track_block::kPointEndOfList && point <= track_block::kPointLastTrack;
    return SUCCEEDED(result) && isTrack ? ParseTrack(block, point) : result;
  }

  HRESULT OpenSession(const BlockView& block) noexcept {
    const UINT last = LastTrack();
    if (last < m_tracksBefore) {
      return ZSE_BADIMAGE;
    }
    const HRESULT result = AddSession(m_service, last - m_tracksBefore, m_info, &m_sheet);
    if (SUCCEEDED(result)) {
      m_sheet->ZSSESSIONFORMAT = static_cast<::ZSSESSIONFORMAT>(block.Byte(track_block::kSessionFormat));
      m_trackBefore = nullptr;
    }
    return result;
  }

  void CloseSession() noexcept {
    m_tracksBefore = LastTrack();
    ++m_session;
    m_sheet = nullptr;
  }

  /// Returns the number of the current session's last track; 0 for a session without a block.
  UINT LastTrack() const noexcept { return m_session < m_lastTracks.size() ? m_lastTracks[m_session] : 0; }

  HRESULT ParseTrack(const BlockView& block, UINT number) noexcept {
    if (m_sheet == nullptr || number <= m_tracksBefore || number - m_tracksBefore > m_sheet->nTracks) {
      return ZSE_BADIMAGE;
    }
    ZSTRACK* track = &m_sheet->pZSTracks[number - m_tracksBefore - 1];
    track->TNO = number - m_tracksBefore;
    track->dwLBA = block.Little32(track_block::kLba);
    track->dwReserved64 = block.Little64(track_block::kDataOffset);
    ParseSectorSize(block, m_info, track);
    if (!ParseMode(block, track)) {
      return ZSE_OUTOFRESOURCES;
    }
    if (m_header.isDvd) {
      track->dwEndLBA = track->dwLBA + block.Little32(track_block::kDvdSectors);
    } else if (!ParseCdLengths(block, track)) {
      return ZSE_FILENOTFOUND;
    }
    m_trackBefore = track;
    return S_OK;
  }

  /// Sets pregap and end of a track of a CD. The first track of a session begins at its LBA. Any other begins at the
  /// end of the track before it, and its pregap is the distance from there to its LBA. If no track was parsed before
  /// it, it begins at its LBA, and its pregap is read from the length block.
  bool ParseCdLengths(const BlockView& block, ZSTRACK* track) const noexcept {
    BlockView lengths;
    if (!m_description.Block(block.Little32(track_block::kLengthBlock), length_block::kSize, &lengths)) {
      return false;
    }
    const bool isFirst = track == m_sheet->pZSTracks;
    ULONG start = track->dwLBA;
    if (!isFirst && m_trackBefore != nullptr) {
      start = m_trackBefore->dwEndLBA;
      track->Pregap = static_cast<LONG>(track->dwLBA - start);
    } else if (!isFirst) {
      track->Pregap = static_cast<LONG>(lengths.Little32(length_block::kPregap));
    }
    track->dwEndLBA = start + lengths.Little32(length_block::kSectors);
    return true;
  }

  IZSCueSheet* m_service;
  const ByteView m_description;
  const Header m_header;
  zsimagefileinfo* m_info;
  const std::vector<BYTE> m_lastTracks;
  std::size_t m_session = 0;              ///< Index of the session that is open, or opens next.
  UINT m_tracksBefore = 0;                ///< Last track number of the session before.
  ZSCUESHEET* m_sheet = nullptr;          ///< The open session; the record owns it.
  const ZSTRACK* m_trackBefore = nullptr; ///< The track before, in the open session.
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
  if (!ParseHeader(description, &header)) {
    return ZSE_BADIMAGE;
  }
  const HRESULT result = MdsSessions(service, ByteView(description), header, info).ParseTrackBlocks();
  if (FAILED(result)) {
    return result;
  }
  info->dwSeekEnd64 = kToEndOfFile;
  return FinishImage(sectorFile, ZSIMAGEFORMAT_MDS, info);
}

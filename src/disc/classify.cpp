#include "disc/classify.h"

#include "disc/track_table.h"
#include "foundation/byte_view.h"

namespace {

constexpr BYTE kSubModeVideo = 0x02; // Bit of the XA sub-mode.

/// Moves the file to a byte position. Returns false for a position that is too large for a file.
bool SeekTo(CZSFile* file, UHYPER position) noexcept {
  return position <= INT64_MAX && file->Seek64(static_cast<std::int64_t>(position), FILE_BEGIN) != kSeekFailed;
}

/// Tests the sub-mode of the sector in the middle of the second track. The sub-mode is the third byte of a sector that
/// is stored from its sub-header on.
bool SecondTrackHasVideo(CZSFile* file, const zsimagefileinfo& info, const ZSTRACK& second) noexcept {
  const ULONG middle = second.dwLBA + ((second.dwEndLBA - second.dwLBA) >> 1);
  std::array<BYTE, 4> bytes{};
  return SeekTo(file, info.dwSeekBegin64 + UHYPER{BytesOf(second.BlockSize)} * middle) &&
         file->Read(bytes.data(), bytes.size()) && (bytes[2] & kSubModeVideo) != 0;
}

/// Adds the content of a track, and sets block size and `nSubCount`. Returns false if the sector file does not open.
bool InspectTrack(const std::string& sectorFile, zsimagefileinfo* info, const ZSCUESHEET& sheet, UINT index,
                  DiscContent* content) {
  const ZSTRACK& track = sheet.pZSTracks[index];
  info->ZSBlockSize = track.ImageBlockSize;
  if (track.Mode == ZSMODE_AUDIO) {
    content->audio = true;
    return true;
  }
  SetSubCount(info, track);
  CZSFile file;
  if (!file.OpenForReading(sectorFile)) {
    return false;
  }
  UserData sector;
  content->bridge =
      content->bridge || (ReadSectorSixteen(&file, *info, &sector) && IsBridgeDisc(&file, sector, *info, sheet, index));
  content->data = true;
  return true;
}

HRESULT ClassifyManySessions(zsimagefileinfo* info) noexcept {
  info->ZSTYPEPROJECT = ZSTYPEPROJECT_DATAMULTISESSION;
  // The last session but one. See "several sessions" in docs/compatibility.md.
  const ZSCUESHEET& sheet = *info->pZSCueSheet[info->nSessions - 2];
  if (sheet.nTracks != 0) {
    const ZSTRACK& last = sheet.pZSTracks[sheet.nTracks - 1];
    info->ZSBlockSize = last.ImageBlockSize;
    SetSubCount(info, last);
  }
  return S_OK;
}

::ZSTYPEPROJECT SecondSessionType(::ZSTYPEPROJECT first, const DiscContent& content) noexcept {
  if (first == ZSTYPEPROJECT_CDAUDIO && content.data) {
    return ZSTYPEPROJECT_CDPLUS;
  }
  return first == ZSTYPEPROJECT_DATA ? ZSTYPEPROJECT_DATAMULTISESSION : first;
}

} // namespace

HRESULT ClassifyImage(const std::string& sectorFile, zsimagefileinfo* info) {
  info->nSubCount = 0;
  if (info->nSessions > 2) {
    return ClassifyManySessions(info);
  }
  DiscContent content;
  for (std::size_t session = 0; session < info->nSessions; ++session) {
    const ZSCUESHEET& sheet = *info->pZSCueSheet[session];
    for (UINT track = 0; track < sheet.nTracks; ++track) {
      if (!InspectTrack(sectorFile, info, sheet, track, &content)) {
        return ZSE_CANNOTOPENIMAGE;
      }
    }
    info->ZSTYPEPROJECT =
        session == 0 ? FirstSessionType(content, sheet.nTracks) : SecondSessionType(info->ZSTYPEPROJECT, content);
    if (info->ZSTYPEPROJECT == ZSTYPEPROJECT_NULL) {
      return ZSE_FAILED;
    }
  }
  return S_OK;
}

void SetSubCount(zsimagefileinfo* info, const ZSTRACK& track) noexcept {
  const bool raw = info->ZSBlockSize == ZSFILEBLOCKSIZE_2352 || info->ZSBlockSize == ZSFILEBLOCKSIZE_2448;
  if (track.Mode == ZSMODE_1 && raw) {
    info->nSubCount = 16;
  } else if (track.Mode == ZSMODE_2 && raw) {
    info->nSubCount = 24;
  } else if (track.Mode == ZSMODE_2 && info->ZSBlockSize == ZSFILEBLOCKSIZE_2336) {
    info->nSubCount = 8;
  }
}

UHYPER SectorSixteenPosition(const zsimagefileinfo& info) noexcept {
  const ZSCUESHEET& sheet = *info.pZSCueSheet[0];
  const UHYPER blockSize = sheet.nTracks == 0 ? 0 : BytesOf(sheet.pZSTracks[0].BlockSize);
  return info.dwSeekBegin64 + 16 * blockSize + info.nSubCount;
}

bool ReadSectorSixteen(CZSFile* file, const zsimagefileinfo& info, UserData* sector) noexcept {
  sector->fill(0);
  return SeekTo(file, SectorSixteenPosition(info)) && file->Read(sector->data(), static_cast<DWORD>(sector->size()));
}

bool IsBridgeDisc(CZSFile* file, const UserData& sectorSixteen, const zsimagefileinfo& info, const ZSCUESHEET& sheet,
                  UINT track) noexcept {
  const ByteView descriptor(sectorSixteen);
  if (!descriptor.HasText(0, "\x01"
                             "CD001")) {
    return false;
  }
  if (descriptor.HasText(8, "CD-RTOS CD-BRIDGE")) {
    return true;
  }
  return track == 0 && sheet.nTracks > 1 && IsMode2(sheet.pZSTracks[1].Mode) &&
         SecondTrackHasVideo(file, info, sheet.pZSTracks[1]);
}

::ZSTYPEPROJECT FirstSessionType(const DiscContent& content, UINT tracks) noexcept {
  if (content.bridge && tracks > 1) {
    return ZSTYPEPROJECT_VIDEO;
  }
  if (content.audio) {
    return content.data ? ZSTYPEPROJECT_MIXED : ZSTYPEPROJECT_CDAUDIO;
  }
  return content.data ? ZSTYPEPROJECT_DATA : ZSTYPEPROJECT_NULL;
}

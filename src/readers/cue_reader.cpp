/// @file
/// CUE images: a sheet of text, its data file, and CD-Text and sub-channel files beside the sheet.

#include "cuesheet/unique_sheet.h"
#include "disc/classify.h"
#include "disc/disc_id.h"
#include "foundation/path_operations.h"
#include "foundation/strings.h"
#include "readers/reader_steps.h"
#include "readers/readers.h"

namespace {

/// Returns the path of the data file that a sheet names, or the path of the sheet if it names no file.
std::string DataFileOf(IZSCueSheet* service, BSTR sheetPath) {
  BSTR name = nullptr;
  service->GetBinaryFile(sheetPath, &name);
  return NarrowText(UniqueBstr(name).get());
}

/// Sets the bits for CD-Text and for a sub-channel file beside the sheet.
void SetCompanionBits(const std::string& path, const ZSCUESHEET& sheet, zsimagefileinfo* info) {
  if (sheet.ZSCDTEXT.CDTextPresent == VARIANT_TRUE) {
    info->lMask |= ZSIMAGEMASK_CDTEXT;
  }
  std::string subChannelFile = path;
  RenameExtension(&subChannelFile, ".SUB");
  if (FileExists(subChannelFile)) {
    info->lMask |= ZSIMAGEMASK_SUBCHANNEL;
  }
}

/// Inspects all tracks, and the data file at the first track that is not audio.
DiscContent InspectTracks(CZSFile* dataFile, const ZSCUESHEET& sheet, zsimagefileinfo* info) noexcept {
  DiscContent content;
  for (UINT i = 0; i < sheet.nTracks; ++i) {
    const ZSTRACK& track = sheet.pZSTracks[i];
    if (track.Mode == ZSMODE_AUDIO) {
      content.audio = true;
      continue;
    }
    if (!content.data) {
      info->ZSBlockSize = track.ImageBlockSize;
      SetSubCount(info, track);
      UserData sector;
      ReadSectorSixteen(dataFile, *info, &sector); // Also inspects a truncated sector.
      content.bridge = IsBridgeDisc(dataFile, sector, *info, sheet, i);
    }
    content.data = true;
  }
  return content;
}

} // namespace

HRESULT ReadCueImage(IZSCueSheet* service, const std::string& path, zsimagefileinfo* info) {
  const UniqueBstr sheetPath(NewBstr(path));
  const std::string dataPath = DataFileOf(service, sheetPath.get());
  CZSFindFile find;
  if (!find.FindFile(dataPath)) {
    return ZSE_FILENOTFOUND;
  }
  CZSFile dataFile;
  if (!dataFile.OpenForReading(find.Path())) {
    return ZSE_CANNOTOPENIMAGE;
  }
  UniqueSheet newSheet = NewSheet(service);
  if (!newSheet) {
    return ZSE_OUTOFRESOURCES;
  }
  if (service->AnalyzeCueSheet(sheetPath.get(), newSheet.get()) != S_OK) {
    return ZSE_FAILED;
  }
  // No FILE line was found, perhaps because a read failed: searches again.
  if (dataPath == path && DataFileOf(service, sheetPath.get()) != path) {
    return ZSE_FAILED;
  }
  const ZSCUESHEET& sheet = *newSheet;
  AppendSession(&newSheet, info);
  SetCompanionBits(path, sheet, info);
  info->ZSTYPEPROJECT = FirstSessionType(InspectTracks(&dataFile, sheet, info), sheet.nTracks);
  if (info->ZSTYPEPROJECT == ZSTYPEPROJECT_NULL) {
    return ZSE_FAILED;
  }
  info->bstrImageBinaryFile = NewBstr(dataPath);
  info->dwSeekEnd64 = kToEndOfFile;
  info->ZSImageFormat = ZSIMAGEFORMAT_CUE;
  ComputeDiscIDs(info);
  return S_OK;
}

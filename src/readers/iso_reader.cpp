/// @file
/// Plain sector files.

#include "cuesheet/unique_sheet.h"
#include "foundation/strings.h"
#include "readers/readers.h"

HRESULT ReadIsoImage(IZSCueSheet* service, const std::string& path, zsimagefileinfo* info) {
  UniqueSheet sheet = NewSheet(service);
  if (!sheet) {
    return ZSE_OUTOFRESOURCES;
  }
  const UniqueBstr name(NewBstr(path));
  if (service->AnalyzeCueSheet(name.get(), sheet.get()) != S_OK || sheet->nTracks == 0) {
    return ZSE_BADIMAGE;
  }
  info->ZSBlockSize = sheet->pZSTracks[0].ImageBlockSize;
  info->bstrImageBinaryFile = NewBstr(path);
  info->ZSImageFormat = ZSIMAGEFORMAT_ISO;
  info->ZSTYPEPROJECT = ZSTYPEPROJECT_DATA;
  info->dwSeekEnd64 = kToEndOfFile;
  AppendSession(&sheet, info);
  return S_OK;
}

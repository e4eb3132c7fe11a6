#include "readers/reader_steps.h"

#include "cuesheet/unique_sheet.h"
#include "disc/classify.h"
#include "disc/disc_id.h"
#include "disc/track_table.h"
#include "foundation/strings.h"

HRESULT LoadFailure() noexcept { return GetLastError() == ERROR_NOT_ENOUGH_MEMORY ? E_OUTOFMEMORY : ZSE_BADIMAGE; }

HRESULT AddSession(IZSCueSheet* service, UINT trackCount, zsimagefileinfo* info, ZSCUESHEET** sheet) noexcept {
  UniqueSheet newSheet = NewSheet(service);
  if (!newSheet) {
    return ZSE_OUTOFRESOURCES;
  }
  if (!AllocateTracks(newSheet.get(), trackCount)) {
    return E_OUTOFMEMORY;
  }
  ZSCUESHEET* added = newSheet.get();
  if (!AppendSession(&newSheet, info)) {
    return ZSE_OUTOFRESOURCES;
  }
  *sheet = added;
  return S_OK;
}

LONG FlagsOfControl(BYTE control) noexcept {
  return ((control & kControlCopyPermitted) != 0 ? ZSTRACKFLAG_DCP : 0) |
         ((control & kControlPreEmphasis) != 0 ? ZSTRACKFLAG_PRE : 0) |
         ((control & kControlFourChannels) != 0 ? ZSTRACKFLAG_4CH : 0);
}

HRESULT FinishImage(const std::string& sectorFile, zsimgformat format, zsimagefileinfo* info) {
  info->bstrImageBinaryFile = NewBstr(sectorFile);
  info->ZSImageFormat = format;
  if (FAILED(ClassifyImage(sectorFile, info))) {
    return ZSE_BADIMAGE;
  }
  ComputeDiscIDs(info);
  return S_OK;
}

#include "readers/reader_steps.h"

#include "cuesheet/sheet_holder.h"
#include "disc/classify.h"
#include "disc/disc_id.h"
#include "disc/track_table.h"
#include "foundation/strings.h"

bool FileBlock::Load(CZSFile* file, UHYPER position, DWORD count) noexcept {
  Clear();
  m_bytes.reset(static_cast<BYTE*>(CoTaskMemAlloc(count)));
  if (m_bytes == nullptr) {
    return false;
  }
  if (file->Seek64(static_cast<std::int64_t>(position), FILE_BEGIN) != kSeekFailed) {
    file->ReadCount(m_bytes.get(), count, &m_size);
  }
  return true;
}

void FileBlock::Clear() noexcept {
  m_bytes.reset();
  m_size = 0;
}

HRESULT AddSession(IZSCueSheet* service, UINT trackCount, zsimagefileinfo* info, ZSCUESHEET** sheet) noexcept {
  CZSSheetHolder holder(service);
  if (!holder) {
    return ZSE_OUTOFRESOURCES;
  }
  if (!AllocateTracks(holder.Get(), trackCount)) {
    return E_OUTOFMEMORY;
  }
  *sheet = holder.Get();
  return holder.AttachTo(info) ? S_OK : ZSE_OUTOFRESOURCES;
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

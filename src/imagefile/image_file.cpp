#include "imagefile/image_file.h"

#include <algorithm>
#include <cstring>

#include "cuesheet/cue_sheet.h"
#include "disc/disc_id.h"
#include "disc/positions.h"
#include "foundation/com_object.h"
#include "foundation/file.h"
#include "foundation/strings.h"
#include "imagefile/formats.h"
#include "platform/class_objects.h"
#include "platform/guard.h"
#include "toc/toc_writer.h"

namespace {

constexpr std::size_t kExtensionLength = 4; // With its dot.

/// Creates a cue sheet service by its ProgID, as a host does.
HRESULT CreateServiceByProgId(ComPtr<IZSCueSheet>* service) noexcept {
  CLSID clsid{};
  const HRESULT result = CLSIDFromProgID(kProgIdCueSheet, &clsid);
  return FAILED(result) ? result
                        : CoCreateInstance(clsid, nullptr, CLSCTX_ALL, IID_IZSCueSheet, service->ReceiveVoid());
}

/// Frees all that a record points to and makes it all zero.
void EmptyRecord(IZSCueSheet* service, zsimagefileinfo* info) noexcept {
  const std::size_t sessions = std::min<std::size_t>(info->nSessions, kMaxSessions);
  for (std::size_t i = 0; i < sessions; ++i) {
    if (ZSCUESHEET* sheet = info->pZSCueSheet[i]; sheet != nullptr) {
      service->FreeZSCueSheet(sheet, VARIANT_TRUE);
    }
  }
  SysFreeString(info->bstrImageBinaryFile);
  *info = zsimagefileinfo{};
}

class CZSImageFile final : public CountedObject<IZSImageFile> {
public:
  explicit CZSImageFile(IUnknown* outer) noexcept : CountedObject(outer, IID_IZSImageFile) {}
  ~CZSImageFile() override { VariantClear(&m_vtParam2); }

  HRESULT FinalConstruct() override {
    const HRESULT result = CreateCueSheetService(nullptr, IID_IZSCueSheet, m_pCueSheet.ReceiveVoid());
    return FAILED(result) ? ZSE_OUTOFRESOURCES : S_OK;
  }

  HRESULT SetCallBack(LONG* CallBackPtr, LONG Param, VARIANT vtParam2) override {
    m_pCallBack = CallBackPtr;
    m_lParam = Param;
    const HRESULT result = VariantCopy(&m_vtParam2, &vtParam2);
    if (FAILED(result)) {
      VariantInit(&m_vtParam2);
      m_vtParam2.vt = VT_ERROR;
      m_vtParam2.scode = result;
    }
    return S_OK;
  }

  HRESULT GetImageFileInfo(BSTR path, zsimagefileinfo* info) override {
    *info = zsimagefileinfo{};
    const HRESULT result = Guarded([&] { return Read(NarrowText(path), info); });
    if (result != S_OK) {
      EmptyRecord(m_pCueSheet.Get(), info);
    }
    return result;
  }

  HRESULT CreateTOCFile(BSTR path, zsimagefileinfo* info, zsmmcreadtoc0* /*pToc*/, UINT /*nTracks*/,
                        zsmmccdtext* pCDText, UINT nLength) override {
    if (SysStringLen(path) == 0 || info == nullptr) {
      return E_INVALIDARG;
    }
    if (info->ZSImageFormat == ZSIMAGEFORMAT_CUE) {
      if (info->nSessions == 0) {
        return S_FALSE;
      }
      ComPtr<IZSCueSheet> service;
      const HRESULT result = CreateServiceByProgId(&service);
      return FAILED(result) ? result : service->CreateCueFile(path, info->pZSCueSheet[0]);
    }
    if (info->ZSImageFormat == ZSIMAGEFORMAT_ZSI) {
      return Guarded([&] { return CreateTOCImage(NarrowText(path), info, pCDText, nLength); });
    }
    return ZSE_FAILED;
  }

  HRESULT Open(BSTR /*path*/, zsimagefileinfo* /*info*/) override { return S_OK; }

  HRESULT Clone(zsimagefileinfo* source, zsimagefileinfo* copy) override {
    if (source == nullptr || copy == nullptr || source == copy || source->nSessions > kMaxSessions) {
      return E_INVALIDARG;
    }
    *copy = zsimagefileinfo{};
    ComPtr<IZSCueSheet> service;
    const HRESULT created = CreateServiceByProgId(&service);
    if (FAILED(created)) {
      return created;
    }
    *copy = *source;
    std::memset(copy->pZSCueSheet, 0, sizeof(copy->pZSCueSheet));
    copy->bstrImageBinaryFile = nullptr;
    copy->nSessions = 0;
    const HRESULT result = Guarded([&] {
      for (; copy->nSessions < source->nSessions; ++copy->nSessions) {
        ZSCUESHEET* sheet = nullptr;
        if (const HRESULT cloned = service->Clone(source->pZSCueSheet[copy->nSessions], &sheet); cloned != S_OK) {
          return cloned;
        }
        copy->pZSCueSheet[copy->nSessions] = sheet;
      }
      copy->bstrImageBinaryFile = CopyBstr(source->bstrImageBinaryFile);
      return S_OK;
    });
    if (result != S_OK) {
      EmptyRecord(service.Get(), copy);
      return ZSE_OUTOFRESOURCES;
    }
    return S_OK;
  }

  HRESULT FreeImageFileInfo(zsimagefileinfo* info) override {
    if (info == nullptr) {
      return E_INVALIDARG;
    }
    ComPtr<IZSCueSheet> service;
    const HRESULT result = CreateServiceByProgId(&service);
    if (FAILED(result)) {
      return result;
    }
    EmptyRecord(service.Get(), info);
    return S_OK;
  }

  HRESULT CalculateDiscID(zsimagefileinfo* info) override {
    if (info == nullptr) {
      return E_INVALIDARG;
    }
    ComputeDiscIDs(info);
    return S_OK;
  }

  HRESULT GetPositionFromLBA(zsimagefileinfo* info, ULONG dwLBA, UHYPER* pSeek64, UHYPER* pLength64) override {
    if (info == nullptr || pSeek64 == nullptr || info->nSessions > kMaxSessions) {
      return E_INVALIDARG;
    }
    PositionFromLBA(*info, dwLBA, pSeek64, pLength64);
    return S_OK;
  }

private:
  HRESULT Read(const std::string& path, zsimagefileinfo* info) {
    if (!CZSFile().OpenForReading(path)) {
      return ZSE_CANNOTOPENIMAGE;
    }
    if (path.size() <= kExtensionLength) {
      return ZSE_BADIMAGE;
    }
    const ImageReader reader = ReaderForExtension(std::string_view(path).substr(path.size() - kExtensionLength));
    try {
      return reader == nullptr ? ZSE_BADIMAGE : reader(m_pCueSheet.Get(), path, info);
    } catch (...) { // Also out of memory.
      return ZSE_BADIMAGE;
    }
  }

  ComPtr<IZSCueSheet> m_pCueSheet; ///< Service that the readers use.
  // Stored by SetCallBack and not read: no operation of this interface reports progress.
  LONG* m_pCallBack = nullptr;
  LONG m_lParam = 0;
  VARIANT m_vtParam2{};
};

} // namespace

HRESULT CreateImageFileService(IUnknown* outer, REFIID iid, void** object) noexcept {
  return CreateObject<CZSImageFile>(outer, iid, object);
}

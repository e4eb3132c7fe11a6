#include "cuesheet/cue_sheet.h"

#include "cdtext/decoder.h"
#include "cdtext/encoder.h"
#include "cuesheet/cue_parser.h"
#include "cuesheet/cue_writer.h"
#include "cuesheet/sheet_records.h"
#include "cuesheet/track_extraction.h"
#include "disc/record_descriptions.h"
#include "foundation/com_object.h"
#include "foundation/path_operations.h"
#include "foundation/strings.h"
#include "platform/guard.h"
#include "platform/task_memory.h"

namespace {

constexpr DWORD kUserDefaultLanguage = 0x0400;

/// Returns the description of a record from the shared type library; null if it is not available.
ComPtr<IRecordInfo> DescriptionOf(REFGUID record) noexcept {
  ComPtr<ITypeLib> library;
  ComPtr<ITypeInfo> type;
  ComPtr<IRecordInfo> description;
  if (SUCCEEDED(LoadRegTypeLib(kSharedTypeLibrary, 1, 0, kUserDefaultLanguage, library.Receive())) &&
      SUCCEEDED(library->GetTypeInfoOfGuid(record, type.Receive()))) {
    GetRecordInfoFromTypeInfo(type.Get(), description.Receive());
  }
  return description;
}

class CZSCueSheet final : public CountedObject<IZSCueSheet> {
public:
  explicit CZSCueSheet(IUnknown* outer) noexcept
      : CountedObject(outer, IID_IZSCueSheet), m_fileDescription(DescriptionOf(kRecordFile)),
        m_trackDescription(DescriptionOf(kRecordTrack)) {}

  HRESULT CreateCueFile(BSTR path, ZSCUESHEET* sheet) override {
    return sheet == nullptr ? E_INVALIDARG : Guarded([&] { return WriteCueFile(NarrowText(path), *sheet); });
  }

  HRESULT AnalyzeCueSheet(BSTR path, ZSCUESHEET* sheet) override {
    if (sheet == nullptr) {
      return E_INVALIDARG;
    }
    return Guarded([&] {
      const std::string file = NarrowText(path);
      const HRESULT result = ParseCueSheet(file, sheet);
      if (result == S_OK && HasExtension(file, "CUE")) {
        LoadCDTextCompanion(file, sheet);
      }
      return result;
    });
  }

  HRESULT AnalyzeCDText(BSTR path, ZSCUESHEET* sheet) override {
    return sheet == nullptr ? E_INVALIDARG
                            : Guarded([&] { return LoadCDTextCompanion(NarrowText(path), sheet) ? S_OK : S_FALSE; });
  }

  HRESULT AnalyzeCDTextFromData(BYTE* data, UINT size, ZSCUESHEET* sheet) override {
    if (data == nullptr || sheet == nullptr) {
      return E_INVALIDARG;
    }
    DecodeCDTextPacks(data, size, sheet);
    return S_OK;
  }

  HRESULT GetBinaryFile(BSTR path, BSTR* file) override {
    if (file == nullptr) {
      return E_INVALIDARG;
    }
    *file = nullptr;
    return Guarded([&] {
      const std::string sheetFile = NarrowText(path);
      std::string dataFile = sheetFile;
      *file = NewBstr(ResolveBinaryFile(&dataFile) ? dataFile : sheetFile);
      return S_OK;
    });
  }

  HRESULT PrepareTracks(BSTR imageFile, ZSCUESHEET* sheet) override {
    if (SysStringLen(imageFile) == 0 || sheet == nullptr) {
      return S_FALSE;
    }
    return Guarded([&] { return AttachPieces(imageFile, m_fileDescription.Get(), sheet); });
  }

  HRESULT ExtractTrackToStream(BSTR imageFile, BSTR label, zsimagefileinfo* info, ZSTRACK* track, UINT nBlockSizeData,
                               LONG* CallBackPtr, ULONG dwUserParam, VARIANT vtUser, IStream** stream) override {
    if (stream == nullptr) {
      return E_INVALIDARG;
    }
    *stream = nullptr;
    if (info == nullptr || track == nullptr) {
      return E_INVALIDARG;
    }
    return Guarded([&] {
      return ExtractTrack(imageFile, label, *info, *track, nBlockSizeData, CallBackPtr, dwUserParam, vtUser, stream);
    });
  }

  HRESULT ExtractStreamToFile(IStream* stream, BSTR file) override {
    return Guarded([&] { return CopyStreamToFile(stream, file); });
  }

  HRESULT MergeTracks(VARIANT* source, VARIANT* destination) override {
    return source == nullptr || destination == nullptr ? E_INVALIDARG : AppendTracks(source, destination);
  }

  HRESULT AllocCueSheet(ZSCUESHEET** sheet) override {
    if (sheet == nullptr) {
      return E_INVALIDARG;
    }
    *sheet = AllocateCleared<ZSCUESHEET>(1);
    return *sheet == nullptr ? E_OUTOFMEMORY : S_OK;
  }

  HRESULT EncodeCDText(ZSCUESHEET* sheet, VARIANT_BOOL fWithSubChannel, BYTE** data, LONG* length) override {
    return sheet == nullptr || data == nullptr || length == nullptr
               ? E_INVALIDARG
               : Guarded([&] { return EncodeSheetText(*sheet, fWithSubChannel == VARIANT_TRUE, data, length); });
  }

  HRESULT Clone(ZSCUESHEET* source, ZSCUESHEET** copy) override {
    if (source == nullptr || copy == nullptr) {
      return E_INVALIDARG;
    }
    *copy = nullptr;
    return Guarded([&] {
      *copy = CloneSheet(*source);
      return S_OK;
    });
  }

  HRESULT CloneCDText(::ZSCDTEXT* source, ::ZSCDTEXT* destination) override {
    if (source == nullptr || destination == nullptr) {
      return E_INVALIDARG;
    }
    if (source == destination) {
      return S_OK;
    }
    return Guarded([&] {
      CloneDiscTexts(*source, destination);
      return S_OK;
    });
  }

  HRESULT CopyCDText(ZSCUESHEET* source, ZSCUESHEET* destination) override {
    if (source == nullptr || destination == nullptr) {
      return E_INVALIDARG;
    }
    if (source == destination) {
      return S_OK;
    }
    return Guarded([&] {
      FreeZSCDText(&destination->ZSCDTEXT);
      const HRESULT result = CloneCDText(&source->ZSCDTEXT, &destination->ZSCDTEXT);
      const UINT tracks = source->nTracks < destination->nTracks ? source->nTracks : destination->nTracks;
      for (UINT i = 0; result == S_OK && i < tracks; ++i) {
        ReplaceTrackTexts(source->pZSTracks[i], &destination->pZSTracks[i]);
      }
      return result;
    });
  }

  HRESULT FreeZSCueSheet(ZSCUESHEET* sheet, VARIANT_BOOL fDestroyCueSheet) override {
    if (sheet == nullptr) {
      return E_INVALIDARG;
    }
    if (fDestroyCueSheet == VARIANT_TRUE) {
      FreeSheet(sheet);
      return S_OK;
    }
    for (UINT i = 0; i < sheet->nTracks; ++i) {
      FreeTrack(sheet->pZSTracks[i]);
    }
    return S_OK;
  }

  HRESULT FreeZSCDText(::ZSCDTEXT* text) override {
    if (text == nullptr) {
      return E_INVALIDARG;
    }
    FreeDiscTexts(text);
    return S_OK;
  }

  HRESULT Dummy(ZSTRACK* /*track*/, ZSFILESTRUCT* /*piece*/) override { return E_NOTIMPL; }

private:
  ComPtr<IRecordInfo> m_fileDescription;
  ComPtr<IRecordInfo> m_trackDescription; ///< Kept for arrays of tracks that hosts create.
};

} // namespace

HRESULT CreateCueSheetService(IUnknown* outer, REFIID iid, void** object) noexcept {
  return CreateObject<CZSCueSheet>(outer, iid, object);
}

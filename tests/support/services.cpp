#include "support/services.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "disc/record_descriptions.h"
#include "foundation/strings.h"
#include "platform/class_objects.h"
#include "platform/task_memory.h"
#include "platform/text.h"

namespace {

template <class I> ComPtr<I> Create(const OLECHAR* progId, REFIID iid) {
  CLSID clsid{};
  ComPtr<I> object;
  EXPECT_EQ(S_OK, CLSIDFromProgID(progId, &clsid));
  EXPECT_EQ(S_OK, CoCreateInstance(clsid, nullptr, CLSCTX_ALL, iid, object.ReceiveVoid()));
  return object;
}

} // namespace

ComPtr<IZSCueSheet> NewCueSheetService() { return Create<IZSCueSheet>(kProgIdCueSheet, IID_IZSCueSheet); }
ComPtr<IZSImageFile> NewImageFileService() { return Create<IZSImageFile>(kProgIdImageFile, IID_IZSImageFile); }

UniqueBstr Wide(std::string_view narrow) { return UniqueBstr(NewBstr(narrow)); }

std::string Narrow(BSTR text) { return text == nullptr ? "(null)" : NarrowText(text); }

ImageRecord::~ImageRecord() { NewImageFileService()->FreeImageFileInfo(&m_info); }

HRESULT ImageRecord::Read(const std::string& path) {
  const ComPtr<IZSImageFile> service = NewImageFileService();
  service->FreeImageFileInfo(&m_info);
  m_result = service->GetImageFileInfo(Wide(path).get(), &m_info);
  return m_result;
}

void SheetFree::operator()(ZSCUESHEET* sheet) const { NewCueSheetService()->FreeZSCueSheet(sheet, VARIANT_TRUE); }

TestSheet::TestSheet() {
  ZSCUESHEET* sheet = nullptr;
  NewCueSheetService()->AllocCueSheet(&sheet);
  m_sheet.reset(sheet);
}

ZSTRACK* AppendTrack(ZSCUESHEET* sheet) {
  sheet->pZSTracks = static_cast<ZSTRACK*>(CoTaskMemRealloc(sheet->pZSTracks, (sheet->nTracks + 1) * sizeof(ZSTRACK)));
  ZSTRACK* added = &sheet->pZSTracks[sheet->nTracks++];
  *added = ZSTRACK{};
  return added;
}

VARIANT TracksOf(const ZSCUESHEET& sheet) {
  ComPtr<ITypeLib> library;
  ComPtr<ITypeInfo> type;
  ComPtr<IRecordInfo> info;
  LoadRegTypeLib(kSharedTypeLibrary, 1, 0, 0, library.Receive());
  library->GetTypeInfoOfGuid(kRecordTrack, type.Receive());
  GetRecordInfoFromTypeInfo(type.Get(), info.Receive());
  const SAFEARRAYBOUND bound{sheet.nTracks, 0};
  VARIANT tracks{};
  tracks.vt = VT_ARRAY | VT_RECORD;
  tracks.parray = SafeArrayCreateEx(VT_RECORD, 1, &bound, info.Get());
  const SafeArrayAccess access(tracks.parray);
  for (UINT i = 0; i < sheet.nTracks; ++i) {
    info->RecordCopy(&sheet.pZSTracks[i], access.Elements<ZSTRACK>() + i);
  }
  return tracks;
}

bool IsAllZero(const zsimagefileinfo& info) noexcept {
  const auto* bytes = reinterpret_cast<const BYTE*>(&info);
  return std::all_of(bytes, bytes + sizeof(info), [](BYTE byte) { return byte == 0; });
}

std::string Describe(const ZSTRACK& track) {
  std::ostringstream line;
  line << UINT{track.TNO} << ": " << ULONG{track.dwLBA} << '-' << ULONG{track.dwEndLBA} << " pregap "
       << LONG{track.Pregap} << " mode " << int{track.Mode} << " size " << int{track.BlockSize} << '/'
       << int{track.ImageBlockSize} << " flags " << LONG{track.Flags} << " index ";
  for (int i = 0; i < track.nCountIndex; ++i) {
    const ULONG entry = track.pdwIndex[i];
    line << (i == 0 ? "" : ",") << (entry == kNoIndex ? "-" : std::to_string(entry));
  }
  line << " at " << UHYPER{track.dwReserved64};
  return line.str();
}

std::vector<std::string> Describe(const ZSCUESHEET& sheet) {
  std::vector<std::string> lines(sheet.nTracks);
  std::transform(sheet.pZSTracks, sheet.pZSTracks + sheet.nTracks, lines.begin(),
                 [](const ZSTRACK& track) { return Describe(track); });
  return lines;
}

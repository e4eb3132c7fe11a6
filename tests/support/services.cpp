#include "support/services.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <sstream>

#include "disc/record_descriptions.h"
#include "disc/record_text.h"
#include "disc/track_table.h"
#include "foundation/strings.h"
#include "platform/task_memory.h"
#include "platform/text.h"

ComPtr<IZSCueSheet> NewCueSheetService() {
  ComPtr<IZSCueSheet> service;
  EXPECT_EQ(S_OK, Create(kProgIdCueSheet, IID_IZSCueSheet, &service));
  return service;
}

ComPtr<IZSImageFile> NewImageFileService() {
  ComPtr<IZSImageFile> service;
  EXPECT_EQ(S_OK, Create(kProgIdImageFile, IID_IZSImageFile, &service));
  return service;
}

ComPtr<IRecordInfo> Description(REFGUID record) {
  ComPtr<ITypeLib> library;
  ComPtr<ITypeInfo> type;
  ComPtr<IRecordInfo> info;
  EXPECT_EQ(S_OK, LoadRegTypeLib(kSharedTypeLibrary, 1, 0, 0, library.Receive()));
  EXPECT_EQ(S_OK, library->GetTypeInfoOfGuid(record, type.Receive()));
  EXPECT_EQ(S_OK, GetRecordInfoFromTypeInfo(type.Get(), info.Receive()));
  return info;
}

UniqueBstr Wide(std::string_view narrow) { return UniqueBstr(NewBstr(narrow)); }

std::string Narrow(BSTR text) { return text == nullptr ? "(null)" : NarrowText(text); }

ImageRecord::~ImageRecord() { NewImageFileService()->FreeImageFileInfo(&m_info); }

HRESULT ImageRecord::Read(const std::string& path) {
  const ComPtr<IZSImageFile> service = NewImageFileService();
  service->FreeImageFileInfo(&m_info);
  m_result = service->GetImageFileInfo(Wide(path).get(), &m_info);
  return m_result;
}

TestSheet::TestSheet() : m_sheet(NewSheet(NewCueSheetService().Get())) {}

ZSTRACK* AppendTrack(ZSCUESHEET* sheet, ULONG begin, ULONG end, LONG pregap, ULONG blockSize) {
  sheet->pZSTracks = static_cast<ZSTRACK*>(CoTaskMemRealloc(sheet->pZSTracks, (sheet->nTracks + 1) * sizeof(ZSTRACK)));
  ZSTRACK* added = &sheet->pZSTracks[sheet->nTracks++];
  *added = ZSTRACK{};
  added->TNO = sheet->nTracks;
  added->dwLBA = begin;
  added->dwEndLBA = end;
  added->Pregap = pregap;
  SetBlockSize(added, blockSize);
  return added;
}

VARIANT TracksOf(const ZSCUESHEET& sheet) {
  const ComPtr<IRecordInfo> info = Description(kRecordTrack);
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

std::vector<std::string> Texts(const ZSCUESHEET& sheet) {
  const auto show = [](BSTR code, const auto& record) {
    std::string texts = code == nullptr ? "-" : Narrow(code);
    for (const TextField field : kTextFields) {
      const BSTR text = TextOf(record, field);
      texts += "|" + (text == nullptr ? "-" : Narrow(text));
    }
    return texts;
  };
  std::vector<std::string> lines{show(sheet.ZSCDTEXT.bstrMCN, sheet.ZSCDTEXT)};
  for (UINT i = 0; i < sheet.nTracks; ++i) {
    lines.push_back(show(sheet.pZSTracks[i].bstrISRC, sheet.pZSTracks[i]));
  }
  return lines;
}

bool IsAllZero(const zsimagefileinfo& info) noexcept {
  const zsimagefileinfo empty{};
  return std::memcmp(&info, &empty, sizeof(info)) == 0;
}

std::string Describe(const ZSTRACK& track) {
  std::ostringstream line;
  line << UINT{track.TNO} << ": " << ULONG{track.dwLBA} << '-' << ULONG{track.dwEndLBA};
  const auto show = [&](const char* label, const std::string& value, const std::string& usual) {
    line << (value == usual ? "" : label + value);
  };
  std::string index;
  for (int i = 0; i < track.nCountIndex; ++i) {
    const ULONG entry = track.pdwIndex[i];
    index += (i == 0 ? "" : ",") + (entry == kNoIndex ? "-" : std::to_string(entry));
  }
  show(" pregap ", std::to_string(LONG{track.Pregap}), "0");
  show(" mode ", std::to_string(int{track.Mode}), "0");
  show(" size ", std::to_string(int{track.BlockSize}) + "/" + std::to_string(int{track.ImageBlockSize}), "2352/2352");
  show(" flags ", std::to_string(LONG{track.Flags}), "0");
  show(" index ", index, "");
  show(" at ", std::to_string(UHYPER{track.dwReserved64}), "0");
  return line.str();
}

std::vector<std::string> Describe(const ZSCUESHEET& sheet) {
  std::vector<std::string> lines(sheet.nTracks);
  std::transform(sheet.pZSTracks, sheet.pZSTracks + sheet.nTracks, lines.begin(),
                 [](const ZSTRACK& track) { return Describe(track); });
  return lines;
}

/// @file
/// Objects of the component, owners of records, and descriptions of records as text.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "cuesheet/unique_sheet.h"
#include "imagefile/image_file_interface.h"
#include "platform/bstr.h"
#include "platform/class_objects.h"

/// Creates an object as a host does, by the name of its class.
template <class I> HRESULT Create(const OLECHAR* progId, REFIID iid, ComPtr<I>* object) {
  CLSID clsid{};
  const HRESULT found = CLSIDFromProgID(progId, &clsid);
  return FAILED(found) ? found : CoCreateInstance(clsid, nullptr, CLSCTX_ALL, iid, object->ReceiveVoid());
}
ComPtr<IZSCueSheet> NewCueSheetService();
ComPtr<IZSImageFile> NewImageFileService();

ComPtr<IRecordInfo> Description(REFGUID record);

UniqueBstr Wide(std::string_view narrow);
/// Converts a string of a record. Null becomes "(null)".
std::string Narrow(BSTR text);

/// The record of an image. The destructor frees what it owns.
class ImageRecord {
public:
  ImageRecord() = default;
  explicit ImageRecord(const std::string& path) { Read(path); }
  ImageRecord(const ImageRecord&) = delete;
  ImageRecord& operator=(const ImageRecord&) = delete;
  ~ImageRecord();

  HRESULT Read(const std::string& path);
  HRESULT Result() const noexcept { return m_result; }
  zsimagefileinfo& operator*() noexcept { return m_info; }
  zsimagefileinfo* operator->() noexcept { return &m_info; }
  ZSCUESHEET& Sheet(std::size_t session = 0) const { return *m_info.pZSCueSheet[session]; }
  ZSTRACK& Track(std::size_t track, std::size_t session = 0) const { return Sheet(session).pZSTracks[track]; }

private:
  zsimagefileinfo m_info{};
  HRESULT m_result = E_UNEXPECTED;
};

/// A sheet that the service allocated. The destructor frees it with all that it owns.
class TestSheet {
public:
  TestSheet();
  ZSCUESHEET* Get() const noexcept { return m_sheet.get(); }
  ZSCUESHEET* operator->() const noexcept { return m_sheet.get(); }
  ZSTRACK& Track(std::size_t index) const { return m_sheet->pZSTracks[index]; }
  /// Transfers the sheet to another owner.
  ZSCUESHEET* Release() noexcept { return m_sheet.release(); }

private:
  UniqueSheet m_sheet;
};

/// Appends a track to a sheet. Pointers to its other tracks become invalid.
ZSTRACK* AppendTrack(ZSCUESHEET* sheet, ULONG begin, ULONG end, LONG pregap, ULONG blockSize);

/// Copies the tracks of a sheet to an array, which VariantClear frees.
VARIANT TracksOf(const ZSCUESHEET& sheet);

bool IsAllZero(const zsimagefileinfo& info) noexcept;

/// Returns the plain fields of a track in one line: "1: 0-45000 index -,0". Fields are left out if they have their
/// usual value, as in "pregap 0 mode 0 size 2352/2352 flags 0 index  at 0".
std::string Describe(const ZSTRACK& track);
/// Returns all texts of a sheet, one line for the disc and one for each track: the catalogue number or ISRC, then the
/// texts in the order of kTextFields, with "-" for null: "4006381333931|Title|Performer|-|-|-|Genre|-".
std::vector<std::string> Texts(const ZSCUESHEET& sheet);
/// Returns a line for each track of a sheet, as above.
std::vector<std::string> Describe(const ZSCUESHEET& sheet);

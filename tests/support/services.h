/// @file
/// Objects of the component, and records that empty themselves.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "cuesheet/unique_sheet.h"
#include "imagefile/image_file_interface.h"
#include "platform/bstr.h"
#include "platform/class_objects.h"

/// Makes an object as any host makes it.
template <class I> HRESULT Create(const OLECHAR* progId, REFIID iid, ComPtr<I>* object) {
  CLSID clsid{};
  const HRESULT found = CLSIDFromProgID(progId, &clsid);
  return FAILED(found) ? found : CoCreateInstance(clsid, nullptr, CLSCTX_ALL, iid, object->ReceiveVoid());
}
ComPtr<IZSCueSheet> NewCueSheetService();
ComPtr<IZSImageFile> NewImageFileService();

/// What the records of a type own.
ComPtr<IRecordInfo> Description(REFGUID record);

/// A path or text as a string that frees itself.
UniqueBstr Wide(std::string_view narrow);
/// A record's string as narrow text; "(null)" for null.
std::string Narrow(BSTR text);

/// A record read from an image.
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

/// A sheet made by the service, freed with all it owns.
class TestSheet {
public:
  TestSheet();
  ZSCUESHEET* Get() const noexcept { return m_sheet.get(); }
  ZSCUESHEET* operator->() const noexcept { return m_sheet.get(); }
  ZSTRACK& Track(std::size_t index) const { return m_sheet->pZSTracks[index]; }
  /// Hands the sheet to another owner.
  ZSCUESHEET* Release() noexcept { return m_sheet.release(); }

private:
  UniqueSheet m_sheet;
};

/// Adds one track at the end of a sheet. The table moves: no pointer into it stays valid.
ZSTRACK* AppendTrack(ZSCUESHEET* sheet, ULONG begin, ULONG end, LONG pregap, ULONG blockSize);

/// A value with an array of independent copies of a sheet's tracks, for VariantClear to free.
VARIANT TracksOf(const ZSCUESHEET& sheet);

/// Whether all bytes of a record are zero.
bool IsAllZero(const zsimagefileinfo& info) noexcept;

/// One line that shows all plain fields of a track, so that tables of tests can state them:
/// "1: 0-45000 pregap 0 mode 0 size 2352/2352 flags 0 index -,0 at 0".
std::string Describe(const ZSTRACK& track);
/// All texts of a sheet, in a line for the disc and one for each track: its code and its texts in the order of
/// kTextFields, "-" for null: "4006381333931|Title|Performer|-|-|-|Genre|-".
std::vector<std::string> Texts(const ZSCUESHEET& sheet);
/// The lines of all tracks of a sheet.
std::vector<std::string> Describe(const ZSCUESHEET& sheet);

/// @file
/// BlindWrite descriptions. The meaning of their track records is not known, so that no image comes of them; what
/// can be said is whether a file is one.

#include <limits>

#include "foundation/path_operations.h"
#include "readers/bwt_records.h"
#include "readers/reader_steps.h"
#include "readers/readers.h"

namespace {

/// Steps over fields that begin with their length. `*position` moves from the first to behind the last, as far as
/// the file goes. @param distances How far each next item stands behind the counted bytes.
template <std::size_t Count>
bool StepOverFields(const ByteView& file, const BYTE (&distances)[Count], UHYPER* position) noexcept {
  for (const BYTE distance : distances) {
    BYTE length = 0;
    if (!file.Byte(*position, &length)) {
      return false;
    }
    *position += UHYPER{length} + distance;
  }
  return true;
}

HRESULT LoadDescription(const std::string& path, std::string* description) noexcept {
  if (ReadWholeFile(path, std::numeric_limits<DWORD>::max(), description)) {
    return S_OK;
  }
  const DWORD error = GetLastError();
  return error == ERROR_NOT_ENOUGH_MEMORY || error == ERROR_FILE_TOO_LARGE ? ZSE_OUTOFRESOURCES : ZSE_FILENOTFOUND;
}

} // namespace

bool FindBwtRecordsEnd(const ByteView& file, UHYPER* end) noexcept {
  constexpr UHYPER kRecordSize = 63;
  constexpr BYTE kLastRecord = 0xA2;
  BYTE length = 0;
  if (!file.Byte(31, &length)) {
    return false;
  }
  UHYPER position = UHYPER{35} + length;
  if (!StepOverFields(file, {4, 8, 4, 10}, &position)) {
    return false;
  }
  BYTE point = 0;
  while (point != kLastRecord) {
    if (!file.Byte(position + 23, &point)) {
      return false;
    }
    position += kRecordSize;
    if (!StepOverFields(file, {4, 4, 4, 4, 4, 8, 28, 4}, &position)) {
      return false;
    }
  }
  *end = position;
  return true;
}

HRESULT ReadBwtImage(IZSCueSheet* /*service*/, const std::string& path, zsimagefileinfo* /*info*/) {
  std::string description;
  if (const HRESULT result = LoadDescription(path, &description); FAILED(result)) {
    return result;
  }
  const ByteView view(description.data(), description.size());
  UHYPER end = 0;
  if (view.HasText(0, "BLINDWRITE TOC FILE")) {
    FindBwtRecordsEnd(view, &end);
  }
  return ZSE_BADIMAGE; // Also for a whole description: no record can be built from it.
}

HRESULT ReadB5tImage(IZSCueSheet* /*service*/, const std::string& /*path*/, zsimagefileinfo* /*info*/) {
  return ZSE_BADIMAGE;
}

/// @file
/// BlindWrite descriptions. The meaning of their track records is unknown, so no image can be read from them. The
/// readers only check a file.
///
/// A field of varying length begins with a length byte, which counts the bytes after it. A distance in the tables below
/// is the number of bytes from the last byte of a field to the length byte of the next field.

#include <limits>

#include "platform/files.h"
#include "readers/bwt_records.h"
#include "readers/reader_steps.h"
#include "readers/readers.h"

namespace {

namespace head {
constexpr std::size_t kSignature = 0;           // "BLINDWRITE TOC FILE"
constexpr std::size_t kFields = 31;             // Length byte of the first field.
constexpr BYTE kDistances[] = {4, 4, 8, 4, 10}; // After each of five fields, up to the first track record.
} // namespace head

namespace track_record {
constexpr std::size_t kPoint = 23; // 8 bits.
constexpr std::size_t kFields = 63;
constexpr BYTE kDistances[] = {4, 4, 4, 4, 4, 8, 28, 4}; // After each of eight fields, up to the next record.
constexpr BYTE kLastPoint = 0xA2;
} // namespace track_record

/// Skips fields. Moves `*offset` from the length byte of the first field over the last distance. Returns false if the
/// file ends before a length byte.
template <std::size_t Count>
bool SkipFields(const ByteView& file, const BYTE (&distances)[Count], UHYPER* offset) noexcept {
  for (const BYTE distance : distances) {
    BYTE length = 0;
    if (!file.Byte(*offset, &length)) {
      return false;
    }
    *offset += UHYPER{length} + distance;
  }
  return true;
}

} // namespace

bool FindBwtRecordsEnd(const ByteView& file, UHYPER* end) noexcept {
  UHYPER offset = head::kFields;
  if (!SkipFields(file, head::kDistances, &offset)) {
    return false;
  }
  for (BYTE point = 0; point != track_record::kLastPoint;) {
    if (!file.Byte(offset + track_record::kPoint, &point)) {
      return false;
    }
    offset += track_record::kFields;
    if (!SkipFields(file, track_record::kDistances, &offset)) {
      return false;
    }
  }
  *end = offset;
  return true;
}

HRESULT ReadBwtImage(IZSCueSheet* /*service*/, const std::string& path, zsimagefileinfo* /*info*/) {
  std::string description;
  if (!ReadWholeFile(path, std::numeric_limits<DWORD>::max(), &description)) {
    const DWORD error = GetLastError();
    return error == ERROR_NOT_ENOUGH_MEMORY || error == ERROR_FILE_TOO_LARGE ? ZSE_OUTOFRESOURCES : ZSE_FILENOTFOUND;
  }
  const ByteView view(description);
  UHYPER end = 0;
  if (view.HasText(head::kSignature, "BLINDWRITE TOC FILE")) {
    FindBwtRecordsEnd(view, &end);
  }
  return ZSE_BADIMAGE; // Even for a valid description: no record can be built from it.
}

HRESULT ReadB5tImage(IZSCueSheet* /*service*/, const std::string& /*path*/, zsimagefileinfo* /*info*/) {
  return ZSE_BADIMAGE;
}

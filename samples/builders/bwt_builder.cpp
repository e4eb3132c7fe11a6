#include "builders/bwt_builder.h"

#include "builders/byte_writer.h"

namespace {

/// Appends fields that begin with their length. Each field is followed by a gap of zeros.
void AddFields(std::initializer_list<unsigned> gaps, unsigned length, ByteWriter* file) {
  for (const unsigned gap : gaps) {
    file->Byte(length).Zeros(length + gap - 1);
  }
}

} // namespace

std::vector<BYTE> BwtFile(int records, unsigned fieldLength) {
  ByteWriter file;
  file.Text("BLINDWRITE TOC FILE", 31).Byte(fieldLength).Zeros(3 + fieldLength);
  AddFields({4, 8, 4, 10}, fieldLength, &file);
  for (int i = 1; i <= records; ++i) {
    file.Zeros(23).Byte(i == records ? 0xA2 : 0x01).Zeros(39);
    AddFields({4, 4, 4, 4, 4, 8, 28, 4}, fieldLength, &file);
  }
  return file.Get();
}
